/*
 * What every public header of the library stands on: integer types, linkage, visibility.
 *
 * Conventions of the whole interface
 * - Plain C structures and free functions; no errors are thrown, none is stored. Most calls return a
 *   uint32_t, 1 for success or true and 0 for failure or false; a query returns a documented default when
 *   the library is not initialised or the record is absent. The few exceptions say so at their place.
 * - One thread. The library takes no locks; call it from the one cooperative thread of the process.
 * - Pointers that a call returns point into the library's own storage. They hold until the next call of
 *   the same kind, unless the call says otherwise. Copy what you need to keep.
 * - Integers are in host byte order unless a field says network order. The library runs on little-endian
 *   machines only.
 * - "size" counts bytes, "length" counts characters.
 *
 * Address families and IPv4 addresses differ from call to call, and have to:
 *
 *   kov_get_conv_aging_timeout                     2 IPv6, every other value IPv4
 *   kov_check_am_should_notify                     1 IPv4, 2 IPv6; addresses in network order
 *   kov_send_host_verify_notification              1 IPv4, 0 IPv6; IPv4 in host order
 *   kov_arp_nd_host_verification_resp              0 ARP (IPv4, host order), else ND (IPv6)
 *   kov_process_glean_notification                 1 IPv4, every other value IPv6; IPv4 in host order
 *   kov_is_rt_conditional, kov_pfx_subnet_match    0 IPv4, 1 IPv6; IPv4 in host order
 *   keys and prefixes of records                   0 IPv4, 1 IPv6; IPv4 in host order
 *   messages of types 8 and 11 on the wire         IPv4 in network order; type 8: 0 IPv4, 1 IPv6
 */
#ifndef KOV_BASE_H
#define KOV_BASE_H

#include <stdint.h>

#ifdef __cplusplus
#define KOV_BEGIN_DECLS extern "C" {
#define KOV_END_DECLS }
#else
#define KOV_BEGIN_DECLS
#define KOV_END_DECLS
#endif

/* Marks what the shared object exports; everything else in it is hidden. */
#define KOV_EXPORT __attribute__((visibility("default")))

/* Records whose bytes are fixed: no padding, fields at any offset. Never take the address of a field. */
#define KOV_PACKED __attribute__((packed))

#endif
