// Hosts' profiles that the server keeps: over a restart, until their VLAN goes, and as its file allows.
#include "profile_lab.h"
#include "profiles.h"
#include "store.h"

#include <kov/kov_codec.h>

#include <csignal>
#include <cstring>
#include <sys/resource.h>

namespace
{

using namespace integration;
using namespace kov_lab;

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

// A process that may not write to files, with a signal that does not end it.
class WithoutRoom
{
public:
    static void prepare() { std::signal(SIGXFSZ, SIG_IGN); } // before the process starts: it inherits this
    explicit WithoutRoom(pid_t pid) : pid_(pid)
    {
        rlimit none{};
        EXPECT_EQ(prlimit(pid_, RLIMIT_FSIZE, nullptr, &before_), 0);
        none.rlim_max = before_.rlim_max;
        EXPECT_EQ(prlimit(pid_, RLIMIT_FSIZE, &none, nullptr), 0);
    }
    ~WithoutRoom() { EXPECT_EQ(prlimit(pid_, RLIMIT_FSIZE, &before_, nullptr), 0); }
    WithoutRoom(const WithoutRoom &) = delete;
    WithoutRoom &operator=(const WithoutRoom &) = delete;

private:
    pid_t pid_;
    rlimit before_{};
};

TEST_F(HostProfileOf, AServerWhoseFileRefusesAHostSaysThatItIsNotReadyAndChangesNothing)
{
    WithoutRoom::prepare();
    Process &server = serve();
    std::signal(SIGXFSZ, SIG_DFL);
    Process &arp = client("arp");
    ask("-c arp profile add kept vlan=11");
    EXPECT_TRUE(arp.says("answered: add of kept (reference 1): No Error"));
    const std::string before = ask("list profiles");
    {
        const WithoutRoom full(server.pid());
        ask("-c arp profile add h vni=5000");
        EXPECT_TRUE(arp.says("answered: add of h (reference 2): Error: System not ready, VNI 5000\n"));
        EXPECT_TRUE(server.says("the profiles' file refuses h: commit: ")) << server.output();
        ask("-c arp profile del kept");
        EXPECT_TRUE(arp.says("answered: delete of kept (reference 1): Error: System not ready, VLAN 11\n"));
        const Result refused = kovctl("profile clear arp kept");
        EXPECT_EQ(refused.status, 1);
        EXPECT_TRUE(refused.err.starts_with("the profiles' file refuses kept: commit: ")) << refused.err;
        EXPECT_EQ(ask("list profiles"), before);
    }
    EXPECT_EQ(ask("profile clear arp kept"), "asked arp: delete of kept, Clear: Profile deleted\n");
    ask("-c arp profile add h vni=5000");
    EXPECT_TRUE(arp.says("answered: add of h (reference 2): No Error, VNI 5000\n"));
    EXPECT_EQ(status("handled", "arp"), "5") << "the refused clear was not told";
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

std::size_t word_at(const Bytes &bytes, std::size_t at)
{
    std::uint32_t value = 0;
    std::memcpy(&value, &bytes.at(at), sizeof value);
    return value;
}

void put_word(Bytes &bytes, std::size_t at, std::size_t word)
{
    const auto value = static_cast<std::uint32_t>(word);
    std::memcpy(&bytes.at(at), &value, sizeof value);
}

// A host's stream as the server writes it, but that its last field claims to be so long that one more stands
// where nobody can read.
Bytes host_that_claims_more()
{
    constexpr std::size_t claimed = 8u << 20;
    const kov_vault_auto_config_host_val_t record{};
    Bytes tlv = encode(record, kov_ha_auto_config_host_get_tlv_sz, kov_ha_auto_config_host_to_tlv);
    std::size_t last = 0;
    for (std::size_t at = 16; at < tlv.size(); at += 8 + word_at(tlv, at + 4))
        last = at;
    put_word(tlv, last, 99);
    put_word(tlv, last + 4, claimed);
    put_word(tlv, 4, last + 8 + claimed + 8);
    put_word(tlv, 12, word_at(tlv, 12) + 1);
    return tlv;
}

TEST_F(HostProfileOf, AFileWithAnotherRecordIsNotTaken)
{
    std::string why;
    std::filesystem::create_directory(runtime());
    std::uint8_t key[kov_host::rdb_key_size] = {};
    key[4] = 3;
    for (const Bytes &record : {Bytes(key, key + sizeof key), host_that_claims_more()}) {
        {
            const auto store = kov_host::RdbStore::open(path("run/kov_profile_info"), why);
            ASSERT_TRUE(store->begin() && store->put(kov_host::RdbKey{key}, record) && store->commit());
        }
        EXPECT_EQ(Profiles::open(runtime(), false, why), nullptr);
        EXPECT_EQ(why, path("run/kov_profile_info") + ": record 3 is no host's");
    }
}

// ---- Hosts whose VLAN or VNI goes ------------------------------------------------------------------------

struct Lost {
    const char *host; // options of its profile
    const char *change;
    const char *told;    // the operator
    const char *cleared; // what the client is told; null: nothing
};

TEST_F(HostProfileOf, AHostIsClearedWhenItsVlanOrItsVniGoes)
{
    // clang-format off
    const Lost rows[] = {
        {"vlan=11", "del svi vlan11", "vlan11 deleted; told 1 client by type 9 (svi); cleared 1 host\n",
         "Clear: VLAN deleted, VLAN 11\n"},
        {"vlan=12", "set svi vlan12 vlan_id=2012", "vlan12: vlan_id 12 -> 2012; told 1 client by type 9 (svi); cleared 1 host\n",
         "Clear: VLAN changed, VLAN 12\n"},
        {"vni=10013", "del topology 13", "topology 13 deleted; told 1 client by type 19 (topology); cleared 1 host\n",
         "Clear: VNI deleted, VNI 10013\n"},
        {"vni=10014", "set topology 14 vni=7014", "topology 14: vni 10014 -> 7014; told 1 client by type 19 (topology); cleared 1 host\n",
         "Clear: VNI deleted, VNI 10014\n"},
        {"vlan=15", "set svi vlan15 is_up=no", "vlan15: is_up yes -> no; told 1 client by type 9 (svi)\n", nullptr},
        {"vlan=16", "del svi vlan17", "vlan17 deleted; told 1 client by type 9 (svi)\n", nullptr},
        {"vni=10018", "set topology 18 suppress_arp_mode=l2", nullptr, nullptr},
        {"vlan=2999", "set svi vlan2999 vlan_id=2998", nullptr, nullptr}, // there was none
    };
    // clang-format on
    serve();
    Process &arp = client("arp");
    std::size_t kept = 0;
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const std::string host = "h" + std::to_string(i);
        ask("-c arp profile add " + host + " " + rows[i].host);
        EXPECT_TRUE(arp.says("answered: add of " + host));
        const std::string told = ask(rows[i].change);
        EXPECT_TRUE(rows[i].told == nullptr || told == rows[i].told) << told;
        const std::string subject = "clear this: delete of " + host + " (reference ";
        const bool cleared = rows[i].cleared != nullptr;
        EXPECT_TRUE(!cleared || arp.says(subject + std::to_string(i + 1) + "): " + rows[i].cleared))
            << arp.output();
        kept += !cleared;
        EXPECT_EQ(status("profiles"), std::to_string(kept)) << rows[i].change;
    }
}

TEST_F(HostProfileOf, AHostStaysWhileAnotherRecordHasItsVlanOrVni)
{
    serve();
    Process &arp = client("arp");
    ask("-c arp profile add h vlan=11 vni=10011");
    EXPECT_TRUE(arp.says("answered: add of h"));
    ask("set svi vlan12 vlan_id=11");
    ask("set topology 12 vni=10011");
    ask("del svi vlan11");
    ask("del topology 11");
    EXPECT_EQ(status("profiles"), "1");
    EXPECT_EQ(ask("del topology 12"),
              "topology 12 deleted; told 1 client by type 19 (topology); cleared 1 host\n");
    EXPECT_EQ(ask("del svi vlan12"), "vlan12 deleted; told 1 client by type 9 (svi)\n");
}

TEST_F(HostProfileOf, EveryHostOnAVlanIsClearedAlsoOfAClientThatIsAway)
{
    serve();
    Process &arp = client("arp");
    Process &nd = client("nd");
    for (const char *name : {"arp", "nd"})
        for (const char *host : {"h1", "h2"})
            ask(std::string("-c ") + name + " profile add " + host + " vlan=20");
    EXPECT_TRUE(arp.says("answered: add of h2"));
    EXPECT_TRUE(nd.says("answered: add of h2"));
    nd.stop();
    forget(nd);
    ask("wait clients 1");
    EXPECT_EQ(ask("del svi vlan20"), "vlan20 deleted; told 1 client by type 9 (svi); cleared 4 hosts\n");
    EXPECT_TRUE(arp.says("clear this: delete of h2 (reference 2): Clear: VLAN deleted, VLAN 20\n"));
    EXPECT_EQ(ask("list profiles"), list_head);
}

} // namespace
