// Update messages turned into refreshes: of slots by a port, and of topologies with their SVI.
#include "samples.h"
#include "update_message.h"

#include "cache/slots.h"
#include "cache/sviinfo.h"

namespace
{

using fake::Call;
using Texts = std::vector<std::string>;

constexpr uint32_t port = 0x68000206, channel = 0x58000014;

class UpdateKeys : public Lab
{
protected:
    UpdateKeys()
    {
        platform.interfaces.add_vlan(10, "vlan10");
        platform.interfaces.add_port(port, 2, 6, "eth3/7");
        platform.interfaces.add_channel(channel, 0, "po0");
    }
    void cache(std::initializer_list<uint32_t> mtypes)
    {
        register_and_acknowledge(mtypes);
        debug_on();
        clear_traces();
    }
    static std::string failed(const std::string &index, const std::string &place)
    {
        return "kov_ifindex_get_slot_port failed with ifindex 0x" + index + " [slot/port: " + place + "]";
    }
};

// --------------------------------------------------------------------------------------------- slots

struct Slots {
    uint16_t mtype;
    uint32_t type;
    const char *text;
};

class UpdatedSlots : public UpdateKeys, public testing::WithParamInterface<Slots>
{
protected:
    void publish_slot(uint8_t slot) { publish_slot(slot, slot); }
    void publish_slot(uint8_t slot, uint8_t bits)
    {
        if (GetParam().type == KOV_RDB_PORT_TRACKING)
            publish(slot, kov_rdb_port_tracking_t{8, {bits}});
        else
            publish(slot, kov_rdb_port_l2dci_t{8, {bits}});
    }
    // What hangs in the tree, whether or not it is being updated.
    static fake::Bytes cached_slot(uint8_t slot)
    {
        const kov_rdb_key key = slot_key(GetParam().type, slot);
        return GetParam().type == KOV_RDB_PORT_TRACKING
                   ? bytes_at(kov::lookup_port_tracking(key), sizeof(kov_rdb_port_tracking_t))
                   : bytes_at(kov::lookup_port_l2dci(key), sizeof(kov_rdb_port_l2dci_t));
    }
    void expect(const Counters &row) { expect_counters(GetParam().type, row); }
};

TEST_P(UpdatedSlots, AreReadAgainUnderTheSlotOfThePortThatTheRecordNames)
{
    cache({GetParam().mtype});
    for (const uint8_t slot : std::initializer_list<uint8_t>{1, 3, 156, 157})
        publish_slot(slot);
    EXPECT_EQ(apply_update(GetParam().mtype, port), 1u);
    const std::string text = GetParam().text;
    expect_traces({"Doing RDB based lookup for " + std::to_string(GetParam().type),
                   "Created port info for Slot: 3 from KOV RDB cache",
                   "KOV RDB Port " + std::string(GetParam().type == 3 ? "Tracking" : "L2dci") +
                       " info is cached/updated",
                   "KOV RDB Slot:  3 port " + text + " is cached/Updated"});
    expect({.cached = 1, .update_hits = 1, .rdb_hits = 2, .allocs = 1, .bytes = 35, .data = true});
}

struct PlaceCase {
    bool is_channel;
    uint16_t slot_or_number;
    int key; // -1: refused
};

TEST_P(UpdatedSlots, AreCountedFromOneAndChannelsStandBehindThePhysicalOnes)
{
    const PlaceCase cases[] = {{false, 0, 1},     {false, 155, 156}, {false, 156, -1}, {false, 255, -1},
                               {true, 0, 157},    {true, 254, 157},  {true, 255, 158}, {true, 25244, 255},
                               {true, 25245, -1}, {true, 25499, -1}, {true, 25500, 1}, {true, 65535, 158}};
    cache({GetParam().mtype});
    for (const PlaceCase &c : cases) {
        SCOPED_TRACE(testing::Message() << c.is_channel << " " << c.slot_or_number);
        if (c.is_channel)
            platform.interfaces.add_channel(channel, c.slot_or_number);
        else
            platform.interfaces.add_port(port, static_cast<uint8_t>(c.slot_or_number), 0);
        clear_traces();
        EXPECT_EQ(apply_update(GetParam().mtype, c.is_channel ? channel : port), c.key < 0 ? 0u : 1u);
        if (c.key >= 0) {
            EXPECT_EQ(traces().back(), "KOV RDB Slot:  " + std::to_string(c.key) + " port " +
                                           GetParam().text + " is cached/Updated");
        }
        kov_api.cache[GetParam().type].updating = 0;
    }
}

TEST_P(UpdatedSlots, AMessageEndsAtAPortWithoutASlotAndWhatWasAppliedStays)
{
    cache({GetParam().mtype});
    publish_slot(3);
    publish_slot(157);
    EXPECT_EQ(apply_update(GetParam().mtype, port, uint32_t{0}, channel), 0u);
    EXPECT_EQ(traces().back(), failed("00000000", "0/0"));
    // `updating` stays set until the next refresh: meanwhile the database answers.
    expect({.cached = 1,
            .updating = 1,
            .update_hits = 1,
            .rdb_hits = 2,
            .allocs = 1,
            .bytes = 35,
            .data = true});
    EXPECT_EQ(apply_update(GetParam().mtype, channel), 1u);
    expect({.cached = 1, .update_hits = 2, .rdb_hits = 3, .allocs = 2, .bytes = 70, .data = true});
}

TEST_P(UpdatedSlots, BehindAPortWithoutASlotAFilledCacheKeepsItsEntries)
{
    publish_slot(3);
    cache({GetParam().mtype});
    const fake::Bytes before = cached_slot(3);
    ASSERT_EQ(before, joined({{8, 0, 3}, fake::Bytes(32)}));
    publish_slot(3, 0x80);
    EXPECT_EQ(apply_update(GetParam().mtype, uint32_t{0}, port), 0u);
    EXPECT_EQ(cached_slot(3), before);
    EXPECT_EQ(apply_update(GetParam().mtype, port), 1u);
    EXPECT_EQ(cached_slot(3), joined({{8, 0, 0x80}, fake::Bytes(32)}));
}

TEST_P(UpdatedSlots, ARefusedPortIsTracedWithSlotAndPortAsComputedSoFar)
{
    cache({GetParam().mtype});
    struct Refused {
        std::function<void()> given;
        uint32_t ifindex;
        std::string trace;
    };
    const Refused cases[] = {
        {[] {}, 0, failed("00000000", "0/0")},
        {[] {}, 10, failed("0000000a", "0/0")},
        {[] {}, 999, failed("000003e7", "0/0")},
        {[this] { platform.interfaces.add_port(port, 156, 6); }, port, failed("68000206", "156/6")},
        {[this] { platform.interfaces.add_port(port, 2, 255); }, port, failed("68000206", "2/255")},
        {[this] { platform.interfaces.add_channel(channel, 25300); }, channel, failed("58000014", "255/55")},
        {[this] { platform.calls.fail(Call::if_index_get_slot); }, port, failed("68000206", "0/0")},
        {[this] {
             platform.interfaces.add_port(port, 2, 6);
             platform.calls.fail(Call::if_index_get_port);
         },
         port, failed("68000206", "2/0")},
        {[this] { platform.calls.fail(Call::if_index_port_channel_get_fields); }, channel,
         failed("58000014", "0/0")},
    };
    for (const Refused &c : cases) {
        c.given();
        clear_traces();
        EXPECT_EQ(apply_update(GetParam().mtype, c.ifindex), 0u);
        expect_traces({c.trace});
        expect({.cached = 1, .updating = 1, .rdb_hits = 1});
    }
}

TEST_P(UpdatedSlots, ARecordThatIsGoneLeavesTheCache)
{
    publish_slot(3);
    cache({GetParam().mtype});
    withdraw(slot_key(GetParam().type, 3));
    EXPECT_EQ(apply_update(GetParam().mtype, port), 1u);
    expect({.cached = 1, .update_hits = 1, .rdb_hits = 3, .data = true});
}

INSTANTIATE_TEST_SUITE_P(OfBothKinds, UpdatedSlots,
                         testing::Values(Slots{10, KOV_RDB_PORT_TRACKING, "tracking"},
                                         Slots{20, KOV_RDB_PORT_L2DCI, "l2dci"}),
                         [](const auto &slots) { return "Mtype" + std::to_string(slots.param.mtype); });

// ------------------------------------------------------------------------------------------ topologies

kov_suppress_arp_topo_update topology_update(uint32_t bd, uint32_t svi)
{
    return {bd, 0x11, 0x22, 0x33, svi, 0x44};
}

kov_rdb_l2rib_topo_info_t topology(uint32_t bd, uint32_t svi = 0)
{
    kov_rdb_l2rib_topo_info_t record = {};
    record.bd = bd;
    record.suppress_arp_l3_svi = svi;
    return record;
}

// Clearing all of them leaves one whose number is no palindrome.
void drop_topology(uint32_t bd) { kov_clear_cache_rdb_l2rib_topo_info(0, &bd); }

TEST_F(UpdateKeys, ATopologyIsReadAgainAfterItsSvi)
{
    publish(svi_in_mode(10, 2));
    cache({19});
    publish(topology(600));
    EXPECT_EQ(apply_update(19, topology_update(600, 10)), 1u);
    expect_traces({"Doing RDB based lookup for 2", "Not a Fabric Control SVI vlan10",
                   "Created sviinfo for vlan10 from KOV RDB cache", "KOV RDB Sviinfo is cached/updated",
                   "Reset Suppress ARP for Svi vlan10", "Doing RDB based lookup for 6",
                   "Created L2rib Topo id for 600 from KOV RDB cache",
                   "Updating cache sw_bd 600, suppress arp 0, mode ARP Suppression Disabled, svi -",
                   "KOV RDB L2RIB Topo id 600 is cached/updated",
                   "KOV RDB  L2RIB Topo id 600 is cached/Updated"});
    expect_all_counters(
        {{KOV_RDB_SVIINFO, {.rdb_hits = 1, .allocs = 1, .bytes = 16, .data = true}},
         {KOV_RDB_L2RIB_TOPO_INFO,
          {.cached = 1, .update_hits = 1, .rdb_hits = 2, .allocs = 1, .bytes = 52, .data = true}}});
    drop_topology(600);
}

TEST_F(UpdateKeys, ATopologysSviThatIsCachedTakesTheSuppressionOverThatTheDatabaseHas)
{
    kov_rdb_sviinfo_t svi = svi_in_mode(10, 2);
    for (const uint32_t suppressed : {1u, 0u, 5u}) {
        svi.suppress_arp = suppressed ^ 1;
        publish(svi);
        cache({9, 19});
        svi.suppress_arp = suppressed;
        publish(svi);
        publish(topology(600)); // which names no SVI
        EXPECT_EQ(kov_get_sviinfo_from_rdb(10, 0)->suppress_arp, suppressed ^ 1);
        EXPECT_EQ(apply_update(19, topology_update(600, 10)), 1u);
        EXPECT_EQ(kov_get_sviinfo_from_rdb(10, 0)->suppress_arp, suppressed);
        EXPECT_EQ(counters(KOV_RDB_SVIINFO).allocs, 1u);
        drop_topology(600);
        kov_deregister_client();
    }
}

TEST_F(UpdateKeys, ATopologyWhoseSviCannotBeAppliedIsStillReadAgain)
{
    publish(svi_in_mode(10, 2));
    publish(topology(600));
    for (const Call call : {Call::alloc, Call::pt_add}) {
        SCOPED_TRACE(fake::name_of(call));
        cache({19});
        drop_topology(600);
        clear_traces();
        platform.calls.fail(call);
        EXPECT_EQ(apply_update(19, topology_update(600, 10)), 1u);
        expect_traces({"Doing RDB based lookup for 2", "Not a Fabric Control SVI vlan10",
                       "Reset Suppress ARP for Svi vlan10", "Doing RDB based lookup for 6",
                       "Created L2rib Topo id for 600 from KOV RDB cache",
                       "Updating cache sw_bd 600, suppress arp 0, mode ARP Suppression Disabled, svi -",
                       "KOV RDB L2RIB Topo id 600 is cached/updated",
                       "KOV RDB  L2RIB Topo id 600 is cached/Updated"});
        EXPECT_EQ(counters(KOV_RDB_SVIINFO).allocs, 0u);
        EXPECT_EQ(counters(KOV_RDB_L2RIB_TOPO_INFO).allocs, 1u);
        drop_topology(600);
        kov_deregister_client();
    }
}

TEST_F(UpdateKeys, ATopologyRecordWithoutAnSviRefreshesOnlyTheTopology)
{
    cache({19});
    publish(topology(600));
    EXPECT_EQ(apply_update(19, topology_update(600, 0)), 1u);
    expect_all_counters(
        {{KOV_RDB_L2RIB_TOPO_INFO,
          {.cached = 1, .update_hits = 1, .rdb_hits = 2, .allocs = 1, .bytes = 52, .data = true}}});
    drop_topology(600);
}

TEST_F(UpdateKeys, ATopologysUnknownSviIsReadAndNotTraced)
{
    cache({19});
    EXPECT_EQ(apply_update(19, topology_update(600, 10)), 1u);
    EXPECT_FALSE(traced("Reset Suppress ARP for Svi vlan10"));
    expect_all_counters({{KOV_RDB_SVIINFO, {.rdb_hits = 1}},
                         {KOV_RDB_L2RIB_TOPO_INFO, {.cached = 1, .update_hits = 1, .rdb_hits = 2}}});
}

TEST_F(UpdateKeys, EachTopologyOfAMessageIsReadAtItsPlace)
{
    cache({19});
    for (const uint32_t bd : {600u, 700u, 800u})
        publish(topology(bd));
    EXPECT_EQ(apply_update(19, topology_update(600, 0), topology_update(700, 0), topology_update(800, 0)),
              1u);
    expect_counters(KOV_RDB_L2RIB_TOPO_INFO,
                    {.cached = 1, .update_hits = 3, .rdb_hits = 4, .allocs = 3, .bytes = 156, .data = true});
    for (const uint32_t bd : {600u, 700u, 800u})
        drop_topology(bd);
}

TEST_F(UpdateKeys, ATopologyWithIdZeroIsRefusedInsideARefreshThatSucceeds)
{
    cache({19});
    EXPECT_EQ(apply_update(19, topology_update(0, 0)), 1u);
    expect_traces({"Doing RDB based lookup for 6", "kov_cache_l2rib_topo_info(): Invalid sw_bd",
                   "KOV RDB  L2RIB Topo id 0 is cached/Updated"});
}

} // namespace
