// Nothing that a message says is believed: messages cut short, counts and lengths that lie, contents that
// name nothing. A refused message changes nothing at all; one that has to be taken brings nothing into a
// cache that is not in the database.
#include "hostile_lab.h"

namespace
{

using fake::Bytes;

std::string name_of_type(unsigned mtype) { return "type " + std::to_string(mtype); }

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
