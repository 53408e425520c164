// The topology cache: filling, one topology, its SVI, and what memory or the tree refuse.
#include "topology_cache.h"

#include "cache/sviinfo.h"

namespace
{

using fake::Bytes;
using fake::Call;

const std::string waiting = "API called even before KOV is enabled, ignore";
const std::string filled_all = "KOV RDB All L2RIB Topo id 0 is cached/Updated";

std::string created(uint32_t bd)
{
    return "Created L2rib Topo id for " + std::to_string(bd) + " from KOV RDB cache";
}
std::string updated(uint32_t bd)
{
    return "KOV RDB L2RIB Topo id " + std::to_string(bd) + " is cached/updated";
}
std::string deleted(uint32_t bd)
{
    return "Deleted L2rib Topo id " + std::to_string(bd) + " from KOV RDB cache";
}
std::string updating(uint32_t bd, const std::string &enabled, const std::string &mode, const std::string &svi)
{
    return "Updating cache sw_bd " + std::to_string(bd) + ", suppress arp " + enabled + ", mode " + mode +
           ", svi " + svi;
}

// -------------------------------------------------------------------------------------- the life of a cache

TEST_F(TopologyCache, CountsEveryStepOfItsLife)
{
    for (const uint32_t bd : {100u, 200u, 0x01020201u})
        publish(topology(bd));
    EXPECT_EQ(kov_api_close(), 1u);
    register_and_acknowledge({19});
    expect(holding(3, {.cached = 1, .rdb_hits = 4}));

    EXPECT_EQ(bytes_at(kov_get_l2rib_topo_info_from_rdb(200, 0), 52), stored(topology(200)));
    expect(holding(3, {.cached = 1, .cache_hits = 1, .rdb_hits = 4}));
    EXPECT_EQ(kov_get_l2rib_topo_info_from_rdb(300, 0), nullptr);
    expect(holding(3, {.cached = 1, .cache_hits = 2, .rdb_hits = 4}));
    EXPECT_EQ(bytes_at(kov_get_l2rib_topo_info_from_rdb(200, 1), 52), stored(topology(200)));
    expect(holding(3, {.cached = 1, .cache_hits = 2, .rdb_hits = 5}));

    publish(topology(200, 0, 4));
    EXPECT_EQ(refresh(200), 1u);
    expect(holding(3, {.cached = 1, .cache_hits = 2, .update_hits = 1, .rdb_hits = 6}));
    EXPECT_EQ(bytes_at(kov_get_l2rib_topo_info_from_rdb(200, 0), 52), stored(topology(200, 0, 4)));

    withdraw(key_of(KOV_RDB_L2RIB_TOPO_INFO, 100));
    EXPECT_EQ(refresh(100), 1u);
    expect(holding(2, {.cached = 1, .cache_hits = 3, .update_hits = 2, .rdb_hits = 7}));
    EXPECT_EQ(clear(200), 1u);
    expect(holding(1, {.cached = 1, .cache_hits = 3, .update_hits = 2, .rdb_hits = 7}));

    EXPECT_EQ(kov_api_disable_cache(), 1u);
    expect(holding(0, {.cache_hits = 3, .update_hits = 2, .rdb_hits = 7}));
}

TEST_F(TopologyCache, KeepsFiveFieldsAndNoLocalByteInFiftyTwoBytes)
{
    EXPECT_EQ(apply(topology(7, 0, 5)), 1u);
    EXPECT_EQ(platform.heap.live_bytes(), 52u);
    EXPECT_EQ(entry(7), stored(topology(7, 0, 5)));
}

TEST_F(TopologyCache, AnUpdateOfAKnownTopologyReplacesItsFieldsAndCountsNothing)
{
    EXPECT_EQ(apply(topology(7)), 1u);
    expect(holding(1));
    clear_traces();
    EXPECT_EQ(apply(topology(7, 0, 2)), 1u);
    EXPECT_EQ(entry(7), stored(topology(7, 0, 2)));
    expect(holding(1));
    expect_traces({updating(7, "3", "L2/L3 ARP Suppression", "-"), updated(7)});
}

TEST_F(TopologyCache, ClearsTheUpdatingFlagWithEachUpdateAndEachFill)
{
    uint32_t &flag = kov_api.cache[KOV_RDB_L2RIB_TOPO_INFO].updating;
    flag = 1;
    apply(topology(7));
    EXPECT_EQ(flag, 0u);
    flag = 1;
    kov_cache_l2rib_topo_info(nullptr, 7);
    EXPECT_EQ(flag, 0u);
    flag = 1;
    fill_all();
    EXPECT_EQ(flag, 0u);
    flag = 1;
    EXPECT_EQ(kov_cache_rdb_l2rib_topo_info(0, nullptr), 1u);
    EXPECT_EQ(flag, 0u);
    flag = 1;
    clear_all();
    EXPECT_EQ(flag, 1u) << "clearing leaves it alone";
    flag = 0;
}

// ------------------------------------------------------------------------------------------------- filling

TEST_F(TopologyCache, AFillOfAllTracesEachTopologyAndItsEnd)
{
    publish(topology(300, 0, 1));
    publish(topology(20, 0, 5));
    EXPECT_EQ(fill_all(), 1u);
    expect_traces({created(20), updating(20, "6", "L2/L3 ARP Suppression", "-"), updated(20), created(300),
                   updating(300, "2", "L2 ARP Suppression", "-"), updated(300), filled_all});
    expect(holding(2, {.rdb_hits = 3}));
    EXPECT_EQ(platform.sched.yields, 0u);
}

TEST_F(TopologyCache, AFillOfOneReadsTheDatabaseAndTracesItsId)
{
    publish(topology(20));
    kov_api.cache[KOV_RDB_L2RIB_TOPO_INFO].cached = 1;
    EXPECT_EQ(refresh(20), 1u);
    expect_traces({"Doing RDB based lookup for 6", created(20),
                   updating(20, "1", "ARP Suppression Disabled", "-"), updated(20),
                   "KOV RDB  L2RIB Topo id 20 is cached/Updated"});
    expect(holding(1, {.cached = 1, .update_hits = 1, .rdb_hits = 1}));
}

TEST_F(TopologyCache, AFillTakesItsIdFromAnyAddress)
{
    publish(topology(0x01020304));
    const uint8_t bytes[] = {0xFF, 4, 3, 2, 1};
    EXPECT_EQ(kov_cache_rdb_l2rib_topo_info(0, bytes + 1), 1u);
    EXPECT_EQ(entry(0x01020304), stored(topology(0x01020304)));
    EXPECT_EQ(kov_clear_cache_rdb_l2rib_topo_info(0, bytes + 1), 1u);
    EXPECT_EQ(entry(0x01020304), Bytes());
}

TEST_F(TopologyCache, AFillOfAllWithAnIdFillsAllAndPrintsTheId)
{
    publish(topology(20));
    const uint32_t bd = 5;
    EXPECT_EQ(kov_cache_rdb_l2rib_topo_info(-1, &bd), 1u);
    EXPECT_EQ(traces().back(), "KOV RDB All L2RIB Topo id 5 is cached/Updated");
    expect(holding(1, {.rdb_hits = 2}));
}

TEST_F(TopologyCache, AFillOfNothingReadsNothing)
{
    EXPECT_EQ(kov_cache_rdb_l2rib_topo_info(0, nullptr), 1u);
    expect_traces({"KOV RDB  L2RIB Topo id 0 is cached/Updated"});
    expect_all_counters({});
}

TEST_F(TopologyCache, ASecondFillWhileCachedAndNotUpdatingDoesNothing)
{
    publish(topology(20));
    kov_api.cache[KOV_RDB_L2RIB_TOPO_INFO].cached = 1;
    const uint32_t bd = 20;
    EXPECT_EQ(fill_all(), 1u);
    EXPECT_EQ(kov_cache_rdb_l2rib_topo_info(0, &bd), 1u);
    // The missing blank is part of the text.
    const std::string already = "KOV RDB L2RIB Topo idis already cached, nothing to do";
    expect_traces({already, already});
    expect({.cached = 1});
}

TEST_F(TopologyCache, ADatabaseRecordOfIdZeroIsRefusedAndTheFillGoesOn)
{
    publish(topology(0));
    publish(topology(20));
    EXPECT_EQ(fill_all(), 1u);
    EXPECT_EQ(traces().front(), "kov_cache_l2rib_topo_info(): Invalid sw_bd");
    expect(holding(1, {.rdb_hits = 3}));
}

TEST_F(TopologyCache, IsFilledUnderTheNumberThatTheRecordHolds)
{
    const kov_rdb_l2rib_topo_info_t record = topology(77);
    publish(record);
    const Bytes tlv = platform.db.records().begin()->second;
    withdraw(key_of(KOV_RDB_L2RIB_TOPO_INFO, 77));
    publish_bytes(key_of(KOV_RDB_L2RIB_TOPO_INFO, 99), tlv);
    fill_all();
    EXPECT_EQ(entry(77), stored(record));
    EXPECT_EQ(entry(99), Bytes());
}

// -------------------------------------------------------------------------------------- the topology's SVI

TEST_F(TopologyCache, AChangedTopologyReadsItsSviAgain)
{
    publish(svi_in_mode(10, 2));
    publish(topology(100, 10, 1));
    EXPECT_EQ(fill_all(), 1u);
    expect_traces({created(100), updating(100, "2", "L2 ARP Suppression", "vlan10"),
                   "Doing RDB based lookup for 2", "Not a Fabric Control SVI vlan10",
                   "Created sviinfo for vlan10 from KOV RDB cache", "KOV RDB Sviinfo is cached/updated",
                   "Set Suppress ARP for svi vlan10", updated(100), filled_all});
    expect_all_counters({{KOV_RDB_SVIINFO, {.rdb_hits = 1, .allocs = 1, .bytes = 16, .data = true}},
                         {KOV_RDB_L2RIB_TOPO_INFO, holding(1, {.rdb_hits = 2})}});
}

TEST_F(TopologyCache, AnSviThatTheDatabaseDoesNotHaveIsNotTouchedNorTraced)
{
    publish(topology(100, 10));
    EXPECT_EQ(fill_all(), 1u);
    expect_traces({created(100), updating(100, "1", "ARP Suppression Disabled", "vlan10"),
                   "Doing RDB based lookup for 2", updated(100), filled_all});
    expect_all_counters(
        {{KOV_RDB_SVIINFO, {.rdb_hits = 1}}, {KOV_RDB_L2RIB_TOPO_INFO, holding(1, {.rdb_hits = 2})}});
}

TEST_F(TopologyCache, ATopologyWithoutAnSviReadsNone)
{
    publish(svi_in_mode(10, 2));
    EXPECT_EQ(apply(topology(100, 0)), 1u);
    expect(holding(1));
}

TEST_F(TopologyCache, AnEntryFromTheDecodeBufferIsWholeAlthoughItsSviRefillsTheBuffer)
{
    publish(svi_in_mode(10, 2));
    publish(topology(100, 10, 1));
    EXPECT_EQ(refresh(100), 1u);
    EXPECT_EQ(entry(100), stored(topology(100, 10, 1)));
}

TEST_F(TopologyCache, ARemovedTopologyReadsItsSviAgainAndTracesItAlsoWhenTheSviIsGone)
{
    publish(svi_in_mode(10, 2));
    apply(topology(100, 10));
    apply(topology(200, 20)); // vlan20 has no record
    clear_traces();
    EXPECT_EQ(clear(100), 1u);
    expect_traces({"Doing RDB based lookup for 2", "Not a Fabric Control SVI vlan10",
                   "KOV RDB Sviinfo is cached/updated", "Clear Suppress ARP for svi vlan10", deleted(100),
                   "KOV RDB  L2RIB Topo id 100 is cleared"});
    clear_traces();
    EXPECT_EQ(clear(200), 1u);
    expect_traces({"Doing RDB based lookup for 2", "Clear Suppress ARP for svi vlan20", deleted(200),
                   "KOV RDB  L2RIB Topo id 200 is cleared"});
    expect_all_counters({{KOV_RDB_SVIINFO, {.rdb_hits = 4, .allocs = 1, .bytes = 16, .data = true}},
                         {KOV_RDB_L2RIB_TOPO_INFO, holding(0)}});
}

TEST_F(TopologyCache, AnSviThatFindsNoMemoryDoesNotFailItsTopology)
{
    publish(svi_in_mode(10, 2));
    platform.calls.fail(Call::alloc, 2); // the first is the topology's
    EXPECT_EQ(apply(topology(100, 10)), 1u);
    EXPECT_TRUE(traced("Set Suppress ARP for svi vlan10"));
    expect_all_counters({{KOV_RDB_SVIINFO, {.rdb_hits = 1}}, {KOV_RDB_L2RIB_TOPO_INFO, holding(1)}});
}

// ---------------------------------------------------------------------------------------------- refusals

TEST_F(TopologyCache, AnUpdateWithoutARecordRemovesTheTopology)
{
    apply(topology(7));
    clear_traces();
    EXPECT_EQ(kov_cache_l2rib_topo_info(nullptr, 7), 1u);
    expect_traces({deleted(7), updated(7)});
    expect(holding(0));
    clear_traces();
    EXPECT_EQ(kov_cache_l2rib_topo_info(nullptr, 7), 1u);
    expect_traces({updated(7)});
}

TEST_F(TopologyCache, AnUpdateWithoutARecordAndWithoutATreeSaysThatNothingIsCached)
{
    EXPECT_EQ(kov_cache_l2rib_topo_info(nullptr, 7), 1u);
    expect_traces({"KOV RDB L2rib Topo id is not cached, nothing to do", updated(7)});
    expect_all_counters({});
}

TEST_F(TopologyCache, IdZeroIsRefusedBeforeAnythingElse)
{
    const kov_rdb_l2rib_topo_info_t record = topology(5);
    kov_api_close();
    kov_api_wait_for_init = 1;
    clear_traces();
    EXPECT_EQ(kov_cache_l2rib_topo_info(&record, 0), 0u);
    EXPECT_EQ(kov_clear_cache_l2rib_topo_info(&record, 0), 0u);
    expect_traces({"kov_cache_l2rib_topo_info(): Invalid sw_bd",
                   "kov_clear_cache_l2rib_topo_info(): Invalid SW_BD index"});
}

TEST_F(TopologyCache, NothingIsDoneBeforeTheLibraryIsInitialised)
{
    const kov_rdb_l2rib_topo_info_t record = topology(5);
    const uint32_t bd = 5;
    kov_api_close();
    kov_api_wait_for_init = 1;
    clear_traces();
    EXPECT_EQ(kov_cache_l2rib_topo_info(&record, 5), 0u);
    EXPECT_EQ(kov_clear_cache_l2rib_topo_info(nullptr, 5), 0u);
    EXPECT_EQ(kov_cache_rdb_l2rib_topo_info(0, &bd), 0u);
    EXPECT_EQ(kov_clear_cache_rdb_l2rib_topo_info(0, &bd), 0u);
    EXPECT_EQ(kov_get_l2rib_topo_info_from_rdb(5, 0), nullptr);
    expect_traces({waiting, "kov_cache_l2rib_topo_info(): Not initialized with KOV Api", waiting,
                   "kov_clear_cache_l2rib_topo_info(): Not initialized with KOV Api", waiting,
                   "kov_cache_rdb_l2rib_topo_info(): Not initialized with KOV Api", waiting,
                   "kov_clear_cache_rdb_l2rib_topo_info(): Not initialized with KOV Api", waiting,
                   "Not initialized with KOV Api"});
}

TEST_F(TopologyCache, AFailedAllocationOrAddIsSilentAndLeavesNothing)
{
    for (const Call call : {Call::alloc, Call::pt_add}) {
        platform.calls.fail(call);
        clear_traces();
        EXPECT_EQ(apply(topology(7)), 0u);
        expect_traces({});
        EXPECT_EQ(platform.heap.live_blocks(), 0u);
        EXPECT_EQ(counters(KOV_RDB_L2RIB_TOPO_INFO).allocs, 0u);
    }
}

// Deliberate: the label of a topology that the tree refuses is formatted, and told to nobody.
TEST_F(TopologyCache, TheLabelOfARefusedTopologyIsFormattedAndToldToNobody)
{
    platform.calls.fail(Call::pt_add);
    platform.calls.clear();
    EXPECT_EQ(apply(topology(7)), 0u);
    EXPECT_EQ(platform.calls.count(Call::osal_snprintf), 1u);
    apply(topology(7));
    platform.calls.clear();
    platform.calls.fail(Call::pt_delete);
    clear_traces();
    EXPECT_EQ(kov_clear_cache_l2rib_topo_info(nullptr, 7), 0u);
    EXPECT_EQ(platform.calls.count(Call::osal_snprintf), 1u);
    expect_traces({});
}

TEST_F(TopologyCache, AFillSkipsWhatFindsNoMemoryAndGoesOn)
{
    publish(topology(20));
    publish(topology(30));
    platform.calls.fail(Call::alloc);
    EXPECT_EQ(fill_all(), 1u);
    expect(holding(1, {.rdb_hits = 3}));
    EXPECT_EQ(entry(30), stored(topology(30)));
}

TEST_F(TopologyCache, ADeleteThatTheTreeRefusesKeepsEntryAndCounters)
{
    apply(topology(7));
    platform.calls.fail(Call::pt_delete);
    EXPECT_EQ(clear(7), 1u) << "the clear itself succeeds";
    expect(holding(1));
    EXPECT_EQ(entry(7), stored(topology(7)));
}

TEST_F(TopologyCache, AStaleEntryIsNotFreedTwice)
{
    apply(topology(7));
    const auto *stale = static_cast<const kov_rdb_l2rib_topo_info_t *>(
        kov::lookup_l2rib_topo_info(key_of(KOV_RDB_L2RIB_TOPO_INFO, 7)));
    EXPECT_EQ(kov_clear_cache_l2rib_topo_info(stale, 7), 1u);
    EXPECT_EQ(kov_clear_cache_l2rib_topo_info(stale, 7), 0u) << "the tree refuses what it does not have";
    expect(holding(0));
}

TEST_F(TopologyCache, SurvivesEveryFailureOfItsPlatform)
{
    const unsigned failures = sweep([this] {
        publish(svi_in_mode(10, 2));
        publish(topology(100, 10));
        publish(topology(200));
        register_client({9, 19});
        dispatch(KOV_MTYPE_REGISTER_ACK);
        publish(topology(200, 10, 2));
        dispatch(19, kov_suppress_arp_topo_update{200, 0, 0, 0, 10, 0});
        withdraw(key_of(KOV_RDB_L2RIB_TOPO_INFO, 100));
        dispatch(19, kov_suppress_arp_topo_update{100, 0, 0, 0, 10, 0});
        kov_get_suppress_arp_mode(200);
        kov_clear_cache_rdb_l2rib_topo_info(1, nullptr);
        clear(200);
        kov_deregister_client();
    });
    EXPECT_GT(failures, 5u);
}

} // namespace
