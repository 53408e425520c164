// The one entry for messages from the server: what is refused, and what a message must be to be handled.
// Counts, lengths and contents that lie are in dispatch_hostile_test.cpp.
#include "dispatch_lab.h"

namespace
{

using fake::Bytes;
using fake::Call;

const char *const not_registered = "Client not registered in kov_dispatch";

class Dispatch : public DispatchLab
{
};

// --------------------------------------------------------------------------- refused before the header

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

// ------------------------------------------------------------------------------------ what fits all the same

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
