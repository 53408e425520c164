// Which library traces at which level on which terminal, and the way of a trace to there.
//
// The names stand in pairs, number and name, so library n's name is element 2n + 1: 67 for library 33. A
// trace does not say which library it is from, but its prefix begins with the library's name.
#include "support.h"
#include "terminals.h"

#include <kov/platform/dbgw.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <memory>
#include <vector>

#define UNUSED_PAIR "-", "-"
#define UNUSED_PAIRS_11                                                                                      \
    UNUSED_PAIR, UNUSED_PAIR, UNUSED_PAIR, UNUSED_PAIR, UNUSED_PAIR, UNUSED_PAIR, UNUSED_PAIR, UNUSED_PAIR,  \
        UNUSED_PAIR, UNUSED_PAIR, UNUSED_PAIR

extern "C" {
const char *const dbgw_lib_id_and_names[68] = {UNUSED_PAIRS_11, UNUSED_PAIRS_11, UNUSED_PAIRS_11, "33",
                                               "kov_api"};
const char *dbgw_library_dbg_pid_and_tag = "[-]";
const char *dbgw_dbg_modname = "kov-host";
}

namespace kov_host
{
namespace
{

constexpr std::size_t library_count = 34;
constexpr std::size_t level_count = 8;

using Switches = std::bitset<library_count * level_count>;

struct Terminal {
    TraceFn fn;
    Switches on;
};

bool to_stderr(std::string_view line)
{
    return std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data()) >= 0;
}

// Never destroyed: sessions that end with the process still look here.
std::map<std::string, Terminal> &terminals()
{
    static auto *instance = new std::map<std::string, Terminal>{{"stderr", {to_stderr, {}}}};
    return *instance;
}

// The switches of all terminals together, what the check looks at.
Switches anywhere;

void refresh_anywhere()
{
    anywhere.reset();
    for (const auto &[name, terminal] : terminals())
        anywhere |= terminal.on;
}

bool known(std::uint32_t lib, std::uint32_t level) { return lib < library_count && level < level_count; }

std::size_t bit(std::size_t lib, std::size_t level) { return lib * level_count + level; }

int switch_level(std::uint32_t lib, std::uint32_t level, const char *tty, bool on)
{
    if (!known(lib, level))
        return fail("library %u has no debug level %u", lib, level);
    if (tty == nullptr || tty[0] == '\0')
        return fail("no terminal named");
    const auto at = terminals().find(tty);
    if (at == terminals().end())
        return fail("no terminal '%s'", tty);
    at->second.on.set(bit(lib, level), on);
    refresh_anywhere();
    return 0;
}

// The library whose name begins the prefix; library_count when there is none.
std::size_t library_of(std::string_view prefix)
{
    const std::string_view word = prefix.substr(0, prefix.find(' '));
    for (std::size_t lib = 0; lib < library_count; ++lib)
        if (word == dbgw_lib_id_and_names[2 * lib + 1])
            return lib;
    return library_count;
}

bool wants(const Terminal &terminal, std::size_t lib, std::size_t level)
{
    if (lib < library_count)
        return terminal.on.test(bit(lib, level));
    for (std::size_t any = 0; any < library_count; ++any)
        if (terminal.on.test(bit(any, level)))
            return true;
    return false;
}

std::string format(const char *fmt, va_list args)
{
    va_list again;
    va_copy(again, args);
    const int size = std::vsnprintf(nullptr, 0, fmt, again);
    va_end(again);
    if (size < 0)
        return "(unprintable)";
    std::string text(static_cast<std::size_t>(size) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), fmt, args);
    text.pop_back();
    return text;
}

void trace(std::size_t level, std::string_view prefix, std::string text)
{
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    const std::string line = std::string(prefix) + ": " + text;
    const std::size_t lib = library_of(prefix);
    std::vector<TraceFn> readers; // a terminal that turns out to be gone removes itself
    for (const auto &[name, terminal] : terminals())
        if (wants(terminal, lib, level))
            readers.push_back(terminal.fn);
    for (const TraceFn &reader : readers) {
        std::uint64_t &counted = reader(line) ? counters().traces : counters().traces_dropped;
        ++counted;
    }
}

} // namespace

void add_terminal(const std::string &name, TraceFn fn) { terminals()[name] = Terminal{std::move(fn), {}}; }

void remove_terminal(const std::string &name)
{
    terminals().erase(name);
    refresh_anywhere();
}

void set_trace_tag(const std::string &tag)
{
    static std::string kept;
    kept = tag;
    dbgw_library_dbg_pid_and_tag = kept.c_str();
}

} // namespace kov_host

using namespace kov_host;

extern "C" {

int dbgw_library_chk_int(uint32_t lib, uint32_t level)
{
    return known(lib, level) && anywhere.test(bit(lib, level)) ? 1 : 0;
}

int dbgw_library_dbg_enable(uint32_t lib, uint32_t level, const char *tty)
{
    return guarded(-1, [&] { return switch_level(lib, level, tty, true); });
}

int dbgw_library_dbg_disable(uint32_t lib, uint32_t level, const char *tty)
{
    return guarded(-1, [&] { return switch_level(lib, level, tty, false); });
}

void tracef_func(int level, const char * /*module*/, const char *prefix, int /*zero*/, const char *fmt, ...)
{
    if (fmt == nullptr || level < 0 || static_cast<std::size_t>(level) >= level_count)
        return;
    va_list args;
    va_start(args, fmt);
    guarded(0, [&] {
        trace(static_cast<std::size_t>(level), prefix == nullptr ? "" : prefix, format(fmt, args));
        return 0;
    });
    va_end(args);
}

} // extern "C"
