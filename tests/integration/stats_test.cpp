// What "stats" says of a real client after actions that are known: every number is exactly so.
#include "real_lab.h"
#include "stats.h"
#include "terminal.h"

#include <csignal>

namespace
{

using namespace integration;
using kov_lab::Outcome;
using kov_lab::RecordStats;
using kov_lab::Stats;

class ShownStats : public RealLab
{
protected:
    // General information, three SVIs of which two forward in a mode that is cached, a port, a prefix.
    void serve_little()
    {
        serve(write("little.json", R"({
          "vrfs": ["red"],
          "line_cards": [{"card": "eth1", "ports": 8}],
          "general": {"fabric_id": 7, "switch_role": ["leaf"]},
          "svis": [{"svi": "vlan10", "fwd_mode": "anycast-gateway"},
                   {"svi": "vlan11", "fwd_mode": "proxy-gateway"},
                   {"svi": "vlan12", "fwd_mode": "standard"}],
          "ports": [{"port": "eth1/5", "tracking": true}],
          "prefixes": [{"vrf": "red", "prefixes": ["10.1.0.0/16"]}]
        })"));
    }
    Stats stats(const std::string &client = "arp") const
    {
        const std::string text = ask("-c " + client + " stats --json");
        const std::optional<Stats> read = kov_lab::parse_stats(text);
        EXPECT_TRUE(read) << text;
        return read.value_or(Stats{});
    }
    // "hits/reads (in update), blocks/bytes, changes"
    static std::string told(const RecordStats &record)
    {
        return std::to_string(record.cache_hits) + "/" + std::to_string(record.database_reads) + " (" +
               std::to_string(record.update_reads) + "), " + std::to_string(record.blocks) + "/" +
               std::to_string(record.bytes) + ", " + std::to_string(record.changes) +
               (record.cached ? " cached" : "");
    }
    void until_received(int messages) const { ask("-c arp wait received " + std::to_string(messages)); }
};

TEST_F(ShownStats, OfAClientThatWasJustAcknowledgedAreItsFills)
{
    serve_little();
    client("arp", "4,9,10");
    const Stats now = stats();
    EXPECT_EQ(now.client, "arp");
    EXPECT_EQ(told(now.records[0]), "0/1 (0), 1/181, 0 cached");
    EXPECT_EQ(told(now.records[1]), "0/4 (0), 2/32, 0 cached") << "three SVIs and the end of the walk";
    EXPECT_EQ(told(now.records[2]), "0/2 (0), 1/35, 0 cached");
    EXPECT_EQ(told(now.records[3]), "0/0 (0), 0/0, 0") << "not registered for";
    EXPECT_EQ(told(now.records[4]), "0/0 (0), 0/0, 0");
    EXPECT_EQ(told(now.records[5]), "0/0 (0), 0/0, 0");
    EXPECT_EQ(now.messages[2].count(Outcome::acknowledged), 1u);
    EXPECT_EQ(status("received", "arp"), "1");
}

TEST_F(ShownStats, CountEachQuestionWhereItWasAnswered)
{
    serve_little();
    client("arp", "4,9");
    for (int i = 0; i < 3; ++i)
        ask("-c arp get fwd-mode vlan10");
    ask("-c arp get fwd-mode vlan99");
    ask("-c arp get fabric-id");
    ask("-c arp get port-tracking eth1/5");
    const Stats now = stats();
    EXPECT_EQ(told(now.records[0]), "1/1 (0), 1/181, 0 cached");
    EXPECT_EQ(told(now.records[1]), "4/4 (0), 2/32, 0 cached");
    EXPECT_EQ(told(now.records[2]), "0/1 (0), 0/0, 0") << "a client that is not registered for it reads";
    EXPECT_EQ(stats_text(stats()), stats_text(now)) << "looking counts nothing";
}

TEST_F(ShownStats, CountEachChangeAndItsReadings)
{
    serve_little();
    client("arp", "9,10");
    const Stats before = stats();
    ask("set svi vlan10 fwd_mode=standard"); // and the client asks, in its handler
    until_received(2);
    ask("set svi vlan12 fwd_mode=proxy-gateway");
    until_received(3);
    ask("set port eth1/5 tracking=off");
    until_received(4);
    const Stats now = stats();
    EXPECT_EQ(now.records[1].changes, 2u);
    EXPECT_EQ(now.records[1].update_reads - before.records[1].update_reads, 2u);
    EXPECT_EQ(now.records[1].database_reads - before.records[1].database_reads, 2u);
    EXPECT_EQ(now.records[1].blocks, 2u) << "one went, one came";
    EXPECT_EQ(now.records[1].cache_hits, 2u) << "its own questions";
    EXPECT_EQ(now.records[2].changes, 1u);
    EXPECT_EQ(now.messages[9].count(Outcome::handled), 2u);
    EXPECT_EQ(now.messages[10].count(Outcome::handled), 1u);
    EXPECT_TRUE(now.records[1].last_change);
    EXPECT_LT(*now.records[1].last_change, 60'000u);
    EXPECT_FALSE(now.records[0].last_change);
    EXPECT_EQ(status("handled", "arp"), "3");
}

TEST_F(ShownStats, CountWhatIsRefusedByItsCause)
{
    serve_little();
    client("arp", "9");
    ask("inject arp 00");               // no header
    ask("inject arp 00 7");             // no message of KOV's
    std::string fabric_id = "35000400"; // version 53, type 4
    fabric_id += std::string(32, '0') + "00000001" + "000000a5" + std::string(266, '0') + "00000007";
    ask("inject arp " + fabric_id);  // not wanted
    fabric_id.replace(0, 4, "3400"); // version 52
    ask("inject arp " + fabric_id);
    fabric_id.replace(0, 8, "35000900"); // type 9
    fabric_id.resize(fabric_id.size() - 2);
    ask("inject arp " + fabric_id);
    until_received(6);
    const Stats now = stats();
    EXPECT_EQ(now.messages[kov_lab::no_type].count(Outcome::too_short), 1u);
    EXPECT_EQ(now.messages[kov_lab::no_type].count(Outcome::foreign_opcode), 1u);
    EXPECT_EQ(now.messages[kov_lab::no_type].count(Outcome::unknown_kind), 1u);
    EXPECT_EQ(now.messages[kov_lab::no_type].refused(), 3u);
    EXPECT_EQ(now.messages[4].count(Outcome::type_not_wanted), 1u);
    EXPECT_EQ(now.messages[9].count(Outcome::wrong_length), 1u);
    EXPECT_EQ(now.messages[2].accepted(), 1u);
    EXPECT_EQ(status("handled", "arp"), "0");
}

TEST_F(ShownStats, AreWatchedUntilTheirCountWithRates)
{
    serve_little();
    client("arp", "9");
    const std::string text = ask("-c arp stats --count 2");
    const std::string heading =
        "Lookups                   Hits      /s      Reads      /s   Updating      /s\n";
    ASSERT_TRUE(text.starts_with(heading)) << text;
    EXPECT_NE(text.find("SVIs                         0       -          4       -          0       -\n"),
              text.npos)
        << text;
    const std::size_t second = text.find("\n\n" + heading);
    ASSERT_NE(second, text.npos) << "one behind the other, for this is no terminal: " << text;
    EXPECT_NE(
        text.find("SVIs                         0     0.0          4     0.0          0     0.0\n", second),
        text.npos);
    EXPECT_EQ(text.find('\033'), text.npos);
}

// One page of those that follow each other in place; the terminal makes each newline two characters.
std::vector<std::string> page_on(Terminal &terminal)
{
    terminal.read_to("\033[H");
    std::string page = terminal.read_to("\033[J");
    std::vector<std::string> lines;
    const std::string end = "\033[K\r\n";
    for (std::size_t at = 0; (at = page.find(end)) != std::string::npos; page.erase(0, at + end.size()))
        lines.push_back(page.substr(0, at));
    EXPECT_EQ(page, "\033[J");
    return lines;
}

TEST_F(ShownStats, AreWatchedInPlaceOnAScreenThatHoldsThem)
{
    serve_little();
    client("arp", "9");
    Terminal terminal({std::string(KOV_BIN_DIR) + "/kovctl", "-c", "arp", "stats", "--watch"},
                      {{"KOV_HOST_DIR", runtime()}}, 24, 80);
    page_on(terminal);
    const std::vector<std::string> page = page_on(terminal);
    ASSERT_GE(page.size(), 18u);
    EXPECT_LE(page.size(), 23u) << "one more would scroll";
    for (const std::string &line : page)
        EXPECT_LE(line.size(), 80u) << line;
    EXPECT_EQ(page[0], "arp, each second; Ctrl-C ends");
    EXPECT_EQ(page[2], "Lookups                   Hits      /s      Reads      /s   Updating      /s");
    EXPECT_EQ(page[10], "Records             Cached  Blocks      Bytes  Changes      /s  Changed");
    for (std::size_t type = 1; type <= 6; ++type) {
        EXPECT_TRUE(page[2 + type].starts_with(kov_lab::record_name(type))) << page[2 + type];
        EXPECT_TRUE(page[10 + type].starts_with(kov_lab::record_name(type))) << page[10 + type];
    }
    terminal.resize(12, 40);
    page_on(terminal); // perhaps made before
    const std::vector<std::string> small = page_on(terminal);
    ASSERT_EQ(small.size(), 11u);
    EXPECT_EQ(small[2], page[2].substr(0, 40));
    EXPECT_EQ(small[8], page[8].substr(0, 40));
    EXPECT_EQ(small[10], std::to_string(page.size() - 10) + " more lines");
    terminal.type("\003");
    EXPECT_EQ(terminal.status(), 0);
}

TEST_F(ShownStats, AreALineForEachLookToAProgram)
{
    serve_little();
    client("arp", "9");
    const std::string text = ask("-c arp stats --watch --count 2 --json");
    ASSERT_EQ(lines_in(text), 2u) << text;
    const std::string first = text.substr(0, text.find('\n') + 1);
    EXPECT_TRUE(kov_lab::parse_stats(first));
    EXPECT_TRUE(kov_lab::parse_stats(text.substr(first.size())));
    EXPECT_EQ(first.find("per_second"), first.npos);
    EXPECT_NE(text.find("per_second", first.size()), text.npos);
}

TEST_F(ShownStats, AreWatchedUntilCtrlCOrTheClientsEnd)
{
    serve_little();
    Process &arp = client("arp", "9");
    const auto watching = start("kovctl", {"-c", "arp", "stats", "--watch"});
    const auto other = start("kovctl", {"-c", "arp", "stats", "--watch"});
    ASSERT_TRUE(watching->says("Messages"));
    ASSERT_TRUE(other->says("Messages"));
    watching->signal(SIGINT);
    EXPECT_EQ(watching->finish().status, 0);
    EXPECT_EQ(watching->finish().err, "");
    arp.stop();
    forget(arp);
    EXPECT_EQ(other->finish().status, 3);
    EXPECT_EQ(other->finish().err, "kovctl: arp is gone\n");
}

TEST_F(ShownStats, AreThoseOfAClient)
{
    serve_little();
    Result refused = kovctl("stats");
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.err, "kovctl: stats needs -c NAME: the counters are those of a client process\n");
    EXPECT_EQ(kovctl("-c nobody stats").status, 3);
    refused = kovctl("-c kovd stats");
    EXPECT_EQ(refused.status, 2);
    EXPECT_NE(refused.err.find("unknown command 'stats'"), std::string::npos) << refused.err;
}

TEST_F(ShownStats, RefuseWordsThatTheyDoNotKnow)
{
    serve_little();
    client("arp", "9");
    const Result refused = kovctl("-c arp stats everything");
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.err, "usage: stats\n");
}

} // namespace
