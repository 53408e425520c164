// Questions about one SVI. Two kinds of record answer them: the SVI's own, and the topology of its bridge
// domain.
#include "api/gate.h"
#include "api/trace.h"
#include "cache/l2rib.h"
#include "cache/sviinfo.h"
#include "platform/interface_types.h"
#include "query/svi_gates.h"

namespace
{

constexpr u32 proxy_gateway = KOV_FWD_MODE_PROXY_GATEWAY;
constexpr u32 conditional_proxy = KOV_FWD_MODE_CONDITIONAL_PROXY_GATEWAY;

bool is_svi(u32 ifindex)
{
    if (ifindex && kov::has_svi_type(ifindex))
        return true;
    KOV_TRACE("%s is not a vlan/bdi interface", kov_ifindex_name_str(ifindex));
    return false;
}

// A proxy gateway is a conditional one behind a port that is tracked.
u32 refined(u32 mode, u32 port_ifindex)
{
    return mode == proxy_gateway && kov_get_port_tracking(port_ifindex) ? conditional_proxy : mode;
}

// fe80::/10
bool is_link_local(const u8 *v6_addr) { return v6_addr[0] == 0xFE && (v6_addr[1] & 0xC0) == 0x80; }

} // namespace

u32 kov_is_intf_ferro_capable(u32 iod, u32 ifindex)
{
    if (ifindex == 0 && (iod == 0 || lcache_im_get_ifindex_frm_iod(static_cast<s32>(iod), &ifindex) != 0))
        return 0;
    return kov::has_svi_type(ifindex);
}

u32 kov_get_fwd_mode(u32 svi_ifindex)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return KOV_FWD_MODE_INVALID;
    }
    if (!is_svi(svi_ifindex))
        return KOV_FWD_MODE_STANDARD;

    KOV_TRACE("Reading Forwarding mode for key: %s  from RDB", kov_ifindex_name_str(svi_ifindex));
    const kov_rdb_sviinfo_t *svi = kov_get_sviinfo_from_rdb(svi_ifindex, kov::fwd_mode_gate(__func__));
    const u32 mode = svi ? svi->fwd_mode : kov_get_default_forwarding_mode();
    KOV_TRACE("Reading Forwarding mode: %s from RDB", kov_fwd_mode_str(mode));
    return mode;
}

u32 kov_check_forwarding_mode(const kov_fwd_mode_params *params)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return KOV_FWD_MODE_INVALID;
    }
    if (!params) {
        KOV_TRACE("%s(): Invalid fwd_mode_params: %p", __func__, static_cast<const void *>(params));
        return KOV_FWD_MODE_INVALID;
    }
    const u32 svi = params->svi_ifindex;
    const u32 port = params->phy_ifindex;
    KOV_TRACE("Get forwarding mode svi %s, phy_intf %s", kov_ifindex_name_str(svi),
              kov_ifindex_name_str(port));
    const u32 mode = refined(kov_get_fwd_mode(svi), port);
    KOV_TRACE("Forwarding mode %s for svi %s, phy_intf %s", kov_fwd_mode_str(mode), kov_ifindex_name_str(svi),
              kov_ifindex_name_str(port));
    return mode;
}

u32 kov_check_proxy_mode(u32 svi_ifindex, u32 l2_port)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return KOV_FWD_MODE_INVALID;
    }
    KOV_TRACE("ARP/ND proxy request svi %s, l2_port %s", kov_ifindex_name_str(svi_ifindex),
              kov_ifindex_name_str(l2_port));
    const u32 mode = kov_get_fwd_mode(svi_ifindex);
    // Deliberate: every mode but the proxy gateway's proxies as an anycast gateway, standard and unknown too.
    const u32 proxy = mode == proxy_gateway ? refined(mode, l2_port) : u32{KOV_FWD_MODE_ANYCAST_GATEWAY};
    KOV_TRACE("ARP/ND proxy(%d) request for svi %s, l2_port %s", static_cast<int>(proxy),
              kov_ifindex_name_str(svi_ifindex), kov_ifindex_name_str(l2_port));
    return proxy;
}

u32 kov_get_suppress_arp_mode(u32 sw_bd)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return KOV_SUPPRESS_ARP_DISABLED;
    }
    KOV_TRACE("Reading Suppress ARP for key: %u SW_BD from RDB", sw_bd);
    const kov_rdb_l2rib_topo_info_t *topo =
        kov_get_l2rib_topo_info_from_rdb(sw_bd, kov::not_registered(KOV_MTYPE_SUPPRESS_ARP_TOPO, __func__));
    const u32 mode = topo ? topo->suppress_arp_mode : u32{KOV_SUPPRESS_ARP_DISABLED};
    KOV_TRACE("Reading Suppress ARP mode: %s from RDB", kov_suppress_arp_mode_to_str(mode));
    return mode;
}

u32 kov_is_suppress_arp_enabled_ferro_svi(u32 svi_ifindex)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    if (!is_svi(svi_ifindex))
        return 0;
    KOV_TRACE("Reading Suppress ARP for key: %s  from RDB", kov_ifindex_name_str(svi_ifindex));
    const kov_rdb_sviinfo_t *svi = kov_get_sviinfo_from_rdb(svi_ifindex, kov::suppress_arp_gate(__func__));
    const u32 enabled = svi ? svi->suppress_arp : 0;
    KOV_TRACE("Reading suppress arp %d for %s from RDB", static_cast<int>(enabled),
              kov_ifindex_name_str(svi_ifindex));
    return enabled;
}

u32 kov_check_am_should_notify(s32 iod, const u8 *addr, u32, s32 family)
{
    u32 ifindex = 0;
    if (lcache_im_get_ifindex_frm_iod(iod, &ifindex) != 0) {
        KOV_TRACE("%s(): Could not get ifindex from iod %d", __func__, iod);
        return 0;
    }
    if (!kov_get_sviinfo_from_rdb(ifindex, kov::fwd_mode_gate(__func__))) {
        KOV_TRACE("%s is not interested by KOV", kov_ifindex_name_str(ifindex));
        return 0;
    }
    if (family != 2)
        return family == 1;
    if (!addr || !is_link_local(addr))
        return 1;
    KOV_TRACE("Ignore Link-local addresses notif for ifindex %s", kov_ifindex_name_str(ifindex));
    return 0;
}
