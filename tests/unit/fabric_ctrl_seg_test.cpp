// The fabric control segment: its SVI, its binding, and the library that closes after the question.
#include "fabric_lab.h"

namespace
{

using fake::Bytes;
using fake::Call;

class FabricCtrlSeg : public FabricLab
{
};

TEST_F(FabricCtrlSeg, IsNoneWhenItIsNotConfigured)
{
    kov_rdb_geninfo_t record = general_info(1);
    record.fabric_ctrl_svi = 0;
    publish(record);
    register_client({11});
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_get_fabric_ctrl_seg(), 0u);
    EXPECT_EQ(kov_get_fabric_ctrl_seg_info(), nullptr);
    expect_traces({"Doing RDB based lookup for 1", "Fabric control segment is not configured",
                   "Doing RDB based lookup for 1", "Fabric control segment is not configured"});
    expect_all_counters({{1, {.rdb_hits = 2}}});
}

// Deliberate: unlike every other query this one closes the library of a process that never registered, so
// that asking once does not keep the database open.
TEST_F(FabricCtrlSeg, UnlikeEveryOtherQueryThisOneClosesTheLibraryOfAProcessThatNeverRegistered)
{
    publish(general_info(1));
    debug_on();
    EXPECT_EQ(kov_get_fabric_ctrl_seg(), 10u);
    expect_traces({
        "API callled even before KOV is enabled, do init",
        "KOV Api successfully initialized",
        "kov_get_fabric_ctrl_seg(): Client  has not registered for mtype: 11, doing an RDB based lookup",
        "Doing RDB based lookup for 1",
        "Fabric control segment svi: vlan10",
        "kov_api_disable_cache(): Not registered with KOV api",
        "KOV Api successfully de-initialized",
    });
    EXPECT_EQ(kov_api.initialized, 0u);
    EXPECT_FALSE(platform.db.is_open());
}

TEST_F(FabricCtrlSeg, ClosesAnUnregisteredLibraryWhateverTheAnswer)
{
    EXPECT_EQ(kov_get_fabric_ctrl_seg(), 0u); // no record
    EXPECT_EQ(kov_api.initialized, 0u);
    publish(default_general_info());
    EXPECT_EQ(kov_get_fabric_ctrl_seg(), 0u); // not configured
    EXPECT_EQ(kov_api.initialized, 0u);
    EXPECT_FALSE(platform.db.is_open());
    platform.db.refuse_open = true;
    EXPECT_EQ(kov_get_fabric_ctrl_seg(), 0u); // cannot open
    EXPECT_EQ(kov_api.initialized, 0u);
}

TEST_F(FabricCtrlSeg, ClosesAlsoALibraryThatSomebodyElseHadOpened)
{
    publish(general_info(1));
    EXPECT_EQ(kov_get_fabric_id(), 101u);
    EXPECT_EQ(kov_get_fabric_ctrl_seg(), 10u);
    EXPECT_EQ(kov_api.initialized, 0u);
}

TEST_F(FabricCtrlSeg, OpensAndClosesAnyNumberOfTimesWithoutLosingAnything)
{
    publish(general_info(1));
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(kov_get_fabric_ctrl_seg(), 10u);
    EXPECT_TRUE(platform.leaks().none());
    EXPECT_EQ(platform.calls.count(Call::alloc), 0u);
    EXPECT_EQ(platform.calls.count(Call::osal_rdb_open), 20u);
    EXPECT_EQ(platform.calls.count(Call::osal_rdb_close), 20u);
}

TEST_F(FabricCtrlSeg, KeepsTheLibraryOfARegisteredClientOpenAndOfOneThatAwaitsItsAcknowledgement)
{
    publish(general_info(1));
    register_client({4});
    EXPECT_EQ(kov_get_fabric_ctrl_seg(), 10u);
    EXPECT_EQ(kov_api.initialized, 1u);
    acknowledge();
    EXPECT_EQ(kov_get_fabric_ctrl_seg(), 10u);
    EXPECT_EQ(kov_api.initialized, 1u);
}

TEST_F(FabricCtrlSeg, ClosesTheLibraryOfAClientWhoseRegistrationCouldNotBeSent)
{
    publish(general_info(1));
    platform.calls.fail(Call::ipc_send);
    EXPECT_EQ(register_client({11}), 0u);
    EXPECT_EQ(kov_get_fabric_ctrl_seg(), 10u);
    EXPECT_EQ(kov_api.initialized, 0u);
}

TEST_F(FabricCtrlSeg, ItsBindingNeverClosesTheLibrary)
{
    EXPECT_EQ(kov_get_fabric_ctrl_seg_info(), nullptr);
    EXPECT_EQ(kov_api.initialized, 1u);
}

class FabricCtrlSegInfo : public FabricLab
{
protected:
    FabricCtrlSegInfo()
    {
        kov_rdb_geninfo_t record = general_info(1);
        record.fabric_ctrl_svi = 20;
        publish(record);
    }

    // The 36 bytes: index, VLAN, two bytes that nobody writes, IPv4, IPv6, MAC.
    static Bytes binding(const kov_rdb_sviinfo_t &svi)
    {
        Bytes bytes(36);
        std::memcpy(&bytes[0], &svi, 8);
        std::memcpy(&bytes[10], reinterpret_cast<const uint8_t *>(&svi) + 16, 4);
        std::memcpy(&bytes[14], reinterpret_cast<const uint8_t *>(&svi) + 24, 16);
        std::memcpy(&bytes[30], reinterpret_cast<const uint8_t *>(&svi) + 112, 6);
        return bytes;
    }
    static Bytes ask() { return bytes_at(kov_get_fabric_ctrl_seg_info(), 36); }

    const std::string unregistered = refused("kov_get_fabric_ctrl_seg_info", 11);
    const std::string svi_text =
        "Svi info vlan20, up: 1, v4 addr: 10.0.20.1,\nv6_addr: 1414:1414:1414:1414:1414:1414:1414:1414, "
        "vrf_name: red, mac 6666.6666.6666";
    const std::string binding_text =
        "Fabric ctrl segment vaddr gwmac binding info svi :vlan20(1020),v4_addr: 10.0.20.1, v6_addr: "
        "1414:1414:1414:1414:1414:1414:1414:1414, gwmac: 6666.6666.6666";
};

TEST_F(FabricCtrlSegInfo, IsReadFromTheDatabaseByAClientThatDidNotRegisterForIt)
{
    publish(fabric_ctrl_svi(20));
    register_and_acknowledge({4, 9}); // both records are cached
    debug_on();
    clear_traces();
    EXPECT_EQ(ask(), binding(fabric_ctrl_svi(20)));
    expect_traces({unregistered, "Doing RDB based lookup for 1", "Fabric control segment svi: vlan20",
                   "Doing RDB based lookup for 2", svi_text, binding_text});
    expect_all_counters({
        {1, {.cached = 1, .rdb_hits = 2, .allocs = 1, .bytes = 181, .data = true}},
        {2, {.cached = 1, .rdb_hits = 3, .allocs = 1, .bytes = 138}},
    });
}

TEST_F(FabricCtrlSegInfo, IsReadFromTheCachesByAClientThatRegisteredForIt)
{
    publish(fabric_ctrl_svi(20));
    register_and_acknowledge({4, 11});
    platform.db.clear();
    debug_on();
    clear_traces();
    EXPECT_EQ(ask(), binding(fabric_ctrl_svi(20)));
    expect_traces({"Doing Cache based lookup for 1", "Fabric control segment svi: vlan20",
                   "Doing Cache based lookup for 2", svi_text, binding_text});
    expect_all_counters({
        {1, {.cached = 1, .cache_hits = 1, .rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true}},
        {2, {.cached = 1, .cache_hits = 1, .rdb_hits = 2, .allocs = 1, .bytes = 138}},
    });
    debug_on();
}

// Registering for 11 fills the SVIs; the general information is only brought in by the copy's hook.
TEST_F(FabricCtrlSegInfo, IsReadFromTheDatabaseAndTheCacheWhenOnlyTheSvisAreCached)
{
    publish(fabric_ctrl_svi(20));
    register_and_acknowledge({11});
    withdraw(key_of(KOV_RDB_SVIINFO, 20));
    debug_on();
    clear_traces();
    EXPECT_EQ(ask(), binding(fabric_ctrl_svi(20)));
    expect_traces({"Doing RDB based lookup for 1", "Fabric control segment svi: vlan20",
                   "Doing Cache based lookup for 2", svi_text, binding_text});
    expect_all_counters({
        {1, {.update_hits = 1, .rdb_hits = 2, .allocs = 1, .bytes = 181, .data = true}},
        {2, {.cached = 1, .cache_hits = 1, .rdb_hits = 2, .allocs = 1, .bytes = 138}},
    });
}

TEST_F(FabricCtrlSegInfo, IsNullWithoutGeneralInformation)
{
    withdraw(key_of(KOV_RDB_GENINFO));
    register_client({4});
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_get_fabric_ctrl_seg_info(), nullptr);
    expect_traces({unregistered, "Doing RDB based lookup for 1", "Could not find geninfo in KOV RDB"});
    expect_all_counters({{1, {.rdb_hits = 1}}});
}

TEST_F(FabricCtrlSegInfo, IsNullWithoutTheSvisRecord)
{
    register_client({4});
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_get_fabric_ctrl_seg_info(), nullptr);
    expect_traces({unregistered, "Doing RDB based lookup for 1", "Fabric control segment svi: vlan20",
                   "Doing RDB based lookup for 2",
                   "svi_info does not exist for fabric control segment svi vlan20"});
    expect_all_counters({{1, {.rdb_hits = 1}}, {2, {.rdb_hits = 1}}});
}

TEST_F(FabricCtrlSegInfo, IsNullInACacheThatKeepsNoCopyOfTheSvi)
{
    kov_rdb_sviinfo_t svi = fabric_ctrl_svi(20, 0);
    svi.vaddr_bound = 0;
    publish(svi);
    register_and_acknowledge({4, 11});
    EXPECT_EQ(kov_get_fabric_ctrl_seg_info(), nullptr);
    expect_counters(2, {.cached = 1, .cache_hits = 1, .rdb_hits = 2});
}

TEST_F(FabricCtrlSegInfo, IsNullWhileTheProcessWaits)
{
    kov_api_wait_for_init = 1;
    debug_on();
    EXPECT_EQ(kov_get_fabric_ctrl_seg_info(), nullptr);
    expect_traces({waiting, "kov_get_fabric_ctrl_seg_info(): Not initialized with KOV Api"});
}

// Deliberate: the static record keeps what was copied although null is returned.
TEST_F(FabricCtrlSegInfo, TheStaticRecordKeepsWhatWasCopiedAlthoughNullIsReturned)
{
    publish(fabric_ctrl_svi(20));
    const kov_fabric_ctrl_seg_info *const record = kov_get_fabric_ctrl_seg_info();
    ASSERT_NE(record, nullptr);
    kov_rdb_sviinfo_t incomplete = fabric_ctrl_svi(20);
    incomplete.vlan_id = 7;
    incomplete.is_up = 0;
    publish(incomplete);
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_get_fabric_ctrl_seg_info(), nullptr);
    EXPECT_EQ(traces().back(), "Fabric control segment vaddr to gwmac binding, not complete");
    EXPECT_EQ(bytes_at(record, 36), binding(incomplete));
    // On an earlier null nothing is copied.
    withdraw(key_of(KOV_RDB_SVIINFO, 20));
    EXPECT_EQ(kov_get_fabric_ctrl_seg_info(), nullptr);
    EXPECT_EQ(bytes_at(record, 36), binding(incomplete));
    publish(fabric_ctrl_svi(20));
    EXPECT_EQ(kov_get_fabric_ctrl_seg_info(), record);
    EXPECT_EQ(bytes_at(record, 36), binding(fabric_ctrl_svi(20)));
}

TEST_F(FabricCtrlSegInfo, ReadsAnSviThatIsNotFlagged)
{
    kov_rdb_sviinfo_t svi = fabric_ctrl_svi(20);
    svi.is_fabric_ctrl_seg = 0;
    publish(svi);
    EXPECT_EQ(ask(), binding(svi));
}

TEST_F(FabricCtrlSegInfo, ADamagedSviReadsAsOneOfZerosWithoutABinding)
{
    publish_bytes(key_of(KOV_RDB_SVIINFO, 20), {0xBA, 0xAD});
    debug_on();
    EXPECT_EQ(kov_get_fabric_ctrl_seg_info(), nullptr);
    EXPECT_TRUE(traced("Svi info -, up: 0, v4 addr: 0.0.0.0,\nv6_addr: ::, vrf_name: , mac 0000.0000.0000"));
    EXPECT_EQ(traces().back(), "Fabric control segment vaddr to gwmac binding, not complete");
}

TEST_F(FabricCtrlSegInfo, PrintsAVrfNameBoundedWhenItLacksItsNul)
{
    kov_rdb_sviinfo_t svi = fabric_ctrl_svi(20);
    std::memset(svi.vrf_name, 'v', sizeof svi.vrf_name);
    publish(svi);
    debug_on();
    EXPECT_NE(kov_get_fabric_ctrl_seg_info(), nullptr);
    EXPECT_TRUE(traced("Svi info vlan20, up: 1, v4 addr: 10.0.20.1,\nv6_addr: "
                       "1414:1414:1414:1414:1414:1414:1414:1414, vrf_name: " +
                       std::string(33, 'v') + ", mac 6666.6666.6666"));
}

} // namespace
