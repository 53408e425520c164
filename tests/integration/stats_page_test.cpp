// A look at a client's counters as text and as JSON, and the rates between two looks.
#include "stats.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <sstream>

namespace
{

using namespace kov_lab;

std::uint64_t &outcome(Stats &stats, std::size_t mtype, Outcome which)
{
    return stats.messages[mtype].of[static_cast<std::size_t>(which)];
}

// Every number of it is another one.
Stats busy_client()
{
    Stats stats;
    stats.client = "arp";
    stats.at_ms = 10'000'000;
    stats.frames_refused = 3;
    std::uint32_t number = 11;
    for (RecordStats &record : stats.records) {
        record.cache_hits = number++;
        record.database_reads = number++;
        record.update_reads = number++;
        record.blocks = number++;
        record.bytes = number++;
        record.changes = number++;
    }
    stats.records[0].cached = true;
    stats.records[1].cached = stats.records[1].updating = true;
    stats.records[0].last_change = 999;
    stats.records[1].last_change = 119'999;
    stats.records[2].last_change = 120'000;
    stats.records[3].last_change = 7'199'999;
    stats.records[4].last_change = 1000;
    stats.records[5].last_change = 7'200'000;
    outcome(stats, 9, Outcome::handled) = 5;
    outcome(stats, 9, Outcome::wrong_length) = 2;
    outcome(stats, 9, Outcome::by_library) = 1;
    stats.messages[9].last_ms = stats.at_ms - 3000;
    outcome(stats, 2, Outcome::acknowledged) = 1;
    stats.messages[2].last_ms = stats.at_ms - 60'000;
    outcome(stats, no_type, Outcome::foreign_opcode) = 4;
    return stats;
}

TEST(StatsPage, OfASingleLookHasNoRates)
{
    EXPECT_EQ(stats_text(busy_client()),
              "Lookups                   Hits      Reads   Updating\n"
              "general information         11         12         13\n"
              "SVIs                        17         18         19\n"
              "port tracking               23         24         25\n"
              "aggregate prefixes          29         30         31\n"
              "port L2DCI                  35         36         37\n"
              "topologies                  41         42         43\n"
              "\n"
              "Records             Cached  Blocks      Bytes  Changes  Changed\n"
              "general information yes         14         15       16  just now\n"
              "SVIs                update      20         21       22  119 s ago\n"
              "port tracking       no          26         27       28  2 min ago\n"
              "aggregate prefixes  no          32         33       34  119 min ago\n"
              "port L2DCI          no          38         39       40  1 s ago\n"
              "topologies          no          44         45       46  2 h ago\n"
              "\n"
              "Messages                          Accepted  Refused  Last\n"
              " 2 registration acknowledgement          1        0  60 s ago\n"
              " 9 SVI forwarding mode                   5        3  3 s ago\n"
              " - without a type                        0        4  never\n"
              "\n"
              "Refused                           Messages  Because\n"
              " 9 SVI forwarding mode                   2  wrong length\n"
              " 9 SVI forwarding mode                   1  refused by the library\n"
              " - without a type                        4  not KOV's opcode\n"
              " - frames that are no message            3  damaged on the way\n");
}

TEST(StatsPage, OfAClientThatHeardNothingSaysSo)
{
    const std::string text = stats_text(Stats{});
    EXPECT_TRUE(text.ends_with("0  never\n\nno message yet\n")) << text;
}

TEST(StatsPage, OfTwoLooksTellsWhatHappenedASecond)
{
    const Stats before = busy_client();
    Stats now = before;
    now.at_ms += 2000;
    now.records[0].cache_hits += 1;
    now.records[0].database_reads += 20;
    now.records[1].update_reads += 1;
    now.records[1].changes += 3;
    outcome(now, 9, Outcome::handled) += 5;
    outcome(now, 9, Outcome::too_short) += 1;
    now.messages[9].last_ms = now.at_ms;
    const std::string text = stats_text(now, &before);
    const auto has = [&](const char *line) { return text.find(line) != text.npos; };
    EXPECT_TRUE(has("Lookups                   Hits      /s      Reads      /s   Updating      /s\n"
                    "general information         12     0.5         32    10.0         13     0.0\n"
                    "SVIs                        17     0.0         18     0.0         20     0.5\n"))
        << text;
    EXPECT_TRUE(has("Records             Cached  Blocks      Bytes  Changes      /s  Changed\n"
                    "general information yes         14         15       16     0.0  just now\n"
                    "SVIs                update      20         21       25     1.5  119 s ago\n"))
        << text;
    EXPECT_TRUE(has("Messages                          Accepted      /s  Refused      /s  Last\n"
                    " 2 registration acknowledgement          1     0.0        0     0.0  62 s ago\n"
                    " 9 SVI forwarding mode                  10     2.5        4     0.5  just now\n"))
        << text;
}

TEST(StatsPage, IsNowhereWiderThanATerminal)
{
    const Stats before = busy_client();
    Stats now = before;
    now.at_ms += 1'000'000;
    for (RecordStats &record : now.records)
        record = {true,       true,       0x7fffffff, 0x7fffffff, 0x7fffffff,
                  99'999'999, 0xffffffff, 99'999'999, 7'199'999};
    for (std::size_t mtype = 0; mtype < now.messages.size(); ++mtype) {
        outcome(now, mtype, Outcome::handled) = 9'999'999;
        outcome(now, mtype, Outcome::wrong_length) = 9'999'999;
        now.messages[mtype].last_ms = now.at_ms - 7'199'999;
    }
    std::istringstream lines(stats_text(now, &before));
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), 80u) << line;
}

TEST(StatsPage, OfRatesSurvivesCountersThatWrapOrBeginAnew)
{
    EXPECT_EQ(rate(0xFFFFFFFEu, 4u, 1000), 6.0) << "wrapped";
    EXPECT_EQ(rate(5000u, 7u, 1000), 7.0) << "the library was opened again";
    EXPECT_EQ(rate(std::uint64_t{9}, std::uint64_t{4}, 500), 8.0) << "another process has the name";
    EXPECT_EQ(rate(1u, 2u, 0), 0.0) << "no time went by";
    EXPECT_EQ(rate(1u, 2u, 250), 4.0);
}

TEST(StatsPage, TravelsAsJson)
{
    const Stats stats = busy_client();
    const std::string text = stats_json(stats);
    const std::optional<Stats> back = parse_stats(text);
    ASSERT_TRUE(back);
    EXPECT_EQ(stats_text(*back), stats_text(stats));
    EXPECT_EQ(stats_json(*back), text);
}

TEST(StatsPage, AsJsonHasEveryTypeAndEveryCause)
{
    const Stats before = busy_client();
    Stats now = before;
    now.at_ms += 500;
    now.records[1].changes += 1;
    outcome(now, 9, Outcome::too_short) += 2;
    const auto page = nlohmann::json::parse(stats_json(now, &before));
    EXPECT_EQ(page.at("client"), "arp");
    EXPECT_EQ(page.at("frames_refused"), 3);
    EXPECT_EQ(page.at("records").size(), 6u);
    EXPECT_EQ(page.at("messages").size(), 22u);
    EXPECT_EQ(page.at("records").at(1),
              nlohmann::json::parse(R"({"type": 2, "name": "SVIs", "cached": true, "updating": true,
                "cache_hits": 17, "database_reads": 18, "update_reads": 19, "blocks": 20, "bytes": 21,
                "changes": 23, "last_change_ms": 119999, "per_second":
                {"cache_hits": 0.0, "database_reads": 0.0, "update_reads": 0.0, "changes": 2.0}})"));
    EXPECT_EQ(page.at("messages").at(9),
              nlohmann::json::parse(R"({"type": 9, "name": "SVI forwarding mode", "accepted": 5, "refused": 5,
                "last_ms": 3500, "per_second": {"accepted": 0.0, "refused": 4.0}, "outcomes":
                {"handled": 5, "acknowledged": 0, "foreign_opcode": 0, "too_short": 2, "unknown_kind": 0,
                 "wrong_length": 2, "not_registered": 0, "type_not_wanted": 0, "by_library": 1}})"));
    EXPECT_TRUE(page.at("messages").at(21).at("type").is_null());
    EXPECT_TRUE(page.at("messages").at(21).at("last_ms").is_null());
}

TEST(StatsPage, IsNotMadeOfATextThatIsNone)
{
    EXPECT_FALSE(parse_stats(""));
    EXPECT_FALSE(parse_stats("unknown command 'stats json'; help lists the commands\n"));
    EXPECT_FALSE(parse_stats("{}"));
    std::string text = stats_json(busy_client());
    EXPECT_FALSE(parse_stats(text.substr(0, text.size() / 2)));
    text.replace(text.find("\"blocks\":14"), 11, "\"blocks\":\"\"");
    EXPECT_FALSE(parse_stats(text));
}

} // namespace
