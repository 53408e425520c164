// Reading a record: from the cache, or from the shared database.
//
// Every query ends here. Which of the two answers is decided per call: the cache when the type is filled, no
// update is being applied and the caller does not force the database; a miss in the cache then means that the
// record does not exist, and the database is not asked.
//
// A result points into library storage (a cache entry, a static record, the decode buffer) and holds only
// until the next lookup or step. Whoever needs more of it than one look copies it first.
#pragma once

#include "api/trace.h"
#include "cache/desc.h"

#include <kov/kov_records.h>

// The record under `key`, or null. A non-zero `force_rdb` never uses the cache.
void *kov_rdb_get_data_from_cache(const kov_rdb_key *key, u32 force_rdb);

// Decodes a database record into the decode buffer and points `out` at it. 1; 0 for a null key or record, or
// a type that does not exist.
u32 kov_rdb_get_data_from_tlv(const kov_rdb_key *key, const void *tlv, u32 tlv_len, void **out);

// A walk over all records of the key's type.
struct kov_rdb_iter {
    kov_rdb_key key; // its type is fixed; the rest is the key of the record last returned
    u32 first;       // 1 until the first step
    u32 force_rdb;   // non-zero: never use the cache; set it after kov_rdb_iter_init
    u32 cursor;      // the cache walk's position: the number last returned
    void *vrf;       // type 4: the VRF context being walked
};

// 1, or 0 when either pointer is null.
u32 kov_rdb_iter_init(kov_rdb_iter *iter, const kov_rdb_key *key);

// The next record, or null at the end. The cache may serve some steps and the database others.
void *kov_rdb_iter_get_next(kov_rdb_iter *iter);

namespace kov
{

// The two halves of a lookup, for the query that knows its record's type and needs no key to find it in the
// cache. First: whether the cache answers, and if so the hit is counted. In line, because a cached answer
// takes little more than this.
inline bool answers_from_cache(kov_cache_desc &desc, u32 type, u32 force_rdb)
{
    if (force_rdb || !usable(desc))
        return false;
    KOV_TRACE("Doing Cache based lookup for %d", static_cast<int>(type));
    desc.cache_hits += 1;
    return true;
}

// Second: the database's record under a key of an existing type, or null; counted too.
void *read_record(const kov_rdb_key &key);

// Opens the walk of a fill: over all records of `type`, always in the database. False (traced in `caller`'s
// name) when the iterator cannot be initialised.
bool begin_fill(kov_rdb_iter &iter, u32 type, const char *caller);

} // namespace kov
