// Questions about the fabric: what each answers besides, and the mobility domain.
#include "fabric_lab.h"

namespace
{

using fake::Bytes;

class Fabric : public FabricLab
{
};

TEST_F(Fabric, ADamagedRecordReadsAsOneOfZeros)
{
    publish_bytes(key_of(KOV_RDB_GENINFO), {0xBA, 0xAD});
    EXPECT_EQ(kov_get_fabric_id(), 0u);
    EXPECT_EQ(kov_get_switch_role(), 0u); // not the default of an absent record
    EXPECT_EQ(kov_get_conv_aging_timeout(1), 0u);
    EXPECT_EQ(kov_get_conv_aging_timeout(2), 0u);
    EXPECT_EQ(kov_check_ferro_migration(0, nullptr), 0u);
    expect_counters(1, {.rdb_hits = 5});
}

TEST_F(Fabric, OnlyAddressFamily2AsksForTheIpv6Timeout)
{
    publish(general_info(2));
    debug_on();
    for (const uint32_t af : {0u, 1u, 3u, 10u, 0x102u, UINT32_MAX}) {
        EXPECT_EQ(kov_get_conv_aging_timeout(af), 402u) << af;
        EXPECT_EQ(traces().back(), "[IPv4] Reading Conversational aging timeout: 402 from RDB");
    }
    EXPECT_EQ(kov_get_conv_aging_timeout(2), 602u);
    EXPECT_EQ(traces().back(), "[IPv6] Reading Conversational aging timeout: 602 from RDB");
}

TEST_F(Fabric, TheConversationalLearningWordIsGivenAsItStands)
{
    kov_rdb_geninfo_t record = general_info(1);
    record.conv_learning = 0x80000000;
    publish(record);
    EXPECT_EQ(kov_check_conditional_route(), 0x80000000u);
    record.conv_learning = 0;
    publish(record);
    debug_on();
    EXPECT_EQ(kov_check_conditional_route(), 0u);
    EXPECT_EQ(traces().back(), "Reading Conversational Learning: False from RDB");
}

TEST_F(Fabric, AFabricIdPrintsAsASignedNumber)
{
    kov_rdb_geninfo_t record = general_info(1);
    record.fabric_id = UINT32_MAX;
    publish(record);
    debug_on();
    EXPECT_EQ(kov_get_fabric_id(), UINT32_MAX);
    EXPECT_EQ(traces().back(), "Reading fabric id: -1 from RDB");
}

TEST_F(Fabric, ARoleOfAllBitsPrintsAllItsWords)
{
    kov_rdb_geninfo_t record = general_info(1);
    record.switch_role = 0xFF;
    publish(record);
    debug_on();
    EXPECT_EQ(kov_get_switch_role(), 0xFFu);
    EXPECT_EQ(traces().back(), "Reading switch role: border spine leaf dci-node  from RDB");
}

TEST_F(Fabric, AnUnknownEncapsulationIsGivenAsItStands)
{
    kov_rdb_geninfo_t record = general_info(1);
    record.fwd_encap = 9;
    publish(record);
    debug_on();
    EXPECT_EQ(kov_get_fwd_encap_type(nullptr), 9u);
    EXPECT_EQ(traces().back(), "Reading Forwarding encap: Invalid encapsulation, mac n/a from RDB");
}

TEST_F(Fabric, TheGatewayMacStandsInOneStaticBufferThatIsClearedFirst)
{
    publish(general_info(1));
    const uint8_t *const mac = kov_get_anycast_gateway_mac();
    EXPECT_EQ(mac_text(mac), "111111111111");
    withdraw(key_of(KOV_RDB_GENINFO));
    EXPECT_EQ(kov_get_anycast_gateway_mac(), mac);
    EXPECT_EQ(mac_text(mac), "000000000000");
    publish(general_info(2));
    kov_get_anycast_gateway_mac();
    EXPECT_EQ(mac_text(mac), "121212121212");
    kov_api_close();
    kov_api_wait_for_init = 1;
    EXPECT_EQ(kov_get_anycast_gateway_mac(), mac);
    EXPECT_EQ(mac_text(mac), "000000000000");
}

// ---- the mobility domain

class MobilityDomain : public FabricLab
{
protected:
    MobilityDomain() { std::memset(out, '#', sizeof out); }
    Bytes given() const { return Bytes(out, out + sizeof out); }
    static Bytes mobdom(const kov_rdb_geninfo_t &record) { return bytes_at(record.mobdom, 128); }

    char out[128];
    const Bytes untouched = Bytes(128, '#');
};

TEST_F(MobilityDomain, IsCopiedWhole)
{
    kov_rdb_geninfo_t record = general_info(1);
    for (std::size_t i = 6; i < 128; ++i) // behind the NUL
        record.mobdom[i] = static_cast<char>(i);
    publish(record);
    debug_on();
    EXPECT_EQ(kov_get_global_mobdom(out), 1u);
    EXPECT_EQ(given(), mobdom(record));
    EXPECT_EQ(traces().back(), "Returning mobdom string bbbbb");
}

TEST_F(MobilityDomain, IsAlwaysReadFromTheDatabaseThoughTheCacheIsFilled)
{
    publish(general_info(1));
    register_and_acknowledge({4, 5, 6, 7, 13, 14, 16, 17});
    publish(general_info(2));
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_get_global_mobdom(out), 1u);
    EXPECT_EQ(given(), mobdom(general_info(2)));
    expect_all_counters({{1, {.cached = 1, .rdb_hits = 2, .allocs = 1, .bytes = 181, .data = true}}});
    expect_traces({"Doing RDB based lookup for 1", "Returning mobdom string ccccc"});
}

TEST_F(MobilityDomain, IsReadBeforeTheArgumentIsTested)
{
    publish(general_info(1));
    EXPECT_EQ(kov_api_init(), 1u);
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_get_global_mobdom(nullptr), 0u);
    expect_traces({"Doing RDB based lookup for 1"});
    expect_all_counters({{1, {.rdb_hits = 1}}});
}

TEST_F(MobilityDomain, IsUntouchedWithoutARecord)
{
    EXPECT_EQ(kov_api_init(), 1u);
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_get_global_mobdom(out), 0u);
    EXPECT_EQ(given(), untouched);
    expect_traces({"Doing RDB based lookup for 1"});
}

TEST_F(MobilityDomain, PrintsBoundedWhenItLacksItsNul)
{
    kov_rdb_geninfo_t record = general_info(1);
    std::memset(record.mobdom, 'x', sizeof record.mobdom);
    publish(record);
    debug_on();
    EXPECT_EQ(kov_get_global_mobdom(out), 1u);
    EXPECT_EQ(given(), Bytes(128, 'x'));
    EXPECT_EQ(traces().back(), "Returning mobdom string " + std::string(128, 'x'));
}

// Deliberate: misspelt so.
TEST_F(MobilityDomain, IsUntouchedWithoutTheLibraryWhoseTextIsMisspeltSo)
{
    publish(general_info(1));
    kov_api_wait_for_init = 1;
    debug_on();
    EXPECT_EQ(kov_get_global_mobdom(out), 0u);
    EXPECT_EQ(given(), untouched);
    expect_traces({waiting, "kov_get_global_mobdom(): Not initialzied with KOV api"});
}

} // namespace
