// One row a record type: the functions of its cache.
#pragma once

#include "cache/lookup.h"

// Fills (or clears) the whole type for (1, null), one record for (0, its key). Non-zero on success.
using kov_rdb_cache_fn = u32 (*)(s32 all, const void *key);

namespace kov
{

struct cache_type {
    kov_rdb_cache_fn fill;
    kov_rdb_cache_fn clear;
    void *(*lookup)(const kov_rdb_key &key); // the cached record under the key
    void *(*step)(kov_rdb_iter &iter);       // the next record of a walk over the cache
};

// The row of a type; a row without fill and clear for 0 and for all above 6.
const cache_type &cache_of(u32 type);

} // namespace kov

// The fill function of a type, null when there is none.
kov_rdb_cache_fn kov_rdb_type_cache_fn(u32 type);
