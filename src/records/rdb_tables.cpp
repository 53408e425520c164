// The schema tables of the six published records. The rows stand in encoding order, which is part of the
// schema.
#include "records/schema.h"

#include <kov/kov_codec.h>

using geninfo = kov_rdb_geninfo_t;
using sviinfo = kov_rdb_sviinfo_t;
using topo = kov_rdb_l2rib_topo_info_t;
using prefix = kov_rdb_aggr_sub_pfx_t;
using tracking = kov_rdb_port_tracking_t;
using l2dci = kov_rdb_port_l2dci_t;

// clang-format off

constexpr kov_rdb_geninfo_schema kov_rdb_geninfo_tbl = {
    kov::table_head(sizeof(geninfo), "kov_rdb_geninfo_t"),
    {
        KOV_ROW( 0, geninfo, fabric_id),
        KOV_ROW( 1, geninfo, conv_learning),
        KOV_ROW( 2, geninfo, anycast_gw_mac),
        KOV_ROW( 3, geninfo, switch_role),
        KOV_ROW( 4, geninfo, fabric_ctrl_svi),
        KOV_ROW( 5, geninfo, urib_conv_aging_timeout),
        KOV_ROW( 6, geninfo, u6rib_conv_aging_timeout),
        KOV_ROW( 7, geninfo, ferro_migration),
        KOV_ROW( 8, geninfo, fwd_encap),
        KOV_ROW( 9, geninfo, router_mac),
        KOV_ROW(10, geninfo, mobdom),
        KOV_ROW(11, geninfo, geninfo_word11),
        KOV_ROW(12, geninfo, geninfo_flag12),
        KOV_ROW(13, geninfo, geninfo_word13),
    },
    kov::end_row(),
};
static_assert(kov::covers_exactly(kov_rdb_geninfo_tbl));

// Deliberate: field 12 stands between fields 9 and 10 in the record and is encoded last.
constexpr kov_rdb_sviinfo_schema kov_rdb_sviinfo_tbl = {
    kov::table_head(sizeof(sviinfo), "kov_rdb_sviinfo_t"),
    {
        KOV_ROW( 0, sviinfo, svi_ifindex),
        KOV_ROW( 1, sviinfo, vlan_id),
        KOV_ROW( 2, sviinfo, is_up),
        KOV_ROW( 3, sviinfo, v4_prefix),
        KOV_ROW( 4, sviinfo, v6_prefix),
        KOV_ROW( 5, sviinfo, vrf_name),
        KOV_ROW( 6, sviinfo, fwd_mode),
        KOV_ROW( 7, sviinfo, is_fabric_ctrl_seg),
        KOV_ROW( 8, sviinfo, migration_enabled),
        KOV_ROW( 9, sviinfo, gw_mac),
        KOV_ROW(10, sviinfo, svi_word10),
        KOV_ROW(11, sviinfo, vaddr_bound),
        KOV_ROW(12, sviinfo, suppress_arp),
    },
    kov::end_row(),
};
static_assert(kov::covers_exactly(kov_rdb_sviinfo_tbl, {
    KOV_LOCAL(sviinfo, local_12), KOV_LOCAL(sviinfo, local_82),
    KOV_LOCAL(sviinfo, local_98), KOV_LOCAL(sviinfo, local_130)}));

constexpr kov_rdb_l2rib_topo_info_schema kov_rdb_l2rib_topo_info_tbl = {
    kov::table_head(sizeof(topo), "kov_rdb_l2rib_topo_info_t"),
    {
        KOV_ROW( 0, topo, bd),
        KOV_ROW( 1, topo, vni),
        KOV_ROW( 2, topo, suppress_arp_enabled),
        KOV_ROW( 3, topo, suppress_arp_mode),
        KOV_ROW( 4, topo, suppress_arp_l3_svi),
    },
    kov::end_row(),
};
static_assert(kov::covers_exactly(kov_rdb_l2rib_topo_info_tbl, {
    KOV_LOCAL(topo, local_8), KOV_LOCAL(topo, local_32)}));

constexpr kov_rdb_aggr_sub_pfx_schema kov_rdb_aggr_sub_pfx_tbl = {
    kov::table_head(sizeof(prefix), "kov_rdb_aggr_sub_pfx_t"),
    {
        KOV_ROW( 0, prefix, prefix),
    },
    kov::end_row(),
};
static_assert(kov::covers_exactly(kov_rdb_aggr_sub_pfx_tbl));

constexpr kov_rdb_port_tracking_schema kov_rdb_port_tracking_tbl = {
    kov::table_head(sizeof(tracking), "kov_rdb_port_tracking_t"),
    {
        KOV_ROW( 0, tracking, num_bits),
        KOV_ROW( 1, tracking, port_bits),
    },
    kov::end_row(),
};
static_assert(kov::covers_exactly(kov_rdb_port_tracking_tbl));

constexpr kov_rdb_port_l2dci_schema kov_rdb_port_l2dci_tbl = {
    kov::table_head(sizeof(l2dci), "kov_rdb_port_l2dci_t"),
    {
        KOV_ROW( 0, l2dci, num_bits),
        KOV_ROW( 1, l2dci, port_bits),
    },
    kov::end_row(),
};
static_assert(kov::covers_exactly(kov_rdb_port_l2dci_tbl));

// clang-format on
