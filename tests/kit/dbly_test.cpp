#include <kov/platform/dbly.h>

#include <gtest/gtest.h>

#include <vector>

namespace
{

class LinkedList : public testing::Test
{
protected:
    LinkedList()
    {
        for (dbly_linkage *each : {&a, &b, &c})
            dbly_linkage_init(each);
    }

    void link_all()
    {
        for (dbly_linkage *each : {&a, &b, &c})
            dbly_linkage_link(&head, each);
    }

    // Forward from the head; every step back must lead where the step came from.
    std::vector<const dbly_linkage *> elements() const
    {
        std::vector<const dbly_linkage *> seen;
        const dbly_linkage *before = nullptr;
        for (const dbly_linkage *each = head; each != nullptr; before = each, each = each->next) {
            EXPECT_EQ(each->prev, before);
            seen.push_back(each);
        }
        return seen;
    }

    dbly_linkage *head = nullptr;
    dbly_linkage a = {}, b = {}, c = {};
};

using Elements = std::vector<const dbly_linkage *>;

TEST_F(LinkedList, ALinkageIsTwoPointersNextThenPrevious)
{
    EXPECT_EQ(sizeof(dbly_linkage), 2 * sizeof(void *));
    EXPECT_EQ(offsetof(dbly_linkage, next), 0u);
    EXPECT_EQ(offsetof(dbly_linkage, prev), sizeof(void *));
}

TEST_F(LinkedList, InitMakesALinkageThatIsInNoList)
{
    dbly_linkage dirty = {&a, &b};
    dbly_linkage_init(&dirty);
    EXPECT_EQ(dirty.next, nullptr);
    EXPECT_EQ(dirty.prev, nullptr);
}

TEST_F(LinkedList, LinkPutsEachElementAtTheFront)
{
    link_all();
    EXPECT_EQ(elements(), (Elements{&c, &b, &a}));
}

TEST_F(LinkedList, DelinkJoinsTheNeighbours)
{
    link_all();
    dbly_linkage_delink(&b);
    EXPECT_EQ(elements(), (Elements{&c, &a}));
    EXPECT_EQ(b.next, nullptr);
    EXPECT_EQ(b.prev, nullptr);
}

TEST_F(LinkedList, DelinkTakesTheLastElementOut)
{
    link_all();
    dbly_linkage_delink(&a);
    EXPECT_EQ(elements(), (Elements{&c, &b}));
}

TEST_F(LinkedList, DelinkOfTheFirstElementDoesNotTellTheHead)
{
    link_all();
    dbly_linkage_delink(&c);
    EXPECT_EQ(head, &c);
    head = &b;
    EXPECT_EQ(elements(), (Elements{&b, &a}));
}

TEST_F(LinkedList, DelinkOfALinkageThatIsInNoListDoesNothing)
{
    link_all();
    dbly_linkage_delink(&b);
    dbly_linkage_delink(&b);
    EXPECT_EQ(elements(), (Elements{&c, &a}));
}

TEST_F(LinkedList, ADelinkedElementCanBeLinkedAgain)
{
    link_all();
    dbly_linkage_delink(&b);
    dbly_linkage_link(&head, &b);
    EXPECT_EQ(elements(), (Elements{&b, &c, &a}));
}

TEST_F(LinkedList, AWalkThatTakesTheNextLinkFirstCanDelinkEveryElement)
{
    link_all();
    unsigned taken = 0;
    for (dbly_linkage *each = head, *next = nullptr; each != nullptr; each = next, ++taken) {
        next = each->next;
        dbly_linkage_delink(each);
    }
    EXPECT_EQ(taken, 3u);
    for (const dbly_linkage *each : {&a, &b, &c}) {
        EXPECT_EQ(each->next, nullptr);
        EXPECT_EQ(each->prev, nullptr);
    }
}

TEST_F(LinkedList, NullArgumentsDoNothing)
{
    dbly_linkage_init(nullptr);
    dbly_linkage_delink(nullptr);
    dbly_linkage_link(nullptr, &a);
    dbly_linkage_link(&head, nullptr);
    EXPECT_EQ(head, nullptr);
    EXPECT_EQ(a.next, nullptr);
}

} // namespace
