// Hosts' profiles: what a client asks, what the server answers, and what it asks of its own accord.
#include "profile_lab.h"
#include "scenario.h"

#include <cstring>
#include <sstream>

namespace
{

using namespace integration;
using namespace kov_lab;

struct Asked {
    const char *command; // to the client
    const char *call;
    const char *request; // as the server shows it
    const char *answer;  // as the client's callback shows it
};

TEST_F(HostProfileOf, AClientIsAddedCheckedAndDeletedAndEachIsAnswered)
{
    // clang-format off
    const Asked rows[] = {
        {"profile add 10.1.2.3 vni=10116 mac=0011.2233.4455 profile=web param=mtu=9000 param=x",
         "kov_profile_add_host(10.1.2.3, reference 1) = 1",
         "profile add of 10.1.2.3 (reference 1): vni=10116 mac=0011.2233.4455 profile=web param=mtu=9000 param=x",
         "answered: add of 10.1.2.3 (reference 1): No Error, VNI 10116, bridge domain 116"},
        {"profile add printer vlan=7",
         "kov_profile_add_host(printer, reference 2) = 1",
         "profile add of printer (reference 2): entity=1 vlan=7",
         "answered: add of printer (reference 2): No Error, VLAN 7"},
        {"profile check 10.1.2.3",
         "kov_profile_check_host(10.1.2.3, reference 1) = 1",
         "profile check of 10.1.2.3 (reference 1)",
         "answered: check of 10.1.2.3 (reference 1): No Error, VNI 10116, bridge domain 116"},
        {"profile del 10.1.2.3",
         "kov_profile_del_host(10.1.2.3, reference 1) = 1",
         "profile delete of 10.1.2.3 (reference 1)",
         "answered: delete of 10.1.2.3 (reference 1): No Error, VNI 10116, bridge domain 116"},
    };
    // clang-format on
    serve();
    Process &arp = client("arp");
    const auto terminal = frames();
    for (const Asked &row : rows) {
        EXPECT_EQ(ask(std::string("-c arp ") + row.command), std::string(row.call) + "\n");
        EXPECT_TRUE(terminal->says(row.request)) << terminal->output();
        EXPECT_TRUE(arp.says(row.answer)) << arp.output();
    }
    EXPECT_TRUE(terminal->says("(arp): type 12, profile message: add of printer (reference 2): No Error\n"));
    EXPECT_EQ(ask("list profiles"), list_head + "arp                      printer                  2         "
                                                "entity=1 vlan=7\n");
    EXPECT_EQ(status("profiles"), "1");
    EXPECT_EQ(status("handled", "arp"), "4");
    EXPECT_EQ(terminal->stop().status, 0);
}

TEST_F(HostProfileOf, ARequestIsAnsweredWithTheResultThatTheScenarioAsksFor)
{
    serve(scenario_with_reply("22"));
    Process &arp = client("arp");
    ask("-c arp profile add h vni=5000");
    EXPECT_TRUE(arp.says("answered: add of h (reference 1): Error: No profile found, VNI 5000\n"));
    EXPECT_EQ(ask("list profiles"), list_head) << "a profile that was not applied is not kept";

    EXPECT_EQ(ask("profile reply 2"), "requests are answered with 2, No Error: Refresh\n");
    ask("-c arp profile add h vni=5000");
    EXPECT_TRUE(arp.says("answered: add of h (reference 1): No Error: Refresh, VNI 5000\n"));
    EXPECT_EQ(status("profiles"), "1");

    ask("profile reply 21");
    ask("-c arp profile del h");
    EXPECT_TRUE(arp.says("answered: delete of h (reference 1): Error, VNI 5000\n"));
    EXPECT_EQ(status("profiles"), "1") << "a refused delete leaves the host";
}

struct Codes {
    unsigned first, last;
    const char *told; // by which callback, and with which text
};

const Codes codes[] = {
    {1, 1, "answered: add of h (reference 1): No Error"},
    {2, 2, "answered: add of h (reference 1): No Error: Refresh"},
    {3, 3, "check this: check of h (reference 1): No Error: Other"},
    {4, 20, "answered: add of h (reference 1): Error: Unknown"},
    {21, 21, "answered: add of h (reference 1): Error"},
    {22, 22, "answered: add of h (reference 1): Error: No profile found"},
    {23, 23, "answered: add of h (reference 1): Error: Invalid profile"},
    {24, 24, "answered: add of h (reference 1): Error: No VLAN"},
    {25, 25, "answered: add of h (reference 1): Error: No VNI"},
    {26, 26, "answered: add of h (reference 1): Error: ADMB error"},
    {27, 28, "answered: add of h (reference 1): Error: Other"},
    {29, 29, "answered: add of h (reference 1): Error: Invalid request"},
    {30, 30, "answered: add of h (reference 1): Error: No host found"},
    {31, 31, "answered: add of h (reference 1): Error: System not ready"},
    {32, 40, "answered: add of h (reference 1): Error: Other"},
    {41, 41, "clear this: delete of h (reference 1): Clear: Auto-config"},
    {42, 42, "clear this: delete of h (reference 1): Clear: Profile deleted"},
    {43, 43, "clear this: delete of h (reference 1): Clear: Profile changed"},
    {44, 44, "clear this: delete of h (reference 1): Clear: VLAN deleted"},
    {45, 45, "clear this: delete of h (reference 1): Clear: VLAN changed"},
    {46, 47, "clear this: delete of h (reference 1): Clear: VNI deleted"},
    {48, 48, "answered: add of h (reference 1): Error: Other"},
};

std::string lines_with(const std::string &what, const std::string &text)
{
    std::istringstream all(text);
    std::string found;
    for (std::string line; std::getline(all, line);)
        if (line.find(what) != line.npos)
            found += line + "\n";
    return found;
}

TEST_F(HostProfileOf, EveryResultReachesItsCallbackWithItsText)
{
    serve();
    Process &arp = client("arp");
    std::string expected;
    unsigned asked = 0;
    for (const Codes &row : codes)
        for (unsigned code = row.first; code <= row.last; ++code) {
            EXPECT_EQ(code, ++asked) << "no code is left out";
            ask("profile reply " + std::to_string(code));
            ask("-c arp profile add h vni=5000");
            ask("-c arp wait handled " + std::to_string(code));
            expected += std::string(row.told) + ", VNI 5000\n";
        }
    EXPECT_EQ(asked, 48u);
    EXPECT_EQ(ask("profile reply"), "requests are answered with 48, Error: Other\n");
    EXPECT_EQ(status("profile reply"), "48, Error: Other");
    ask("profile reply 1");
    ask("-c arp profile add end vlan=7");
    EXPECT_TRUE(arp.says("answered: add of end"));
    EXPECT_EQ(lines_with(" of h (reference 1): ", arp.output()), expected);
}

TEST_F(HostProfileOf, AScenarioMayAskForEveryResult)
{
    for (unsigned code = 1; code <= 48; ++code) {
        Scenario scenario;
        std::vector<std::string> mistakes;
        EXPECT_TRUE(load_scenario(scenario_with_reply(std::to_string(code)), scenario, mistakes)) << code;
        EXPECT_EQ(scenario.profile_code, code);
    }
}

TEST_F(HostProfileOf, AHostThatIsNotKeptIsNoneToCheckOrDelete)
{
    serve();
    Process &arp = client("arp");
    ask("-c arp profile check h");
    EXPECT_TRUE(arp.says("answered: check of h (reference 1): Error: No host found\n"));
    ask("-c arp profile del h");
    EXPECT_TRUE(arp.says("answered: delete of h (reference 1): Error: No host found\n"));
    ask("profile reply 21");
    ask("-c arp profile check h");
    EXPECT_TRUE(arp.says("answered: check of h (reference 1): Error\n")) << "bad news is for every host";
}

TEST_F(HostProfileOf, TheServerHasAClientCheckAHostAndClearIt)
{
    serve();
    Process &arp = client("arp");
    ask("-c arp profile add h vni=5000");
    ask("-c arp wait handled 1");
    EXPECT_EQ(ask("profile check arp h"), "asked arp: check of h, No Error: Other\n");
    EXPECT_TRUE(arp.says("check this: check of h (reference 1): No Error: Other, VNI 5000\n"));
    EXPECT_EQ(ask("profile clear arp h"), "asked arp: delete of h, Clear: Profile deleted\n");
    EXPECT_TRUE(arp.says("clear this: delete of h (reference 1): Clear: Profile deleted, VNI 5000\n"));
    EXPECT_EQ(ask("list profiles"), list_head) << "what was cleared is forgotten";
    const Result again = kovctl("profile clear arp h");
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(again.err, "arp has no profile for h\n");
}

TEST_F(HostProfileOf, TheServerSaysWhyAHostIsToBeCleared)
{
    serve();
    Process &arp = client("arp");
    for (unsigned code = 41; code <= 47; ++code) {
        ask("-c arp profile add h vni=5000");
        ask("-c arp wait handled " + std::to_string(2 * (code - 41) + 1));
        const std::string why = kov_profile_data_value_to_string(code);
        EXPECT_EQ(ask("profile clear arp h " + std::to_string(code)),
                  "asked arp: delete of h, " + why + "\n");
        EXPECT_TRUE(arp.says("clear this: delete of h (reference 1): " + why + ", VNI 5000\n"));
    }
}

TEST_F(HostProfileOf, AClientThatDoesNotWantType12IsNotAnswered)
{
    serve();
    client("arp", "9");
    const auto terminal = frames();
    ask("-c arp profile add h vni=5000");
    EXPECT_TRUE(terminal->says("does not want the answer: type 12 is none of its own"));
    const Result refused = kovctl("profile check arp h");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err, "no client \"arp\" is registered for type 12\n");
    EXPECT_EQ(status("handled", "arp"), "0");
    EXPECT_EQ(terminal->stop().status, 0);
}

// The library hands a key's length on as it came. The key has 45 bytes all the same.
TEST_F(HostProfileOf, AKeyThatClaimsToBeLongerThan45BytesIsToldAndProbedByThose)
{
    const std::string host = "0000:0000:0000:0000:0000:ffff:255.255.255.255";
    kov_uhost_key_t key = host_key(host, KOV_PROFILE_OP_CHECK);
    ASSERT_EQ(key.key_len, 45u);
    key.key_len = 200;
    std::memset(&key.options, 'x', sizeof key.options);
    kov_profile_reply reply{};
    reply.code = code_check;
    const std::string message = hex(profile_message(key, reply), 0, 5555);

    serve();
    Process &arp = client("arp");
    ask("-c arp set host " + host + " vlan10");
    ask("inject arp " + message);
    EXPECT_TRUE(
        arp.says("check this: check of " + host + " (reference 0): No Error: Other\n  it answers on "));
    ask("wait found 1");

    const auto text = start("kovctl", {"watch", "--types", "12", "--count", "1"});
    ASSERT_TRUE(text->says("watching; Ctrl-C ends\n"));
    ask("inject 2001 " + message);
    EXPECT_TRUE(
        text->says("\ntype 12, profile message: check of " + host + " (reference 0): No Error: Other\n"));
    EXPECT_EQ(text->finish().status, 0);
    const auto json = start("kovctl", {"watch", "--types", "12", "--count", "1", "--json"});
    ASSERT_TRUE(json->says("watching; Ctrl-C ends\n"));
    ask("inject 2001 " + message);
    EXPECT_TRUE(json->says("\"host\":\"" + host + "\"")) << json->output();
    EXPECT_EQ(json->finish().status, 0);
}

struct Wrong {
    const char *line;
    int status;
    const char *err;
};

TEST_F(HostProfileOf, WordsThatAreWrongAreRefusedWithTheReason)
{
    const std::string options =
        "entity, vni, vlan, mac, domain, host_id, vrf, profile, instance, include_vrf, "
        "include_profile, include_instance, user_data, param, include_param";
    const std::string unknown = "color: is not an option; the options are " + options + "\n";
    // clang-format off
    const Wrong rows[] = {
        {"-c arp profile add", 2, "usage: profile add HOST [OPTION=VALUE...]\n"},
        {"-c arp profile del", 2, "usage: profile del HOST\n"},
        {"-c arp profile check a b", 2, "usage: profile check HOST\n"},
        {"-c arp profile add h", 1, "kov_profile_add_host(h, reference 1) = 0: a host on a segment needs a VNI above 4095\n"},
        {"-c arp profile add h vni=4095 vlan=7", 1, "kov_profile_add_host(h, reference 1) = 0: a host on a segment needs a VNI above 4095\n"},
        {"-c arp profile add h vlan=4096", 1, "kov_profile_add_host(h, reference 1) = 0: a host on a VLAN needs one from 1 to 4095\n"},
        {"-c arp profile add h entity=16", 1, "kov_profile_add_host(h, reference 1) = 0: a host on a VLAN needs one from 1 to 4095\n"},
        {"-c arp profile add h vni", 1, "\"vni\" is not OPTION=VALUE\n"},
        {"-c arp profile add h color=red", 1, unknown.c_str()},
        {"-c arp profile del 0123456789012345678901234567890123456789012345", 1,
         "\"0123456789012345678901234567890123456789012345\" is not 1 to 45 characters\n"},
        {"profile reply 1 2", 2, "usage: profile reply [CODE]\n"},
        {"profile check arp", 2, "usage: profile check CLIENT HOST\n"},
        {"profile clear arp", 2, "usage: profile clear CLIENT HOST [CODE]\n"},
        {"profile clear arp h 42 43", 2, "usage: profile clear CLIENT HOST [CODE]\n"},
        {"profile clear arp h 40", 1, "40 is out of range, it must be from 41 to 47\n"},
        {"profile clear arp h 48", 1, "48 is out of range, it must be from 41 to 47\n"},
        {"profile check nd h", 1, "no client \"nd\" is registered for type 12\n"},
        {"profile check arp h", 1, "arp has no profile for h\n"},
    };
    // clang-format on
    serve();
    client("arp");
    for (const Wrong &row : rows) {
        const Result result = kovctl(row.line);
        EXPECT_EQ(result.status, row.status) << row.line;
        EXPECT_EQ(result.err, row.err);
    }
    EXPECT_EQ(kovctl("profile reply 49").status, 1);
    EXPECT_EQ(kovctl("profile reply 0").status, 1);
    EXPECT_EQ(status("frames received"), "1") << "nothing was sent";
}

TEST_F(HostProfileOf, AScenarioWithAResultThatIsNoneIsRefused)
{
    for (const char *reply : {"0", "49", "\"good\""}) {
        const Result result = run_lab("kovd", {"--scenario", scenario_with_reply(reply)});
        EXPECT_EQ(result.status, 1) << reply;
        EXPECT_NE(result.err.find(":1: profiles.reply: "), std::string::npos) << result.err;
    }
}

} // namespace
