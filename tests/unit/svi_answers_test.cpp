// Questions about one SVI that build on its forwarding mode, its topology, or its address events.
#include "samples.h"

namespace
{

using fake::Call;

constexpr uint32_t svi = 10, bdi = 20, port = 0x68000206, channel = 40;

class SviAnswers : public Lab
{
protected:
    using Texts = std::vector<std::string>;

    SviAnswers()
    {
        platform.interfaces.add_vlan(svi, "vlan10");
        platform.interfaces.add_bdi(bdi, "bdi20");
        platform.interfaces.add_port(port, 2, 6, "eth3/7");
        platform.interfaces.add_channel(channel, 20, "po20");
        platform.interfaces.index_by_iod = {{7, svi}, {8, bdi}, {9, port}};
        EXPECT_EQ(kov_api_init(), 1u);
        debug_on();
        clear_traces();
    }

    void track_port(bool on)
    {
        kov_rdb_port_tracking_t record = {};
        record.num_bits = 256;
        record.port_bits[0] = on ? 0x80 : 0;
        publish(3, record);
    }
    void publish_topology(uint32_t bd, uint32_t mode)
    {
        kov_rdb_l2rib_topo_info_t record = {};
        record.bd = bd;
        record.suppress_arp_mode = mode;
        publish(record);
    }
    void become_unusable()
    {
        kov_api_close();
        kov_api_wait_for_init = 1;
        clear_traces();
    }
    static std::string gate(const std::string &call, uint32_t mtype, const std::string &client = "unit")
    {
        return call + "(): Client " + client + " has not registered for mtype: " + std::to_string(mtype) +
               ", doing an RDB based lookup";
    }
    static std::string refused(const std::string &call) { return call + "(): Not initialized with KOV Api"; }
    const std::string waiting = "API called even before KOV is enabled, ignore";
};

// ------------------------------------------------------------------------------------------------ capable

TEST_F(SviAnswers, AnInterfaceIsCapableWhenItIsAVlanOrBridgeDomainInterface)
{
    struct Case {
        uint32_t iod, ifindex, answer;
    };
    const Case cases[] = {{0, svi, 1}, {0, bdi, 1},  {0, port, 0}, {0, channel, 0},   {0, 999, 0},
                          {7, 0, 1},   {8, 0, 1},    {9, 0, 0},    {6, 0, 0},         {0, 0, 0},
                          {9, svi, 1}, {7, port, 0}, {6, svi, 1},  {UINT32_MAX, 0, 0}};
    for (const Case &c : cases)
        EXPECT_EQ(kov_is_intf_ferro_capable(c.iod, c.ifindex), c.answer) << c.iod << " " << c.ifindex;
}

TEST_F(SviAnswers, WhetherAnInterfaceIsCapableNeedsNoLibraryAndTracesNothing)
{
    become_unusable();
    EXPECT_EQ(kov_is_intf_ferro_capable(0, svi), 1u);
    EXPECT_EQ(kov_is_intf_ferro_capable(0, 0), 0u);
    EXPECT_EQ(kov_is_intf_ferro_capable(6, 0), 0u);
    expect_traces({});
    EXPECT_EQ(kov_api.initialized, 0u);
}

TEST_F(SviAnswers, ForNoInterfaceAtAllNothingIsLookedUp)
{
    platform.calls.clear();
    EXPECT_EQ(kov_is_intf_ferro_capable(0, 0), 0u);
    EXPECT_TRUE(platform.calls.log().empty());
}

TEST_F(SviAnswers, AnInterfaceWhoseTypeCannotBeToldIsNotCapable)
{
    platform.calls.fail(Call::if_index_get_type, 1, 2);
    EXPECT_EQ(kov_is_intf_ferro_capable(0, svi), 0u);
}

// ------------------------------------------------------------------------------------- modes with a port

struct ModeCase {
    uint32_t mode;
    bool tracked;
    uint32_t checked, proxy; // what the two calls answer
};

// Deliberate: every mode but the proxy gateway's proxies as an anycast gateway, standard and unknown too.
TEST_F(SviAnswers, AProxyGatewayIsConditionalBehindATrackedPortAndEveryOtherModeProxiesAsAnAnycastGateway)
{
    const ModeCase cases[] = {{0, false, 0, 2}, {0, true, 0, 2},  {1, false, 1, 1},
                              {1, true, 3, 3},  {2, false, 2, 2}, {2, true, 2, 2},
                              {3, true, 3, 2},  {4, true, 4, 2},  {5, true, 5, 2}};
    for (const ModeCase &c : cases) {
        SCOPED_TRACE(testing::Message() << "mode " << c.mode << (c.tracked ? ", tracked" : ""));
        publish(svi_in_mode(svi, c.mode));
        track_port(c.tracked);
        const kov_fwd_mode_params params = {svi, port};
        EXPECT_EQ(kov_check_forwarding_mode(&params), c.checked);
        EXPECT_EQ(kov_check_proxy_mode(svi, port), c.proxy);
    }
}

TEST_F(SviAnswers, WithoutARecordTheModeIsStandardAndTheProxyAnAnycastGateway)
{
    const kov_fwd_mode_params params = {svi, port};
    EXPECT_EQ(kov_check_forwarding_mode(&params), 0u);
    EXPECT_EQ(kov_check_proxy_mode(svi, port), 2u);
    EXPECT_EQ(kov_check_proxy_mode(port, svi), 2u) << "and for no SVI at all";
}

TEST_F(SviAnswers, APortChannelRefinesTheModeAsAPortDoes)
{
    publish(svi_in_mode(svi, 1));
    kov_rdb_port_tracking_t record = {};
    record.num_bits = 256;
    record.port_bits[21 / 8] = 1 << 21 % 8;
    publish(157, record);
    EXPECT_EQ(kov_check_proxy_mode(svi, channel), 3u);
    EXPECT_EQ(kov_check_proxy_mode(svi, 0), 1u) << "no interface is not tracked";
}

TEST_F(SviAnswers, ThePortIsAskedOnlyForAProxyGateway)
{
    publish(svi_in_mode(svi, 2));
    track_port(true);
    kov_check_proxy_mode(svi, port);
    expect_counters(KOV_RDB_PORT_TRACKING, {});
    publish(svi_in_mode(svi, 1));
    kov_check_proxy_mode(svi, port);
    expect_counters(KOV_RDB_PORT_TRACKING, {.rdb_hits = 1});
}

TEST_F(SviAnswers, ACheckOfTheForwardingModeTracesItsWay)
{
    publish(svi_in_mode(svi, 1));
    track_port(true);
    register_and_acknowledge({9, 10});
    clear_traces();
    const kov_fwd_mode_params params = {svi, port};
    EXPECT_EQ(kov_check_forwarding_mode(&params), 3u);
    expect_traces({"Get forwarding mode svi vlan10, phy_intf eth3/7",
                   "Reading Forwarding mode for key: vlan10  from RDB", "Doing Cache based lookup for 2",
                   "Reading Forwarding mode: Proxy Gateway from RDB",
                   "Checking for port tracking enabled on eth3/7", "Doing Cache based lookup for 3",
                   "Checking for port tracking enabled on 7 in 7", "Port tracking is enabled on eth3/7",
                   "Forwarding mode Conditional Proxy Gateway for svi vlan10, phy_intf eth3/7"});
}

TEST_F(SviAnswers, ACheckOfTheProxyModeTracesItsWay)
{
    publish(svi_in_mode(svi, 0));
    register_and_acknowledge({9, 10});
    clear_traces();
    EXPECT_EQ(kov_check_proxy_mode(svi, port), 2u);
    expect_traces({"ARP/ND proxy request svi vlan10, l2_port eth3/7",
                   "Reading Forwarding mode for key: vlan10  from RDB", "Doing Cache based lookup for 2",
                   "Reading Forwarding mode: Standard from RDB",
                   "ARP/ND proxy(2) request for svi vlan10, l2_port eth3/7"});
}

TEST_F(SviAnswers, ACheckWithoutParametersIsInvalidAndTraced)
{
    EXPECT_EQ(kov_check_forwarding_mode(nullptr), 4u);
    expect_traces({"kov_check_forwarding_mode(): Invalid fwd_mode_params: (nil)"});
}

TEST_F(SviAnswers, BothChecksAreInvalidWhileTheLibraryIsNotReady)
{
    become_unusable();
    const kov_fwd_mode_params params = {svi, port};
    EXPECT_EQ(kov_check_forwarding_mode(&params), 4u);
    EXPECT_EQ(kov_check_forwarding_mode(nullptr), 4u);
    EXPECT_EQ(kov_check_proxy_mode(svi, port), 4u);
    expect_traces({waiting, refused("kov_check_forwarding_mode"), waiting,
                   refused("kov_check_forwarding_mode"), waiting, refused("kov_check_proxy_mode")});
}

// -------------------------------------------------------------------------------- a topology's suppression

// The cache holds mode 2 when it holds anything, the database mode 1.
TEST_F(SviAnswers,
       TheSuppressionOfABridgeDomainComesFromTheCacheOnlyWhenRegisteredFor19AndFilledAndNotUpdating)
{
    for (unsigned bits = 0; bits < 32; ++bits) {
        const bool registered = bits & 1, cached = bits & 2, is_updating = bits & 4, in_database = bits & 8,
                   in_cache = bits & 16;
        SCOPED_TRACE(bits);
        kov_api_close();
        platform.db.clear();
        kov_api_init();
        if (in_cache) {
            publish_topology(600, 2);
            kov_cache_rdb_l2rib_topo_info(1, nullptr);
            withdraw(key_of(KOV_RDB_L2RIB_TOPO_INFO, 600));
        }
        if (in_database)
            publish_topology(600, 1);
        register_client({registered ? 19u : 9u});
        kov_cache_desc &desc = kov_api.cache[KOV_RDB_L2RIB_TOPO_INFO];
        Counters row = counters(KOV_RDB_L2RIB_TOPO_INFO);
        desc.cached = row.cached = cached;
        desc.updating = row.updating = is_updating;
        clear_traces();

        const bool from_cache = registered && cached && !is_updating;
        const uint32_t mode = from_cache ? (in_cache ? 2 : 0) : (in_database ? 1 : 0);
        EXPECT_EQ(kov_get_suppress_arp_mode(600), mode);

        (from_cache ? row.cache_hits : row.rdb_hits) += 1;
        row.update_hits += !from_cache && is_updating;
        expect_all_counters({{KOV_RDB_L2RIB_TOPO_INFO, row}});
        const char *const modes[] = {"ARP Suppression Disabled", "L2 ARP Suppression",
                                     "L2/L3 ARP Suppression"};
        Texts texts = {"Reading Suppress ARP for key: 600 SW_BD from RDB"};
        if (!registered)
            texts.push_back(gate("kov_get_suppress_arp_mode", 19));
        texts.push_back(from_cache ? "Doing Cache based lookup for 6" : "Doing RDB based lookup for 6");
        texts.push_back(std::string("Reading Suppress ARP mode: ") + modes[mode] + " from RDB");
        expect_traces(texts);
        desc.updating = 0;
        kov_deregister_client();
        kov_clear_cache_rdb_l2rib_topo_info(0, std::array<uint32_t, 1>{600}.data());
    }
}

TEST_F(SviAnswers, TheSuppressionOfABridgeDomainIsGivenAsItStands)
{
    for (const uint32_t mode : {0u, 1u, 2u, 3u, UINT32_MAX}) {
        publish_topology(600, mode);
        clear_traces();
        EXPECT_EQ(kov_get_suppress_arp_mode(600), mode);
    }
    EXPECT_EQ(traces().back(), "Reading Suppress ARP mode: ARP Suppression INVALID from RDB");
}

TEST_F(SviAnswers, TheSuppressionOfABridgeDomainIsZeroWhileTheLibraryIsNotReady)
{
    become_unusable();
    EXPECT_EQ(kov_get_suppress_arp_mode(600), 0u);
    expect_traces({waiting, refused("kov_get_suppress_arp_mode")});
}

// ----------------------------------------------------------------------------------- an SVI's suppression

struct SuppressGates {
    std::initializer_list<uint32_t> registered; // with 11, which fills the SVIs and is not asked for
    std::vector<uint32_t> asked_in_vain;
    bool may_use_cache;
};

TEST_F(SviAnswers, AnSvisSuppressionComesFromTheCacheOnlyWhenRegisteredFor19AndFor9Or18)
{
    const SuppressGates cases[] = {
        {{11}, {9, 18}, false},     {{11, 9}, {19}, false},      {{11, 18}, {9, 19}, false},
        {{11, 19}, {9, 18}, false}, {{11, 9, 18}, {19}, false},  {{11, 9, 19}, {}, true},
        {{11, 18, 19}, {9}, true},  {{11, 9, 18, 19}, {}, true},
    };
    for (const SuppressGates &c : cases)
        for (const bool in_cache : {false, true})
            for (const bool is_updating : {false, true}) {
                SCOPED_TRACE(testing::Message() << &c - cases << in_cache << is_updating);
                kov_rdb_sviinfo_t record = svi_in_mode(svi, 2);
                record.suppress_arp = 5;
                if (in_cache)
                    publish(record);
                register_and_acknowledge(c.registered);
                record.suppress_arp = 6;
                publish(record);
                kov_api.cache[KOV_RDB_SVIINFO].updating = is_updating;
                const Counters before = counters(KOV_RDB_SVIINFO);
                clear_traces();

                const bool from_cache = c.may_use_cache && !is_updating;
                const uint32_t flag = from_cache ? (in_cache ? 5 : 0) : 6;
                EXPECT_EQ(kov_is_suppress_arp_enabled_ferro_svi(svi), flag);

                Counters row = before;
                (from_cache ? row.cache_hits : row.rdb_hits) += 1;
                row.update_hits += !from_cache && is_updating;
                EXPECT_EQ(counters(KOV_RDB_SVIINFO), row);
                Texts texts = {"Reading Suppress ARP for key: vlan10  from RDB"};
                for (const uint32_t mtype : c.asked_in_vain)
                    texts.push_back(gate("kov_is_suppress_arp_enabled_ferro_svi", mtype));
                texts.push_back(from_cache ? "Doing Cache based lookup for 2"
                                           : "Doing RDB based lookup for 2");
                texts.push_back("Reading suppress arp " + std::to_string(flag) + " for vlan10 from RDB");
                expect_traces(texts);
                kov_api.cache[KOV_RDB_SVIINFO].updating = 0;
                kov_deregister_client();
                platform.db.clear();
            }
}

TEST_F(SviAnswers, TheSuppressionOfWhatIsNoSviIsZeroAndReadsNothing)
{
    EXPECT_EQ(kov_is_suppress_arp_enabled_ferro_svi(port), 0u);
    EXPECT_EQ(kov_is_suppress_arp_enabled_ferro_svi(0), 0u);
    expect_traces({"eth3/7 is not a vlan/bdi interface", "- is not a vlan/bdi interface"});
    expect_all_counters({});
}

TEST_F(SviAnswers, TheSuppressionOfAnUnknownSviIsZero)
{
    EXPECT_EQ(kov_is_suppress_arp_enabled_ferro_svi(bdi), 0u);
    EXPECT_EQ(traces().back(), "Reading suppress arp 0 for bdi20 from RDB");
}

TEST_F(SviAnswers, AnSvisSuppressionIsZeroWhileTheLibraryIsNotReady)
{
    become_unusable();
    EXPECT_EQ(kov_is_suppress_arp_enabled_ferro_svi(port), 0u);
    expect_traces({waiting, refused("kov_is_suppress_arp_enabled_ferro_svi")});
}

// ------------------------------------------------------------------------------------------ address events

struct Address {
    const char *what;
    std::array<uint8_t, 2> first;
    uint32_t notify;
};

TEST_F(SviAnswers, AnAddressEventIsOfInterestUnlessItIsLinkLocal)
{
    const Address addresses[] = {{"2001::", {0x20, 0x01}, 1}, {"fe80::", {0xFE, 0x80}, 0},
                                 {"febf::", {0xFE, 0xBF}, 0}, {"fec0::", {0xFE, 0xC0}, 1},
                                 {"fe40::", {0xFE, 0x40}, 1}, {"fe00::", {0xFE, 0x00}, 1},
                                 {"ff80::", {0xFF, 0x80}, 1}, {"fd80::", {0xFD, 0x80}, 1}};
    publish(svi_in_mode(svi, 0));
    for (const Address &a : addresses) {
        EXPECT_EQ(kov_check_am_should_notify(7, a.first.data(), 0, 2), a.notify) << a.what;
        EXPECT_EQ(kov_check_am_should_notify(7, a.first.data(), 0, 1), 1u) << a.what;
        for (const int32_t family : {0, 3, -1})
            EXPECT_EQ(kov_check_am_should_notify(7, a.first.data(), 0, family), 0u) << a.what;
    }
    EXPECT_EQ(kov_check_am_should_notify(7, nullptr, 0, 2), 1u);
    EXPECT_EQ(kov_check_am_should_notify(7, nullptr, 0, 1), 1u);
}

TEST_F(SviAnswers, AnAddressEventTracesWhyItIsOfNoInterest)
{
    const std::array<uint8_t, 2> link_local = {0xFE, 0x80};
    publish(svi_in_mode(svi, 0));
    register_and_acknowledge({9, 11});
    clear_traces();
    EXPECT_EQ(kov_check_am_should_notify(6, nullptr, 0, 1), 0u);
    EXPECT_EQ(kov_check_am_should_notify(7, nullptr, 0, 1), 0u) << "a standard SVI is not cached";
    kov_api.mtype_mask = 0;
    EXPECT_EQ(kov_check_am_should_notify(7, link_local.data(), 0, 2), 0u);
    EXPECT_EQ(kov_check_am_should_notify(8, link_local.data(), 0, 2), 0u);
    const std::string call = "kov_check_am_should_notify";
    expect_traces({call + "(): Could not get ifindex from iod 6", "Doing Cache based lookup for 2",
                   "vlan10 is not interested by KOV", gate(call, 9), gate(call, 18),
                   "Doing RDB based lookup for 2", "Ignore Link-local addresses notif for ifindex vlan10",
                   gate(call, 9), gate(call, 18), "Doing RDB based lookup for 2",
                   "bdi20 is not interested by KOV"});
}

TEST_F(SviAnswers, AnAddressEventNeedsTheInterfaceBeforeTheLibrary)
{
    publish(svi_in_mode(svi, 0));
    become_unusable();
    EXPECT_EQ(kov_check_am_should_notify(6, nullptr, 0, 1), 0u);
    expect_traces({"kov_check_am_should_notify(): Could not get ifindex from iod 6"});
    EXPECT_EQ(kov_check_am_should_notify(7, nullptr, 0, 1), 0u);
    EXPECT_EQ(traces().back(), "vlan10 is not interested by KOV");
}

TEST_F(SviAnswers, AnAddressEventOpensTheLibrary)
{
    publish(svi_in_mode(svi, 0));
    kov_api_close();
    EXPECT_EQ(kov_check_am_should_notify(7, nullptr, 0, 1), 1u);
    EXPECT_EQ(kov_api.initialized, 1u);
}

// The server's change reaches the SVI by its topology: one message, two caches.
TEST_F(SviAnswers, FollowTheServersChangeOfATopology)
{
    kov_rdb_sviinfo_t record = svi_in_mode(svi, 2);
    record.suppress_arp = 0;
    publish(record);
    publish_topology(600, 0);
    register_and_acknowledge({9, 19});
    EXPECT_EQ(kov_is_suppress_arp_enabled_ferro_svi(svi), 0u);
    EXPECT_EQ(kov_get_suppress_arp_mode(600), 0u);
    record.suppress_arp = 1;
    publish(record);
    publish_topology(600, 2);
    EXPECT_EQ(kov_is_suppress_arp_enabled_ferro_svi(svi), 0u) << "not announced yet";
    EXPECT_EQ(dispatch(19, kov_suppress_arp_topo_update{600, 0, 0, 0, svi, 0}), 1u);
    EXPECT_EQ(kov_is_suppress_arp_enabled_ferro_svi(svi), 1u);
    EXPECT_EQ(kov_get_suppress_arp_mode(600), 2u);
    const uint32_t bd = 600;
    kov_clear_cache_rdb_l2rib_topo_info(0, &bd);
}

} // namespace
