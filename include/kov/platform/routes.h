/*
 * Routes and VRFs: what the library asks about a route that the client process hands it, and the name of a
 * VRF.
 *
 * A route is an opaque pointer: the process gets it from its routing table, gives it to the library, and the
 * library gives it back here and looks at nothing in it. It holds during the call of the library.
 */
#ifndef KOV_PLATFORM_ROUTES_H
#define KOV_PLATFORM_ROUTES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Non-zero when the route is conditional: it is there because of an aggregate subnet prefix of the fabric,
 * and stands for hosts that nobody has talked to yet. 0 for any other route and for a null one. urib_ is
 * asked about IPv4 routes, u6rib_ about IPv6 routes. */
int urib_route_is_cond_flag_set(const void *rt);
int u6rib_route_is_cond_flag_set(const void *rt);

/* Non-zero when a conditional route has been converted: the fabric has learnt of the conversation. 0 else,
 * and for a null route. */
int urib_route_is_conv_flag_set(const void *rt);
int u6rib_route_is_conv_flag_set(const void *rt);

/* The name of the VRF with this id, NUL-terminated; null when there is none. `zero` is 0. Holds until the
 * next call. */
const char *vrfmgr_get_context_name(uint32_t vrf_id, uint32_t zero);

#ifdef __cplusplus
}
#endif

#endif
