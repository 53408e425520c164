// Filling the SVI cache, all of it or one SVI, with everything that can go wrong meanwhile.
#include "svi_cache.h"

#include <algorithm>

namespace
{

using fake::Bytes;
using fake::Call;

TEST_F(SviCache, AFillOfAllAppliesEveryRecordFromTheDatabase)
{
    for (const uint32_t mode : {0u, 1u, 2u, 3u})
        publish(svi_in_mode(10 * (mode + 1), mode));
    EXPECT_EQ(kov_cache_rdb_sviinfo(1, nullptr), 1u);
    expect_traces({
        "Not a Fabric Control SVI vlan10",
        applied, //
        "Not a Fabric Control SVI vlan20",
        "Created sviinfo for vlan20 from KOV RDB cache",
        applied,
        "Not a Fabric Control SVI vlan30",
        "Created sviinfo for vlan30 from KOV RDB cache",
        applied,
        "Not a Fabric Control SVI vlan40",
        applied, //
        "KOV RDB All Sviinfo is cached/Updated",
    });
    // N records are N + 1 steps; `cached` is the caller's to set.
    expect_all_counters({{2, {.rdb_hits = 5, .allocs = 2, .bytes = 32, .data = true}}});
    EXPECT_EQ(cached(20), bytes_of(expanded(svi_in_mode(20, 1))));
    EXPECT_EQ(cached(30), bytes_of(expanded(svi_in_mode(30, 2))));
}

TEST_F(SviCache, AFillOfAllFromAnEmptyDatabaseIsDone)
{
    EXPECT_EQ(kov_cache_rdb_sviinfo(1, nullptr), 1u);
    expect_traces({"KOV RDB All Sviinfo is cached/Updated"});
    expect_all_counters({{2, {.rdb_hits = 1}}});
}

TEST_F(SviCache, AFillOfAllFromAClosedDatabaseIsDone)
{
    publish(svi_in_mode(10, 2));
    platform.db.close_all();
    EXPECT_EQ(kov_cache_rdb_sviinfo(1, nullptr), 1u);
    expect_all_counters({{2, {.rdb_hits = 1}}});
}

TEST_F(SviCache, AFillOfAllTakesTheFabricControlSviInItsTurn)
{
    publish(general_info(1));
    publish(svi_in_mode(10, 2));
    publish(fabric_ctrl_svi(20, 2));
    publish(svi_in_mode(30, 1));
    cache({});
    expect_all_counters({
        {1, {.update_hits = 1, .rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true}},
        {2, {.cached = 1, .rdb_hits = 4, .allocs = 4, .bytes = 186, .data = true}},
    });
    for (const uint32_t ifindex : {10u, 30u})
        EXPECT_EQ(cached(ifindex), bytes_of(expanded(svi_in_mode(ifindex, ifindex == 10 ? 2 : 1))));
    EXPECT_EQ(cached(20), bytes_of(fabric_ctrl_svi(20, 2)));
}

TEST_F(SviCache, AFillNamesTheSviItWasToldEvenWithAll)
{
    const uint32_t index = 10;
    EXPECT_EQ(kov_cache_rdb_sviinfo(1, &index), 1u);
    expect_traces({"KOV RDB Allvlan10 Sviinfo is cached/Updated"});
}

TEST_F(SviCache, AFillOfNothingReadsNothing)
{
    kov_api.cache[2].updating = 1;
    EXPECT_EQ(kov_cache_rdb_sviinfo(0, nullptr), 1u);
    expect_traces({"KOV RDB  Sviinfo is cached/Updated"});
    expect_all_counters({});
}

TEST_F(SviCache, IsNotFilledAgainWithoutAnUpdate)
{
    cache({svi_in_mode(10, 2)});
    publish(svi_in_mode(20, 2));
    const uint32_t index = 20;
    EXPECT_EQ(kov_cache_rdb_sviinfo(1, nullptr), 1u);
    EXPECT_EQ(kov_cache_rdb_sviinfo(0, &index), 1u);
    const std::string text = "KOV RDB Sviinfo is already cached, nothing to do";
    expect_traces({text, text});
    expect_all_counters({{2, {.cached = 1, .rdb_hits = 2, .allocs = 1, .bytes = 16, .data = true}}});
}

// The first applied record ends the update, and with it what would keep the walk in the database.
TEST_F(SviCache, AFillOfAllStaysInTheDatabaseThoughTheTypeIsMarkedAsCached)
{
    cache({});
    for (const uint32_t ifindex : {10u, 20u, 30u})
        publish(svi_in_mode(ifindex, 2));
    kov_api.cache[2].updating = 1;
    EXPECT_EQ(kov_cache_rdb_sviinfo(1, nullptr), 1u);
    expect_all_counters(
        {{2, {.cached = 1, .update_hits = 1, .rdb_hits = 5, .allocs = 3, .bytes = 48, .data = true}}});
}

TEST_F(SviCache, ARefreshOfOneSviReadsItAgain)
{
    publish(svi_in_mode(10, 2));
    const uint32_t index = 10;
    EXPECT_EQ(kov_cache_rdb_sviinfo(0, &index), 1u);
    expect_traces({"Doing RDB based lookup for 2", "Not a Fabric Control SVI vlan10",
                   "Created sviinfo for vlan10 from KOV RDB cache", applied,
                   "KOV RDB vlan10 Sviinfo is cached/Updated"});
    expect_all_counters({{2, {.rdb_hits = 1, .allocs = 1, .bytes = 16, .data = true}}});
    withdraw(key_of(2, 10));
    clear_traces();
    EXPECT_EQ(kov_cache_rdb_sviinfo(0, &index), 1u);
    expect_traces({"Doing RDB based lookup for 2", "Not a Fabric Control SVI vlan10",
                   "Deleted sviinfo for vlan10 from KOV RDB cache", applied,
                   "KOV RDB vlan10 Sviinfo is cached/Updated"});
    expect_all_counters({{2, {.rdb_hits = 2, .data = true}}});
}

TEST_F(SviCache, ARefreshTakesItsIndexFromAnyAddress)
{
    publish(svi_in_mode(10, 2));
    const Bytes buffer = {0xEE, 10, 0, 0, 0};
    EXPECT_EQ(kov_cache_rdb_sviinfo(0, &buffer[1]), 1u);
    EXPECT_EQ(cached(10), bytes_of(expanded(svi_in_mode(10, 2))));
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(0, &buffer[1]), 1u);
    EXPECT_EQ(cached(10), Bytes());
}

TEST_F(SviCache, ARefreshOfIndexZeroChangesNothingAndEndsTheUpdate)
{
    kov_api.cache[2].updating = 1;
    const uint32_t index = 0;
    EXPECT_EQ(kov_cache_rdb_sviinfo(0, &index), 1u);
    expect_traces({"Doing RDB based lookup for 2", "kov_cache_sviinfo(): Invalid svi ifindex",
                   "KOV RDB - Sviinfo is cached/Updated"});
    expect_all_counters({{2, {.update_hits = 1, .rdb_hits = 1}}});
}

TEST_F(SviCache, AnUpdateOfTheServerReplacesTheEntry)
{
    cache({svi_in_mode(10, 2)});
    publish(svi_in_mode(10, 1));
    EXPECT_EQ(dispatch(9, kov_word_update{10}), 1u);
    EXPECT_EQ(cached(10), bytes_of(expanded(svi_in_mode(10, 1))));
    expect_all_counters(
        {{2, {.cached = 1, .update_hits = 1, .rdb_hits = 3, .allocs = 1, .bytes = 16, .data = true}}});
    publish(svi_in_mode(10, 3));
    EXPECT_EQ(dispatch(9, kov_word_update{10}), 1u);
    EXPECT_EQ(cached(10), Bytes());
    expect_all_counters({{2, {.cached = 1, .update_hits = 2, .rdb_hits = 4, .data = true}}});
}

TEST_F(SviCache, AFillSkipsADamagedRecordAndGoesOn)
{
    publish_bytes(key_of(2, 20), {0xBA, 0xAD});
    cache({svi_in_mode(10, 2), svi_in_mode(30, 2)});
    EXPECT_NE(cached(10), Bytes());
    EXPECT_EQ(cached(20), Bytes());
    EXPECT_NE(cached(30), Bytes());
    expect_all_counters({{2, {.cached = 1, .rdb_hits = 4, .allocs = 2, .bytes = 32, .data = true}}});
    EXPECT_EQ(platform.codec.errors, (std::vector<std::string>{"kov_rdb_sviinfo_to_struct: ERR 0x4a\n"}));
}

TEST_F(SviCache, ARefreshOfADamagedRecordRemovesTheSviBecauseItsModeReadsZero)
{
    cache({svi_in_mode(10, 2)});
    publish_bytes(key_of(2, 10), {0xBA, 0xAD});
    EXPECT_EQ(dispatch(9, kov_word_update{10}), 1u);
    EXPECT_EQ(cached(10), Bytes());
    expect_all_counters({{2, {.cached = 1, .update_hits = 1, .rdb_hits = 3, .data = true}}});
}

// Three entries, the second of them the fabric control SVI's with its copy and the general information.
struct FillFault {
    unsigned nth;       // allocation of the fill that fails
    bool copy, general; // what is there afterwards
    std::vector<uint32_t> entries;
};

TEST_F(SviCache, AnAllocationThatFailsInAFillSkipsItsRecordAndTheFillGoesOn)
{
    const FillFault faults[] = {
        {1, true, true, {20, 30}},       // entry 10
        {2, false, false, {10, 20, 30}}, // copy of 20
        {3, true, false, {10, 20, 30}},  // general information for it
        {4, true, true, {10, 30}},       // entry 20
        {5, true, true, {10, 20}},       // entry 30
        {6, true, true, {10, 20, 30}},   // none
    };
    publish(general_info(1));
    publish(svi_in_mode(10, 2));
    publish(fabric_ctrl_svi(20, 2));
    publish(svi_in_mode(30, 2));
    for (const FillFault &f : faults) {
        SCOPED_TRACE(f.nth);
        register_client({9});
        platform.calls.fail(Call::alloc,
                            f.nth + 1); // the first is the dispatcher's copy of the acknowledgement
        acknowledge();
        platform.calls.mend();
        const auto n = static_cast<uint32_t>(f.entries.size());
        EXPECT_FALSE(traced("Caching failed for Mtype: 9"));
        const Counters general = {.update_hits = 1, .rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true};
        const Counters no_memory = {.updating = 1, .update_hits = 1, .rdb_hits = 1};
        expect_all_counters({
            {1, f.general ? general
                : f.copy  ? no_memory
                          : Counters()},
            {2,
             {.cached = 1,
              .rdb_hits = 4,
              .allocs = n + f.copy,
              .bytes = 16 * n + (f.copy ? 138u : 0u),
              .data = true}},
        });
        expect_counters_equal_live_blocks();
        for (const uint32_t ifindex : {10u, 30u})
            EXPECT_EQ(!cached(ifindex).empty(), std::count(f.entries.begin(), f.entries.end(), ifindex) == 1);
        kov_api_close();
        EXPECT_TRUE(platform.leaks().none());
    }
}

TEST_F(SviCache, ATreeThatRefusesInAFillSkipsItsRecordAndTheFillGoesOn)
{
    for (const uint32_t ifindex : {10u, 20u, 30u})
        publish(svi_in_mode(ifindex, 2));
    for (unsigned nth = 1; nth <= 3; ++nth) {
        SCOPED_TRACE(nth);
        register_client({9});
        platform.calls.fail(Call::pt_add, nth);
        acknowledge();
        EXPECT_EQ(cached(10 * nth), Bytes());
        expect_all_counters({{2, {.cached = 1, .rdb_hits = 4, .allocs = 2, .bytes = 32, .data = true}}});
        expect_counters_equal_live_blocks();
        kov_api_close();
        EXPECT_TRUE(platform.leaks().none());
    }
}

} // namespace
