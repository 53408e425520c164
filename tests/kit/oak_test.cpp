#include "oak_bench.h"

#include <functional>

namespace
{

using kit::NameTree;
using kit::Node;
using Names = std::vector<std::string>;

class OrderedTree : public testing::Test
{
protected:
    Node &node(const std::string &name) { return *nodes.emplace_back(std::make_unique<Node>(name)); }

    NameTree tree;
    std::vector<std::unique_ptr<Node>> nodes;
};

TEST_F(OrderedTree, ALinkageTakes16BytesInBothAbis)
{
    EXPECT_EQ(sizeof(oak_linkage), 16u);
    EXPECT_EQ(alignof(oak_linkage), 1u);
}

TEST_F(OrderedTree, IsEmptyAfterInit)
{
    EXPECT_EQ(tree.first(), nullptr);
    EXPECT_EQ(tree.next(), nullptr);
    EXPECT_EQ(tree.at("a"), nullptr);
}

TEST_F(OrderedTree, AnAllZeroTreeIsEmptyAndTakesNoNode)
{
    oak_tree zero = {};
    oak_iter walk = {};
    Node lone("a");
    EXPECT_EQ(oak_lookup(&zero, "a"), nullptr);
    EXPECT_EQ(oak_get_first(&zero, &walk), nullptr);
    EXPECT_EQ(oak_get_next(&zero, &walk), nullptr);
    EXPECT_EQ(oak_insert(&zero, &lone), 0);
    EXPECT_EQ(oak_delete(&zero, &lone), 0);
    EXPECT_EQ(oak_get_first(&zero, &walk), nullptr);
}

TEST_F(OrderedTree, ATreeWithLengthsOutOfRangeTakesNoNode)
{
    struct {
        uint32_t key_len, key_off;
    } const cases[] = {{0, 16}, {OAK_KEY_MAX + 1, 16}, {0xFFFFFFFF, 16}, {33, 15}, {33, 0}};
    for (const auto &each : cases) {
        oak_init_new(&tree.tree, nullptr, each.key_len, each.key_off, 0);
        EXPECT_FALSE(tree.insert(node("a"))) << each.key_len << ' ' << each.key_off;
        EXPECT_EQ(tree.first(), nullptr);
    }
}

TEST_F(OrderedTree, FindsNodesByName)
{
    Node &blue = node("blue"), &red = node("red");
    EXPECT_TRUE(tree.insert(red));
    EXPECT_TRUE(tree.insert(blue));
    EXPECT_EQ(tree.at("blue"), &blue);
    EXPECT_EQ(tree.at("red"), &red);
    EXPECT_EQ(tree.at("blu"), nullptr);
    EXPECT_EQ(tree.at("blues"), nullptr);
    EXPECT_EQ(tree.at(""), nullptr);
}

TEST_F(OrderedTree, RefusesASecondNodeWithTheSameKey)
{
    Node &one = node("one"), &other = node("one");
    EXPECT_TRUE(tree.insert(one));
    EXPECT_FALSE(tree.insert(other));
    EXPECT_FALSE(tree.insert(one));
    EXPECT_EQ(tree.at("one"), &one);
    EXPECT_EQ(tree.names(), Names{"one"});
}

TEST_F(OrderedTree, DeletesThisVeryNodeOnly)
{
    Node &one = node("one"), &other = node("one"), &third = node("third");
    ASSERT_TRUE(tree.insert(one));
    EXPECT_FALSE(tree.remove(other));
    EXPECT_FALSE(tree.remove(third));
    EXPECT_EQ(tree.at("one"), &one);
    EXPECT_TRUE(tree.remove(one));
    EXPECT_FALSE(tree.remove(one));
    EXPECT_EQ(tree.first(), nullptr);
}

TEST_F(OrderedTree, ADeletedNodeCanBeInsertedAgain)
{
    Node &one = node("one");
    ASSERT_TRUE(tree.insert(one));
    ASSERT_TRUE(tree.insert(node("two")));
    ASSERT_TRUE(tree.remove(one));
    std::memcpy(one.name, "zzz", 4);
    EXPECT_TRUE(tree.insert(one));
    EXPECT_EQ(tree.names(), (Names{"two", "zzz"}));
}

TEST_F(OrderedTree, OrdersStringsByUnsignedBytes)
{
    for (const char *name : {"b", "\xE4", "a", "", "ab", "B", "aa", "10", "9"})
        ASSERT_TRUE(tree.insert(node(name))) << name;
    EXPECT_EQ(tree.names(), (Names{"", "10", "9", "B", "a", "aa", "ab", "b", "\xE4"}));
}

TEST_F(OrderedTree, StringsEndAtTheirNul)
{
    Node &dirty = node("vrf");
    std::memcpy(dirty.name + 4, "rest of an older name", 22);
    ASSERT_TRUE(tree.insert(dirty));
    EXPECT_EQ(tree.at("vrf"), &dirty);
    EXPECT_FALSE(tree.insert(node("vrf")));
    EXPECT_EQ(tree.first(), &dirty);
    EXPECT_EQ(tree.next(), nullptr);
}

TEST_F(OrderedTree, StringsWithoutANulEndWithTheKey)
{
    const std::string full(kit::name_size, 'x');
    Node &long_one = node(full);
    ASSERT_TRUE(tree.insert(long_one));
    EXPECT_EQ(tree.at(full), &long_one);
    EXPECT_EQ(tree.at(full + "y"), &long_one);
    EXPECT_EQ(tree.at(full.substr(1)), nullptr);
    EXPECT_EQ(tree.first(), &long_one);
    EXPECT_EQ(tree.next(), nullptr);
    EXPECT_TRUE(tree.remove(long_one));
}

TEST_F(OrderedTree, AComparisonOfTheCallersOwnRules)
{
    struct Numbered {
        oak_linkage linkage;
        uint32_t other, number;
    };
    const oak_cmp falling = [](const void *a, const void *b) {
        uint32_t x, y;
        std::memcpy(&x, a, sizeof x);
        std::memcpy(&y, b, sizeof y);
        return x > y ? -1 : x < y ? 1 : 0;
    };
    oak_init_new(&tree.tree, falling, sizeof(uint32_t), offsetof(Numbered, number), 0);
    std::vector<Numbered> numbered(300);
    for (uint32_t i = 0; i < 300; ++i) {
        numbered[i] = {{}, 7, i * 181 % 300};
        ASSERT_EQ(oak_insert(&tree.tree, &numbered[i]), 1);
    }
    const uint32_t wanted = 256;
    EXPECT_EQ(static_cast<Numbered *>(oak_lookup(&tree.tree, &wanted))->number, 256u);
    uint32_t expected = 300;
    for (void *each = oak_get_first(&tree.tree, &tree.walk); each != nullptr;
         each = oak_get_next(&tree.tree, &tree.walk))
        EXPECT_EQ(static_cast<Numbered *>(each)->number, --expected);
    EXPECT_EQ(expected, 0u);
}

TEST_F(OrderedTree, InitForgetsTheNodesWithoutTouchingThem)
{
    std::vector<Node> forgotten(50, Node(""));
    for (int round = 0; round < 3; ++round) {
        for (std::size_t i = 0; i < forgotten.size(); ++i) {
            forgotten[i] = Node(std::to_string(i * 7));
            ASSERT_TRUE(tree.insert(forgotten[i]));
        }
        kit::Bytes before(sizeof(Node) * forgotten.size());
        std::memcpy(before.data(), static_cast<const void *>(forgotten.data()), before.size());
        oak_init_new(&tree.tree, nullptr, kit::name_size, 16, 0);
        EXPECT_EQ(std::memcmp(before.data(), forgotten.data(), before.size()), 0);
        EXPECT_EQ(tree.first(), nullptr);
        EXPECT_EQ(tree.at("7"), nullptr);
        EXPECT_FALSE(tree.remove(forgotten[0]));
    }
}

TEST_F(OrderedTree, ATreeMayBeOverwrittenAndInitialisedAnew)
{
    ASSERT_TRUE(tree.insert(node("a")));
    std::memset(&tree.tree, 0, sizeof tree.tree);
    EXPECT_EQ(tree.first(), nullptr);
    oak_init_new(&tree.tree, nullptr, kit::name_size, 16, 0);
    EXPECT_TRUE(tree.insert(node("b")));
    EXPECT_EQ(tree.names(), Names{"b"});
}

TEST_F(OrderedTree, ANodeThatWasFoundIsGoneOnceItIsDeleted)
{
    auto gone = std::make_unique<Node>("a");
    ASSERT_TRUE(tree.insert(*gone));
    ASSERT_TRUE(tree.insert(node("b")));
    ASSERT_EQ(tree.at("a"), gone.get());
    ASSERT_EQ(tree.at("a"), gone.get());
    ASSERT_TRUE(tree.remove(*gone));
    gone.reset();
    EXPECT_EQ(tree.at("a"), nullptr);
    Node &again = node("a");
    ASSERT_TRUE(tree.insert(again));
    EXPECT_EQ(tree.at("a"), &again);
}

TEST_F(OrderedTree, ANodeThatWasFoundIsGoneWithTheTreeThatHeldIt)
{
    const oak_tree empty = tree.tree;
    const auto overwrite = [&] { tree.tree = empty; };
    const auto clear = [&] { oak_init_new(&tree.tree, nullptr, kit::name_size, offsetof(Node, name), 0); };
    for (const std::function<void()> &forget : {std::function<void()>(overwrite), {clear}}) {
        overwrite();
        auto gone = std::make_unique<Node>("a");
        ASSERT_TRUE(tree.insert(*gone));
        ASSERT_EQ(tree.at("a"), gone.get());
        forget();
        gone.reset();
        EXPECT_EQ(tree.at("a"), nullptr);
    }
}

TEST_F(OrderedTree, TwoTreesKeepTheirNodesApart)
{
    NameTree other;
    Node &mine = node("same"), &theirs = node("same");
    ASSERT_TRUE(tree.insert(mine));
    ASSERT_TRUE(other.insert(theirs));
    EXPECT_FALSE(tree.remove(theirs));
    EXPECT_TRUE(other.remove(theirs));
    EXPECT_EQ(tree.at("same"), &mine);
}

TEST_F(OrderedTree, NodesMayStandAtAnyAddress)
{
    std::vector<kit::OddCopy> odd;
    for (int i = 0; i < 100; ++i) {
        const Node plain(std::to_string(i * 37 % 100));
        kit::Bytes bytes(sizeof plain);
        std::memcpy(bytes.data(), &plain, sizeof plain);
        ASSERT_EQ(oak_insert(&tree.tree, odd.emplace_back(bytes).data()), 1);
    }
    oak_iter walk;
    unsigned seen = 0;
    for (void *each = oak_get_first(&tree.tree, &walk); each != nullptr;
         each = oak_get_next(&tree.tree, &walk))
        ++seen;
    EXPECT_EQ(seen, 100u);
    for (kit::OddCopy &each : odd)
        EXPECT_EQ(oak_delete(&tree.tree, each.data()), 1);
}

// ---- Walks

TEST_F(OrderedTree, AWalkThatHasNotBegunBegins)
{
    Node &a = node("a");
    ASSERT_TRUE(tree.insert(node("b")));
    ASSERT_TRUE(tree.insert(a));
    EXPECT_EQ(tree.next(), &a);
}

TEST_F(OrderedTree, FirstBeginsAnew)
{
    Node &a = node("a"), &b = node("b");
    ASSERT_TRUE(tree.insert(a));
    ASSERT_TRUE(tree.insert(b));
    EXPECT_EQ(tree.first(), &a);
    EXPECT_EQ(tree.next(), &b);
    EXPECT_EQ(tree.first(), &a);
    EXPECT_EQ(tree.next(), &b);
}

TEST_F(OrderedTree, FirstOfAnEmptyTreeStandsBeforeEverything)
{
    Node &z = node("z"), &a = node("a");
    ASSERT_TRUE(tree.insert(z));
    EXPECT_EQ(tree.first(), &z);
    ASSERT_TRUE(tree.remove(z));
    EXPECT_EQ(tree.first(), nullptr);
    ASSERT_TRUE(tree.insert(a));
    EXPECT_EQ(tree.next(), &a);
}

TEST_F(OrderedTree, AWalkGoesOnFromANodeThatWasDeletedAndFreed)
{
    for (const char *name : {"a", "b", "c", "d", "e"})
        ASSERT_TRUE(tree.insert(node(name)));
    ASSERT_NE(tree.first(), nullptr);
    ASSERT_NE(tree.next(), nullptr);
    for (const std::size_t gone : {std::size_t{1}, std::size_t{2}}) {
        ASSERT_TRUE(tree.remove(*nodes[gone]));
        nodes[gone].reset();
    }
    EXPECT_EQ(tree.next(), nodes[3].get());
    EXPECT_EQ(tree.next(), nodes[4].get());
    EXPECT_EQ(tree.next(), nullptr);
}

TEST_F(OrderedTree, AWalkSeesWhatIsInsertedBehindItAndNotWhatIsInsertedBefore)
{
    Node &a = node("a"), &c = node("c"), &e = node("e"), &b = node("b"), &d = node("d");
    ASSERT_TRUE(tree.insert(a));
    ASSERT_TRUE(tree.insert(c));
    ASSERT_TRUE(tree.insert(e));
    tree.first();
    EXPECT_EQ(tree.next(), &c);
    ASSERT_TRUE(tree.insert(b));
    ASSERT_TRUE(tree.insert(d));
    EXPECT_EQ(tree.next(), &d);
    EXPECT_EQ(tree.next(), &e);
}

TEST_F(OrderedTree, AtTheEndAWalkStaysAndGoesOnWhenThereIsMore)
{
    Node &a = node("a"), &b = node("b");
    ASSERT_TRUE(tree.insert(a));
    EXPECT_EQ(tree.first(), &a);
    EXPECT_EQ(tree.next(), nullptr);
    EXPECT_EQ(tree.next(), nullptr);
    ASSERT_TRUE(tree.insert(b));
    EXPECT_EQ(tree.next(), &b);
}

TEST_F(OrderedTree, AWalkSurvivesAYieldInWhichTheTreeChanges)
{
    Node &a = node("a"), &b = node("b"), &c = node("c");
    ASSERT_TRUE(tree.insert(a));
    ASSERT_TRUE(tree.insert(b));
    EXPECT_EQ(tree.first(), &a);
    oak_pre_sched_yield(&tree.tree, &tree.walk);
    ASSERT_TRUE(tree.remove(a));
    ASSERT_TRUE(tree.remove(b));
    ASSERT_TRUE(tree.insert(c));
    std::memset(a.name, 0xDD, sizeof a.name);
    EXPECT_EQ(tree.next(), &c);
    oak_pre_sched_yield(&tree.tree, &tree.walk);
    EXPECT_EQ(tree.next(), nullptr);
}

TEST_F(OrderedTree, KeysOfTheGreatestLengthCanBeWalked)
{
    struct Long {
        oak_linkage linkage;
        uint8_t key[OAK_KEY_MAX];
    };
    oak_init_new(&tree.tree, nullptr, OAK_KEY_MAX, offsetof(Long, key), 0);
    std::vector<std::unique_ptr<Long>> all;
    for (uint8_t last = 1; last < 100; ++last) {
        Long &each = *all.emplace_back(std::make_unique<Long>());
        std::memset(each.key, 'k', sizeof each.key);
        each.key[OAK_KEY_MAX - 1] = last;
        ASSERT_EQ(oak_insert(&tree.tree, &each), 1);
    }
    oak_iter walk;
    std::size_t at = 0;
    for (void *each = oak_get_first(&tree.tree, &walk); each != nullptr;
         each = oak_get_next(&tree.tree, &walk))
        EXPECT_EQ(each, all.at(at++).get());
    EXPECT_EQ(at, all.size());
}

TEST_F(OrderedTree, NullPointersFindNothingAndChangeNothing)
{
    Node &a = node("a");
    oak_init_new(nullptr, nullptr, 33, 16, 0);
    EXPECT_EQ(oak_insert(nullptr, &a), 0);
    EXPECT_EQ(oak_insert(&tree.tree, nullptr), 0);
    EXPECT_EQ(oak_delete(nullptr, &a), 0);
    EXPECT_EQ(oak_delete(&tree.tree, nullptr), 0);
    EXPECT_EQ(oak_lookup(nullptr, "a"), nullptr);
    EXPECT_EQ(oak_lookup(&tree.tree, nullptr), nullptr);
    EXPECT_EQ(oak_get_first(nullptr, &tree.walk), nullptr);
    EXPECT_EQ(oak_get_first(&tree.tree, nullptr), nullptr);
    EXPECT_EQ(oak_get_next(nullptr, &tree.walk), nullptr);
    EXPECT_EQ(oak_get_next(&tree.tree, nullptr), nullptr);
    oak_pre_sched_yield(nullptr, nullptr);
    EXPECT_EQ(tree.first(), nullptr);
}

} // namespace
