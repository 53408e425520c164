/* The records of the shared database and the key that finds them: the bytes that the server writes. */
#include <kov/kov_records.h>

#include "layout.h"

SIZE_IS(kov_v4_prefix, 8);
FIELD_IS(kov_v4_prefix, addr, 0, 4);
FIELD_IS(kov_v4_prefix, len, 4, 4);
SIZE_IS(kov_v6_prefix, 17);
FIELD_IS(kov_v6_prefix, addr, 0, 16);
FIELD_IS(kov_v6_prefix, len, 16, 1);

SIZE_IS(kov_rdb_geninfo_t, 181);
FIELD_IS(kov_rdb_geninfo_t, fabric_id, 0, 4);
FIELD_IS(kov_rdb_geninfo_t, conv_learning, 4, 4);
FIELD_IS(kov_rdb_geninfo_t, anycast_gw_mac, 8, 6);
FIELD_IS(kov_rdb_geninfo_t, switch_role, 14, 4);
FIELD_IS(kov_rdb_geninfo_t, fabric_ctrl_svi, 18, 4);
FIELD_IS(kov_rdb_geninfo_t, urib_conv_aging_timeout, 22, 4);
FIELD_IS(kov_rdb_geninfo_t, u6rib_conv_aging_timeout, 26, 4);
FIELD_IS(kov_rdb_geninfo_t, ferro_migration, 30, 4);
FIELD_IS(kov_rdb_geninfo_t, fwd_encap, 34, 4);
FIELD_IS(kov_rdb_geninfo_t, router_mac, 38, 6);
FIELD_IS(kov_rdb_geninfo_t, mobdom, 44, 128);
FIELD_IS(kov_rdb_geninfo_t, geninfo_word11, 172, 4);
FIELD_IS(kov_rdb_geninfo_t, geninfo_flag12, 176, 1);
FIELD_IS(kov_rdb_geninfo_t, geninfo_word13, 177, 4);

SIZE_IS(kov_rdb_sviinfo_t, 138);
FIELD_IS(kov_rdb_sviinfo_t, svi_ifindex, 0, 4);
FIELD_IS(kov_rdb_sviinfo_t, vlan_id, 4, 4);
FIELD_IS(kov_rdb_sviinfo_t, is_up, 8, 4);
FIELD_IS(kov_rdb_sviinfo_t, local_12, 12, 4);
FIELD_IS(kov_rdb_sviinfo_t, v4_prefix, 16, 8);
FIELD_IS(kov_rdb_sviinfo_t, v6_prefix, 24, 17);
FIELD_IS(kov_rdb_sviinfo_t, vrf_name, 41, 33);
FIELD_IS(kov_rdb_sviinfo_t, fwd_mode, 74, 4);
FIELD_IS(kov_rdb_sviinfo_t, is_fabric_ctrl_seg, 78, 4);
FIELD_IS(kov_rdb_sviinfo_t, local_82, 82, 12);
FIELD_IS(kov_rdb_sviinfo_t, migration_enabled, 94, 4);
FIELD_IS(kov_rdb_sviinfo_t, local_98, 98, 14);
FIELD_IS(kov_rdb_sviinfo_t, gw_mac, 112, 6);
FIELD_IS(kov_rdb_sviinfo_t, suppress_arp, 118, 4);
FIELD_IS(kov_rdb_sviinfo_t, svi_word10, 122, 4);
FIELD_IS(kov_rdb_sviinfo_t, vaddr_bound, 126, 4);
FIELD_IS(kov_rdb_sviinfo_t, local_130, 130, 8);

SIZE_IS(kov_rdb_l2rib_topo_info_t, 52);
FIELD_IS(kov_rdb_l2rib_topo_info_t, bd, 0, 4);
FIELD_IS(kov_rdb_l2rib_topo_info_t, vni, 4, 4);
FIELD_IS(kov_rdb_l2rib_topo_info_t, local_8, 8, 12);
FIELD_IS(kov_rdb_l2rib_topo_info_t, suppress_arp_enabled, 20, 4);
FIELD_IS(kov_rdb_l2rib_topo_info_t, suppress_arp_mode, 24, 4);
FIELD_IS(kov_rdb_l2rib_topo_info_t, suppress_arp_l3_svi, 28, 4);
FIELD_IS(kov_rdb_l2rib_topo_info_t, local_32, 32, 20);

SIZE_IS(kov_rdb_aggr_sub_pfx_t, 20);
FIELD_IS(kov_rdb_aggr_sub_pfx_t, prefix, 0, 20);

SIZE_IS(kov_rdb_port_tracking_t, 35);
FIELD_IS(kov_rdb_port_tracking_t, num_bits, 0, 2);
FIELD_IS(kov_rdb_port_tracking_t, port_bits, 2, 33);
SIZE_IS(kov_rdb_port_l2dci_t, 35);
FIELD_IS(kov_rdb_port_l2dci_t, num_bits, 0, 2);
FIELD_IS(kov_rdb_port_l2dci_t, port_bits, 2, 33);

SIZE_IS(kov_rdb_key, 61);
FIELD_IS(kov_rdb_key, type, 0, 4);
FIELD_IS(kov_rdb_key, of.number, 4, 4);
FIELD_IS(kov_rdb_key, of.slot, 4, 1);
FIELD_IS(kov_rdb_key, of.vrf_name, 4, 33);
FIELD_IS(kov_rdb_key, family, 37, 1);
FIELD_IS(kov_rdb_key, reserved, 38, 3);
FIELD_IS(kov_rdb_key, prefix, 41, 20);

SIZE_IS(kov_aggr_prefix_key, 57);
FIELD_IS(kov_aggr_prefix_key, vrf_name, 0, 33);
FIELD_IS(kov_aggr_prefix_key, family, 33, 1);
FIELD_IS(kov_aggr_prefix_key, reserved, 34, 3);
FIELD_IS(kov_aggr_prefix_key, prefix, 37, 20);

LAYOUT_MAIN("the records of the shared database")
