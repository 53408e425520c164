// The aggregate-prefix cache: filling, one prefix, and what memory or the trees refuse.
#include "aggr_cache.h"

namespace
{

using fake::Bytes;
using fake::Call;

// ------------------------------------------------------------------------------------- the life of a cache

TEST_F(AggrCache, CountsEveryStepOfItsLife)
{
    publish_prefix("red", "10.1.0.0/16");
    publish_prefix("red", "10.2.0.0/16");
    publish_prefix("red", "2001:db8::/32");
    publish_prefix("blue", "10.1.0.0/16");
    EXPECT_EQ(kov_api_close(), 1u);
    register_and_acknowledge({8});
    expect(holding(4, {.cached = 1, .rdb_hits = 5}), 2);
    EXPECT_EQ(references("red"), 3);
    EXPECT_EQ(references("blue"), 1);

    EXPECT_EQ(look_up("red", "10.1.0.0/16"), bytes_of(Prefix("10.1.0.0/16").record));
    expect(holding(4, {.cached = 1, .cache_hits = 1, .rdb_hits = 5}), 2);
    EXPECT_EQ(look_up("green", "10.1.0.0/16"), Bytes());
    expect(holding(4, {.cached = 1, .cache_hits = 2, .rdb_hits = 5}), 2);
    EXPECT_EQ(look_up("red", "10.1.0.0/16", 1), bytes_of(Prefix("10.1.0.0/16").record));
    expect(holding(4, {.cached = 1, .cache_hits = 2, .rdb_hits = 6}), 2);

    kov_api.cache[4].updating = 1;
    EXPECT_EQ(look_up("red", "10.2.0.0/16"), bytes_of(Prefix("10.2.0.0/16").record));
    expect(holding(4, {.cached = 1, .updating = 1, .cache_hits = 2, .update_hits = 1, .rdb_hits = 7}), 2);
    publish_prefix("green", "10.3.0.0/16");
    EXPECT_EQ(refresh("green", "10.3.0.0/16"), 1u);
    expect(holding(5, {.cached = 1, .cache_hits = 2, .update_hits = 2, .rdb_hits = 8}), 3);

    withdraw_prefix("blue", "10.1.0.0/16");
    EXPECT_EQ(refresh("blue", "10.1.0.0/16"), 1u);
    expect(holding(4, {.cached = 1, .cache_hits = 2, .update_hits = 3, .rdb_hits = 9}), 2);
    EXPECT_EQ(clear_one("red", "10.2.0.0/16"), 1u);
    expect(holding(3, {.cached = 1, .cache_hits = 2, .update_hits = 3, .rdb_hits = 9}), 2);
    EXPECT_EQ(references("red"), 2);

    EXPECT_EQ(kov_api_disable_cache(), 1u);
    expect({.cache_hits = 2, .update_hits = 3, .rdb_hits = 9}, 0);
    EXPECT_EQ(look_up("red", "10.1.0.0/16"), bytes_of(Prefix("10.1.0.0/16").record));
    expect({.cache_hits = 2, .update_hits = 3, .rdb_hits = 10}, 0);
}

TEST_F(AggrCache, KeepsTheTwentyBytesOfTheRecordAndAContextForItsVrf)
{
    EXPECT_EQ(apply("red", "10.1.0.0/16"), 1u);
    EXPECT_EQ(platform.heap.live_blocks(), 2u);
    EXPECT_EQ(platform.heap.size_of(entry("red", "10.1.0.0/16")), 20u);
    EXPECT_EQ(value("red", "10.1.0.0/16"), bytes_of(Prefix("10.1.0.0/16").record));
}

TEST_F(AggrCache, TellsPrefixesApartByVrfFamilyAddressAndLength)
{
    struct {
        const char *vrf, *prefix;
    } const prefixes[] = {
        {"red", "10.1.0.0/16"},   {"red", "10.1.0.0/17"}, {"red", "10.1.0.1/16"}, {"blue", "10.1.0.0/16"},
        {"red", "0.0.0.0/0"},     {"red", "::/0"},        {"red", "::/128"},      {"red", "2001:db8::/32"},
        {"red", "2001:db8::/33"}, {"red", "10.1.2.3/32"},
    };
    unsigned n = 0;
    for (const auto &p : prefixes) {
        EXPECT_EQ(entry(p.vrf, p.prefix), nullptr) << p.vrf << " " << p.prefix;
        EXPECT_EQ(apply(p.vrf, p.prefix), 1u);
        ++n;
        expect(holding(n), n < 4 ? 1 : 2);
    }
    EXPECT_EQ(references("red"), 9);
    for (const auto &p : prefixes) {
        EXPECT_EQ(value(p.vrf, p.prefix), bytes_of(Prefix(p.prefix).record));
        EXPECT_EQ(remove(p.vrf, p.prefix), 1u);
        EXPECT_EQ(entry(p.vrf, p.prefix), nullptr) << p.vrf << " " << p.prefix;
    }
    expect({}, 0);
}

// ------------------------------------------------------------------------------------------------- filling

TEST_F(AggrCache, AFillOfAllTracesEachPrefixAndItsEnd)
{
    publish_prefix("red", "10.1.0.0/16");
    publish_prefix("red", "2001:db8::/32");
    publish_prefix("blue", "10.9.0.0/24");
    EXPECT_EQ(fill_all(), 1u);
    expect_traces({vrf_added("blue"), added("blue", "10.9.0.0/24"), updated, vrf_added("red"),
                   added("red", "10.1.0.0/16"), updated, added("red", "2001:db8::/32"), updated,
                   filled("All")});
    expect(holding(3, {.rdb_hits = 4}), 2);
    EXPECT_EQ(platform.sched.yields, 0u);
    EXPECT_EQ(platform.calls.count(Call::coop_should_sched_yield), 0u);
}

TEST_F(AggrCache, AFillOfAllPrintsTheKeyThatItWasGivenAllTheSame)
{
    const kov_aggr_prefix_key key = key_in("red", "10.1.0.0/16");
    EXPECT_EQ(kov_cache_rdb_aggr_subnet_pfx(1, &key), 1u);
    expect_traces({filled("Allred 10.1.0.0/16")});
    expect({.rdb_hits = 1}, 0);
}

TEST_F(AggrCache, AFillOfAllReadsTheDatabaseAlsoWhenTheTypeIsCached)
{
    publish_prefix("red", "10.1.0.0/16");
    kov_api.cache[4].cached = 1;
    kov_api.cache[4].updating = 1;
    EXPECT_EQ(fill_all(), 1u);
    // The first record's update ends the updating; the walk goes on in the database nevertheless.
    expect(holding(1, {.cached = 1, .update_hits = 1, .rdb_hits = 2}), 1);
}

TEST_F(AggrCache, AFillDoesNothingWhenTheTypeIsCachedAndNotBeingUpdated)
{
    publish_prefix("red", "10.1.0.0/16");
    kov_api.cache[4].cached = 1;
    EXPECT_EQ(fill_all(), 1u);
    EXPECT_EQ(fill_one("red", "10.1.0.0/16"), 1u);
    const std::string already = "KOV RDB Aggregate-subnet-pfx is already cached, nothing to do";
    expect_traces({already, already});
    expect({.cached = 1}, 0);
}

TEST_F(AggrCache, ARefreshReadsOnePrefixFromTheDatabase)
{
    publish_prefix("red", "10.1.0.0/16");
    publish_prefix("red", "10.2.0.0/16");
    EXPECT_EQ(fill_one("red", "10.2.0.0/16"), 1u);
    expect_traces(
        {read_database, vrf_added("red"), added("red", "10.2.0.0/16"), updated, filled("red 10.2.0.0/16")});
    expect(holding(1, {.rdb_hits = 1}), 1);
    EXPECT_EQ(entry("red", "10.1.0.0/16"), nullptr);
}

TEST_F(AggrCache, ARefreshOfAnIpv6PrefixReadsIt)
{
    publish_prefix("red", "2001:db8::/32");
    EXPECT_EQ(refresh("red", "2001:db8::/32"), 1u);
    expect_traces({read_database, vrf_added("red"), added("red", "2001:db8::/32"), updated,
                   filled("red 2001:db8::/32")});
    expect(holding(1, {.update_hits = 1, .rdb_hits = 1}), 1);
}

TEST_F(AggrCache, ARefreshReplacesTheValueAndKeepsTheCounters)
{
    apply("red", "10.1.0.0/16");
    const void *const before = entry("red", "10.1.0.0/16");
    Prefix changed = "10.1.0.0/16";
    publish_under("red", "10.1.0.0/16", "10.1.9.9/16");
    clear_traces();
    EXPECT_EQ(refresh("red", changed), 1u);
    expect_traces({read_database, updated, filled("red 10.1.0.0/16")});
    EXPECT_EQ(entry("red", "10.1.0.0/16"), before);
    EXPECT_EQ(value("red", "10.1.0.0/16"), bytes_of(Prefix("10.1.9.9/16").record));
    expect(holding(1, {.update_hits = 1, .rdb_hits = 1}), 1);
}

TEST_F(AggrCache, RefreshingAPrefixWhoseRecordHasLeftTheDatabaseRemovesItAndReturnsOne)
{
    apply("red", "10.1.0.0/16");
    clear_traces();
    EXPECT_EQ(refresh("red", "10.1.0.0/16"), 1u);
    expect_traces({read_database, vrf_deleted("red"), deleted("red", "10.1.0.0/16"), updated,
                   filled("red 10.1.0.0/16")});
    expect({.update_hits = 1, .rdb_hits = 1}, 0);
    EXPECT_EQ(platform.heap.live_blocks(), 0u);
}

TEST_F(AggrCache, RefreshingAPrefixThatIsNowhereLeavesEverythingAsItIs)
{
    EXPECT_EQ(refresh("red", "10.1.0.0/16"), 1u);
    expect_traces({read_database, updated, filled("red 10.1.0.0/16")});
    expect({.update_hits = 1, .rdb_hits = 1}, 0);
}

TEST_F(AggrCache, AFillOfNothingPrintsNothingAndEndsTheUpdating)
{
    kov_api.cache[4].updating = 1;
    EXPECT_EQ(kov_cache_rdb_aggr_subnet_pfx(0, nullptr), 1u);
    expect_traces({filled("")});
    expect({}, 0);
}

TEST_F(AggrCache, AFillKeepsThePrefixesThatTheDatabaseNoLongerHas)
{
    apply("red", "10.1.0.0/16");
    publish_prefix("red", "10.2.0.0/16");
    EXPECT_EQ(fill_all(), 1u);
    expect(holding(2, {.rdb_hits = 2}), 1);
}

TEST_F(AggrCache, AFillSkipsAFamilyThatDoesNotExistAndKeepsItsVrf)
{
    Prefix strange = "10.1.0.0/16";
    strange.family = 2;
    publish_prefix("blue", strange);
    publish_prefix("red", "10.1.0.0/16");
    EXPECT_EQ(fill_all(), 1u);
    expect_traces({vrf_added("blue"), vrf_added("red"), added("red", "10.1.0.0/16"), updated, filled("All")});
    expect(holding(1, {.rdb_hits = 3}), 2);
    EXPECT_EQ(references("blue"), 0);
}

TEST_F(AggrCache, AFillSkipsALengthThatItsFamilyDoesNotHave)
{
    for (const char *prefix : {"10.1.0.0/33", "2001:db8::/129", "10.1.0.0/255"})
        publish_prefix("red", prefix);
    EXPECT_EQ(fill_all(), 1u);
    expect(holding(0, {.rdb_hits = 4}), 1);
    EXPECT_EQ(references("red"), 0);
}

// ---------------------------------------------------------------------------------------------- one prefix

TEST_F(AggrCache, AnUpdateEndsTheUpdating)
{
    kov_api.cache[4].updating = 1;
    EXPECT_EQ(apply("red", "10.1.0.0/16"), 1u);
    expect(holding(1), 1);
    kov_api.cache[4].updating = 1;
    const kov_aggr_prefix_key key = key_in("red", "10.1.0.0/16");
    EXPECT_EQ(kov_cache_aggr_subnet_pfx(nullptr, &key), 1u);
    expect({}, 0);
    expect_traces({vrf_added("red"), added("red", "10.1.0.0/16"), updated, vrf_deleted("red"),
                   deleted("red", "10.1.0.0/16"), updated});
}

TEST_F(AggrCache, NoKeyIsRefusedByTheUpdateAndTheDelete)
{
    const Prefix prefix = "10.1.0.0/16";
    kov_api.cache[4].updating = 1;
    EXPECT_EQ(kov_cache_aggr_subnet_pfx(&prefix.record, nullptr), 0u);
    EXPECT_EQ(kov_cache_aggr_subnet_pfx(nullptr, nullptr), 0u);
    EXPECT_EQ(kov_clear_cache_aggr_subnet_pfx(&prefix.record, nullptr), 0u);
    EXPECT_EQ(kov_clear_cache_aggr_subnet_pfx(nullptr, nullptr), 0u);
    const std::string update = "kov_cache_aggr_subnet_pfx(): Invalid Aggregate-subnet-prefix";
    const std::string remove = "kov_clear_cache_aggr_subnet_pfx(): Invalid Aggregate-subnet-prefix";
    expect_traces({update, update, remove, remove});
    expect({.updating = 1}, 0);
}

TEST_F(AggrCache, DeletingTheLastPrefixOfAVrfDeletesItsContext)
{
    apply("red", "10.1.0.0/16");
    apply("red", "2001:db8::/32");
    clear_traces();
    EXPECT_EQ(remove("red", "10.1.0.0/16"), 1u);
    expect_traces({refcount_is("red", 1), deleted("red", "10.1.0.0/16")});
    expect(holding(1), 1);
    clear_traces();
    EXPECT_EQ(remove("red", "2001:db8::/32"), 1u);
    expect_traces({vrf_deleted("red"), deleted("red", "2001:db8::/32")});
    expect({}, 0);
    EXPECT_EQ(platform.heap.live_blocks(), 0u);
}

TEST_F(AggrCache, ADeleteOfWhatIsNotThereIsDoneSilently)
{
    apply("red", "10.1.0.0/16");
    clear_traces();
    Prefix strange = "10.1.0.0/16";
    strange.family = 2;
    EXPECT_EQ(remove("blue", "10.1.0.0/16"), 1u);
    EXPECT_EQ(remove("red", "10.1.0.0/17"), 1u);
    EXPECT_EQ(remove("red", "::/16"), 1u);
    EXPECT_EQ(remove("red", "10.1.0.0/33"), 1u);
    EXPECT_EQ(remove("red", strange), 1u);
    expect_traces({});
    expect(holding(1), 1);
}

TEST_F(AggrCache, AStaleEntryIsNeverFreedTwice)
{
    apply("red", "10.1.0.0/16");
    apply("red", "10.2.0.0/16");
    const auto *const stale = entry("red", "10.1.0.0/16");
    EXPECT_EQ(remove("red", "10.1.0.0/16", stale), 1u);
    expect(holding(1), 1);
    clear_traces();
    EXPECT_EQ(remove("red", "10.1.0.0/16", stale), 1u);
    expect_traces({});
    expect(holding(1), 1);
    EXPECT_EQ(references("red"), 1);
}

TEST_F(AggrCache, AnotherPrefixsEntryIsNotFreedInItsPlace)
{
    apply("red", "10.1.0.0/16");
    apply("red", "10.2.0.0/16");
    EXPECT_EQ(remove("red", "10.1.0.0/16", entry("red", "10.2.0.0/16")), 1u);
    EXPECT_EQ(value("red", "10.2.0.0/16"), bytes_of(Prefix("10.2.0.0/16").record));
    expect(holding(1), 1);
}

TEST_F(AggrCache, ASecondDeleteInAContextWhoseCountIsZeroSaysSoAndDeletesTheContext)
{
    platform.calls.fail(Call::pt_add);
    EXPECT_EQ(apply("red", "10.1.0.0/16"), 0u);
    clear_traces();
    const Prefix stale = "10.1.0.0/16";
    EXPECT_EQ(remove("red", "10.1.0.0/16"), 1u); // nothing there, and nothing said to have been
    expect({}, 1);
    EXPECT_EQ(remove("red", "10.1.0.0/16", &stale.record), 1u);
    expect_traces({already_zero, vrf_deleted("red"), deleted("red", "10.1.0.0/16")});
    expect({}, 0);
}

TEST_F(AggrCache, ADeleteInAContextWhoseCountIsZeroStillTakesThePrefixOut)
{
    apply("red", "10.1.0.0/16");
    kov_vrf_ctx_lookup("red")->refcount = 0;
    clear_traces();
    EXPECT_EQ(remove("red", "10.1.0.0/16"), 1u);
    expect_traces({already_zero, vrf_deleted("red"), deleted("red", "10.1.0.0/16")});
    expect({}, 0);
    EXPECT_EQ(platform.heap.live_blocks(), 0u);
}

// ------------------------------------------------------------------------------------- no library, no memory

TEST_F(AggrCache, NothingWorksWithoutAnInitialisedLibrary)
{
    never_initialised();
    EXPECT_EQ(fill_all(), 0u);
    EXPECT_EQ(fill_one("red", "10.1.0.0/16"), 0u);
    EXPECT_EQ(clear_all(), 0u);
    EXPECT_EQ(apply("red", "10.1.0.0/16"), 0u);
    EXPECT_EQ(remove("red", "10.1.0.0/16"), 0u);
    EXPECT_EQ(kov_cache_aggr_subnet_pfx(nullptr, nullptr), 0u); // the key is looked at first
    std::vector<std::string> expected;
    for (const char *name : {"kov_cache_rdb_aggr_subnet_pfx", "kov_cache_rdb_aggr_subnet_pfx",
                             "kov_clear_cache_rdb_aggr_subnet_pfx", "kov_cache_aggr_subnet_pfx",
                             "kov_clear_cache_aggr_subnet_pfx"}) {
        expected.push_back("API called even before KOV is enabled, ignore");
        expected.push_back(std::string(name) + "(): Not initialized with KOV Api");
    }
    expected.push_back("kov_cache_aggr_subnet_pfx(): Invalid Aggregate-subnet-prefix");
    expect_traces(expected);
    expect({}, 0);
}

} // namespace
