// The report of what is off, down, nameless or extreme: each number and word is a literal of its own, so that
// no two of them can change places.
#include "report_lab.h"

#include "api/print_buffer.h"

namespace
{

using fake::Call;

const std::string blanks(33, ' ');

class ReportOff : public Report
{
protected:
    static constexpr uint32_t nameless_segment = 30, nameless_svi = 0x40000028;

    // One record of each type with everything off and no interface named.
    void cache_all_off()
    {
        kov_rdb_geninfo_t general = {};
        general.fabric_id = 0x80000001;
        general.urib_conv_aging_timeout = 7;
        general.u6rib_conv_aging_timeout = 9;
        publish(general);
        publish(fabric_ctrl_svi(nameless_segment));
        kov_rdb_sviinfo_t svi = {};
        svi.svi_ifindex = nameless_svi;
        svi.vlan_id = 0x12345;
        svi.fwd_mode = KOV_FWD_MODE_PROXY_GATEWAY;
        publish(svi);
        publish(7, kov_rdb_port_tracking_t{8, {}});
        publish("violet", 0, v4(0, 0));
        publish(158, kov_rdb_port_l2dci_t{8, {}});
        kov_rdb_l2rib_topo_info_t topology = {};
        topology.bd = 5;
        topology.vni = 0x80000002;
        publish(topology);
        register_and_acknowledge({4, 5, 6, 7, 8, 9, 10, 11, 13, 14, 15, 16, 17, 18, 19, 20});
    }
    // A segment's SVI that went down and lost its flag after it was cached.
    static void put_segment_down()
    {
        kov_api.fabric_ctrl_svi->is_up = 0;
        kov_api.fabric_ctrl_svi->is_fabric_ctrl_seg = 0;
        kov_api.fabric_ctrl_svi->vlan_id = 0x8000000A;
    }
    // No two words of the state and of the descriptors are the same.
    void make_every_count_its_own()
    {
        expect_stale_counters();
        kov_api.uuid = 0x80000001;
        kov_api.sap = -3;
        kov_api.vrf_count = 3;
        kov_api.vrf_bytes = 777;
        for (uint32_t type = KOV_RDB_GENINFO; type <= KOV_RDB_L2RIB_TOPO_INFO; ++type) {
            kov_cache_desc &desc = kov_api.cache[type];
            desc.cache_hits = 100 * type + 1;
            desc.rdb_hits = 100 * type + 2;
            desc.update_hits = 100 * type + 3;
            desc.allocs = 10 + type;
            desc.bytes = 1000 + type;
        }
        kov_api.cache[KOV_RDB_PORT_TRACKING].updating = 1;
        kov_api.cache[KOV_RDB_PORT_L2DCI].cached = 0;
        kov_api.cache[KOV_RDB_PORT_L2DCI].updating = 1;
    }

    // How often was printed before the first of these calls.
    std::size_t prints_before(Call call) const
    {
        const std::vector<Call> &log = platform.calls.log();
        const auto at = std::find(log.begin(), log.end(), call);
        EXPECT_NE(at, log.end()) << fake::name_of(call);
        return static_cast<std::size_t>(std::count(log.begin(), at, Call::cli_cmd_printf));
    }
    std::size_t prints_before_the_empty_line() const
    {
        const std::vector<std::string> &prints = platform.cli.prints;
        EXPECT_EQ(std::count(prints.begin(), prints.end(), "\n"), 1);
        return static_cast<std::size_t>(std::find(prints.begin(), prints.end(), "\n") - prints.begin());
    }
};

const std::string state = "\nKOV Cache information/Stats\n" + line("Is Initialized", "Yes") +
                          line("Api Debug", "Off") + line("Client name(uuid)", "unit(-2147483647)") +
                          line("Client sap", "-3(registered)") + line("Client Flags", "0x001feff0") +
                          line("Cache On", "Yes") + line("Vrf allocs/Bytes", "3/777");

TEST_F(ReportOff, InDetailHasEachFieldsOtherWordAndEachCounterInItsPlace)
{
    cache_all_off();
    put_segment_down();
    make_every_count_its_own();
    EXPECT_EQ(detail(),
              state + type_head(1, "Yes/No", "101/102/103", "11/1001") + line("Fabric Id", "2147483649") +
                  line("Conversational Learning", "False") + line("Anycast Gateway Mac", "0000.0000.0000") +
                  line("Switch Role", "") + line("Fabric Control Segment", "-") +
                  line("Urib Conv Aging Timeout", "7") + line("U6rib Conv Aging Timeout", "9") +
                  line("Migration", "False") + line("Forward Encap", "Fabric") +
                  line("Router MAC", "0000.0000.0000") + type_head(2, "Yes/No", "201/202/203", "12/1002") +
                  line("Svi Intf", "-") + line("If_index", "0x0000001e(-2147483638)") +
                  line("State", "Down") + line("V4 prefix", "10.0.30.1/24") +
                  line("V6 prefix", "1e1e:1e1e:1e1e:1e1e:1e1e:1e1e:1e1e:1e1e/64") + line("Vrf name", "red") +
                  line("Forward Mode", "Standard") + line("Fabric control seg", "False") + "\n" +
                  line("Svi Intf", "-") + line("If_index", "0x40000028(74565)") +
                  line("Forward Mode", "Proxy Gateway") + line("Migration enabled", "False") +
                  line("Suppress ARP", "False") + "\n" + type_head(3, "Yes/Yes", "301/302/303", "13/1003") +
                  line("Slot num", "7") + line("Num bf allocated", "8") + blanks + "none\n\n" +
                  type_head(4, "Yes/No", "401/402/403", "14/1004") + line("Vrf name", "violet") +
                  line("Refcount", "2") + line("Aggregate-subnet-prefix", "0.0.0.0/0") + "\n" +
                  type_head(5, "No/Yes", "501/502/503", "15/1005") + line("Slot num", "158") +
                  line("Num bf allocated", "8") + blanks + "none\n\n" +
                  type_head(6, "Yes/No", "601/602/603", "16/1006") + line("BD", "5") +
                  line("VNI", "2147483650") + line("Suppress ARP enabled", "False") +
                  line("Suppress ARP Mode", "ARP Suppression Disabled") + line("Suppress ARP L3 SVI", "-") +
                  "\n" + rule);
}

TEST_F(ReportOff, InSummaryHasEachCounterInItsPlace)
{
    cache_all_off();
    make_every_count_its_own();
    const kov_cache_desc *d = kov_api.cache;
    const std::string rows =
        "  1     Yes/No          11/1001         " + pointer(d[1].data) + " 101/102/103\n" +
        "  2     Yes/No          12/1002         " + pointer(d[2].data) + " 201/202/203\n" +
        "  3     Yes/Yes         13/1003         " + pointer(d[3].data) + " 301/302/303\n" +
        "  4     Yes/No          14/1004         (nil)      401/402/403\n" +
        "  5     No/Yes          15/1005         " + pointer(d[5].data) + " 501/502/503\n" +
        "  6     Yes/No          16/1006         " + pointer(d[6].data) + " 601/602/603\n";
    EXPECT_EQ(report(), state + column_header + rows + rule);
}

TEST_F(ReportOff, AValueThatIsNeitherOffNorOnHasItsOwnWord)
{
    kov_rdb_geninfo_t general = {};
    general.fwd_encap = 7;
    general.fabric_ctrl_svi = 20;
    general.switch_role = 15;
    publish(general);
    register_and_acknowledge({6, 11, 16});
    const std::string text = detail();
    EXPECT_NE(text.find(line("Switch Role", "border spine leaf dci-node ") +
                        line("Fabric Control Segment", "vlan20") +
                        line("Forward Encap", "Invalid encapsulation")),
              std::string::npos)
        << text;
}

TEST_F(ReportOff, ATopologysSviIsNamedAsItsInterfaceIs)
{
    kov_rdb_l2rib_topo_info_t topology = {};
    for (const uint32_t svi : {10u, 20u, 99u}) {
        topology.bd = topology.suppress_arp_l3_svi = svi;
        topology.suppress_arp_mode = 1;
        publish(topology);
    }
    register_and_acknowledge({19});
    const std::string text = detail();
    const std::pair<const char *, const char *> named[] = {{"10", "vlan10"}, {"20", "vlan20"}, {"99", "-"}};
    for (const auto &[bd, name] : named)
        EXPECT_NE(text.find(line("BD", bd) + line("VNI", "0") + line("Suppress ARP enabled", "False") +
                            line("Suppress ARP Mode", "L2 ARP Suppression") +
                            line("Suppress ARP L3 SVI", name) + "\n"),
                  std::string::npos)
            << text;
}

// -------------------------------------------------------------------------------------- the client's state

struct StateCase {
    uint32_t registered, pending, cache_on;
    const char *sap, *flags, *cache;
};

TEST_F(ReportOff, TheRegistrationItsAcknowledgementAndTheCacheAreToldEachByItself)
{
    const char *const pending = "0x00000200(Server Ack Pending)";
    const StateCase cases[] = {
        {0, 0, 0, "4107", "0x00000200", "No"},
        {1, 0, 0, "4107(registered)", "0x00000200", "No"},
        {0, 1, 0, "4107", pending, "No"},
        {0, 0, 1, "4107", "0x00000200", "Yes"},
        {1, 1, 0, "4107(registered)", pending, "No"},
        {1, 0, 1, "4107(registered)", "0x00000200", "Yes"},
        {0, 1, 1, "4107", pending, "Yes"},
        {1, 1, 1, "4107(registered)", pending, "Yes"},
    };
    kov_api.sap = 4107;
    kov_api.mtype_mask = 0x200;
    for (const StateCase &c : cases) {
        kov_api.registration_done = c.registered;
        kov_api.ack_pending = c.pending;
        kov_api.cache_enabled = c.cache_on;
        const std::string text = report();
        EXPECT_NE(
            text.find(line("Client sap", c.sap) + line("Client Flags", c.flags) + line("Cache On", c.cache)),
            std::string::npos)
            << text;
    }
    kov_api.registration_done = kov_api.ack_pending = kov_api.cache_enabled = 0;
}

// ---------------------------------------------------------------------------------------------- the pieces

TEST_F(ReportOff, EachRowOfASummaryTakesThreePrintBuffers)
{
    kov_api.cache[5].cached = kov_api.cache[5].updating = kov_api.cache[6].updating = 1;
    kov_api.cache[5].update_hits = 3;
    kov_api.cache[6].cache_hits = 4;
    kov_next_print_buffer = 5;
    report();
    EXPECT_EQ(kov_next_print_buffer, 5 + 18u);
    const char *const last_two_rows[] = {"Yes/Yes", "0/0", "0/0/3", "No/Yes", "0/0", "4/0/0"};
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_STREQ(kov_print_buffer[(18 + i) % 8], last_two_rows[i]) << i;
}

TEST_F(ReportOff, ASlotMayHave256Ports)
{
    kov_rdb_port_tracking_t tracking = {256, {}};
    tracking.port_bits[31] = 0x80;
    kov_rdb_port_l2dci_t l2dci = {256, {0x01}};
    l2dci.port_bits[31] = 0xC0;
    publish(7, tracking);
    publish(8, l2dci);
    register_and_acknowledge({10, 20});
    const std::string text = detail(), whole = line("Num bf allocated", "256") + blanks;
    EXPECT_NE(text.find(line("Slot num", "7") + whole + "255\n\n" + rule), std::string::npos) << text;
    EXPECT_NE(text.find(line("Slot num", "8") + whole + "0,254-255\n\n" + rule), std::string::npos) << text;
    EXPECT_EQ(platform.cli.questions, 2u);
}

TEST_F(ReportOff, TheWalksReferenceIsGivenBackBeforeTheEmptyLineBehindAVrf)
{
    publish("red", 0, v4(0x0A010000, 16));
    register_and_acknowledge({8});
    debug_on();
    clear_traces();
    platform.calls.clear();
    detail();
    expect_traces({"(red) refcount: 1"});
    EXPECT_EQ(prints_before(Call::tracef_func), prints_before_the_empty_line());
}

TEST_F(ReportOff, AVrfThatBecameUnusedGoesBeforeTheEmptyLineBehindIt)
{
    kov_api_init();
    publish("red", 0, v4(0x0A010000, 16));
    platform.calls.fail(Call::pt_add);
    kov_cache_rdb_aggr_subnet_pfx(1, nullptr);
    platform.calls.clear();
    detail();
    EXPECT_EQ(prints_before(Call::oak_delete), prints_before_the_empty_line());
    EXPECT_EQ(prints_before(Call::release), prints_before_the_empty_line());
}

} // namespace
