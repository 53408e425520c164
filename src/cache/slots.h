// The two per-slot caches: port tracking and port L2DCI. Each keeps a copy of every slot's port bits, in a
// tree by slot number. They are one cache twice; what differs stands in one struct a cache, in slots.cpp.
#pragma once

#include "cache/lookup.h"

#include <kov/kov_cache.h>

// Applies one slot's record (null: the slot's record is gone). 1, or 0 for slot 0, out of memory, or a tree
// that refuses.
u32 kov_cache_port_tracking(const kov_rdb_port_tracking_t *rec, u8 slot);
u32 kov_cache_port_l2dci(const kov_rdb_port_l2dci_t *rec, u8 slot);

// Removes one slot; `entry`, when given, only says that there is one. 1, or 0 for slot 0 or a tree that
// refuses.
u32 kov_clear_cache_port_tracking(const kov_rdb_port_tracking_t *entry, u8 slot);
u32 kov_clear_cache_port_l2dci(const kov_rdb_port_l2dci_t *entry, u8 slot);

namespace kov
{

void *lookup_port_tracking(const kov_rdb_key &key);
void *lookup_port_l2dci(const kov_rdb_key &key);
void *step_port_tracking(kov_rdb_iter &iter);
void *step_port_l2dci(kov_rdb_iter &iter);

} // namespace kov
