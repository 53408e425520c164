// The stored form of each record, written out here a second time: header words, field ids, lengths and values
// in their order. A test that fails here says that what is stored in the field can no longer be read.
#include "samples.h"

#include <kov/kov_codec.h>

namespace
{

using fake::Bytes;

// A stream as docs/codec.md has it, put together by the test.
class Golden
{
public:
    explicit Golden(uint32_t record_size) : record_size_(record_size) {}

    Golden &field(uint32_t id, const Bytes &value)
    {
        put(fields_, id);
        put(fields_, static_cast<uint32_t>(value.size()));
        fields_.insert(fields_.end(), value.begin(), value.end());
        ++count_;
        return *this;
    }
    Golden &u32(uint32_t id, uint32_t value) { return field(id, number(value, 4)); }
    Golden &u16(uint32_t id, uint32_t value) { return field(id, number(value, 2)); }
    Golden &u8(uint32_t id, uint32_t value) { return field(id, number(value, 1)); }
    // `size` bytes of the same value.
    Golden &fill(uint32_t id, std::size_t size, uint8_t value) { return field(id, Bytes(size, value)); }
    // A text at the full width of its field.
    Golden &text(uint32_t id, std::size_t width, const std::string &value)
    {
        Bytes bytes(value.begin(), value.end());
        bytes.resize(width);
        return field(id, bytes);
    }
    Golden &nested(uint32_t id, const Golden &inner) { return field(id, inner.bytes()); }

    Bytes bytes() const
    {
        Bytes stream = {'K', 'T', 'L', 'V'};
        put(stream, static_cast<uint32_t>(16 + fields_.size()));
        put(stream, record_size_);
        put(stream, count_);
        stream.insert(stream.end(), fields_.begin(), fields_.end());
        return stream;
    }

private:
    static Bytes number(uint32_t value, unsigned width)
    {
        Bytes bytes;
        for (unsigned i = 0; i < width; ++i)
            bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
        return bytes;
    }
    static void put(Bytes &to, uint32_t word)
    {
        const Bytes bytes = number(word, 4);
        to.insert(to.end(), bytes.begin(), bytes.end());
    }

    uint32_t record_size_;
    uint32_t count_ = 0;
    Bytes fields_;
};

template <std::size_t N>
void fill(uint8_t (&array)[N], uint8_t value)
{
    std::memset(array, value, N);
}

template <std::size_t N>
void write(char (&array)[N], const char *text)
{
    std::strncpy(array, text, N - 1);
}

template <std::size_t N>
void write(uint8_t (&array)[N], const char *text)
{
    std::memcpy(array, text, std::min(N, std::strlen(text)));
}

// The record gives exactly these bytes, and these bytes give the record.
#define EXPECT_GOLDEN(P, R, record, golden)                                                                  \
    do {                                                                                                     \
        const Bytes stream = (golden).bytes();                                                               \
        Bytes tlv(P##_##R##_get_tlv_sz(&(record)));                                                          \
        EXPECT_EQ(P##_##R##_to_tlv(&(record), tlv.data(), static_cast<uint32_t>(tlv.size()), 0, 0, 0), 0);   \
        EXPECT_EQ(tlv, stream);                                                                              \
        auto back = decltype(record){};                                                                      \
        EXPECT_EQ(P##_##R##_to_struct(stream.data(), static_cast<uint32_t>(stream.size()), &back, 0), 0);    \
        EXPECT_EQ(bytes_of(back), bytes_of(record));                                                         \
    } while (0)

class GoldenStream : public Lab
{
};

TEST_F(GoldenStream, OfGeneralInformation)
{
    kov_rdb_geninfo_t record = general_info(3);
    write(record.mobdom, "fabric-west");
    EXPECT_GOLDEN(kov_rdb, geninfo, record,
                  Golden(181)
                      .u32(0, 103)
                      .u32(1, 3)
                      .fill(2, 6, 0x13)
                      .u32(3, 8)
                      .u32(4, 30)
                      .u32(5, 403)
                      .u32(6, 603)
                      .u32(7, 3)
                      .u32(8, 1)
                      .fill(9, 6, 0x23)
                      .text(10, 128, "fabric-west")
                      .u32(11, 1103)
                      .u8(12, 3)
                      .u32(13, 1303));
}

TEST_F(GoldenStream, OfAnSvi)
{
    kov_rdb_sviinfo_t record = {};
    record.svi_ifindex = 0x0901000A;
    record.vlan_id = 10;
    record.is_up = 1;
    record.v4_prefix = {0x0A000101, 24};
    fill(record.v6_prefix.addr, 0x20);
    record.v6_prefix.len = 64;
    write(record.vrf_name, "red");
    record.fwd_mode = 2;
    record.is_fabric_ctrl_seg = 1;
    record.migration_enabled = 1;
    fill(record.gw_mac, 0x66);
    record.suppress_arp = 1;
    record.svi_word10 = 0x12345678;
    record.vaddr_bound = 1;
    Bytes v6(16, 0x20);
    v6.push_back(64);
    EXPECT_GOLDEN(kov_rdb, sviinfo, record,
                  Golden(138)
                      .u32(0, 0x0901000A)
                      .u32(1, 10)
                      .u32(2, 1)
                      .field(3, {1, 1, 0, 10, 24, 0, 0, 0})
                      .field(4, v6)
                      .text(5, 33, "red")
                      .u32(6, 2)
                      .u32(7, 1)
                      .u32(8, 1)
                      .fill(9, 6, 0x66)
                      .u32(10, 0x12345678)
                      .u32(11, 1)
                      .u32(12, 1));
}

TEST_F(GoldenStream, OfATopology)
{
    kov_rdb_l2rib_topo_info_t record = {};
    record.bd = 100;
    record.vni = 10100;
    record.suppress_arp_enabled = 1;
    record.suppress_arp_mode = 2;
    record.suppress_arp_l3_svi = 0x09010064;
    EXPECT_GOLDEN(kov_rdb, l2rib_topo_info, record,
                  Golden(52).u32(0, 100).u32(1, 10100).u32(2, 1).u32(3, 2).u32(4, 0x09010064));
}

TEST_F(GoldenStream, OfAnAggregatePrefix)
{
    const kov_rdb_aggr_sub_pfx_t record = {{0, 0, 1, 10, 16}};
    Bytes prefix = {0, 0, 1, 10, 16};
    prefix.resize(20);
    EXPECT_GOLDEN(kov_rdb, aggr_sub_pfx, record, Golden(20).field(0, prefix));
}

TEST_F(GoldenStream, OfTheTwoKindsOfPorts)
{
    Bytes bits = {0x22, 0, 0, 0x80};
    bits.resize(33);
    const kov_rdb_port_tracking_t tracking = {48, {0x22, 0, 0, 0x80}};
    EXPECT_GOLDEN(kov_rdb, port_tracking, tracking, Golden(35).u16(0, 48).field(1, bits));
    const kov_rdb_port_l2dci_t l2dci = {32, {0x22, 0, 0, 0x80}};
    EXPECT_GOLDEN(kov_rdb, port_l2dci, l2dci, Golden(35).u16(0, 32).field(1, bits));
}

TEST_F(GoldenStream, OfTheInitialisationState)
{
    const kov_vault_init_state record = {0x01020304};
    EXPECT_GOLDEN(kov_vault, init_state, record, Golden(4).u32(0, 0x01020304));
}

TEST_F(GoldenStream, OfARemoteHost)
{
    kov_vault_remote_host_val_t record = {};
    fill(record.f0, 0xA0);
    record.f1 = 1;
    record.f2 = 2;
    record.f3 = 0xFFFFFFFE;
    EXPECT_GOLDEN(kov_vault, remote_host, record,
                  Golden(32).fill(0, 20, 0xA0).u32(1, 1).u32(2, 2).u32(3, 0xFFFFFFFE));
}

TEST_F(GoldenStream, OfALocalHost)
{
    kov_local_host_db record = {};
    fill(record.f0, 0xB0);
    record.f1 = 11;
    record.f2 = 12;
    record.f3 = 13;
    EXPECT_GOLDEN(kov_vault, local_host, record,
                  Golden(164).fill(0, 6, 0xB0).u32(1, 11).u32(2, 12).u32(3, 13));
}

TEST_F(GoldenStream, OfAClient)
{
    kov_vault_client_val_t record = {};
    kov_vault_client_default_init(&record);
    record.f1 = 1;
    record.f5 = 5;
    EXPECT_GOLDEN(kov_vault, client, record,
                  Golden(24).u32(0, 0xFFFFFFFF).u32(1, 1).u32(2, 0).u32(3, 0).u32(4, 0).u32(5, 5));
}

kov_profile_cmd_data_t command()
{
    kov_profile_cmd_data_t record = {};
    record.f0 = 0x0102;
    record.f1 = 21;
    record.f2 = 22;
    record.f3 = 23;
    record.f4 = 24;
    fill(record.f5, 0xC5);
    record.f6 = 26;
    record.f7 = 27;
    return record;
}

Golden golden_command()
{
    return Golden(68)
        .u16(0, 0x0102)
        .u32(1, 21)
        .u32(2, 22)
        .u32(3, 23)
        .u32(4, 24)
        .u32(6, 26)
        .fill(5, 34, 0xC5)
        .u32(6, 26)
        .u32(7, 27);
}

TEST_F(GoldenStream, OfAProfileCommandWithField6Twice)
{
    const kov_profile_cmd_data_t record = command();
    EXPECT_GOLDEN(kov_vault, profile_cmd_data, record, golden_command());
}

TEST_F(GoldenStream, OfAVdpHost)
{
    kov_vault_vdp_host_val_t record = {};
    record.f0 = 1;
    fill(record.f1, 0xD1);
    fill(record.f2, 0xD2);
    record.f4 = 4;
    fill(record.f5, 0xD5);
    record.cmd_data = command();
    EXPECT_GOLDEN(kov_vault, vdp_host, record,
                  Golden(316)
                      .u32(0, 1)
                      .fill(1, 129, 0xD1)
                      .fill(2, 100, 0xD2)
                      .u32(4, 4)
                      .fill(5, 8, 0xD5)
                      .nested(3, golden_command()));
}

TEST_F(GoldenStream, OfALoopbackVrf)
{
    kov_loopback_vrf_t record = {};
    write(record.f0, "blue");
    record.f1 = 7;
    EXPECT_GOLDEN(kov_vault, loopback_vrf, record, Golden(102).text(0, 34, "blue").u32(1, 7));
}

kov_config_profile_data_t configuration()
{
    kov_config_profile_data_t record = {};
    record.cfg_f1 = 1;
    record.cfg_f2 = 2;
    write(record.c_profile_name, "web");
    write(record.c_instance_name, "web-1");
    record.param_count = 1;
    record.c_param_tlv[1] = 3;
    write(record.c_include_vrf_name, "red");
    write(record.c_include_profile_name, "base");
    write(record.c_include_instance_name, "base-1");
    record.include_param_count = 2;
    record.c_include_param_tlv[1] = 9;
    return record;
}

Golden golden_configuration()
{
    return Golden(4656)
        .u32(1, 1)
        .u32(2, 2)
        .text(3, 129, "web")
        .text(4, 129, "web-1")
        .u8(5, 1)
        .text(6, 2048, {0, 3})
        .text(7, 34, "red")
        .text(8, 129, "base")
        .text(9, 129, "base-1")
        .u8(10, 2)
        .text(11, 2048, {0, 9});
}

TEST_F(GoldenStream, OfConfigurationProfileData)
{
    const kov_config_profile_data_t record = configuration();
    EXPECT_GOLDEN(kov_vault, config_profile_data, record, golden_configuration());
}

kov_profile_options_t profile_options()
{
    kov_profile_options_t record = {};
    record.entity_id_type = 16;
    record.vni = 5000;
    record.vlan = 50;
    fill(record.mac, 0xE3);
    write(record.prof_opt_md_name, "md");
    record.opt_f105 = 105;
    record.opt_f106 = 106;
    write(record.prof_opt_host_id, "host-17");
    write(record.prof_opt_vrf_name, "green");
    record.opt_f109 = 109;
    record.opt_f110 = 110;
    record.opt_f201 = 201;
    record.opt_f202 = 202;
    record.opt_f203 = 203;
    record.opt_f204 = 204;
    record.opt_f205 = 205;
    record.opt_f206 = 206;
    record.opt_f207 = 207;
    record.opt_f208 = 208;
    record.opt_f209 = 209;
    record.opt_f210 = 210;
    record.opt_f211 = 211;
    record.config_profile = configuration();
    fill(record.prof_opt_user_data, 0xE5);
    record.opt_f601 = 601;
    record.opt_f602 = 2;
    record.opt_f603 = 603;
    return record;
}

Golden golden_options()
{
    return Golden(5318)
        .u8(1, 16)
        .u32(101, 5000)
        .u32(102, 50)
        .fill(103, 6, 0xE3)
        .text(104, 129, "md")
        .u16(105, 105)
        .u16(106, 106)
        .text(107, 129, "host-17")
        .text(108, 34, "green")
        .u32(109, 109)
        .u32(110, 110)
        .u32(201, 201)
        .u32(202, 202)
        .u32(203, 203)
        .u32(204, 204)
        .u32(205, 205)
        .u32(206, 206)
        .u32(207, 207)
        .u16(208, 208)
        .u32(209, 209)
        .u32(210, 210)
        .u32(211, 211)
        .nested(212, golden_configuration())
        .fill(501, 32, 0xE5)
        .u32(601, 601)
        .u8(602, 2)
        .u32(603, 603);
}

TEST_F(GoldenStream, OfProfileOptions)
{
    const kov_profile_options_t record = profile_options();
    EXPECT_GOLDEN(kov_vault, profile_options, record, golden_options());
}

kov_uhost_key_t user_host()
{
    kov_uhost_key_t record = {};
    record.key_type = 6;
    record.op = 3;
    record.uuid = 0x4B4F5601;
    record.host_ref = 99;
    record.key_len = 4;
    write(record.uhost_key_data, "key!");
    record.options = profile_options();
    return record;
}

Golden golden_user_host()
{
    return Golden(5374)
        .u8(0, 6)
        .u8(1, 3)
        .u32(2, 0x4B4F5601)
        .u32(3, 99)
        .u8(4, 4)
        .text(5, 45, "key!")
        .nested(6, golden_options());
}

TEST_F(GoldenStream, OfAUserHostKey)
{
    const kov_uhost_key_t record = user_host();
    EXPECT_GOLDEN(kov_vault, uhost_key, record, golden_user_host());
}

// The one record with a tail: it needs its own block, and where the tail is does not travel.
TEST_F(GoldenStream, OfAnAutoConfigurationHostWithItsParameters)
{
    using Host = kov_vault_auto_config_host_val_t;
    Bytes block(sizeof(Host) + 7), back(block.size());
    auto *const host = reinterpret_cast<Host *>(block.data());
    fill(host->f0, 0xF0);
    host->f1 = 1;
    host->f2 = 2;
    host->f3 = 3;
    host->f5 = 5;
    fill(host->cmd_data, 0xF4);
    host->f6 = 6;
    host->f7 = 7;
    host->parameter_len = 7;
    std::memcpy(&block[sizeof(Host)], "vlan=50", 7);
    ASSERT_EQ(kov_vault_auto_config_host_set_parameters(host, &block[sizeof(Host)]), 1u);
    fill(host->f10, 0xFA);
    fill(host->xvlan_data, 0xFB);
    host->f12 = 12;
    fill(host->f13, 0xFD);
    fill(host->f14, 0xFE);
    host->key = user_host();
    host->f16 = 16;
    host->f17 = 17;
    host->f18 = 18;
    const Bytes golden = Golden(5924)
                             .fill(0, 129, 0xF0)
                             .u16(1, 1)
                             .u8(2, 2)
                             .u32(3, 3)
                             .u32(5, 5)
                             .fill(4, 68, 0xF4)
                             .u16(6, 6)
                             .u16(7, 7)
                             .u32(8, 7)
                             .text(9, 7, "vlan=50")
                             .fill(10, 8, 0xFA)
                             .fill(11, 140, 0xFB)
                             .u16(12, 12)
                             .fill(13, 128, 0xFD)
                             .fill(14, 33, 0xFE)
                             .nested(15, golden_user_host())
                             .u32(16, 16)
                             .u16(17, 17)
                             .u16(18, 18)
                             .bytes();
    Bytes tlv(kov_vault_auto_config_host_get_tlv_sz(host));
    const auto size = static_cast<uint32_t>(tlv.size());
    EXPECT_EQ(kov_vault_auto_config_host_to_tlv(host, tlv.data(), size, 0, 0, 0), 0);
    EXPECT_EQ(tlv, golden);
    auto *const taken = reinterpret_cast<Host *>(back.data());
    EXPECT_EQ(kov_vault_auto_config_host_to_struct(golden.data(), size, taken, 0), 0);
    taken->parameters = host->parameters;
    EXPECT_EQ(back, block);
}

} // namespace
