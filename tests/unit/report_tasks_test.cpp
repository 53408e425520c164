// The report while it waits: its pager, its yields, and what other tasks may do meanwhile.
#include "report_lab.h"

#include "cache/vrf.h"

#include <utility>

namespace
{

using fake::Call;

// -------------------------------------------------------------------------------------------------- pager

TEST_F(Report, StopsAtTheQuestionThatSaysSoAndLeavesTheReferencesAsTheyWere)
{
    cache_all();
    const std::string whole = detail();
    const unsigned questions = platform.cli.questions;
    ASSERT_EQ(questions, 12u);
    for (unsigned stop = 1; stop <= questions; ++stop) {
        platform.cli.stop_at = stop;
        platform.sched.yields = 0;
        const std::string part = detail();
        EXPECT_EQ(result, 0u) << stop;
        EXPECT_EQ(platform.cli.questions, stop);
        EXPECT_TRUE(whole.starts_with(part)) << stop;
        EXPECT_LT(part.size(), whole.size());
        EXPECT_EQ(kov_vrf_ctx_lookup("blue")->refcount, 3u) << stop;
        EXPECT_EQ(kov_vrf_ctx_lookup("red")->refcount, 1u) << stop;
    }
}

TEST_F(Report, YieldsAfterEachQuestionAndInTheWalkOfTheVrfsOnlyWhenItsTimeIsUp)
{
    cache_all();
    platform.sched.yields = 0;
    detail();
    EXPECT_EQ(platform.sched.yields, 8u) << "all but the four prefixes";
    platform.sched.yields = 0;
    platform.sched.time_is_up = true;
    platform.calls.clear();
    detail();
    EXPECT_EQ(platform.sched.yields, 12u);
    EXPECT_EQ(platform.calls.count(Call::oak_pre_sched_yield), 4u);
}

// ------------------------------------------------------------------------------------------ other tasks

TEST_F(Report, ShowsOnItsLaterPagesWhatMessagesChangedMeanwhile)
{
    cache_all();
    platform.cli.on_more = [this](unsigned question) {
        if (question == 1)
            change_everything();
    };
    const std::string text = detail();
    platform.cli.on_more = nullptr;
    const auto has = [&](const std::string &part) { return text.find(part) != text.npos; };
    EXPECT_TRUE(has(line("Fabric Id", "103"))) << "its page was out";
    EXPECT_FALSE(has("0x0000000a(1010)")) << "went: as the fabric control segment's copy, and as an entry";
    EXPECT_TRUE(has(line("If_index", "0x00000014(1020)")));
    EXPECT_TRUE(has(line("If_index", "0x0000001e(1030)"))) << "came";
    EXPECT_TRUE(has(line("Slot num", "3") + line("Num bf allocated", "8") + std::string(33, ' ') + "0\n"));
    EXPECT_FALSE(has("10.1.0.0/16\n" + std::string(30, ' ') + "   10.2.0.0/16"));
    EXPECT_TRUE(has(line("Vrf name", "green") + line("Refcount", "2")));
    EXPECT_FALSE(has("fd00::/8"));
    EXPECT_FALSE(has(line("Slot num", "157")));
    EXPECT_FALSE(has(line("BD", "16777217")));
    EXPECT_TRUE(has(line("BD", "33554434")));
    EXPECT_TRUE(text.ends_with(rule));
}

// At each question in turn, and at each yield, another task does something; the report comes to its end.
TEST_F(Report, GoesOnWhateverAnotherTaskDoesWhileItWaits)
{
    const std::pair<const char *, std::function<void()>> tasks[] = {
        {"disables the cache", [] { kov_api_disable_cache(); }},
        {"closes the library", [] { kov_api_close(); }},
        {"opens it again", [] { kov_api_close(), kov_api_init(); }},
        {"refills the cache", [] { kov_api_disable_cache(), kov_api_enable_cache(); }},
        {"deregisters", [] { kov_deregister_client(); }},
        {"removes a VRF's prefixes",
         [] {
             const auto remove = [](uint8_t family, const kov_rdb_aggr_sub_pfx_t &prefix) {
                 kov_aggr_prefix_key key = {};
                 std::memcpy(key.vrf_name, "blue", 5);
                 key.family = family;
                 std::memcpy(key.prefix, prefix.prefix, sizeof key.prefix);
                 kov_clear_cache_rdb_aggr_subnet_pfx(0, &key);
             };
             remove(0, v4(0x0A010000, 16)), remove(0, v4(0x0A020000, 16)), remove(1, v6(0x20, 8));
         }},
        {"hears that everything has changed", [this] { change_everything(); }},
        {"hears that everything is gone", [this] { platform.db.clear(), tell_of_everything(); }},
        {"clears every type",
         [] {
             kov_clear_cache_rdb_geninfo(1, nullptr), kov_clear_cache_rdb_sviinfo(1, nullptr);
             kov_clear_cache_rdb_port_tracking(1, nullptr), kov_clear_cache_rdb_aggr_subnet_pfx(1, nullptr);
             kov_clear_cache_rdb_port_l2dci(1, nullptr), kov_clear_cache_rdb_l2rib_topo_info(1, nullptr);
         }},
        {"prints a report of its own",
         [this] {
             const auto mine = std::exchange(platform.cli.on_more, nullptr);
             platform.sched.at_yield.clear();
             kov_api_print_cache_stats(platform.cli.context());
         }},
    };
    expect_stale_counters(); // opening again keeps the counters of the VRF contexts that it frees
    for (const auto &other : tasks)
        for (unsigned at = 1; at <= 24; ++at) {
            const std::function<void()> &task = other.second;
            SCOPED_TRACE(testing::Message() << other.first << " at " << at);
            cache_all();
            platform.sched.time_is_up = true;
            platform.sched.yields = 0;
            platform.sched.at_yield.clear();
            platform.cli.on_more = nullptr;
            if (at <= 12)
                platform.cli.on_more = [&](unsigned question) {
                    if (question == at)
                        task();
                };
            else
                platform.sched.at_yield = {{at - 12, task}};
            const std::string text = detail();
            EXPECT_TRUE(text.ends_with(rule));
            EXPECT_EQ(result, 1u);
            platform.cli.on_more = nullptr;
            platform.sched.at_yield.clear();
            kov_deregister_client();
            kov_api_close();
            kov_api_init(); // frees what a closed library still held
            EXPECT_EQ(platform.heap.live_blocks(), 0u);
        }
    platform.sched.time_is_up = false;
}

} // namespace
