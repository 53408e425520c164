// The SVI cache: a small entry for each SVI in a ferro forwarding mode, in a tree by interface index, and the
// whole record of one SVI, the fabric control segment's.
//
// An SVI in any other mode is not cached, and a cached lookup says that it does not exist. The fabric control
// copy stands beside the tree: it is kept while the SVI's virtual-address binding is complete, whatever its
// mode, and the general information's cached copy follows it.
#pragma once

#include "cache/lookup.h"

#include <kov/kov_cache.h>

// What the queries need of an SVI.
struct kov_svi_cache_entry {
    u32 vlan_id;
    u32 fwd_mode;
    u32 migration_enabled;
    u32 suppress_arp;
};
static_assert(sizeof(kov_svi_cache_entry) == 16);

// The record of an SVI, from the cache unless `force_rdb`; null when there is none or when not initialised.
kov_rdb_sviinfo_t *kov_get_sviinfo_from_rdb(u32 svi_ifindex, u32 force_rdb);

// Applies one record (null: the SVI is gone). `rec` may stand in the decode buffer. 1, or 0 for index 0, out
// of memory, or a tree that refuses.
u32 kov_cache_sviinfo(const kov_rdb_sviinfo_t *rec, u32 svi_ifindex);

// Removes one SVI; `entry`, when given, only says that there is one. 1, or 0 for index 0 or a
// tree that refuses.
u32 kov_clear_cache_sviinfo(const kov_svi_cache_entry *entry, u32 svi_ifindex);

// Maintains the fabric control copy from one SVI's record (null: gone). It may read the database, and so
// refill the decode buffer: `rec` must not stand there.
void kov_cache_fabric_ctrl_svi(const kov_rdb_sviinfo_t *rec, u32 svi_ifindex);

namespace kov
{

void *lookup_sviinfo(const kov_rdb_key &key);
void *step_sviinfo(kov_rdb_iter &iter);

// Applies an SVI as the database has it now; false when it has none. It refills the decode buffer.
bool reread_sviinfo(u32 svi_ifindex);

} // namespace kov
