// The aggregate-prefix cache: a copy of every record, in the prefix trees of its VRF's context.
#pragma once

#include "cache/lookup.h"

#include <kov/kov_cache.h>

// Applies one prefix's record (null: the prefix is gone). `rec` may stand in the decode buffer. 1, or 0 for a
// null key, a family above 1, out of memory, or a tree that refuses.
u32 kov_cache_aggr_subnet_pfx(const kov_rdb_aggr_sub_pfx_t *rec, const kov_aggr_prefix_key *key);

// Removes one prefix, and its VRF's context with the last. An `entry` that is given and not in the cache any
// more is left alone; it can only take with it a context that nothing refers to. 1, or 0 for a null key.
u32 kov_clear_cache_aggr_subnet_pfx(const kov_rdb_aggr_sub_pfx_t *entry, const kov_aggr_prefix_key *key);

namespace kov
{

void *lookup_aggr_subnet_pfx(const kov_rdb_key &key);
void *step_aggr_subnet_pfx(kov_rdb_iter &iter);

} // namespace kov
