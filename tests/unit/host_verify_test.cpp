// Host verification in both directions: the messages byte by byte, what is refused, what a failed send
// leaves.
#include "no_texts.h"
#include "samples.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <unistd.h>

namespace
{

using fake::Bytes;
using fake::Call;

constexpr uint32_t ipv4 = 1, ipv6 = 0;
constexpr uint32_t nd = 1, arp = 0;
constexpr uint32_t host_v4 = 0x0A010203;
constexpr uint8_t host_v6[16] = {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x42};

const char *const not_attached = "kov_send_host_verify_notification(): Not registered with KOV api";
const char *const too_long = "vrf name too long in kov_send_host_verify_notification";

Bytes text(const std::string &of, std::size_t size)
{
    Bytes bytes(of.begin(), of.end());
    bytes.resize(size);
    return bytes;
}

// A probe's result in which every word has a value of its own.
kov_host_verified verified()
{
    kov_host_verified host = {};
    std::memcpy(host.addr, host_v6, sizeof host.addr);
    host.vlan = 0x0011000A;
    host.ifindex = 0x09000010;
    host.iod = 71;
    host.phy_ifindex = 0x1A000105;
    host.phy_iod = -2;
    return host;
}

class HostVerify : public Lab
{
protected:
    HostVerify()
    {
        platform.interfaces.add_vlan(0x09000010, "vlan16");
        platform.interfaces.add_port(0x1A000105, 1, 5, "eth2/6");
    }

    // The one message that was sent, to where and how all of them go.
    Bytes only_send(uint32_t opcode) const
    {
        EXPECT_EQ(platform.ipc.sent.size(), 1u);
        if (platform.ipc.sent.empty())
            return {};
        const fake::Send &sent = platform.ipc.sent.front();
        EXPECT_EQ(sent.handle, fake::Transport::handle);
        EXPECT_EQ(sent.node, 0xFE000000u);
        EXPECT_EQ(sent.sap, 1248u);
        EXPECT_EQ(sent.opcode, opcode);
        EXPECT_EQ(std::vector({sent.a, sent.b, sent.c}), (std::vector{0u, 0u, 0u}));
        return sent.payload;
    }

    // A client whose register request is out of the way.
    void attach()
    {
        register_client({9});
        platform.ipc.sent.clear();
        platform.calls.clear();
        debug_on();
    }
};

// ----------------------------------------------------------------------------------- asking the server

TEST_F(HostVerify, AnIpv4HostIsAskedForIn50BytesWithItsAddressInNetworkOrder)
{
    attach();
    EXPECT_EQ(kov_send_host_verify_notification("red", ipv4, &host_v4), 0);
    EXPECT_EQ(only_send(0x3D405), joined({text("red", 33), {1}, {10, 1, 2, 3}, Bytes(12)}));
    expect_traces({"(red) [IPv4] Successfully sent host verify notification to KOV for 10.1.2.3"});
}

// Deliberate: an IPv6 address does not travel.
TEST_F(HostVerify, AnIpv6AddressDoesNotTravel)
{
    attach();
    EXPECT_EQ(kov_send_host_verify_notification("red", ipv6, host_v6), 0);
    EXPECT_EQ(only_send(0x3D405), joined({text("red", 33), {0}, Bytes(16)}));
    expect_traces({"(red) [IPv6] Successfully sent host verify notification to KOV for 2001:db8::42"});
}

// Deliberate: a name of 33 characters travels without its NUL.
TEST_F(HostVerify, ANameOf33CharactersTravelsWithoutItsNul)
{
    attach();
    const std::string name = "a" + std::string(31, 'b') + "c";
    EXPECT_EQ(kov_send_host_verify_notification(name.c_str(), ipv4, &host_v4), 0);
    EXPECT_EQ(only_send(0x3D405), joined({text(name, 33), {1}, {10, 1, 2, 3}, Bytes(12)}));
    expect_traces({"(" + name + ") [IPv4] Successfully sent host verify notification to KOV for 10.1.2.3"});
}

TEST_F(HostVerify, AnEmptyNameIsAName)
{
    attach();
    EXPECT_EQ(kov_send_host_verify_notification("", ipv4, &host_v4), 0);
    EXPECT_EQ(only_send(0x3D405), joined({Bytes(33), {1}, {10, 1, 2, 3}, Bytes(12)}));
}

TEST_F(HostVerify, ANameOf34CharactersIsRefused)
{
    attach();
    EXPECT_EQ(kov_send_host_verify_notification(std::string(34, 'n').c_str(), ipv4, &host_v4), -1);
    expect_traces({too_long});
    EXPECT_EQ(platform.calls.count(Call::ipc_send), 0u);
}

TEST_F(HostVerify, AnOverlongNameWithoutAnEndIsNotReadPastWhatMakesItTooLong)
{
    attach();
    const std::unique_ptr<char[]> name(new char[34]); // a block that ends with the name, and no NUL
    std::memset(name.get(), 'n', 34);
    EXPECT_EQ(kov_send_host_verify_notification(name.get(), ipv4, &host_v4), -1);
    expect_traces({too_long});
}

TEST_F(HostVerify, AnIpv4AddressIsReadAt4BytesOfAnyAlignment)
{
    attach();
    const std::unique_ptr<uint8_t[]> block(new uint8_t[5]); // ends with the address
    std::memcpy(block.get() + 1, &host_v4, sizeof host_v4);
    EXPECT_EQ(kov_send_host_verify_notification("red", ipv4, block.get() + 1), 0);
    EXPECT_EQ(only_send(0x3D405), joined({text("red", 33), {1}, {10, 1, 2, 3}, Bytes(12)}));
}

TEST_F(HostVerify, ANullNameAFamilyAbove1AndANullAddressAreRefusedBeforeTheLibraryIsOpened)
{
    debug_on();
    EXPECT_EQ(kov_send_host_verify_notification(nullptr, ipv4, &host_v4), -1);
    EXPECT_EQ(kov_send_host_verify_notification("red", 2, &host_v4), -1);
    EXPECT_EQ(kov_send_host_verify_notification("red", UINT32_MAX, &host_v4), -1);
    EXPECT_EQ(kov_send_host_verify_notification("red", ipv4, nullptr), -1);
    EXPECT_EQ(kov_send_host_verify_notification("red", ipv6, nullptr), -1);
    expect_traces({});
    EXPECT_EQ(kov_api.initialized, 0u);
    EXPECT_EQ(platform.calls.count(Call::ipc_send), 0u);
}

TEST_F(HostVerify, AnUnregisteredClientMayNotAsk)
{
    debug_on();
    EXPECT_EQ(kov_send_host_verify_notification("red", ipv4, &host_v4), -1);
    expect_traces({"API callled even before KOV is enabled, do init", "KOV Api successfully initialized",
                   not_attached});
    clear_traces();
    EXPECT_EQ(kov_send_host_verify_notification(std::string(34, 'n').c_str(), ipv4, &host_v4), -1);
    expect_traces({not_attached});
    EXPECT_EQ(platform.calls.count(Call::ipc_send), 0u);
}

TEST_F(HostVerify, AClientThatWithdrewMayNotAskEither)
{
    attach();
    EXPECT_EQ(kov_deregister_client(), 1u);
    clear_traces();
    EXPECT_EQ(kov_send_host_verify_notification("red", ipv4, &host_v4), -1);
    expect_traces({not_attached});
}

TEST_F(HostVerify, ALibraryThatMayNotOpenRefuses)
{
    kov_api_wait_for_init = 1;
    debug_on();
    EXPECT_EQ(kov_send_host_verify_notification("red", ipv4, &host_v4), -1);
    expect_traces({"API called even before KOV is enabled, ignore", not_attached});
}

TEST_F(HostVerify, AFailedSendGivesItsErrnoWithoutATrace)
{
    attach();
    for (const int error : {ECONNREFUSED, EAGAIN, EBADF}) {
        platform.ipc.send_errno = error;
        platform.calls.fail(Call::ipc_send);
        errno = 0;
        EXPECT_EQ(kov_send_host_verify_notification("red", ipv4, &host_v4), error);
    }
    expect_traces({});
    EXPECT_TRUE(platform.ipc.sent.empty());
    EXPECT_EQ(platform.ipc.refused.size(), 3u);
}

TEST_F(HostVerify, AFailedSendThatLeavesNoErrnoIsAnInputOutputError)
{
    attach();
    platform.ipc.send_errno = 0;
    platform.calls.fail(Call::ipc_send);
    EXPECT_EQ(kov_send_host_verify_notification("red", ipv4, &host_v4), EIO);
    expect_traces({});
}

// ----------------------------------------------------------------------------- telling what a probe showed

Bytes nd_result(uint64_t clock)
{
    const auto pid = static_cast<uint32_t>(getpid());
    return joined({bytes_of(uint16_t{37}), bytes_of(uint16_t{30}), bytes_of(pid),
                   bytes_of(fake::System::epid(static_cast<int32_t>(pid))), bytes_of(clock), Bytes(2),
                   Bytes(host_v6, host_v6 + 16), Bytes(2), bytes_of(int32_t{71})});
}

Bytes arp_result()
{
    return joined({bytes_of(uint32_t{1}),
                   bytes_of(uint32_t{0x09000010}),
                   bytes_of(int32_t{71}),
                   bytes_of(uint32_t{0x1A000105}),
                   bytes_of(int32_t{-2}),
                   Bytes(8),
                   {0x20, 0x01, 0x0D, 0xB8}, // as given
                   Bytes(18),
                   bytes_of(uint16_t{0x000A}),
                   Bytes(4)});
}

TEST_F(HostVerify, AnNdResultIs44BytesInHostOrder)
{
    attach();
    platform.system.clock = 0x1122334455667788;
    const kov_host_verified host = verified();
    EXPECT_EQ(kov_arp_nd_host_verification_resp(&host, nd), 1u);
    const Bytes sent = only_send(0x14401);
    EXPECT_EQ(sent.size(), 44u);
    EXPECT_EQ(sent, nd_result(0x1122334455667788));
    expect_traces({"[ND] Sending Host 2001:db8::42 verification to KOV, iod 71, msg_size 44"});
    EXPECT_EQ(platform.calls.count(Call::alloc), 0u);
}

TEST_F(HostVerify, AnArpResultIs56BytesInHostOrderWithTheLow16BitsOfTheVlan)
{
    attach();
    const kov_host_verified host = verified();
    EXPECT_EQ(kov_arp_nd_host_verification_resp(&host, arp), 1u);
    const Bytes sent = only_send(0x13C04);
    EXPECT_EQ(sent.size(), 56u);
    EXPECT_EQ(sent, arp_result());
}

// Deliberate: two blanks before "if" and after "physical_if".
TEST_F(HostVerify, TwoBlanksBeforeIfAndAfterPhysicalIf)
{
    attach();
    kov_host_verified host = verified();
    host.addr[0] = host_v4;
    EXPECT_EQ(kov_arp_nd_host_verification_resp(&host, arp), 1u);
    expect_traces({"[ARP] Sending Host 10.1.2.3 verification to KOV, vlan: 0x0011000a,  if "
                   "vlan16(0x09000010[71]), physical_if  eth2/6(0x1a000105[-2]), msg_size 56"});
}

TEST_F(HostVerify, AnInterfaceWithoutANameIsADash)
{
    attach();
    kov_host_verified host = {};
    EXPECT_EQ(kov_arp_nd_host_verification_resp(&host, arp), 1u);
    expect_traces({"[ARP] Sending Host 0.0.0.0 verification to KOV, vlan: 0x00000000,  if "
                   "-(0x00000000[0]), physical_if  -(0x00000000[0]), msg_size 56"});
    EXPECT_EQ(only_send(0x13C04), joined({bytes_of(uint32_t{1}), Bytes(52)}));
}

TEST_F(HostVerify, AnyFlagButZeroMeansNd)
{
    attach();
    const kov_host_verified host = verified();
    for (const uint32_t flag : {1u, 2u, 0x100u, UINT32_MAX})
        EXPECT_EQ(kov_arp_nd_host_verification_resp(&host, flag), 1u);
    EXPECT_EQ(platform.ipc.sent.size(), 4u);
    for (const fake::Send &sent : platform.ipc.sent)
        EXPECT_EQ(sent.opcode, 0x14401u);
}

// The size of either message depends on nothing.
TEST_F(HostVerify, TheResultsAre44And56BytesWhateverTheInput)
{
    attach();
    for (const int fill : {0x00, 0x7F, 0x80, 0xFF}) {
        kov_host_verified host;
        std::memset(&host, fill, sizeof host);
        platform.ipc.sent.clear();
        EXPECT_EQ(kov_arp_nd_host_verification_resp(&host, nd), 1u);
        EXPECT_EQ(kov_arp_nd_host_verification_resp(&host, arp), 1u);
        ASSERT_EQ(platform.ipc.sent.size(), 2u);
        EXPECT_EQ(platform.ipc.sent[0].payload.size(), 44u);
        EXPECT_EQ(platform.ipc.sent[1].payload.size(), 56u);
    }
}

TEST_F(HostVerify, ANullResultIsRefusedAlsoWhenTheLibraryIsNotOpen)
{
    debug_on();
    for (const uint32_t flag : {nd, arp})
        EXPECT_EQ(kov_arp_nd_host_verification_resp(nullptr, flag), 0u);
    const char *const refused = "kov_arp_nd_host_verification_resp(): resp info is invalid";
    expect_traces({refused, refused});
    EXPECT_EQ(kov_api.initialized, 0u);
    EXPECT_EQ(platform.calls.count(Call::ipc_send), 0u);
}

// Deliberate: a result leaves over whatever handle the library holds, initialised or not.
TEST_F(HostVerify, AResultLeavesOverWhateverHandleTheLibraryHoldsInitialisedOrNot)
{
    const kov_host_verified host = verified();
    EXPECT_EQ(kov_arp_nd_host_verification_resp(&host, nd), 0u);
    EXPECT_EQ(kov_api.initialized, 0u);
    kov_api_init();
    EXPECT_EQ(kov_arp_nd_host_verification_resp(&host, nd), 0u);
    register_client({9});
    EXPECT_EQ(kov_arp_nd_host_verification_resp(&host, nd), 1u);
    ASSERT_EQ(platform.ipc.refused.size(), 2u);
    EXPECT_EQ(platform.ipc.refused[0].handle, 0);
    EXPECT_EQ(platform.ipc.refused[1].handle, -1);
    EXPECT_EQ(platform.ipc.sent.back().handle, fake::Transport::handle);
}

TEST_F(HostVerify, AFailedReportTellsItsErrno)
{
    attach();
    const kov_host_verified host = verified();
    for (const uint32_t flag : {nd, arp}) {
        clear_traces();
        platform.ipc.send_errno = EAGAIN;
        platform.calls.fail(Call::ipc_send);
        EXPECT_EQ(kov_arp_nd_host_verification_resp(&host, flag), 0u);
        ASSERT_EQ(traces().size(), 2u);
        EXPECT_EQ(traces()[1], "ipc_send() failed, err: Resource temporarily unavailable");
        EXPECT_EQ(platform.leaks(), fake::Leaks());
    }
    EXPECT_TRUE(platform.ipc.sent.empty());
}

// Deliberate: this message alone is allocated, and without memory nothing is told.
TEST_F(HostVerify, TheArpMessageAloneIsAllocatedAndWithoutMemoryNothingIsTold)
{
    attach();
    const kov_host_verified host = verified();
    EXPECT_EQ(kov_arp_nd_host_verification_resp(&host, arp), 1u);
    EXPECT_EQ(platform.calls.count(Call::alloc), 1u);
    EXPECT_EQ(platform.calls.count(Call::release), 1u);
    clear_traces();
    platform.calls.fail(Call::alloc);
    EXPECT_EQ(kov_arp_nd_host_verification_resp(&host, arp), 0u);
    expect_traces({});
    EXPECT_EQ(platform.ipc.sent.size(), 1u);
    EXPECT_EQ(platform.ipc.refused.size(), 0u);
}

TEST_F(HostVerify, WithTracingOffNoAddressAndNoNameIsMadeAText)
{
    attach();
    kov_api_vty_dbg_off("unit");
    const kov_host_verified host = verified();
    EXPECT_EQ(kov_send_host_verify_notification("red", ipv4, &host_v4), 0);
    EXPECT_EQ(kov_send_host_verify_notification("red", ipv6, host_v6), 0);
    EXPECT_EQ(kov_arp_nd_host_verification_resp(&host, nd), 1u);
    EXPECT_EQ(kov_arp_nd_host_verification_resp(&host, arp), 1u);
    EXPECT_EQ(platform.ipc.sent.size(), 4u);
    expect_no_texts();
}

TEST_F(HostVerify, NoCallChangesTheLibrary)
{
    attach();
    const Bytes before = context_bytes();
    const kov_host_verified host = verified();
    kov_send_host_verify_notification("red", ipv4, &host_v4);
    kov_arp_nd_host_verification_resp(&host, nd);
    kov_arp_nd_host_verification_resp(&host, arp);
    platform.calls.fail_always(Call::ipc_send);
    kov_send_host_verify_notification("red", ipv4, &host_v4);
    kov_arp_nd_host_verification_resp(&host, nd);
    kov_arp_nd_host_verification_resp(&host, arp);
    EXPECT_EQ(context_bytes(), before);
    EXPECT_EQ(platform.leaks(), fake::Leaks());
}

} // namespace
