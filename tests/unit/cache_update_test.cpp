// Update messages turned into refreshes: which messages are, and those of the general information and of
// SVIs.
#include "samples.h"
#include "update_message.h"

namespace
{

using fake::Bytes;
using fake::Call;

// The message types behind the two record types.
constexpr uint16_t general_mtypes[] = {4, 5, 6, 7, 13, 14, 16, 17};
constexpr uint16_t svi_mtypes[] = {9, 11, 15, 18};

class CacheUpdate : public Lab
{
protected:
    CacheUpdate()
    {
        for (const uint32_t ifindex : {10u, 20u, 30u})
            platform.interfaces.add_vlan(ifindex, "vlan" + std::to_string(ifindex));
    }

    static kov_rdb_geninfo_t general(uint32_t fabric)
    {
        kov_rdb_geninfo_t record = default_general_info();
        record.fabric_id = fabric;
        return record;
    }
    static kov_rdb_sviinfo_t svi(uint32_t ifindex, uint32_t mode = KOV_FWD_MODE_ANYCAST_GATEWAY)
    {
        return svi_in_mode(ifindex, mode);
    }

    // So many zero records of the type's size behind a header.
    uint32_t update_with_zeros(uint16_t mtype, uint32_t count)
    {
        Bytes bytes(161 + count * kov_get_clients_msg_data_sz(mtype));
        std::memcpy(&bytes[2], &mtype, sizeof mtype);
        std::memcpy(&bytes[20], &count, sizeof count);
        return kov_update_cache_rdb_data(reinterpret_cast<const kov_client_msg *>(bytes.data()));
    }

    // From here on both caches are on, filled from what is published, and traced.
    void cache()
    {
        register_and_acknowledge({4, 9});
        debug_on();
        clear_traces();
    }
};

// --------------------------------------------------------------------------------------- what is no update

TEST_F(CacheUpdate, ANullMessageIsTracedAndRefused)
{
    debug_on();
    EXPECT_EQ(kov_update_cache_rdb_data(nullptr), 0u);
    expect_traces({"kov_update_cache_rdb_data(): Invalid msg"});
}

TEST_F(CacheUpdate, ATypeWithoutARecordTypeIsRefusedWithoutATrace)
{
    cache();
    for (const unsigned mtype : {0u, 1u, 2u, 3u, 12u, 21u, 22u, 0x104u, 0xFFFFu})
        EXPECT_EQ(apply_update(static_cast<uint16_t>(mtype), kov_word_update{10}), 0u) << mtype;
    expect_traces({});
}

TEST_F(CacheUpdate, ATypeThatIsNotCachedIsTracedAndCallsNoFill)
{
    EXPECT_EQ(kov_api_init(), 1u);
    debug_on();
    platform.calls.clear();
    const uint8_t rdb_types[] = {1, 1, 1, 1, 4, 2, 3, 2, 0, 1, 1, 2, 1, 1, 2, 6, 5};
    for (uint16_t mtype = 4; mtype <= 20; ++mtype) {
        if (mtype == 12)
            continue;
        for (const uint32_t count : {0u, 2u}) {
            clear_traces();
            EXPECT_EQ(update_with_zeros(mtype, count), 0u) << mtype;
            expect_traces(
                {"Updating cache not enabled for rdb_type " + std::to_string(rdb_types[mtype - 4])});
        }
    }
    expect_all_counters({});
    EXPECT_EQ(platform.db.reads() + platform.db.steps(), 0u);
}

TEST_F(CacheUpdate, OneCachedTypeDoesNotLetInAnother)
{
    register_and_acknowledge({4});
    debug_on();
    clear_traces();
    EXPECT_EQ(apply_update(9, kov_word_update{10}), 0u);
    expect_traces({"Updating cache not enabled for rdb_type 2"});
}

TEST_F(CacheUpdate, AMessageWithoutRecordsIsAppliedAndReadsNothing)
{
    cache();
    const Counters before[] = {counters(KOV_RDB_GENINFO), counters(KOV_RDB_SVIINFO)};
    platform.calls.clear();
    EXPECT_EQ(apply_update(4), 1u);
    EXPECT_EQ(apply_update(9), 1u);
    expect_counters(KOV_RDB_GENINFO, before[0]);
    expect_counters(KOV_RDB_SVIINFO, before[1]);
    EXPECT_TRUE(platform.calls.log().empty());
}

// -------------------------------------------------------------------------------------- general information

TEST_F(CacheUpdate, EveryGeneralTypeReadsTheOneRecordAgainForEachOfItsRecords)
{
    publish(general(1));
    cache();
    uint32_t fabric = 1;
    for (const uint16_t mtype : general_mtypes) {
        publish(general(++fabric));
        const uint32_t reads = counters(KOV_RDB_GENINFO).rdb_hits;
        const uint32_t updates = counters(KOV_RDB_GENINFO).update_hits;
        EXPECT_EQ(update_with_zeros(mtype, 3), 1u);
        expect_counters(KOV_RDB_GENINFO, {.cached = 1,
                                          .update_hits = updates + 3,
                                          .rdb_hits = reads + 3,
                                          .allocs = 1,
                                          .bytes = 181,
                                          .data = true});
        EXPECT_EQ(static_cast<kov_rdb_geninfo_t *>(kov_api.cache[1].data)->fabric_id, fabric) << mtype;
    }
    expect_counters(KOV_RDB_SVIINFO, {.cached = 1, .rdb_hits = 1});
}

TEST_F(CacheUpdate, ARefreshOfTheGeneralInformationIsTracedStepByStep)
{
    publish(general(1));
    cache();
    EXPECT_EQ(apply_update(4, kov_word_update{1}), 1u);
    expect_traces({"Doing RDB based lookup for 1", "KOV RDB Geninfo is cached/updated"});
}

TEST_F(CacheUpdate, AGeneralRecordThatIsGoneLeavesTheCacheWithoutLeavingCaching)
{
    publish(general(1));
    cache();
    withdraw(key_of(KOV_RDB_GENINFO));
    EXPECT_EQ(apply_update(4, kov_word_update{1}), 1u);
    expect_counters(KOV_RDB_GENINFO, {.cached = 1, .update_hits = 1, .rdb_hits = 2});
    publish(general(2));
    EXPECT_EQ(apply_update(4, kov_word_update{1}), 1u);
    expect_counters(KOV_RDB_GENINFO,
                    {.cached = 1, .update_hits = 2, .rdb_hits = 3, .allocs = 1, .bytes = 181, .data = true});
}

TEST_F(CacheUpdate, AFailedFillIsTracedTheNextRecordIsTriedAndUpdatingStaysUntilARefreshSucceeds)
{
    cache();
    publish(general(1));
    platform.calls.fail(Call::alloc);
    EXPECT_EQ(update_with_zeros(4, 1), 1u);
    EXPECT_EQ(traces().back(), "Updating failed for rdb_type: 1");
    expect_counters(KOV_RDB_GENINFO, {.cached = 1, .updating = 1, .update_hits = 1, .rdb_hits = 2});

    EXPECT_EQ(kov_get_fabric_id(), 1u) << "meanwhile the database answers";
    expect_counters(KOV_RDB_GENINFO, {.cached = 1, .updating = 1, .update_hits = 2, .rdb_hits = 3});

    clear_traces();
    platform.calls.fail(Call::alloc);
    EXPECT_EQ(update_with_zeros(4, 2), 1u);
    expect_traces({"Doing RDB based lookup for 1", "Updating failed for rdb_type: 1",
                   "Doing RDB based lookup for 1", "Created/Allocated KOV RDB Geninfo cache info",
                   "KOV RDB Geninfo is cached/updated"});
    expect_counters(KOV_RDB_GENINFO,
                    {.cached = 1, .update_hits = 4, .rdb_hits = 5, .allocs = 1, .bytes = 181, .data = true});
}

// -------------------------------------------------------------------------------------------------- SVIs

TEST_F(CacheUpdate, AnSviIsReadAgainUnderTheIndexThatTheRecordNames)
{
    cache();
    for (const uint16_t mtype : {uint16_t{9}, uint16_t{15}}) {
        publish(svi(10));
        publish(svi(20));
        EXPECT_EQ(apply_update(mtype, kov_word_update{10}), 1u);
        EXPECT_EQ(kov_get_fwd_mode(10), 2u);
        EXPECT_EQ(kov_get_fwd_mode(20), 0u) << "published, but not announced";
        withdraw(key_of(KOV_RDB_SVIINFO, 10));
        EXPECT_EQ(kov_get_fwd_mode(10), 2u) << "withdrawn, but not announced";
        EXPECT_EQ(apply_update(mtype, kov_word_update{10}), 1u);
        EXPECT_EQ(kov_get_fwd_mode(10), 0u);
        expect_counters(KOV_RDB_SVIINFO, {.cached = 1,
                                          .cache_hits = mtype == 9 ? 4u : 8u,
                                          .update_hits = mtype == 9 ? 2u : 4u,
                                          .rdb_hits = mtype == 9 ? 3u : 5u,
                                          .data = true});
    }
}

TEST_F(CacheUpdate, EachRecordOfAMessageIsApplied)
{
    cache();
    for (const uint32_t ifindex : {10u, 20u, 30u})
        publish(svi(ifindex));
    EXPECT_EQ(apply_update(9, kov_word_update{10}, kov_word_update{20}, kov_word_update{30}), 1u);
    expect_counters(KOV_RDB_SVIINFO,
                    {.cached = 1, .update_hits = 3, .rdb_hits = 4, .allocs = 3, .bytes = 48, .data = true});
}

TEST_F(CacheUpdate, ARefreshOfAnSviIsTracedStepByStep)
{
    cache();
    publish(svi(10));
    EXPECT_EQ(apply_update(9, kov_word_update{10}), 1u);
    expect_traces({"Doing RDB based lookup for 2", "Not a Fabric Control SVI vlan10",
                   "Created sviinfo for vlan10 from KOV RDB cache", "KOV RDB Sviinfo is cached/updated",
                   "KOV RDB vlan10 Sviinfo is cached/Updated"});
}

struct StrideCase {
    uint16_t mtype;
    std::vector<uint32_t> words; // of all records together
    uint32_t count;
    std::vector<uint32_t> refreshed;
};

// Deliberate: every SVI message is read with stride 4. Of a type-11 or type-18 message only the first record
// is read at its true place.
TEST_F(CacheUpdate, EverySviMessageIsReadWithStride4)
{
    const StrideCase cases[] = {
        {9, {10, 20}, 2, {10, 20}},
        {15, {30, 10}, 2, {30, 10}},
        {11, std::vector<uint32_t>{10, 20, 0, 0, 0, 0, 0, 0, 0, 30}, 1, {10}},
        {11, std::vector<uint32_t>{10, 20, 0, 0, 0, 0, 0, 0, 0, 30, 0, 0, 0, 0, 0, 0, 0, 0}, 2, {10, 20}},
        {18, {10, 20, 30}, 1, {10}},
        {18, {10, 20, 30, 40, 50, 60}, 2, {10, 20}},
        {18, {10, 20, 30, 40, 50, 60, 70, 80, 90}, 3, {10, 20, 30}},
    };
    cache();
    for (const StrideCase &c : cases) {
        Bytes bytes(161 + c.words.size() * 4);
        std::memcpy(&bytes[2], &c.mtype, sizeof c.mtype);
        std::memcpy(&bytes[20], &c.count, sizeof c.count);
        std::memcpy(&bytes[161], c.words.data(), c.words.size() * 4);
        clear_traces();
        EXPECT_EQ(kov_update_cache_rdb_data(reinterpret_cast<const kov_client_msg *>(bytes.data())), 1u);
        std::vector<std::string> read, expected;
        for (const std::string &trace : traces())
            if (trace.rfind("KOV RDB vlan", 0) == 0)
                read.push_back(trace);
        for (const uint32_t ifindex : c.refreshed)
            expected.push_back("KOV RDB vlan" + std::to_string(ifindex) + " Sviinfo is cached/Updated");
        EXPECT_EQ(read, expected) << c.mtype << " with " << c.count;
    }
}

TEST_F(CacheUpdate, AnSviWithIndex0IsNoneAndTheNextRecordIsStillApplied)
{
    cache();
    publish(svi(10));
    EXPECT_EQ(apply_update(9, kov_word_update{0}, kov_word_update{10}), 1u);
    EXPECT_TRUE(traced("kov_cache_sviinfo(): Invalid svi ifindex"));
    EXPECT_FALSE(traced("Updating failed for rdb_type: 2"));
    expect_counters(KOV_RDB_SVIINFO,
                    {.cached = 1, .update_hits = 2, .rdb_hits = 3, .allocs = 1, .bytes = 16, .data = true});
}

TEST_F(CacheUpdate, AnSviThatFindsNoMemoryIsSkippedAndTheNextIsApplied)
{
    cache();
    publish(svi(10));
    publish(svi(20));
    for (const Call call : {Call::alloc, Call::pt_add}) {
        platform.calls.fail(call);
        EXPECT_EQ(apply_update(9, kov_word_update{10}, kov_word_update{20}), 1u);
        EXPECT_EQ(kov_get_fwd_mode(10), 0u);
        EXPECT_EQ(kov_get_fwd_mode(20), 2u);
        EXPECT_EQ(counters(KOV_RDB_SVIINFO).updating, 0u);
        EXPECT_EQ(counters(KOV_RDB_SVIINFO).allocs, 1u);
        EXPECT_FALSE(traced("Updating failed for rdb_type: 2"));
        kov_clear_cache_rdb_sviinfo(1, nullptr);
    }
}

TEST_F(CacheUpdate, AFillThatFailsIsTracedForEachRecord)
{
    for (const uint16_t mtype : svi_mtypes) {
        kov_api.cache[KOV_RDB_SVIINFO].cached = 1;
        kov_api_wait_for_init = 1;
        debug_on();
        clear_traces();
        EXPECT_EQ(update_with_zeros(mtype, 2), 1u);
        expect_traces({"API called even before KOV is enabled, ignore",
                       "kov_cache_rdb_sviinfo(): Not initialized with KOV Api",
                       "Updating failed for rdb_type: 2", "API called even before KOV is enabled, ignore",
                       "kov_cache_rdb_sviinfo(): Not initialized with KOV Api",
                       "Updating failed for rdb_type: 2"});
        EXPECT_EQ(counters(KOV_RDB_SVIINFO).updating, 1u);
    }
}

TEST_F(CacheUpdate, ADamagedRecordReadsAsOneOfZerosAndTakesTheSviOutOfTheCache)
{
    publish(svi(10));
    cache();
    EXPECT_EQ(counters(KOV_RDB_SVIINFO).allocs, 1u);
    publish_bytes(key_of(KOV_RDB_SVIINFO, 10), Bytes{1, 2, 3});
    EXPECT_EQ(apply_update(9, kov_word_update{10}), 1u);
    expect_counters(KOV_RDB_SVIINFO, {.cached = 1, .update_hits = 1, .rdb_hits = 3, .data = true});
}

} // namespace
