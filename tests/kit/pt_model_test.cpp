// Random changes and walks of a prefix tree beside a std::map that has the same keys.
#include "pt_bench.h"

#include <map>

namespace
{

using kit::Prefix;
using kit::PrefixTree;

// Which keys a run draws from.
struct Keys {
    const char *name;
    Prefix (*draw)(kit::Random &random, uint32_t range);
};

Prefix draw_number(kit::Random &random, uint32_t range) { return kit::number(random.below(range)); }

Prefix draw_interface(kit::Random &random, uint32_t range)
{
    return kit::number(9u << 26 | random.below(4) << 20 | random.below(range));
}

// Few bytes, many lengths, host bits set: prefixes that are nearly the same.
Prefix draw_v4_prefix(kit::Random &random, uint32_t range)
{
    return kit::number(random.below(range) * 0x01010101u >> random.below(8), random.below(33));
}

Prefix draw_v6_prefix(kit::Random &random, uint32_t range)
{
    std::array<uint8_t, 16> bytes = {0x20, 1, 0x0D, 0xB8};
    const uint32_t number = random.below(range);
    std::memcpy(bytes.data() + 4 + random.below(9), &number, sizeof number);
    return kit::v6(bytes, random.below(129));
}

Prefix draw_either(kit::Random &random, uint32_t range)
{
    return random.one_in(4) ? draw_v6_prefix(random, range) : draw_v4_prefix(random, range);
}

class PrefixTreeModel : public testing::TestWithParam<Keys>
{
protected:
    void add(const Prefix &key)
    {
        void *const data = &spots[random.below(64)];
        const bool fresh = model.emplace(key, data).second;
        ASSERT_EQ(tree.add(key, data), fresh) << key;
    }

    void remove(const Prefix &key) { ASSERT_EQ(tree.remove(key), model.erase(key) != 0) << key; }

    void look_up(const Prefix &key)
    {
        const auto at = model.find(key);
        ASSERT_EQ(tree.at(key), at == model.end() ? nullptr : at->second) << key;
    }

    void look_above(const Prefix &key)
    {
        const auto at = model.upper_bound(key);
        const auto found = tree.above(key);
        ASSERT_EQ(found.has_value(), at != model.end()) << key;
        if (found) {
            ASSERT_EQ(found->key, at->first) << key;
            ASSERT_EQ(found->data, at->second) << key;
        }
    }

    void walk_all()
    {
        auto at = model.begin();
        for (auto each = tree.first(); each; each = tree.above(each->key), ++at) {
            ASSERT_NE(at, model.end());
            ASSERT_EQ(each->key, at->first);
            ASSERT_EQ(each->data, at->second);
        }
        ASSERT_EQ(at, model.end());
    }

    // One of the things that can happen; `adds` of 10 are additions.
    void something_happens(uint32_t adds, uint32_t range)
    {
        const Prefix key = GetParam().draw(random, range);
        const uint32_t dice = random.below(20);
        if (dice < 10)
            random.below(10) < adds ? add(key) : remove(key);
        else if (dice < 15)
            look_up(key);
        else
            look_above(key);
    }

    kit::Random random{99};
    PrefixTree tree;
    std::map<Prefix, void *> model;
    std::array<int, 64> spots = {};
};

TEST_P(PrefixTreeModel, DoesWhatASortedMapDoes)
{
    for (const uint32_t range : {40u, 3000u})
        for (const uint32_t adds : {7u, 5u, 3u, 8u, 1u}) {
            for (int i = 0; i < 500 && !HasFatalFailure(); ++i)
                something_happens(adds, range);
            walk_all();
            ASSERT_FALSE(HasFatalFailure()) << range << ' ' << adds;
        }
}

TEST_P(PrefixTreeModel, GrowsToManyKeysInAnyOrderAndShrinksToNone)
{
    for (int i = 0; i < 2500 && !HasFatalFailure(); ++i)
        add(GetParam().draw(random, 1u << 20));
    walk_all();
    while (!model.empty() && !HasFatalFailure()) {
        auto at = model.lower_bound(GetParam().draw(random, 1u << 20));
        if (at == model.end())
            at = model.begin();
        const Prefix key = at->first;
        remove(key);
        look_up(key);
        look_above(key);
    }
    EXPECT_FALSE(tree.first());
}

TEST_P(PrefixTreeModel, AWalkDuringWhichKeysComeAndGoIsThatOfASortedMap)
{
    for (int i = 0; i < 1000; ++i)
        add(GetParam().draw(random, 5000));
    for (auto each = tree.first(); each && !HasFatalFailure(); each = tree.above(each->key)) {
        for (uint32_t i = random.below(4); i > 0; --i)
            random.one_in(2) ? remove(GetParam().draw(random, 5000)) : remove(each->key);
        if (random.one_in(4))
            add(GetParam().draw(random, 5000));
        look_above(each->key);
    }
    walk_all();
}

INSTANTIATE_TEST_SUITE_P(Keys, PrefixTreeModel,
                         testing::Values(Keys{"numbers", draw_number}, Keys{"interfaces", draw_interface},
                                         Keys{"v4_prefixes", draw_v4_prefix},
                                         Keys{"v6_prefixes", draw_v6_prefix},
                                         Keys{"both_widths", draw_either}),
                         [](const auto &each) { return each.param.name; });

class PrefixTreeRuns : public PrefixTreeModel
{
};

TEST_P(PrefixTreeRuns, RisingFallingAndInterleavedKeysAllFindTheirPlace)
{
    constexpr uint32_t count = 800;
    for (uint32_t i = 0; i < count; ++i)
        add(kit::number(2 * i));
    for (uint32_t i = count; i-- > 0;)
        add(kit::number(2 * i + 1));
    for (uint32_t i = 0; i < count; i += 3)
        remove(kit::number(2 * i));
    walk_all();
    for (uint32_t i = 0; i < 2 * count; ++i)
        look_above(kit::number(i));
}

INSTANTIATE_TEST_SUITE_P(Keys, PrefixTreeRuns, testing::Values(Keys{"numbers", draw_number}),
                         [](const auto &each) { return each.param.name; });

} // namespace
