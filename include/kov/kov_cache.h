/*
 * Control of the local cache. A client that registers needs none of these calls: the server's acknowledgement
 * switches caching on, its update messages keep it current, and deregistering switches it off.
 *
 * The fill and clear calls take `all` non-zero for the whole type (a `key` is then read only for a trace), or
 * 0 with the key of one record, which leaves the cache when the database has it no more. Clears may yield.
 */
#ifndef KOV_CACHE_H
#define KOV_CACHE_H

#include <kov/kov_base.h>

KOV_BEGIN_DECLS

/* Fills the cache of every record type that the client registered for. 1 when done or already on, 0 when the
 * client is not registered. */
KOV_EXPORT int32_t kov_api_enable_cache(void);

/* Empties every cache. Always 1. */
KOV_EXPORT uint32_t kov_api_disable_cache(void);

/* General information; `all` and `key` are ignored. 1 on success, 0 when not initialised or out of memory. */
KOV_EXPORT uint32_t kov_cache_rdb_geninfo(int32_t all, const void *key);
KOV_EXPORT uint32_t kov_clear_cache_rdb_geninfo(int32_t all, const void *key);

/* SVIs; the key is a uint32_t interface index, at any alignment. 1 on success, 0 when not initialised. */
KOV_EXPORT uint32_t kov_cache_rdb_sviinfo(int32_t all, const void *key);
KOV_EXPORT uint32_t kov_clear_cache_rdb_sviinfo(int32_t all, const void *key);

/* Ports of the slots; the key is a uint8_t slot, counted from 1. 1 on success, 0 when not initialised. */
KOV_EXPORT uint32_t kov_cache_rdb_port_tracking(int32_t all, const void *key);
KOV_EXPORT uint32_t kov_clear_cache_rdb_port_tracking(int32_t all, const void *key);
KOV_EXPORT uint32_t kov_cache_rdb_port_l2dci(int32_t all, const void *key);
KOV_EXPORT uint32_t kov_clear_cache_rdb_port_l2dci(int32_t all, const void *key);

/* Aggregate subnet prefixes; the key is a kov_aggr_prefix_key, at any alignment. 1 on success, 0 when not
 * initialised. Clearing lets other tasks run between two prefixes when it is time to yield. */
KOV_EXPORT uint32_t kov_cache_rdb_aggr_subnet_pfx(int32_t all, const void *key);
KOV_EXPORT uint32_t kov_clear_cache_rdb_aggr_subnet_pfx(int32_t all, const void *key);

/* Layer-2 topologies; the key is a uint32_t bridge domain, at any alignment. 1 on success, 0 when not
 * initialised. Clearing all removes only the bridge domains whose number reads the same with its four bytes
 * reversed (65792 is the least), and one of two that mirror each other; the rest stay, counted. */
KOV_EXPORT uint32_t kov_cache_rdb_l2rib_topo_info(int32_t all, const void *key);
KOV_EXPORT uint32_t kov_clear_cache_rdb_l2rib_topo_info(int32_t all, const void *key);

/* Prints the library's state and its caches to a command-line context (kov/platform/cli.h): a row a record
 * type, or with the word "detail" everything that is cached, of the fields that the client registered for. It
 * asks the pager after each record and lets other tasks run; what they change shows. The result of the last
 * print; 0 when the pager says stop. Needs no initialised library. */
KOV_EXPORT uint32_t kov_api_print_cache_stats(void *cli);

KOV_END_DECLS

#endif
