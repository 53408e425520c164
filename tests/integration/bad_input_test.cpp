// What goes wrong at the start, at the command line and on the wire, and what is said about it.
#include "messages.h"
#include "real_lab.h"

#include <csignal>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

using namespace integration;

class BadStart : public RealLab
{
protected:
    // kovd refuses with exit code 1 and one line that has the text.
    void expect_refusal(const std::vector<std::string> &words, const std::string &text)
    {
        const Result result = run_lab("kovd", words);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(lines_in(result.err), 1u) << result.err;
        EXPECT_NE(result.err.find(text), std::string::npos) << result.err;
    }
};

TEST_F(BadStart, ABadScenarioIsRefusedAndNothingIsPublished)
{
    struct Row {
        const char *text;
        const char *says;
    };
    const Row rows[] = {
        {"{\n \"svis\": oops }", ":2:10: is not JSON: "},
        {"{\n \"switch\": {} }", ":2: switch: is not known here"},
        {"{ \"general\": {\n \"fabric_id\": -2 } }", ":2: general.fabric_id: -2 is out of range"},
        {"{ \"svis\": [ {\"svi\": \"vlan1\"},\n {\"svi\": \"vlan1\"} ] }",
         ":2: svis[1].svi: vlan1 is there already"},
    };
    for (const Row &row : rows) {
        const std::string file = write("bad.json", row.text);
        expect_refusal({"-s", file}, "kovd: " + file + row.says);
        EXPECT_FALSE(std::filesystem::exists(runtime())) << "not even the runtime directory";
    }
    expect_refusal({"-s", path("none.json")}, "none.json: cannot be read: No such file or directory");
}

TEST_F(BadStart, ABadScenarioLeavesWhatIsPublishedAlone)
{
    serve();
    expect_refusal({"-s", write("bad.json", "[]")}, "scenario: must be an object");
    EXPECT_EQ(ask("get fabric-id"), "kov_get_fabric_id() = 7, from database (1 read)\n");
}

TEST_F(BadStart, ASecondServerIsRefused)
{
    Process &server = serve();
    expect_refusal({"-s", write("other.json", "{}")},
                   "is already running in " + runtime() + " (pid " + std::to_string(server.pid()) + ")");
    EXPECT_EQ(status("svis"), "40") << "the first one's records stand";
}

TEST_F(BadStart, ARuntimeDirectoryOfAnotherUserIsRefused)
{
    std::filesystem::create_directory(runtime());
    const std::string foreign = geteuid() == 0 ? runtime() : "/";
    ASSERT_TRUE(geteuid() != 0 || chown(foreign.c_str(), 1, 1) == 0);
    expect_refusal({"-s", leaf(), "-d", foreign},
                   "runtime directory " + foreign + " belongs to another user");
}

TEST_F(BadStart, ARuntimeDirectoryThatEverybodyMayWriteIsRefused)
{
    std::filesystem::create_directory(runtime());
    chmod(runtime().c_str(), 0777);
    expect_refusal({"-s", leaf()}, "may be written by every user");
}

TEST_F(BadStart, ARuntimeDirectoryThatCannotBeWrittenIsRefused)
{
    // The superuser may write everywhere but in the kernel's own file systems.
    const std::string place = geteuid() == 0 ? "/proc/self" : runtime();
    std::filesystem::create_directory(runtime());
    chmod(runtime().c_str(), 0500);
    expect_refusal({"-s", leaf(), "-d", place + "/run"}, place + "/run");
}

TEST_F(BadStart, ARuntimeDirectoryThatIsAFileIsRefused)
{
    write("run", "a file");
    expect_refusal({"-s", leaf()}, runtime() + " is not a directory");
}

TEST_F(BadStart, TheServerNeedsAScenario)
{
    const Result result = run_lab("kovd", {});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("--scenario is required"), std::string::npos) << result.err;
    EXPECT_EQ(run_lab("kovd", {"--help"}).status, 0);
}

TEST_F(BadStart, WithoutAServerEveryoneSaysWhatToDo)
{
    EXPECT_EQ(kovctl("status").status, 3);
    const std::string advice = "no server in " + runtime() + ": start one with kovd";
    EXPECT_NE(kovctl("status").err.find(advice), std::string::npos) << kovctl("status").err;
    for (const char *line : {"get fabric-id", "watch"}) {
        EXPECT_EQ(kovctl(line).status, 3);
        EXPECT_NE(kovctl(line).err.find("does not exist: start the server first"), std::string::npos);
    }
    const Result agent = run_lab("kov-agent", {});
    EXPECT_EQ(agent.status, 1);
    EXPECT_NE(agent.err.find("does not exist: start the server first"), std::string::npos) << agent.err;
}

TEST_F(BadStart, WithoutALivingServerAClientSaysWhatToDo)
{
    EXPECT_EQ(serve().stop().status, 0);
    const Result agent = run_lab("kov-agent", {});
    EXPECT_EQ(agent.status, 1);
    EXPECT_EQ(agent.err, "kov-agent: the server does not answer: start one with kovd\n");
    EXPECT_EQ(kovctl("watch").status, 3);
    EXPECT_NE(kovctl("watch").err.find("no server in " + runtime()), std::string::npos);
    EXPECT_EQ(ask("get fabric-id"), "kov_get_fabric_id() = 7, from database (1 read)\n")
        << "the records are still there";
}

TEST_F(BadStart, AClientsNameCanBeTakenOnce)
{
    serve();
    Process &arp = client("arp");
    const Result second = run_lab("kov-agent", {"--name", "arp"});
    EXPECT_EQ(second.status, 1);
    EXPECT_EQ(second.err, "kov-agent: the name arp is taken by a running process (pid " +
                              std::to_string(arp.pid()) + ")\n");
    EXPECT_EQ(run_lab("kov-agent", {"--name", "not/a/name"}).status, 1);
    const Result no_type = run_lab("kov-agent", {"--types", "21"});
    EXPECT_EQ(no_type.status, 2);
    EXPECT_TRUE(no_type.err.starts_with("kov-agent: \"21\" is no message type: 1 to 20, ")) << no_type.err;
    EXPECT_EQ(run_lab("kov-agent", {"stray"}).status, 2);
}

TEST_F(BadStart, ADamagedDatabaseIsNamedAndReplacedOnlyWhenAsked)
{
    const std::string file = runtime() + "/kov_rdb_info";
    for (const bool truncated : {false, true}) {
        Process &first = serve(leaf(), {"--replace"});
        EXPECT_EQ(first.stop().status, 0);
        forget(first);
        if (truncated)
            std::filesystem::resize_file(file, 5000);
        else
            write("run/kov_rdb_info", std::string(70000, 'x'));
        expect_refusal({"-s", leaf()}, "start with --replace to have it published anew");
        const Result question = kovctl("get fabric-id");
        EXPECT_EQ(question.status, 1) << question.out;
        EXPECT_NE(question.err.find("the database cannot be read: "), std::string::npos) << question.err;
    }
    serve(leaf(), {"--replace"});
    EXPECT_EQ(ask("get fabric-id"), "kov_get_fabric_id() = 7, from database (1 read)\n");
}

// ---- The command line -----------------------------------------------------------------------------------

struct Refusal {
    const char *line;
    int status;
    const char *says;
};

TEST_F(BadStart, AWrongLineIsRefusedAndChangesNothing)
{
    // clang-format off
    const Refusal refusals[] = {
        {"set svi vlan10 fwd_mode=turbo",              1, "fwd_mode: \"turbo\" is none of standard, "},
        {"set svi vlan10 is_up=no fwd_mode=turbo",     1, "fwd_mode: \"turbo\" is none of"},
        {"set svi vlan10 fwd_mode",                    1, "\"fwd_mode\" is not FIELD=VALUE"},
        {"set svi vlan10 speed=1",                     1, "speed: is not a field; the fields are vlan_id, "},
        {"set svi vlan10 is_up=no as=4",               1, "as: no message of type 4 tells of such a change"},
        {"set svi eth1/1 is_up=no",                    1, "\"eth1/1\" is not an SVI"},
        {"set geninfo fabric_id=-1",                   1, "fabric_id: -1 is out of range"},
        {"set geninfo switch_role=leaf as=9",          1, "as: no message of type 9 tells of such a change"},
        {"set geninfo",                                2, "usage: set geninfo "},
        {"set svi",                                    2, "usage: set svi "},
        {"del svi",                                    2, "usage: del svi NAME"},
        {"del svi vlan9",                              1, "there is no vlan9"},
        {"del svi po1",                                1, "\"po1\" is not an SVI"},
        {"set svi vlan14 suppress_arp=no",             1, "suppress_arp: is that of topology 14; set it there"},
        {"set topology",                               2, "usage: set topology "},
        {"set topology 0 vni=1",                       1, "bridge domain: 0 is out of range"},
        {"set topology ten vni=1",                     1, "bridge domain: \"ten\" is not a whole number"},
        {"set topology 10 vni=16777216",               1, "vni: 16777216 is out of range"},
        {"set topology 10 suppress_arp_mode=l3",       1, "suppress_arp_mode: \"l3\" is none of disabled, l2, l2-l3"},
        {"set topology 10 svi=vlan11",                 1, "svi: vlan11 is that of topology 11"},
        {"set topology 10 svi=eth1/1",                 1, "svi: \"eth1/1\" is not an SVI"},
        {"set topology 10 as=9",                       1, "as: no message of type 9 tells of such a change"},
        {"del topology",                               2, "usage: del topology BD"},
        {"del topology 999",                           1, "there is no topology 999"},
        {"del topology 65536",                         1, "bridge domain: 65536 is out of range"},
        {"show topology",                              2, "usage: show topology BD"},
        {"show topology x",                            1, "\"x\" is not a whole number"},
        {"set port eth1/5",                            2, "usage: set port NAME FIELD=VALUE"},
        {"set port eth1/49 tracking=on",               1, "eth1/49 is outside its card, which has 48 ports"},
        {"set port eth3/1 tracking=on",                1, "eth3/1 is on none of the line_cards: eth1, eth2"},
        {"set port po3 tracking=on",                   1, "po3 is not among the port_channels"},
        {"set port vlan10 tracking=on",                1, "\"vlan10\" is not a port, like eth1/5 or po10"},
        {"set port eth1/5 tracking=maybe",             1, "tracking: \"maybe\" is none of no, yes, off, on"},
        {"set port eth1/5 mtu=9000",                   1, "mtu: is not a field; the fields are tracking, l2dci"},
        {"set port eth1/5 as=9",                       1, "as: no message of type 9 tells of such a change"},
        {"del port",                                   2, "usage: del port NAME"},
        {"del port eth1/5",                            1, "eth1/5 is in no record"},
        {"show port",                                  2, "usage: show port NAME"},
        {"set prefix red",                             2, "usage: set prefix VRF ADDRESS/LENGTH"},
        {"set prefix blue 10.0.0.0/8",                 1, "there is no VRF blue"},
        {"set prefix red 10.0.0.0/33",                 1, "has a prefix length that is not from 0 to 32"},
        {"set prefix red 10.1.2.3/16",                 1, "has host bits set; the prefix is 10.1.0.0/16"},
        {"set prefix red ten",                         1, "\"ten\" is not an address with a prefix length"},
        {"del prefix red",                             2, "usage: del prefix VRF ADDRESS/LENGTH"},
        {"del prefix red 10.0.0.0/8",                  1, "there is no 10.0.0.0/8 in VRF red"},
        {"get port-tracking",                          2, "usage: get port-tracking PORT"},
        {"get port-l2dci vlan10",                      2, "\"vlan10\" is not a port"},
        {"inject arp",                                 2, "usage: inject "},
        {"inject arp 3",                               1, "not pairs of hexadecimal digits"},
        {"inject arp zz",                              1, "not pairs of hexadecimal digits"},
        {"inject arp 35 opcode",                       1, "\"opcode\" is no opcode"},
        {"inject nobody 35",                           1, "neither a client's name nor an access point"},
        {"inject 1999 35",                             1, "SAP 1999: "},
        {"get",                                        2, "usage: get QUERY"},
        {"get speed",                                  2, "usage: get QUERY"},
        {"get fwd-mode",                               2, "usage: get fwd-mode SVI"},
        {"get fwd-mode eth1/1",                        2, "\"eth1/1\" is not an SVI"},
        {"get forwarding-mode vlan10",                 2, "usage: get forwarding-mode SVI PORT"},
        {"get forwarding-mode vlan10 vlan11",          2, "\"vlan11\" is not a port"},
        {"get suppress-arp-mode 0",                    2, "0 is out of range, it must be from 1 to 65535"},
        {"get address-event vlan10 ten",               2, "\"ten\" is not an address"},
        {"get address-event vlan10 10.0.0.0/8",        2, "\"10.0.0.0/8\" is not an address"},
        {"get ferro-capable bridge",                   2, "\"bridge\" is not an interface, like vlan10, eth1/5 or po10"},
        {"get rt-conditional red",                     2, "usage: get rt-conditional VRF PREFIX"},
        {"get rt-conditional red 10.1.2.3/16",         2, "has host bits set; the prefix is 10.1.0.0/16"},
        {"get fabric-id 5",                            2, "usage: get fabric-id"},
        {"get conv-aging-timeout ipx",                 2, "the family is ipv4 or ipv6"},
        {"-c arp get speed",                           2, "usage: get QUERY"},
        {"-c nobody get fabric-id",                    3, "no client nobody"},
        {"-c arp set svi vlan10 is_up=no",             2, "unknown command 'set svi"},
        {"statsu",                                     2, "unknown command 'statsu'"},
        {"",                                           2, "kovctl"},
        {"-c arp verify red",                          2, "usage: verify VRF ADDRESS"},
        {"-c arp verify red 10.1.2",                   1, "\"10.1.2\" is not an address"},
        {"-c arp verify a-name-of-thirty-four-characters__ 10.1.2.3", 1, "= -1, not registered, or the name is longer"},
        {"-c arp report 10.1.2.3",                     2, "usage: report ADDRESS INTERFACE"},
        {"-c arp report 10.1.2.3 vlan",                1, "\"vlan\" is not an interface"},
        {"-c arp report 10.1.2.3 vlan10 vlan=4095",    1, "4095"},
        {"-c arp report 10.1.2.3 vlan10 port=vlan10",  1, "vlan10"},
        {"-c arp report 10.1.2.3 vlan10 bridge=1",     1, "\"bridge=1\" is none of vlan=, iod=, port= and port_iod="},
        {"-c arp set host 10.1.2.3",                   2, "usage: set host ADDRESS INTERFACE"},
        {"-c arp set host 10.1.2 vlan10",              1, "\"10.1.2\" is not an address"},
        {"-c arp set host 10.1.2.3 vlan10 iod=-1",     1, "-1 is out of range, it must be from 0 to 2147483647"},
        {"-c arp del host",                            2, "usage: del host ADDRESS"},
        {"-c arp del host ten",                        1, "\"ten\" is not an address"},
        {"-c arp del host 10.1.2.3",                   1, "10.1.2.3 did not answer before"},
        {"-c arp list hosts all",                      2, "usage: list hosts"},
        {"verify arp",                                 2, "usage: verify CLIENT ADDRESS"},
        {"verify arp ten",                             1, "\"ten\" is not an address"},
        {"verify nobody 10.1.2.3",                     1, "no client \"nobody\" is registered for type 12"},
        {"-c arp set vrf 1",                           2, "usage: set vrf ID NAME"},
        {"-c arp set vrf one default",                 1, "\"one\" is not a whole number"},
        {"-c arp set vrf 1 a-name-of-thirty-three-characters", 1, "is no VRF name: 1 to 32 characters"},
        {"-c arp set vrf 5 blue",                      1, "VRF 5 is red already"},
        {"-c arp set vrf 6 red",                       1, "VRF red has the id 5 already"},
        {"-c arp set route red",                       2, "usage: set route VRF PREFIX"},
        {"-c arp set route blue 10.0.0.0/8",           1, "this process knows no VRF blue; set vrf ID NAME makes it known"},
        {"-c arp set route red 10.1.2.3/16",           1, "has host bits set; the prefix is 10.1.0.0/16"},
        {"-c arp set route red 10.0.0.0/8 static",     1, "\"static\" is none of conditional, converted"},
        {"-c arp del route red",                       2, "usage: del route VRF PREFIX"},
        {"-c arp del route red 10.0.0.0/8",            1, "no route 10.0.0.0/8 in VRF 5"},
        {"-c arp set card",                            2, "usage: set card TYPE|none"},
        {"-c arp set card 0x10000",                    1, "\"0x10000\" is no card type: 0 to 65535, like 0x2101, or none"},
        {"-c arp set card 0x",                         1, "\"0x\" is no card type"},
        {"-c arp set card -1",                         1, "\"-1\" is no card type"},
        {"-c arp list vrfs all",                       2, "usage: list vrfs"},
        {"-c arp list routes all",                     2, "usage: list routes"},
        {"-c arp glean red 10.1.2.3 10.1.2.4",         2, "usage: glean VRF DEST SOURCE SVI"},
        {"-c arp glean blue 10.1.2.3 10.1.2.4 vlan10", 1, "this process knows no VRF blue"},
        {"-c arp glean red 10.1.2 10.1.2.4 vlan10",    1, "\"10.1.2\" is not an address"},
        {"-c arp glean red 10.1.2.3 ten vlan10",       1, "\"ten\" is not an address"},
        {"-c arp glean red 10.1.2.3 2001:db8::1 vlan10", 1, "destination and source are of two families"},
        {"-c arp glean red 10.1.2.3 10.1.2.4 eth1/1",  1, "\"eth1/1\" is not an SVI"},
        {"-c arp glean red 10.1.2.3 10.1.2.4 vlan10 iif=vlan", 1, "\"vlan\" is not an interface"},
        {"-c arp glean red 10.1.2.3 10.1.2.4 vlan10 value=x", 1, "\"x\" is not a whole number"},
        {"-c arp glean red 10.1.2.3 10.1.2.4 vlan10 ttl=1", 1, "\"ttl=1\" is none of iif= and value="},
        {"load",                                       2, "load needs -c NAME"},
        {"-c arp load",                                2, "usage: load SCENARIO"},
        {"wait",                                       2, "wait for: server"},
        {"wait clients",                               2, "wait for: server"},
        {"watch --types 0",                            2, "--types: \"0\" is no message type: 1 to 20, register, "},
        {"watch --types svis",                         2, "--types: \"svis\" is no message type"},
        {"set svi vlan10 is_up=no as=prefix",          1, "as: no message of type prefix tells of such a change; those that do are svi (9), fabric-ctrl-seg (11), "},
        {"inject arp 35 clients",                      1, "\"clients\" is no opcode: a number, or one of client, glean, "},
        {"profile reply good",                         1, "\"good\" is no code: 1 to 48, no-error, "},
        {"set svii vlan10",                            2, "did you mean set svi?"},
        {"-c arp set geninfo fabric_id=1",             2, "did you mean set card, set host, set route, set vrf?"},
        {"watch --count many",                         2, "--count"},
        {"wait clients many",                          2, "\"many\" is not a whole number"},
        {"wait clients -5",                            2, "-5 is out of range, it must be from 0"},
        {"wait registered",                            2, "\"registered\" is of a client: with -c NAME"},
        {"-c arp wait idle",                           2, "\"idle\" is of the server: without -c"},
        {"-c arp wait handled 0",                      2, "0 is out of range, it must be from 1"},
        {"wait clients 0 --timeout 0",                 4, "waited 0 s for kovd: clients 0; it says clients: 1"},
        {"glean red 10.1.2.3 10.1.2.4 vlan10",         2, "glean needs -c NAME: the server hears of packets, and gets none"},
        {"report 10.1.2.3 vlan10",                     2, "report needs -c NAME: the server hears of probes, and makes none"},
        {"bogus del svi vlan10",                       2, "unknown command 'bogus del svi vlan10'"},
        {"--bogus del svi vlan10",                     2, "not expected: --bogus"},
        {"set svi vlan10 is_up=no --bogus",            2, "not expected: --bogus"},
        {"wait clients 99 --timeout 0",                4, "waited 0 s for kovd: clients 99; it says clients: 1"},
    };
    // clang-format on
    serve();
    client("arp");
    ask("-c arp set vrf 5 red");
    for (const Refusal &refusal : refusals) {
        const Result result = kovctl(refusal.line);
        EXPECT_EQ(result.status, refusal.status) << refusal.line << "\n" << result.out << result.err;
        EXPECT_EQ(result.out, "") << refusal.line;
        EXPECT_NE(result.err.find(refusal.says), std::string::npos) << refusal.line << "\n" << result.err;
    }
    EXPECT_EQ(status("handled", "arp"), "0");
    EXPECT_NE(ask("show svi vlan10").find("is_up                      yes\n"), std::string::npos);
}

// ---- Hostile messages -----------------------------------------------------------------------------------

using kov_lab::Bytes;

// Claims about a message of one type-9 record; what is not claimed is true.
struct Hostile {
    const char *what;
    std::size_t size; // of the payload
    std::uint16_t major;
    std::uint16_t mtype;
    std::uint32_t count;
    std::uint32_t length;
    const char *opcode;
};

class HostileServer : public RealLab
{
protected:
    static std::string bytes_of(const Hostile &hostile)
    {
        Bytes bytes(std::max<std::size_t>(hostile.size, sizeof(kov_client_msg)));
        kov_client_msg header{};
        header.major = hostile.major;
        header.mtype = hostile.mtype;
        header.count = __builtin_bswap32(hostile.count);
        header.length = __builtin_bswap32(hostile.length);
        std::memcpy(bytes.data(), &header, sizeof header);
        bytes.resize(hostile.size);
        std::string hex = hostile.size == 0 ? "\"\"" : "";
        char digits[3];
        for (const std::uint8_t byte : bytes) {
            std::snprintf(digits, sizeof digits, "%02x", byte);
            hex += digits;
        }
        return hex;
    }
};

TEST_F(HostileServer, IsRefusedByAClientThatGoesOnAsBefore)
{
    // clang-format off
    const Hostile rows[] = {
        {"nothing at all",                       0,   53, 9,  1,          165, "0x3D400"},
        {"one byte",                             1,   53, 9,  1,          165, "0x3D400"},
        {"shorter than a header",                160, 53, 9,  0,          161, "0x3D400"},
        {"another version",                      165, 52, 9,  1,          165, "0x3D400"},
        {"a type beyond the last",               165, 53, 21, 1,          165, "0x3D400"},
        {"a count its payload cannot hold",      165, 53, 9,  1000,       4161, "0x3D400"},
        {"a count beyond all sizes",             165, 53, 9,  0xffffffff, 157, "0x3D400"},
        {"a count that wraps to its length",     165, 53, 9,  0x40000001, 165, "0x3D400"},
        {"a count that its length does not have", 165, 53, 9, 2,          165, "0x3D400"},
        {"a length that lies",                   165, 53, 9,  1,          166, "0x3D400"},
        {"a length of nothing",                  165, 53, 9,  1,          0,   "0x3D400"},
        {"records of type 11 cut short",         180, 53, 11, 1,          197, "0x3D400"},
        {"another opcode",                       165, 53, 9,  1,          165, "0x3D404"},
        {"a notification's opcode",              73,  53, 9,  0,          73,  "0x3D405"},
    };
    // clang-format on
    serve();
    client("arp");
    int received = 1; // the acknowledgement
    int good = 0;
    for (const Hostile &row : rows) {
        SCOPED_TRACE(row.what);
        const std::string sent = "sent " + std::to_string(row.size) + " bytes";
        const Result result =
            run_lab("kovctl", {"inject", "arp", bytes_of(row) == "\"\"" ? "" : bytes_of(row), row.opcode});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_TRUE(result.out.starts_with(sent)) << result.out;
        ask("-c arp wait received " + std::to_string(++received));
        EXPECT_EQ(status("handled", "arp"), std::to_string(good)) << "refused";
        EXPECT_EQ(status("registered", "arp"), "yes");

        // The next good one works.
        ask("set svi vlan10 vlan_id=" + std::to_string(100 + good));
        handled("arp", ++good);
        ++received;
        EXPECT_EQ(ask("-c arp get fwd-mode vlan10"),
                  "kov_get_fwd_mode(vlan10) = Anycast Gateway, from cache\n");
    }
}

TEST_F(HostileServer, ThatInjectsAGoodMessageIsBelieved)
{
    serve();
    client("arp");
    const Hostile good{"", 165, 53, 9, 1, 165, "0x3D400"};
    EXPECT_EQ(ask("inject arp " + bytes_of(good)), "sent 165 bytes to SAP 2000\n");
    handled("arp", 1);
}

} // namespace
