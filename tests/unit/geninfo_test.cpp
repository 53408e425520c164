// The general-information cache: fill, clear, what may be dropped, and the fabric control SVI's hook.
#include "samples.h"

#include "cache/geninfo.h"

namespace
{

using fake::Bytes;
using fake::Call;

constexpr Counters filled = {.cached = 1, .rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true};

class GeninfoCache : public Lab
{
protected:
    GeninfoCache()
    {
        EXPECT_EQ(kov_api_init(), 1u);
        platform.interfaces.add_vlan(10, "vlan10");
        platform.interfaces.add_vlan(20, "vlan20");
        debug_on();
        clear_traces();
    }

    // The record in the database and, by the server's acknowledgement, in the cache.
    void cache(const kov_rdb_geninfo_t &record)
    {
        publish(record);
        register_and_acknowledge({4});
        clear_traces();
    }
    static Bytes cached() { return bytes_at(kov_api.cache[1].data, sizeof(kov_rdb_geninfo_t)); }
};

// ---- reading

TEST_F(GeninfoCache, IsReadUnlessTheDatabaseIsForced)
{
    cache(general_info(1));
    publish(general_info(2));
    EXPECT_EQ(kov_get_geninfo_from_rdb(0), kov_api.cache[1].data);
    EXPECT_EQ(bytes_at(kov_get_geninfo_from_rdb(1), 181), bytes_of(general_info(2)));
    Counters row = filled;
    row.cache_hits = 1;
    row.rdb_hits = 2;
    expect_all_counters({{1, row}});
    expect_traces({"Doing Cache based lookup for 1", "Doing RDB based lookup for 1"});
}

TEST_F(GeninfoCache, IsNotReadWithoutAnInitialisedLibrary)
{
    publish(general_info(1));
    kov_api_close();
    kov_api_wait_for_init = 1;
    clear_traces();
    EXPECT_EQ(kov_get_geninfo_from_rdb(0), nullptr);
    EXPECT_EQ(kov_get_geninfo_from_rdb(1), nullptr);
    expect_traces({"API called even before KOV is enabled, ignore", "Not initialized with KOV Api",
                   "API called even before KOV is enabled, ignore", "Not initialized with KOV Api"});
    expect_all_counters({});
}

// ---- filling

TEST_F(GeninfoCache, IsFilledWithAllBytesOfTheRecord)
{
    publish(general_info(1));
    EXPECT_EQ(kov_cache_rdb_geninfo(1, nullptr), 1u);
    EXPECT_EQ(cached(), bytes_of(general_info(1)));
    expect_traces({"Doing RDB based lookup for 1", "Created/Allocated KOV RDB Geninfo cache info",
                   "KOV RDB Geninfo is cached/updated"});
    // `cached` is the caller's to set.
    expect_all_counters({{1, {.rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true}}});
    EXPECT_EQ(platform.heap.size_of(kov_api.cache[1].data), 181u);
}

TEST_F(GeninfoCache, IsFilledWhateverTheArguments)
{
    publish(general_info(1));
    const uint32_t key = 99;
    EXPECT_EQ(kov_cache_rdb_geninfo(0, &key), 1u);
    EXPECT_EQ(cached(), bytes_of(general_info(1)));
    EXPECT_EQ(kov_clear_cache_rdb_geninfo(0, &key), 1u);
    EXPECT_EQ(cached(), Bytes());
}

TEST_F(GeninfoCache, IsNotFilledAgainWithoutAnUpdate)
{
    cache(general_info(1));
    publish(general_info(2));
    platform.calls.clear();
    EXPECT_EQ(kov_cache_rdb_geninfo(1, nullptr), 1u);
    expect_traces({"KOV RDB Geninfo is already cached, nothing to do"});
    EXPECT_EQ(platform.calls.count(Call::alloc), 0u);
    EXPECT_EQ(cached(), bytes_of(general_info(1)));
    expect_all_counters({{1, filled}});
}

TEST_F(GeninfoCache, IsRefreshedInItsBlockWhenUpdating)
{
    cache(general_info(1));
    publish(general_info(2));
    const void *const block = kov_api.cache[1].data;
    kov_api.cache[1].updating = 1;
    EXPECT_EQ(kov_cache_rdb_geninfo(0, nullptr), 1u);
    EXPECT_EQ(kov_api.cache[1].data, block);
    EXPECT_EQ(cached(), bytes_of(general_info(2)));
    expect_traces({"Doing RDB based lookup for 1", "KOV RDB Geninfo is cached/updated"});
    expect_all_counters(
        {{1, {.cached = 1, .update_hits = 1, .rdb_hits = 2, .allocs = 1, .bytes = 181, .data = true}}});
}

TEST_F(GeninfoCache, IsRefreshedWithoutAnUpdateAsLongAsItIsNotMarkedAsCached)
{
    publish(general_info(1));
    EXPECT_EQ(kov_cache_rdb_geninfo(1, nullptr), 1u);
    publish(general_info(2));
    EXPECT_EQ(kov_cache_rdb_geninfo(1, nullptr), 1u);
    EXPECT_EQ(cached(), bytes_of(general_info(2)));
    expect_all_counters({{1, {.rdb_hits = 2, .allocs = 1, .bytes = 181, .data = true}}});
}

TEST_F(GeninfoCache, IsEmptiedByAFillThatFindsNoRecord)
{
    cache(general_info(1));
    withdraw(key_of(KOV_RDB_GENINFO));
    kov_api.cache[1].updating = 1;
    EXPECT_EQ(kov_cache_rdb_geninfo(0, nullptr), 1u);
    expect_traces({"Doing RDB based lookup for 1", "Cleared KOV RDB Geninfo cache info",
                   "KOV RDB Geninfo is cached/updated"});
    expect_all_counters({{1, {.cached = 1, .update_hits = 1, .rdb_hits = 2}}});
    EXPECT_TRUE(platform.leaks().none());
}

TEST_F(GeninfoCache, StaysEmptyAfterAFillThatFindsNoRecord)
{
    EXPECT_EQ(kov_cache_rdb_geninfo(1, nullptr), 1u);
    expect_traces({"Doing RDB based lookup for 1", "KOV RDB Geninfo is not cached, nothing to do",
                   "KOV RDB Geninfo is cached/updated"});
    expect_all_counters({{1, {.rdb_hits = 1}}});
}

TEST_F(GeninfoCache, IsEmptiedByAFillFromAClosedDatabase)
{
    cache(general_info(1));
    platform.db.close_all();
    kov_api.cache[1].updating = 1;
    EXPECT_EQ(kov_cache_rdb_geninfo(0, nullptr), 1u);
    expect_all_counters({{1, {.cached = 1, .update_hits = 1, .rdb_hits = 2}}});
}

TEST_F(GeninfoCache, HoldsZerosForADamagedRecord)
{
    publish_bytes(key_of(KOV_RDB_GENINFO), {0xBA, 0xAD});
    EXPECT_EQ(kov_cache_rdb_geninfo(1, nullptr), 1u);
    EXPECT_EQ(cached(), Bytes(181));
    expect_all_counters({{1, {.rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true}}});
}

// Deliberate: out of memory leaves `updating` as it is, and lookups on the database.
TEST_F(GeninfoCache, OutOfMemoryLeavesUpdatingAsItIsAndLookupsOnTheDatabase)
{
    publish(general_info(1));
    register_client({4});
    kov_api.cache[1].cached = 1;
    kov_api.cache[1].updating = 1;
    clear_traces();
    platform.calls.fail(Call::alloc);
    EXPECT_EQ(kov_cache_rdb_geninfo(0, nullptr), 0u);
    expect_traces({"Doing RDB based lookup for 1"});
    expect_all_counters({{1, {.cached = 1, .updating = 1, .update_hits = 1, .rdb_hits = 1}}});
    EXPECT_EQ(kov_get_fabric_id(), 101u);
    expect_all_counters({{1, {.cached = 1, .updating = 1, .update_hits = 2, .rdb_hits = 2}}});
    // The next refresh finds memory.
    EXPECT_EQ(kov_cache_rdb_geninfo(0, nullptr), 1u);
    expect_all_counters(
        {{1, {.cached = 1, .update_hits = 3, .rdb_hits = 3, .allocs = 1, .bytes = 181, .data = true}}});
}

TEST_F(GeninfoCache, OutOfMemoryDoesNotMatterWhenTheBlockIsThere)
{
    cache(general_info(1));
    publish(general_info(2));
    kov_api.cache[1].updating = 1;
    platform.calls.fail_always(Call::alloc);
    EXPECT_EQ(kov_cache_rdb_geninfo(0, nullptr), 1u);
    EXPECT_EQ(cached(), bytes_of(general_info(2)));
}

TEST_F(GeninfoCache, IsNeitherFilledNorClearedWithoutAnInitialisedLibrary)
{
    kov_api_close();
    kov_api_wait_for_init = 1;
    clear_traces();
    EXPECT_EQ(kov_cache_rdb_geninfo(1, nullptr), 0u);
    EXPECT_EQ(kov_clear_cache_rdb_geninfo(1, nullptr), 0u);
    expect_traces({"API called even before KOV is enabled, ignore",
                   "kov_cache_rdb_geninfo(): Not initialized with KOV Api",
                   "API called even before KOV is enabled, ignore",
                   "kov_clear_cache_rdb_geninfo(): Not initialized with KOV Api"});
    expect_all_counters({});
}

TEST_F(GeninfoCache, IsRefreshedByAnUpdateOfTheServerOnceForEachOfItsRecords)
{
    cache(general_info(1));
    publish(general_info(2));
    dispatch(4, kov_word_update{102}, kov_word_update{102});
    EXPECT_EQ(cached(), bytes_of(general_info(2)));
    expect_all_counters(
        {{1, {.cached = 1, .update_hits = 2, .rdb_hits = 3, .allocs = 1, .bytes = 181, .data = true}}});
}

// ---- clearing

TEST_F(GeninfoCache, IsClearedAndStaysMarkedAsCached)
{
    cache(general_info(1));
    EXPECT_EQ(kov_clear_cache_rdb_geninfo(1, nullptr), 1u);
    expect_traces({"Cleared KOV RDB Geninfo cache info"});
    expect_all_counters({{1, {.cached = 1, .rdb_hits = 1}}});
    EXPECT_TRUE(platform.leaks().none());
}

TEST_F(GeninfoCache, HasNothingToClearWhenItIsEmpty)
{
    EXPECT_EQ(kov_clear_cache_rdb_geninfo(1, nullptr), 1u);
    expect_traces({"KOV RDB Geninfo is not cached, nothing to do"});
    expect_all_counters({});
}

TEST_F(GeninfoCache, NeverFallsBackToTheDatabaseAfterACleanup)
{
    cache(general_info(1));
    EXPECT_EQ(kov_clear_cache_rdb_geninfo(1, nullptr), 1u);
    EXPECT_EQ(kov_get_geninfo_from_rdb(0), nullptr);
    EXPECT_EQ(kov_get_fabric_id(), 0u);
    expect_all_counters({{1, {.cached = 1, .cache_hits = 2, .rdb_hits = 1}}});
    dispatch(4, kov_word_update{101});
    EXPECT_EQ(kov_get_fabric_id(), 101u);
    expect_all_counters({{1,
                          {.cached = 1,
                           .cache_hits = 3,
                           .update_hits = 1,
                           .rdb_hits = 2,
                           .allocs = 1,
                           .bytes = 181,
                           .data = true}}});
}

TEST_F(GeninfoCache, FilledWithoutARegistrationSurvivesAClosingAndIsFreedAtTheNextOpening)
{
    publish(general_info(1));
    EXPECT_EQ(kov_cache_rdb_geninfo(1, nullptr), 1u);
    EXPECT_EQ(kov_api_close(), 1u);
    EXPECT_EQ(platform.heap.live_blocks(), 1u);
    clear_traces();
    EXPECT_EQ(kov_api_init(), 1u);
    EXPECT_EQ(platform.heap.live_blocks(), 0u);
    expect_traces({"KOV Api successfully initialized"});
    expect_all_counters({});
}

// ---- what may be dropped

struct Droppable {
    const char *what;
    void (*change)(kov_rdb_geninfo_t &);
    uint32_t answer;
};

const Droppable droppable[] = {
    {"nothing", [](kov_rdb_geninfo_t &) {}, 1},
    {"fabric id", [](kov_rdb_geninfo_t &r) { r.fabric_id = 1; }, 0},
    {"conversational learning", [](kov_rdb_geninfo_t &r) { r.conv_learning = 1; }, 0},
    {"conversational learning, high bit", [](kov_rdb_geninfo_t &r) { r.conv_learning = 0x80000000; }, 0},
    {"no role", [](kov_rdb_geninfo_t &r) { r.switch_role = 0; }, 0},
    {"border", [](kov_rdb_geninfo_t &r) { r.switch_role = 2; }, 0},
    {"border leaf", [](kov_rdb_geninfo_t &r) { r.switch_role = 3; }, 0},
    {"leaf with an unknown bit", [](kov_rdb_geninfo_t &r) { r.switch_role = 0x101; }, 0},
    {"gateway MAC, first byte", [](kov_rdb_geninfo_t &r) { r.anycast_gw_mac[0] = 1; }, 0},
    {"gateway MAC, last byte", [](kov_rdb_geninfo_t &r) { r.anycast_gw_mac[5] = 1; }, 0},
    {"fabric control SVI", [](kov_rdb_geninfo_t &r) { r.fabric_ctrl_svi = 10; }, 0},
    {"IPv4 aging", [](kov_rdb_geninfo_t &r) { r.urib_conv_aging_timeout = 1799; }, 0},
    {"IPv4 aging zero", [](kov_rdb_geninfo_t &r) { r.urib_conv_aging_timeout = 0; }, 0},
    {"IPv6 aging", [](kov_rdb_geninfo_t &r) { r.u6rib_conv_aging_timeout = 1801; }, 0},
    {"migration 1", [](kov_rdb_geninfo_t &r) { r.ferro_migration = 1; }, 0},
    {"migration 2", [](kov_rdb_geninfo_t &r) { r.ferro_migration = 2; }, 1},
    {"migration, all bits", [](kov_rdb_geninfo_t &r) { r.ferro_migration = UINT32_MAX; }, 1},
    {"encapsulation", [](kov_rdb_geninfo_t &r) { r.fwd_encap = 1; }, 0},
    {"field 13", [](kov_rdb_geninfo_t &r) { r.geninfo_word13 = 1; }, 0},
    {"router MAC", [](kov_rdb_geninfo_t &r) { r.router_mac[3] = 1; }, 1},
    {"mobility domain", [](kov_rdb_geninfo_t &r) { r.mobdom[0] = 'm'; }, 1},
    {"field 11", [](kov_rdb_geninfo_t &r) { r.geninfo_word11 = 1; }, 1},
    {"field 12", [](kov_rdb_geninfo_t &r) { r.geninfo_flag12 = 0; }, 1},
};

// Deliberate: router_mac, mobdom, field 11 and field 12 are not examined, and a ferro_migration above 1
// passes.
TEST_F(GeninfoCache, MayBeDroppedWhenItHoldsDefaultsAndRouterMacMobdomField11AndField12AreNotExamined)
{
    for (const Droppable &c : droppable) {
        kov_rdb_geninfo_t record = default_general_info();
        c.change(record);
        EXPECT_EQ(kov_can_cleanup_geninfo(&record), c.answer) << c.what;
    }
    EXPECT_EQ(kov_can_cleanup_geninfo(nullptr), 1u);
}

// ---- the fabric control SVI

TEST_F(GeninfoCache, TakesTheFabricControlSvi)
{
    cache(general_info(1));
    kov_cache_geninfo_set_fabric_ctrl_svi(20);
    kov_rdb_geninfo_t expected = general_info(1);
    expected.fabric_ctrl_svi = 20;
    EXPECT_EQ(cached(), bytes_of(expected));
    expect_traces({"Updating Cache Fabric Control Svi from vlan10 to vlan20"});
    expect_all_counters({{1, filled}});
}

TEST_F(GeninfoCache, SaysNothingWhenTheFabricControlSviIsTheSame)
{
    cache(general_info(1));
    kov_cache_geninfo_set_fabric_ctrl_svi(10);
    EXPECT_EQ(cached(), bytes_of(general_info(1)));
    expect_traces({});
    expect_all_counters({{1, filled}});
}

TEST_F(GeninfoCache, IsFilledFirstToTakeTheFabricControlSvi)
{
    publish(general_info(1));
    kov_cache_geninfo_set_fabric_ctrl_svi(20);
    kov_rdb_geninfo_t expected = general_info(1);
    expected.fabric_ctrl_svi = 20;
    EXPECT_EQ(cached(), bytes_of(expected));
    expect_traces({"Doing RDB based lookup for 1", "Created/Allocated KOV RDB Geninfo cache info",
                   "KOV RDB Geninfo is cached/updated",
                   "Updating Cache Fabric Control Svi from vlan10 to vlan20"});
    expect_all_counters({{1, {.update_hits = 1, .rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true}}});
}

// Deliberate: the text names the SVI record, though the general information is what is missing.
TEST_F(GeninfoCache, SaysThatTheSviRecordIsNotCachedThoughTheGeneralInformationIsWhatIsMissing)
{
    kov_cache_geninfo_set_fabric_ctrl_svi(20);
    expect_traces({"Doing RDB based lookup for 1", "KOV RDB Geninfo is not cached, nothing to do",
                   "KOV RDB Geninfo is cached/updated", "KOV RDB Sviinfo is not cached, nothing to do"});
    expect_all_counters({{1, {.update_hits = 1, .rdb_hits = 1}}});
}

TEST_F(GeninfoCache, StaysUpdatingWhenMemoryIsOutForTheFabricControlSvi)
{
    publish(general_info(1));
    platform.calls.fail(Call::alloc);
    kov_cache_geninfo_set_fabric_ctrl_svi(20);
    expect_traces({"Doing RDB based lookup for 1", "KOV RDB Sviinfo is not cached, nothing to do"});
    expect_all_counters({{1, {.updating = 1, .update_hits = 1, .rdb_hits = 1}}});
}

TEST_F(GeninfoCache, IsDroppedWhenNothingButDefaultsRemainsAndStaysMarkedAsCached)
{
    kov_rdb_geninfo_t record = default_general_info();
    record.fabric_ctrl_svi = 10;
    record.router_mac[0] = 7; // not examined
    cache(record);
    kov_cache_geninfo_set_fabric_ctrl_svi(0);
    expect_traces(
        {"Updating Cache Fabric Control Svi from vlan10 to -", "Cleared KOV RDB Geninfo cache info"});
    expect_all_counters({{1, {.cached = 1, .rdb_hits = 1}}});
    EXPECT_EQ(kov_get_fabric_id(), 0u);
    expect_all_counters({{1, {.cached = 1, .cache_hits = 1, .rdb_hits = 1}}});
}

TEST_F(GeninfoCache, IsDroppedAlsoWhenTheFabricControlSviWasNoneAlready)
{
    cache(default_general_info());
    kov_cache_geninfo_set_fabric_ctrl_svi(0);
    expect_traces({"Cleared KOV RDB Geninfo cache info"});
    expect_all_counters({{1, {.cached = 1, .rdb_hits = 1}}});
}

TEST_F(GeninfoCache, OfDefaultsIsKeptForTheFabricControlSvi)
{
    cache(default_general_info());
    kov_cache_geninfo_set_fabric_ctrl_svi(10);
    expect_traces({"Updating Cache Fabric Control Svi from - to vlan10"});
    expect_all_counters({{1, filled}});
}

} // namespace
