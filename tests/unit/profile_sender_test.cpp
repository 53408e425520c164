// Profile keys on their way to the server: every byte of the message, and what a failure leaves behind.
#include "samples.h"

#include <kov/kov_profile.h>

#include <unistd.h>

namespace
{

using fake::Bytes;
using fake::Call;

void append(Bytes &to, const void *from, std::size_t size)
{
    const auto *const bytes = static_cast<const uint8_t *>(from);
    to.insert(to.end(), bytes, bytes + size);
}

template <class T>
void append(Bytes &to, T value)
{
    append(to, &value, sizeof value);
}

// The message of a key, group by group as it is laid out. No byte is left open.
Bytes message_of(const Bytes &key, uint64_t clock, const std::string &name = "unit",
                 int32_t sap = fake::Transport::sap)
{
    const auto pid = static_cast<uint32_t>(getpid());
    Bytes bytes;
    append(bytes, uint16_t{53});
    append(bytes, uint16_t{12});
    append(bytes, pid);
    append(bytes, fake::System::epid(static_cast<int32_t>(pid)));
    append(bytes, clock);
    append(bytes, fake::System::uuid);
    append(bytes, name.data(), name.size());
    bytes.resize(24 + 129);     // the name's NUL and what is left of its field
    bytes.resize(24 + 129 + 3); // padding
    append(bytes, sap);
    append(bytes, uint32_t{0}); // no mask
    append(bytes, uint32_t{1}); // keys
    append(bytes, static_cast<uint32_t>(key.size()));
    append(bytes, key.data(), key.size());
    bytes.resize(bytes.size() + 4);
    EXPECT_EQ(bytes.size(), 176 + key.size());
    return bytes;
}

class ProfileSender : public Lab
{
protected:
    ProfileSender()
    {
        EXPECT_EQ(register_client({9, 12}), 1u);
        platform.ipc.sent.clear();
        debug_on();
    }

    uint32_t send(const Bytes &key)
    {
        return kov_profile_add_key(key.data(), static_cast<int32_t>(key.size()));
    }
    void expect_idle() const
    {
        EXPECT_EQ(kov_api.profile_key_count, 0);
        EXPECT_EQ(kov_api.profile_msg_len, 0u);
        EXPECT_EQ(kov_api.profile_msg, nullptr);
    }

    const Bytes vlan_key = Bytes(28, 0xC1);
};

TEST_F(ProfileSender, TheMessageIs176BytesLongerThanTheKeyAllOfThemDefined)
{
    platform.system.clock = 0x1122334455667788;
    EXPECT_EQ(send(vlan_key), 1u);
    ASSERT_EQ(platform.ipc.sent.size(), 1u);
    EXPECT_EQ(platform.ipc.sent[0].payload, message_of(vlan_key, 0x1122334455667788));
}

TEST_F(ProfileSender, ItGoesToTheServerOverTheClientsHandle)
{
    send(vlan_key);
    const fake::Send &sent = platform.ipc.sent.at(0);
    EXPECT_EQ(sent.handle, fake::Transport::handle);
    EXPECT_EQ(sent.node, 0xFE000000u);
    EXPECT_EQ(sent.sap, 1248u);
    EXPECT_EQ(sent.opcode, 250880u);
    EXPECT_EQ(std::vector({sent.a, sent.b, sent.c}), (std::vector{0u, 0u, 0u}));
}

// Deliberate: every key is sent at once, so that a message never holds more than one.
TEST_F(ProfileSender, EveryKeyIsSentAtOnceSoThatAMessageNeverHoldsMoreThanOne)
{
    EXPECT_EQ(kov_profile_add_key_init(), 1u);
    EXPECT_EQ(send(vlan_key), 1u);
    EXPECT_EQ(send(Bytes(12, 0xC2)), 1u);
    EXPECT_EQ(send({}), 1u);
    EXPECT_EQ(kov_profile_add_key_close(), 1u);
    ASSERT_EQ(platform.ipc.sent.size(), 3u);
    EXPECT_EQ(platform.ipc.sent[1].payload, message_of(Bytes(12, 0xC2), 1002));
    EXPECT_EQ(platform.ipc.sent[2].payload, message_of({}, 1003));
}

TEST_F(ProfileSender, ASuccessfulAddLeavesNoCountNoLengthAndNoMessage)
{
    EXPECT_EQ(send(vlan_key), 1u);
    expect_idle();
    expect_traces({"Client unit(sap 4107), has sent profile trigger to KOV"});
}

TEST_F(ProfileSender, AFailedSendIsTracedAndLeavesNoCountNoLengthAndNoMessage)
{
    platform.calls.fail(Call::ipc_send);
    EXPECT_EQ(send(vlan_key), 0u);
    expect_idle();
    expect_traces({"ipc send failed for client unit, sap 4107"});
}

TEST_F(ProfileSender, CountAndLengthAreRaisedBeforeAnythingCanFail)
{
    platform.calls.fail(Call::alloc, 1, 2);
    EXPECT_EQ(send(vlan_key), 0u);
    EXPECT_EQ(kov_api.profile_key_count, 1);
    EXPECT_EQ(kov_api.profile_msg_len, 204u);
    EXPECT_EQ(send(vlan_key), 0u);
    EXPECT_EQ(kov_api.profile_key_count, 2);
    EXPECT_EQ(kov_api.profile_msg_len, 408u);
    EXPECT_EQ(kov_api.profile_msg, nullptr);
    EXPECT_TRUE(platform.ipc.sent.empty());
    expect_traces({});
}

// Deliberate: after a failed allocation the counters stay raised, and the next message is sent with the
// stale, larger length.
TEST_F(ProfileSender, AfterAFailedAllocationTheNextMessageIsSentWithTheStaleLargerLength)
{
    platform.calls.fail(Call::alloc);
    EXPECT_EQ(send(Bytes(100, 0xC0)), 0u);
    platform.system.clock = 5;
    EXPECT_EQ(send(vlan_key), 1u);
    Bytes longer = message_of(vlan_key, 5);
    longer.resize(276 + 204); // zeros
    EXPECT_EQ(platform.ipc.sent.at(0).payload, longer);
    expect_idle();
    EXPECT_EQ(send(vlan_key), 1u);
    EXPECT_EQ(platform.ipc.sent.at(1).payload, message_of(vlan_key, 6));
}

TEST_F(ProfileSender, TheCountOfKeysIsAByteThatWrapsAt256WhileTheLengthGrows)
{
    platform.calls.fail(Call::alloc, 1, 256);
    for (int i = 0; i < 256; ++i)
        EXPECT_EQ(send(vlan_key), 0u);
    EXPECT_EQ(kov_api.profile_key_count, 0);
    EXPECT_EQ(kov_api.profile_msg_len, 256u * 204);
    platform.system.clock = 5;
    EXPECT_EQ(send(vlan_key), 1u);
    Bytes longer = message_of(vlan_key, 5); // of one key, whatever the count was
    longer.resize(std::size_t{257} * 204);
    EXPECT_EQ(platform.ipc.sent.at(0).payload, longer);
    expect_idle();
}

TEST_F(ProfileSender, InitForgetsTheStaleLength)
{
    platform.calls.fail(Call::alloc);
    send(vlan_key);
    EXPECT_EQ(kov_profile_add_key_init(), 1u);
    expect_idle();
    EXPECT_EQ(send(vlan_key), 1u);
    EXPECT_EQ(platform.ipc.sent.at(0).payload.size(), 204u);
}

TEST_F(ProfileSender, ClosingWithNothingPendingSendsNothingAndIsGood)
{
    EXPECT_EQ(kov_profile_add_key_close(), 1u);
    EXPECT_TRUE(platform.ipc.sent.empty());
    expect_traces({});
}

TEST_F(ProfileSender, ClosingWithALengthButNoMessageIsAFailedSend)
{
    platform.calls.fail(Call::alloc);
    send(vlan_key);
    EXPECT_EQ(kov_profile_add_key_close(), 0u);
    expect_idle();
    expect_traces({"ipc send failed for client unit, sap 4107"});
    EXPECT_EQ(platform.calls.count(Call::ipc_send), 1u); // the registration
}

TEST_F(ProfileSender, ANegativeLengthAndANullKeyWithALengthAreRefusedBeforeAnythingIsCounted)
{
    EXPECT_EQ(kov_profile_add_key(vlan_key.data(), -1), 0u);
    EXPECT_EQ(kov_profile_add_key(vlan_key.data(), INT32_MIN), 0u);
    EXPECT_EQ(kov_profile_add_key(nullptr, 1), 0u);
    expect_idle();
    EXPECT_EQ(kov_profile_add_key(nullptr, 0), 1u);
    EXPECT_EQ(platform.ipc.sent.at(0).payload, message_of({}, 1001));
}

TEST_F(ProfileSender, ALongestClientNameFillsItsFieldButForTheNul)
{
    kov_deregister_client();
    const std::string name(128, 'n');
    EXPECT_EQ(register_client({12}, name.c_str()), 1u);
    platform.ipc.sent.clear();
    platform.system.clock = 9;
    EXPECT_EQ(send(vlan_key), 1u);
    EXPECT_EQ(platform.ipc.sent.at(0).payload, message_of(vlan_key, 9, name));
}

TEST_F(ProfileSender, NothingIsLostWhateverFails)
{
    EXPECT_GT(sweep([this] {
                  register_client({12});
                  send(vlan_key);
                  send(vlan_key);
                  kov_profile_add_key_close();
              }),
              3u);
}

class ClosedProfileSender : public Lab
{
};

TEST_F(ClosedProfileSender, AsksForNoInitialisedLibraryAndOpensNone)
{
    kov_api_wait_for_init = 1;
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_profile_add_key_init(), 1u);
    EXPECT_EQ(kov_profile_add_key_close(), 1u);
    expect_traces({});
    EXPECT_EQ(kov_profile_add_key(Bytes(28, 0xC1).data(), 28), 0u);
    expect_traces({"ipc send failed for client , sap 0"});
    EXPECT_EQ(platform.ipc.refused.size(), 1u);
    EXPECT_EQ(kov_api.initialized, 0u);
    EXPECT_EQ(kov_api.profile_msg_len, 0u);
}

} // namespace
