// The way of an answer: published, asked, registered for, cached; and what the operator sees.
#include "real_lab.h"

#include <kov_host.h>

#include <csignal>

namespace
{

using namespace integration;

class Path : public RealLab
{
};

TEST_F(Path, AQueryWithoutRegistrationIsAnsweredFromTheDatabase)
{
    serve();
    EXPECT_EQ(ask("get fwd-mode vlan10"),
              "kov_get_fwd_mode(vlan10) = Anycast Gateway, from database (1 read)\n");
    EXPECT_EQ(ask("get fwd-mode vlan4000"),
              "kov_get_fwd_mode(vlan4000) = Standard, from database (1 read)\n");
}

struct Question {
    const char *query;
    const char *answer;
    unsigned reads; // from the database
};

// clang-format off
const Question questions[] = {
    {"fabric-id",                "kov_get_fabric_id() = 7", 1},
    {"conditional-route",        "kov_check_conditional_route() = conversational learning on", 1},
    {"switch-role",              "kov_get_switch_role() = border leaf", 1},
    {"anycast-gateway-mac",      "kov_get_anycast_gateway_mac() = 2020.0000.00aa", 1},
    {"conv-aging-timeout ipv4",  "kov_get_conv_aging_timeout(IPv4) = 1200 s", 1},
    {"conv-aging-timeout ipv6",  "kov_get_conv_aging_timeout(IPv6) = 2400 s", 1},
    {"fwd-encap",                "kov_get_fwd_encap_type(mac) = Vxlan, router MAC 0011.2233.4455", 1},
    {"fabric-ctrl-seg",          "kov_get_fabric_ctrl_seg() = vlan3900", 1},
    {"fabric-ctrl-seg-info",     "kov_get_fabric_ctrl_seg_info() = vlan3900 (VLAN 3900), 192.0.2.1, 2001:db8:f::1, gateway MAC 2020.0000.00aa", 2},
    {"ferro-migration",          "kov_check_ferro_migration(0) = not migrating", 1},
    {"ferro-migration vlan12",   "kov_check_ferro_migration(vlan12) = migrating, anycast gateway MAC 2020.0000.00aa", 2},
    {"ferro-migration vlan10",   "kov_check_ferro_migration(vlan10) = not migrating", 1},
    {"fwd-mode vlan10",          "kov_get_fwd_mode(vlan10) = Anycast Gateway", 1},
    {"fwd-mode vlan22",          "kov_get_fwd_mode(vlan22) = Proxy Gateway", 1},
    {"fwd-mode vlan29",          "kov_get_fwd_mode(vlan29) = Standard", 1},
    {"forwarding-mode vlan22 eth1/1", "kov_check_forwarding_mode(vlan22, eth1/1) = Conditional Proxy Gateway", 2},
    {"forwarding-mode vlan22 eth1/5", "kov_check_forwarding_mode(vlan22, eth1/5) = Proxy Gateway", 2},
    {"forwarding-mode vlan10 eth1/1", "kov_check_forwarding_mode(vlan10, eth1/1) = Anycast Gateway", 1},
    {"proxy-mode vlan22 po1",    "kov_check_proxy_mode(vlan22, po1) = 3", 2},
    {"proxy-mode vlan22 eth1/5", "kov_check_proxy_mode(vlan22, eth1/5) = 1", 2},
    {"proxy-mode vlan28 eth1/1", "kov_check_proxy_mode(vlan28, eth1/1) = 2", 1},
    {"suppress-arp vlan14",      "kov_is_suppress_arp_enabled_ferro_svi(vlan14) = on", 1},
    {"suppress-arp vlan10",      "kov_is_suppress_arp_enabled_ferro_svi(vlan10) = off", 1},
    {"suppress-arp-mode 14",     "kov_get_suppress_arp_mode(14) = L2 ARP Suppression", 1},
    {"suppress-arp-mode 16",     "kov_get_suppress_arp_mode(16) = L2/L3 ARP Suppression", 1},
    {"suppress-arp-mode 999",    "kov_get_suppress_arp_mode(999) = ARP Suppression Disabled", 1},
    {"suppress-arp-svis",        "kov_get_all_suppress_arp_ferro_svis(list) = vlan14, vlan15, vlan16, vlan117, 4 SVIs", 41},
    {"address-event vlan10 10.1.10.5", "kov_check_am_should_notify(vlan10, 10.1.10.5) = yes", 1},
    {"address-event vlan10 2001:db8::5", "kov_check_am_should_notify(vlan10, 2001:db8::5) = yes", 1},
    {"address-event vlan10 fe80::5", "kov_check_am_should_notify(vlan10, fe80::5) = no", 1},
    {"address-event eth1/1 10.1.10.5", "kov_check_am_should_notify(eth1/1, 10.1.10.5) = no", 1},
    {"rt-conditional red 10.1.0.0/16", "kov_is_rt_conditional(red, 10.1.0.0/16) = no", 1},
    {"port-tracking eth1/1",     "kov_get_port_tracking(eth1/1) = on", 1},
    {"port-tracking eth1/47",    "kov_get_port_tracking(eth1/47) = off", 1},
    {"port-tracking eth2/31",    "kov_get_port_tracking(eth2/31) = on", 1},
    {"port-tracking po300",      "kov_get_port_tracking(po300) = on", 1},
    {"port-tracking eth9/1",     "kov_get_port_tracking(eth9/1) = off", 1},
    {"port-l2dci eth1/48",       "kov_get_port_l2dci(eth1/48) = on", 1},
    {"port-l2dci eth1/1",        "kov_get_port_l2dci(eth1/1) = off", 1},
    {"port-l2dci po10",          "kov_get_port_l2dci(po10) = on", 1},
    {"port-l2dci po2",           "kov_get_port_l2dci(po2) = off", 1},
};
// clang-format on

TEST_F(Path, EveryQueryIsAnsweredByTheDatabaseHereAndByTheCacheInAClient)
{
    serve();
    client("arp");
    for (const Question &question : questions) {
        const std::string reads =
            std::to_string(question.reads) + (question.reads == 1 ? " read)" : " reads)");
        EXPECT_EQ(ask(std::string("get ") + question.query),
                  question.answer + (", from database (" + reads) + "\n");
        EXPECT_EQ(ask(std::string("-c arp get ") + question.query),
                  question.answer + std::string(", from cache\n"));
    }
}

TEST_F(Path, TheMobilityDomainIsReadFromTheDatabaseByAClientToo)
{
    serve();
    client("arp");
    EXPECT_EQ(ask("-c arp get mobdom"),
              "kov_get_global_mobdom(out) = \"campus-west\", from database (1 read)\n");
}

TEST_F(Path, TheSvisInFerroModesAreListedFromTheDatabaseHereAndFromTheCacheInAClient)
{
    serve();
    client("arp");
    const std::string here = ask("get ferro-svis");
    const std::string there = ask("-c arp get ferro-svis");
    const std::string list = "kov_get_all_enhanced_fwd_mode_svis(list) = vlan10, vlan11, ";
    EXPECT_TRUE(here.starts_with(list)) << here;
    EXPECT_TRUE(here.ends_with(", vlan119, vlan3900, 27 SVIs, from database (41 reads)\n")) << here;
    EXPECT_EQ(there, here.substr(0, here.find(", from")) + ", from cache\n");
}

TEST_F(Path, WhetherAnInterfaceIsAnSviIsAskedOfNoRecord)
{
    serve();
    EXPECT_EQ(ask("get ferro-capable vlan10"), "kov_is_intf_ferro_capable(vlan10) = yes\n");
    EXPECT_EQ(ask("get ferro-capable eth1/1"), "kov_is_intf_ferro_capable(eth1/1) = no\n");
}

TEST_F(Path, AnSviInAConditionalModeIsNotCachedAndSoStandardInAClient)
{
    serve();
    client("arp");
    EXPECT_EQ(ask("get fwd-mode vlan26"),
              "kov_get_fwd_mode(vlan26) = Conditional Proxy Gateway, from database (1 read)\n");
    EXPECT_EQ(ask("-c arp get fwd-mode vlan26"), "kov_get_fwd_mode(vlan26) = Standard, from cache\n");
}

// The lines of kovctl that a newcomer copies, but for those that go on until Ctrl-C.
std::vector<std::string> lines_to_copy(const std::string &readme)
{
    const std::string start = "    kovctl ";
    std::vector<std::string> lines;
    std::istringstream stream(readme);
    for (std::string line; std::getline(stream, line);) {
        const bool ends = line.find("watch") == line.npos && line.find("debug on") == line.npos;
        if (line.starts_with(start) && ends)
            lines.push_back(line.substr(start.size(), line.find("  ", start.size()) - start.size()));
    }
    return lines;
}

TEST_F(Path, TheLinesOfTheReadmeCanBeCopied)
{
    serve();
    client("arp");
    client("bgp");
    const auto lines = lines_to_copy(read(source("lab/README.md")));
    EXPECT_EQ(lines.size(), 19u);
    for (const std::string &line : lines) {
        const std::size_t file = line.find("lab/scenarios/");
        ask(file == line.npos ? line : line.substr(0, file) + source(line.substr(file)));
    }
}

TEST_F(Path, HelpTellsOfACommandAndRunsNothing)
{
    serve();
    client("arp");
    // clang-format off
    const struct { const char *line, *says; } rows[] = {
        {"help",                     "kovctl's own: get, watch, wait, debug, audit, stats, load; help WORD tells of one"},
        {"help del svi",             "NAME: remove an SVI and tell clients"},
        {"help del",                 "del geninfo "},
        {"help watch",               "Usage: kovctl watch [OPTIONS]"},
        {"-c arp help stats",        "Usage: kovctl stats [OPTIONS]"},
        {"del svi vlan10 --help",    "NAME: remove an SVI and tell clients"},
        {"wait clients 1 --help",    "CONDITION is server, idle, "},
        {"report --help",            "Usage: kovctl report [OPTIONS]"},
        {"-c arp glean --help",      "VRF DEST SOURCE SVI [iif=INTERFACE] [value=N]"},
    };
    // clang-format on
    for (const auto &[line, says] : rows)
        EXPECT_NE(ask(line).find(says), std::string::npos) << line << "\n" << ask(line);
    EXPECT_EQ(kovctl("help speed").err, "no command begins with 'speed'; help lists them all\n");
    EXPECT_EQ(status("svis"), "40");
    EXPECT_EQ(status("general information"), "yes");
    EXPECT_EQ(status("clients"), "1");
}

TEST_F(Path, ADeregisteredClientIsForgotten)
{
    Process &server = serve(leaf(), {"-v"});
    Process &arp = client("arp");
    EXPECT_EQ(status("clients"), "1");
    EXPECT_EQ(arp.stop().status, 0);
    EXPECT_TRUE(server.says("deregister \"arp\" (pid " + std::to_string(arp.pid())));
    ask("wait clients 0");
    EXPECT_EQ(status("clients"), "0");
    EXPECT_EQ(ask("set geninfo fabric_id=1"),
              "general information: fabric_id 7 -> 1; no client wants to know\n");
}

TEST_F(Path, TheServerTellsEachFrameWhenItIsAskedTo)
{
    Process &server = serve(leaf(), {"--verbose"});
    Process &arp = client("arp", "9,18");
    EXPECT_TRUE(server.says("kovd: from SAP 2000 (pid " + std::to_string(arp.pid()) +
                            "): register \"arp\" (pid " + std::to_string(arp.pid()) +
                            ", SAP 2000) for types 9,18\n"));
}

// ---- Full queues, dead clients --------------------------------------------------------------------------

class Operator
{
public:
    explicit Operator(const std::string &dir) : session_(kov_host_session_open(dir.c_str(), "kovd", 0)) {}
    ~Operator() { kov_host_session_close(session_); }
    Operator(const Operator &) = delete;
    Operator &operator=(const Operator &) = delete;

    std::string run(const std::string &line)
    {
        std::string output;
        kov_host_cli_event event{};
        EXPECT_EQ(kov_host_session_command(session_, line.c_str()), 0);
        while (kov_host_session_next(session_, -1, &event) == 1 && event.kind != KOV_HOST_CLI_DONE)
            output.append(event.text, event.size);
        return output;
    }

private:
    kov_host_session *session_;
};

TEST_F(Path, MessagesToAStoppedClientWaitAndThenAllArriveInOrder)
{
    serve();
    Process &arp = client("arp");
    arp.signal(SIGSTOP);
    Operator kovd(runtime());
    int changes = 0;
    bool waiting = false;
    while (!waiting && changes < 5000) {
        for (int i = 0; i < 100; ++i)
            kovd.run("set geninfo fabric_id=" + std::to_string(1000 + ++changes));
        waiting = kovd.run("status").find("messages waiting: 0\n") == std::string::npos;
    }
    ASSERT_TRUE(waiting) << "the socket took everything";
    arp.signal(SIGCONT);
    ask("wait idle");
    handled("arp", changes);
    EXPECT_EQ(status("handled", "arp"), std::to_string(changes));
    EXPECT_EQ(status("messages lost"), "0");
    EXPECT_NE(status("messages delayed"), "0");
    EXPECT_EQ(ask("-c arp get fabric-id"),
              "kov_get_fabric_id() = " + std::to_string(1000 + changes) + ", from cache\n");
    const std::string output = arp.output();
    std::size_t at = 0;
    for (int i = 1; i <= changes && at != std::string::npos; ++i)
        at = output.find("type 4, fabric id: " + std::to_string(1000 + i) + "\n", at);
    EXPECT_NE(at, std::string::npos) << "in order, none missing";
}

TEST_F(Path, AClientThatDiedIsStruckOffAndTheOthersAreTold)
{
    Process &server = serve();
    Process &dead = client("dead");
    client("alive");
    dead.signal(SIGKILL);
    EXPECT_EQ(dead.finish().status, 128 + SIGKILL);
    forget(dead);
    ask("set geninfo fabric_id=5");
    EXPECT_TRUE(server.says("client \"dead\" (SAP 2000) is struck off"));
    handled("alive", 1);
    EXPECT_EQ(status("clients"), "1");
    EXPECT_EQ(status("messages lost"), "1");
}

// ---- What the operator sees -----------------------------------------------------------------------------

TEST_F(Path, TracesAppearOnTheTerminalThatAskedForThem)
{
    serve();
    client("arp");
    const auto traces = start("kovctl", {"-c", "arp", "debug", "on", "--count", "1"});
    ASSERT_TRUE(traces->says("traces of arp; Ctrl-C ends\n"));
    ask("-c arp get fabric-id");
    EXPECT_EQ(traces->finish().status, 0);
    EXPECT_EQ(lines_in(traces->finish().out), 2u) << traces->finish().out;
    const auto until_stopped = start("kovctl", {"-c", "arp", "debug", "on"});
    ASSERT_TRUE(until_stopped->says("Ctrl-C ends"));
    ask("-c arp get fabric-id");
    EXPECT_TRUE(until_stopped->says("Reading fabric id: 7 from RDB")) << until_stopped->output();
    EXPECT_EQ(until_stopped->stop().status, 0);
}

TEST_F(Path, ListsAndRecordsCanBeLookedAt)
{
    serve();
    client("arp", "9");
    const std::string svis = ask("list svis");
    EXPECT_EQ(lines_in(svis), 41u);
    EXPECT_NE(svis.find("vlan3900   up    Anycast Gateway            default"), std::string::npos) << svis;
    EXPECT_NE(ask("list clients").find("arp                      0        svi\n"), std::string::npos);
    EXPECT_NE(ask("show svi vlan12").find("migration_enabled          yes\n"), std::string::npos);
    EXPECT_NE(ask("show geninfo").find("switch_role                leaf+border\n"), std::string::npos);
    EXPECT_EQ(kovctl("show svi vlan99").err,
              "there is no vlan99; there are vlan10, vlan11, vlan12, vlan13, vlan14, "
              "vlan15 and 34 more: list svis\n");
    const std::string topologies = ask("list topologies");
    EXPECT_EQ(lines_in(topologies), 31u);
    EXPECT_NE(topologies.find("16     10016     L2/L3 ARP Suppression      yes      vlan16\n"),
              std::string::npos)
        << topologies;
    EXPECT_NE(ask("show topology 14").find("suppress_arp_mode          l2\n"), std::string::npos);
    EXPECT_EQ(kovctl("show topology 999").err,
              "there is no topology 999; there are 10, 11, 12, 13, 14, 15 and 24 more: list topologies\n");
    const std::string ports = ask("list ports");
    EXPECT_EQ(lines_in(ports), 18u);
    EXPECT_NE(ports.find("\neth2/31    on        on\n"), std::string::npos) << ports;
    EXPECT_EQ(ask("show port eth1/48"), "tracking                   off\nl2dci                      on\n");
    EXPECT_EQ(kovctl("show port eth1/49").err, "eth1/49 is outside its card, which has 48 ports\n");
    const std::string prefixes = ask("list prefixes");
    EXPECT_EQ(lines_in(prefixes), 61u);
    EXPECT_NE(prefixes.find("guest                            2001:db8:2:119::/64\n"), std::string::npos)
        << prefixes;
    EXPECT_EQ(status("registered", "arp"), "yes");
    EXPECT_EQ(status("svis"), "40");
    EXPECT_EQ(status("topologies"), "30");
    EXPECT_EQ(status("slots with tracked ports"), "4");
    EXPECT_EQ(status("slots with l2dci ports"), "4");
    EXPECT_EQ(status("prefixes"), "60");
}

TEST_F(Path, WithoutACommandKovctlRunsTheLinesOfItsInput)
{
    serve();
    client("arp");
    const std::string kovctl = std::string(KOV_BIN_DIR) + "/kovctl -c arp";
    const Result result =
        run({"/bin/sh", "-c", "printf 'get fabric-id\\nget speed\\nget fwd-encap\\n' | " + kovctl},
            {{"KOV_HOST_DIR", runtime()}});
    EXPECT_EQ(result.status, 0) << "that of the last line";
    EXPECT_EQ(result.out, "kov_get_fabric_id() = 7, from cache\n"
                          "kov_get_fwd_encap_type(mac) = Vxlan, router MAC 0011.2233.4455, from cache\n");
    EXPECT_TRUE(result.err.starts_with("there is no query \"speed\"\nusage: get QUERY"));
}

TEST_F(Path, ALineThatKovctlDoesNotKnowRunsAtTheOtherEnd)
{
    serve();
    client("arp");
    EXPECT_NE(ask("-c arp show host").find("Messages received"), std::string::npos);
    EXPECT_NE(ask("help").find("set geninfo"), std::string::npos);
}

} // namespace
