// Keys: which record a message type stands for, and how a record is named to the database and to a tree.
#pragma once

#include "api/types.h"

#include <kov/kov_records.h>

// The record type behind a client message type; KOV_RDB_NO_TYPE (7) when there is none.
u32 kov_mtype_to_rdb_type(u32 mtype);

// An address as the key of a prefix tree: 4 bytes in network order from an IPv4 address in host order (`af`
// 0), the 16 bytes as they are for IPv6 (`af` 1). Static storage, one per family: holds until the next call
// of that family. Null for any other family and for a null address.
const void *kov_prefix_tree_key(u32 af, const void *addr);

// The database key of an aggregate prefix; `vrf` and `prefix` (20 bytes) may be null and are then left zero.
void kov_rdb_aggr_key_init(kov_rdb_key *key, const char *vrf, const void *prefix, u32 af);

namespace kov
{

// A database key of a type that is found by number, or by its type alone.
kov_rdb_key number_key(u32 type, u32 number = 0);

} // namespace kov
