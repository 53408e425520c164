// The defaults of the published records.
#include "defaults.h"

namespace
{

using fake::Bytes;

const Bytes seconds_1800 = {0x08, 0x07, 0, 0};

// clang-format off
const std::vector<Written> general_defaults = {
    {0, zeros(4)},       // fabric id
    {4, zeros(4)},       // conversational learning
    {8, zeros(6)},       // anycast gateway MAC
    {14, {1, 0, 0, 0}},  // leaf
    {18, zeros(4)},      // fabric control SVI
    {22, seconds_1800},  // IPv4
    {26, seconds_1800},  // IPv6
    {34, zeros(4)},      // encapsulation
    {38, zeros(6)},      // router MAC
    {44, zeros(1)},      // mobility domain: its first byte
    {172, zeros(4)},     // field 11
    {176, {1}},          // field 12
    {177, zeros(4)},     // field 13
};

const std::vector<Written> svi_defaults = {
    {0, zeros(4)},       // index
    {4, zeros(4)},       // VLAN
    {8, zeros(4)},       // state
    {16, zeros(8)},      // IPv4 prefix
    {24, zeros(17)},     // IPv6 prefix
    {41, zeros(1)},      // VRF name: its first byte
    {74, zeros(4)},      // standard mode
    {78, zeros(4)},      // fabric control segment
    {94, zeros(4)},      // migration
    {112, zeros(6)},     // gateway MAC
    {122, zeros(4)},     // field 10
    {126, zeros(4)},     // bound
};
// clang-format on

// Deliberate: ferro_migration (bytes 30 to 33) keeps what the buffer held.
TEST_F(Defaults, OfGeneralInformationAreWrittenAndFerroMigrationKeepsWhatTheBufferHeld)
{
    expect_written(kov_rdb_geninfo_default_init, general_defaults);
}

// Deliberate: suppress_arp (bytes 118 to 121) keeps what the buffer held.
TEST_F(Defaults, OfAnSviAreWrittenAndSuppressArpKeepsWhatTheBufferHeld)
{
    expect_written(kov_rdb_sviinfo_default_init, svi_defaults);
}

TEST_F(Defaults, OfATopologyAreItsFiveFields)
{
    expect_written(kov_rdb_l2rib_topo_info_default_init,
                   {{0, zeros(4)}, {4, zeros(4)}, {20, zeros(4)}, {24, zeros(4)}, {28, zeros(4)}});
}

TEST_F(Defaults, OfAnAggregatePrefixAreAllItsTwentyBytes)
{
    expect_written(kov_rdb_aggr_sub_pfx_default_init, {{0, zeros(20)}});
}

TEST_F(Defaults, OfASlotAreNoBitsInUseAndAllThirtyThreeBytes)
{
    expect_written(kov_rdb_port_tracking_default_init, {{0, zeros(2)}, {2, zeros(33)}});
    expect_written(kov_rdb_port_l2dci_default_init, {{0, zeros(2)}, {2, zeros(33)}});
}

TEST_F(Defaults, NeedNoOpenLibrary)
{
    kov_rdb_geninfo_t record;
    kov_rdb_geninfo_default_init(&record);
    EXPECT_EQ(kov_api.initialized, 0u);
    EXPECT_TRUE(platform.calls.log().empty());
}

} // namespace
