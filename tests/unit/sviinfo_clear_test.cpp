// Clearing the SVI cache, all of it or one SVI, and the other tasks that run at its yields.
#include "svi_cache.h"

namespace
{

using fake::Bytes;
using fake::Call;

TEST_F(SviCache, AClearOfAllEmptiesTheTreeAndYieldsAfterEveryEntry)
{
    for (const uint32_t ifindex : {30u, 10u, 20u})
        apply(svi_in_mode(ifindex, 2));
    clear_traces();
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(1, nullptr), 1u);
    expect_traces({
        "Not a Fabric Control SVI vlan10",
        "Deleted sviinfo for vlan10 from KOV RDB cache",
        "Not a Fabric Control SVI vlan20",
        "Deleted sviinfo for vlan20 from KOV RDB cache",
        "Not a Fabric Control SVI vlan30",
        "Deleted sviinfo for vlan30 from KOV RDB cache",
        "KOV RDB All Sviinfo is cleared",
    });
    EXPECT_EQ(platform.sched.yields, 3u);
    EXPECT_EQ(platform.calls.count(Call::coop_sched_may_yield), 3u);
    expect_all_counters({{2, holding(0)}});
    EXPECT_TRUE(platform.leaks().none());
}

TEST_F(SviCache, AClearOfAllLeavesTheTypeMarkedAsCached)
{
    cache({svi_in_mode(10, 2)});
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(1, nullptr), 1u);
    expect_all_counters({{2, {.cached = 1, .rdb_hits = 2, .data = true}}});
    EXPECT_EQ(kov_get_sviinfo_from_rdb(10, 0), nullptr);
    expect_all_counters({{2, {.cached = 1, .cache_hits = 1, .rdb_hits = 2, .data = true}}});
}

TEST_F(SviCache, AClearOfAllDropsTheFabricControlCopyFirst)
{
    publish(general_info(1));
    apply(svi_in_mode(10, 2));
    apply(fabric_ctrl_svi(20, 2));
    clear_traces();
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(1, nullptr), 1u);
    expect_traces({
        "Updating Cache Fabric Control Svi from vlan20 to -",
        "Not a Fabric Control SVI vlan10",
        "Deleted sviinfo for vlan10 from KOV RDB cache",
        "Not a Fabric Control SVI vlan20",
        "Deleted sviinfo for vlan20 from KOV RDB cache",
        "KOV RDB All Sviinfo is cleared",
    });
    EXPECT_EQ(general_svi(), 0u);
    expect_counters(2, holding(0));
}

TEST_F(SviCache, AClearWithoutATreeHasNothingToDo)
{
    const uint32_t index = 10;
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(1, nullptr), 1u);
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(0, &index), 1u);
    const std::string text = "KOV RDB Sviinfo is not cached, nothing to do";
    expect_traces({text, text});
    EXPECT_EQ(platform.sched.yields, 0u);
    expect_all_counters({});
}

// Deliberate: a fabric control copy without a tree stays.
TEST_F(SviCache, AFabricControlCopyWithoutATreeStays)
{
    apply(fabric_ctrl_svi(10, 0));
    const uint32_t index = 10;
    clear_traces();
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(1, nullptr), 1u);
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(0, &index), 1u);
    const std::string text = "KOV RDB Sviinfo is not cached, nothing to do";
    expect_traces({text, text});
    EXPECT_EQ(copy(), bytes_of(fabric_ctrl_svi(10, 0)));
    expect_all_counters({{1, {.update_hits = 1, .rdb_hits = 1}}, {2, {.allocs = 1, .bytes = 138}}});
}

TEST_F(SviCache, AClearOfAllOfAnEmptiedTreeIsDone)
{
    apply(svi_in_mode(10, 2));
    kov_clear_cache_rdb_sviinfo(1, nullptr);
    clear_traces();
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(1, nullptr), 1u);
    expect_traces({"KOV RDB All Sviinfo is cleared"});
    expect_all_counters({{2, holding(0)}});
}

TEST_F(SviCache, AClearOfOneSviLeavesTheOthers)
{
    apply(svi_in_mode(10, 2));
    apply(svi_in_mode(20, 2));
    const uint32_t index = 10;
    clear_traces();
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(0, &index), 1u);
    expect_traces({"Not a Fabric Control SVI vlan10", "Deleted sviinfo for vlan10 from KOV RDB cache",
                   "KOV RDB vlan10 Sviinfo is cleared"});
    EXPECT_EQ(cached(10), Bytes());
    EXPECT_NE(cached(20), Bytes());
    expect_all_counters({{2, holding(1)}});
    EXPECT_EQ(platform.sched.yields, 0u);
}

TEST_F(SviCache, AClearOfNothingClearsNothing)
{
    apply(svi_in_mode(10, 2));
    clear_traces();
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(0, nullptr), 1u);
    expect_traces({"KOV RDB  Sviinfo is cleared"});
    expect_all_counters({{2, holding(1)}});
}

TEST_F(SviCache, AClearOfAllGoesPastAnEntryThatTheTreeRefusesToDelete)
{
    for (const uint32_t ifindex : {10u, 20u, 30u})
        apply(svi_in_mode(ifindex, 2));
    platform.calls.fail(Call::pt_delete, 2);
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(1, nullptr), 1u);
    EXPECT_EQ(cached(20), bytes_of(expanded(svi_in_mode(20, 2))));
    expect_all_counters({{2, holding(1)}});
    EXPECT_EQ(platform.sched.yields, 3u);
    EXPECT_EQ(platform.heap.live_blocks(), 1u);
}

// ---- other tasks at a clear's yields

class SviClearYields : public SviCache
{
protected:
    SviClearYields()
    {
        for (const uint32_t ifindex : {10u, 20u, 30u})
            apply(svi_in_mode(ifindex, 2));
    }
    static void remove(uint32_t ifindex) { EXPECT_EQ(kov_clear_cache_sviinfo(nullptr, ifindex), 1u); }
};

TEST_F(SviClearYields, ToATaskThatRemovesTheEntriesBefore)
{
    platform.sched.at_yield[1] = [] { remove(20); };
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(1, nullptr), 1u);
    EXPECT_EQ(platform.sched.yields, 2u);
    expect_all_counters({{2, holding(0)}});
}

TEST_F(SviClearYields, ToATaskThatRemovesAllTheRest)
{
    platform.sched.at_yield[1] = [] { remove(30), remove(20); };
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(1, nullptr), 1u);
    EXPECT_EQ(platform.sched.yields, 1u);
    expect_all_counters({{2, holding(0)}});
}

TEST_F(SviClearYields, ToATaskThatAddsAnEntryAheadWhichGoesToo)
{
    platform.sched.at_yield[1] = [] { apply(svi_in_mode(25, 2)), apply(svi_in_mode(40, 1)); };
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(1, nullptr), 1u);
    EXPECT_EQ(platform.sched.yields, 5u);
    expect_all_counters({{2, holding(0)}});
}

TEST_F(SviClearYields, ToATaskThatAddsAnEntryBehindWhichStays)
{
    platform.sched.at_yield[2] = [] { apply(svi_in_mode(10, 1)), apply(svi_in_mode(20, 1)); };
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(1, nullptr), 1u);
    EXPECT_EQ(platform.sched.yields, 3u);
    EXPECT_EQ(cached(10), bytes_of(expanded(svi_in_mode(10, 1))));
    EXPECT_EQ(cached(20), bytes_of(expanded(svi_in_mode(20, 1))));
    expect_all_counters({{2, holding(2)}});
}

TEST_F(SviClearYields, ToATaskThatBringsTheFabricControlCopyBackWhichGoesWithItsEntry)
{
    publish(general_info(1));
    platform.sched.at_yield[1] = [] { apply(fabric_ctrl_svi(30, 2)); };
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(1, nullptr), 1u);
    EXPECT_EQ(copy(), Bytes());
    EXPECT_EQ(general_svi(), 0u);
    expect_counters(2, holding(0));
}

TEST_F(SviClearYields, ToATaskThatClearsAllItself)
{
    platform.sched.at_yield[1] = [] { EXPECT_EQ(kov_clear_cache_rdb_sviinfo(1, nullptr), 1u); };
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(1, nullptr), 1u);
    EXPECT_EQ(platform.sched.yields, 3u);
    expect_all_counters({{2, holding(0)}});
}

TEST_F(SviClearYields, ToATaskThatClosesTheLibrary)
{
    platform.sched.at_yield[2] = [] { EXPECT_EQ(kov_api_close(), 1u); };
    kov_api_wait_for_init = 1;
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(1, nullptr), 1u);
    EXPECT_EQ(kov_api.initialized, 0u);
    // Without the library nothing can be removed any more: the last entry waits for the next opening.
    expect_all_counters({{2, holding(1)}});
}

// The entries that the walk had not come to yet hang on a root that the new context does not have.
TEST_F(SviClearYields, ToATaskThatOpensTheLibraryAnewAndNothingIsLost)
{
    platform.sched.at_yield[1] = [] {
        EXPECT_EQ(kov_api_close(), 1u);
        EXPECT_EQ(kov_api_init(), 1u);
        EXPECT_EQ(apply(svi_in_mode(5, 2)), 1u);
        EXPECT_EQ(apply(svi_in_mode(40, 2)), 1u);
    };
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(1, nullptr), 1u);
    EXPECT_EQ(platform.sched.yields, 2u);
    EXPECT_EQ(cached(5), bytes_of(expanded(svi_in_mode(5, 2))));
    expect_all_counters({{2, holding(1)}});
    EXPECT_EQ(platform.heap.live_blocks(), 1u);
}

TEST_F(SviCache, FilledWithoutARegistrationSurvivesAClosingAndIsFreedAtTheNextOpening)
{
    apply(svi_in_mode(10, 2));
    apply(fabric_ctrl_svi(20, 2));
    EXPECT_EQ(kov_api_close(), 1u);
    EXPECT_EQ(platform.heap.live_blocks(), 3u);
    clear_traces();
    EXPECT_EQ(kov_api_init(), 1u);
    EXPECT_TRUE(platform.leaks().none());
    expect_traces({"KOV Api successfully initialized"});
    expect_all_counters({});
}

} // namespace
