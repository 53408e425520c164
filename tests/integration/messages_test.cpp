// The messages that the server makes, byte by byte, and the texts in which messages are told.
#include "announce.h"
#include "frames.h"
#include "messages.h"
#include "profile_messages.h"
#include "scenario.h"

#include <kov_host.h>

#include <gtest/gtest.h>

#include <cstring>

namespace
{

using namespace kov_lab;

std::string hex(std::span<const std::uint8_t> bytes)
{
    std::string text;
    char digits[3];
    for (const std::uint8_t byte : bytes) {
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

std::string hex(const Bytes &message, std::size_t from, std::size_t size)
{
    return hex(std::span(message).subspan(from, size));
}

// As a client sees it.
std::string told(Bytes message)
{
    kov_clients_msg_convert_ntoh(message.data());
    kov_client_msg header;
    std::memcpy(&header, message.data(), sizeof header);
    EXPECT_EQ(std::size_t{header.length}, message.size());
    return describe_message(*reinterpret_cast<const kov_client_msg *>(message.data()));
}

class ServerMessage : public testing::Test
{
protected:
    ServerMessage()
    {
        now_.fabric_id = 0x01020304;
        now_.conv_learning = 1;
        now_.switch_role = 6;
        now_.ferro_migration = 1;
        now_.fwd_encap = 1;
        now_.u6rib_conv_aging_timeout = 60;
        const std::uint8_t mac[] = {0, 0x11, 0x22, 0x33, 0x44, 0x55};
        std::memcpy(now_.anycast_gw_mac, mac, sizeof mac);
        svi_ = default_svi(kov_host_ifindex_parse("vlan10"));
        svi_.fwd_mode = 2;
        svi_.v4_prefix = {0x0a010203, 24};
        svi_.v6_prefix.addr[0] = 0x20;
        std::memcpy(svi_.gw_mac, mac, sizeof mac);
    }

    kov_rdb_geninfo_t before_ = default_geninfo();
    kov_rdb_geninfo_t now_ = default_geninfo();
    kov_rdb_sviinfo_t svi_{};
};

TEST_F(ServerMessage, AnAcknowledgementIsAHeaderOf161Bytes)
{
    const Bytes message = acknowledgement();
    EXPECT_EQ(message.size(), 161u);
    EXPECT_EQ(hex(message, 0, 4), "35000200") << "version and type in host order";
    EXPECT_EQ(hex(message, 20, 8), "00000000000000a1") << "count and length in network order";
    EXPECT_EQ(told(message), "type 2, registration acknowledgement");
}

struct Row {
    std::uint32_t mtype;
    const char *bytes; // count and length, then the record
    const char *text;
};

TEST_F(ServerMessage, OfGeneralInformationCarriesWhatChanged)
{
    // clang-format off
    const Row rows[] = {
        {4,  "00000001000000a5" "01020304",                 "type 4, fabric id: 16909060"},
        {5,  "00000001000000a5" "00000001",                 "type 5, conversational learning: on"},
        {6,  "00000001000000a5" "00000006",                 "type 6, switch role: border+spine"},
        {7,  "00000001000000ad" "001122334455000000000000", "type 7, anycast gateway MAC: 0011.2233.4455"},
        {13, "00000001000000a6" "0000003c02",               "type 13, conversational aging timeout: IPv6 60 s"},
        {14, "00000001000000a5" "00000001",                 "type 14, fabric migration: on"},
        {16, "00000001000000a5" "00000001",                 "type 16, forwarding encapsulation: Vxlan"},
        {17, "00000001000000a9" "0000000600000001",         "type 17, switch role change: border+spine, was leaf"},
    };
    // clang-format on
    for (const Row &row : rows) {
        const Bytes message = geninfo_message(row.mtype, before_, now_);
        EXPECT_EQ(hex(message, 20, 8) + hex(message, 161, message.size() - 161), row.bytes) << row.mtype;
        EXPECT_EQ(told(message), row.text);
    }
}

TEST_F(ServerMessage, OfBothAgingTimeoutsHasTwoRecords)
{
    now_.urib_conv_aging_timeout = 30;
    EXPECT_EQ(told(geninfo_message(13, before_, now_)),
              "type 13, conversational aging timeout: IPv4 30 s; IPv6 60 s");
}

TEST_F(ServerMessage, OfAnSviCarriesItsInterfaceIndexFirst)
{
    // clang-format off
    const Row rows[] = {
        {9,  "00000001000000a5" "2400000a",                 "type 9, SVI forwarding mode: vlan10"},
        {15, "00000001000000a5" "2400000a",                 "type 15, SVI migration: vlan10"},
        {18, "00000001000000ad" "2400000a0000000200000000", "type 18, SVI forwarding mode change: vlan10 to Anycast Gateway"},
        {11, "00000001000000c5" "2400000a0000000a00000a0102032000000000000000000000000000000000112233" "4455",
             "type 11, fabric control segment: vlan10 (VLAN 10), 10.1.2.3, 2000::, gateway MAC 0011.2233.4455"},
    };
    // clang-format on
    for (const Row &row : rows) {
        const Bytes message = svi_message(row.mtype, svi_);
        EXPECT_EQ(hex(message, 20, 8) + hex(message, 161, message.size() - 161), row.bytes) << row.mtype;
        EXPECT_EQ(told(message), row.text);
    }
}

TEST_F(ServerMessage, OfAPortCarriesItsInterfaceIndex)
{
    const std::uint32_t port = kov_host_ifindex_parse("eth3/7");
    for (const Row &row : {Row{10, "68000206", "type 10, port tracking: eth3/7"},
                           Row{20, "68000206", "type 20, port L2DCI: eth3/7"}}) {
        const Bytes message = port_message(row.mtype, port);
        EXPECT_EQ(hex(message, 20, 8), "00000001000000a5");
        EXPECT_EQ(hex(message, 161, message.size() - 161), row.bytes);
        EXPECT_EQ(told(message), row.text);
    }
}

TEST_F(ServerMessage, OfATopologyCarriesBridgeDomainFirstAndSviFifth)
{
    kov_rdb_l2rib_topo_info_t topology = default_topology(5000);
    topology.vni = 0x010203;
    topology.suppress_arp_enabled = 1;
    topology.suppress_arp_mode = 2;
    topology.suppress_arp_l3_svi = svi_.svi_ifindex;
    const Bytes message = topology_message(topology);
    EXPECT_EQ(hex(message, 20, 8), "00000001000000b9");
    EXPECT_EQ(hex(message, 161, message.size() - 161), "00001388"
                                                       "00010203"
                                                       "00000001"
                                                       "00000002"
                                                       "2400000a"
                                                       "00000000");
    EXPECT_EQ(told(message), "type 19, suppress-ARP topology: bridge domain 5000, SVI vlan10");
    EXPECT_EQ(told(topology_message(default_topology(7))),
              "type 19, suppress-ARP topology: bridge domain 7, SVI -");
}

TEST_F(ServerMessage, OfAPrefixCarriesVrfPrefixAndFamily)
{
    std::string why;
    const Bytes v4 = prefix_message("blue", *parse_network("10.1.0.0/16", why));
    EXPECT_EQ(hex(v4, 20, 8), "00000001000000de");
    EXPECT_EQ(hex(v4, 161, 5), "626c756500");
    EXPECT_EQ(hex(v4, 161 + 33, 20), "0a010000"
                                     "10000000"
                                     "000000000000000000000000")
        << "only the address is converted";
    EXPECT_EQ(hex(v4, 161 + 53, 8), "0000000000000000");
    EXPECT_EQ(told(v4), "type 8, aggregate subnet prefix: 10.1.0.0/16 in VRF blue");
    const Bytes v6 = prefix_message("default", *parse_network("2001:db8::/33", why));
    EXPECT_EQ(hex(v6, 161 + 33, 20), "20010db8000000000000000000000000"
                                     "21000000");
    EXPECT_EQ(hex(v6, 161 + 53, 8), "0100000000000000");
    EXPECT_EQ(told(v6), "type 8, aggregate subnet prefix: 2001:db8::/33 in VRF default");
}

TEST_F(ServerMessage, OfATypeThatThisServerNeverSendsIsToldToo)
{
    EXPECT_EQ(told(make_message(12)), "type 12, profile message");
}

// ---- Who is told what ------------------------------------------------------------------------------------

// The notices as text: "6,17" is one notice, of which a client gets the first type it wants; "?" before one
// means that it is only for clients not told yet.
std::string shape_of(const std::vector<Notice> &notices)
{
    std::string text;
    for (const Notice &notice : notices) {
        text += text.empty() ? "" : " ";
        text += notice.unless_told ? "?" : "";
        for (std::size_t i = 0; i < notice.types.size(); ++i)
            text += (i == 0 ? "" : ",") + std::to_string(notice.types[i]);
    }
    return text;
}

class Announcement : public ServerMessage
{
protected:
    std::string of_general() { return shape_of(geninfo_notices(before_, now_, svis_, as_)); }

    Svis svis_;
    std::uint32_t as_ = 0;
};

TEST_F(Announcement, OfEachGeneralFieldHasItsType)
{
    struct FieldRow {
        void (*change)(kov_rdb_geninfo_t &record);
        const char *notices;
    };
    const char *any = "?4,5,6,7,13,14,16,17";
    const FieldRow rows[] = {
        {[](auto &r) { r.fabric_id = 1; }, "4"},
        {[](auto &r) { r.conv_learning = 1; }, "5"},
        {[](auto &r) { r.switch_role = 2; }, "6,17"},
        {[](auto &r) { r.anycast_gw_mac[0] = 1; }, "7"},
        {[](auto &r) { r.urib_conv_aging_timeout = 1; }, "13"},
        {[](auto &r) { r.u6rib_conv_aging_timeout = 1; }, "13"},
        {[](auto &r) { r.ferro_migration = 1; }, "14"},
        {[](auto &r) { r.fwd_encap = 1; }, "16"},
        {[](auto &r) { r.router_mac[5] = 1; }, "16"},
        {[](auto &r) { r.mobdom[0] = 'm'; }, any},
        {[](auto &r) { r.geninfo_word11 = 1; }, any},
        {[](auto &r) { r.geninfo_flag12 = 0; }, any},
        {[](auto &r) { r.geninfo_word13 = 1; }, any},
        {[](auto &) {}, ""},
    };
    for (const FieldRow &row : rows) {
        now_ = before_;
        row.change(now_);
        EXPECT_EQ(of_general(), row.notices);
    }
}

TEST_F(Announcement, OfSeveralGeneralFieldsHasEachTypeOnce)
{
    now_ = before_;
    now_.fabric_id = 3;
    now_.fwd_encap = 1;
    now_.router_mac[0] = 2;
    EXPECT_EQ(of_general(), "4 16");
    as_ = 17;
    EXPECT_EQ(of_general(), "17");
}

TEST_F(Announcement, OfTheControlSegmentNamesTheSviThatBecameItOrWasIt)
{
    now_ = before_;
    svis_[svi_.svi_ifindex] = svi_;
    now_.fabric_ctrl_svi = svi_.svi_ifindex;
    EXPECT_EQ(of_general(), "11 ?4,5,6,7,13,14,16,17");
    EXPECT_EQ(geninfo_notices(before_, now_, svis_)[0].message(11), svi_message(11, svi_));
    EXPECT_EQ(geninfo_notices(now_, before_, svis_)[0].message(11), svi_message(11, svi_));
}

TEST_F(Announcement, OfAnSviIsByType9UnlessOnlyOtherThingsChanged)
{
    const kov_rdb_sviinfo_t before = svi_;
    kov_rdb_sviinfo_t now = before;
    now.migration_enabled = 1;
    EXPECT_EQ(shape_of(svi_notices(before, now)), "15,9,18,11");
    now.fwd_mode = 1;
    EXPECT_EQ(shape_of(svi_notices(before, now)), "9,18,15,11");
    now = before;
    now.is_fabric_ctrl_seg = 1;
    now.vaddr_bound = 1;
    EXPECT_EQ(shape_of(svi_notices(before, now)), "11,9,18,15");
    EXPECT_EQ(shape_of(svi_notices(before, now, 18)), "18");
    EXPECT_EQ(shape_of(svi_notices(before, before)), "9,18,15,11") << "a new SVI of defaults";
}

TEST_F(Announcement, OfATopologyIsByType19AndOfItsSviByAnSviTypeToWhomItDoesNotReach)
{
    kov_rdb_l2rib_topo_info_t topology = default_topology(100);
    EXPECT_EQ(shape_of(topology_notices(topology, {})), "19");
    topology.suppress_arp_l3_svi = svi_.svi_ifindex;
    EXPECT_EQ(shape_of(topology_notices(topology, {svi_})), "19 ?9,18,15,11,19");
    const kov_rdb_sviinfo_t other = default_svi(kov_host_ifindex_parse("vlan11"));
    EXPECT_EQ(shape_of(topology_notices(topology, {other, svi_})), "19 9,18,15,11 ?9,18,15,11,19")
        << "an SVI that lost its topology is not in the message of type 19";
    EXPECT_EQ(topology_notices(topology, {other, svi_})[1].message(9), svi_message(9, other));
}

TEST_F(Announcement, OfAPortIsByTheTypesOfItsBits)
{
    EXPECT_EQ(shape_of(port_notices(1, {0, 0}, {1, 0})), "10");
    EXPECT_EQ(shape_of(port_notices(1, {0, 1}, {0, 0})), "20");
    EXPECT_EQ(shape_of(port_notices(1, {0, 1}, {1, 0})), "10 20");
    EXPECT_EQ(shape_of(port_notices(1, {0, 1}, {0, 1})), "");
    EXPECT_EQ(shape_of(port_notices(1, {0, 1}, {0, 1}, 20)), "20");
}

TEST_F(Announcement, OfAPrefixIsByType8) { EXPECT_EQ(shape_of(prefix_notices({"blue", {}})), "8"); }

// ---- Lists of types, and frames from clients --------------------------------------------------------------

TEST(TypeList, IsReadAndWritten)
{
    std::string why;
    EXPECT_EQ(parse_mask("4-20", why), 0x1ffff0u);
    EXPECT_EQ(parse_mask("9,18", why), 0x40200u);
    EXPECT_EQ(parse_mask("1", why), 2u);
    EXPECT_EQ(mask_text(0x1ffff0), "4-20");
    EXPECT_EQ(mask_text(0x40200), "9,18");
    EXPECT_EQ(mask_text(0x80000001), "0,31");
    EXPECT_EQ(mask_text(0), "none");
    for (const char *bad : {"", "0", "21", "9,", "a", "9-", "-9", "9-21"})
        EXPECT_EQ(parse_mask(bad, why), std::nullopt) << bad;
}

TEST(MessageTypes, HaveAWordEachByWhichAPersonNamesThem)
{
    std::string why;
    EXPECT_EQ(parse_mask("svi,topology", why), 0x80200u);
    EXPECT_EQ(parse_mask("svi-change,4-6,port-l2dci", why), 0x140070u);
    EXPECT_EQ(parse_mask("all", why), 0x1ffff0u);
    EXPECT_EQ(mask_words(0x80200), "svi,topology");
    EXPECT_EQ(mask_words(0x1ffff0), "all");
    EXPECT_EQ(mask_words(0), "none");
    EXPECT_EQ(parse_mask("svis", why), std::nullopt);
    EXPECT_TRUE(why.starts_with("\"svis\" is no message type: 1 to 20, register, register-ack, ")) << why;
    for (std::uint32_t mtype = 1; mtype < KOV_MTYPE_END; ++mtype)
        EXPECT_EQ(parse_mtype(mtype_word(mtype), why), mtype) << mtype_word(mtype);
    EXPECT_EQ(mtype_words().size(), 20u);
    EXPECT_EQ(parse_mtype("20", why), 20u);
}

TEST(MessageTypes, OpcodesHaveWordsToo)
{
    std::string why;
    EXPECT_EQ(parse_opcode("client", why), KOV_OPC_CLIENT);
    EXPECT_EQ(parse_opcode("nd-verified", why), KOV_OPC_ND_VERIFIED);
    EXPECT_EQ(parse_opcode("0x3D404", why), KOV_OPC_GLEAN);
    EXPECT_EQ(parse_opcode("", why), std::nullopt);
    EXPECT_EQ(parse_opcode("4294967296", why), std::nullopt);
    EXPECT_EQ(why, "\"4294967296\" is no opcode: a number, or one of client, glean, verify, arp-verified, "
                   "nd-verified");
    EXPECT_EQ(opcode_words().size(), 5u);
}

TEST(MessageTypes, ResultsOfProfilesHaveTheirTextInOneWord)
{
    std::string why;
    EXPECT_EQ(parse_profile_code("no-error", why), 1u);
    EXPECT_EQ(parse_profile_code("error-no-profile-found", why), 22u);
    EXPECT_EQ(parse_profile_code("error-other", why), 27u) << "the first of several";
    EXPECT_EQ(parse_profile_code("clear-profile-deleted", why), 42u);
    EXPECT_EQ(parse_profile_code("48", why), 48u);
    EXPECT_EQ(parse_profile_code("49", why), std::nullopt);
    EXPECT_EQ(parse_profile_code("good", why), std::nullopt);
    EXPECT_TRUE(why.starts_with("\"good\" is no code: 1 to 48, no-error, no-error-refresh, ")) << why;
}

TEST(FrameText, NeverShowsWhatATerminalWouldObey)
{
    kov_registration_request request{};
    request.major = 53;
    request.mtype = 1;
    request.pid = 812;
    request.sap = 2000;
    request.mtype_mask = 0x1ffff0;
    std::memset(request.client_name, 'x', sizeof request.client_name); // no NUL
    request.client_name[1] = '\033';
    const auto *bytes = reinterpret_cast<const std::uint8_t *>(&request);
    EXPECT_EQ(describe_frame(KOV_OPC_CLIENT, {bytes, sizeof request}),
              "register \"x?" + std::string(127, 'x') + "\" (pid 812, SAP 2000) for types 4-20");
}

TEST(FrameText, KnowsTheNotificationsOfClients)
{
    Bytes glean(73), verify(50), arp(56), nd(44), profile(176);
    const std::uint32_t vlan10 = kov_host_ifindex_parse("vlan10");
    const std::uint32_t port = kov_host_ifindex_parse("eth1/5");
    const std::uint8_t address[] = {3, 2, 1, 10}, other[] = {7, 8, 9, 10};
    glean[24] = 1;
    glean[25] = 3;
    std::memcpy(&glean[37], &vlan10, 4);
    glean[33] = 7;
    std::memcpy(&glean[29], &port, 4);
    std::memcpy(&glean[41], address, 4);
    std::memcpy(&glean[57], &other, 4);
    EXPECT_EQ(describe_frame(0x3D404, glean),
              "glean 10.1.2.3 in VRF 3 on vlan10, from 10.9.8.7 at eth1/5, value 7");
    EXPECT_EQ(describe_frame(0x3D404, glean, {{2, "red"}, {3, "blue"}}),
              "glean 10.1.2.3 in VRF 3 (blue) on vlan10, from 10.9.8.7 at eth1/5, value 7");
    glean[24] = 2;
    EXPECT_EQ(describe_frame(0x3D404, glean),
              "glean 302:10a:: in VRF 3 on vlan10, from 708:90a:: at eth1/5, value 7");
    std::memcpy(verify.data(), "blue", 4);
    verify[33] = 1;
    verify[34] = 10;
    verify[37] = 9;
    EXPECT_EQ(describe_frame(0x3D405, verify), "verify host 10.0.0.9 in VRF blue");
    verify[33] = 0;
    EXPECT_EQ(describe_frame(0x3D405, verify), "verify host (IPv6) in VRF blue") << "no address travels";
    std::fill_n(verify.begin(), 33, std::uint8_t{'v'}); // no NUL
    EXPECT_EQ(describe_frame(0x3D405, verify), "verify host (IPv6) in VRF " + std::string(33, 'v'));
    std::memcpy(&arp[4], &vlan10, 4);
    std::memcpy(&arp[28], address, 4);
    EXPECT_EQ(describe_frame(0x13C04, arp), "ARP verified 10.1.2.3 on vlan10");
    std::memcpy(&arp[12], &port, 4);
    arp[50] = 11;
    EXPECT_EQ(describe_frame(0x13C04, arp), "ARP verified 10.1.2.3 on vlan10, VLAN 11, port eth1/5");
    nd[22] = 0x20;
    nd[40] = 7;
    EXPECT_EQ(describe_frame(0x14401, nd), "ND verified 2000:: on iod 7");
    profile[0] = 53;
    profile[2] = 12;
    profile[168] = 9;
    EXPECT_EQ(describe_frame(KOV_OPC_CLIENT, profile), "profile request, key of 9 bytes");
}

TEST(FrameText, OfAnythingElseIsItsSize)
{
    EXPECT_EQ(describe_frame(0x3D404, Bytes(72)), "unknown frame, opcode 0x3D404, 72 bytes");
    EXPECT_EQ(describe_frame(1, {}), "unknown frame, opcode 0x1, 0 bytes");
}

} // namespace
