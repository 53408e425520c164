// The fixture's own proof: its verbs do what they say, and its tear-down sees what is left behind.
#include "lab.h"

#include <gtest/gtest-spi.h>

#include <cstdlib>

namespace
{

class LabItself : public Lab
{
protected:
    static kov_rdb_geninfo_t general(uint32_t fabric)
    {
        kov_rdb_geninfo_t record = {};
        kov_rdb_geninfo_default_init(&record);
        record.fabric_id = fabric;
        return record;
    }
    static kov_rdb_sviinfo_t svi(uint32_t ifindex, uint32_t mode)
    {
        kov_rdb_sviinfo_t record = {};
        record.svi_ifindex = ifindex;
        record.vlan_id = 100;
        record.fwd_mode = mode;
        return record;
    }
};

TEST_F(LabItself, PublishesRecordsThatAQueryReads)
{
    EXPECT_TRUE(publish(general(77)));
    EXPECT_EQ(kov_get_fabric_id(), 77u);
    EXPECT_TRUE(withdraw(key_of(KOV_RDB_GENINFO)));
    EXPECT_FALSE(withdraw(key_of(KOV_RDB_GENINFO)));
    EXPECT_EQ(kov_get_fabric_id(), 0u);
    expect_all_counters({{KOV_RDB_GENINFO, {.rdb_hits = 2}}});
}

TEST_F(LabItself, PublishesUnloggedAndUnharmedByFaults)
{
    platform.calls.fail_any(1);
    EXPECT_TRUE(publish(general(77)));
    EXPECT_TRUE(platform.calls.log().empty());
    EXPECT_EQ(platform.calls.failures(), 0u);
}

TEST_F(LabItself, RegistersAndFillsTheCachesOfTheTypesAskedFor)
{
    publish(general(77));
    publish(svi(10, KOV_FWD_MODE_ANYCAST_GATEWAY));
    EXPECT_EQ(register_client({4, 9}), 1u);
    EXPECT_EQ(kov_is_client_registration_done(), 0u);
    ASSERT_EQ(platform.ipc.sent.size(), 1u);
    EXPECT_EQ(platform.ipc.sent[0].payload.size(), 164u);
    acknowledge();
    EXPECT_EQ(kov_is_client_registration_done(), 1u);
    expect_all_counters({
        {KOV_RDB_GENINFO, {.cached = 1, .rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true}},
        {KOV_RDB_SVIINFO, {.cached = 1, .rdb_hits = 2, .allocs = 1, .bytes = 16, .data = true}},
    });
    EXPECT_TRUE(received.empty());
}

TEST_F(LabItself, DispatchesRecordsInNetworkOrderAndHandsTheClientItsCopy)
{
    platform.interfaces.add_vlan(0x01020304, "vlan100");
    register_and_acknowledge({9});
    publish(svi(0x01020304, KOV_FWD_MODE_PROXY_GATEWAY));
    uint32_t mode_in_handler = 99;
    on_message = [&](const Received &) { mode_in_handler = kov_get_fwd_mode(0x01020304); };
    EXPECT_EQ(dispatch(KOV_MTYPE_SVI_FWD_MODE, kov_word_update{0x01020304}), 1u);
    ASSERT_EQ(received.size(), 1u);
    EXPECT_EQ(received[0].mtype, 9);
    EXPECT_EQ(received[0].count, 1u);
    ASSERT_EQ(received[0].bytes.size(), 165u);
    EXPECT_EQ(fake::Bytes(received[0].bytes.begin() + 161, received[0].bytes.end()),
              (fake::Bytes{4, 3, 2, 1}));
    EXPECT_EQ(mode_in_handler, 1u);
}

TEST_F(LabItself, WritesMessagesByteByByte)
{
    const fake::Bytes one = message(KOV_MTYPE_SVI_FWD_MODE, kov_word_update{0x01020304});
    ASSERT_EQ(one.size(), 165u);
    EXPECT_EQ(fake::Bytes(one.begin(), one.begin() + 4), (fake::Bytes{53, 0, 9, 0}));
    EXPECT_EQ(fake::Bytes(one.begin() + 20, one.begin() + 28), (fake::Bytes{0, 0, 0, 1, 0, 0, 0, 165}));
    EXPECT_EQ(fake::Bytes(one.begin() + 161, one.end()), (fake::Bytes{1, 2, 3, 4}));

    kov_aggr_sub_pfx_update v4 = {}, v6 = {};
    v4.prefix[0] = v6.prefix[0] = 9;
    v6.family = 1;
    const fake::Bytes two = message(KOV_MTYPE_AGGR_SUB_PFX, v4, v6);
    ASSERT_EQ(two.size(), 161u + 2 * 61);
    EXPECT_EQ(two[161 + 33], 0);
    EXPECT_EQ(two[161 + 36], 9);
    EXPECT_EQ(two[161 + 61 + 33], 9);
}

TEST_F(LabItself, RecordsTracesOnceDebuggingIsOn)
{
    kov_get_fabric_id();
    EXPECT_TRUE(traces().empty());
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_api_close(), 1u);
    EXPECT_TRUE(traced("KOV Api successfully de-initialized"));
    ASSERT_FALSE(platform.debug.traces.empty());
    EXPECT_EQ(platform.debug.traces[0].prefix, "kov [4242] unit");
    EXPECT_EQ(platform.debug.traces[0].module, "kov-unit");
}

TEST_F(LabItself, SeesABlockThatNoCounterKnows)
{
    void *(*volatile allocate)(std::size_t) = std::malloc;
    void *const block = allocate(3);
    EXPECT_NONFATAL_FAILURE(expect_counters_equal_live_blocks(), "its counters do not know");
    EXPECT_EQ(platform.leaks(), (fake::Leaks{.blocks = 1, .bytes = 3}));
    std::free(block);
}

TEST_F(LabItself, FreesAtTheEndWhatWasCachedWithoutARegistration)
{
    publish(general(77));
    EXPECT_EQ(kov_cache_rdb_geninfo(1, nullptr), 1u);
    expect_counters(KOV_RDB_GENINFO, {.rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true});
    EXPECT_EQ(platform.leaks().blocks, 1u);
}

TEST_F(LabItself, SweepsAFailureThroughAStory)
{
    unsigned runs = 0, registered = 0;
    const unsigned failures = sweep([&] {
        ++runs;
        publish(general(77));
        publish(svi(10, KOV_FWD_MODE_ANYCAST_GATEWAY));
        if (!register_client({4, 9}))
            return;
        ++registered;
        dispatch(KOV_MTYPE_REGISTER_ACK);
        kov_get_fabric_id();
    });
    EXPECT_GE(failures, 8u); // two URIs, the opening, the send, the copy, the record, the entry, the tree
    EXPECT_EQ(runs, failures + 1);
    EXPECT_LT(registered, runs);
    EXPECT_EQ(kov_api.initialized, 0u);
}

TEST_F(LabItself, LetsATestLeakOnPurpose)
{
    void *(*volatile allocate)(std::size_t) = std::malloc;
    ASSERT_NE(allocate(5), nullptr);
    expect_leak({.blocks = 1, .bytes = 5});
    expect_stale_counters();
}

} // namespace
