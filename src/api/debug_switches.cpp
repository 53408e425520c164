// Tracing on and off, per terminal.
#include "api/trace.h"

#include <kov/platform/cli.h>

namespace
{

// The terminal of a command-line context; null when it names none.
const char *terminal_of(void *cli)
{
    const char *name = nullptr;
    if (!cli || cli_get_string(cli, "_CLI_TTY_NAME_FIELD", &name) != 0 || !name || !name[0])
        return nullptr;
    return name;
}

u32 switch_on(const char *tty)
{
    kov_api.debug_enabled = 1;
    dbgw_library_dbg_enable(kov::debug_library, kov::debug_level, tty);
    return 1;
}

u32 switch_off(const char *tty)
{
    kov_api.debug_enabled = 0;
    dbgw_library_dbg_disable(kov::debug_library, kov::debug_level, tty);
    return 1;
}

} // namespace

u32 kov_api_debug_on(void *cli)
{
    const char *tty = terminal_of(cli);
    return tty ? switch_on(tty) : 0;
}

u32 kov_api_debug_off(void *cli)
{
    const char *tty = terminal_of(cli);
    return tty ? switch_off(tty) : 0;
}

// Deliberate: an empty name is a name here; only the command-line form takes it for none.
u32 kov_api_vty_dbg_on(const char *tty) { return tty ? switch_on(tty) : 0; }
u32 kov_api_vty_dbg_off(const char *tty) { return tty ? switch_off(tty) : 0; }
