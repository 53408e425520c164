/*
 * Addresses as text.
 *
 * Every call accepts unaligned input and returns text in rotating storage: a result holds until at least
 * seven more of these calls have been made, so that one trace can print several. Never null.
 */
#ifndef KOV_PLATFORM_ADDRESS_H
#define KOV_PLATFORM_ADDRESS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Six raw bytes as "0011.2233.4455". A null pointer prints as an all-zero address. */
const char *im_print_mac_addr(const uint8_t *mac);

/* An IPv4 address in host order as "10.1.2.3". */
const char *ip_print_addr(uint32_t host_order);

/* 16 bytes in network order as "2001:db8::1". A null pointer prints as "::". */
const char *ipv6_print_addr(const void *addr16);

/* A prefix as "10.1.0.0/16": an IPv4 address in host order with ONE length byte at offset 4. The address is
 * printed as it is, bits behind the length included. Never null. */
const char *ip_print_prefix(const void *prefix);

/* A prefix as "2001:db8::/32": 16 bytes in network order with ONE length byte at offset 16; the address alone
 * when `with_len` is 0, and then only 16 bytes are read. Never null. */
const char *ipv6_print_prefix(const void *prefix, uint32_t with_len);

/* The mask of a prefix length, in host order: 0 gives 0, 32 and more give all ones. */
uint32_t ip_bits2mask(uint32_t bits);

#ifdef __cplusplus
}
#endif

#endif
