// What the operator changes: each kind of record, who is told by which message, and what a client then
// answers.
#include "real_lab.h"

namespace
{

using namespace integration;

class Change : public RealLab
{
};

TEST_F(Change, AClientSeesAChangeThroughItsMessageAndItsCache)
{
    serve();
    Process &arp = client("arp");
    EXPECT_EQ(ask("set svi vlan10 fwd_mode=proxy-gateway"),
              "vlan10: fwd_mode anycast-gateway -> proxy-gateway; told 1 client by type 9 (svi)\n");
    handled("arp", 1);
    EXPECT_TRUE(arp.says("type 9, SVI forwarding mode: vlan10\n  vlan10 forwards as Proxy Gateway\n"));
    EXPECT_EQ(ask("-c arp get fwd-mode vlan10"), "kov_get_fwd_mode(vlan10) = Proxy Gateway, from cache\n");

    EXPECT_EQ(ask("set geninfo fabric_id=42"),
              "general information: fabric_id 7 -> 42; told 1 client by type 4 (fabric-id)\n");
    handled("arp", 2);
    EXPECT_TRUE(arp.says("type 4, fabric id: 42\n  fabric 42, border leaf switch, Vxlan"));
    EXPECT_EQ(ask("-c arp get fabric-id"), "kov_get_fabric_id() = 42, from cache\n");
}

TEST_F(Change, AClientSeesAPortsBitsChangeThroughItsCache)
{
    serve();
    Process &arp = client("arp");
    EXPECT_EQ(ask("-c arp get proxy-mode vlan22 eth1/5"),
              "kov_check_proxy_mode(vlan22, eth1/5) = 1, from cache\n");
    EXPECT_EQ(ask("set port eth1/5 tracking=on l2dci=on"),
              "eth1/5: tracking off -> on, l2dci off -> on; told 1 client by type 10,20 "
              "(port-tracking,port-l2dci)\n");
    handled("arp", 2);
    EXPECT_TRUE(arp.says("type 10, port tracking: eth1/5\n  eth1/5: tracking on, L2DCI "));
    EXPECT_TRUE(arp.says("type 20, port L2DCI: eth1/5\n  eth1/5: tracking on, L2DCI on\n"));
    EXPECT_EQ(ask("-c arp get port-tracking eth1/5"), "kov_get_port_tracking(eth1/5) = on, from cache\n");
    EXPECT_EQ(ask("-c arp get proxy-mode vlan22 eth1/5"),
              "kov_check_proxy_mode(vlan22, eth1/5) = 3, from cache\n");
    EXPECT_EQ(ask("del port po10"), "po10 deleted; told 1 client by type 20 (port-l2dci)\n");
    handled("arp", 3);
    EXPECT_EQ(ask("-c arp get port-l2dci po10"), "kov_get_port_l2dci(po10) = off, from cache\n")
        << "the slot has no record any more";
    EXPECT_EQ(ask("-c arp get port-l2dci po300"), "kov_get_port_l2dci(po300) = on, from cache\n");
}

TEST_F(Change, AClientSeesAnSvisSuppressionChangeThroughItsTopology)
{
    serve();
    Process &arp = client("arp");
    EXPECT_EQ(ask("-c arp get suppress-arp vlan11"),
              "kov_is_suppress_arp_enabled_ferro_svi(vlan11) = off, from cache\n");
    ask("set topology 11 suppress_arp_mode=l2");
    handled("arp", 1);
    EXPECT_TRUE(arp.says("bridge domain 11, SVI vlan11\n  bridge domain 11: L2 ARP Suppression\n"));
    EXPECT_EQ(ask("-c arp get suppress-arp vlan11"),
              "kov_is_suppress_arp_enabled_ferro_svi(vlan11) = on, from cache\n");
    EXPECT_EQ(ask("-c arp get suppress-arp-mode 11"),
              "kov_get_suppress_arp_mode(11) = L2 ARP Suppression, from cache\n");
    ask("set topology 11 svi=vlan3900");
    handled("arp", 3);
    EXPECT_EQ(ask("-c arp get suppress-arp vlan11"),
              "kov_is_suppress_arp_enabled_ferro_svi(vlan11) = off, from cache\n")
        << "an SVI that lost its topology is told as an SVI";
    ask("del topology 14");
    handled("arp", 4);
    EXPECT_EQ(ask("-c arp get suppress-arp-mode 14"),
              "kov_get_suppress_arp_mode(14) = ARP Suppression Disabled, from cache\n");
    EXPECT_EQ(ask("-c arp get suppress-arp vlan14"),
              "kov_is_suppress_arp_enabled_ferro_svi(vlan14) = off, from cache\n");
}

TEST_F(Change, AVrfIsInAClientsCacheAsLongAsOneOfItsPrefixesIs)
{
    serve();
    client("arp");
    const auto traces = start("kovctl", {"-c", "arp", "debug", "on"});
    ASSERT_TRUE(traces->says("Ctrl-C ends"));
    EXPECT_EQ(ask("-c arp get rt-conditional red 10.9.1.0/24"),
              "kov_is_rt_conditional(red, 10.9.1.0/24) = no, from cache\n");
    ask("set prefix red 10.9.0.0/16");
    EXPECT_TRUE(traces->says(": VRF context red is added in cache\n"));
    EXPECT_EQ(ask("-c arp get rt-conditional red 10.9.1.0/24"),
              "kov_is_rt_conditional(red, 10.9.1.0/24) = yes, from cache\n");
    ask("set prefix red 2001:db8:9::/48");
    EXPECT_TRUE(traces->says(": (red) Added 2001:db8:9::/48 aggregate-subnet-pfx to Cache\n"));
    ask("del prefix red 10.9.0.0/16");
    EXPECT_TRUE(traces->says(": (red) refcount: 1\n")) << "the other prefix is still there";
    ask("del prefix red 2001:db8:9::/48");
    EXPECT_TRUE(traces->says(": VRF context red is deleted from cache\n"));
    EXPECT_EQ(traces->stop().status, 0);
    EXPECT_EQ(ask("-c arp get rt-conditional red 2001:db8:9:1::/64"),
              "kov_is_rt_conditional(red, 2001:db8:9:1::/64) = no, from cache\n");
    const std::string told = traces->stop().out;
    EXPECT_LT(told.find("(red) refcount: 1"), told.find("VRF context red is deleted"));
    handled("arp", 4);
}

TEST_F(Change, ARemovedRecordGivesTheDefaults)
{
    serve();
    client("arp");
    EXPECT_EQ(ask("del svi vlan10"), "vlan10 deleted; told 1 client by type 9 (svi)\n");
    handled("arp", 1);
    EXPECT_EQ(ask("-c arp get fwd-mode vlan10"), "kov_get_fwd_mode(vlan10) = Standard, from cache\n");
    EXPECT_EQ(ask("get fwd-mode vlan10"), "kov_get_fwd_mode(vlan10) = Standard, from database (1 read)\n");

    EXPECT_EQ(ask("del geninfo"),
              "general information deleted; told 1 client by type 4-7,11,13,16 "
              "(fabric-id,conv-learning,switch-role,anycast-gw-mac,fabric-ctrl-seg,conv-aging,fwd-encap)\n");
    handled("arp", 8);
    EXPECT_EQ(ask("-c arp get switch-role"), "kov_get_switch_role() = leaf, from cache\n");
    EXPECT_EQ(ask("-c arp get conv-aging-timeout ipv6"),
              "kov_get_conv_aging_timeout(IPv6) = 1800 s, from cache\n");
    EXPECT_EQ(ask("get mobdom"), "kov_get_global_mobdom(out) = no record, from database (1 read)\n");
    EXPECT_EQ(kovctl("del geninfo").status, 1);
    EXPECT_TRUE(kovctl("del svi vlan10").err.starts_with("there is no vlan10; "));
}

TEST_F(Change, ARecordComesIntoBeingWhenItIsSet)
{
    serve(write("empty.json", "{}"));
    client("arp");
    EXPECT_EQ(ask("get fabric-id"), "kov_get_fabric_id() = 0, from database (1 read)\n");
    EXPECT_EQ(ask("set geninfo fabric_id=9"),
              "general information created: fabric_id 0 -> 9; told 1 client by type 4 (fabric-id)\n");
    EXPECT_EQ(ask("set svi bdi100 fwd_mode=anycast-gateway is_up=yes"),
              "bdi100 created: is_up no -> yes, fwd_mode standard -> anycast-gateway; told 1 client by type "
              "9 (svi)\n");
    handled("arp", 2);
    EXPECT_EQ(ask("-c arp get fabric-id"), "kov_get_fabric_id() = 9, from cache\n");
    EXPECT_EQ(ask("-c arp get fwd-mode bdi100"), "kov_get_fwd_mode(bdi100) = Anycast Gateway, from cache\n");
}

// ---- Which message --------------------------------------------------------------------------------------

struct Told {
    const char *line;
    const char *message;
};

TEST_F(Change, WatchShowsTheMessageOfEachChange)
{
    // clang-format off
    const Told changes[] = {
        {"set geninfo fabric_id=8",                     "type 4, fabric id: 8"},
        {"set geninfo conv_learning=no",                "type 5, conversational learning: off"},
        {"set geninfo switch_role=leaf",                "type 6, switch role: leaf"},
        {"set geninfo switch_role=spine as=17",         "type 17, switch role change: spine, was leaf"},
        {"set geninfo anycast_gw_mac=0000.0000.0001",   "type 7, anycast gateway MAC: 0000.0000.0001"},
        {"set geninfo urib_conv_aging_timeout=5",       "type 13, conversational aging timeout: IPv4 5 s"},
        {"set geninfo u6rib_conv_aging_timeout=6",      "type 13, conversational aging timeout: IPv6 6 s"},
        {"set geninfo ferro_migration=yes",             "type 14, fabric migration: on"},
        {"set geninfo fwd_encap=fabric",                "type 16, forwarding encapsulation: Fabric"},
        {"set geninfo mobdom=east",                     "type 4, fabric id: 8"},
        {"set svi vlan10 fwd_mode=standard",            "type 9, SVI forwarding mode: vlan10"},
        {"set svi vlan10 fwd_mode=proxy-gateway as=18", "type 18, SVI forwarding mode change: vlan10 to Proxy Gateway"},
        {"set svi vlan10 migration_enabled=yes",        "type 15, SVI migration: vlan10"},
        {"set svi vlan3900 vaddr_bound=no",             "type 11, fabric control segment: vlan3900 (VLAN 3900), 192.0.2.1, 2001:db8:f::1, gateway MAC 2020.0000.00aa"},
        {"del svi vlan10",                              "type 9, SVI forwarding mode: vlan10"},
        {"set port eth1/5 tracking=on",                 "type 10, port tracking: eth1/5"},
        {"set port po2 l2dci=on",                       "type 20, port L2DCI: po2"},
        {"del port po2",                                "type 20, port L2DCI: po2"},
        {"set topology 11 suppress_arp_mode=l2",        "type 19, suppress-ARP topology: bridge domain 11, SVI vlan11"},
        {"set topology 400 vni=10400",                  "type 19, suppress-ARP topology: bridge domain 400, SVI -"},
        {"del topology 11",                             "type 19, suppress-ARP topology: bridge domain 11, SVI vlan11"},
        {"set prefix red 10.9.0.0/16",                  "type 8, aggregate subnet prefix: 10.9.0.0/16 in VRF red"},
        {"set prefix red 2001:db8:9::/48",              "type 8, aggregate subnet prefix: 2001:db8:9::/48 in VRF red"},
        {"del prefix red 10.9.0.0/16",                  "type 8, aggregate subnet prefix: 10.9.0.0/16 in VRF red"},
    };
    // clang-format on
    serve();
    const auto watch = start("kovctl", {"watch", "--count", std::to_string(std::size(changes))});
    ASSERT_TRUE(watch->says("watching; Ctrl-C ends\n"));
    std::string expected = "watching; Ctrl-C ends\n";
    for (const Told &change : changes) {
        ask(change.line);
        expected += change.message + std::string("\n");
    }
    EXPECT_EQ(watch->finish().status, 0);
    EXPECT_EQ(watch->finish().out, expected);
    EXPECT_EQ(status("clients"), "0");
}

struct Announced {
    const char *line;
    const char *message; // as watch shows it
    const char *query;
    const char *before;
    const char *now;
};

TEST_F(Change, EachTypeOfMessageIsSentReceivedToldAndChangesAnAnswer)
{
    // clang-format off
    const Announced rows[] = {
        {"set geninfo fabric_id=8 as=4", "type 4, fabric id: 8",
         "fabric-id", "kov_get_fabric_id() = 7", "kov_get_fabric_id() = 8"},
        {"set geninfo conv_learning=no as=5", "type 5, conversational learning: off",
         "conditional-route", "kov_check_conditional_route() = conversational learning on", "kov_check_conditional_route() = conversational learning off"},
        {"set geninfo switch_role=leaf as=6", "type 6, switch role: leaf",
         "switch-role", "kov_get_switch_role() = border leaf", "kov_get_switch_role() = leaf"},
        {"set geninfo anycast_gw_mac=0000.0000.0001 as=7", "type 7, anycast gateway MAC: 0000.0000.0001",
         "anycast-gateway-mac", "kov_get_anycast_gateway_mac() = 2020.0000.00aa", "kov_get_anycast_gateway_mac() = 0000.0000.0001"},
        {"set prefix red 10.9.0.0/16", "type 8, aggregate subnet prefix: 10.9.0.0/16 in VRF red",
         "rt-conditional red 10.9.1.0/24", "kov_is_rt_conditional(red, 10.9.1.0/24) = no", "kov_is_rt_conditional(red, 10.9.1.0/24) = yes"},
        {"set svi vlan10 fwd_mode=standard as=9", "type 9, SVI forwarding mode: vlan10",
         "fwd-mode vlan10", "kov_get_fwd_mode(vlan10) = Anycast Gateway", "kov_get_fwd_mode(vlan10) = Standard"},
        {"set port eth1/5 tracking=on as=10", "type 10, port tracking: eth1/5",
         "port-tracking eth1/5", "kov_get_port_tracking(eth1/5) = off", "kov_get_port_tracking(eth1/5) = on"},
        {"set svi vlan3900 v4_prefix=192.0.2.9/24 as=11", "type 11, fabric control segment: vlan3900 (VLAN 3900), 192.0.2.9, 2001:db8:f::1, gateway MAC 2020.0000.00aa",
         "fabric-ctrl-seg-info", "kov_get_fabric_ctrl_seg_info() = vlan3900 (VLAN 3900), 192.0.2.1, 2001:db8:f::1, gateway MAC 2020.0000.00aa",
         "kov_get_fabric_ctrl_seg_info() = vlan3900 (VLAN 3900), 192.0.2.9, 2001:db8:f::1, gateway MAC 2020.0000.00aa"},
        {"set geninfo urib_conv_aging_timeout=5 as=13", "type 13, conversational aging timeout: IPv4 5 s",
         "conv-aging-timeout ipv4", "kov_get_conv_aging_timeout(IPv4) = 1200 s", "kov_get_conv_aging_timeout(IPv4) = 5 s"},
        {"set geninfo ferro_migration=yes as=14", "type 14, fabric migration: on",
         "ferro-migration", "kov_check_ferro_migration(0) = not migrating", "kov_check_ferro_migration(0) = migrating, anycast gateway MAC 0000.0000.0001"},
        {"set svi vlan11 migration_enabled=yes as=15", "type 15, SVI migration: vlan11",
         "ferro-migration vlan11", "kov_check_ferro_migration(vlan11) = not migrating", "kov_check_ferro_migration(vlan11) = migrating, anycast gateway MAC 0000.0000.0001"},
        {"set geninfo fwd_encap=fabric as=16", "type 16, forwarding encapsulation: Fabric",
         "fwd-encap", "kov_get_fwd_encap_type(mac) = Vxlan, router MAC 0011.2233.4455", "kov_get_fwd_encap_type(mac) = Fabric, router MAC 0011.2233.4455"},
        {"set geninfo switch_role=spine as=17", "type 17, switch role change: spine, was leaf",
         "switch-role", "kov_get_switch_role() = leaf", "kov_get_switch_role() = spine"},
        {"set svi vlan10 fwd_mode=proxy-gateway as=18", "type 18, SVI forwarding mode change: vlan10 to Proxy Gateway",
         "fwd-mode vlan10", "kov_get_fwd_mode(vlan10) = Standard", "kov_get_fwd_mode(vlan10) = Proxy Gateway"},
        {"set topology 11 suppress_arp_mode=l2 as=19", "type 19, suppress-ARP topology: bridge domain 11, SVI vlan11",
         "suppress-arp-mode 11", "kov_get_suppress_arp_mode(11) = ARP Suppression Disabled", "kov_get_suppress_arp_mode(11) = L2 ARP Suppression"},
        {"set port po2 l2dci=on as=20", "type 20, port L2DCI: po2",
         "port-l2dci po2", "kov_get_port_l2dci(po2) = off", "kov_get_port_l2dci(po2) = on"},
    };
    // clang-format on
    serve();
    Process &arp = client("arp");
    const auto watch = start("kovctl", {"watch"});
    ASSERT_TRUE(watch->says("watching; Ctrl-C ends\n"));
    int messages = 0;
    for (const Announced &row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(ask(std::string("-c arp get ") + row.query), std::string(row.before) + ", from cache\n");
        ask(row.line);
        handled("arp", ++messages);
        EXPECT_EQ(ask(std::string("-c arp get ") + row.query), std::string(row.now) + ", from cache\n");
        EXPECT_TRUE(arp.says(std::string(row.message) + "\n")) << "to the client";
        EXPECT_TRUE(watch->says(std::string("\n") + row.message + "\n")) << watch->output();
        EXPECT_TRUE(watch->says(std::string("(arp): ") + row.message + "\n")) << "told to the client";
    }
    EXPECT_EQ(watch->stop().status, 0);
}

TEST_F(Change, AClientOfOneTypeIsToldByThatType)
{
    serve();
    client("only18", "18");
    client("only17", "17");
    client("only4", "4");
    EXPECT_EQ(ask("set svi vlan10 fwd_mode=proxy-gateway"),
              "vlan10: fwd_mode anycast-gateway -> proxy-gateway; told 1 client by type 18 (svi-change)\n");
    EXPECT_EQ(ask("set geninfo switch_role=leaf"), "general information: switch_role leaf+border -> leaf; "
                                                   "told 1 client by type 17 (switch-role-change)\n");
    handled("only18", 1);
    handled("only17", 1);
    EXPECT_EQ(ask("-c only18 get fwd-mode vlan10"), "kov_get_fwd_mode(vlan10) = Proxy Gateway, from cache\n");
    EXPECT_EQ(ask("-c only17 get switch-role"), "kov_get_switch_role() = leaf, from cache\n");
    EXPECT_EQ(ask("-c only17 get fabric-id"), "kov_get_fabric_id() = 7, from database (1 read)\n");
    EXPECT_EQ(status("handled", "only4"), "0");
}

TEST_F(Change, NothingIsToldWhenNothingChanged)
{
    serve();
    client("arp");
    EXPECT_EQ(ask("set svi vlan10 fwd_mode=anycast-gateway"), "vlan10: nothing changed\n");
    EXPECT_EQ(ask("set geninfo fabric_id=7"), "general information: nothing changed\n");
    EXPECT_EQ(ask("set svi vlan10 as=9"), "vlan10: nothing changed; told 1 client by type 9 (svi)\n");
    EXPECT_EQ(ask("set port eth1/1 tracking=on"), "eth1/1: nothing changed\n");
    EXPECT_EQ(ask("set port eth1/1 tracking=on as=10"),
              "eth1/1: nothing changed; told 1 client by type 10 (port-tracking)\n");
    EXPECT_EQ(ask("set topology 14 suppress_arp_mode=l2"), "topology 14: nothing changed\n");
    EXPECT_EQ(ask("set topology 14 as=19"),
              "topology 14: nothing changed; told 1 client by type 19 (topology)\n");
    EXPECT_EQ(ask("set prefix guest 10.2.0.0/16"), "10.2.0.0/16 in VRF guest: nothing changed\n");
}

TEST_F(Change, ATopologyTakesItsSviAlongInOneChange)
{
    serve();
    client("both", "9,19");
    client("modes", "9");
    EXPECT_EQ(ask("set topology 11 suppress_arp_mode=l2"),
              "topology 11: suppress_arp_enabled no -> yes, suppress_arp_mode disabled -> l2; "
              "vlan11: suppress_arp no -> yes; told 2 clients by type 9,19 (svi,topology)\n");
    handled("modes", 1);
    handled("both", 1);
    EXPECT_NE(ask("show svi vlan11").find("suppress_arp               yes\n"), std::string::npos);
    EXPECT_EQ(ask("set topology 11 suppress_arp_enabled=no"),
              "topology 11: suppress_arp_enabled yes -> no; vlan11: suppress_arp yes -> no; "
              "told 2 clients by type 9,19 (svi,topology)\n");
    EXPECT_EQ(ask("set topology 11 suppress_arp_enabled=yes suppress_arp_mode=l2-l3 svi=vlan3900"),
              "topology 11: suppress_arp_enabled no -> yes, suppress_arp_mode l2 -> l2-l3, "
              "svi vlan11 -> vlan3900; vlan3900: suppress_arp no -> yes; told 2 clients by type 9,19 "
              "(svi,topology)\n");
    EXPECT_EQ(ask("set topology 11 svi=none"),
              "topology 11: svi vlan3900 -> none; vlan3900: suppress_arp yes -> no; "
              "told 2 clients by type 9,19 (svi,topology)\n");
    EXPECT_EQ(
        ask("del topology 14"),
        "topology 14 deleted; vlan14: suppress_arp yes -> no; told 2 clients by type 9,19 (svi,topology)\n");
    EXPECT_EQ(ask("del topology 10"), "topology 10 deleted; told 1 client by type 19 (topology)\n");
    handled("both", 6);
    handled("modes", 5);
    EXPECT_EQ(status("handled", "both"), "6") << "type 19 alone, when it names the SVI";
}

TEST_F(Change, AnSviThatComesLaterHasTheSuppressionOfItsTopology)
{
    serve(write("bare.json", R"({"topologies": [{"bd": 5, "suppress_arp_mode": "l2"}]})"));
    EXPECT_EQ(ask("set topology 5 svi=vlan5"), "topology 5: svi none -> vlan5; no client wants to know\n");
    EXPECT_EQ(ask("set svi vlan5 is_up=yes"), "vlan5 created: is_up no -> yes; no client wants to know\n");
    EXPECT_NE(ask("show svi vlan5").find("suppress_arp               yes\n"), std::string::npos);
}

} // namespace
