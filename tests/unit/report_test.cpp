// The report: its bytes, its gates, its pager, and what other tasks may do while it waits.
#include "samples.h"

#include "cache/sviinfo.h"
#include "cache/vrf.h"

#include <algorithm>

namespace
{

using fake::Call;

const std::string rule = "===================================================\n";

// "Label                          : value\n"
std::string line(std::string label, const std::string &value)
{
    label.resize(std::max<std::size_t>(label.size(), 30), ' ');
    return label + " : " + value + "\n";
}

class Report : public Lab
{
protected:
    Report()
    {
        platform.interfaces.add_vlan(10, "vlan10");
        platform.interfaces.add_vlan(20, "vlan20");
        platform.interfaces.add_port(port_of_slot_3, 2, 0); // the platform counts slots from 0
        platform.interfaces.add_channel(port_of_slot_157, 10);
    }

    std::string report(bool detail = false)
    {
        platform.cli.output.clear();
        platform.cli.prints.clear();
        platform.cli.questions = 0;
        platform.cli.words.clear();
        if (detail)
            platform.cli.words.insert("detail");
        result = kov_api_print_cache_stats(platform.cli.context());
        return platform.cli.output;
    }
    std::string detail() { return report(true); }

    // One record or more of each type, in the database.
    void publish_all()
    {
        kov_rdb_geninfo_t general = general_info(3);
        general.fabric_ctrl_svi = 10;
        publish(general);
        publish(fabric_ctrl_svi(10, 2));
        publish(svi_in_mode(20, 1));
        publish(3, kov_rdb_port_tracking_t{16, {0x81, 0x02}});
        publish(4, kov_rdb_port_tracking_t{8, {}});
        publish(157, kov_rdb_port_l2dci_t{24, {0, 0, 0xFF}});
        publish("blue", 0, v4(0x0A010000, 16));
        publish("blue", 0, v4(0x0A020000, 16));
        publish("blue", 1, v6(0x20, 8));
        publish("red", 1, v6(0xFD, 8));
        kov_rdb_l2rib_topo_info_t topology = {};
        topology.bd = 0x01000001;
        topology.vni = 10600;
        topology.suppress_arp_enabled = 1;
        topology.suppress_arp_mode = 2;
        topology.suppress_arp_l3_svi = 20;
        publish(topology);
    }
    static kov_rdb_aggr_sub_pfx_t v4(uint32_t address, uint8_t bits)
    {
        kov_rdb_aggr_sub_pfx_t record = {};
        std::memcpy(record.prefix, &address, 4);
        record.prefix[4] = bits;
        return record;
    }
    static kov_rdb_aggr_sub_pfx_t v6(uint8_t first, uint8_t bits)
    {
        kov_rdb_aggr_sub_pfx_t record = {};
        record.prefix[0] = first;
        record.prefix[16] = bits;
        return record;
    }
    void cache_all()
    {
        publish_all();
        register_and_acknowledge({4, 5, 6, 7, 8, 9, 10, 11, 13, 14, 15, 16, 17, 18, 19, 20});
    }

    // The server says of every record that there was that it has changed.
    void tell_of_everything()
    {
        dispatch(KOV_MTYPE_FABRIC_ID, kov_word_update{0});
        dispatch(KOV_MTYPE_SVI_FWD_MODE, kov_word_update{10}, kov_word_update{20}, kov_word_update{30});
        dispatch(KOV_MTYPE_PORT_TRACKING, kov_word_update{port_of_slot_3});
        dispatch(KOV_MTYPE_PORT_L2DCI, kov_word_update{port_of_slot_157});
        dispatch(KOV_MTYPE_AGGR_SUB_PFX, told("blue", 0, v4(0x0A010000, 16)), told("blue", 1, v6(0x20, 8)),
                 told("red", 1, v6(0xFD, 8)), told("green", 0, v4(0x0A010000, 16)));
        dispatch(KOV_MTYPE_SUPPRESS_ARP_TOPO, kov_suppress_arp_topo_update{0x01000001, 0, 0, 0, 20, 0},
                 kov_suppress_arp_topo_update{0x02000002, 0, 0, 0, 0, 0});
    }
    // Of each type a record goes or becomes another, and one comes.
    void change_everything()
    {
        publish(general_info(4));
        withdraw(key_of(2, 10));
        publish(svi_in_mode(30, 1));
        publish(3, kov_rdb_port_tracking_t{8, {0x01}});
        withdraw(slot_key(5, 157));
        withdraw(prefix_key("blue", 0, v4(0x0A010000, 16)));
        withdraw(prefix_key("red", 1, v6(0xFD, 8)));
        publish("green", 0, v4(0x0A010000, 16));
        withdraw(key_of(6, 0x01000001));
        kov_rdb_l2rib_topo_info_t topology = {};
        topology.bd = 0x02000002;
        publish(topology);
        tell_of_everything();
    }
    static kov_aggr_sub_pfx_update told(const char *vrf, uint32_t family,
                                        const kov_rdb_aggr_sub_pfx_t &record)
    {
        kov_aggr_sub_pfx_update update = {};
        std::strcpy(update.vrf_name, vrf);
        std::memcpy(update.prefix, record.prefix, sizeof update.prefix);
        update.family = family;
        return update;
    }

    static std::string pointer(const void *at)
    {
        char text[32];
        std::snprintf(text, sizeof text, "%-10p", at);
        return text;
    }
    static std::string summary_row(uint32_t type)
    {
        const kov_cache_desc &d = kov_api.cache[type];
        const auto field = [](std::string text, std::size_t width) {
            text.resize(std::max(text.size(), width), ' ');
            return text;
        };
        const auto n = [](uint32_t number) { return std::to_string(number); };
        return "  " + field(n(type), 5) + " " +
               field(std::string(d.cached ? "Yes" : "No") + "/" + (d.updating ? "Yes" : "No"), 15) + " " +
               field(n(d.allocs) + "/" + n(d.bytes), 15) + " " + pointer(d.data) + " " +
               field(n(d.cache_hits) + "/" + n(d.rdb_hits) + "/" + n(d.update_hits), 10) + "\n";
    }
    static std::string type_head(uint32_t type, const std::string &flags, const std::string &hits,
                                 const std::string &blocks)
    {
        return rule + line("RDB Type", std::to_string(type)) + line("Cached/Updated", flags) +
               line("#Cache Hits/#RDB Hits/#Updates", hits) + line("#Allocs/Bytes Alloc", blocks) +
               "\nKOV Cached Data Infomation\n";
    }
    static std::string empty_types(uint32_t from, uint32_t to)
    {
        std::string text;
        for (uint32_t type = from; type <= to; ++type)
            text += type_head(type, "No/No", "0/0/0", "0/0");
        return text;
    }

    static constexpr uint32_t port_of_slot_3 = 1001, port_of_slot_157 = 1002;
    uint32_t result = 0;
};

const std::string column_header =
    "  Type  Cached/Update   #Allocs/Bytes   Data       #Cache/RDB/Update Hits\n";

// ------------------------------------------------------------------------------------------------ summary

TEST_F(Report, OfALibraryThatWasNeverOpenedIsAllNoAndZero)
{
    EXPECT_EQ(report(), "\nKOV Cache information/Stats\n" + line("Is Initialized", "No") +
                            line("Api Debug", "Off") + line("Client name(uuid)", "(0)") +
                            line("Client sap", "0") + line("Client Flags", "0x00000000") +
                            line("Cache On", "No") + line("Vrf allocs/Bytes", "0/0") + column_header +
                            "  1     No/No           0/0             (nil)      0/0/0     \n"
                            "  2     No/No           0/0             (nil)      0/0/0     \n"
                            "  3     No/No           0/0             (nil)      0/0/0     \n"
                            "  4     No/No           0/0             (nil)      0/0/0     \n"
                            "  5     No/No           0/0             (nil)      0/0/0     \n"
                            "  6     No/No           0/0             (nil)      0/0/0     \n" +
                            rule);
    EXPECT_EQ(kov_api.initialized, 0u) << "a summary asks no gate";
    EXPECT_EQ(result, 1u);
}

TEST_F(Report, ShowsTheStateOfTheClientAndARowOfEachType)
{
    publish_all();
    register_client({8, 9});
    std::string text = report();
    EXPECT_NE(text.find(line("Client name(uuid)", "unit(1263490561)") + line("Client sap", "4107") +
                        line("Client Flags", "0x00000300(Server Ack Pending)") + line("Cache On", "No")),
              std::string::npos)
        << text;
    acknowledge();
    debug_on();
    kov_api.cache[3].updating = 1;
    text = report();
    EXPECT_EQ(text, "\nKOV Cache information/Stats\n" + line("Is Initialized", "Yes") +
                        line("Api Debug", "On") + line("Client name(uuid)", "unit(1263490561)") +
                        line("Client sap", "4107(registered)") + line("Client Flags", "0x00000300") +
                        line("Cache On", "Yes") + line("Vrf allocs/Bytes", "2/128") + column_header +
                        summary_row(1) + summary_row(2) + summary_row(3) + summary_row(4) + summary_row(5) +
                        summary_row(6) + rule);
    EXPECT_NE(text.find("\n  3     No/Yes          0/0 "), std::string::npos) << text;
    EXPECT_NE(text.find("\n  4     Yes/No          4/80 "), std::string::npos) << text;
    EXPECT_EQ(platform.cli.questions, 0u) << "a summary asks nobody";
}

TEST_F(Report, PrintsARowOfTheSummaryInFourPieces)
{
    report();
    ASSERT_EQ(platform.cli.prints.size(), 8 + 1 + 6 * 4 + 1u);
    EXPECT_EQ(platform.cli.prints[9], "  1    ");
    EXPECT_EQ(platform.cli.prints[10], " No/No          ");
    EXPECT_EQ(platform.cli.prints[11], " 0/0             (nil)     ");
    EXPECT_EQ(platform.cli.prints[12], " 0/0/0     \n");
}

TEST_F(Report, GivesTheResultOfItsLastPrint)
{
    platform.cli.print_result = 77;
    report();
    EXPECT_EQ(result, 77u);
    detail();
    EXPECT_EQ(result, 77u);
}

TEST_F(Report, OfANameWithoutItsEndIsCutAtItsArray)
{
    std::memset(kov_api.client_name, 'n', sizeof kov_api.client_name);
    EXPECT_NE(report().find(": " + std::string(128, 'n') + "(0)\n"), std::string::npos);
    std::memset(kov_api.client_name, 0, sizeof kov_api.client_name);
}

TEST_F(Report, WithoutACommandLineIsNothing)
{
    EXPECT_EQ(kov_api_print_cache_stats(nullptr), 0u);
    EXPECT_EQ(kov_api_debug_on(nullptr), 0u);
    EXPECT_EQ(kov_api_debug_off(nullptr), 0u);
    EXPECT_TRUE(platform.calls.log().empty());
}

// ------------------------------------------------------------------------------------------------- detail

TEST_F(Report, InDetailOfAnEmptyCacheHasTheCountersOfEachTypeAndNoContents)
{
    EXPECT_EQ(kov_api_init(), 1u);
    const std::string text = detail();
    EXPECT_EQ(text.substr(text.find(rule)), empty_types(1, 6) + rule);
    EXPECT_EQ(platform.cli.questions, 0u);
}

TEST_F(Report, InDetailHasEverythingThatIsCached)
{
    cache_all();
    const std::string text = detail();
    const std::string svi_block = "Svi Intf                       : vlan20\n"
                                  "If_index                       : 0x00000014(1020)\n"
                                  "Forward Mode                   : Proxy Gateway\n"
                                  "Migration enabled              : True\n"
                                  "Suppress ARP                   : True\n\n";
    const std::string blanks(33, ' ');
    const kov_cache_desc *d = kov_api.cache;
    const auto hits = [d](uint32_t type) {
        return std::to_string(d[type].cache_hits) + "/" + std::to_string(d[type].rdb_hits) + "/" +
               std::to_string(d[type].update_hits);
    };
    EXPECT_EQ(text.substr(text.find(rule)),
              type_head(1, "Yes/No", hits(1), "1/181") + line("Fabric Id", "103") +
                  line("Conversational Learning", "True") + line("Anycast Gateway Mac", "1313.1313.1313") +
                  line("Switch Role", "dci-node ") + line("Fabric Control Segment", "vlan10") +
                  line("Urib Conv Aging Timeout", "403") + line("U6rib Conv Aging Timeout", "603") +
                  line("Migration", "True") + line("Forward Encap", "Vxlan") +
                  line("Router MAC", "2323.2323.2323") + type_head(2, "Yes/No", hits(2), "3/170") +
                  line("Svi Intf", "vlan10") + line("If_index", "0x0000000a(1010)") + line("State", "Up") +
                  line("V4 prefix", "10.0.10.1/24") +
                  line("V6 prefix", "a0a:a0a:a0a:a0a:a0a:a0a:a0a:a0a/64") + line("Vrf name", "red") +
                  line("Forward Mode", "Anycast Gateway") + line("Fabric control seg", "True") + "\n" +
                  line("Svi Intf", "vlan10") + line("If_index", "0x0000000a(1010)") +
                  line("Forward Mode", "Anycast Gateway") + line("Migration enabled", "True") +
                  line("Suppress ARP", "True") + "\n" + svi_block + type_head(3, "Yes/No", hits(3), "2/70") +
                  line("Slot num", "3") + line("Num bf allocated", "16") + blanks + "0,7,9\n\n" +
                  line("Slot num", "4") + line("Num bf allocated", "8") + blanks + "none\n\n" +
                  type_head(4, "Yes/No", hits(4), "4/80") + line("Vrf name", "blue") + line("Refcount", "4") +
                  "Aggregate-subnet-prefix        : 10.1.0.0/16\n" + std::string(30, ' ') +
                  "   10.2.0.0/16\n" + std::string(30, ' ') + "   2000::/8\n\n" + line("Vrf name", "red") +
                  line("Refcount", "2") + "Aggregate-subnet-prefix        : fd00::/8\n\n" +
                  type_head(5, "Yes/No", hits(5), "1/35") + line("Slot num", "157") +
                  line("Num bf allocated", "24") + blanks + "16-23\n\n" +
                  type_head(6, "Yes/No", hits(6), "1/52") + line("BD", "16777217") + line("VNI", "10600") +
                  line("Suppress ARP enabled", "True") + line("Suppress ARP Mode", "L2/L3 ARP Suppression") +
                  line("Suppress ARP L3 SVI", "vlan20") + "\n" + rule);
    EXPECT_EQ(platform.cli.questions, 1u + 3 + 2 + 4 + 1 + 1);
    EXPECT_EQ(kov_vrf_ctx_lookup("blue")->refcount, 3u) << "the walk's own reference is given back";
}

struct Gate {
    std::initializer_list<uint32_t> registered;
    std::vector<const char *> shown; // of the labels that have a gate
};

TEST_F(Report, ShowsAFieldOnlyToAClientThatRegisteredForItsMessage)
{
    const std::vector<const char *> gated = {"Fabric Id",
                                             "Conversational Learning",
                                             "Anycast Gateway Mac",
                                             "Switch Role",
                                             "Fabric Control Segment",
                                             "Urib Conv Aging Timeout",
                                             "U6rib Conv Aging Timeout",
                                             "Migration  ",
                                             "Forward Encap",
                                             "Router MAC",
                                             "Forward Mode",
                                             "Migration enabled",
                                             "Suppress ARP  "};
    const Gate gates[] = {
        {{4}, {"Fabric Id"}},
        {{5}, {"Conversational Learning"}},
        {{7}, {"Anycast Gateway Mac"}},
        {{6}, {"Switch Role"}},
        {{17}, {"Switch Role"}},
        {{11}, {"Fabric Control Segment"}},
        {{13}, {"Urib Conv Aging Timeout", "U6rib Conv Aging Timeout"}},
        {{14}, {"Migration  "}},
        {{16}, {"Forward Encap", "Router MAC"}},
        {{9}, {"Forward Mode"}},
        {{18}, {"Forward Mode"}},
        {{15}, {"Migration enabled"}},
        {{19}, {"Suppress ARP  "}},
        {{8, 10, 20}, {}},
    };
    cache_all();
    for (const Gate &gate : gates) {
        kov_api.mtype_mask = 0;
        for (const uint32_t mtype : gate.registered)
            kov_api.mtype_mask |= 1u << mtype;
        const std::string text = detail();
        std::vector<const char *> shown;
        std::copy_if(gated.begin(), gated.end(), std::back_inserter(shown),
                     [&](const char *label) { return text.find("\n" + std::string(label)) != text.npos; });
        EXPECT_EQ(shown, gate.shown) << *std::max_element(gate.registered.begin(), gate.registered.end());
    }
}

TEST_F(Report, AsksTheGatesWithoutATrace)
{
    cache_all();
    kov_api.mtype_mask = 0;
    debug_on();
    clear_traces();
    detail();
    expect_traces({"(blue) refcount: 3", "(red) refcount: 1"}); // the walk leaves them, and they stay
}

TEST_F(Report, OfASegmentsSviWithoutTheEndOfItsVrfNamePrintsWhatThereIs)
{
    kov_rdb_sviinfo_t record = fabric_ctrl_svi(10, 0);
    record.is_up = 1;
    std::memset(record.vrf_name, 'v', sizeof record.vrf_name);
    kov_api_init();
    EXPECT_EQ(kov_cache_sviinfo(&record, 10), 1u);
    EXPECT_NE(detail().find(line("Vrf name", std::string(33, 'v'))), std::string::npos);
    kov_cache_fabric_ctrl_svi(nullptr, 10);
}

TEST_F(Report, OfAVrfWithoutPrefixesIsAnEmptyLineAndTheContextGoes)
{
    kov_api_init();
    publish("red", 0, v4(0x0A010000, 16));
    platform.calls.fail(Call::pt_add);
    kov_cache_rdb_aggr_subnet_pfx(1, nullptr);
    ASSERT_NE(kov_vrf_ctx_lookup("red"), nullptr);
    debug_on();
    clear_traces();
    EXPECT_NE(detail().find(type_head(4, "No/No", "0/2/0", "0/0") + "\n" + empty_types(5, 6) + rule),
              std::string::npos);
    EXPECT_EQ(platform.cli.questions, 0u);
    expect_traces({"VRF context red is deleted from cache"});
    EXPECT_EQ(kov_vrf_ctx_lookup("red"), nullptr);
    EXPECT_EQ(kov_api.vrf_count, 0u);
}

TEST_F(Report, InDetailOfAClosedLibraryThatWaitsShowsNoFieldThatHasAGate)
{
    publish(general_info(3));
    kov_api_init();
    kov_cache_rdb_geninfo(1, nullptr);
    kov_api_close();
    kov_api_wait_for_init = 1;
    EXPECT_NE(detail().find(type_head(1, "No/No", "0/1/0", "1/181") + empty_types(2, 6) + rule),
              std::string::npos);
    EXPECT_EQ(platform.cli.questions, 1u);
    EXPECT_EQ(kov_api.initialized, 0u);
    kov_api_wait_for_init = 0;
    kov_api_init(); // frees what was left
}

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

// -------------------------------------------------------------------------------------------- what can fail

TEST_F(Report, EndsAtASlotWhoseBitsCannotBeReadWithTheLastPrintsResult)
{
    for (const uint32_t type : {3u, 5u}) {
        kov_api_init();
        platform.db.clear();
        if (type == 3)
            publish(7, kov_rdb_port_tracking_t{257, {}});
        else
            publish(7, kov_rdb_port_l2dci_t{257, {}});
        kov_cache_rdb_port_tracking(1, nullptr);
        kov_cache_rdb_port_l2dci(1, nullptr);
        debug_on();
        clear_traces();
        const std::string text = detail();
        EXPECT_TRUE(text.ends_with(line("Slot num", "7") + line("Num bf allocated", "257"))) << text;
        EXPECT_EQ(result, 1u);
        EXPECT_EQ(platform.cli.questions, 0u);
        EXPECT_TRUE(traced(type == 3 ? "RDB port tracking cache read failed for slot_num 7"
                                     : "RDB port l2dci cache read failed for slot_num 7"));
        kov_clear_cache_rdb_port_tracking(1, nullptr);
        kov_clear_cache_rdb_port_l2dci(1, nullptr);
    }
}

TEST_F(Report, SurvivesEveryFailureOfItsPlatform)
{
    const unsigned failures = sweep([this] {
        publish_all();
        register_client({4, 9, 10, 19, 20}); // a prefix that the tree does not let go is lost, deliberately
        dispatch(KOV_MTYPE_REGISTER_ACK);
        detail();
        report();
        kov_deregister_client();
    });
    EXPECT_GT(failures, 10u);
}

TEST_F(Report, WithoutMemoryForTheBitsPrintsTheRestOfTheSlot)
{
    publish(3, kov_rdb_port_tracking_t{8, {1}});
    register_and_acknowledge({10});
    platform.calls.fail(Call::bitfield_sprintf_to_buffer);
    EXPECT_NE(detail().find(line("Num bf allocated", "8") + "\n" + rule), std::string::npos);
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
