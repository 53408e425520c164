// The fake's containers.
#include "fake/fake.h"

#include <kov/platform/oak.h>
#include <kov/platform/pt.h>

#include <gtest/gtest.h>

#include <cstring>

using fake::Call;

namespace
{

class FakePrefixTree : public testing::Test
{
protected:
    FakePrefixTree() { p.reset(); }
    ~FakePrefixTree() override { p.reset(); }

    struct Prefix {
        uint8_t a, b, c, d;
        uint32_t bits;
        bool operator==(const Prefix &) const = default;
    };
    int add(const Prefix &key) { return pt_add(&tree, &key, 4, key.bits, &data); }
    int remove(const Prefix &key) { return pt_delete(&tree, &key, 4, key.bits); }
    pt_node *look(const Prefix &key) { return pt_lookup(tree, &key, key.bits); }
    std::vector<Prefix> walk()
    {
        std::vector<Prefix> seen;
        Prefix at = {};
        for (pt_node *n = pt_get_first_node(tree, &at, &at.bits); n;
             n = pt_get_next_node(tree, &at, &at.bits))
            seen.push_back(at);
        return seen;
    }

    fake::Platform &p = fake::platform();
    pt_tree *tree = nullptr;
    int data = 0;
};

TEST_F(FakePrefixTree, OrdersByKeyBytesThenTheShorterLength)
{
    const std::vector<Prefix> sorted = {
        {0, 0, 0, 1, 32}, {10, 1, 0, 0, 16}, {10, 1, 0, 0, 24}, {10, 1, 2, 3, 8}};
    for (const std::size_t i : {3u, 1u, 0u, 2u})
        EXPECT_EQ(add(sorted[i]), 1);
    EXPECT_EQ(walk(), sorted);
    EXPECT_EQ(p.containers.pt_nodes(), 4u);
}

TEST_F(FakePrefixTree, StepsToTheLeastGreaterKeyPresentOrNot)
{
    add({10, 0, 0, 0, 8});
    add({30, 0, 0, 0, 8});
    Prefix at = {20, 0, 0, 0, 32};
    ASSERT_NE(pt_get_next_node(tree, &at, &at.bits), nullptr);
    EXPECT_EQ(at, (Prefix{30, 0, 0, 0, 8}));
    EXPECT_EQ(pt_get_next_node(tree, &at, &at.bits), nullptr);
    EXPECT_EQ(at, (Prefix{30, 0, 0, 0, 8}));
}

TEST_F(FakePrefixTree, RefusesWhatIsThereAlreadyAndWhatHasTooManyBits)
{
    EXPECT_EQ(add({1, 2, 3, 4, 33}), 0);
    EXPECT_EQ(tree, nullptr);
    EXPECT_EQ(add({1, 2, 3, 4, 32}), 1);
    EXPECT_EQ(add({1, 2, 3, 4, 32}), 0);
    const Prefix key = {9, 9, 9, 9, 32};
    EXPECT_EQ(pt_add(&tree, &key, 4, 32, nullptr), 0);
    EXPECT_EQ(remove({1, 2, 3, 4, 31}), 0);
    EXPECT_EQ(look({1, 2, 3, 4, 31}), nullptr);
}

TEST_F(FakePrefixTree, StaysWhereItIsWhenEmptied)
{
    add({1, 2, 3, 4, 32});
    pt_tree *const before = tree;
    EXPECT_EQ(remove({1, 2, 3, 4, 32}), 1);
    EXPECT_EQ(tree, before);
    EXPECT_TRUE(walk().empty());
    EXPECT_TRUE(p.leaks().none());
}

TEST_F(FakePrefixTree, EndsItsNodesAtTheNextChange)
{
    add({1, 2, 3, 4, 32});
    const pt_node *const node = look({1, 2, 3, 4, 32});
    ASSERT_EQ(node->data, &data);
    add({5, 6, 7, 8, 32});
    EXPECT_NE(node->data, &data);
    EXPECT_EQ(look({1, 2, 3, 4, 32})->data, &data);
}

TEST_F(FakePrefixTree, EndsItsNodesAlsoAtAChangeThatFails)
{
    add({1, 2, 3, 4, 32});
    const pt_node *const node = look({1, 2, 3, 4, 32});
    EXPECT_EQ(remove({9, 9, 9, 9, 9}), 0);
    EXPECT_NE(node->data, &data);
    EXPECT_EQ(look({1, 2, 3, 4, 32})->data, &data);
}

TEST_F(FakePrefixTree, ReportsAllKeysAtTheWidthOfTheWidest)
{
    add({10, 1, 0, 0, 16});
    const std::array<uint8_t, 16> six = {0x20, 0x01};
    EXPECT_EQ(pt_add(&tree, six.data(), 16, 128, &data), 1);
    std::array<uint8_t, 16> key;
    key.fill(0xFF);
    uint32_t bits = 0;
    ASSERT_NE(pt_get_first_node(tree, key.data(), &bits), nullptr);
    EXPECT_EQ(key, (std::array<uint8_t, 16>{10, 1}));
    EXPECT_EQ(bits, 16u);
    ASSERT_NE(pt_get_next_node(tree, key.data(), &bits), nullptr);
    EXPECT_EQ(key, six);
    EXPECT_EQ(bits, 128u);
    EXPECT_EQ(pt_add(&tree, six.data(), 8, 8, &data), 0);
}

TEST_F(FakePrefixTree, HoldsNothingWhenThereIsNoTree)
{
    EXPECT_TRUE(walk().empty());
    EXPECT_EQ(look({1, 2, 3, 4, 32}), nullptr);
    EXPECT_EQ(remove({1, 2, 3, 4, 32}), 0);
}

TEST_F(FakePrefixTree, FailsOnDemandAndChangesNothing)
{
    p.calls.fail(Call::pt_add);
    EXPECT_EQ(add({1, 2, 3, 4, 32}), 0);
    EXPECT_EQ(tree, nullptr);
    add({1, 2, 3, 4, 32});
    p.calls.fail(Call::pt_delete);
    EXPECT_EQ(remove({1, 2, 3, 4, 32}), 0);
    EXPECT_EQ(p.containers.pt_nodes(), 1u);
    EXPECT_EQ(p.reset(), (fake::Leaks{.pt_nodes = 1}));
}

class FakeOrderedTree : public testing::Test
{
protected:
    FakeOrderedTree()
    {
        p.reset();
        oak_init_new(&tree, nullptr, 33, 16, 0);
    }
    ~FakeOrderedTree() override { p.reset(); }

    struct Node {
        oak_linkage linkage;
        char name[33];
    };
    static Node named(const char *name)
    {
        Node node = {};
        std::strcpy(node.name, name);
        return node;
    }

    fake::Platform &p = fake::platform();
    oak_tree tree = {};
    oak_iter iter = {};
    Node a = named("a"), b = named("b"), c = named("c");
};

TEST_F(FakeOrderedTree, SortsItsNodesAsStrings)
{
    for (Node *node : {&c, &a, &b})
        EXPECT_EQ(oak_insert(&tree, node), 1);
    EXPECT_EQ(oak_get_first(&tree, &iter), &a);
    EXPECT_EQ(oak_get_next(&tree, &iter), &b);
    EXPECT_EQ(oak_get_next(&tree, &iter), &c);
    EXPECT_EQ(oak_get_next(&tree, &iter), nullptr);
    EXPECT_EQ(oak_lookup(&tree, "b"), &b);
    EXPECT_EQ(oak_lookup(&tree, "bb"), nullptr);
    EXPECT_EQ(p.containers.oak_nodes(), 3u);
}

TEST_F(FakeOrderedTree, ForgetsItsNodesWhenOverwrittenAndTakesNoneUntilItKnowsItsKeys)
{
    EXPECT_EQ(oak_insert(&tree, &b), 1);
    oak_init_new(&tree, nullptr, 33, 16, 0);
    EXPECT_EQ(oak_lookup(&tree, "b"), nullptr);
    EXPECT_EQ(p.containers.oak_nodes(), 0u);
    tree = {};
    EXPECT_EQ(oak_get_first(&tree, &iter), nullptr);
    EXPECT_EQ(oak_insert(&tree, &b), 0);
    EXPECT_EQ(oak_insert(nullptr, &b), 0);
}

TEST_F(FakeOrderedTree, WalksOnFromAKeyThatHasGone)
{
    for (Node *node : {&c, &a, &b})
        EXPECT_EQ(oak_insert(&tree, node), 1);
    EXPECT_EQ(oak_get_first(&tree, &iter), &a);
    EXPECT_EQ(oak_get_next(&tree, &iter), &b);
    EXPECT_EQ(oak_delete(&tree, &b), 1);
    b = named("z"); // its memory has another use by now
    oak_pre_sched_yield(&tree, &iter);
    EXPECT_EQ(oak_get_next(&tree, &iter), &c);
    EXPECT_EQ(oak_get_next(&tree, &iter), nullptr);
}

TEST_F(FakeOrderedTree, TellsNodesWithTheSameKeyApart)
{
    Node twin = named("a");
    EXPECT_EQ(oak_insert(&tree, &a), 1);
    EXPECT_EQ(oak_insert(&tree, &twin), 0);
    EXPECT_EQ(oak_delete(&tree, &twin), 0);
    EXPECT_EQ(p.containers.oak_nodes(), 1u);
    EXPECT_EQ(oak_delete(&tree, &a), 1);
    EXPECT_EQ(tree.root, nullptr);
}

TEST_F(FakeOrderedTree, UsesTheCallersComparison)
{
    oak_init_new(
        &tree, [](const void *x, const void *y) { return std::memcmp(y, x, 1); }, 33, 16, 0);
    oak_insert(&tree, &a);
    oak_insert(&tree, &b);
    EXPECT_EQ(oak_get_first(&tree, &iter), &b);
    EXPECT_EQ(oak_get_next(&tree, &iter), &a);
}

TEST_F(FakeOrderedTree, FailsOnDemandAndReportsNodesLeftAtReset)
{
    p.calls.fail(Call::oak_insert);
    EXPECT_EQ(oak_insert(&tree, &a), 0);
    EXPECT_EQ(oak_insert(&tree, &a), 1);
    EXPECT_EQ(p.reset(), (fake::Leaks{.oak_nodes = 1}));
}

} // namespace
