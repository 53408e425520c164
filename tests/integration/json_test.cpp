// What programs read: every command that prints data, with --json.
#include "real_lab.h"

#include <nlohmann/json.hpp>

#include <sstream>

namespace
{

using namespace integration;
using nlohmann::json;

class JsonOf : public RealLab
{
protected:
    // kovctl's answer: one JSON value, and nothing else.
    json answer(const std::string &line, int status = 0) const
    {
        const Result result = kovctl(line + " --json");
        EXPECT_EQ(result.status, status) << line << "\n" << result.out << result.err;
        EXPECT_EQ(result.err, "") << line;
        const json value = json::parse(result.out, nullptr, false);
        EXPECT_TRUE(value.is_object()) << line << "\n" << result.out;
        return value.is_object() ? value : json::object();
    }
};

TEST_F(JsonOf, TheServersListsHasAnObjectForEachRecord)
{
    serve();
    Process &arp = client("arp", "svi,topology");
    const json svis = answer("list svis")["svis"];
    ASSERT_EQ(svis.size(), 40u);
    EXPECT_EQ(svis[0]["svi"], "vlan10");
    EXPECT_EQ(svis[0]["ifindex"], 0x2400000a);
    EXPECT_EQ(svis[0]["fwd_mode"], "anycast-gateway");
    EXPECT_EQ(svis[0]["is_up"], true);
    EXPECT_EQ(svis[0]["vlan_id"], 10);
    const json topologies = answer("list topologies")["topologies"];
    ASSERT_EQ(topologies.size(), 30u);
    EXPECT_EQ(topologies[6], json::parse(R"({"bd": 16, "vni": 10016, "suppress_arp_enabled": true,
                                             "suppress_arp_mode": "l2-l3", "svi": "vlan16"})"));
    const json ports = answer("list ports")["ports"];
    ASSERT_EQ(ports.size(), 17u);
    EXPECT_EQ(ports[0].size(), 4u);
    const json prefixes = answer("list prefixes")["prefixes"];
    ASSERT_EQ(prefixes.size(), 60u);
    EXPECT_EQ(prefixes[0]["vrf"], "default");
    const json clients = answer("list clients")["clients"];
    ASSERT_EQ(clients.size(), 1u);
    EXPECT_EQ(clients[0]["name"], "arp");
    EXPECT_EQ(clients[0]["pid"], arp.pid());
    EXPECT_EQ(clients[0]["types"], json({"svi", "topology"}));
    EXPECT_EQ(clients[0]["mask"], 0x80200);
    EXPECT_EQ(clients[0]["waiting"], 0);
}

TEST_F(JsonOf, ARecordHasItsFieldsByName)
{
    serve();
    const json svi = answer("show svi vlan12");
    EXPECT_EQ(svi["svi"], "vlan12");
    EXPECT_EQ(svi["migration_enabled"], true);
    EXPECT_EQ(svi["vlan_id"], 12);
    const json general = answer("show geninfo");
    EXPECT_EQ(general["fabric_id"], 7);
    EXPECT_EQ(general["switch_role"], "leaf+border");
    EXPECT_EQ(general["router_mac"], "0011.2233.4455");
    EXPECT_EQ(answer("show topology 14")["suppress_arp_mode"], "l2");
    EXPECT_EQ(answer("show port eth1/48"),
              json::parse(R"({"port": "eth1/48", "ifindex": 1744830511, "tracking": false, "l2dci": true})"));
}

TEST_F(JsonOf, TheStatusIsThatOfServerAndClient)
{
    Process &server = serve();
    Process &arp = client("arp");
    const json served = answer("status");
    EXPECT_EQ(served["server"], "kovd");
    EXPECT_EQ(served["pid"], server.pid());
    EXPECT_EQ(served["sap"], 1248);
    EXPECT_EQ(served["general_information"], true);
    EXPECT_EQ(served["slots_with_tracked_ports"], 4);
    EXPECT_EQ(served["clients"], 1);
    EXPECT_EQ(served.size(), 23u);
    const json client = answer("-c arp status");
    EXPECT_EQ(client["client"], "arp");
    EXPECT_EQ(client["pid"], arp.pid());
    EXPECT_EQ(client["registered"], true);
    EXPECT_EQ(client["registration_asked"], true);
    EXPECT_EQ(client["directory"], runtime());
    EXPECT_EQ(answer("-c arp show host")["name"], "arp");
    EXPECT_EQ(answer("-c arp show capability"), (json{{"fabric_forwarding", true},
                                                      {"host_auto_configuration", true},
                                                      {"the_card_supports_auto_configuration_only", false}}));
}

struct Asked {
    const char *query;
    const char *answer;
    const char *value; // as JSON
};

TEST_F(JsonOf, AQuerysAnswerIsAValueWithItsSource)
{
    // clang-format off
    const Asked rows[] = {
        {"fabric-id",                       "7",                          "7"},
        {"conditional-route",               "conversational learning on", "true"},
        {"switch-role",                     "border leaf",                "3"},
        {"anycast-gateway-mac",             "2020.0000.00aa",             "\"2020.0000.00aa\""},
        {"conv-aging-timeout ipv6",         "2400 s",                     "2400"},
        {"fwd-encap",                       "Vxlan, router MAC 0011.2233.4455", R"({"encap": "vxlan", "router_mac": "0011.2233.4455"})"},
        {"fabric-ctrl-seg",                 "vlan3900",                   "\"vlan3900\""},
        {"ferro-migration vlan10",          "not migrating",              "false"},
        {"fwd-mode vlan10",                 "Anycast Gateway",            "\"anycast-gateway\""},
        {"forwarding-mode vlan22 eth1/5",   "Proxy Gateway",              "\"proxy-gateway\""},
        {"suppress-arp vlan14",             "on",                         "true"},
        {"suppress-arp-mode 16",            "L2/L3 ARP Suppression",      "\"l2-l3\""},
        {"port-l2dci eth1/48",              "on",                         "true"},
        {"port-tracking eth1/48",           "off",                        "false"},
        {"rt-conditional red 10.99.0.0/24", "no",                         "false"},
    };
    // clang-format on
    serve();
    client("arp");
    for (const Asked &row : rows) {
        const json got = answer(std::string("-c arp get ") + row.query);
        EXPECT_EQ(got["answer"], row.answer) << row.query;
        EXPECT_EQ(got["value"], json::parse(row.value)) << row.query;
        EXPECT_EQ(got["answered_from"], "cache") << row.query;
        EXPECT_EQ(got["database_reads"], 0) << row.query;
    }
    const json here = answer("get fwd-mode vlan10");
    EXPECT_EQ(here["query"], "fwd-mode");
    EXPECT_EQ(here["call"], "kov_get_fwd_mode(vlan10)");
    EXPECT_EQ(here["answered_from"], "database");
    EXPECT_EQ(here["database_reads"], 1);
    EXPECT_EQ(answer("-c arp get suppress-arp-svis")["value"].size(), 4u);
    EXPECT_EQ(answer("-c arp get ferro-capable vlan10").contains("answered_from"), false)
        << "it reads nothing";
}

TEST_F(JsonOf, TheCallsOfAClientTellTheirResults)
{
    serve();
    client("arp");
    const json verified = answer("-c arp verify red 10.1.2.3");
    EXPECT_EQ(verified, json::parse(R"({"call": "kov_send_host_verify_notification", "vrf": "red",
                                        "address": "10.1.2.3", "result": 0})"));
    EXPECT_EQ(answer("-c arp report 10.1.2.3 vlan10")["result"], 1);
    EXPECT_EQ(answer("-c arp profile add 10.1.2.3 vni=5000 profile=web param=mtu=9000")["reference"], 1);
    ask("-c arp wait handled 1");
    const json profiles = answer("list profiles")["profiles"];
    ASSERT_EQ(profiles.size(), 1u);
    EXPECT_EQ(profiles[0]["client"], "arp");
    EXPECT_EQ(profiles[0]["host"], "10.1.2.3");
    EXPECT_EQ(profiles[0]["profile"]["vni"], 5000);
    EXPECT_EQ(profiles[0]["profile"]["profile"], "web");
    EXPECT_EQ(profiles[0]["profile"]["param"], json({"mtu=9000"}));
    ask("-c arp set vrf 5 red");
    ask("-c arp set route red 10.1.0.0/16 conditional");
    EXPECT_EQ(answer("-c arp list vrfs")["vrfs"], json::parse(R"([{"vrf": "red", "id": 5}])"));
    EXPECT_EQ(
        answer("-c arp list routes")["routes"],
        json::parse(R"([{"vrf": "red", "prefix": "10.1.0.0/16", "conditional": true, "converted": false}])"));
    const json glean = answer("-c arp glean red 10.1.2.3 10.1.2.4 vlan10");
    EXPECT_EQ(glean["route"], true);
    EXPECT_EQ(glean["told_server"], true);
    EXPECT_EQ(glean["destination"], "10.1.2.3");
    EXPECT_EQ(glean["source"], "10.1.2.4");
    EXPECT_EQ(glean["answered_from"], "cache");
}

TEST_F(JsonOf, AnAuditTellsItsFindings)
{
    serve();
    client("arp");
    EXPECT_EQ(answer("-c arp audit")["differences"], 0);
    EXPECT_EQ(answer("-c arp audit")["records"].size(), 6u);
}

TEST_F(JsonOf, WhatAnOperatorChangesIsToldAsText)
{
    serve();
    EXPECT_EQ(answer("set geninfo fabric_id=9")["text"],
              "general information: fabric_id 7 -> 9; no client wants to know");
}

TEST_F(JsonOf, AWatchedMessageIsALine)
{
    serve();
    const auto watching =
        start("kovctl", {"watch", "--types", "svi,svi-change,fabric-id,port-tracking,topology,prefix",
                         "--count", "5", "--json"});
    ASSERT_TRUE(watching->says("watching; Ctrl-C ends\n"));
    ask("set svi vlan10 is_up=no");
    ask("set geninfo fabric_id=9");
    ask("set port eth1/5 tracking=on");
    ask("set topology 11 suppress_arp_mode=l2");
    ask("set prefix red 10.9.0.0/16");
    const Result &result = watching->finish();
    EXPECT_EQ(result.status, 0);
    const char *expected[] = {
        R"({"type": 9, "name": "svi", "records": [{"svi": "vlan10", "ifindex": 603979786}]})",
        R"({"type": 4, "name": "fabric-id", "records": [{"fabric_id": 9}]})",
        R"({"type": 10, "name": "port-tracking", "records": [{"port": "eth1/5", "ifindex": 1744830468}]})",
        R"({"type": 19, "name": "topology", "records": [{"bd": 11, "vni": 10011, "suppress_arp_enabled": true,
            "suppress_arp_mode": "l2", "svi": "vlan11"}]})",
        R"({"type": 8, "name": "prefix", "records": [{"vrf": "red", "prefix": "10.9.0.0/16"}]})"};
    std::istringstream lines(result.out);
    std::string line;
    for (const char *want : expected) {
        ASSERT_TRUE(std::getline(lines, line));
        EXPECT_EQ(json::parse(line), json::parse(want));
    }
    EXPECT_FALSE(std::getline(lines, line));
}

TEST_F(JsonOf, ATraceIsALine)
{
    serve();
    Process &arp = client("arp");
    const auto tracing = start("kovctl", {"-c", "arp", "debug", "on", "--count", "1", "--json"});
    ASSERT_TRUE(tracing->says("traces of arp; Ctrl-C ends\n"));
    ask("-c arp get fwd-mode vlan10");
    const json trace = json::parse(tracing->finish().out);
    EXPECT_EQ(trace["process"], "arp");
    EXPECT_TRUE(trace["prefix"].get<std::string>().starts_with("kov_api ["));
    EXPECT_NE(trace["prefix"].get<std::string>().find(std::to_string(arp.pid())), std::string::npos);
    EXPECT_FALSE(trace["text"].get<std::string>().empty());
}

TEST_F(JsonOf, StatsAreAValue)
{
    serve();
    client("arp");
    EXPECT_EQ(answer("-c arp stats")["client"], "arp");
}

// The report is made for people. A program gets its lines; the counters are members of stats.
TEST_F(JsonOf, TheLibrarysReportIsItsLines)
{
    serve();
    client("arp");
    for (const std::string line : {"-c arp show cache", "-c arp show cache detail"}) {
        const json told = answer(line);
        std::string text;
        for (const json &each : told["report"])
            text += each.get<std::string>() + "\n";
        EXPECT_EQ(text, ask(line));
    }
    EXPECT_EQ(answer("-c arp show cache everything", 2)["error"], "usage: show cache [detail]");
}

TEST_F(JsonOf, WhatIsWaitedForAndLoadedIsAValue)
{
    serve();
    client("arp");
    EXPECT_EQ(answer("wait clients 1"), (json{{"waited_for", "clients 1"}}));
    const json loaded = answer("-c arp load " + leaf());
    EXPECT_EQ(loaded["scenario"], leaf());
    EXPECT_EQ(loaded["done"][0], "VRF 1 is default");
    EXPECT_EQ(loaded["done"].size(), 7u);
}

TEST_F(JsonOf, LinesFromAFileAreValues)
{
    serve();
    client("arp");
    const std::string kovctl = std::string(KOV_BIN_DIR) + "/kovctl";
    const Result result =
        run({"/bin/sh", "-c", "printf 'status\nget fabric-id\n' | " + kovctl + " -c arp --json"},
            {{"KOV_HOST_DIR", runtime()}});
    EXPECT_EQ(result.status, 0) << result.err;
    std::istringstream values(result.out);
    json first, second;
    values >> first >> second;
    EXPECT_EQ(first["client"], "arp");
    EXPECT_EQ(second["value"], 7);
}

TEST_F(JsonOf, AnErrorIsAValueToo)
{
    serve();
    client("arp");
    EXPECT_EQ(answer("del topology 999", 1)["error"],
              "there is no topology 999; there are 10, 11, 12, 13, 14, 15 and 24 more: list topologies");
    EXPECT_EQ(answer("show svi", 2)["error"], "usage: show svi NAME");
    EXPECT_EQ(answer("statsu", 2)["error"],
              "unknown command 'statsu'; did you mean status? help lists the commands");
    EXPECT_EQ(answer("-c nosuch status", 3)["error"].get<std::string>().substr(0, 17), "no client nosuch:");
    EXPECT_EQ(answer("audit", 2)["error"], "audit needs -c NAME: a cache is that of a client process");
    EXPECT_EQ(answer("get --bogus", 2)["error"],
              "The following argument was not expected: --bogus; kovctl --help lists the commands");
    EXPECT_EQ(answer("wait clients 9 --timeout 0", 4)["error"],
              "waited 0 s for kovd: clients 9; it says clients: 1");
    EXPECT_EQ(answer("-c arp load nosuch.json", 1)["error"],
              "nosuch.json: cannot be read: No such file or directory");
}

} // namespace
