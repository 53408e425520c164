/*
 * Events: what a client tells the server about hosts.
 *
 * Every call here is at most one message to the server. None waits, none is answered, none is tried again: a
 * message that cannot be sent is reported by the return value and forgotten. The bytes of the messages are in
 * kov_messages.h.
 */
#ifndef KOV_EVENTS_H
#define KOV_EVENTS_H

#include <kov/kov_base.h>

KOV_BEGIN_DECLS

/*
 * Asks the server to verify that a host is still where it was seen. `vrf_name` is at most 33 characters and
 * NUL-terminated; `af` is 1 for IPv4 and 0 for IPv6; `addr` points at the address, a uint32_t in host order
 * for IPv4 and 16 bytes for IPv6, at any alignment. The server learns the family but not the address of an
 * IPv6 host. Initialises the library when that has not happened yet.
 *
 * 0 when sent. -1 for a null name or address, a family above 1, a client that is not attached
 * (kov_is_client_attached) or a longer name. When the send fails, its errno, which is never 0.
 */
KOV_EXPORT int32_t kov_send_host_verify_notification(const char *vrf_name, uint32_t af, const void *addr);

/* What a probe of a host has shown: 36 bytes, host order. */
typedef struct kov_host_verified {
    uint32_t addr[4];     /* the host: IPv4 in addr[0] in host order; IPv6 in all 16 bytes, network order */
    uint32_t vlan;        /* ARP only, as all that follows but iod */
    uint32_t ifindex;     /* where the host was probed */
    int32_t iod;          /* that interface's local number */
    uint32_t phy_ifindex; /* the physical interface behind it */
    int32_t phy_iod;      /* that interface's local number */
} kov_host_verified;

/*
 * Reports the result of a probe to the server: as an ND manager when `nd` is not 0, else as an ARP manager.
 * `resp` is read during the call only. Neither an initialised library nor a registered client is asked for:
 * the report leaves over whatever handle the library holds, and cannot be sent when that is none.
 *
 * 1 when sent; 0 for a null `resp`, without memory, and when the send fails.
 */
KOV_EXPORT uint32_t kov_arp_nd_host_verification_resp(const kov_host_verified *resp, uint32_t nd);

KOV_END_DECLS

#endif
