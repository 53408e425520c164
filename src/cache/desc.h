// The cache descriptors of the context, and the memory that the caches count on them.
//
// A block is counted on its type's descriptor when it is allocated and uncounted when it is freed, so that
// allocs and bytes are what is live.
#pragma once

#include "api/context.h"

namespace kov
{

inline bool is_rdb_type(u32 type) { return type >= KOV_RDB_GENINFO && type <= KOV_RDB_L2RIB_TOPO_INFO; }

// The descriptor of a record type; null for 0 and all above 6.
inline kov_cache_desc *descriptor(u32 type) { return is_rdb_type(type) ? &kov_api.cache[type] : nullptr; }

// Whether a lookup that does not force the database is answered from the cache.
inline bool usable(const kov_cache_desc &desc) { return desc.cached && !desc.updating; }

// Whether a fill has nothing to do.
inline bool already_filled(const kov_cache_desc &desc) { return desc.cached && !desc.updating; }

inline void count_block(kov_cache_desc &desc, u32 size)
{
    desc.allocs += 1;
    desc.bytes += size;
}

inline void uncount_block(kov_cache_desc &desc, u32 size)
{
    desc.allocs -= 1;
    desc.bytes -= size;
}

// How the text that ends a fill or a clear says that it was for the whole type.
inline const char *all_text(s32 all) { return all ? "All" : ""; }

} // namespace kov

// The allocator of all caches: `size` bytes, cleared when `zero` is non-zero; null on failure.
void *kov_cache_alloc(u32 size, u32 zero);

// Ignores null.
void kov_cache_free(void *block);
