/* Structures that queries answer with. */
#include <kov/kov_query.h>

#include "layout.h"

SIZE_IS(kov_fabric_ctrl_seg_info, 36);
FIELD_IS(kov_fabric_ctrl_seg_info, svi_ifindex, 0, 4);
FIELD_IS(kov_fabric_ctrl_seg_info, vlan_id, 4, 4);
FIELD_IS(kov_fabric_ctrl_seg_info, v4_addr, 10, 4);
FIELD_IS(kov_fabric_ctrl_seg_info, v6_addr, 14, 16);
FIELD_IS(kov_fabric_ctrl_seg_info, gw_mac, 30, 6);

LAYOUT_MAIN("the answers")
