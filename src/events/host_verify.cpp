// Host verification: a client asks the server to verify a host; an ARP or ND manager tells the server what
// its own probe of a host has shown.
#include "api/bytes.h"
#include "api/send.h"
#include "api/trace.h"

#include <kov/platform/address.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr u32 longest_name = KOV_VRF_NAME_SIZE;
constexpr u32 ipv4 = 1;

const char *family_text(u32 af) { return af == ipv4 ? "IPv4" : "IPv6"; }

const char *host_text(u32 af, const void *addr)
{
    return af == ipv4 ? ip_print_addr(kov::load<u32>(addr)) : ipv6_print_addr(addr);
}

kov_host_verify_msg verify_message(const char *vrf_name, u32 name_length, u32 af, const void *addr)
{
    kov_host_verify_msg msg = {};
    // Deliberate: a name of 33 characters travels without its NUL.
    std::memcpy(msg.vrf_name, vrf_name, name_length);
    msg.family = static_cast<u8>(af);
    // Deliberate: an IPv6 address does not travel.
    if (af == ipv4)
        kov::store(msg.addr, kov::to_network(kov::load<u32>(addr)));
    return msg;
}

bool report(u32 opcode, const void *msg, u32 size)
{
    if (kov::send_to_server(opcode, msg, size))
        return true;
    kov::trace_send_failure();
    return false;
}

bool report_nd(const kov_host_verified &host)
{
    kov_nd_verified_msg msg = {};
    msg.major = KOV_ND_MAJOR;
    msg.mtype = KOV_ND_MTYPE_VERIFIED;
    kov::stamp(msg);
    std::memcpy(msg.addr, host.addr, sizeof msg.addr);
    msg.iod = host.iod;
    KOV_TRACE("[ND] Sending Host %s verification to KOV, iod %d, msg_size %d", ipv6_print_addr(host.addr),
              host.iod, static_cast<int>(sizeof msg));
    return report(KOV_OPC_ND_VERIFIED, &msg, sizeof msg);
}

void fill(kov_arp_verified_msg &msg, const kov_host_verified &host)
{
    msg.one = 1;
    msg.ifindex = host.ifindex;
    msg.iod = host.iod;
    msg.phy_ifindex = host.phy_ifindex;
    msg.phy_iod = host.phy_iod;
    msg.addr = host.addr[0];
    msg.vlan = static_cast<u16>(host.vlan);
}

// Deliberate: this message alone is allocated, and without memory nothing is told.
bool report_arp(const kov_host_verified &host)
{
    auto *msg = static_cast<kov_arp_verified_msg *>(std::calloc(1, sizeof(kov_arp_verified_msg)));
    if (!msg)
        return false;
    fill(*msg, host);
    // Deliberate: two blanks before "if" and after "physical_if".
    KOV_TRACE("[ARP] Sending Host %s verification to KOV, vlan: 0x%08x,  if %s(0x%08x[%d]), physical_if  "
              "%s(0x%08x[%d]), msg_size %d",
              ip_print_addr(host.addr[0]), host.vlan, kov_ifindex_name_str(host.ifindex), host.ifindex,
              host.iod, kov_ifindex_name_str(host.phy_ifindex), host.phy_ifindex, host.phy_iod,
              static_cast<int>(sizeof *msg));
    const bool sent = report(KOV_OPC_ARP_VERIFIED, msg, sizeof *msg);
    std::free(msg);
    return sent;
}

} // namespace

s32 kov_send_host_verify_notification(const char *vrf_name, u32 af, const void *addr)
{
    if (!vrf_name || af > ipv4 || !addr)
        return -1;
    if (!kov_is_client_attached()) {
        KOV_TRACE("%s(): Not registered with KOV api", __func__);
        return -1;
    }
    const auto length = static_cast<u32>(strnlen(vrf_name, longest_name + 1));
    if (length > longest_name) {
        KOV_TRACE("vrf name too long in %s", __func__);
        return -1;
    }
    const kov_host_verify_msg msg = verify_message(vrf_name, length, af, addr);
    if (!kov::send_to_server(KOV_OPC_HOST_VERIFY, &msg, sizeof msg))
        return errno ? errno : EIO;
    KOV_TRACE("(%s) [%s] Successfully sent host verify notification to KOV for %s", vrf_name, family_text(af),
              host_text(af, addr));
    return 0;
}

// Deliberate: a result leaves over whatever handle the library holds, initialised or not.
u32 kov_arp_nd_host_verification_resp(const kov_host_verified *resp, u32 nd)
{
    if (!resp) {
        KOV_TRACE("%s(): resp info is invalid", __func__);
        return 0;
    }
    return nd ? report_nd(*resp) : report_arp(*resp);
}
