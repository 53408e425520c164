/* The messages between a client and the server: what crosses the transport, byte by byte. */
#include <kov/kov_events.h>
#include <kov/kov_messages.h>

#include "layout.h"

SIZE_IS(kov_client_msg, 161);
FIELD_IS(kov_client_msg, major, 0, 2);
FIELD_IS(kov_client_msg, mtype, 2, 2);
FIELD_IS(kov_client_msg, count, 20, 4);
FIELD_IS(kov_client_msg, length, 24, 4);

SIZE_IS(kov_registration_request, 164);
FIELD_IS(kov_registration_request, major, 0, 2);
FIELD_IS(kov_registration_request, mtype, 2, 2);
FIELD_IS(kov_registration_request, pid, 4, 4);
FIELD_IS(kov_registration_request, epid, 8, 4);
FIELD_IS(kov_registration_request, mclock, 12, 8);
FIELD_IS(kov_registration_request, uuid, 20, 4);
FIELD_IS(kov_registration_request, client_name, 24, 129);
FIELD_IS(kov_registration_request, padding, 153, 3);
FIELD_IS(kov_registration_request, sap, 156, 4);
FIELD_IS(kov_registration_request, mtype_mask, 160, 4);

SIZE_IS(kov_word_update, 4);
FIELD_IS(kov_word_update, value, 0, 4);

SIZE_IS(kov_anycast_gw_mac_update, 12);

SIZE_IS(kov_aggr_sub_pfx_update, 61);
FIELD_IS(kov_aggr_sub_pfx_update, vrf_name, 0, 33);
FIELD_IS(kov_aggr_sub_pfx_update, prefix, 33, 20);
FIELD_IS(kov_aggr_sub_pfx_update, family, 53, 4);
FIELD_IS(kov_aggr_sub_pfx_update, unused_57, 57, 4);

SIZE_IS(kov_fabric_ctrl_seg_update, 36);
FIELD_IS(kov_fabric_ctrl_seg_update, svi_ifindex, 0, 4);
FIELD_IS(kov_fabric_ctrl_seg_update, vlan_id, 4, 4);
FIELD_IS(kov_fabric_ctrl_seg_update, word_8, 8, 2);
FIELD_IS(kov_fabric_ctrl_seg_update, v4_addr, 10, 4);
FIELD_IS(kov_fabric_ctrl_seg_update, v6_addr, 14, 16);
FIELD_IS(kov_fabric_ctrl_seg_update, gw_mac, 30, 6);

SIZE_IS(kov_conv_aging_update, 5);
FIELD_IS(kov_conv_aging_update, timeout, 0, 4);
FIELD_IS(kov_conv_aging_update, family, 4, 1);

SIZE_IS(kov_switch_role_update, 8);
FIELD_IS(kov_switch_role_update, words, 0, 8);

SIZE_IS(kov_svi_fwd_mode_update, 12);
FIELD_IS(kov_svi_fwd_mode_update, svi_ifindex, 0, 4);
FIELD_IS(kov_svi_fwd_mode_update, word_4, 4, 4);
FIELD_IS(kov_svi_fwd_mode_update, word_8, 8, 4);

SIZE_IS(kov_suppress_arp_topo_update, 24);
FIELD_IS(kov_suppress_arp_topo_update, bd, 0, 4);
FIELD_IS(kov_suppress_arp_topo_update, svi_ifindex, 16, 4);
FIELD_IS(kov_suppress_arp_topo_update, word_20, 20, 4);

SIZE_IS(kov_host_verify_msg, 50);
FIELD_IS(kov_host_verify_msg, vrf_name, 0, 33);
FIELD_IS(kov_host_verify_msg, family, 33, 1);
FIELD_IS(kov_host_verify_msg, addr, 34, 16);

SIZE_IS(kov_nd_verified_msg, 44);
FIELD_IS(kov_nd_verified_msg, major, 0, 2);
FIELD_IS(kov_nd_verified_msg, mtype, 2, 2);
FIELD_IS(kov_nd_verified_msg, pid, 4, 4);
FIELD_IS(kov_nd_verified_msg, epid, 8, 4);
FIELD_IS(kov_nd_verified_msg, mclock, 12, 8);
FIELD_IS(kov_nd_verified_msg, zero_20, 20, 2);
FIELD_IS(kov_nd_verified_msg, addr, 22, 16);
FIELD_IS(kov_nd_verified_msg, zero_38, 38, 2);
FIELD_IS(kov_nd_verified_msg, iod, 40, 4);

SIZE_IS(kov_arp_verified_msg, 56);
FIELD_IS(kov_arp_verified_msg, one, 0, 4);
FIELD_IS(kov_arp_verified_msg, ifindex, 4, 4);
FIELD_IS(kov_arp_verified_msg, iod, 8, 4);
FIELD_IS(kov_arp_verified_msg, phy_ifindex, 12, 4);
FIELD_IS(kov_arp_verified_msg, phy_iod, 16, 4);
FIELD_IS(kov_arp_verified_msg, zero_20, 20, 8);
FIELD_IS(kov_arp_verified_msg, addr, 28, 4);
FIELD_IS(kov_arp_verified_msg, zero_32, 32, 18);
FIELD_IS(kov_arp_verified_msg, vlan, 50, 2);
FIELD_IS(kov_arp_verified_msg, zero_52, 52, 4);

SIZE_IS(kov_glean_msg, 73);
FIELD_IS(kov_glean_msg, zero_0, 0, 24);
FIELD_IS(kov_glean_msg, family, 24, 1);
FIELD_IS(kov_glean_msg, vrf_id, 25, 4);
FIELD_IS(kov_glean_msg, iif_ifindex, 29, 4);
FIELD_IS(kov_glean_msg, value, 33, 4);
FIELD_IS(kov_glean_msg, svi_ifindex, 37, 4);
FIELD_IS(kov_glean_msg, dst, 41, 16);
FIELD_IS(kov_glean_msg, src, 57, 16);

/* What a client passes in: nine words. */
SIZE_IS(kov_host_verified, 36);
FIELD_IS(kov_host_verified, addr, 0, 16);
FIELD_IS(kov_host_verified, vlan, 16, 4);
FIELD_IS(kov_host_verified, ifindex, 20, 4);
FIELD_IS(kov_host_verified, iod, 24, 4);
FIELD_IS(kov_host_verified, phy_ifindex, 28, 4);
FIELD_IS(kov_host_verified, phy_iod, 32, 4);

LAYOUT_MAIN("the messages")
