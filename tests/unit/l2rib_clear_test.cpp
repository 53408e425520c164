// Emptying the topology cache, and walking over it.
#include "topology_cache.h"

namespace
{

using fake::Bytes;
using fake::Call;

constexpr const char *not_cached = "KOV RDB L2RIB Topo id is not cached, nothing to do";
constexpr const char *cleared_all = "KOV RDB All L2RIB Topo id 0 is cleared";

TEST_F(TopologyCache, ClearingAnAbsentTreeSaysSoAndSucceeds)
{
    const uint32_t bd = 5;
    EXPECT_EQ(clear_all(), 1u);
    EXPECT_EQ(kov_clear_cache_rdb_l2rib_topo_info(0, &bd), 1u);
    expect_traces({not_cached, not_cached});
}

TEST_F(TopologyCache, ClearingOneRemovesItAndClearingAnUnknownOneIsASuccess)
{
    apply(topology(7));
    apply(topology(8));
    clear_traces();
    EXPECT_EQ(clear(7), 1u);
    EXPECT_EQ(clear(7), 1u);
    expect_traces({"Deleted L2rib Topo id 7 from KOV RDB cache", "KOV RDB  L2RIB Topo id 7 is cleared",
                   "KOV RDB  L2RIB Topo id 7 is cleared"});
    expect(holding(1));
    EXPECT_EQ(kov_clear_cache_rdb_l2rib_topo_info(0, nullptr), 1u);
    EXPECT_EQ(traces().back(), "KOV RDB  L2RIB Topo id 0 is cleared");
    expect(holding(1));
}

TEST_F(TopologyCache, AnEmptiedTreeStays)
{
    apply(topology(7));
    clear(7);
    expect(holding(0));
    clear_traces();
    EXPECT_EQ(clear_all(), 1u);
    expect_traces({cleared_all});
}

TEST_F(TopologyCache, ClearingLeavesTheFlagsAlone)
{
    publish(topology(0x01020201));
    register_and_acknowledge({19});
    EXPECT_EQ(clear_all(), 1u);
    expect(holding(0, {.cached = 1, .rdb_hits = 2}));
}

// Deliberate: the key's bytes are read as a host-order number. Only ids that read the same forwards and
// backwards are removed; any other names its mirror image, which usually is not there.
TEST_F(TopologyCache, ClearingAllRemovesOnlyIdsThatReadTheSameForwardsAndBackwards)
{
    for (const uint32_t bd : {1u, 100u, 0x00010100u, 0x01020201u, 0x01020304u, 0xFFFFFFFFu})
        apply(topology(bd));
    clear_traces();
    EXPECT_EQ(clear_all(), 1u);
    expect_traces({"Deleted L2rib Topo id 65792 from KOV RDB cache",
                   "Deleted L2rib Topo id 16908801 from KOV RDB cache",
                   "Deleted L2rib Topo id 4294967295 from KOV RDB cache", cleared_all});
    expect(holding(3));
    EXPECT_EQ(platform.sched.yields, 6u) << "one after each, removed or not";
    for (const uint32_t bd : {1u, 100u, 0x01020304u}) {
        EXPECT_EQ(entry(bd), stored(topology(bd))) << bd;
        EXPECT_EQ(clear(bd), 1u);
    }
    expect(holding(0));
}

TEST_F(TopologyCache, ClearingAllRemovesTheMirrorImageWhenBothAreThereAndFreesWhatHungOnIt)
{
    publish(svi_in_mode(10, 2));
    publish(svi_in_mode(20, 2));
    apply(topology(0x01000000, 20));
    apply(topology(1, 10));
    clear_traces();
    EXPECT_EQ(clear_all(), 1u);
    EXPECT_EQ(entry(1), stored(topology(1, 10)));
    EXPECT_EQ(entry(0x01000000), Bytes());
    EXPECT_TRUE(traced("Clear Suppress ARP for svi vlan20"));
    EXPECT_TRUE(traced("Deleted L2rib Topo id 16777216 from KOV RDB cache"));
    EXPECT_EQ(counters(KOV_RDB_L2RIB_TOPO_INFO), holding(1));
    clear(1);
}

TEST_F(TopologyCache, AFailedDeleteDoesNotStopTheWalk)
{
    for (const uint32_t bd : {0x01000001u, 0x02000002u, 0x03000003u})
        apply(topology(bd));
    platform.calls.fail(Call::pt_delete, 2);
    EXPECT_EQ(clear_all(), 1u);
    expect(holding(1));
    EXPECT_EQ(entry(0x02000002), stored(topology(0x02000002)));
    EXPECT_EQ(traces().back(), cleared_all);
    clear_all();
}

TEST_F(TopologyCache, TheWalkGoesOnWhateverAnotherTaskDoesAtAYield)
{
    constexpr uint32_t a = 0x01000001, b = 0x02000002, c = 0x03000003, d = 0x04000004;
    struct Other {
        const char *name;
        std::function<void()> task;
        uint32_t left;
    };
    const Other others[] = {
        {"removes the next", [] { clear(b); }, 0},
        {"removes all", [] { clear(b), clear(c); }, 0},
        {"adds one behind", [] { apply(topology(d)); }, 0},
        {"adds one before", [] { apply(topology(0x00010100)); }, 1},
        {"puts the removed one back", [] { apply(topology(a)); }, 1},
        {"clears all itself", [this] { platform.sched.at_yield.clear(), clear_all(); }, 0},
    };
    for (const Other &other : others) {
        SCOPED_TRACE(other.name);
        for (const uint32_t bd : {a, b, c})
            apply(topology(bd));
        platform.sched.yields = 0;
        platform.sched.at_yield = {{1, other.task}};
        EXPECT_EQ(clear_all(), 1u);
        expect(holding(other.left));
        platform.sched.at_yield.clear();
        clear_all();
        expect(holding(0));
    }
}

TEST_F(TopologyCache, AWalkGivesEveryEntryInTheOrderOfTheIds)
{
    for (const uint32_t bd : {0x01000000u, 300u, 5u})
        apply(topology(bd, 0, bd));
    kov_api.cache[KOV_RDB_L2RIB_TOPO_INFO].cached = 1;
    const kov_rdb_key key = key_of(KOV_RDB_L2RIB_TOPO_INFO);
    kov_rdb_iter iter;
    ASSERT_EQ(kov_rdb_iter_init(&iter, &key), 1u);
    clear_traces();
    for (const uint32_t bd : {5u, 300u, 0x01000000u}) {
        EXPECT_EQ(bytes_at(kov_rdb_iter_get_next(&iter), 52), stored(topology(bd, 0, bd)));
        EXPECT_EQ(iter.cursor, bd);
        EXPECT_EQ(iter.first, 0u);
        EXPECT_EQ(bytes_of(iter.key), bytes_of(key_of(KOV_RDB_L2RIB_TOPO_INFO, bd)));
    }
    EXPECT_EQ(kov_rdb_iter_get_next(&iter), nullptr);
    EXPECT_EQ(kov_rdb_iter_get_next(&iter), nullptr);
    // Deliberate: the text names no topology.
    const std::string walking = "kov_cache_iterator_get_next(): Walking topo_id info for us";
    expect_traces({walking, walking, walking});
    expect(holding(3, {.cached = 1, .cache_hits = 5}));
}

} // namespace
