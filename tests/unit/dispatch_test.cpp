// The one entry for messages from the server: what is refused, in which order the rest is handled, and that
// nothing a message says is believed.
#include "lab.h"

#include <algorithm>
#include <cstring>

namespace
{

using fake::Bytes;
using fake::Call;

constexpr std::size_t header_size = 161;

const char *const not_registered = "Client not registered in kov_dispatch";

std::string received_type(unsigned mtype)
{
    return "Received IPC_OPC_KOV msg with type: " + std::to_string(mtype);
}

std::string invalid_data(int64_t computed, int64_t received)
{
    return "Received invalid msg data(" + std::to_string(static_cast<int32_t>(computed)) + ", " +
           std::to_string(static_cast<int32_t>(received)) + ")";
}

void put_network(Bytes &bytes, std::size_t at, uint32_t value)
{
    for (std::size_t i = 0; i < 4; ++i)
        bytes[at + i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

// A message that says whatever the test wants, with zeros for records.
Bytes raw(uint16_t mtype, uint32_t count, uint32_t length, std::size_t size, uint16_t major = 53)
{
    Bytes bytes(std::max(size, header_size));
    std::memcpy(&bytes[0], &major, sizeof major);
    std::memcpy(&bytes[2], &mtype, sizeof mtype);
    put_network(bytes, 20, count);
    put_network(bytes, 24, length);
    bytes.resize(size);
    return bytes;
}

class Dispatch : public Lab
{
protected:
    static kov_rdb_sviinfo_t svi(uint32_t ifindex, uint32_t mode = KOV_FWD_MODE_ANYCAST_GATEWAY)
    {
        kov_rdb_sviinfo_t record = {};
        record.svi_ifindex = ifindex;
        record.fwd_mode = mode;
        return record;
    }

    // The dispatcher's own traces; the profile layer's remark that a message is not one of its own is left
    // to the profile layer's tests.
    std::vector<std::string> own_traces() const
    {
        std::vector<std::string> own = traces();
        std::erase(own, "Not KOV_MTYPE_PROFILE_MGMT message");
        return own;
    }

    // Refused, with these traces, and without a trace of it in the context or the heap.
    void expect_refused(const ipc_message *msg, const std::vector<std::string> &expected)
    {
        debug_on();
        clear_traces();
        const fake::Bytes before = context_bytes();
        const std::size_t blocks = platform.heap.live_blocks(), handled = received.size();
        EXPECT_EQ(kov_dispatch(msg), 0u);
        expect_traces(expected);
        EXPECT_EQ(context_bytes(), before);
        EXPECT_EQ(platform.heap.live_blocks(), blocks);
        EXPECT_EQ(received.size(), handled);
    }
    void expect_refused(const Bytes &payload, const std::vector<std::string> &expected)
    {
        expect_refused(fake::Message(KOV_OPC_CLIENT, payload).get(), expected);
    }

    void expect_accepted(const Bytes &payload)
    {
        const std::size_t handled = received.size();
        EXPECT_EQ(dispatch_bytes(payload), 1u);
        EXPECT_EQ(received.size(), handled + 1);
    }

    void register_for_everything()
    {
        register_and_acknowledge({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20});
    }
};

// ---------------------------------------------------------------------------------- refused before the
// header

TEST_F(Dispatch, ANullMessageIsRefusedInSilence)
{
    register_and_acknowledge({9});
    debug_on();
    platform.calls.clear();
    EXPECT_EQ(kov_dispatch(nullptr), 0u);
    EXPECT_TRUE(platform.calls.log().empty());
}

TEST_F(Dispatch, AnyOtherOpcodeIsRefusedBeforeTheLibraryIsOpened)
{
    debug_on();
    for (const uint32_t opcode : {0u, 0x3D3FFu, 0x3D401u, 0x3D404u, 0x3D405u, UINT32_MAX}) {
        clear_traces();
        EXPECT_EQ(dispatch_bytes(raw(2, 0, 161, 161), opcode), 0u);
        expect_traces({"Received unexpected opcode(" + std::to_string(opcode) + ") in kov_dispatch"});
    }
    EXPECT_EQ(kov_api.initialized, 0u);
    EXPECT_EQ(platform.calls.count(Call::ipc_payload_size), 0u);
}

TEST_F(Dispatch, ALibraryThatIsNotOpenRefuses)
{
    kov_api_wait_for_init = 1;
    expect_refused(raw(2, 0, 161, 161),
                   {"API called even before KOV is enabled, ignore", "Not initialized with KOV Api"});
    EXPECT_EQ(platform.calls.count(Call::ipc_payload_size), 0u);
}

TEST_F(Dispatch, AMessageBeforeTheClientRegisteredIsRefusedBeforeItsPayloadIsRead)
{
    EXPECT_EQ(kov_api_init(), 1u);
    expect_refused(raw(2, 0, 161, 161), {not_registered});
    EXPECT_EQ(platform.calls.count(Call::ipc_payload_size), 0u);
    EXPECT_EQ(platform.calls.count(Call::ipc_payload_get), 0u);
}

TEST_F(Dispatch, AMessageMayOpenTheLibraryButNotRegisterTheClient)
{
    debug_on();
    EXPECT_EQ(dispatch(KOV_MTYPE_REGISTER_ACK), 0u);
    expect_traces({"API callled even before KOV is enabled, do init", "KOV Api successfully initialized",
                   not_registered});
    EXPECT_EQ(kov_api.registration_done, 0u);
}

TEST_F(Dispatch, AFailedRegistrationIsNone)
{
    platform.calls.fail(Call::ipc_send);
    EXPECT_EQ(register_client({9}), 0u);
    expect_refused(raw(2, 0, 161, 161), {not_registered});
}

// ------------------------------------------------------------------------------------------ sizes and header

TEST_F(Dispatch, EverySizeShortOfAWholeMessageIsRefused)
{
    register_and_acknowledge({9});
    const Bytes whole = message(9, kov_word_update{0x01020304});
    ASSERT_EQ(whole.size(), header_size + 4);
    for (std::size_t size = 0; size <= header_size + 4; ++size) {
        SCOPED_TRACE(size);
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        if (size < header_size)
            expect_refused(cut, {"Dispatch msg, invalid data size(" + std::to_string(size) + ", 161)"});
        else if (size < header_size + 4)
            expect_refused(cut, {received_type(9), invalid_data(165, 165)});
        else
            expect_accepted(cut);
    }
}

TEST_F(Dispatch, AMessageThatIsTooShortIsNotEvenLookedAt)
{
    register_and_acknowledge({9});
    platform.calls.clear();
    EXPECT_EQ(dispatch_bytes(Bytes(160)), 0u);
    EXPECT_EQ(platform.calls.count(Call::ipc_payload_get), 0u);
}

TEST_F(Dispatch, AMissingPayloadIsRefusedWithoutATraceWhateverItsSize)
{
    register_and_acknowledge({9});
    for (const uint32_t size : {161u, 165u, 0x7FFFFFFFu, 0x80000000u, UINT32_MAX}) {
        fake::Message message(KOV_OPC_CLIENT, Bytes());
        message.with_size(size).without_payload();
        expect_refused(message.get(), {});
    }
}

struct HeaderCase {
    uint16_t major, mtype;
};

TEST_F(Dispatch, AnotherMajorOrATypeAbove20IsRefused)
{
    register_for_everything();
    const HeaderCase cases[] = {
        {0, 9},   {52, 9},  {54, 9},  {0x3500, 9},  {0x3535, 9},  {0xFFFF, 9},  {0, 0},
        {54, 21}, {53, 21}, {53, 22}, {53, 0x0900}, {53, 0x7FFF}, {53, 0x8009}, {53, 0xFFFF},
    };
    for (const HeaderCase &c : cases)
        expect_refused(raw(c.mtype, 0, 161, 161, c.major),
                       {"Received unexpected major(" + std::to_string(c.major) + "/" +
                        std::to_string(c.mtype) + ") in kov_dispatch"});
}

TEST_F(Dispatch, ACopyThatCannotBeAllocatedIsRefusedInSilence)
{
    register_and_acknowledge({9});
    debug_on();
    platform.calls.fail(Call::alloc);
    expect_refused(message(9, kov_word_update{1}), {received_type(9)});
}

// ----------------------------------------------------------------------------------------- counts and
// lengths

struct LengthCase {
    uint16_t mtype;
    uint32_t count, length;
    std::size_t size;
};

// Of each: the record sizes are 4, 12, 61, 36, 5, 8, 24.
constexpr uint32_t two_31 = 0x80000000, most = 0xFFFFFFFF;

TEST_F(Dispatch, ALengthThatIsNotWhatTheCountAsksForIsRefused)
{
    register_for_everything();
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
        const int64_t size = kov_get_clients_msg_data_sz(c.mtype);
        expect_refused(raw(c.mtype, c.count, c.length, c.size),
                       {received_type(c.mtype), invalid_data(161 + size * c.count, c.length)});
    }
}

TEST_F(Dispatch, RecordsBeyondThePayloadAreRefusedThoughCountAndLengthAgree)
{
    register_for_everything();
    for (uint16_t mtype = 4; mtype <= 20; ++mtype) {
        const uint32_t size = kov_get_clients_msg_data_sz(mtype);
        if (size == 0)
            continue;
        for (const uint32_t count : {1u, 2u, 3u, 1000u}) {
            const uint32_t length = 161 + size * count;
            for (const std::size_t payload :
                 {std::size_t{161}, std::size_t{length - size}, std::size_t{length - 1}})
                expect_refused(raw(mtype, count, length, payload),
                               {received_type(mtype), invalid_data(length, length)});
            expect_accepted(raw(mtype, count, length, length));
        }
    }
}

TEST_F(Dispatch, ACountAtTheEdgeOf31Or32BitsIsRefused)
{
    register_for_everything();
    for (uint16_t mtype = 4; mtype <= 20; ++mtype) {
        const uint64_t size = kov_get_clients_msg_data_sz(mtype);
        if (size == 0)
            continue;
        for (const uint32_t count : {two_31 - 1, two_31, two_31 + 1, most - 1, most}) {
            const uint64_t length = 161 + size * count;
            for (const uint32_t said : {161u, static_cast<uint32_t>(length), two_31, most})
                expect_refused(raw(mtype, count, said, 300),
                               {received_type(mtype), invalid_data(static_cast<int64_t>(length), said)});
        }
    }
}

// The least counts whose bytes exceed a multiple of 2^32 by next to nothing: in 32 bits the message fits.
TEST_F(Dispatch, ACountWhoseBytesWrapIn32BitsIsRefused)
{
    register_for_everything();
    unsigned wrapped = 0;
    for (uint16_t mtype = 4; mtype <= 20; ++mtype) {
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

TEST_F(Dispatch, APayloadLongerThanItsLengthIsAccepted)
{
    register_and_acknowledge({9});
    Bytes longer = message(9, kov_word_update{7});
    longer.resize(1000, 0xEE);
    expect_accepted(longer);
    EXPECT_EQ(received[0].bytes.size(), 165u);
}

// Deliberate: types 0 to 3 are header-only messages of length 161, whatever their count.
TEST_F(Dispatch, Types0To3AreHeaderOnlyMessagesOfLength161WhateverTheirCount)
{
    register_for_everything();
    for (const uint32_t count : {0u, 1u, 1000u, two_31, most}) {
        for (uint16_t mtype = 1; mtype <= 3; ++mtype) {
            expect_accepted(raw(mtype, count, 161, 161));
            EXPECT_EQ(received.back().count, count);
        }
        EXPECT_EQ(dispatch_bytes(raw(0, count, 161, 161)), 0u) << "nobody registers for type 0";
    }
}

TEST_F(Dispatch, AProfileMessageIsAcceptedWhateverItsLengthAndCount)
{
    static kov_client_msg seen;
    const uint32_t types[KOV_MTYPE_LIST_LENGTH] = {12};
    ASSERT_EQ(kov_register_client(fake::Transport::handle, "c", types,
                                  [](const kov_client_msg *msg) { seen = *msg; }),
              1u);
    for (const uint32_t length : {0u, 160u, 161u, 162u, 5555u, two_31, most})
        for (const uint32_t count : {0u, 1u, two_31, most})
            for (const std::size_t size : {header_size, header_size + 1, header_size + 4}) {
                seen = {};
                EXPECT_EQ(dispatch_bytes(raw(12, count, length, size)), 1u);
                EXPECT_EQ(seen.mtype, 12);
                EXPECT_EQ(seen.count, count);
                EXPECT_EQ(seen.length, length);
            }
}

} // namespace
