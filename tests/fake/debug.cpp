// The debug wrapper and the command line: traces and prints are recorded as formatted text.
#include "internal.h"

#include <kov/platform/cli.h>
#include <kov/platform/dbgw.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace fake
{

std::string format(const char *fmt, va_list args)
{
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, fmt, again);
    va_end(again);
    std::string text(length < 0 ? 0 : static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, fmt, args);
    return text;
}

unsigned Debug::checks() const { return platform().calls.count(Call::dbgw_library_chk_int); }

bool Debug::is_on(uint32_t lib, uint32_t level, const std::string &tty) const
{
    const auto at = terminals.find({lib, level});
    return at != terminals.end() && at->second.count(tty) != 0;
}

std::vector<std::string> Debug::texts() const
{
    std::vector<std::string> all;
    for (const Trace &trace : traces)
        all.push_back(trace.text);
    return all;
}

bool Debug::traced(const std::string &text) const
{
    return std::any_of(traces.begin(), traces.end(), [&](const Trace &t) { return t.text == text; });
}

} // namespace fake

using namespace fake;

// "other" shows when the wrong element is read.
#define KOV_TEN_OTHERS                                                                                       \
    "other", "other", "other", "other", "other", "other", "other", "other", "other", "other"
const char *const dbgw_lib_id_and_names[] = {
    KOV_TEN_OTHERS, KOV_TEN_OTHERS, KOV_TEN_OTHERS, KOV_TEN_OTHERS, KOV_TEN_OTHERS, KOV_TEN_OTHERS,
    "other",        "other",        "other",        "other",        "other",        "other",
    "other",        "kov",          "other",        "other",
};
const char *dbgw_library_dbg_pid_and_tag = "[4242] unit";
const char *dbgw_dbg_modname = "kov-unit";

namespace
{

constexpr uint32_t libraries = 70, levels = 32;

// A null name or an unknown library or level is refused; any other name is a terminal.
std::set<std::string> *terminals_of(uint32_t lib, uint32_t level, const char *tty)
{
    if (lib >= libraries || level >= levels || !tty || !*tty)
        return nullptr;
    return &platform().debug.terminals[{lib, level}];
}

} // namespace

int dbgw_library_chk_int(uint32_t lib, uint32_t level)
{
    enter(Call::dbgw_library_chk_int);
    const Debug &debug = platform().debug;
    if (debug.check_answer)
        return *debug.check_answer;
    const auto at = debug.terminals.find({lib, level});
    return at != debug.terminals.end() && !at->second.empty();
}

int dbgw_library_dbg_enable(uint32_t lib, uint32_t level, const char *tty)
{
    auto *const on = enter(Call::dbgw_library_dbg_enable) ? nullptr : terminals_of(lib, level, tty);
    if (!on)
        return EINVAL;
    on->insert(tty);
    return 0;
}

int dbgw_library_dbg_disable(uint32_t lib, uint32_t level, const char *tty)
{
    auto *const on = enter(Call::dbgw_library_dbg_disable) ? nullptr : terminals_of(lib, level, tty);
    if (!on)
        return EINVAL;
    on->erase(tty);
    return 0;
}

void tracef_func(int level, const char *module, const char *prefix, int zero, const char *fmt, ...)
{
    enter(Call::tracef_func);
    va_list args;
    va_start(args, fmt);
    platform().debug.traces.push_back({level, module, prefix, format(fmt, args), zero});
    va_end(args);
    errno = ENOTTY; // as a trace may
}

namespace
{

Cli &command(void *cli) { return *static_cast<Cli *>(cli); }

} // namespace

int cli_get_string(void *cli, const char *field, const char **out)
{
    const auto &fields = command(cli).fields;
    const auto at = fields.find(field);
    if (enter(Call::cli_get_string) || at == fields.end())
        return ENOENT;
    *out = at->second ? at->second->c_str() : nullptr;
    return 0;
}

int cli_is_set(void *cli, const char *name)
{
    enter(Call::cli_is_set);
    return command(cli).words.count(name) != 0;
}

uint32_t cli_cmd_printf(void *cli, const char *fmt, ...)
{
    enter(Call::cli_cmd_printf);
    Cli &to = command(cli);
    va_list args;
    va_start(args, fmt);
    to.prints.push_back(format(fmt, args));
    va_end(args);
    to.output += to.prints.back();
    return to.print_result;
}

int cli_more_output(void *cli)
{
    Cli &to = command(cli);
    const bool stop = enter(Call::cli_more_output);
    ++to.questions;
    if (to.on_more)
        to.on_more(to.questions);
    return !stop && to.stop_at != to.questions;
}
