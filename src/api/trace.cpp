#include "api/trace.h"

#include <kov/platform/osal.h>

const char *kov::trace_prefix()
{
    static char prefix[200];
    osal_snprintf(prefix, sizeof prefix, "%s %s", dbgw_lib_id_and_names[debug_name_entry],
                  dbgw_library_dbg_pid_and_tag);
    return prefix;
}
