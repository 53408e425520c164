// The walk over all records of a type: in the database, in the cache, and from one to the other.
#include "samples.h"

#include "cache/lookup.h"

namespace
{

using fake::Bytes;
using fake::Call;

class Walk : public Lab
{
protected:
    Walk()
    {
        EXPECT_EQ(kov_api_init(), 1u);
        for (const uint32_t ifindex : {10u, 20u, 30u})
            platform.interfaces.add_vlan(ifindex, "vlan" + std::to_string(ifindex));
    }

    void publish_svis(std::initializer_list<uint32_t> indices, uint32_t mode = 2)
    {
        for (const uint32_t ifindex : indices)
            publish(svi_in_mode(ifindex, mode));
    }
    // SVIs in the cache, and not in the database any more.
    void cache_svis(std::initializer_list<uint32_t> indices)
    {
        publish_svis(indices);
        register_and_acknowledge({9});
        platform.db.clear();
    }

    void begin(uint32_t type, uint32_t number = 0)
    {
        const kov_rdb_key key = key_of(type, number);
        EXPECT_EQ(kov_rdb_iter_init(&iter, &key), 1u);
    }
    // The next SVI's index, 0 at the end.
    uint32_t step()
    {
        const auto *const svi = static_cast<const kov_rdb_sviinfo_t *>(kov_rdb_iter_get_next(&iter));
        return svi ? svi->svi_ifindex : 0;
    }
    std::vector<uint32_t> rest()
    {
        std::vector<uint32_t> indices;
        while (const uint32_t ifindex = step())
            indices.push_back(ifindex);
        return indices;
    }

    using Indices = std::vector<uint32_t>;
    kov_rdb_iter iter;
};

// ---- beginning

TEST_F(Walk, BeginsWithTheKeyFirstSetAndAllElseClear)
{
    std::memset(&iter, 0xEE, sizeof iter);
    const kov_rdb_key key = prefix_key("red", 1, {{1, 2, 3}});
    EXPECT_EQ(kov_rdb_iter_init(&iter, &key), 1u);
    EXPECT_EQ(bytes_of(iter.key), bytes_of(key));
    EXPECT_EQ(iter.first, 1u);
    EXPECT_EQ(iter.force_rdb, 0u);
    EXPECT_EQ(iter.cursor, 0u);
    EXPECT_EQ(iter.vrf, nullptr);
}

TEST_F(Walk, DoesNotBeginWithoutAnIteratorOrAKey)
{
    std::memset(&iter, 0xEE, sizeof iter);
    const Bytes before = bytes_of(iter);
    const kov_rdb_key key = key_of(2);
    EXPECT_EQ(kov_rdb_iter_init(nullptr, &key), 0u);
    EXPECT_EQ(kov_rdb_iter_init(&iter, nullptr), 0u);
    EXPECT_EQ(kov_rdb_iter_init(nullptr, nullptr), 0u);
    EXPECT_EQ(bytes_of(iter), before);
    EXPECT_EQ(kov_rdb_iter_get_next(nullptr), nullptr);
    expect_all_counters({});
}

TEST_F(Walk, OfTypeZeroOrAboveSixIsEmptyAndCountsNothing)
{
    debug_on();
    publish_svis({10});
    for (const uint32_t type : {0u, 7u, 0xFFu, 0x100u}) {
        begin(type);
        clear_traces();
        EXPECT_EQ(kov_rdb_iter_get_next(&iter), nullptr);
        expect_traces({"kov_cache_iterator_get_next(): KOV Cache " + std::to_string(type & 0xFF) +
                       " RDB data info does not exist"});
    }
    expect_all_counters({});
    EXPECT_EQ(platform.db.steps(), 0u);
}

// ---- in the database

TEST_F(Walk, InTheDatabaseGivesEveryRecordAndCountsTheEndingStepToo)
{
    const kov_rdb_sviinfo_t first = svi_in_mode(10, 0), second = svi_in_mode(20, 3);
    publish(second);
    publish(first);
    begin(KOV_RDB_SVIINFO);
    const void *record = kov_rdb_iter_get_next(&iter);
    EXPECT_EQ(record, kov_api_tlv_buf);
    EXPECT_EQ(bytes_at(record, sizeof first), bytes_of(first));
    EXPECT_EQ(bytes_of(iter.key), bytes_of(key_of(2, 10)));
    EXPECT_EQ(iter.first, 0u);
    expect_all_counters({{2, {.rdb_hits = 1}}});
    record = kov_rdb_iter_get_next(&iter);
    EXPECT_EQ(bytes_at(record, sizeof second), bytes_of(second));
    EXPECT_EQ(bytes_of(iter.key), bytes_of(key_of(2, 20)));
    expect_all_counters({{2, {.rdb_hits = 2}}});
    EXPECT_EQ(kov_rdb_iter_get_next(&iter), nullptr);
    EXPECT_EQ(bytes_of(iter.key), bytes_of(key_of(2, 20)));
    expect_all_counters({{2, {.rdb_hits = 3}}});
    EXPECT_EQ(platform.calls.count(Call::osal_rdb_get_first), 1u);
    EXPECT_EQ(platform.calls.count(Call::osal_rdb_get_next), 2u);
}

TEST_F(Walk, InTheDatabaseStopsAtTheFirstRecordOfTheNextType)
{
    publish_svis({10, 20});
    publish(0, kov_rdb_port_tracking_t{8, {1}});
    begin(KOV_RDB_SVIINFO);
    EXPECT_EQ(rest(), (Indices{10, 20}));
    EXPECT_EQ(step(), 0u);
    EXPECT_EQ(bytes_of(iter.key), bytes_of(key_of(2, 20)));
    expect_all_counters({{2, {.rdb_hits = 4}}});
}

TEST_F(Walk, InTheDatabaseBeginsAfterTheTypesBeforeIt)
{
    publish(general_info(1));
    publish_svis({10});
    kov_rdb_l2rib_topo_info_t topology = {};
    topology.bd = 6;
    publish(topology);
    begin(KOV_RDB_L2RIB_TOPO_INFO);
    const auto *found = static_cast<const kov_rdb_l2rib_topo_info_t *>(kov_rdb_iter_get_next(&iter));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(bytes_of(*found), bytes_of(topology));
    EXPECT_EQ(kov_rdb_iter_get_next(&iter), nullptr);
    expect_all_counters({{6, {.rdb_hits = 2}}});
}

TEST_F(Walk, OfATypeWithoutRecordsEndsAtOnce)
{
    publish(general_info(1));
    publish(0, kov_rdb_port_tracking_t{8, {1}});
    begin(KOV_RDB_SVIINFO);
    EXPECT_EQ(step(), 0u);
    expect_all_counters({{2, {.rdb_hits = 1}}});
}

TEST_F(Walk, OfGeneralInformationInTheDatabaseIsItsOneRecord)
{
    publish(general_info(1));
    begin(KOV_RDB_GENINFO);
    EXPECT_EQ(bytes_at(kov_rdb_iter_get_next(&iter), 181), bytes_of(general_info(1)));
    EXPECT_EQ(kov_rdb_iter_get_next(&iter), nullptr);
    expect_all_counters({{1, {.rdb_hits = 2}}});
}

TEST_F(Walk, InTheDatabaseBeginsAtItsKeyOrAfterIt)
{
    publish_svis({10, 20, 30});
    begin(KOV_RDB_SVIINFO, 20);
    EXPECT_EQ(rest(), (Indices{20, 30}));
    begin(KOV_RDB_SVIINFO, 21);
    EXPECT_EQ(rest(), (Indices{30}));
}

TEST_F(Walk, InTheDatabaseIsNotDisturbedByReadsBetweenItsSteps)
{
    publish_svis({10, 20, 30});
    begin(KOV_RDB_SVIINFO);
    EXPECT_EQ(step(), 10u);
    const kov_rdb_key other = key_of(2, 30);
    EXPECT_NE(kov_rdb_get_data_from_cache(&other, 1), nullptr);
    EXPECT_EQ(rest(), (Indices{20, 30}));
    expect_all_counters({{2, {.rdb_hits = 5}}});
}

TEST_F(Walk, InTheDatabaseGoesOnWhenTheRecordItStandsAtIsGone)
{
    publish_svis({10, 20, 30});
    begin(KOV_RDB_SVIINFO);
    EXPECT_EQ(step(), 10u);
    withdraw(key_of(2, 10));
    withdraw(key_of(2, 20));
    publish_svis({25});
    EXPECT_EQ(rest(), (Indices{25, 30}));
}

TEST_F(Walk, InTheDatabaseEndsWhenItIsClosed)
{
    publish_svis({10, 20});
    begin(KOV_RDB_SVIINFO);
    EXPECT_EQ(step(), 10u);
    platform.db.close_all();
    EXPECT_EQ(step(), 0u);
    expect_all_counters({{2, {.rdb_hits = 2}}});
}

TEST_F(Walk, GivesZerosForADamagedRecordAndGoesOn)
{
    publish_svis({10, 30});
    publish_bytes(key_of(2, 20), {0xBA, 0xAD});
    begin(KOV_RDB_SVIINFO);
    EXPECT_EQ(step(), 10u);
    EXPECT_EQ(bytes_at(kov_rdb_iter_get_next(&iter), 138), Bytes(138));
    EXPECT_EQ(bytes_of(iter.key), bytes_of(key_of(2, 20)));
    EXPECT_EQ(rest(), (Indices{30}));
    expect_all_counters({{2, {.rdb_hits = 4}}});
}

TEST_F(Walk, CountsAnUpdateHitForEachStepMadeBecauseOfAnUpdate)
{
    cache_svis({10});
    publish_svis({20});
    kov_api.cache[2].updating = 1;
    begin(KOV_RDB_SVIINFO);
    EXPECT_EQ(rest(), (Indices{20}));
    expect_all_counters({{2,
                          {.cached = 1,
                           .updating = 1,
                           .update_hits = 2,
                           .rdb_hits = 4,
                           .allocs = 1,
                           .bytes = 16,
                           .data = true}}});
}

TEST_F(Walk, InTheDatabaseTracesNothing)
{
    publish_svis({10});
    debug_on();
    clear_traces();
    begin(KOV_RDB_SVIINFO);
    EXPECT_EQ(rest(), (Indices{10}));
    expect_traces({});
}

TEST_F(Walk, UsesTheDatabaseWhenForcedThoughTheCacheIsFilled)
{
    cache_svis({10});
    publish_svis({20});
    begin(KOV_RDB_SVIINFO);
    iter.force_rdb = 1;
    EXPECT_EQ(rest(), (Indices{20}));
    begin(KOV_RDB_SVIINFO);
    iter.force_rdb = UINT32_MAX;
    EXPECT_EQ(rest(), (Indices{20}));
    expect_all_counters({{2, {.cached = 1, .rdb_hits = 6, .allocs = 1, .bytes = 16, .data = true}}});
}

// ---- in the cache

TEST_F(Walk, InTheCacheGivesEveryEntryExpandedInTheOrderOfTheNumbers)
{
    debug_on();
    cache_svis({0x01000000, 20, 0x100, 10});
    clear_traces();
    begin(KOV_RDB_SVIINFO);
    const void *const record = kov_rdb_iter_get_next(&iter);
    EXPECT_EQ(bytes_at(record, 138), bytes_of(expanded(svi_in_mode(10, 2))));
    EXPECT_EQ(iter.first, 0u);
    EXPECT_EQ(iter.cursor, 10u);
    EXPECT_EQ(bytes_of(iter.key), bytes_of(key_of(2, 10)));
    expect_traces({"kov_cache_iterator_get_next(): Walking sviinfo for vlan10"});
    EXPECT_EQ(rest(), (Indices{20, 0x100, 0x01000000}));
    EXPECT_EQ(iter.cursor, 0x01000000u);
    expect_traces({"kov_cache_iterator_get_next(): Walking sviinfo for vlan10",
                   "kov_cache_iterator_get_next(): Walking sviinfo for vlan20",
                   "kov_cache_iterator_get_next(): Walking sviinfo for -",
                   "kov_cache_iterator_get_next(): Walking sviinfo for -"});
    expect_all_counters(
        {{2, {.cached = 1, .cache_hits = 5, .rdb_hits = 5, .allocs = 4, .bytes = 64, .data = true}}});
}

TEST_F(Walk, InAnEmptyCacheEndsAtOnceAndCountsAHit)
{
    cache_svis({});
    publish_svis({10});
    begin(KOV_RDB_SVIINFO);
    EXPECT_EQ(step(), 0u);
    expect_all_counters({{2, {.cached = 1, .cache_hits = 1, .rdb_hits = 1}}});
}

TEST_F(Walk, InTheCacheBeginsAtTheFirstEntryWhateverItsKey)
{
    cache_svis({10, 20});
    begin(KOV_RDB_SVIINFO, 15);
    EXPECT_EQ(rest(), (Indices{10, 20}));
}

TEST_F(Walk, InTheCacheDoesNotGiveTheFabricControlCopyUnlessItHasAnEntry)
{
    publish(fabric_ctrl_svi(10, 0));
    publish(fabric_ctrl_svi(20, 2)); // takes the copy over
    register_and_acknowledge({9});
    begin(KOV_RDB_SVIINFO);
    EXPECT_EQ(bytes_at(kov_rdb_iter_get_next(&iter), 138), bytes_of(expanded(fabric_ctrl_svi(20, 2))));
    EXPECT_EQ(step(), 0u);
}

TEST_F(Walk, InTheCacheGoesOnWhenTheEntryItStandsAtIsGone)
{
    cache_svis({10, 20, 30});
    begin(KOV_RDB_SVIINFO);
    EXPECT_EQ(step(), 10u);
    const uint32_t gone[] = {10, 20};
    for (const uint32_t &ifindex : gone)
        EXPECT_EQ(kov_clear_cache_rdb_sviinfo(0, &ifindex), 1u);
    EXPECT_EQ(rest(), (Indices{30}));
}

TEST_F(Walk, InTheCacheAllocatesNothing)
{
    cache_svis({10, 20});
    begin(KOV_RDB_SVIINFO);
    platform.calls.clear();
    EXPECT_EQ(rest(), (Indices{10, 20}));
    EXPECT_EQ(platform.calls.log(),
              (std::vector<Call>{Call::pt_get_first_node, Call::pt_get_next_node, Call::pt_get_next_node}));
}

TEST_F(Walk, OfCachedGeneralInformationHasNothingToGiveAndCountsAHit)
{
    publish(general_info(1));
    register_and_acknowledge({4});
    begin(KOV_RDB_GENINFO);
    EXPECT_EQ(kov_rdb_iter_get_next(&iter), nullptr);
    expect_all_counters(
        {{1, {.cached = 1, .cache_hits = 1, .rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true}}});
}

// ---- from one to the other

TEST_F(Walk, GoesOnInTheDatabaseFromTheEntryThatTheCacheGaveLast)
{
    publish_svis({10, 20, 30});
    register_and_acknowledge({9});
    begin(KOV_RDB_SVIINFO);
    EXPECT_EQ(step(), 10u);
    kov_api.cache[2].updating = 1;
    EXPECT_EQ(rest(), (Indices{20, 30}));
    expect_all_counters({{2,
                          {.cached = 1,
                           .updating = 1,
                           .cache_hits = 1,
                           .update_hits = 3,
                           .rdb_hits = 7,
                           .allocs = 3,
                           .bytes = 48,
                           .data = true}}});
}

// The cache's position is its own: what only the database has given does not move it.
TEST_F(Walk, BeginsInTheCacheAtItsFirstEntryWhenTheDatabaseServedTheStepsBefore)
{
    publish_svis({10, 20, 30});
    register_and_acknowledge({9});
    kov_api.cache[2].updating = 1;
    begin(KOV_RDB_SVIINFO);
    EXPECT_EQ(step(), 10u);
    EXPECT_EQ(iter.cursor, 0u);
    kov_api.cache[2].updating = 0;
    EXPECT_EQ(rest(), (Indices{10, 20, 30}));
}

} // namespace
