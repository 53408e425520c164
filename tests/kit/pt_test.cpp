#include "pt_bench.h"

namespace
{

using kit::Prefix;
using kit::PrefixTree;
using kit::v4;
using kit::v6;

class PrefixTreeTest : public testing::Test
{
protected:
    PrefixTree tree;
    int a = 0, b = 0, c = 0;
};

TEST_F(PrefixTreeTest, ANullTreeHasNothingInIt)
{
    EXPECT_EQ(tree.at(v4(1, 2, 3, 4)), nullptr);
    EXPECT_FALSE(tree.first());
    EXPECT_FALSE(tree.above(v4(0, 0, 0, 0, 0)));
    EXPECT_FALSE(tree.remove(v4(1, 2, 3, 4)));
    EXPECT_EQ(tree.tree, nullptr);
}

TEST_F(PrefixTreeTest, ComesIntoBeingWithTheFirstSuccessfulAdd)
{
    EXPECT_FALSE(tree.add(v4(1, 2, 3, 4, 33), &a));
    EXPECT_FALSE(tree.add(v4(1, 2, 3, 4), nullptr));
    EXPECT_EQ(tree.tree, nullptr);
    EXPECT_TRUE(tree.add(v4(1, 2, 3, 4), &a));
    EXPECT_NE(tree.tree, nullptr);
    EXPECT_EQ(tree.at(v4(1, 2, 3, 4)), &a);
}

TEST_F(PrefixTreeTest, RefusesAKeyThatIsThereAndKeepsItsData)
{
    ASSERT_TRUE(tree.add(v4(10, 1, 0, 0, 16), &a));
    EXPECT_FALSE(tree.add(v4(10, 1, 0, 0, 16), &b));
    EXPECT_EQ(tree.at(v4(10, 1, 0, 0, 16)), &a);
    EXPECT_EQ(tree.keys().size(), 1u);
}

TEST_F(PrefixTreeTest, LengthsTellKeysApart)
{
    ASSERT_TRUE(tree.add(v4(10, 0, 0, 0, 8), &a));
    ASSERT_TRUE(tree.add(v4(10, 0, 0, 0, 16), &b));
    EXPECT_EQ(tree.at(v4(10, 0, 0, 0, 8)), &a);
    EXPECT_EQ(tree.at(v4(10, 0, 0, 0, 16)), &b);
    EXPECT_EQ(tree.at(v4(10, 0, 0, 0, 9)), nullptr);
    EXPECT_EQ(tree.at(v4(10, 0, 0, 0, 40)), nullptr);
}

TEST_F(PrefixTreeTest, BytesBehindTheBitsTellKeysApartToo)
{
    ASSERT_TRUE(tree.add(v4(10, 1, 0, 0, 16), &a));
    ASSERT_TRUE(tree.add(v4(10, 1, 2, 3, 16), &b));
    EXPECT_EQ(tree.at(v4(10, 1, 0, 0, 16)), &a);
    EXPECT_EQ(tree.at(v4(10, 1, 2, 3, 16)), &b);
    EXPECT_EQ(tree.keys(), (std::vector<Prefix>{v4(10, 1, 0, 0, 16), v4(10, 1, 2, 3, 16)}));
}

TEST_F(PrefixTreeTest, LookupsAreExactAndNeverTheLongestMatch)
{
    ASSERT_TRUE(tree.add(v4(10, 0, 0, 0, 8), &a));
    EXPECT_EQ(tree.at(v4(10, 1, 2, 3, 32)), nullptr);
    EXPECT_EQ(tree.at(v4(10, 1, 2, 3, 8)), nullptr);
}

TEST_F(PrefixTreeTest, TakesEveryLengthThatTheBytesHaveAndNoMore)
{
    for (uint32_t bits = 0; bits <= 32; ++bits)
        EXPECT_TRUE(tree.add(v4(1, 2, 3, 4, bits), &a)) << bits;
    for (const uint32_t bits : {33u, 64u, 128u, 0xFFFFFFFFu})
        EXPECT_FALSE(tree.add(v4(1, 2, 3, 4, bits), &a)) << bits;
    EXPECT_EQ(tree.keys().size(), 33u);
    PrefixTree wide;
    for (uint32_t bits = 0; bits <= 128; ++bits)
        EXPECT_TRUE(wide.add(v6({1, 2, 3}, bits), &a)) << bits;
    for (const uint32_t bits : {129u, 0xFFFFFFFFu})
        EXPECT_FALSE(wide.add(v6({1, 2, 3}, bits), &a)) << bits;
    EXPECT_EQ(wide.keys().size(), 129u);
}

TEST_F(PrefixTreeTest, TakesKeysOf4And16BytesOnly)
{
    const kit::Bytes key(32);
    for (const uint32_t bytes : {0u, 1u, 3u, 5u, 8u, 15u, 17u, 32u, 0xFFFFFFFFu}) {
        EXPECT_EQ(pt_add(&tree.tree, key.data(), bytes, 0, &a), 0) << bytes;
        EXPECT_EQ(pt_delete(&tree.tree, key.data(), bytes, 0), 0) << bytes;
    }
    EXPECT_EQ(tree.tree, nullptr);
}

TEST_F(PrefixTreeTest, NullPointersAreRefusedOrFindNothing)
{
    uint32_t bits = 32;
    kit::Bytes key(16);
    EXPECT_EQ(pt_add(nullptr, key.data(), 4, 32, &a), 0);
    EXPECT_EQ(pt_delete(nullptr, key.data(), 4, 32), 0);
    ASSERT_TRUE(tree.add(v4(0, 0, 0, 0), &a));
    EXPECT_EQ(pt_add(&tree.tree, nullptr, 4, 32, &a), 0);
    EXPECT_EQ(pt_delete(&tree.tree, nullptr, 4, 32), 0);
    EXPECT_EQ(pt_lookup(tree.tree, nullptr, 32), nullptr);
    EXPECT_EQ(pt_get_first_node(tree.tree, nullptr, &bits), nullptr);
    EXPECT_EQ(pt_get_first_node(tree.tree, key.data(), nullptr), nullptr);
    EXPECT_EQ(pt_get_next_node(tree.tree, nullptr, &bits), nullptr);
    EXPECT_EQ(pt_get_next_node(tree.tree, key.data(), nullptr), nullptr);
    EXPECT_EQ(tree.keys().size(), 1u);
}

TEST_F(PrefixTreeTest, DeleteTakesOutExactlyTheKeyAndFreesNoData)
{
    ASSERT_TRUE(tree.add(v4(10, 0, 0, 0, 8), &a));
    ASSERT_TRUE(tree.add(v4(10, 0, 0, 0, 9), &b));
    EXPECT_TRUE(tree.remove(v4(10, 0, 0, 0, 8)));
    EXPECT_FALSE(tree.remove(v4(10, 0, 0, 0, 8)));
    EXPECT_FALSE(tree.remove(v4(10, 0, 0, 1, 9)));
    EXPECT_EQ(tree.at(v4(10, 0, 0, 0, 8)), nullptr);
    EXPECT_EQ(tree.at(v4(10, 0, 0, 0, 9)), &b);
}

TEST_F(PrefixTreeTest, AnEmptiedTreeStaysAndTakesKeysAgain)
{
    ASSERT_TRUE(tree.add(v4(1, 1, 1, 1), &a));
    ASSERT_TRUE(tree.remove(v4(1, 1, 1, 1)));
    EXPECT_NE(tree.tree, nullptr);
    EXPECT_FALSE(tree.first());
    EXPECT_FALSE(tree.above(v4(0, 0, 0, 0, 0)));
    EXPECT_FALSE(tree.remove(v4(1, 1, 1, 1)));
    ASSERT_TRUE(tree.add(v4(2, 2, 2, 2), &b));
    EXPECT_EQ(tree.at(v4(2, 2, 2, 2)), &b);
}

TEST_F(PrefixTreeTest, TwoEmptiedTreesGrowApart)
{
    PrefixTree other;
    for (PrefixTree *each : {&tree, &other}) {
        ASSERT_TRUE(each->add(v4(1, 1, 1, 1), &a));
        ASSERT_TRUE(each->remove(v4(1, 1, 1, 1)));
    }
    ASSERT_TRUE(tree.add(v4(2, 2, 2, 2), &b));
    EXPECT_EQ(other.at(v4(2, 2, 2, 2)), nullptr);
    EXPECT_FALSE(other.first());
    ASSERT_TRUE(other.add(v4(2, 2, 2, 2), &a));
    EXPECT_EQ(tree.at(v4(2, 2, 2, 2)), &b);
}

TEST_F(PrefixTreeTest, OrdersByUnsignedBytesThenTheShorterLength)
{
    const std::vector<Prefix> ordered = {
        v4(0, 0, 0, 0, 0),   v4(0, 0, 0, 0, 32),  v4(0, 0, 0, 1, 0),   v4(9, 255, 255, 255),
        v4(10, 0, 0, 0, 8),  v4(10, 0, 0, 0, 9),  v4(10, 0, 0, 0, 32), v4(10, 0, 0, 1, 1),
        v4(127, 0, 0, 0, 8), v4(128, 0, 0, 0, 0), v4(255, 0, 0, 0, 8), v4(255, 255, 255, 255, 32)};
    for (std::size_t i = 0; i < ordered.size(); ++i)
        ASSERT_TRUE(tree.add(ordered[i * 5 % ordered.size()], &a));
    EXPECT_EQ(tree.keys(), ordered);
}

TEST_F(PrefixTreeTest, NextIsTheLeastKeyAboveTheGivenOneThereOrNot)
{
    ASSERT_TRUE(tree.add(v4(10, 0, 0, 0, 8), &a));
    ASSERT_TRUE(tree.add(v4(10, 0, 0, 0, 16), &b));
    ASSERT_TRUE(tree.add(v4(20, 0, 0, 0, 8), &c));
    struct {
        Prefix from;
        void *data;
    } const cases[] = {
        {v4(0, 0, 0, 0, 0), &a},       {v4(10, 0, 0, 0, 0), &a},
        {v4(10, 0, 0, 0, 7), &a},      {v4(10, 0, 0, 0, 8), &b},
        {v4(10, 0, 0, 0, 15), &b},     {v4(10, 0, 0, 0, 16), &c},
        {v4(10, 255, 0, 0, 0), &c},    {v4(20, 0, 0, 0, 7), &c},
        {v4(20, 0, 0, 0, 8), nullptr}, {v4(255, 255, 255, 255, 32), nullptr},
    };
    for (const auto &each : cases) {
        const auto found = tree.above(each.from);
        EXPECT_EQ(found ? found->data : nullptr, each.data) << each.from;
    }
}

TEST_F(PrefixTreeTest, NextOfMoreBitsThanAKeyHasIsNone)
{
    ASSERT_TRUE(tree.add(v4(10, 0, 0, 0, 8), &a));
    EXPECT_FALSE(tree.above(v4(0, 0, 0, 0, 33)));
    EXPECT_FALSE(tree.above(v4(0, 0, 0, 0, 0xFFFFFFFF)));
    ASSERT_TRUE(tree.add(v6({1}, 128), &b));
    EXPECT_TRUE(tree.above(v4(0, 0, 0, 0, 33)));
    EXPECT_FALSE(tree.above(v6({0}, 129)));
}

TEST_F(PrefixTreeTest, AWalkSurvivesTheDeletionOfTheKeyItStandsAt)
{
    for (uint32_t n = 0; n < 1000; ++n)
        ASSERT_TRUE(tree.add(kit::number(n * 7), &a));
    uint32_t steps = 0;
    for (auto each = tree.first(); each; each = tree.above(each->key), ++steps) {
        EXPECT_EQ(each->key, kit::number(steps * 7));
        ASSERT_TRUE(tree.remove(each->key));
    }
    EXPECT_EQ(steps, 1000u);
    EXPECT_FALSE(tree.first());
}

TEST_F(PrefixTreeTest, AWalkSeesWhatIsAddedBehindItAndNotWhatIsAddedBefore)
{
    ASSERT_TRUE(tree.add(kit::number(10), &a));
    ASSERT_TRUE(tree.add(kit::number(20), &a));
    const auto at_10 = tree.first();
    ASSERT_TRUE(tree.add(kit::number(5), &b));
    ASSERT_TRUE(tree.add(kit::number(15), &c));
    const auto at_15 = tree.above(at_10->key);
    ASSERT_TRUE(at_15);
    EXPECT_EQ(at_15->data, &c);
    EXPECT_EQ(tree.above(at_15->key)->key, kit::number(20));
}

TEST_F(PrefixTreeTest, ANodeHoldsTheDataUntilTheTreeChanges)
{
    ASSERT_TRUE(tree.add(v4(1, 0, 0, 0), &a));
    ASSERT_TRUE(tree.add(v4(2, 0, 0, 0), &b));
    const uint8_t one[4] = {1, 0, 0, 0}, two[4] = {2, 0, 0, 0};
    const pt_node *const first = pt_lookup(tree.tree, one, 32);
    const pt_node *const second = pt_lookup(tree.tree, two, 32);
    EXPECT_TRUE(tree.above(v4(1, 0, 0, 0)));
    EXPECT_EQ(tree.at(v4(3, 0, 0, 0)), nullptr);
    EXPECT_EQ(first->data, &a);
    EXPECT_EQ(second->data, &b);
}

TEST_F(PrefixTreeTest, KeyBytesAreCopied)
{
    uint8_t key[4] = {1, 2, 3, 4};
    ASSERT_EQ(pt_add(&tree.tree, key, 4, 32, &a), 1);
    key[0] = 9;
    EXPECT_EQ(tree.keys(), (std::vector<Prefix>{v4(1, 2, 3, 4)}));
}

TEST_F(PrefixTreeTest, SixteenByteKeysAreOrderedAndReportedAsStored)
{
    const std::vector<Prefix> ordered = {
        v6({}, 0),
        v6({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}),
        v6({0x20, 1, 0x0D, 0xB8}, 32),
        v6({0x20, 1, 0x0D, 0xB8}, 48),
        v6({0x20, 1, 0x0D, 0xB8, 0, 0, 0, 0, 1}, 32),
        v6({255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255}, 128)};
    for (std::size_t i = ordered.size(); i-- > 0;)
        ASSERT_TRUE(tree.add(ordered[i], &a));
    EXPECT_EQ(tree.keys(), ordered);
}

TEST_F(PrefixTreeTest, InAMixedTreeAKeyOf4BytesIsOneOf16WithZerosBehind)
{
    ASSERT_TRUE(tree.add(v4(10, 0, 0, 0, 8), &a));
    ASSERT_TRUE(tree.add(v4(11, 0, 0, 0, 32), &a));
    EXPECT_FALSE(tree.add(v6({10}, 8), &b));
    EXPECT_TRUE(tree.add(v6({10, 0, 0, 0, 1}, 40), &b));
    EXPECT_FALSE(tree.add(v6({10}, 8), &b));
    EXPECT_FALSE(tree.add(v4(10, 0, 0, 0, 8), &b));
    EXPECT_EQ(tree.at(v6({10}, 8)), &a);
    EXPECT_EQ(tree.keys(), (std::vector<Prefix>{v6({10}, 8), v6({10, 0, 0, 0, 1}, 40), v6({11}, 32)}));
    EXPECT_TRUE(tree.remove(v6({11}, 32)));
    EXPECT_FALSE(tree.remove(v4(11, 0, 0, 0, 32)));
    EXPECT_TRUE(tree.remove(v4(10, 0, 0, 0, 8)));
    EXPECT_EQ(tree.keys(), (std::vector<Prefix>{v6({10, 0, 0, 0, 1}, 40)}));
}

TEST_F(PrefixTreeTest, ATreeOf4ByteKeysAnswersForTheirLongForm)
{
    ASSERT_TRUE(tree.add(v4(10, 0, 0, 0, 8), &a));
    EXPECT_FALSE(tree.remove(v6({10, 0, 0, 0, 1}, 8)));
    EXPECT_FALSE(tree.remove(v6({10}, 33)));
    EXPECT_TRUE(tree.remove(v6({10}, 8)));
    EXPECT_FALSE(tree.first());
}

} // namespace
