// The audit: it finds what differs between a client's cache and the database, and nothing else.
#include "client_commands.h"
#include "publisher.h"
#include "real_lab.h"

#include <kov/kov_api.h>
#include <kov_host.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace
{

using namespace integration;
using namespace kov_lab;
using nlohmann::json;

// Besides the server, the test writes into the database, and tells nobody.
class AuditOf : public RealLab
{
protected:
    void change(const std::vector<Edit> &edits) const
    {
        std::string why;
        const auto publisher = Publisher::open(runtime(), false, why);
        ASSERT_NE(publisher, nullptr) << why;
        EXPECT_TRUE(publisher->change(edits, why)) << why;
    }
    static Edit undecodable(Edit edit)
    {
        edit.tlv = Bytes{1, 2, 3};
        return edit;
    }
    static std::uint32_t interface(const char *name) { return kov_host_ifindex_parse(name); }
    static kov_rdb_sviinfo_t svi(const char *name, std::uint32_t mode)
    {
        kov_rdb_sviinfo_t record = default_svi(interface(name));
        record.fwd_mode = mode;
        return record;
    }
    static Prefix prefix(const char *vrf, const char *network)
    {
        std::string why;
        return {vrf, parse_network(network, why).value()};
    }
    static Scenario leaf_scenario()
    {
        Scenario scenario;
        std::vector<std::string> mistakes;
        EXPECT_TRUE(load_scenario(leaf(), scenario, mistakes));
        return scenario;
    }
    Result audit(const std::string &client = "arp") const { return kovctl("audit -c " + client); }
    // Exit code 1, and every line that is not of the table.
    void expect_findings(const std::string &findings, const std::string &client = "arp") const
    {
        const Result result = audit(client);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, "");
        std::istringstream lines(result.out);
        std::string found;
        for (std::string line; std::getline(lines, line);) {
            const bool of_the_table = line.find("  ") != std::string::npos;
            if (!of_the_table && line.find("a fill passes over") == std::string::npos)
                found += line + "\n";
        }
        EXPECT_EQ(found, findings);
    }
};

TEST_F(AuditOf, AFreshClientFindsNoDifferenceAndSaysWhatAFillPassesOver)
{
    serve();
    client("arp");
    const Result result = audit();
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out,
              "Records               Database  Cacheable  Missing  Extra  Different  Undecodable\n"
              "general information          1          1        0      0          0            0\n"
              "SVIs                        40         27        0      0          0            0\n"
              "port tracking                4          4        0      0          0            0\n"
              "aggregate prefixes          60         60        0      0          0            0\n"
              "port L2DCI                   4          4        0      0          0            0\n"
              "topologies                  30         30        0      0          0            0\n"
              "SVIs: a fill passes over 6: forwards as Conditional Proxy Gateway, a mode that is not cached\n"
              "SVIs: a fill passes over 7: forwards as Standard, a mode that is not cached\n"
              "no difference\n");
}

TEST_F(AuditOf, ReadsTheDatabaseOnceAndAsksTheCacheForTheRest)
{
    serve();
    client("arp");
    const int before = std::stoi(status("database reads", "arp"));
    audit();
    EXPECT_EQ(std::stoi(status("database reads", "arp")) - before, 140) << "one walk over 139 records";
}

TEST_F(AuditOf, ARecordThatTheClientWasNotToldOfIsMissing)
{
    serve();
    client("arp");
    Scenario state = leaf_scenario();
    kov_rdb_l2rib_topo_info_t topology = default_topology(4094);
    topology.suppress_arp_mode = KOV_SUPPRESS_ARP_L2;
    SlotPorts channels = state.slot_with({}, interface("po5000"), true);
    change({put(svi("vlan999", KOV_FWD_MODE_ANYCAST_GATEWAY)), put(svi("vlan998", KOV_FWD_MODE_STANDARD)),
            put_tracking(176, channels), put_l2dci(176, channels), put(topology)});
    expect_findings("SVIs: vlan999 is missing in the cache\n"
                    "port tracking: slot 176 is missing in the cache\n"
                    "port L2DCI: slot 176 is missing in the cache\n"
                    "topologies: bridge domain 4094 is missing in the cache\n"
                    "4 records differ\n");
}

TEST_F(AuditOf, ARecordThatIsGoneFromTheDatabaseIsExtra)
{
    serve();
    client("arp");
    change({erase_general(), erase_svi(interface("vlan10")),
            put(svi("vlan11", KOV_FWD_MODE_CONDITIONAL_PROXY_GATEWAY)), put_tracking(1, {}),
            put_l2dci(157, {}), erase_topology(14), erase_topology(10)});
    const std::string end = " is in the cache, and the database has nothing to cache there\n";
    expect_findings("general information: the record" + end + "SVIs: vlan11" + end + "SVIs: vlan10" + end +
                    "port tracking: slot 1" + end + "port L2DCI: slot 157" + end +
                    "topologies: bridge domain 14" + end + "6 records differ\n");
}

TEST_F(AuditOf, AChangedFieldIsDifferent)
{
    serve();
    client("arp");
    Scenario state = leaf_scenario();
    kov_rdb_geninfo_t general = *state.general;
    general.fabric_id = 8;
    general.router_mac[5] = 0x56;
    general.geninfo_word11 = 1; // no query shows it
    kov_rdb_sviinfo_t changed = state.svis.at(interface("vlan12"));
    changed.vlan_id = 1012;
    changed.fwd_mode = KOV_FWD_MODE_PROXY_GATEWAY;
    changed.suppress_arp = 1;
    changed.migration_enabled = 0;
    changed.is_up = 0; // nor this
    kov_rdb_sviinfo_t control = state.svis.at(interface("vlan3900"));
    control.v4_prefix.addr = 0xc0000202;
    control.v6_prefix.addr[15] = 2;
    control.gw_mac[5] = 0xab;
    kov_rdb_l2rib_topo_info_t topology = state.topologies.at(14);
    topology.suppress_arp_mode = KOV_SUPPRESS_ARP_L2_L3;
    change({put(general), put(changed), put(control),
            put_tracking(2, state.slot_with(state.tracking, interface("eth2/1"), false)),
            put_l2dci(157, state.slot_with(state.l2dci, interface("po1"), true)), put(topology)});
    expect_findings(
        "general information: the record: fabric_id is 7 in the cache and 8 in the database\n"
        "general information: the record: router_mac is 0011.2233.4455 in the cache and 0011.2233.4456 in "
        "the "
        "database\n"
        "SVIs: vlan12: vlan_id is 12 in the cache and 1012 in the database\n"
        "SVIs: vlan12: fwd_mode is anycast-gateway in the cache and proxy-gateway in the database\n"
        "SVIs: vlan12: migration_enabled is yes in the cache and no in the database\n"
        "SVIs: vlan12: suppress_arp is no in the cache and yes in the database\n"
        "SVIs: the whole record of vlan3900: v4_prefix is 192.0.2.1/24 in the cache and 192.0.2.2/24 in the "
        "database\n"
        "SVIs: the whole record of vlan3900: v6_prefix is 2001:db8:f::1/64 in the cache and 2001:db8:f::2/64 "
        "in "
        "the database\n"
        "SVIs: the whole record of vlan3900: gw_mac is 2020.0000.00aa in the cache and 2020.0000.00ab in the "
        "database\n"
        "port tracking: slot 2: eth2/1 is on in the cache and off in the database\n"
        "port L2DCI: slot 157: po1 is off in the cache and on in the database\n"
        "topologies: bridge domain 14: suppress_arp_mode is l2 in the cache and l2-l3 in the database\n"
        "6 records differ\n");
}

TEST_F(AuditOf, ARecordThatCannotBeDecodedIsTold)
{
    serve();
    client("arp");
    kov_rdb_sviinfo_t other = svi("vlan77", KOV_FWD_MODE_STANDARD);
    Edit misplaced = put(other);
    misplaced.key.of.number = interface("vlan78");
    Edit prefix = put(Prefix{"red", {}});
    prefix.key.family = 2;
    change({undecodable(put(svi("vlan10", 2))), undecodable(put_tracking(1, leaf_scenario().tracking.at(1))),
            undecodable(put_l2dci(9, leaf_scenario().l2dci.at(1))), undecodable(put(default_topology(14))),
            undecodable(put(*leaf_scenario().general)), undecodable(put(*leaf_scenario().prefixes.begin())),
            misplaced, prefix});
    expect_findings("general information: the record cannot be decoded: its bytes are no record (code 74)\n"
                    "SVIs: vlan10 cannot be decoded: its bytes are no record (code 74)\n"
                    "SVIs: vlan78 cannot be decoded: its record is that of another key\n"
                    "port tracking: slot 1 cannot be decoded: its bytes are no record (code 74)\n"
                    "aggregate prefixes: 172.16.0.0/12 in VRF default cannot be decoded: its bytes are no "
                    "record (code 74)\n"
                    "aggregate prefixes: a prefix in VRF red cannot be decoded: its family is 2\n"
                    "port L2DCI: slot 9 cannot be decoded: its bytes are no record (code 74)\n"
                    "topologies: bridge domain 14 cannot be decoded: its bytes are no record (code 74)\n"
                    "8 records differ\n");
}

TEST_F(AuditOf, TheControlSegmentsWholeRecordIsMissingOrExtraByItself)
{
    serve();
    client("arp");
    kov_rdb_sviinfo_t control = leaf_scenario().svis.at(interface("vlan3900"));
    control.vaddr_bound = 0;
    change({put(control)});
    expect_findings(
        "SVIs: the whole record of vlan3900 is in the cache, and the database has nothing to cache there\n"
        "1 record differs\n");
    ask("set svi vlan3900 vaddr_bound=no");
    handled("arp", 1);
    control.vaddr_bound = 1;
    change({put(control)});
    expect_findings(
        "general information: the record: fabric_ctrl_svi is none in the cache and vlan3900 in the database\n"
        "1 record differs\n");
}

TEST_F(AuditOf, APrefixIsFoundMissingUnlessAnotherHoldsIt)
{
    serve();
    client("arp");
    change({put(prefix("red", "10.8.0.0/16")), put(prefix("red", "2001:db8:8::/48")),
            put(prefix("production", "10.1.200.0/24"))}); // in production's 10.1.0.0/16
    expect_findings("aggregate prefixes: 10.8.0.0/16 in VRF red is missing in the cache\n"
                    "aggregate prefixes: 2001:db8:8::/48 in VRF red is missing in the cache\n"
                    "2 records differ\n");
}

TEST_F(AuditOf, APrefixThatIsGoneIsFoundAroundAndBesideOthersAndWhereAnSviHasItsSubnet)
{
    serve();
    client("arp");
    ask("set prefix guest 10.3.0.0/16");
    handled("arp", 1);
    change({erase(prefix("guest", "10.2.0.0/16")),       // holds others
            erase(prefix("production", "10.1.0.0/16")),  // holds the subnets of SVIs
            erase(prefix("default", "192.0.2.128/25")),  // is held by another, and not seen
            erase(prefix("default", "2001:db8:d::/48")), // stands beside no other
            erase(prefix("guest", "10.3.0.0/16"))});     // stands beside none now
    const std::string end = " is in the cache, and the database has nothing to cache there\n";
    expect_findings("aggregate prefixes: 10.2.0.0/16 in VRF guest" + end +
                    "aggregate prefixes: 10.1.0.0/16 in VRF production" + end + "2 records differ\n");
    change({put(prefix("guest", "10.2.0.0/16")), erase(prefix("production", "2001:db8:1::/48")),
            erase(prefix("production", "10.1.25.0/24"))});
    expect_findings("aggregate prefixes: 10.3.0.0/16 in VRF guest" + end + // beside the one that is back
                    "aggregate prefixes: 10.1.0.0/16 in VRF production" + end +
                    "aggregate prefixes: 2001:db8:1::/48 in VRF production" + end + "3 records differ\n");
}

TEST_F(AuditOf, AGeneralRecordThatTheClientWasNotToldOfIsMissing)
{
    serve(write("empty.json", "{}"));
    client("arp");
    EXPECT_EQ(audit().status, 0);
    kov_rdb_geninfo_t general = default_geninfo();
    general.fabric_id = 3;
    change({put(general)});
    expect_findings("general information: the record is missing in the cache\n1 record differs\n");
}

TEST_F(AuditOf, AClientOfFewTypesComparesWhatItCaches)
{
    serve();
    client("modes", "18");
    client("segment", "11");
    EXPECT_EQ(
        audit("modes").out.substr(0, audit("modes").out.find("SVIs: ")),
        "Records               Database  Cacheable  Missing  Extra  Different  Undecodable\n"
        "general information          1  not compared: the client did not register for types 4 to 7, 11, 13, "
        "14, 16 or 17\n"
        "SVIs                        40         27        0      0          0            0\n"
        "port tracking                4  not compared: the client did not register for type 10\n"
        "aggregate prefixes          60  not compared: the client did not register for type 8\n"
        "port L2DCI                   4  not compared: the client did not register for type 20\n"
        "topologies                  30  not compared: the client did not register for type 19\n");
    const std::string segment = audit("segment").out;
    EXPECT_NE(
        segment.find("general information          1  not compared: the library answers from the database\n"),
        std::string::npos)
        << segment;
    EXPECT_NE(segment.find(
                  "SVIs                        40  not compared: the client did not register for type 9 or "
                  "18, and no other shows cached SVIs\n"),
              std::string::npos)
        << segment;
}

TEST_F(AuditOf, TheJsonSaysTheSame)
{
    serve();
    client("arp");
    client("modes", "9");
    change({erase_svi(interface("vlan10")), put(svi("vlan999", 2)), put(svi("vlan11", 1)),
            undecodable(put(svi("vlan12", 2)))});
    const Result result = kovctl("audit --json -c arp");
    EXPECT_EQ(result.status, 1);
    const json report = json::parse(result.out);
    EXPECT_EQ(report["differences"], 4);
    ASSERT_EQ(report["records"].size(), 6u);
    const json &svis = report["records"][1];
    EXPECT_EQ(svis["name"], "SVIs");
    EXPECT_EQ(svis["compared"], true);
    EXPECT_EQ(svis["database"], 40);
    EXPECT_EQ(svis["cacheable"], 26);
    EXPECT_EQ(svis["missing"], json({"vlan999"}));
    EXPECT_EQ(svis["extra"], json({"vlan10"}));
    EXPECT_EQ(svis["undecodable"][0]["record"], "vlan12");
    EXPECT_EQ(svis["different"][0]["record"], "vlan11");
    EXPECT_EQ(svis["different"][0]["fields"][0],
              json({{"field", "fwd_mode"}, {"cache", "anycast-gateway"}, {"database", "proxy-gateway"}}));
    EXPECT_EQ(svis["passed_over"].size(), 13u);
    EXPECT_EQ(svis["passed_over"][0]["record"], "vlan26");
    EXPECT_EQ(svis["unseen"], json({"is_up", "vrf_name", "is_fabric_ctrl_seg", "svi_word10", "vaddr_bound"}));
    const Result few = kovctl("audit --json -c modes");
    const json prefixes = json::parse(few.out)["records"][3];
    EXPECT_EQ(prefixes["compared"], false);
    EXPECT_EQ(prefixes["why_not"], "the client did not register for type 8");
}

TEST_F(AuditOf, AProcessThatNeverRegisteredIsACallAndFindsNothingCached)
{
    serve();
    ASSERT_EQ(kov_host_attach_tool(runtime().c_str()), 0) << kov_host_error();
    const char *text = "";
    EXPECT_EQ(kov_lab_audit(0, &text), 0);
    const std::string table = text;
    EXPECT_NE(table.find("SVIs                        40  not compared: the client is not registered, and "
                         "caches nothing\n"),
              std::string::npos)
        << table;
    EXPECT_TRUE(table.ends_with("no difference in what can be compared\n"));
    EXPECT_EQ(kov_lab_audit(1, &text), 0);
    EXPECT_EQ(json::parse(text)["records"][5]["database"], 30);
    kov_api_close();
    kov_host_detach();
    EXPECT_EQ(kov_lab_audit(0, &text), 2);
    EXPECT_TRUE(std::string(text).starts_with("the database cannot be read: ")) << text;
}

TEST_F(AuditOf, IsRefusedWithoutAClientAndWithStrayWords)
{
    serve();
    client("arp");
    EXPECT_EQ(kovctl("audit").status, 2);
    EXPECT_EQ(kovctl("audit").err, "kovctl: audit needs -c NAME: a cache is that of a client process\n");
    EXPECT_EQ(kovctl("audit -c nobody").status, 3);
    const Result stray =
        run({"/bin/sh", "-c", "echo audit everything | " + std::string(KOV_BIN_DIR) + "/kovctl -c arp"},
            {{"KOV_HOST_DIR", runtime()}});
    EXPECT_EQ(stray.status, 2);
    EXPECT_EQ(stray.err, "usage: audit\n");
}

} // namespace
