// Nothing that a message says is believed: messages cut short, counts and lengths that lie, contents that
// name nothing. A refused message changes nothing at all; one that has to be taken brings nothing into a
// cache that is not in the database.
#include "dispatch_lab.h"
#include "samples.h"

#include "cache/vrf.h"

namespace
{

using fake::Bytes;

constexpr uint8_t junk = 0xEE; // names no interface, bridge domain or VRF that there is

std::string name_of_type(unsigned mtype) { return "type " + std::to_string(mtype); }

class HostileMessage : public DispatchLab
{
protected:
    // A client with a filled cache of every type.
    HostileMessage()
    {
        platform.interfaces.add_vlan(10, "vlan10");
        platform.interfaces.add_port(50, 0, 4, "eth1/5");
        kov_rdb_l2rib_topo_info_t topology = {};
        topology.bd = 10;
        topology.suppress_arp_l3_svi = 10;
        kov_rdb_aggr_sub_pfx_t prefix = {};
        prefix.prefix[0] = 10;
        prefix.prefix[4] = 8;
        publish(general_info(1));
        publish(svi_in_mode(10, KOV_FWD_MODE_ANYCAST_GATEWAY));
        publish(topology);
        publish(1, kov_rdb_port_tracking_t{.num_bits = 256, .port_bits = {0x10}});
        publish(1, kov_rdb_port_l2dci_t{.num_bits = 256, .port_bits = {0x10}});
        publish("red", 0, prefix);
        register_for_everything();
        for (uint32_t type = KOV_RDB_GENINFO; type <= KOV_RDB_L2RIB_TOPO_INFO; ++type)
            EXPECT_EQ(counters(type).allocs, counters(type).cached) << "one record in every cache";
        EXPECT_EQ(counters(KOV_RDB_SVIINFO).cached, 1u);
    }

    static std::vector<uint16_t> types_with_records()
    {
        std::vector<uint16_t> types;
        for (uint16_t mtype = 0; mtype < KOV_MTYPE_END; ++mtype)
            if (kov_get_clients_msg_data_sz(mtype) != 0)
                types.push_back(mtype);
        return types;
    }

    // A message whose header is in order, with junk for records.
    static Bytes filled(uint16_t mtype, uint32_t count, uint32_t length, std::size_t size,
                        uint8_t fill = junk)
    {
        return raw(mtype, count, length, size, 53, fill);
    }
    static Bytes whole(uint16_t mtype, uint32_t count, uint8_t fill = junk)
    {
        const uint32_t length = 161 + kov_get_clients_msg_data_sz(mtype) * count;
        return filled(mtype, count, length, length, fill);
    }

    // What the caches hold: blocks and bytes of every type, the VRF contexts, and red's references.
    static std::vector<uint32_t> holdings()
    {
        std::vector<uint32_t> all = {kov_api.vrf_count, kov_api.vrf_bytes,
                                     kov_vrf_ctx_lookup("red")->refcount};
        for (const kov_cache_desc &desc : kov_api.cache)
            all.insert(all.end(), {desc.cached, desc.allocs, desc.bytes});
        return all;
    }

    static std::map<uint32_t, Counters> all_counters()
    {
        std::map<uint32_t, Counters> all;
        for (uint32_t type = KOV_RDB_GENINFO; type <= KOV_RDB_L2RIB_TOPO_INFO; ++type)
            all[type] = counters(type);
        return all;
    }
    // One prefix more was read again from the database, and the refresh has ended.
    static std::map<uint32_t, Counters> after_a_refresh_of_a_prefix()
    {
        std::map<uint32_t, Counters> expected = all_counters();
        expected[KOV_RDB_AGGR_SUB_PFX].rdb_hits += 1;
        expected[KOV_RDB_AGGR_SUB_PFX].update_hits += 1;
        expected[KOV_RDB_AGGR_SUB_PFX].updating = 0;
        return expected;
    }
    // 33, 34, 35, 36, a length, and nothing but 'n', as an IPv6 prefix.
    static std::string ipv6_of_ns(uint8_t length)
    {
        char text[64];
        std::snprintf(text, sizeof text, "2122:2324:%x:6e6e:6e6e:6e6e:6e6e:6e6e/%u", length << 8 | 'n',
                      unsigned{length});
        return text;
    }
    static std::string prefix_filled(const std::string &vrf, const std::string &prefix)
    {
        return "KOV RDB " + vrf + " " + prefix + " Aggregate-subnet-pfx is cached/Updated";
    }
};

const char *const reads_prefix = "Doing RDB based lookup for 4";
const char *const prefix_updated = "KOV RDB Aggregate-subnet-pfx info is cached/updated";
const char *const no_profile = "Not KOV_MTYPE_PROFILE_MGMT message";

// -------------------------------------------------------------------------------------------- cut short

TEST_F(HostileMessage, EveryTruncationOfEveryTypeIsRefusedAndChangesNothing)
{
    for (uint16_t mtype = 0; mtype < KOV_MTYPE_END; ++mtype) {
        SCOPED_TRACE(name_of_type(mtype));
        const Bytes message = whole(mtype, kov_get_clients_msg_data_sz(mtype) ? 2 : 0);
        const auto length = static_cast<uint32_t>(message.size());
        for (uint32_t size = 0; size < length; ++size) {
            const Bytes cut(message.begin(), message.begin() + size);
            if (size < header_size)
                expect_refused(cut, {invalid_size(size)});
            else
                expect_refused(cut, {received_type(mtype), invalid_data(length, length)});
        }
        if (mtype != 0)
            expect_accepted(message);
    }
    expect_refused(whole(0, 0), {received_type(0), "Received unexpected mtype(0x00000000) in "
                                                   "kov_dispatch(0x001ffffe)"});
}

// Of a profile message the length is not looked at; the profile layer takes none that is cut short.
TEST_F(HostileMessage, EveryTruncationOfAProfileMessageGoesToTheHandlerAndToNoCallback)
{
    static unsigned called;
    called = 0;
    const kov_profile_callback count = [](uint32_t, uint32_t, uint32_t, uint32_t, const uint8_t *,
                                          const kov_profile_reply *,
                                          const kov_profile_options_t *) { return ++called; };
    const kov_profile_callbacks callbacks = {count, count, count};
    kov_profile_register_callback(&callbacks);
    Bytes message = filled(12, 1, 5555, 5555, 0x2F);
    message[161] = KOV_PROFILE_UHOST_KEY;
    debug_on();
    for (std::size_t size = 161; size < message.size(); ++size) {
        const Bytes context = context_bytes();
        clear_traces();
        Bytes cut(message.begin(), message.begin() + static_cast<std::ptrdiff_t>(size));
        put_network(cut, 24, static_cast<uint32_t>(size)); // the handler here believes it
        expect_accepted(cut);
        ASSERT_EQ(traces(), std::vector{received_type(12)}) << size;
        ASSERT_EQ(context_bytes(), context) << size;
    }
    EXPECT_EQ(called, 0u);
    EXPECT_EQ(dispatch_bytes(message), 1u);
    EXPECT_EQ(called, 1u);
}

// --------------------------------------------------------------------------------------- counts and lengths

TEST_F(HostileMessage, ACountBeyondWhatFitsIsRefusedWhateverItsLengthSays)
{
    for (const uint16_t mtype : types_with_records()) {
        SCOPED_TRACE(name_of_type(mtype));
        const uint32_t size = kov_get_clients_msg_data_sz(mtype);
        for (const uint32_t held : {0u, 1u, 2u, 3u, 1000u}) {
            for (const uint32_t payload : {161 + size * held, 161 + size * (held + 1) - 1})
                for (uint32_t count = held + 1; count <= held + 3; ++count) {
                    const uint32_t asked = 161 + size * count;
                    expect_refused(filled(mtype, count, asked, payload),
                                   {received_type(mtype), invalid_data(asked, asked)});
                    expect_refused(filled(mtype, count, payload, payload),
                                   {received_type(mtype), invalid_data(asked, payload)});
                }
            expect_accepted(whole(mtype, held));
        }
    }
}

struct LengthCase {
    uint16_t mtype;
    uint32_t count, length;
    std::size_t size;
};

TEST_F(HostileMessage, ALengthThatIsNotWhatTheCountAsksForIsRefused)
{
    const LengthCase cases[] = {
        {9, 0, 165, 165}, // a record that is not counted
        {9, 1, 161, 165}, // a length without the record
        {9, 1, 164, 165},      {9, 1, 166, 166},      {9, 2, 165, 165},       {9, 2, 165, 169},
        {9, 1, 169, 169},      {9, 0, 0, 161},        {9, 0, 160, 161},       {9, 0, 162, 162},
        {9, 1, 0, 165},        {9, 1, two_31, 165},   {9, 1, most, 165},      {9, 0, two_31 + 161, 161},
        {8, 1, 161 + 60, 300}, {8, 1, 161 + 62, 300}, {11, 1, 161 + 35, 300}, {19, 2, 161 + 24, 300},
        {2, 0, 160, 161},      {2, 0, 162, 162},      {0, 0, 0, 161},         {3, 1, 165, 165},
        {7, 1, 161, 300},      {13, 1, 161 + 4, 300},
    };
    for (const LengthCase &c : cases) {
        const uint64_t size = kov_get_clients_msg_data_sz(c.mtype);
        expect_refused(raw(c.mtype, c.count, c.length, c.size),
                       {received_type(c.mtype), invalid_data(161 + size * c.count, c.length)});
    }
}

TEST_F(HostileMessage, ACountAtTheEdgeOf31Or32BitsIsRefused)
{
    for (const uint16_t mtype : types_with_records()) {
        const uint64_t size = kov_get_clients_msg_data_sz(mtype);
        for (const uint32_t count : {two_31 - 1, two_31, two_31 + 1, most - 1, most}) {
            const uint64_t length = 161 + size * count;
            for (const uint32_t said : {161u, static_cast<uint32_t>(length), two_31, most})
                expect_refused(raw(mtype, count, said, 300),
                               {received_type(mtype), invalid_data(length, said)});
        }
    }
}

// The least counts whose bytes exceed a multiple of 2^32 by next to nothing: in 32 bits the message fits.
TEST_F(HostileMessage, ACountWhoseBytesWrapIn32BitsIsRefused)
{
    unsigned wrapped = 0;
    for (const uint16_t mtype : types_with_records()) {
        const uint64_t size = kov_get_clients_msg_data_sz(mtype);
        for (uint64_t turn = 1; turn < size; ++turn) {
            const uint64_t bytes = ((turn << 32) + size - 1) / size * size;
            const auto length = static_cast<uint32_t>(161 + bytes);
            ASSERT_LT(length, 300u);
            expect_refused(raw(mtype, static_cast<uint32_t>(bytes / size), length, length),
                           {received_type(mtype), invalid_data(length, length)});
            ++wrapped;
        }
    }
    EXPECT_GT(wrapped, 100u);
}

TEST_F(HostileMessage, ALengthAtTheEdgeOf31Or32BitsIsRefusedForEveryType)
{
    for (uint16_t mtype = 0; mtype < KOV_MTYPE_END; ++mtype) {
        if (mtype == KOV_MTYPE_PROFILE_MGMT)
            continue; // its length is not looked at
        const uint32_t size = kov_get_clients_msg_data_sz(mtype);
        for (const uint32_t length : {two_31 - 1, two_31, two_31 + 1, two_31 + 161 + size, most - 1, most})
            for (const uint32_t count : {0u, 1u})
                expect_refused(filled(mtype, count, length, 300),
                               {received_type(mtype), invalid_data(161 + size * count, length)});
    }
}

// ------------------------------------------------------------------------------------------------- contents

TEST_F(HostileMessage, HeaderBytesThatNobodyReadsMayHoldAnything)
{
    Bytes message = whole(9, 1);
    std::fill(message.begin() + 4, message.begin() + 20, uint8_t{0xFF});
    std::fill(message.begin() + 28, message.begin() + 161, uint8_t{0xFF});
    expect_accepted(message);
}

// What one junk record does: its traces, and what it adds to the counters.
struct JunkCase {
    std::vector<uint16_t> mtypes;
    uint32_t type;
    uint32_t refreshes; // of the type, each a read of the database
    uint32_t svi_reads; // of an SVI beside it
    std::vector<std::string> traces;
};

TEST_F(HostileMessage, RecordsThatNameNothingBringNothingIntoACache)
{
    const std::vector<std::string> no_slot = {
        "kov_ifindex_get_slot_port failed with ifindex 0xeeeeeeee [slot/port: 0/0]"};
    const JunkCase cases[] = {
        {{4, 5, 6, 7, 13, 14, 16, 17},
         KOV_RDB_GENINFO,
         1,
         0,
         {"Doing RDB based lookup for 1", "KOV RDB Geninfo is cached/updated"}},
        {{9, 11, 15, 18},
         KOV_RDB_SVIINFO,
         1,
         0,
         {"Doing RDB based lookup for 2", "Not a Fabric Control SVI -", "KOV RDB Sviinfo is cached/updated",
          "KOV RDB - Sviinfo is cached/Updated"}},
        {{10}, KOV_RDB_PORT_TRACKING, 0, 0, no_slot},
        {{8},
         KOV_RDB_AGGR_SUB_PFX,
         1,
         0,
         {reads_prefix, prefix_updated, prefix_filled(std::string(32, '\xEE'), "238.238.238.238/238")}},
        {{20}, KOV_RDB_PORT_L2DCI, 0, 0, no_slot},
        {{19},
         KOV_RDB_L2RIB_TOPO_INFO,
         1,
         1,
         {"Doing RDB based lookup for 2", "Doing RDB based lookup for 6",
          "KOV RDB L2RIB Topo id 4008636142 is cached/updated",
          "KOV RDB  L2RIB Topo id 4008636142 is cached/Updated"}},
    };
    const std::vector<uint32_t> before = holdings();
    debug_on();
    for (const JunkCase &c : cases)
        for (const uint16_t mtype : c.mtypes)
            for (const uint32_t count : {1u, 2u, 3u}) {
                SCOPED_TRACE(name_of_type(mtype) + " x " + std::to_string(count));
                std::map<uint32_t, Counters> expected = all_counters();
                expected[c.type].update_hits += c.refreshes * count;
                expected[c.type].rdb_hits += c.refreshes * count;
                expected[KOV_RDB_SVIINFO].rdb_hits += c.svi_reads * count;
                expected[c.type].updating = c.refreshes == 0;
                clear_traces();
                expect_accepted(whole(mtype, count));
                std::vector<std::string> own = {received_type(mtype)};
                for (uint32_t i = 0; i < (c.refreshes ? count : 1); ++i)
                    own.insert(own.end(), c.traces.begin(), c.traces.end());
                own.emplace_back(no_profile);
                expect_traces(own);
                expect_all_counters(expected);
                EXPECT_EQ(holdings(), before);
            }
}

TEST_F(HostileMessage, RecordsOfAnyJunkBringNothingIntoACache)
{
    const std::vector<uint32_t> before = holdings();
    for (const uint16_t mtype : types_with_records())
        for (const uint8_t fill : Bytes{0x00, 0x7F, 0x80, 0xEE, 0xFF})
            for (const uint32_t count : {1u, 2u, 3u}) {
                expect_accepted(whole(mtype, count, fill));
                EXPECT_EQ(holdings(), before) << mtype << " of " << unsigned{fill};
            }
}

struct PrefixCase {
    uint32_t family;
    bool swapped;
    const char *address; // as the refresh reads the family's first byte; behind an IPv6 one stand 'n's
};

// Of an aggregate prefix the dispatcher believes the family word only, and that only to be 0 or not; the
// refresh believes its first byte.
TEST_F(HostileMessage, APrefixIsHandedOverAsItCameButForAnIpv4Address)
{
    const PrefixCase cases[] = {
        {0, true, "33.34.35.36"},           {1, false, nullptr},
        {2, false, "36.35.34.33"},          {0x100, false, "36.35.34.33"},
        {0x01000000, false, "36.35.34.33"}, {two_31, false, "36.35.34.33"},
        {most, false, "36.35.34.33"},
    };
    const std::vector<uint32_t> before = holdings();
    debug_on();
    for (const PrefixCase &c : cases)
        for (const uint8_t length : Bytes{0, 32, 33, 128, 129, 255}) {
            SCOPED_TRACE(testing::Message() << c.family << ", " << unsigned{length});
            Bytes record(61, 'n'); // a name without an end
            std::memcpy(&record[53], &c.family, sizeof c.family);
            for (const std::size_t at : {33, 34, 35, 36})
                record[at] = static_cast<uint8_t>(at);
            record[37] = record[49] = length; // where the lengths of either family are
            Bytes message = filled(8, 1, 161 + 61, 161);
            message.insert(message.end(), record.begin(), record.end());
            const std::map<uint32_t, Counters> expected = after_a_refresh_of_a_prefix();
            clear_traces();
            expect_accepted(message);
            expect_traces(
                {received_type(8), reads_prefix, prefix_updated,
                 prefix_filled(std::string(32, 'n'),
                               c.address ? c.address + ("/" + std::to_string(length)) : ipv6_of_ns(length)),
                 no_profile});
            expect_all_counters(expected);
            if (c.swapped)
                std::reverse(&record[33], &record[37]);
            EXPECT_EQ(Bytes(received.back().bytes.begin() + 161, received.back().bytes.end()), record);
            EXPECT_EQ(holdings(), before);
        }
}

struct RefusedPrefix {
    uint8_t family;
    std::size_t length_at;
    uint8_t length;
    const char *text;
};

// Even when the database has it: the context of its VRF is made, and stays without a prefix or a reference.
TEST_F(HostileMessage, APrefixThatNoTreeTakesIsNotCachedThoughItIsInTheDatabase)
{
    const RefusedPrefix cases[] = {
        {0, 4, 33, "10.0.0.0/33"}, {0, 4, 128, "10.0.0.0/128"}, {0, 4, 255, "10.0.0.0/255"},
        {1, 16, 129, "0:a::/129"}, {1, 16, 255, "0:a::/255"},   {2, 4, 8, "10.0.0.0/8"},
        {255, 4, 8, "10.0.0.0/8"},
    };
    const std::vector<uint32_t> before = holdings();
    kov_aggr_sub_pfx_update named = {};
    std::memcpy(named.vrf_name, "blue", 5);
    debug_on();
    for (const RefusedPrefix &c : cases) {
        SCOPED_TRACE(c.text);
        kov_rdb_aggr_sub_pfx_t record = {};
        record.prefix[3] = 10;
        record.prefix[c.length_at] = c.length;
        publish("blue", c.family, record);
        std::memcpy(named.prefix, record.prefix, sizeof named.prefix);
        named.family = c.family;
        const std::map<uint32_t, Counters> expected = after_a_refresh_of_a_prefix();
        clear_traces();
        expect_accepted(message(8, named));
        expect_traces({received_type(8), reads_prefix, "VRF context blue is added in cache",
                       prefix_filled("blue", c.text), no_profile});
        expect_all_counters(expected);
        ASSERT_NE(kov_vrf_ctx_lookup("blue"), nullptr);
        EXPECT_EQ(kov_vrf_ctx_lookup("blue")->refcount, 0u);
        EXPECT_EQ(kov_api_delete_vrf_ctx("blue", nullptr), 1u);
        EXPECT_EQ(holdings(), before);
    }
    named.prefix[4] = 32;
    named.family = 0;
    kov_rdb_aggr_sub_pfx_t good = {};
    std::memcpy(good.prefix, named.prefix, sizeof good.prefix);
    publish("blue", 0, good);
    const uint32_t cached = counters(KOV_RDB_AGGR_SUB_PFX).allocs;
    expect_accepted(message(8, named));
    EXPECT_EQ(counters(KOV_RDB_AGGR_SUB_PFX).allocs, cached + 1);
    EXPECT_EQ(kov_vrf_ctx_lookup("blue")->refcount, 1u);
}

TEST_F(HostileMessage, AfterAllOfThemAGoodOneIsStillApplied)
{
    for (const uint16_t mtype : types_with_records()) {
        expect_refused(filled(mtype, most, most, 161),
                       {received_type(mtype),
                        invalid_data(161 + uint64_t{kov_get_clients_msg_data_sz(mtype)} * most, most)});
        expect_accepted(whole(mtype, 3));
    }
    publish(svi_in_mode(10, KOV_FWD_MODE_PROXY_GATEWAY));
    expect_accepted(message(9, kov_word_update{10}));
    EXPECT_EQ(kov_get_fwd_mode(10), 1u);
}

} // namespace
