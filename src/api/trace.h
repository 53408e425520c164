// Debug traces.
//
// KOV_TRACE(format, ...) is one load and one branch while tracing is off. Its arguments are evaluated only
// when the trace is printed: some take a print buffer from the ring, and which buffers are taken can be seen.
// A trace never changes a result; save errno before one.
#pragma once

#include "api/context.h"

#include <kov/platform/dbgw.h>

namespace kov
{

// This library as the platform's debug wrapper knows it.
constexpr u32 debug_library = 33;
constexpr u32 debug_level = 1;
constexpr u32 debug_name_entry = 67; // Deliberate: the name table's entry is 67, not the library id 33.

// Whether anybody wants traces; one load and one branch when nobody does.
inline bool tracing() { return kov_api.debug_enabled && dbgw_library_chk_int(debug_library, debug_level); }

// "<library name> <process id and tag>", in static storage of 200 characters.
const char *trace_prefix();

} // namespace kov

#define KOV_TRACE(...)                                                                                       \
    do {                                                                                                     \
        if (kov::tracing())                                                                                  \
            tracef_func(static_cast<int>(kov::debug_level), dbgw_dbg_modname, kov::trace_prefix(), 0,        \
                        __VA_ARGS__);                                                                        \
    } while (0)
