// The one lookup: who answers, what is counted, what is traced.
#include "samples.h"

#include "cache/lookup.h"

namespace
{

using fake::Bytes;
using fake::Call;

class Lookup : public Lab
{
protected:
    Lookup()
    {
        EXPECT_EQ(kov_api_init(), 1u);
        platform.interfaces.add_vlan(10, "vlan10");
    }

    // The record under a key as bytes; none when the lookup gives null.
    template <class Record>
    static Bytes find(const kov_rdb_key &key, uint32_t force_rdb = 0)
    {
        return bytes_at(kov_rdb_get_data_from_cache(&key, force_rdb), sizeof(Record));
    }
    static Bytes find_general(uint32_t force_rdb = 0)
    {
        return find<kov_rdb_geninfo_t>(key_of(KOV_RDB_GENINFO), force_rdb);
    }
    static Bytes find_svi(uint32_t ifindex, uint32_t force_rdb = 0)
    {
        return find<kov_rdb_sviinfo_t>(key_of(KOV_RDB_SVIINFO, ifindex), force_rdb);
    }
    static bool finds_nothing(const kov_rdb_key &key, uint32_t force_rdb = 0)
    {
        return kov_rdb_get_data_from_cache(&key, force_rdb) == nullptr;
    }

    // A record of each type, with what a lookup of it gives.
    struct Published {
        kov_rdb_key key;
        Bytes record;
    };
    std::vector<Published> publish_one_of_each()
    {
        const kov_rdb_geninfo_t general = general_info(1);
        const kov_rdb_sviinfo_t svi = svi_in_mode(10, 2);
        const kov_rdb_port_tracking_t tracking = {16, {0x81, 0x42}};
        const kov_rdb_aggr_sub_pfx_t prefix = {{0, 0, 1, 10, 24}};
        const kov_rdb_port_l2dci_t l2dci = {24, {0x18, 0x24, 0xFF}};
        kov_rdb_l2rib_topo_info_t topology = {};
        topology.bd = 600;
        topology.vni = 10600;
        topology.suppress_arp_mode = 2;
        publish(general);
        publish(svi);
        publish(3, tracking);
        publish("red", 0, prefix);
        publish(5, l2dci);
        publish(topology);
        return {
            {key_of(KOV_RDB_GENINFO), bytes_of(general)},
            {key_of(KOV_RDB_SVIINFO, 10), bytes_of(svi)},
            {slot_key(KOV_RDB_PORT_TRACKING, 3), bytes_of(tracking)},
            {prefix_key("red", 0, prefix), bytes_of(prefix)},
            {slot_key(KOV_RDB_PORT_L2DCI, 5), bytes_of(l2dci)},
            {key_of(KOV_RDB_L2RIB_TOPO_INFO, 600), bytes_of(topology)},
        };
    }
};

// ---- what is no key

TEST_F(Lookup, OfTypeZeroOrAboveSixFindsNothingAndCountsNothing)
{
    debug_on();
    clear_traces();
    publish_one_of_each();
    for (const uint32_t type : {0u, 7u, 8u, 0xFFu, 0x100u, 0xFFFFFF00u, 0x10000007u}) {
        EXPECT_TRUE(finds_nothing(key_of(type, 10))) << type;
        EXPECT_TRUE(finds_nothing(key_of(type, 10), 1)) << type;
    }
    expect_all_counters({});
    expect_traces({});
    EXPECT_EQ(platform.db.reads(), 0u);
}

TEST_F(Lookup, OfANullKeyFindsNothingAndCountsNothing)
{
    EXPECT_EQ(kov_rdb_get_data_from_cache(nullptr, 0), nullptr);
    EXPECT_EQ(kov_rdb_get_data_from_cache(nullptr, 1), nullptr);
    expect_all_counters({});
}

TEST_F(Lookup, ExaminesOnlyTheLowByteOfTheType)
{
    register_and_acknowledge({9});
    const kov_rdb_sviinfo_t svi = svi_in_mode(10, 2);
    publish(svi);
    EXPECT_EQ(dispatch(9, kov_word_update{10}), 1u);
    EXPECT_EQ(find<kov_rdb_sviinfo_t>(key_of(0xABCDEF02, 10)), bytes_of(expanded(svi)));
    expect_all_counters({{2,
                          {.cached = 1,
                           .cache_hits = 1,
                           .update_hits = 1,
                           .rdb_hits = 2,
                           .allocs = 1,
                           .bytes = 16,
                           .data = true}}});
}

// ---- the database

TEST_F(Lookup, OfEachTypeIsAnsweredByTheDatabaseWhileNothingIsCached)
{
    debug_on();
    const std::vector<Published> published = publish_one_of_each();
    for (uint32_t type = 1; type <= 6; ++type) {
        SCOPED_TRACE(type);
        clear_traces();
        const Published &p = published[type - 1];
        const void *const found = kov_rdb_get_data_from_cache(&p.key, 0);
        EXPECT_EQ(found, kov_api_tlv_buf);
        EXPECT_EQ(bytes_at(found, p.record.size()), p.record);
        expect_counters(type, {.rdb_hits = 1});
        expect_traces({"Doing RDB based lookup for " + std::to_string(type)});
    }
    const Counters once = {.rdb_hits = 1};
    expect_all_counters({{1, once}, {2, once}, {3, once}, {4, once}, {5, once}, {6, once}});
    EXPECT_EQ(platform.db.reads(), 6u);
}

TEST_F(Lookup, OfAnAbsentRecordFindsNothingAndCountsADatabaseHit)
{
    debug_on();
    clear_traces();
    for (uint32_t type = 1; type <= 6; ++type)
        EXPECT_TRUE(finds_nothing(key_of(type, 10))) << type;
    const Counters once = {.rdb_hits = 1};
    expect_all_counters({{1, once}, {2, once}, {3, once}, {4, once}, {5, once}, {6, once}});
    expect_traces({"Doing RDB based lookup for 1", "Doing RDB based lookup for 2",
                   "Doing RDB based lookup for 3", "Doing RDB based lookup for 4",
                   "Doing RDB based lookup for 5", "Doing RDB based lookup for 6"});
}

TEST_F(Lookup, ReadsTheRecordAsItIsNow)
{
    publish(general_info(1));
    EXPECT_EQ(find_general(), bytes_of(general_info(1)));
    publish(general_info(2));
    EXPECT_EQ(find_general(), bytes_of(general_info(2)));
    withdraw(key_of(KOV_RDB_GENINFO));
    EXPECT_EQ(find_general(), Bytes());
    expect_all_counters({{1, {.rdb_hits = 3}}});
}

TEST_F(Lookup, TellsKeysApartByAllTheirBytes)
{
    const kov_rdb_aggr_sub_pfx_t prefix = {{0, 0, 1, 10, 24}}, longer = {{0, 0, 1, 10, 25}};
    publish("red", 0, prefix);
    EXPECT_FALSE(finds_nothing(prefix_key("red", 0, prefix)));
    EXPECT_TRUE(finds_nothing(prefix_key("red", 1, prefix)));
    EXPECT_TRUE(finds_nothing(prefix_key("red", 0, longer)));
    EXPECT_TRUE(finds_nothing(prefix_key("blue", 0, prefix)));
    expect_all_counters({{4, {.rdb_hits = 4}}});
}

TEST_F(Lookup, FindsNothingInAClosedDatabase)
{
    publish(general_info(1));
    platform.db.close_all();
    EXPECT_EQ(find_general(), Bytes());
    expect_all_counters({{1, {.rdb_hits = 1}}});
}

TEST_F(Lookup, FindsNothingAfterTheLibraryWasClosed)
{
    publish(general_info(1));
    EXPECT_EQ(kov_api_close(), 1u);
    EXPECT_EQ(find_general(), Bytes());
    expect_all_counters({{1, {.rdb_hits = 1}}});
}

class LookupTooEarly : public Lab
{
};

TEST_F(LookupTooEarly, FindsNothingBeforeTheFirstInitialisation)
{
    publish(general_info(1));
    const kov_rdb_key key = key_of(KOV_RDB_GENINFO);
    EXPECT_EQ(kov_rdb_get_data_from_cache(&key, 0), nullptr);
    EXPECT_EQ(kov_api.initialized, 0u);
}

// ---- cache or database

struct Source {
    uint32_t cached, updating, force_rdb;
    bool from_cache;
    uint32_t cache_hits, update_hits, rdb_hits; // of this one lookup
};

constexpr Source sources[] = {
    {0, 0, 0, false, 0, 0, 1}, {0, 0, 1, false, 0, 0, 1},          {0, 1, 0, false, 0, 1, 1},
    {0, 1, 1, false, 0, 1, 1}, {1, 0, 0, true, 1, 0, 0},           {1, 0, 1, false, 0, 0, 1},
    {1, 1, 0, false, 0, 1, 1}, {1, 1, 1, false, 0, 1, 1},          {1, 0, UINT32_MAX, false, 0, 0, 1},
    {1, 0, 2, false, 0, 0, 1}, {1, 1, UINT32_MAX, false, 0, 1, 1},
};

// The cache holds seed 1, the database by now seed 2.
TEST_F(Lookup, IsAnsweredByTheCacheOnlyWhenFilledAndNotUpdatingAndNotForced)
{
    debug_on();
    publish(general_info(1));
    register_and_acknowledge({4});
    publish(general_info(2));
    Counters row = {.cached = 1, .rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true};
    expect_all_counters({{1, row}});
    for (const Source &s : sources) {
        SCOPED_TRACE(testing::Message() << s.cached << " " << s.updating << " " << s.force_rdb);
        kov_api.cache[1].cached = row.cached = s.cached;
        kov_api.cache[1].updating = row.updating = s.updating;
        clear_traces();
        EXPECT_EQ(find_general(s.force_rdb), bytes_of(general_info(s.from_cache ? 1 : 2)));
        row.cache_hits += s.cache_hits;
        row.update_hits += s.update_hits;
        row.rdb_hits += s.rdb_hits;
        expect_all_counters({{1, row}});
        expect_traces({s.from_cache ? "Doing Cache based lookup for 1" : "Doing RDB based lookup for 1"});
    }
}

TEST_F(Lookup, InAUsableCacheThatLacksTheKeyFindsNothingThoughTheDatabaseHoldsTheRecord)
{
    debug_on();
    const std::vector<Published> published = publish_one_of_each();
    const Counters before = {.cached = 1}, after = {.cached = 1, .cache_hits = 1};
    for (uint32_t type = 1; type <= 6; ++type) {
        SCOPED_TRACE(type);
        kov_api.cache[type].cached = 1; // filled when the database was still empty
        expect_counters(type, before);
        clear_traces();
        EXPECT_TRUE(finds_nothing(published[type - 1].key));
        expect_traces({"Doing Cache based lookup for " + std::to_string(type)});
    }
    expect_all_counters({{1, after}, {2, after}, {3, after}, {4, after}, {5, after}, {6, after}});
    EXPECT_EQ(platform.db.reads(), 0u);
}

TEST_F(Lookup, OfGeneralInformationGivesTheCachedBlockItself)
{
    publish(general_info(1));
    register_and_acknowledge({4});
    const kov_rdb_key key = key_of(KOV_RDB_GENINFO);
    EXPECT_EQ(kov_rdb_get_data_from_cache(&key, 0), kov_api.cache[1].data);
}

TEST_F(Lookup, OfACachedSviGivesItsFourFieldsItsIndexAndZeros)
{
    const kov_rdb_sviinfo_t first = svi_in_mode(10, 2), second = svi_in_mode(0x0A000B, 1);
    publish(first);
    publish(second);
    register_and_acknowledge({9});
    EXPECT_EQ(find_svi(10), bytes_of(expanded(first)));
    EXPECT_EQ(find_svi(0x0A000B), bytes_of(expanded(second)));
    EXPECT_EQ(find_svi(11), Bytes());
    EXPECT_EQ(find_svi(0), Bytes());
    expect_all_counters(
        {{2, {.cached = 1, .cache_hits = 4, .rdb_hits = 3, .allocs = 2, .bytes = 32, .data = true}}});
}

TEST_F(Lookup, OfACachedSviZeroesTheStaticRecordFirst)
{
    publish(svi_in_mode(10, 2));
    register_and_acknowledge({9});
    const kov_rdb_key key = key_of(KOV_RDB_SVIINFO, 10);
    void *const record = kov_rdb_get_data_from_cache(&key, 0);
    ASSERT_NE(record, nullptr);
    std::memset(record, 0xEE, sizeof(kov_rdb_sviinfo_t));
    EXPECT_EQ(kov_rdb_get_data_from_cache(&key, 0), record);
    EXPECT_EQ(bytes_at(record, sizeof(kov_rdb_sviinfo_t)), bytes_of(expanded(svi_in_mode(10, 2))));
}

TEST_F(Lookup, OfTheFabricControlSviGivesItsWholeRecordWhateverTheTreeHolds)
{
    for (const uint32_t mode : {0u, 2u}) {
        SCOPED_TRACE(mode);
        publish(fabric_ctrl_svi(10, mode));
        register_and_acknowledge({9, 4});
        const kov_rdb_key key = key_of(KOV_RDB_SVIINFO, 10);
        EXPECT_EQ(kov_rdb_get_data_from_cache(&key, 0), kov_api.fabric_ctrl_svi);
        EXPECT_EQ(find_svi(10), bytes_of(fabric_ctrl_svi(10, mode)));
        EXPECT_EQ(kov_deregister_client(), 1u);
        kov_api_close();
    }
}

TEST_F(Lookup, InTheCacheAllocatesNothingAndAsksNothingButTheTree)
{
    publish(general_info(1));
    publish(svi_in_mode(10, 2));
    publish(fabric_ctrl_svi(20));
    register_and_acknowledge({4, 9});
    platform.calls.clear();
    EXPECT_NE(find_general(), Bytes());
    EXPECT_NE(find_svi(20), Bytes());
    EXPECT_TRUE(platform.calls.log().empty());
    EXPECT_NE(find_svi(10), Bytes());
    EXPECT_EQ(find_svi(99), Bytes());
    EXPECT_EQ(platform.calls.log(), (std::vector<Call>{Call::pt_lookup, Call::pt_lookup}));
}

TEST_F(Lookup, CountersWrapSilently)
{
    publish(general_info(1));
    register_and_acknowledge({4});
    kov_api.cache[1].cache_hits = kov_api.cache[1].update_hits = kov_api.cache[1].rdb_hits = UINT32_MAX;
    EXPECT_NE(find_general(), Bytes());
    expect_all_counters({{1,
                          {.cached = 1,
                           .cache_hits = 0,
                           .update_hits = UINT32_MAX,
                           .rdb_hits = UINT32_MAX,
                           .allocs = 1,
                           .bytes = 181,
                           .data = true}}});
    kov_api.cache[1].updating = 1;
    EXPECT_NE(find_general(), Bytes());
    expect_all_counters({{1, {.cached = 1, .updating = 1, .allocs = 1, .bytes = 181, .data = true}}});
}

} // namespace
