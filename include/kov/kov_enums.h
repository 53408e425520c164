/*
 * What the small numbers in the published records mean: forwarding modes, ARP suppression, encapsulations
 * and switch roles, their defaults, predicates and display strings.
 *
 * All calls are pure and need no initialised library. The strings are constants, except that of
 * kov_switch_role_str, which stands in one of eight rotating buffers and holds until eight more display
 * strings have been made (kov_ifindex_name_str of kov_debug.h uses the same buffers).
 */
#ifndef KOV_ENUMS_H
#define KOV_ENUMS_H

#include <kov/kov_base.h>

KOV_BEGIN_DECLS

/* How an SVI forwards: kov_rdb_sviinfo_t.fwd_mode. Modes 1 and 2 are the ferro forwarding modes. */
enum kov_fwd_mode {
    KOV_FWD_MODE_STANDARD = 0,      /* the default */
    KOV_FWD_MODE_PROXY_GATEWAY = 1, /* the "enhanced" mode */
    KOV_FWD_MODE_ANYCAST_GATEWAY = 2,
    KOV_FWD_MODE_CONDITIONAL_PROXY_GATEWAY = 3,
    KOV_FWD_MODE_INVALID = 4
};

/* How a bridge domain suppresses ARP: kov_rdb_l2rib_topo_info_t.suppress_arp_mode. */
enum kov_suppress_arp_mode {
    KOV_SUPPRESS_ARP_DISABLED = 0,
    KOV_SUPPRESS_ARP_L2 = 1,
    KOV_SUPPRESS_ARP_L2_L3 = 2
};

/* How the fabric carries traffic: kov_rdb_geninfo_t.fwd_encap. */
enum kov_fwd_encap {
    KOV_FWD_ENCAP_FABRIC = 0, /* the default */
    KOV_FWD_ENCAP_VXLAN = 1
};

/* What the switch is in the fabric: kov_rdb_geninfo_t.switch_role, a bit set; several may be set. */
enum kov_switch_role {
    KOV_SWITCH_ROLE_LEAF = 0x1, /* the default */
    KOV_SWITCH_ROLE_BORDER = 0x2,
    KOV_SWITCH_ROLE_SPINE = 0x4,
    KOV_SWITCH_ROLE_DCI = 0x8
};

/* The values that fresh records take: leaf (1), standard (0), fabric (0). */
KOV_EXPORT uint32_t kov_get_default_switch_role(void);
KOV_EXPORT uint32_t kov_get_default_forwarding_mode(void);
KOV_EXPORT uint32_t kov_get_default_forwarding_encap(void);

/* Whether the role's bit is set in `role`: 0 or 1. */
KOV_EXPORT uint32_t kov_is_switch_role_leaf(uint32_t role);
KOV_EXPORT uint32_t kov_is_switch_role_border(uint32_t role);
KOV_EXPORT uint32_t kov_is_switch_role_spine(uint32_t role);
KOV_EXPORT uint32_t kov_is_switch_role_dci(uint32_t role);

/* 1 when `mode` is 1 (enhanced), 2 (anycast), 1 or 2 (ferro); else 0. Mode 3 is not a ferro mode. */
KOV_EXPORT uint32_t kov_is_enhanced_fwd_mode(uint32_t mode);
KOV_EXPORT uint32_t kov_is_anycast_fwd_mode(uint32_t mode);
KOV_EXPORT uint32_t kov_is_ferro_fwd_mode(uint32_t mode);

/* "Standard", "Proxy Gateway", "Anycast Gateway", "Conditional Proxy Gateway", "Invalid Fwd mode" for 0 to
 * 4; "Standard" for every other value. */
KOV_EXPORT const char *kov_fwd_mode_str(uint32_t mode);

/* "ARP Suppression Disabled", "L2 ARP Suppression", "L2/L3 ARP Suppression" for 0 to 2; "ARP Suppression
 * INVALID" for every other value. */
KOV_EXPORT const char *kov_suppress_arp_mode_to_str(uint32_t mode);

/* "Fabric", "Vxlan" for 0 and 1; "Invalid encapsulation" for every other value. */
KOV_EXPORT const char *kov_fwd_encap_str(uint32_t encap);

/* The words "border ", "spine ", "leaf ", "dci-node " of the bits that are set, in this order, each with its
 * trailing blank; "" for none. Unknown bits are ignored. Rotating buffer: holds for seven more calls. */
KOV_EXPORT const char *kov_switch_role_str(uint32_t role);

KOV_END_DECLS

#endif
