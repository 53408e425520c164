// What clients tell the server about hosts, and what an operator sees of every frame, both ways.
#include "real_lab.h"

namespace
{

using namespace integration;

class PeerMessages : public RealLab
{
};

struct Told {
    const char *command; // to the client
    const char *result;
    const char *frame; // that the server shows
};

TEST_F(PeerMessages, TheServerReceivesWhatAClientTellsOfHosts)
{
    // clang-format off
    const Told rows[] = {
        {"verify red 10.1.2.3",       "kov_send_host_verify_notification(red, IPv4, 10.1.2.3) = 0",
         "verify host 10.1.2.3 in VRF red"},
        {"verify red 2001:db8::7",    "kov_send_host_verify_notification(red, IPv6, 2001:db8::7) = 0",
         "verify host (IPv6) in VRF red"},
        {"report 10.1.2.3 vlan10 vlan=10 port=eth1/5", "kov_arp_nd_host_verification_resp(10.1.2.3 on vlan10, ARP) = 1",
         "ARP verified 10.1.2.3 on vlan10"},
        {"report 2001:db8::7 vlan10 iod=44", "kov_arp_nd_host_verification_resp(2001:db8::7 on vlan10, ND) = 1",
         "ND verified 2001:db8::7 on iod 44"},
    };
    // clang-format on
    serve();
    client("arp");
    const auto terminal = frames();
    for (const Told &row : rows) {
        EXPECT_EQ(ask(std::string("-c arp ") + row.command), std::string(row.result) + "\n");
        EXPECT_TRUE(terminal->says(row.frame)) << terminal->output();
    }
    EXPECT_EQ(terminal->stop().status, 0);
}

TEST_F(PeerMessages, TheServersTerminalShowsFramesInBothDirections)
{
    serve();
    const auto terminal = frames();
    Process &arp = client("arp", "9");
    EXPECT_TRUE(terminal->says("register \"arp\" (pid ")) << terminal->output();
    EXPECT_TRUE(terminal->says("(arp): type 2, registration acknowledgement"));
    ask("set svi vlan10 fwd_mode=standard");
    EXPECT_TRUE(terminal->says("(arp): type 9, SVI forwarding mode: vlan10"));
    arp.stop();
    forget(arp);
    EXPECT_TRUE(terminal->says("deregister \"arp\" (pid "));
    EXPECT_EQ(terminal->stop().status, 0);
}

struct Watched {
    const char *command; // of the operator
    const char *line;    // that watch shows
};

TEST_F(PeerMessages, WatchShowsWhatClientsAndTheServerTellEachOther)
{
    // clang-format off
    const Watched rows[] = {
        {"-c arp verify red 10.1.2.3",                "from SAP 2000 (arp): verify host 10.1.2.3 in VRF red"},
        {"verify arp 10.1.2.4",                       "to SAP 2000 (arp): type 12, profile message: check of 10.1.2.4 (reference 0): No Error: Other"},
        {"-c arp report 10.1.2.3 vlan10 vlan=10",     "from SAP 2000 (arp): ARP verified 10.1.2.3 on vlan10, VLAN 10"},
        {"-c arp report 2001:db8::7 vlan10 iod=44",   "from SAP 2000 (arp): ND verified 2001:db8::7 on iod 44"},
        {"-c arp glean red 10.1.2.3 10.1.2.9 vlan10", "from SAP 2000 (arp): glean 10.1.2.3 in VRF 4 (red) on vlan10, from 10.1.2.9 at vlan10, value 0"},
        {"-c arp profile add h vni=5000",             "from SAP 2000 (arp): profile add of h (reference 1): vni=5000"},
        {"-c arp profile check h",                    "from SAP 2000 (arp): profile check of h (reference 1)"},
        {"-c arp profile del h",                      "to SAP 2000 (arp): type 12, profile message: delete of h (reference 1): No Error"},
        {"set svi vlan10 fwd_mode=standard",          "to SAP 2000 (arp): type 9, SVI forwarding mode: vlan10"},
        {"set svi vlan10 is_up=no",                   "type 9, SVI forwarding mode: vlan10"},
    };
    // clang-format on
    serve();
    client("arp", "9,12");
    ask("-c arp set vrf 4 red");
    ask("-c arp set route red 10.1.0.0/16 conditional");
    const auto watch = start("kovctl", {"watch"});
    ASSERT_TRUE(watch->says("watching; Ctrl-C ends\n"));
    for (const Watched &row : rows) {
        ask(row.command);
        EXPECT_TRUE(watch->says(std::string("\n") + row.line + "\n")) << watch->output();
    }
    Process &nd = client("nd", "9");
    EXPECT_TRUE(
        watch->says("register \"nd\" (pid " + std::to_string(nd.pid()) + ", SAP 2002) for types 9\n"));
    EXPECT_TRUE(watch->says("to SAP 2002 (nd): type 2, registration acknowledgement\n"));
    nd.stop();
    forget(nd);
    EXPECT_TRUE(watch->says("from SAP 2002 (nd): deregister \"nd\" (pid "));
    EXPECT_EQ(watch->stop().status, 0);
    EXPECT_EQ(watch->stop().out.find("SAP 2001"), std::string::npos) << "its own frames are what it prints";
}

struct Injected {
    const char *line; // "inject" and its words
    const char *told; // behind "injected"
};

TEST_F(PeerMessages, WatchShowsWhatAnOperatorInjectsAndItIsCounted)
{
    const std::string zeros(std::size_t{133} * 2, '0');
    const std::string begin = "35000900" + std::string(32, '0');
    const std::string svi = begin + "00000001000000a5" + zeros + "2400000a";
    const std::string too_many = begin + "00000002000000a5" + zeros + "2400000a";
    const std::string reply = begin + "00000001000000a9" + zeros + "2400000a";
    const std::string glean(std::size_t{73} * 2, '0');
    // clang-format off
    const Injected rows[] = {
        {svi.c_str(),                "type 9, SVI forwarding mode: vlan10"},
        {too_many.c_str(),           "opcode 0x3D400, 165 bytes"},
        {reply.c_str(),              "opcode 0x3D400, 165 bytes"},
        {"3500",                     "opcode 0x3D400, 2 bytes"},
    };
    // clang-format on
    serve();
    client("arp");
    const auto watch = start("kovctl", {"watch"});
    ASSERT_TRUE(watch->says("watching; Ctrl-C ends\n"));
    EXPECT_EQ(status("messages sent"), "2");
    for (const Injected &row : rows) {
        ask(std::string("inject arp ") + row.line);
        EXPECT_TRUE(watch->says(std::string("\nto SAP 2000 (arp): injected ") + row.told + "\n"))
            << watch->output();
    }
    ask("inject arp " + glean + " glean");
    EXPECT_TRUE(watch->says("to SAP 2000 (arp): injected opcode 0x3D404, 73 bytes\n"));
    ask("inject 2001 " + svi); // the watching client, by its access point
    EXPECT_TRUE(watch->says("\ntype 9, SVI forwarding mode: vlan10\n"));
    EXPECT_EQ(status("messages sent"), "8");
    EXPECT_EQ(kovctl("inject 2002 " + svi).status, 1) << "nobody is there";
    EXPECT_EQ(status("messages sent"), "8");
    EXPECT_EQ(watch->stop().status, 0);
}

// ---- Long frames -----------------------------------------------------------------------------------------

TEST_F(PeerMessages, AFrameIsToldWholeHoweverLongItsTextIs)
{
    Process &server = serve(leaf(), {"-v"});
    client("arp");
    const auto watch = start("kovctl", {"watch"});
    ASSERT_TRUE(watch->says("watching; Ctrl-C ends\n"));
    std::string words = "vni=5000";
    for (int i = 0; i < 60; ++i)
        words += " param=name-of-parameter=" + std::to_string(i);
    ask("-c arp profile add h1 " + words);
    const std::string frame = "from SAP 2000 (arp): profile add of h1 (reference 1): " + words + "\n";
    EXPECT_TRUE(watch->says(frame)) << watch->output();
    EXPECT_TRUE(server.says("kovd: " + frame));
    EXPECT_EQ(watch->stop().status, 0);
}

// ---- Watching --------------------------------------------------------------------------------------------

TEST_F(PeerMessages, WatchIsNoneOfThoseWhoAreAskedToProbeHosts)
{
    serve();
    client("arp", "9");
    const auto watch = start("kovctl", {"watch"});
    ASSERT_TRUE(watch->says("watching; Ctrl-C ends\n"));
    ask("-c arp verify red 10.1.2.3");
    EXPECT_TRUE(watch->says("from SAP 2000 (arp): verify host 10.1.2.3 in VRF red\n"));
    EXPECT_NE(ask("list hosts --json").find("\"asked\": \"\""), std::string::npos);
    EXPECT_EQ(watch->stop().status, 0);
    EXPECT_EQ(watch->stop().out.find("profile message"), std::string::npos);
}

TEST_F(PeerMessages, WatchThatIsToldSoRegistersForProfilesAndIsAsked)
{
    serve();
    client("arp", "9");
    const auto watch = start("kovctl", {"watch", "--types", "12"});
    ASSERT_TRUE(watch->says("watching; Ctrl-C ends\n"));
    ask("-c arp verify red 10.1.2.4");
    EXPECT_TRUE(
        watch->says("\ntype 12, profile message: check of 10.1.2.4 (reference 0): No Error: Other\n"));
    EXPECT_NE(ask("list hosts").find("kovctl-watch-" + std::to_string(watch->pid())), std::string::npos);
    EXPECT_EQ(watch->stop().status, 0);
}

TEST_F(PeerMessages, WatchEndsWithTheServer)
{
    Process &server = serve();
    const auto watch = start("kovctl", {"watch"});
    ASSERT_TRUE(watch->says("watching; Ctrl-C ends\n"));
    server.stop();
    forget(server);
    EXPECT_EQ(watch->finish().status, 3);
    EXPECT_EQ(watch->finish().err, "kovctl: the server is gone\n");
}

TEST_F(PeerMessages, AReportThatCannotBeSentSaysSoAndIsCounted)
{
    Process &server = serve();
    Process &arp = client("arp");
    server.stop();
    forget(server);
    EXPECT_TRUE(arp.says("the server is gone"));
    const Result refused = kovctl("-c arp verify red 10.1.2.3");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err,
              "kov_send_host_verify_notification(red, IPv4, 10.1.2.3) = 111, Connection refused\n");
    EXPECT_EQ(kovctl("-c arp report 10.1.2.3 vlan10").status, 1);
    EXPECT_EQ(status("messages not sent", "arp"), "2");
}

// ---- Gleans ----------------------------------------------------------------------------------------------

// VRF "red" has routes of each kind, "default" only aggregate prefixes; vlan10 is a proxy gateway.
const char *const with_routes = R"({
    "general": {"conv_learning": true}, "vrfs": ["red"],
    "svis": [{"svi": "vlan10", "fwd_mode": "proxy-gateway"}, {"svi": "vlan20"}],
    "prefixes": [{"vrf": "default", "prefixes": ["10.1.0.0/16", "2001:db8:1::/48"]}],
    "routes": [{"vrf": "red", "prefix": "10.1.0.0/16", "conditional": true},
               {"vrf": "red", "prefix": "10.1.7.0/24", "conditional": true, "converted": true},
               {"vrf": "red", "prefix": "10.9.0.0/16"},
               {"vrf": "red", "prefix": "2001:db8:1::/48", "conditional": true}]
})";

struct Gleaned {
    const char *words;
    const char *result;
    const char *in_cache;    // after the result, from a client that registered for prefixes
    const char *in_database; // from one that did not
    const char *frame;       // that the server shows; null: none
};

// clang-format off
const Gleaned gleans[] = {
    {"red 10.1.2.3 10.9.8.7 vlan20", "(a route, VRF red, 10.1.2.3 from 10.9.8.7 on vlan20) = 1, told the server, ",
     "from cache", "from cache", "glean 10.1.2.3 in VRF 2 (red) on vlan20"},
    {"red 10.1.7.3 10.9.8.7 vlan20", "(a route, VRF red, 10.1.7.3 from 10.9.8.7 on vlan20) = 1, nothing to tell, ",
     "from cache", "from cache", nullptr},
    {"red 10.9.7.3 10.9.8.7 vlan10", "(a route, VRF red, 10.9.7.3 from 10.9.8.7 on vlan10) = 2, nothing to tell, ",
     "from cache", "from cache", nullptr},
    {"red 2001:db8:1::3 2001:db8:1::1 vlan10 iif=eth1/5 value=7", "(a route, VRF red, 2001:db8:1::3 from 2001:db8:1::1 on vlan10) = 2, told the server, ",
     "from cache", "from cache", "glean 2001:db8:1::3 in VRF 2 (red) on vlan10"},
    {"default 10.1.2.3 10.9.8.7 vlan20", "(no route, VRF default, 10.1.2.3 from 10.9.8.7 on vlan20) = 1, told the server, ",
     "from cache", "from database (1 read)", "glean 10.1.2.3 in VRF 1 (default) on vlan20"},
    {"default 10.2.0.1 10.9.8.7 vlan10", "(no route, VRF default, 10.2.0.1 from 10.9.8.7 on vlan10) = 0, nothing to tell, ",
     "from cache", "from database (3 reads)", nullptr},
    {"default 2001:db8:1::3 2001:db8::1 vlan10", "(no route, VRF default, 2001:db8:1::3 from 2001:db8::1 on vlan10) = 0, told the server, ",
     "from cache", "from database (2 reads)", "glean 2001:db8:1::3 in VRF 1 (default) on vlan10"},
};
// clang-format on

class Gleans : public PeerMessages
{
protected:
    // A server, and a client that knows the scenario's routes.
    void begin(const std::string &types)
    {
        const std::string scenario = write("routes.json", with_routes);
        serve(scenario);
        client("arp", types);
        ask("-c arp load " + scenario);
    }
    // Runs the table, and demands of the server's frames exactly those of the table.
    void expect_gleans(const char *Gleaned::*source)
    {
        const auto terminal = frames();
        std::size_t told = 0;
        for (const Gleaned &row : gleans) {
            EXPECT_EQ(ask(std::string("-c arp glean ") + row.words),
                      std::string("kov_process_glean_notification") + row.result + row.*source + "\n");
            told += row.frame != nullptr ? 1 : 0;
            EXPECT_TRUE(row.frame == nullptr || terminal->says(row.frame)) << row.words;
        }
        ask("-c arp verify red 10.1.2.3"); // comes behind every glean
        EXPECT_TRUE(terminal->says("verify host 10.1.2.3 in VRF red"));
        const std::string shown = terminal->stop().out;
        std::size_t seen = 0;
        for (std::size_t at = shown.find("glean "); at != shown.npos; at = shown.find("glean ", at + 1))
            ++seen;
        EXPECT_EQ(seen, told) << shown;
        EXPECT_EQ(status("gleans"), std::to_string(told));
    }
};

TEST_F(Gleans, TheServerHearsOfUnconvertedAndOfMissingRoutesToTheFabricsHosts)
{
    begin("4-20");
    expect_gleans(&Gleaned::in_cache);
}

TEST_F(Gleans, AClientWithoutTypeEightReadsTheDatabaseForTheSame)
{
    begin("5,9");
    expect_gleans(&Gleaned::in_database);
}

TEST_F(Gleans, NoMissingRouteIsToldWhileConversationalLearningIsOff)
{
    begin("4-20");
    ask("set geninfo conv_learning=no");
    handled("arp", 1);
    EXPECT_EQ(ask("-c arp glean default 10.1.2.3 10.9.8.7 vlan20"),
              "kov_process_glean_notification(no route, VRF default, 10.1.2.3 from 10.9.8.7 on vlan20) = 1, "
              "nothing to tell, from cache\n");
}

TEST_F(Gleans, AGleanThatCannotBeSentSaysSo)
{
    Process &server = serve();
    Process &arp = client("arp");
    ask("-c arp set vrf 1 default");
    ask("-c arp set route default 10.1.0.0/16 conditional");
    server.stop();
    forget(server);
    EXPECT_TRUE(arp.says("the server is gone"));
    const Result result = kovctl("-c arp glean default 10.1.2.3 10.9.8.7 vlan10");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "kov_process_glean_notification(a route, VRF default, 10.1.2.3 from 10.9.8.7 on "
                          "vlan10) = 1, the message could not be sent, from cache\n");
}

TEST_F(Gleans, AClientsRoutesComeFromAScenarioAndFromAnOperator)
{
    begin("4-20");
    EXPECT_EQ(ask("-c arp list vrfs"), "VRF                              Id\n"
                                       "default                          1\n"
                                       "red                              2\n");
    EXPECT_EQ(ask("-c arp set route red 10.9.0.0/16 conditional"),
              "route 10.9.0.0/16 in VRF red, conditional\n");
    EXPECT_EQ(ask("-c arp set route red 10.1.0.0/16"), "route 10.1.0.0/16 in VRF red\n");
    EXPECT_EQ(ask("-c arp del route red 2001:db8:1::/48"), "route 2001:db8:1::/48 in VRF red removed\n");
    EXPECT_EQ(ask("-c arp list routes"),
              "VRF                              Prefix             Flags\n"
              "red                              10.1.0.0/16        none\n"
              "red                              10.1.7.0/24        conditional, converted\n"
              "red                              10.9.0.0/16        conditional\n");
    EXPECT_EQ(ask("-c arp glean red 10.9.7.3 10.9.8.7 vlan10"),
              "kov_process_glean_notification(a route, VRF red, 10.9.7.3 from 10.9.8.7 on vlan10) = 2, told "
              "the server, from cache\n");
    EXPECT_EQ(lines_in(ask("-c arp load " + path("routes.json"))), 6u) << "once more, over what is there";
    EXPECT_EQ(lines_in(ask("-c arp list routes")), 5u);
}

TEST_F(Gleans, AScenarioWithAMistakeGivesAClientNothing)
{
    begin("4-20");
    const std::string file = write("bad.json", "{\"vrfs\": [\"blue\"], \"routes\": [\n"
                                               "{\"vrf\": \"green\", \"prefix\": \"10.0.0.0/8\"}]}");
    const Result result = kovctl("-c arp load " + file);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, file + ":2: routes[0].vrf: \"green\" is not among the vrfs\n");
    EXPECT_EQ(lines_in(ask("-c arp list vrfs")), 3u);
}

} // namespace
