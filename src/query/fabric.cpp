// Questions about the fabric as a whole, answered from the general-information record.
#include "api/gate.h"
#include "api/text.h"
#include "api/trace.h"
#include "cache/geninfo.h"
#include "cache/sviinfo.h"

#include <kov/platform/address.h>

#include <cstring>

namespace
{

constexpr u32 default_aging_timeout = 1800;
constexpr u32 address_family_v6 = 2; // of kov_get_conv_aging_timeout; every other value means IPv4

kov_fabric_ctrl_seg_info fabric_ctrl_binding;

// The general information as the client's registration for `mtype` lets it be read.
const kov_rdb_geninfo_t *geninfo_for(s32 mtype, const char *caller)
{
    return kov_get_geninfo_from_rdb(kov::not_registered(mtype, caller));
}

// The fabric control segment's SVI, 0 when there is none.
u32 configured_fabric_ctrl_svi(u32 force_rdb)
{
    const kov_rdb_geninfo_t *geninfo = kov_get_geninfo_from_rdb(force_rdb);
    if (!geninfo) {
        KOV_TRACE("Could not find geninfo in KOV RDB");
        return 0;
    }
    const u32 svi_ifindex = geninfo->fabric_ctrl_svi;
    if (svi_ifindex == 0)
        KOV_TRACE("Fabric control segment is not configured");
    else
        KOV_TRACE("Fabric control segment svi: %s", kov_ifindex_name_str(svi_ifindex));
    return svi_ifindex;
}

void copy_binding(const kov_rdb_sviinfo_t &svi)
{
    fabric_ctrl_binding.svi_ifindex = svi.svi_ifindex;
    fabric_ctrl_binding.vlan_id = svi.vlan_id;
    fabric_ctrl_binding.v4_addr = svi.v4_prefix.addr;
    std::memcpy(fabric_ctrl_binding.v6_addr, svi.v6_prefix.addr, sizeof fabric_ctrl_binding.v6_addr);
    std::memcpy(fabric_ctrl_binding.gw_mac, svi.gw_mac, sizeof fabric_ctrl_binding.gw_mac);
    KOV_TRACE("Svi info %s, up: %d, v4 addr: %s,\nv6_addr: %s, vrf_name: %s, mac %s",
              kov_ifindex_name_str(svi.svi_ifindex), static_cast<int>(svi.is_up),
              ip_print_addr(svi.v4_prefix.addr), ipv6_print_addr(svi.v6_prefix.addr),
              kov::bounded_text<KOV_VRF_NAME_SIZE>(svi.vrf_name).text, im_print_mac_addr(svi.gw_mac));
}

void trace_binding()
{
    KOV_TRACE("Fabric ctrl segment vaddr gwmac binding info svi :%s(%d),v4_addr: %s, v6_addr: %s, gwmac: %s",
              kov_ifindex_name_str(fabric_ctrl_binding.svi_ifindex),
              static_cast<int>(fabric_ctrl_binding.vlan_id), ip_print_addr(fabric_ctrl_binding.v4_addr),
              ipv6_print_addr(fabric_ctrl_binding.v6_addr), im_print_mac_addr(fabric_ctrl_binding.gw_mac));
}

bool svi_migrates(u32 svi_ifindex, const char *caller)
{
    const u32 force_rdb =
        kov::not_registered(KOV_MTYPE_SVI_MIGRATION, caller)
            ? 1
            : kov::not_registered(KOV_MTYPE_SVI_FWD_MODE, KOV_MTYPE_SVI_FWD_MODE_CHANGE, caller);
    const kov_rdb_sviinfo_t *svi = kov_get_sviinfo_from_rdb(svi_ifindex, force_rdb);
    if (!svi) {
        KOV_TRACE("%s: svi_info 0x%08x(%s) doesn't exist to check for migration", caller, svi_ifindex,
                  kov_ifindex_name_str(svi_ifindex));
        return false;
    }
    return svi->migration_enabled && kov_is_ferro_fwd_mode(svi->fwd_mode);
}

bool fabric_migrates(const char *caller)
{
    const kov_rdb_geninfo_t *geninfo = geninfo_for(KOV_MTYPE_FERRO_MIGRATION, caller);
    return geninfo && geninfo->ferro_migration;
}

} // namespace

u32 kov_get_fabric_id(void)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    const kov_rdb_geninfo_t *geninfo = geninfo_for(KOV_MTYPE_FABRIC_ID, __func__);
    const u32 fabric_id = geninfo ? geninfo->fabric_id : 0;
    KOV_TRACE("Reading fabric id: %d from RDB", static_cast<int>(fabric_id));
    return fabric_id;
}

u32 kov_check_conditional_route(void)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    const kov_rdb_geninfo_t *geninfo = geninfo_for(KOV_MTYPE_CONV_LEARNING, __func__);
    const u32 conv_learning = geninfo ? geninfo->conv_learning : 0;
    KOV_TRACE("Reading Conversational Learning: %s from RDB", conv_learning ? "True" : "False");
    return conv_learning;
}

u32 kov_get_switch_role(void)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    const u32 force_rdb = kov::not_registered(KOV_MTYPE_SWITCH_ROLE, KOV_MTYPE_SWITCH_ROLE_CHANGE, __func__);
    const kov_rdb_geninfo_t *geninfo = kov_get_geninfo_from_rdb(force_rdb);
    const u32 role = geninfo ? geninfo->switch_role : kov_get_default_switch_role();
    KOV_TRACE("Reading switch role: %s from RDB", kov_switch_role_str(role));
    return role;
}

const u8 *kov_get_anycast_gateway_mac(void)
{
    static u8 mac[KOV_MAC_SIZE];
    std::memset(mac, 0, sizeof mac);
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return mac;
    }
    if (const kov_rdb_geninfo_t *geninfo = geninfo_for(KOV_MTYPE_ANYCAST_GW_MAC, __func__))
        std::memcpy(mac, geninfo->anycast_gw_mac, sizeof mac);
    KOV_TRACE("Reading Gateway mac: %s from RDB", im_print_mac_addr(mac));
    return mac;
}

u32 kov_get_conv_aging_timeout(u32 af)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return default_aging_timeout;
    }
    const bool v6 = af == address_family_v6;
    u32 timeout = default_aging_timeout;
    if (const kov_rdb_geninfo_t *geninfo = geninfo_for(KOV_MTYPE_CONV_AGING_TIMEOUT, __func__))
        timeout = v6 ? geninfo->u6rib_conv_aging_timeout : geninfo->urib_conv_aging_timeout;
    KOV_TRACE("[%s] Reading Conversational aging timeout: %u from RDB", v6 ? "IPv6" : "IPv4", timeout);
    return timeout;
}

u32 kov_get_fwd_encap_type(u8 *mac)
{
    if (mac)
        std::memset(mac, 0, KOV_MAC_SIZE);
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return kov_get_default_forwarding_encap();
    }
    u32 encap = kov_get_default_forwarding_encap();
    if (const kov_rdb_geninfo_t *geninfo = geninfo_for(KOV_MTYPE_FWD_ENCAP, __func__)) {
        encap = geninfo->fwd_encap;
        if (mac)
            std::memcpy(mac, geninfo->router_mac, KOV_MAC_SIZE);
    }
    KOV_TRACE("Reading Forwarding encap: %s, mac %s from RDB", kov_fwd_encap_str(encap),
              mac ? im_print_mac_addr(mac) : "n/a");
    return encap;
}

u32 kov_get_fabric_ctrl_seg(void)
{
    u32 svi_ifindex = 0;
    if (kov::initialized())
        svi_ifindex = configured_fabric_ctrl_svi(kov::not_registered(KOV_MTYPE_FABRIC_CTRL_SEG, __func__));
    else
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
    // Deliberate: unlike every other query this one closes the library of a process that never registered, so
    // that asking once does not keep the database open.
    if (!kov_api.registration_done && !kov_api.ack_pending)
        kov_api_close();
    return svi_ifindex;
}

const kov_fabric_ctrl_seg_info *kov_get_fabric_ctrl_seg_info(void)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return nullptr;
    }
    const u32 force_rdb = kov::not_registered(KOV_MTYPE_FABRIC_CTRL_SEG, __func__);
    const u32 svi_ifindex = configured_fabric_ctrl_svi(force_rdb);
    if (svi_ifindex == 0)
        return nullptr;
    const kov_rdb_sviinfo_t *svi = kov_get_sviinfo_from_rdb(svi_ifindex, force_rdb);
    if (!svi) {
        KOV_TRACE("svi_info does not exist for fabric control segment svi %s",
                  kov_ifindex_name_str(svi_ifindex));
        return nullptr;
    }
    copy_binding(*svi);
    if (!kov_is_vaddr_bind_complete(svi)) {
        // Deliberate: the static record keeps what was copied although null is returned.
        KOV_TRACE("Fabric control segment vaddr to gwmac binding, not complete");
        return nullptr;
    }
    trace_binding();
    return &fabric_ctrl_binding;
}

u32 kov_check_ferro_migration(u32 svi_ifindex, u8 *mac)
{
    // Deliberate: no test for an initialised library; the gates make it.
    const bool migrates = svi_ifindex ? svi_migrates(svi_ifindex, __func__) : fabric_migrates(__func__);
    if (!migrates)
        return 0;
    if (mac)
        std::memcpy(mac, kov_get_anycast_gateway_mac(), KOV_MAC_SIZE);
    return 1;
}

u32 kov_get_global_mobdom(char *out)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialzied with KOV api", __func__); // Deliberate: misspelt so.
        return 0;
    }
    const kov_rdb_geninfo_t *geninfo = kov_get_geninfo_from_rdb(1);
    if (!geninfo || !out)
        return 0;
    std::memcpy(out, geninfo->mobdom, KOV_MOBDOM_SIZE);
    KOV_TRACE("Returning mobdom string %s", kov::bounded_text<KOV_MOBDOM_SIZE>(out).text);
    return 1;
}
