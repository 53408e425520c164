// Scenario files, good and bad, through the loader alone.
#include "fields.h"
#include "real_lab.h"
#include "scenario.h"

#include <kov/kov_enums.h>

#include <cstring>
#include <set>

namespace
{

using namespace kov_lab;

class ScenarioFile : public integration::RealLab
{
protected:
    // What the loader says about a file with this text, the file's own path taken off.
    std::vector<std::string> mistakes_in(const std::string &text)
    {
        const std::string file = write("scenario.json", text);
        load(file);
        for (std::string &mistake : mistakes_)
            if (mistake.starts_with(file + ":"))
                mistake.erase(0, file.size() + 1);
        return mistakes_;
    }
    bool load(const std::string &file) { return load_scenario(file, scenario_, mistakes_); }
    const kov_rdb_sviinfo_t &svi(const char *name)
    {
        std::string why;
        return scenario_.svis.at(svi_of_name(name, why));
    }

    Scenario scenario_;
    std::vector<std::string> mistakes_;
};

TEST_F(ScenarioFile, TheLeafHasTwoTenantsAndFortySvisInEveryMode)
{
    ASSERT_TRUE(load(leaf())) << mistakes_.front();
    EXPECT_EQ(scenario_.vrfs, (std::vector<std::string>{"production", "guest", "red"}));
    EXPECT_EQ(scenario_.vrf_ids(), (VrfNames{{1, "default"}, {2, "production"}, {3, "guest"}, {4, "red"}}));
    EXPECT_EQ(scenario_.svis.size(), 40u);
    std::set<std::uint32_t> modes;
    for (const auto &[ifindex, record] : scenario_.svis) {
        EXPECT_EQ(ifindex, std::uint32_t{record.svi_ifindex});
        modes.insert(record.fwd_mode);
    }
    EXPECT_EQ(modes, (std::set<std::uint32_t>{0, 1, 2, 3}));
}

TEST_F(ScenarioFile, TheLeafsControlSegmentIsBoundCompletely)
{
    ASSERT_TRUE(load(leaf()));
    const kov_rdb_sviinfo_t &control = svi("vlan3900");
    EXPECT_EQ(scenario_.general->fabric_ctrl_svi, std::uint32_t{control.svi_ifindex});
    EXPECT_EQ(control.is_fabric_ctrl_seg, 1u);
    EXPECT_EQ(kov_is_vaddr_bind_complete(&control), 1u);
}

TEST_F(ScenarioFile, TheLeafHasTwoCardsFourChannelsThirtyTopologiesAndSixtyPrefixesInThreeVrfs)
{
    ASSERT_TRUE(load(leaf()));
    EXPECT_EQ(scenario_.line_cards.size(), 2u);
    EXPECT_EQ(scenario_.line_cards.at(1).ports, 48u);
    EXPECT_EQ(scenario_.line_cards.at(2).name, "eth2");
    EXPECT_EQ(scenario_.port_channels.size(), 4u);
    EXPECT_EQ(scenario_.topologies.size(), 30u);
    EXPECT_EQ(scenario_.prefixes.size(), 60u);
    EXPECT_EQ(scenario_.routes.size(), 3u);
    std::set<std::string> vrfs;
    for (const Prefix &prefix : scenario_.prefixes)
        vrfs.insert(prefix.vrf);
    EXPECT_EQ(vrfs, (std::set<std::string>{"default", "guest", "production"}));
}

TEST_F(ScenarioFile, AnSviSuppressesArpExactlyWhenItsTopologyDoes)
{
    ASSERT_TRUE(load(leaf()));
    unsigned suppressing = 0;
    for (const auto &[bd, topology] : scenario_.topologies) {
        const kov_rdb_sviinfo_t &record = scenario_.svis.at(topology.suppress_arp_l3_svi);
        EXPECT_EQ(record.suppress_arp, std::uint32_t{topology.suppress_arp_enabled}) << bd;
        EXPECT_EQ(topology.suppress_arp_enabled != 0, topology.suppress_arp_mode != 0) << bd;
        suppressing += topology.suppress_arp_enabled;
    }
    EXPECT_EQ(suppressing, 4u);
}

TEST_F(ScenarioFile, ATopologyGivesItsSviTheSuppression)
{
    ASSERT_TRUE(mistakes_in(R"({
      "svis": [ { "svi": "vlan10" }, { "svi": "vlan11" } ],
      "topologies": [ { "bd": 100, "vni": 16777215, "suppress_arp_mode": "l2-l3", "svi": "vlan10" },
                      { "bd": 65535, "suppress_arp_mode": "l2", "suppress_arp_enabled": false, "svi": "vlan11" } ]
    })")
                    .empty());
    const kov_rdb_l2rib_topo_info_t &topology = scenario_.topologies.at(100);
    EXPECT_EQ(topology.bd, 100u);
    EXPECT_EQ(topology.vni, 0xffffffu);
    EXPECT_EQ(topology.suppress_arp_enabled, 1u) << "a mode means that it is in use";
    EXPECT_EQ(topology.suppress_arp_mode, std::uint32_t{KOV_SUPPRESS_ARP_L2_L3});
    EXPECT_EQ(topology.suppress_arp_l3_svi, std::uint32_t{svi("vlan10").svi_ifindex});
    EXPECT_EQ(svi("vlan10").suppress_arp, 1u);
    EXPECT_EQ(scenario_.topologies.at(65535).suppress_arp_enabled, 0u) << "unless told otherwise";
    EXPECT_EQ(svi("vlan11").suppress_arp, 0u);
}

TEST_F(ScenarioFile, PortsStandAsBitsInTheRecordsOfTheirSlots)
{
    ASSERT_TRUE(mistakes_in(R"({
      "line_cards": [ { "card": "eth1", "ports": 8 }, { "card": "sat156", "ports": 255 } ],
      "port_channels": [ "po0", "po254", "po255", "po25244" ],
      "ports": [ { "port": "eth1/1", "tracking": true }, { "port": "eth1/8", "tracking": true, "l2dci": true },
                 { "port": "eth1/2" }, { "port": "sat156/255", "l2dci": true }, { "port": "po0", "tracking": true },
                 { "port": "po254", "tracking": true }, { "port": "po255", "tracking": true },
                 { "port": "po25244", "tracking": true } ]
    })")
                    .empty());
    ASSERT_EQ(scenario_.tracking.size(), 4u);
    const SlotPorts &card = scenario_.tracking.at(1);
    EXPECT_EQ(card.num_bits, 9u) << "bit 0 stands for no port";
    EXPECT_EQ(card.port_bits[0], 1u << 1);
    EXPECT_EQ(card.port_bits[1], 1u);
    const SlotPorts &channels = scenario_.tracking.at(157);
    EXPECT_EQ(channels.num_bits, 256u);
    EXPECT_EQ(channels.port_bits[0], 1u << 1) << "po0";
    EXPECT_EQ(channels.port_bits[31], 1u << 7) << "po254";
    EXPECT_EQ(scenario_.tracking.at(158).port_bits[0], 1u << 1) << "po255";
    EXPECT_EQ(scenario_.tracking.at(255).port_bits[31], 1u << 7) << "po25244, the last that has a place";
    ASSERT_EQ(scenario_.l2dci.size(), 2u) << "a slot without a port has no record";
    EXPECT_EQ(scenario_.l2dci.at(156).num_bits, 256u);
    EXPECT_EQ(scenario_.l2dci.at(156).port_bits[31], 1u << 7);
}

TEST_F(ScenarioFile, PrefixesOfBothFamiliesAreKeptPerVrf)
{
    ASSERT_TRUE(mistakes_in(R"({
      "vrfs": [ "blue" ],
      "prefixes": [ { "vrf": "blue", "prefixes": [ "10.1.0.0/16", "2001:db8::/33" ] },
                    { "vrf": "default", "prefixes": [ "10.1.0.0/16", "0.0.0.0/0", "::/0", "10.1.2.3/32" ] } ]
    })")
                    .empty());
    EXPECT_EQ(scenario_.prefixes.size(), 6u);
    const Prefix &first = *scenario_.prefixes.begin();
    EXPECT_EQ(first.vrf, "blue");
    EXPECT_EQ(network_text(first.network), "10.1.0.0/16");
    const kov_rdb_aggr_sub_pfx_t v4 = record_of(first.network);
    const std::uint8_t v4_bytes[20] = {0, 0, 1, 10, 16};
    EXPECT_EQ(std::memcmp(v4.prefix, v4_bytes, 20), 0) << "the address in host order, the length behind it";
    const kov_rdb_aggr_sub_pfx_t v6 = record_of(std::next(scenario_.prefixes.begin())->network);
    const std::uint8_t v6_bytes[20] = {0x20, 1, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 33};
    EXPECT_EQ(std::memcmp(v6.prefix, v6_bytes, 20), 0) << "the address in network order";
}

TEST_F(ScenarioFile, ARouteMayLeadWhereAnAggregatePrefixIsAndHasNoFlagsUnlessTold)
{
    ASSERT_TRUE(mistakes_in(R"({
      "prefixes": [ { "vrf": "default", "prefixes": [ "10.1.0.0/16" ] } ],
      "routes": [ { "vrf": "default", "prefix": "10.1.0.0/16" },
                  { "vrf": "default", "prefix": "10.1.2.0/24", "conditional": true, "converted": true } ]
    })")
                    .empty());
    ASSERT_EQ(scenario_.routes.size(), 2u);
    const auto &[prefix, plain] = *scenario_.routes.begin();
    EXPECT_EQ(text_of(prefix), "10.1.0.0/16 in VRF default");
    EXPECT_EQ(plain.conditional, 0u);
    EXPECT_EQ(plain.converted, 0u);
    const RouteBits &flagged = scenario_.routes.rbegin()->second;
    EXPECT_EQ(flagged.conditional, 1u);
    EXPECT_EQ(flagged.converted, 1u);
}

TEST_F(ScenarioFile, ACardTypeIsWrittenAsInTheCommandAndMayBeNone)
{
    ASSERT_TRUE(mistakes_in("{}").empty());
    EXPECT_EQ(scenario_.card_type, std::nullopt);
    ASSERT_TRUE(mistakes_in(R"({ "card_type": "0x2101" })").empty());
    EXPECT_EQ(scenario_.card_type, 0x2101);
    ASSERT_TRUE(mistakes_in(R"({ "card_type": "65535" })").empty());
    EXPECT_EQ(scenario_.card_type, 65535);
    ASSERT_TRUE(mistakes_in(R"({ "card_type": "none" })").empty());
    EXPECT_EQ(scenario_.card_type, -1);
}

TEST_F(ScenarioFile, EveryKindOfFieldArrivesInTheRecord)
{
    ASSERT_TRUE(mistakes_in(R"({
      "vrfs": ["blue"],
      "general": { "fabric_id": 4294967295, "conv_learning": true, "anycast_gw_mac": "00:11:22:aa:bb:cc",
                   "switch_role": ["border", "spine"], "fabric_ctrl_svi": "bdi100", "fwd_encap": "vxlan",
                   "mobdom": "west wing", "geninfo_flag12": 0 },
      "svis": [ { "svi": "bdi100", "vlan_id": 7, "is_up": true, "v4_prefix": "10.1.2.3/20",
                  "v6_prefix": "2001:db8::5/48", "vrf_name": "blue", "fwd_mode": "proxy-gateway",
                  "gw_mac": "0011.22AA.bbcc", "suppress_arp": true } ]
    })")
                    .empty());
    const kov_rdb_geninfo_t &general = *scenario_.general;
    EXPECT_EQ(general.fabric_id, 0xffffffffu);
    EXPECT_EQ(general.conv_learning, 1u);
    EXPECT_EQ(general.anycast_gw_mac[5], 0xcc);
    EXPECT_EQ(general.switch_role, std::uint32_t{KOV_SWITCH_ROLE_BORDER | KOV_SWITCH_ROLE_SPINE});
    EXPECT_EQ(general.fwd_encap, std::uint32_t{KOV_FWD_ENCAP_VXLAN});
    EXPECT_EQ(general.geninfo_flag12, 0);
    EXPECT_EQ(general.urib_conv_aging_timeout, 1800u) << "a field that is not given keeps its default";
    EXPECT_STREQ(general.mobdom, "west wing");
    const kov_rdb_sviinfo_t &record = svi("bdi100");
    EXPECT_EQ(record.vlan_id, 7u);
    EXPECT_EQ(record.v4_prefix.addr, 0x0a010203u) << "host order";
    EXPECT_EQ(record.v4_prefix.len, 20u);
    EXPECT_EQ(record.v6_prefix.addr[15], 5);
    EXPECT_EQ(record.v6_prefix.len, 48);
    EXPECT_STREQ(record.vrf_name, "blue");
    EXPECT_EQ(record.fwd_mode, std::uint32_t{KOV_FWD_MODE_PROXY_GATEWAY});
    EXPECT_EQ(record.gw_mac[3], 0xaa);
    EXPECT_EQ(record.suppress_arp, 1u);
}

TEST_F(ScenarioFile, AVlanInterfaceHasItsVlanFromItsName)
{
    ASSERT_TRUE(mistakes_in(R"({"svis": [{"svi": "vlan77"}]})").empty());
    EXPECT_EQ(svi("vlan77").vlan_id, 77u);
}

TEST_F(ScenarioFile, AMissingFileIsNamed)
{
    EXPECT_FALSE(load(path("none.json")));
    EXPECT_EQ(mistakes_,
              (std::vector<std::string>{path("none.json") + ": cannot be read: No such file or directory"}));
}

TEST_F(ScenarioFile, ADirectoryIsNoScenario)
{
    EXPECT_FALSE(load(path("")));
    ASSERT_EQ(mistakes_.size(), 1u);
    EXPECT_EQ(mistakes_[0], path("") + ": cannot be read: Is a directory");
}

struct Bad {
    const char *what;
    const char *text;
    const char *mistake; // begins so
};

std::ostream &operator<<(std::ostream &out, const Bad &bad) { return out << bad.what; }

class BadScenario : public ScenarioFile, public testing::WithParamInterface<Bad>
{
};

TEST_P(BadScenario, IsRefusedWithLineAndField)
{
    const std::vector<std::string> mistakes = mistakes_in(GetParam().text);
    ASSERT_EQ(mistakes.size(), 1u);
    EXPECT_TRUE(mistakes[0].starts_with(GetParam().mistake)) << mistakes[0];
}

// clang-format off
const Bad bad_scenarios[] = {
    {"Empty",             "",                                               " is empty"},
    {"NotJson",           "{\n  \"vrfs\": [\n    oops ]\n}",                "3:5: is not JSON: "},
    {"Unfinished",        "{\n  \"general\": {\n",                          "2:15: is not JSON: "},
    {"TrailingText",      "{}\n{}",                                         "2:1: is not JSON: "},
    {"NotAnObject",       "[1, 2]",                                         "1: scenario: must be an object, not [1,2]"},
    {"UnknownTopKey",     "{\n\n  \"svi\": []\n}",                          "3: svi: is not known here"},
    {"UnknownField",      "{\n \"general\": {\n  \"fabric\": 1 } }",        "3: general.fabric: is not a field; the fields are fabric_id, "},
    {"UnknownSviField",   "{\"svis\": [\n{\"svi\": \"vlan1\"},\n{\"svi\": \"vlan2\",\n \"mode\": \"standard\"}]}", "4: svis[1].mode: is not a field; the fields are vlan_id, "},
    {"RepeatedKey",       "{\"general\": {\n\"fabric_id\": 1,\n\"fabric_id\": 2}}", "3: fabric_id: stands twice"},
    {"RangeAbove",        "{\"general\":\n{\"fabric_id\":\n4294967296}}",   "2: general.fabric_id: 4294967296 is out of range, it must be from 0 to 4294967295"},
    {"RangeBelow",        "{\"general\": {\"fabric_id\": -1}}",             "1: general.fabric_id: -1 is out of range"},
    {"RangeOfAByte",      "{\"general\": {\"geninfo_flag12\": 256}}",       "1: general.geninfo_flag12: 256 is out of range, it must be from 0 to 255"},
    {"RangeOfAVlan",      "{\"svis\": [{\"svi\": \"bdi1\", \"vlan_id\": 4095}]}", "1: svis[0].vlan_id: 4095 is out of range, it must be from 0 to 4094"},
    {"FractionalNumber",  "{\"general\": {\"fabric_id\": 1.5}}",            "1: general.fabric_id: must be a whole number, not 1.5"},
    {"NumberAsText",      "{\"general\": {\"fabric_id\": \"7\"}}",          "1: general.fabric_id: must be a whole number, not \"7\""},
    {"SwitchAsNumber",    "{\"general\": {\"conv_learning\": 1}}",          "1: general.conv_learning: must be true or false, not 1"},
    {"RoleAsText",        "{\"general\": {\"switch_role\": \"leaf\"}}",     "1: general.switch_role: must be a list of roles, not \"leaf\""},
    {"RoleInListNoText",  "{\"general\": {\"switch_role\": [\n1]}}",        "2: general.switch_role[0]: must be a text in quotes, not 1"},
    {"RoleUnknown",       "{\"general\": {\"switch_role\": [\"leaf\", \"king\"]}}", "1: general.switch_role: \"king\" is none of leaf, border, spine, dci-node"},
    {"ModeUnknown",       "{\"svis\": [{\"svi\": \"vlan1\",\n\"fwd_mode\": \"turbo\"}]}", "2: svis[0].fwd_mode: \"turbo\" is none of standard, proxy-gateway, anycast-gateway, conditional-proxy-gateway"},
    {"EncapUnknown",      "{\"general\": {\"fwd_encap\": \"gre\"}}",        "1: general.fwd_encap: \"gre\" is none of fabric, vxlan"},
    {"MacTooShort",       "{\"general\": {\"router_mac\": \"0011.2233\"}}", "1: general.router_mac: \"0011.2233\" is not a MAC address"},
    {"MacOddSeparators",  "{\"general\": {\"router_mac\": \"00112.233.4455\"}}", "1: general.router_mac: \"00112.233.4455\" is not a MAC address"},
    {"MacNotHex",         "{\"general\": {\"router_mac\": \"00:11:22:33:44:5g\"}}", "1: general.router_mac: \"00:11:22:33:44:5g\" is not a MAC address"},
    {"PrefixNoLength",    "{\"svis\": [{\"svi\": \"vlan1\", \"v4_prefix\": \"10.1.1.1\"}]}", "1: svis[0].v4_prefix: \"10.1.1.1\" is not an address with a prefix length"},
    {"PrefixLongLength",  "{\"svis\": [{\"svi\": \"vlan1\", \"v4_prefix\": \"10.1.1.1/33\"}]}", "1: svis[0].v4_prefix: \"10.1.1.1/33\" has a prefix length that is not from 0 to 32"},
    {"V6InTheV4Field",    "{\"svis\": [{\"svi\": \"vlan1\", \"v4_prefix\": \"2001:db8::1/64\"}]}", "1: svis[0].v4_prefix: \"2001:db8::1/64\" is not an address"},
    {"V6LongLength",      "{\"svis\": [{\"svi\": \"vlan1\", \"v6_prefix\": \"2001:db8::1/129\"}]}", "1: svis[0].v6_prefix: \"2001:db8::1/129\" has a prefix length"},
    {"SviWithoutName",    "{\"svis\": [\n{\"is_up\": true}]}",              "2: svis[0]: has no \"svi\""},
    {"SviNameNoText",     "{\"svis\": [{\"svi\": 10}]}",                    "1: svis[0].svi: must be a text in quotes, not 10"},
    {"SviIsAPort",        "{\"svis\": [{\"svi\": \"eth1/5\"}]}",            "1: svis[0].svi: \"eth1/5\" is not an SVI"},
    {"SviOfNoVlan",       "{\"svis\": [{\"svi\": \"vlan5000\"}]}",          "1: svis[0].svi: \"vlan5000\" is not an SVI"},
    {"SviTwice",          "{\"svis\": [\n{\"svi\": \"vlan1\"},\n{\"svi\": \"vlan2\"},\n{\"svi\": \"vlan1\"}]}", "4: svis[2].svi: vlan1 is there already, at line 2"},
    {"SvisNoList",        "{\"svis\": {}}",                                 "1: svis: must be a list of SVIs, not {}"},
    {"SviNoObject",       "{\"svis\": [\n\"vlan1\"]}",                      "2: svis[0]: must be an object, not \"vlan1\""},
    {"GeneralNoObject",   "{\"general\": 5}",                               "1: general: must be an object, not 5"},
    {"VrfUnknown",        "{\"vrfs\": [\"blue\"], \"svis\": [{\"svi\": \"vlan1\",\n \"vrf_name\": \"red\"}]}", "2: svis[0].vrf_name: \"red\" is not among the vrfs"},
    {"VrfTwice",          "{\"vrfs\": [\"blue\",\n\"blue\"]}",              "2: vrfs[1]: \"blue\" is there already"},
    {"VrfTooLong",        "{\"vrfs\": [\"123456789012345678901234567890123\"]}", "1: vrfs[0]: must have 1 to 32 characters"},
    {"VrfNoText",         "{\"vrfs\": [null]}",                             "1: vrfs[0]: must be a text in quotes, not null"},
    {"VrfsNoList",        "{\"vrfs\": \"blue\"}",                           "1: vrfs: must be a list of names, not \"blue\""},
    {"ControlSviAbsent",  "{\"general\": {\n\"fabric_ctrl_svi\": \"vlan9\"}}", "2: general.fabric_ctrl_svi: vlan9 is not among the svis"},
    {"MobdomWithNul",     "{\"general\": {\"mobdom\": \"a\\u0000b\"}}",     "1: general.mobdom: holds a NUL character"},
    {"CardWithoutName",   "{\"line_cards\": [\n{\"ports\": 4}]}",          "2: line_cards[0]: has no \"card\", the line card's name"},
    {"CardWithoutPorts",  "{\"line_cards\": [\n{\"card\": \"eth1\"}]}",    "2: line_cards[0]: has no \"ports\", the number of its ports"},
    {"CardIsAnSvi",       "{\"line_cards\": [{\"card\": \"vlan1\", \"ports\": 4}]}", "1: line_cards[0].card: \"vlan1\" is not a line card, like eth1 or sat101, up to slot 156"},
    {"CardBeyondTheLast", "{\"line_cards\": [{\"card\": \"eth157\", \"ports\": 4}]}", "1: line_cards[0].card: \"eth157\" is not a line card"},
    {"CardWithNoPort",    "{\"line_cards\": [{\"card\": \"eth1\",\n\"ports\": 0}]}", "2: line_cards[0].ports: 0 is out of range, it must be from 1 to 255"},
    {"CardTooWide",       "{\"line_cards\": [{\"card\": \"eth1\", \"ports\": 256}]}", "1: line_cards[0].ports: 256 is out of range"},
    {"CardPortsAsText",   "{\"line_cards\": [{\"card\": \"eth1\", \"ports\": \"4\"}]}", "1: line_cards[0].ports: must be a whole number, not \"4\""},
    {"CardUnknownField",  "{\"line_cards\": [{\"card\": \"eth1\", \"ports\": 4,\n\"speed\": 10}]}", "2: line_cards[0].speed: is not a field; the fields are card, ports"},
    {"CardsInOneSlot",    "{\"line_cards\": [{\"card\": \"eth1\", \"ports\": 4},\n{\"card\": \"sat1\", \"ports\": 4}]}", "2: line_cards[1].card: slot 1 is there already, at line 1"},
    {"CardsNoList",       "{\"line_cards\": 2}",                            "1: line_cards: must be a list of line cards, not 2"},
    {"ChannelIsAPort",    "{\"port_channels\": [\"eth1/1\"]}",              "1: port_channels[0]: \"eth1/1\" is not a port-channel, po0 to po25244"},
    {"ChannelWithoutRoom", "{\"port_channels\": [\n\"po25245\"]}",         "2: port_channels[0]: \"po25245\" is not a port-channel"},
    {"ChannelTwice",      "{\"port_channels\": [\"po1\",\n\"po1\"]}",      "2: port_channels[1]: po1 is there already, at line 1"},
    {"ChannelNoText",     "{\"port_channels\": [1]}",                       "1: port_channels[0]: must be a text in quotes, not 1"},
    {"PortUnknown",       "{\"ports\": [\n{\"port\": \"eth1/1\"}]}",       "2: ports[0].port: eth1/1 is on none of the line_cards"},
    {"PortOutsideItsCard", "{\"line_cards\": [{\"card\": \"eth1\", \"ports\": 4}],\n\"ports\": [{\"port\": \"eth1/5\"}]}", "2: ports[0].port: eth1/5 is outside its card, which has 4 ports"},
    {"PortOfOtherKind",   "{\"line_cards\": [{\"card\": \"eth1\", \"ports\": 4}],\n\"ports\": [{\"port\": \"sat1/1\"}]}", "2: ports[0].port: sat1/1 is on none of the line_cards"},
    {"PortChannelUnknown", "{\"ports\": [{\"port\": \"po1\"}]}",           "1: ports[0].port: po1 is not among the port_channels"},
    {"PortIsAnSvi",       "{\"ports\": [{\"port\": \"vlan1\"}]}",         "1: ports[0].port: \"vlan1\" is not a port, like eth1/5 or po10"},
    {"PortWithoutName",   "{\"ports\": [{\"tracking\": true}]}",          "1: ports[0]: has no \"port\", the interface's name"},
    {"PortTwice",         "{\"port_channels\": [\"po1\"], \"ports\": [{\"port\": \"po1\"},\n{\"port\": \"po1\"}]}", "2: ports[1].port: port po1 is there already, at line 1"},
    {"PortBitAsText",     "{\"port_channels\": [\"po1\"], \"ports\": [{\"port\": \"po1\",\n\"l2dci\": \"on\"}]}", "2: ports[0].l2dci: must be true or false, not \"on\""},
    {"PortUnknownField",  "{\"port_channels\": [\"po1\"], \"ports\": [{\"port\": \"po1\",\n\"mtu\": 9000}]}", "2: ports[0].mtu: is not a field; the fields are tracking, l2dci"},
    {"TopologyNoKey",     "{\"topologies\": [\n{\"vni\": 1}]}",            "2: topologies[0]: has no \"bd\", the bridge domain"},
    {"TopologyOfZero",    "{\"topologies\": [{\"bd\": 0}]}",              "1: topologies[0].bd: 0 is out of range, it must be from 1 to 65535"},
    {"TopologyTwice",     "{\"topologies\": [{\"bd\": 5},\n{\"bd\": 5}]}", "2: topologies[1].bd: bridge domain 5 is there already, at line 1"},
    {"TopologyVniTooHigh", "{\"topologies\": [{\"bd\": 5,\n\"vni\": 16777216}]}", "2: topologies[0].vni: 16777216 is out of range, it must be from 0 to 16777215"},
    {"TopologyModeUnknown", "{\"topologies\": [{\"bd\": 5,\n\"suppress_arp_mode\": \"l3\"}]}", "2: topologies[0].suppress_arp_mode: \"l3\" is none of disabled, l2, l2-l3"},
    {"TopologySviUnknown", "{\"topologies\": [{\"bd\": 5,\n\"svi\": \"vlan9\"}]}", "2: topologies[0].svi: vlan9 is not among the svis"},
    {"TopologySviIsAPort", "{\"topologies\": [{\"bd\": 5,\n\"svi\": \"eth1/1\"}]}", "2: topologies[0].svi: \"eth1/1\" is not an SVI"},
    {"TopologySviShared", "{\"svis\": [{\"svi\": \"vlan9\"}], \"topologies\": [{\"bd\": 5, \"svi\": \"vlan9\"},\n{\"bd\": 6, \"svi\": \"vlan9\"}]}", "2: topologies[1].svi: vlan9 is that of bridge domain 5"},
    {"SviContradicted",   "{\"svis\": [{\"svi\": \"vlan9\",\n\"suppress_arp\": true}],\n\"topologies\": [{\"bd\": 5, \"svi\": \"vlan9\"}]}", "2: svis[0].suppress_arp: contradicts bridge domain 5, whose SVI this is"},
    {"TopologyUnknownField", "{\"topologies\": [{\"bd\": 5,\n\"mode\": \"l2\"}]}", "2: topologies[0].mode: is not a field; the fields are vni, suppress_arp_enabled, suppress_arp_mode, svi"},
    {"PrefixesOfUnknownVrf", "{\"prefixes\": [\n{\"vrf\": \"red\", \"prefixes\": []}]}", "2: prefixes[0].vrf: \"red\" is not among the vrfs"},
    {"PrefixesWithoutVrf", "{\"prefixes\": [{\"prefixes\": []}]}",          "1: prefixes[0]: has no \"vrf\", the VRF's name"},
    {"PrefixesWithoutList", "{\"prefixes\": [{\"vrf\": \"default\"}]}",     "1: prefixes[0]: has no \"prefixes\", the list of them"},
    {"PrefixesUnknownField", "{\"prefixes\": [{\"vrf\": \"default\", \"prefixes\": [],\n\"metric\": 1}]}", "2: prefixes[0].metric: is not a field; the fields are vrf, prefixes"},
    {"PrefixLengthOfV4",  "{\"prefixes\": [{\"vrf\": \"default\", \"prefixes\": [\n\"10.0.0.0/33\"]}]}", "2: prefixes[0].prefixes[0]: \"10.0.0.0/33\" has a prefix length that is not from 0 to 32"},
    {"PrefixLengthOfV6",  "{\"prefixes\": [{\"vrf\": \"default\", \"prefixes\": [\n\"fd00::/129\"]}]}", "2: prefixes[0].prefixes[0]: \"fd00::/129\" has a prefix length that is not from 0 to 128"},
    {"PrefixHostBitsOfV4", "{\"prefixes\": [{\"vrf\": \"default\", \"prefixes\": [\n\"10.1.2.3/16\"]}]}", "2: prefixes[0].prefixes[0]: \"10.1.2.3/16\" has host bits set; the prefix is 10.1.0.0/16"},
    {"PrefixHostBitsOfV6", "{\"prefixes\": [{\"vrf\": \"default\", \"prefixes\": [\n\"2001:db8:8000::/33\", \"2001:db8::1/64\"]}]}", "2: prefixes[0].prefixes[1]: \"2001:db8::1/64\" has host bits set; the prefix is 2001:db8::/64"},
    {"PrefixNotOne",      "{\"prefixes\": [{\"vrf\": \"default\", \"prefixes\": [\"ten\"]}]}", "1: prefixes[0].prefixes[0]: \"ten\" is not an address with a prefix length"},
    {"PrefixTwice",       "{\"prefixes\": [{\"vrf\": \"default\", \"prefixes\": [\"10.0.0.0/8\"]},\n{\"vrf\": \"default\", \"prefixes\": [\"10.0.0.0/8\"]}]}", "2: prefixes[1].prefixes[0]: 10.0.0.0/8 in VRF default is there already, at line 1"},
    {"PrefixNoText",      "{\"prefixes\": [{\"vrf\": \"default\", \"prefixes\": [10]}]}", "1: prefixes[0].prefixes[0]: must be a text in quotes, not 10"},
    {"CardTypeNoText",    "{\"card_type\": 8449}",                        "1: card_type: must be a text in quotes, not 8449"},
    {"CardTypeUnknown",   "{\n\"card_type\": \"0x12345\"}",               "2: card_type: \"0x12345\" is no card type: 0 to 65535, like 0x2101, or none"},
    {"RoutesNoList",      "{\"routes\": {}}",                               "1: routes: must be a list of routes, not {}"},
    {"RouteOfUnknownVrf", "{\"routes\": [\n{\"vrf\": \"red\", \"prefix\": \"10.0.0.0/8\"}]}", "2: routes[0].vrf: \"red\" is not among the vrfs"},
    {"RouteWithoutVrf",   "{\"routes\": [\n{\"prefix\": \"10.0.0.0/8\"}]}", "2: routes[0]: has no \"vrf\", the VRF's name"},
    {"RouteWithoutPrefix", "{\"routes\": [\n{\"vrf\": \"default\"}]}",     "2: routes[0]: has no \"prefix\", where the route leads"},
    {"RouteHostBits",     "{\"routes\": [{\"vrf\": \"default\",\n\"prefix\": \"10.1.2.3/16\"}]}", "2: routes[0].prefix: \"10.1.2.3/16\" has host bits set; the prefix is 10.1.0.0/16"},
    {"RouteFlagAsText",   "{\"routes\": [{\"vrf\": \"default\", \"prefix\": \"10.0.0.0/8\",\n\"conditional\": \"yes\"}]}", "2: routes[0].conditional: must be true or false, not \"yes\""},
    {"RouteUnknownField", "{\"routes\": [{\"vrf\": \"default\", \"prefix\": \"10.0.0.0/8\",\n\"metric\": 1}]}", "2: routes[0].metric: is not a field; the fields are conditional, converted"},
    {"RouteTwice",        "{\"routes\": [{\"vrf\": \"default\", \"prefix\": \"10.0.0.0/8\"},\n{\"vrf\": \"default\", \"prefix\": \"10.0.0.0/8\"}]}", "2: routes[1].prefix: route 10.0.0.0/8 in VRF default is there already, at line 1"},
    {"DescriptionNoText", "{\"description\": 1}",                           "1: description: must be a text in quotes, not 1"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Table, BadScenario, testing::ValuesIn(bad_scenarios),
                         [](const auto &row) { return std::string(row.param.what); });

TEST_F(ScenarioFile, AMobilityDomainOf127CharactersFitsAnd128DoNot)
{
    EXPECT_TRUE(mistakes_in("{\"general\": {\"mobdom\": \"" + std::string(127, 'm') + "\"}}").empty());
    const auto mistakes = mistakes_in("{\"general\": {\"mobdom\": \"" + std::string(128, 'm') + "\"}}");
    ASSERT_EQ(mistakes.size(), 1u);
    EXPECT_EQ(mistakes[0], "1: general.mobdom: is longer than 127 characters");
}

TEST_F(ScenarioFile, AllMistakesAreReportedAtOnce)
{
    EXPECT_EQ(mistakes_in("{\"general\": {\"fabric_id\": -1},\n\"svis\": [{\"svi\": \"vlan0\"}],\n\"x\": 1}")
                  .size(),
              3u);
}

// The text of each field, set in another record, gives the field again.
template <typename Record>
void expect_taken_back(std::span<const Field> fields, const Record &record, Record other)
{
    for (const Field &field : fields) {
        std::string why;
        ASSERT_TRUE(set_field(field, &other, field_text(field, &record), why)) << field.name << ": " << why;
        EXPECT_TRUE(same_field(field, &other, &record)) << field.name;
    }
}

TEST_F(ScenarioFile, TheTextsOfEveryFieldAreTakenBack)
{
    ASSERT_TRUE(load(leaf()));
    expect_taken_back(geninfo_fields(), *scenario_.general, default_geninfo());
    for (const auto &[ifindex, record] : scenario_.svis)
        expect_taken_back(svi_fields(), record, default_svi(ifindex));
    for (const auto &[bd, record] : scenario_.topologies)
        expect_taken_back(topology_fields(), record, default_topology(bd));
    for (const PortBits bits : {PortBits{0, 0}, PortBits{0, 1}, PortBits{1, 0}, PortBits{1, 1}})
        expect_taken_back(port_fields(), bits, PortBits{1, 1});
}

// ---- Interfaces ------------------------------------------------------------------------------------------

struct PortRow {
    const char *name;
    std::optional<Place> place;
};

TEST(Interface, APortHasItsPlaceInTheRecordsAsClientsComputeIt)
{
    // clang-format off
    const PortRow rows[] = {
        {"eth1/1",     Place{1, 1}},   {"eth1/255",  Place{1, 255}},   {"sat156/3", Place{156, 3}},
        {"eth1/256",   std::nullopt},  {"eth157/1",  std::nullopt},
        {"po0",        Place{157, 1}}, {"po254",     Place{157, 255}}, {"po255",    Place{158, 1}},
        {"po25244",    Place{255, 255}},
        {"po25245",    std::nullopt},  {"po65535",   std::nullopt},
    };
    // clang-format on
    for (const PortRow &row : rows) {
        std::string why;
        const std::uint32_t port = port_of_name(row.name, why);
        ASSERT_NE(port, 0u) << row.name;
        EXPECT_EQ(place_of(port) == row.place, true) << row.name;
        EXPECT_EQ(name_of_interface(port), row.name);
    }
    std::string why;
    EXPECT_EQ(place_of(svi_of_name("vlan10", why)) == std::nullopt, true);
    EXPECT_EQ(port_of_name("vlan10", why), 0u);
    EXPECT_EQ(svi_of_name("po10", why), 0u);
    EXPECT_EQ(name_of_interface(0), "none");
}

} // namespace
