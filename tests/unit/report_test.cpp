// The report: its bytes, its gates, and what can fail.
#include "report_lab.h"

#include "cache/sviinfo.h"
#include "cache/vrf.h"

namespace
{

using fake::Call;

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

} // namespace
