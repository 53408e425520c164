/*
 * Queries: what the fabric looks like now.
 *
 * Every call initialises the library when that has not happened yet. It answers from the local cache when the
 * client has registered for the message type in brackets and the cache of that record is filled and not being
 * updated; otherwise it reads the shared database. A record that is absent, or a library that cannot be
 * initialised, gives the stated default; the reason is told by the debug trace only.
 *
 * MAC and binding results are static buffers shared by all callers: copy at once.
 */
#ifndef KOV_QUERY_H
#define KOV_QUERY_H

#include <kov/kov_base.h>
#include <kov/kov_records.h>

KOV_BEGIN_DECLS

/* The fabric identifier; 0 when unknown. [4] */
KOV_EXPORT uint32_t kov_get_fabric_id(void);

/* Non-zero when conversational learning is on; 0 when off or unknown. [5] */
KOV_EXPORT uint32_t kov_check_conditional_route(void);

/* enum kov_switch_role bits; 1 (leaf) without a record, 0 when not initialised. [6 or 17] */
KOV_EXPORT uint32_t kov_get_switch_role(void);

/* 6 bytes in static storage, all zero when unknown; never null. [7] */
KOV_EXPORT const uint8_t *kov_get_anycast_gateway_mac(void);

/* The conversational aging timeout in seconds: IPv6's for `af` 2, IPv4's for every other value; 1800 when
 * unknown. [13] */
KOV_EXPORT uint32_t kov_get_conv_aging_timeout(uint32_t af);

/* enum kov_fwd_encap, 0 when unknown; the router MAC goes to `mac` (6 bytes, zeroed when unknown; may be
 * null). [16] */
KOV_EXPORT uint32_t kov_get_fwd_encap_type(uint8_t *mac);

/* Interface index of the fabric control segment's SVI; 0 when none. Unlike every other query it closes the
 * library (kov_api_close) after answering when this process never registered. [11] */
KOV_EXPORT uint32_t kov_get_fabric_ctrl_seg(void);

/* The fabric control segment's binding of virtual address and gateway MAC: 36 bytes, packed. */
typedef struct KOV_PACKED kov_fabric_ctrl_seg_info {
    uint32_t svi_ifindex;
    uint32_t vlan_id;
    uint8_t unused_8[2]; /* never written */
    uint32_t v4_addr;    /* host order */
    uint8_t v6_addr[16]; /* network order */
    uint8_t gw_mac[KOV_MAC_SIZE];
} kov_fabric_ctrl_seg_info;

/* The binding, in static storage; null when there is none or it is not complete. [11] */
KOV_EXPORT const kov_fabric_ctrl_seg_info *kov_get_fabric_ctrl_seg_info(void);

/* 1 when migration to the ferro forwarding mode applies, else 0: for `svi_ifindex` 0 to the fabric [14], else
 * to that SVI [15 and one of 9, 18]. With 1 the anycast gateway MAC goes to `mac` (6 bytes; may be null);
 * with 0 `mac` is untouched. */
KOV_EXPORT uint32_t kov_check_ferro_migration(uint32_t svi_ifindex, uint8_t *mac);

/* Copies the global mobility domain's name, 128 bytes, to `out` and returns 1; 0 without a record or with a
 * null `out`, which is then untouched. Always reads the database. */
KOV_EXPORT uint32_t kov_get_global_mobdom(char *out);

/* enum kov_fwd_mode of an SVI (a VLAN or bridge-domain interface); 0 when it is no SVI or unknown, 4 when not
 * initialised. [9 or 18] */
KOV_EXPORT uint32_t kov_get_fwd_mode(uint32_t svi_ifindex);

/* An SVI and the physical interface behind which somebody asks. */
typedef struct kov_fwd_mode_params {
    uint32_t svi_ifindex;
    uint32_t phy_ifindex;
} kov_fwd_mode_params;

/* The mode of kov_get_fwd_mode, except that a proxy gateway is 3 (conditional) when port tracking is on for
 * the physical interface. 4 when not initialised or for null `params`. [9 or 18, and 10] */
KOV_EXPORT uint32_t kov_check_forwarding_mode(const kov_fwd_mode_params *params);

/* How ARP/ND is proxied for a request that came in by a layer-2 port: for an SVI in mode 1, 3 when port
 * tracking is on for the port and 1 when it is not; 2 for every other SVI, standard and unknown ones
 * included; 4 when not initialised. [9 or 18, and 10] */
KOV_EXPORT uint32_t kov_check_proxy_mode(uint32_t svi_ifindex, uint32_t l2_port);

/* enum kov_suppress_arp_mode of a bridge domain; 0 when unknown or not initialised. [19] */
KOV_EXPORT uint32_t kov_get_suppress_arp_mode(uint32_t sw_bd);

/* Non-zero (the record's word as it stands) when the SVI suppresses ARP; 0 when it does not, is unknown or no
 * SVI. From the cache only for a client that registered for 19 and one of 9, 18. */
KOV_EXPORT uint32_t kov_is_suppress_arp_enabled_ferro_svi(uint32_t svi_ifindex);

/* 1 for an SVI (a VLAN or bridge-domain interface), else 0. An `ifindex` of 0 is looked up by `iod`, the
 * interface's local number; both 0 is no interface. Looks at no record and needs no initialised library. */
KOV_EXPORT uint32_t kov_is_intf_ferro_capable(uint32_t iod, uint32_t ifindex);

/* 1 when the KOV server wants to hear of an address event on the interface with local number `iod`: the
 * interface has an SVI record, and the address is IPv4 (`family` 1) or an IPv6 one (2) that is not
 * link-local (fe80::/10). `addr` is in network order, read for family 2 only, and then 2 bytes of it; null
 * counts as not link-local. `unused` is ignored. Else 0. [9 or 18] */
KOV_EXPORT uint32_t kov_check_am_should_notify(int32_t iod, const uint8_t *addr, uint32_t unused,
                                               int32_t family);

/* 1 when port tracking, or port L2DCI, is on for a physical port or port-channel; 0 when it is off, unknown,
 * or the interface is neither. [10] and [20] */
KOV_EXPORT uint32_t kov_get_port_tracking(uint32_t ifindex);
KOV_EXPORT uint32_t kov_get_port_l2dci(uint32_t ifindex);

KOV_END_DECLS

#endif
