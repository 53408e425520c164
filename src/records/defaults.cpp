// The values that fresh records take. Each initialiser writes what its record lists and nothing else; local
// bytes, and the fields said to be left as found, keep their contents.
#include <kov/kov_enums.h>
#include <kov/kov_records.h>

#include "api/bytes.h"

namespace
{

constexpr u32 default_aging_timeout = 1800;

using kov::clear;

// The layout that port tracking and port L2DCI share.
template <class PortRecord>
u32 clear_ports(PortRecord *rec)
{
    if (rec) {
        rec->num_bits = 0;
        clear(rec->port_bits);
    }
    return 0;
}

} // namespace

u32 kov_rdb_geninfo_default_init(kov_rdb_geninfo_t *rec)
{
    if (!rec)
        return 0;
    rec->fabric_id = 0;
    rec->conv_learning = 0;
    clear(rec->anycast_gw_mac);
    rec->switch_role = kov_get_default_switch_role();
    rec->fabric_ctrl_svi = 0;
    rec->urib_conv_aging_timeout = default_aging_timeout;
    rec->u6rib_conv_aging_timeout = default_aging_timeout;
    // Deliberate: ferro_migration keeps what the buffer held.
    rec->fwd_encap = kov_get_default_forwarding_encap();
    clear(rec->router_mac);
    rec->mobdom[0] = '\0';
    rec->geninfo_word11 = 0;
    rec->geninfo_flag12 = 1;
    rec->geninfo_word13 = 0;
    return 0;
}

u32 kov_rdb_sviinfo_default_init(kov_rdb_sviinfo_t *rec)
{
    if (!rec)
        return 0;
    rec->svi_ifindex = 0;
    rec->vlan_id = 0;
    rec->is_up = 0;
    rec->v4_prefix = {};
    rec->v6_prefix = {};
    rec->vrf_name[0] = '\0';
    rec->fwd_mode = kov_get_default_forwarding_mode();
    rec->is_fabric_ctrl_seg = 0;
    rec->migration_enabled = 0;
    clear(rec->gw_mac);
    rec->svi_word10 = 0;
    rec->vaddr_bound = 0;
    // Deliberate: suppress_arp keeps what the buffer held.
    return 0;
}

u32 kov_rdb_l2rib_topo_info_default_init(kov_rdb_l2rib_topo_info_t *rec)
{
    if (!rec)
        return 0;
    rec->bd = 0;
    rec->vni = 0;
    rec->suppress_arp_enabled = 0;
    rec->suppress_arp_mode = 0;
    rec->suppress_arp_l3_svi = 0;
    return 0;
}

u32 kov_rdb_aggr_sub_pfx_default_init(kov_rdb_aggr_sub_pfx_t *rec)
{
    if (rec)
        clear(rec->prefix);
    return 0;
}

u32 kov_rdb_port_tracking_default_init(kov_rdb_port_tracking_t *rec) { return clear_ports(rec); }
u32 kov_rdb_port_l2dci_default_init(kov_rdb_port_l2dci_t *rec) { return clear_ports(rec); }
