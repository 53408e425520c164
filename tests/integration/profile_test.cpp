// Hosts' profiles: what a client asks, what the server answers and keeps, and what it asks of its own accord.
#include "profile_messages.h"
#include "profile_options.h"
#include "profiles.h"
#include "real_lab.h"

#include <csignal>
#include <cstring>

namespace
{

using namespace integration;
using namespace kov_lab;

class HostProfileOf : public RealLab
{
protected:
    std::unique_ptr<Process> frames() const
    {
        auto terminal = start("kovctl", {"debug", "on"});
        EXPECT_TRUE(terminal->says("traces of kovd; Ctrl-C ends"));
        return terminal;
    }
    std::string scenario_with_reply(const std::string &reply) const
    {
        return write("reply.json", "{\"profiles\": {\"reply\": " + reply + "}}");
    }
    static std::size_t count(const std::string &text, const std::string &what)
    {
        std::size_t number = 0;
        for (std::size_t at = text.find(what); at != text.npos; at = text.find(what, at + 1))
            ++number;
        return number;
    }
};

const std::string list_head = "Client                   Host                     Reference Profile\n";

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
    const std::string usage = "usage: profile add HOST [OPTION=VALUE...], of " + options + "\n";
    // clang-format off
    const Wrong rows[] = {
        {"-c arp profile add", 2, usage.c_str()},
        {"-c arp profile del", 2, "usage: profile del HOST\n"},
        {"-c arp profile check a b", 2, "usage: profile check HOST\n"},
        {"-c arp profile add h", 1, "kov_profile_add_host(h, reference 1) = 0, not sent, or neither a VNI above 4095 nor a VLAN of 1 to 4095\n"},
        {"-c arp profile add h vni", 1, "\"vni\" is not OPTION=VALUE\n"},
        {"-c arp profile add h color=red", 1, unknown.c_str()},
        {"-c arp profile del 0123456789012345678901234567890123456789012345", 1,
         "\"0123456789012345678901234567890123456789012345\" is not 1 to 45 characters\n"},
        {"profile reply", 2, "usage: profile reply CODE\n"},
        {"profile check arp", 2, "usage: profile check CLIENT HOST\n"},
        {"profile clear arp", 2, "usage: profile clear CLIENT HOST\n"},
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

// ---- What is kept ----------------------------------------------------------------------------------------

TEST_F(HostProfileOf, AClientIsKnownToTheServerThatReturns)
{
    Process &first = serve();
    Process &arp = client("arp");
    ask("-c arp profile add h1 vni=5000 profile=web param=mtu=9000");
    ask("-c arp profile add h2 vlan=7");
    ask("-c arp profile add h3 vlan=8");
    ask("-c arp profile del h2");
    ask("-c arp wait handled 4");
    const std::string before = ask("list profiles");
    EXPECT_EQ(before, list_head +
                          "arp                      h1                       1         vni=5000 "
                          "profile=web param=mtu=9000\n"
                          "arp                      h3                       3         entity=1 vlan=8\n");
    first.signal(SIGKILL);
    first.finish();
    forget(first);

    serve();
    EXPECT_EQ(ask("list profiles"), before);
    EXPECT_TRUE(arp.says("the server is back"));
    ask("-c arp wait returned 1");
    ask("-c arp wait registered");
    ask("profile check arp h1");
    EXPECT_TRUE(arp.says("check this: check of h1 (reference 1): No Error: Other, VNI 5000\n"));
    ask("-c arp profile add h4 vlan=9");
    EXPECT_TRUE(arp.says("answered: add of h4 (reference 4): No Error, VLAN 9\n"));
    EXPECT_EQ(status("profiles"), "3") << "the new host has a record of its own";
}

TEST_F(HostProfileOf, AStartedAgainClientIsTheSame)
{
    serve();
    Process &first = client("arp");
    ask("-c arp profile add h vni=5000");
    ask("-c arp wait handled 1");
    first.stop();
    forget(first);
    Process &second = client("arp");
    ask("profile clear arp h");
    EXPECT_TRUE(second.says("clear this: delete of h (reference 1): Clear: Profile deleted, VNI 5000\n"));
}

TEST_F(HostProfileOf, ADamagedFileIsRefusedUnlessTheServerMayForget)
{
    serve();
    client("arp");
    ask("-c arp profile add h vni=5000");
    ask("-c arp wait handled 1");
    TearDown();
    std::filesystem::resize_file(path("run/kov_profile_info"), 5000);
    const Result refused = run_lab("kovd", {"--scenario", leaf()});
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("start with --replace to have it forgotten which hosts have profiles"),
              std::string::npos)
        << refused.err;
    serve(leaf(), {"--replace"});
    EXPECT_EQ(ask("list profiles"), list_head);
}

kov_uhost_key_t key_with(const std::string &host, const std::vector<const char *> &words)
{
    kov_uhost_key_t key = host_key(host, KOV_PROFILE_OP_ADD);
    kov_profile_options_t options;
    std::string why;
    EXPECT_TRUE(parse_options(words, options, why)) << why;
    key.options = options;
    return key;
}

TEST_F(HostProfileOf, ARecordHoldsEveryByteOfTheRequest)
{
    std::string why;
    std::filesystem::create_directory(runtime());
    kov_uhost_key_t key = key_with("h", {"vni=5000", "param=a=b", "include_param=c", "user_data=u"});
    key.uuid = 77;
    key.host_ref = 9;
    key.options.opt_f603 = 0x01020304;
    {
        const auto profiles = Profiles::open(runtime(), false, why);
        ASSERT_NE(profiles, nullptr) << why;
        EXPECT_TRUE(profiles->keep("arp", key, why)) << why;
        EXPECT_TRUE(profiles->keep("nd", key_with("h", {"vlan=7"}), why)) << why;
        EXPECT_TRUE(profiles->keep("nd", key_with("h", {"vlan=8"}), why)) << "in the same record";
        EXPECT_TRUE(profiles->forget({"nd", "unknown"}, why)) << why;
    }
    const auto again = Profiles::open(runtime(), false, why);
    ASSERT_NE(again, nullptr) << why;
    EXPECT_EQ(again->all().size(), 2u);
    const kov_uhost_key_t *kept = again->find({"arp", "h"});
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(std::memcmp(kept, &key, sizeof key), 0);
    EXPECT_EQ(options_text(again->find({"nd", "h"})->options), "entity=1 vlan=8");
    EXPECT_EQ(again->find({"arp", "x"}), nullptr);
}

TEST_F(HostProfileOf, AFileWithAnotherRecordIsNotTaken)
{
    std::string why;
    std::filesystem::create_directory(runtime());
    {
        const auto store = kov_host::RdbStore::open(path("run/kov_profile_info"), why);
        std::uint8_t key[kov_host::rdb_key_size] = {};
        key[4] = 3;
        ASSERT_TRUE(store->begin() && store->put(kov_host::RdbKey{key}, key) && store->commit());
    }
    EXPECT_EQ(Profiles::open(runtime(), false, why), nullptr);
    EXPECT_EQ(why, path("run/kov_profile_info") + ": record 3 is no host's");
}

// ---- The words and the bytes ------------------------------------------------------------------------------

TEST(ProfileOptions, AreWrittenInTheWordsInWhichTheyAreRead)
{
    const std::string text =
        "entity=33 vni=5000 vlan=7 mac=0011.2233.4455 domain=d host_id=i vrf=red profile=web "
        "instance=w1 include_vrf=blue include_profile=base include_instance=b1 user_data=u "
        "param=mtu=9000 param=x include_param=y";
    const std::vector<std::string> words = words_of(text);
    std::vector<const char *> pointers;
    for (const std::string &word : words)
        pointers.push_back(word.c_str());
    EXPECT_EQ(options_text(key_with("h", pointers).options), text);
    EXPECT_EQ(options_text(key_with("h", {}).options), "");
    EXPECT_EQ(options_text(key_with("h", {"vni=5000", "vlan=7"}).options), "vni=5000 vlan=7")
        << "a host with both is keyed on its segment";
    EXPECT_EQ(options_text(key_with("h", {"vlan=7", "entity=16"}).options), "entity=16 vlan=7");
}

TEST(ProfileOptions, AreRefusedWithTheReason)
{
    const std::string long_text(256, 'x');
    const std::string parameter = "param=" + long_text;
    std::vector<const char *> many(9, parameter.c_str());
    const std::string fitting = "param=" + long_text.substr(1);
    many.assign(9, fitting.c_str());
    kov_profile_options_t options;
    std::string why;
    EXPECT_FALSE(parse_options(std::vector{parameter.c_str()}, options, why));
    EXPECT_EQ(why, "param: is longer than 255 characters");
    EXPECT_FALSE(parse_options(many, options, why));
    EXPECT_EQ(why, "param: there is no room for more");
    EXPECT_FALSE(parse_options(std::vector{"mac=x"}, options, why));
    EXPECT_TRUE(why.starts_with("mac: ")) << why;
}

TEST(ProfileOptions, FromAPeerAreToldAsFarAsTheyLieInTheirList)
{
    kov_profile_options_t options{};
    options.config_profile.param_count = 255;
    options.config_profile.c_param_tlv[1] = 1;
    options.config_profile.c_param_tlv[2] = '\033';
    options.config_profile.c_param_tlv[4] = 255;
    const std::string text = options_text(options);
    EXPECT_TRUE(text.starts_with("param=? param= param=")) << text;
    options.config_profile.c_param_tlv[4 + 255] = 1;
    std::memset(options.config_profile.c_param_tlv, 255, sizeof options.config_profile.c_param_tlv);
    const std::string full = options_text(options);
    EXPECT_EQ(static_cast<std::size_t>(std::count(full.begin(), full.end(), '=')), 7u)
        << "seven entries of 257 bytes lie in 2048, the eighth does not";
}

std::string hex(const Bytes &bytes, std::size_t from, std::size_t size)
{
    std::string text;
    char digits[3];
    for (const std::uint8_t byte : std::span(bytes).subspan(from, size)) {
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

TEST(ProfileMessage, IsTheKeyAndItsReplyBehindAHeader)
{
    kov_profile_reply reply{};
    reply.code = 42;
    reply.vni = 0x010203;
    reply.bd = 0x0405;
    reply.vlan = 7;
    const Bytes message = profile_message(key_with("h1", {"vni=5000"}), reply);
    EXPECT_EQ(message.size(), 5555u);
    EXPECT_EQ(hex(message, 0, 4), "35000c00");
    EXPECT_EQ(hex(message, 20, 8), "00000001"
                                   "000015b3")
        << "one key, network order";
    EXPECT_EQ(hex(message, 161, 13), "06"
                                     "03"
                                     "00000000"
                                     "00000000"
                                     "02"
                                     "6831");
    EXPECT_EQ(hex(message, 5535, 20), "2a000000"
                                      "03020100"
                                      "0504"
                                      "0000"
                                      "07000000"
                                      "00000000")
        << "host order";
    EXPECT_EQ(describe_sent(message),
              "type 12, profile message: add of h1 (reference 0): Clear: Profile deleted");
}

struct BadRequest {
    std::size_t at;
    std::uint8_t byte;
    const char *why;
};

TEST(ProfileRequest, IsBelievedOnlyWithAWholeHostsKey)
{
    Bytes good(176 + 5374);
    good[0] = 53;
    good[2] = 12;
    good[164] = 1;
    good[168] = 5374 & 0xff;
    good[169] = 5374 >> 8;
    good[172] = 6;
    good[173] = 9;
    good[182] = 45;
    std::string why;
    ASSERT_TRUE(host_key_of(good, why));
    EXPECT_EQ(describe_frame(KOV_OPC_CLIENT, good), "profile operation 9 of  (reference 0)");
    for (const BadRequest &row : {BadRequest{164, 2, "its profile request has no host's key"},
                                  BadRequest{168, 0, "its profile request has no host's key"},
                                  BadRequest{172, 2, "its profile request has no host's key"},
                                  BadRequest{182, 46, "its host's key is longer than 45 bytes"}}) {
        Bytes bad = good;
        bad[row.at] = row.byte;
        EXPECT_FALSE(host_key_of(bad, why)) << row.at;
        EXPECT_EQ(why, row.why);
    }
    good.resize(172 + 5373);
    EXPECT_FALSE(host_key_of(good, why)) << "one byte too short";
    EXPECT_EQ(describe_frame(KOV_OPC_CLIENT, good), "profile request, key of 5374 bytes");
}

} // namespace
