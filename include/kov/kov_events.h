/*
 * Events: what a client tells the server about hosts, and what decides whether it does.
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

/*
 * 1 when `prefix` lies inside an aggregate subnet prefix of the VRF and family, else 0: a host there is
 * reached by a conditional route. `vrf_name` is at most 33 characters and NUL-terminated, but no record has a
 * name of 33; `prefix` is one as in kov_rdb_aggr_sub_pfx_t, of which 5 bytes are read for IPv4 (`family` 0)
 * and 17 for IPv6 (`family` 1; others name no record). 0 also for a null pointer, a longer name and a
 * library that cannot be initialised. Read from the cache when the client registered for message type 8.
 */
KOV_EXPORT uint32_t kov_is_rt_conditional(const char *vrf_name, const void *prefix, uint32_t family);

/*
 * Handles a glean: a packet to a destination without a resolved adjacency. The server is told of the
 * conversation when `rt`, the route to the destination, is conditional and not converted; or, when `rt` is
 * null, when conversational learning is on and the destination lies inside an aggregate subnet prefix of the
 * VRF (kov_is_rt_conditional).
 *
 * `iif_ifindex` is the interface at which the packet came in and `svi_ifindex` the source interface; `value`
 * goes into the message as it is. `family` is 1 for IPv4 and anything else for IPv6. `dst` and `src` point at
 * 16 readable bytes at any alignment, also for IPv4, of which the first four are then a uint32_t in host
 * order; null stands for 16 zero bytes. `rt` goes to the platform (kov/platform/routes.h).
 *
 * What to do with the packet, whether or not the server was told: for an SVI in mode
 * KOV_FWD_MODE_PROXY_GATEWAY 2 with a route and 0 without; 1 in any other mode, for a client that is not
 * attached (kov_is_client_attached), and without memory. Nobody learns of a failed send.
 */
KOV_EXPORT uint32_t kov_process_glean_notification(const void *rt, uint32_t vrf_id, uint32_t iif_ifindex,
                                                   uint32_t value, uint32_t svi_ifindex, int32_t family,
                                                   const void *dst, const void *src);

KOV_END_DECLS

#endif
