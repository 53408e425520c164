// The gates that every public call passes, as the rest of the library uses them.
//
// initialized() and not_registered() are the exported kov_api_initialized and kov_is_mtype_not_registered
// with their common case in line: a query that may use the cache reads two words of the context and goes on.
#pragma once

#include "api/context.h"

namespace kov
{

inline bool initialized() { return kov_api.initialized || kov_api_initialized(); }

// Deliberate: the shift count is taken modulo 32.
inline bool in_mask(u32 mtype) { return (kov_api.mtype_mask >> (mtype & 31)) & 1; }

// Whether an answer to `mtype` has to come from the database: the force flag of a lookup.
inline u32 not_registered(s32 mtype, const char *caller)
{
    if (kov_api.initialized && in_mask(static_cast<u32>(mtype))) [[likely]]
        return 0;
    return kov_is_mtype_not_registered(mtype, caller);
}

// The same for an answer that two message types stand for. The second gate is asked only when the first says
// that the client has not registered.
inline u32 not_registered(s32 first, s32 second, const char *caller)
{
    return not_registered(first, caller) ? not_registered(second, caller) : 0;
}

} // namespace kov
