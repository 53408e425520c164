// The topology cache: one entry per bridge domain, in a tree by its number (the messages' sw_bd).
//
// A topology carries the ARP suppression of an SVI. So whatever happens to a topology makes the SVI cache
// read that SVI again.
#pragma once

#include "cache/lookup.h"

#include <kov/kov_cache.h>

// The topology of a bridge domain, from the cache unless `force_rdb`; null when there is none or when not
// initialised.
kov_rdb_l2rib_topo_info_t *kov_get_l2rib_topo_info_from_rdb(u32 topo_id, u32 force_rdb);

// Applies one record (null: the topology is gone). `rec` may stand in the decode buffer. 1, or 0 for id 0,
// out of memory, or a tree that refuses.
u32 kov_cache_l2rib_topo_info(const kov_rdb_l2rib_topo_info_t *rec, u32 topo_id);

// Removes one topology; `entry`, when given, only says that there is one. 1, or 0 for id 0 or a tree that
// refuses.
u32 kov_clear_cache_l2rib_topo_info(const kov_rdb_l2rib_topo_info_t *entry, u32 topo_id);

namespace kov
{

void *lookup_l2rib_topo_info(const kov_rdb_key &key);
void *step_l2rib_topo_info(kov_rdb_iter &iter);

} // namespace kov
