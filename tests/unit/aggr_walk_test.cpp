// The aggregate-prefix cache as the lookup and the iterator see it.
#include "aggr_cache.h"

namespace
{

using fake::Bytes;
using fake::Call;

class AggrLookup : public AggrCache
{
protected:
    AggrLookup()
    {
        apply("red", "10.1.0.0/16");
        apply("red", "2001:db8::/32");
        apply("blue", "10.2.0.0/16");
        kov_api.cache[4].cached = 1;
        clear_traces();
    }
};

TEST_F(AggrLookup, FindsExactlyThePrefixOfTheVrfAndTheFamily)
{
    struct {
        const char *vrf, *prefix;
        bool found;
    } const cases[] = {
        {"red", "10.1.0.0/16", true},     {"red", "2001:db8::/32", true}, {"blue", "10.2.0.0/16", true},
        {"red", "10.2.0.0/16", false},    {"red", "10.1.0.0/15", false},  {"red", "10.1.0.0/17", false},
        {"red", "10.1.2.0/16", false},    {"blue", "::/0", false},        {"redd", "10.1.0.0/16", false},
        {"re", "10.1.0.0/16", false},     {"", "10.1.0.0/16", false},     {"red", "10.1.0.0/33", false},
        {"red", "2001:db8::/129", false},
    };
    uint32_t hits = 0;
    for (const auto &c : cases) {
        const Bytes expected = c.found ? bytes_of(Prefix(c.prefix).record) : Bytes();
        EXPECT_EQ(look_up(c.vrf, c.prefix), expected) << c.vrf << " " << c.prefix;
        expect(holding(3, {.cached = 1, .cache_hits = ++hits}), 2);
    }
    EXPECT_EQ(platform.db.reads(), 0u);
}

TEST_F(AggrLookup, FindsNothingInAFamilyThatDoesNotExist)
{
    for (const unsigned family : {2u, 255u}) {
        Prefix strange = "10.1.0.0/16";
        strange.family = static_cast<uint8_t>(family);
        EXPECT_EQ(look_up("red", strange), Bytes());
    }
    expect(holding(3, {.cached = 1, .cache_hits = 2}), 2);
}

TEST_F(AggrLookup, GivesTheCachedBlockItselfAndAllocatesNothing)
{
    const kov_rdb_key key = prefix_key("red", 0, Prefix("10.1.0.0/16").record);
    platform.calls.clear();
    const void *const found = kov_rdb_get_data_from_cache(&key, 0);
    EXPECT_EQ(platform.calls.count(Call::alloc), 0u);
    EXPECT_EQ(platform.calls.count(Call::oak_lookup), 1u);
    EXPECT_EQ(platform.calls.count(Call::pt_lookup), 1u);
    EXPECT_EQ(found, entry("red", "10.1.0.0/16"));
}

TEST_F(AggrLookup, OfAWithdrawnRecordStillFindsTheCachedOneUntilItIsRefreshed)
{
    EXPECT_NE(look_up("blue", "10.2.0.0/16"), Bytes());
    EXPECT_EQ(look_up("blue", "10.2.0.0/16", 1), Bytes());
    EXPECT_EQ(refresh("blue", "10.2.0.0/16"), 1u);
    EXPECT_EQ(look_up("blue", "10.2.0.0/16"), Bytes());
}

// -------------------------------------------------------------------------------------- walks over the cache

class AggrWalk : public AggrCache
{
protected:
    AggrWalk() { kov_api.cache[4].cached = 1; }

    void fill(std::initializer_list<const char *> prefixes)
    {
        for (const char *prefix : prefixes)
            EXPECT_EQ(apply("red", prefix), 1u);
        clear_traces();
    }
    void begin(const std::string &vrf, uint8_t family, const Prefix &at = "0.0.0.0/0")
    {
        const kov_rdb_key key = prefix_key(vrf, family, at.record);
        EXPECT_EQ(kov_rdb_iter_init(&iter, &key), 1u);
    }
    // The next prefix by its text; empty at the end.
    std::string step()
    {
        const auto *rec = static_cast<const kov_rdb_aggr_sub_pfx_t *>(kov_rdb_iter_get_next(&iter));
        return rec ? kov::prefix_text(iter.key.family, rec->prefix) : "";
    }
    std::vector<std::string> rest()
    {
        std::vector<std::string> texts;
        for (std::string text = step(); !text.empty(); text = step())
            texts.push_back(text);
        return texts;
    }
    using Texts = std::vector<std::string>;
    static std::string walking(const std::string &prefix)
    {
        return "(red) kov_cache_iterator_get_next(): Walking Aggregate-subnet-pfx " + prefix;
    }
    kov_rdb_iter iter;
};

TEST_F(AggrWalk, GivesOneFamilyOfOneVrfInTheOrderOfTheAddresses)
{
    fill({"10.2.0.0/16", "2001:db8::/32", "10.1.0.0/24", "9.255.0.0/16", "10.1.0.0/16", "::/0",
          "200.0.0.0/8"});
    apply("blue", "10.7.0.0/16");
    apply("violet", "10.8.0.0/16");
    clear_traces();
    begin("red", 0);
    EXPECT_EQ(rest(), (Texts{"9.255.0.0/16", "10.1.0.0/16", "10.1.0.0/24", "10.2.0.0/16", "200.0.0.0/8"}));
    expect_traces({walking("9.255.0.0/16"), walking("10.1.0.0/16"), walking("10.1.0.0/24"),
                   walking("10.2.0.0/16"), walking("200.0.0.0/8")});
    begin("red", 1);
    EXPECT_EQ(rest(), (Texts{"::/0", "2001:db8::/32"}));
    expect(holding(9, {.cached = 1, .cache_hits = 9}), 3);
}

TEST_F(AggrWalk, StandsAtThePrefixItGaveLastAndKeepsNameFamilyAndCursor)
{
    fill({"10.1.0.0/16", "10.2.0.0/16"});
    begin("red", 0);
    iter.cursor = 77;
    EXPECT_EQ(step(), "10.1.0.0/16");
    EXPECT_EQ(bytes_of(iter.key), bytes_of(prefix_key("red", 0, Prefix("10.1.0.0/16").record)));
    EXPECT_EQ(iter.first, 0u);
    EXPECT_EQ(iter.cursor, 77u);
    EXPECT_EQ(iter.vrf, kov_vrf_ctx_lookup("red"));
    EXPECT_EQ(step(), "10.2.0.0/16");
    EXPECT_EQ(step(), "");
    EXPECT_EQ(bytes_of(iter.key), bytes_of(prefix_key("red", 0, Prefix("10.2.0.0/16").record)));
    EXPECT_EQ(step(), "");
}

TEST_F(AggrWalk, BeginsAtTheFirstPrefixWhateverItsKey)
{
    fill({"10.1.0.0/16", "10.2.0.0/16"});
    begin("red", 0, "10.1.200.0/24");
    EXPECT_EQ(rest(), (Texts{"10.1.0.0/16", "10.2.0.0/16"}));
}

TEST_F(AggrWalk, EndsAtOnceWithoutTheVrfTheFamilyOrAPrefixOfIt)
{
    fill({"10.1.0.0/16"});
    begin("blue", 0);
    EXPECT_EQ(rest(), Texts{});
    EXPECT_EQ(iter.vrf, nullptr);
    begin("red", 1);
    EXPECT_EQ(rest(), Texts{});
    for (const unsigned family : {2u, 255u}) {
        begin("red", static_cast<uint8_t>(family));
        EXPECT_EQ(rest(), Texts{});
    }
    expect_traces({});
    expect(holding(1, {.cached = 1, .cache_hits = 4}), 1);
}

TEST_F(AggrWalk, ReachesTheLastPossiblePrefix)
{
    fill({"0.0.0.0/0", "255.255.255.255/32", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/128"});
    begin("red", 0);
    EXPECT_EQ(rest(), (Texts{"0.0.0.0/0", "255.255.255.255/32"}));
    begin("red", 1);
    EXPECT_EQ(rest(), (Texts{"ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/128"}));
}

TEST_F(AggrWalk, HoldsNothingBetweenItsSteps)
{
    fill({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16"});
    begin("red", 0);
    EXPECT_EQ(step(), "10.1.0.0/16");
    remove("red", "10.1.0.0/16");
    remove("red", "10.2.0.0/16");
    EXPECT_EQ(references("red"), 1);
    EXPECT_EQ(step(), "10.3.0.0/16");
    remove("red", "10.3.0.0/16");
    EXPECT_EQ(references("red"), -1);
    EXPECT_EQ(step(), "");
    EXPECT_EQ(iter.vrf, nullptr);
    fill({"10.2.0.0/16", "10.4.0.0/16"});
    EXPECT_EQ(step(), "10.4.0.0/16");
}

TEST_F(AggrWalk, StepsByTheTreesKeysWhateverTheRecordsSay)
{
    publish_under("red", "10.1.0.0/16", "10.9.0.0/16");
    publish_under("red", "10.2.0.0/16", "10.1.0.0/16");
    publish_under("red", "2001:db8::/32", "::/0");
    kov_api.cache[4].updating = 1;
    fill_all();
    clear_traces();
    begin("red", 0);
    EXPECT_EQ(rest(), (Texts{"10.9.0.0/16", "10.1.0.0/16"}));
    expect_traces({walking("10.1.0.0/16"), walking("10.2.0.0/16")});
    begin("red", 1);
    EXPECT_EQ(rest(), (Texts{"::/0"}));
}

TEST_F(AggrWalk, GoesOnInTheDatabaseFromThePrefixThatTheCacheGaveLast)
{
    for (const char *prefix : {"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16"})
        publish_prefix("red", prefix);
    fill({"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16"});
    begin("red", 0);
    EXPECT_EQ(step(), "10.1.0.0/16");
    kov_api.cache[4].updating = 1;
    EXPECT_EQ(step(), "10.2.0.0/16");
    kov_api.cache[4].updating = 0;
    EXPECT_EQ(step(), "10.3.0.0/16");
    expect(holding(3, {.cached = 1, .cache_hits = 2, .update_hits = 1, .rdb_hits = 1}), 1);
}

TEST_F(AggrWalk, InTheDatabasePassesOverTheOtherFamilyAndIntoTheNextVrf)
{
    publish_prefix("red", "2001:db8::/32");
    publish_prefix("red", "10.1.0.0/16");
    publish_prefix("violet", "10.8.0.0/16");
    publish_prefix("blue", "10.7.0.0/16");
    begin("red", 1);
    iter.force_rdb = 1;
    std::vector<std::string> seen;
    while (!step().empty())
        seen.push_back(std::string(iter.key.of.vrf_name) + " " + std::to_string(iter.key.family));
    EXPECT_EQ(seen, (Texts{"red 0", "red 1", "violet 0"}));
    expect({.cached = 1, .rdb_hits = 4}, 0);
}

} // namespace
