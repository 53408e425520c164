// The general-information cache: one heap copy of the one record, hung from the type-1 descriptor.
//
// A copy that carries nothing but defaults may be dropped while the type stays cached; a cached lookup then
// finds nothing, until the next fill.
#pragma once

#include "cache/lookup.h"

#include <kov/kov_cache.h>

// The record, from the cache unless `force_rdb`; null when there is none or when not initialised.
kov_rdb_geninfo_t *kov_get_geninfo_from_rdb(u32 force_rdb);

// 1 when the record holds nothing that a client would miss (also for null), else 0.
u32 kov_can_cleanup_geninfo(const kov_rdb_geninfo_t *rec);

// Records the fabric control SVI (0: none) in the cached copy. It may read the database, and so refill the
// decode buffer.
void kov_cache_geninfo_set_fabric_ctrl_svi(u32 svi_ifindex);

namespace kov
{

void *lookup_geninfo(const kov_rdb_key &key);

} // namespace kov
