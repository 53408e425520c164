#include "log.h"

#include <kov/platform/dbgw.h>

#include <cstdint>
#include <cstdio>

namespace kov_lab
{
namespace
{

bool frames_wanted = false;

// A process's traces have the library's number and level, whoever makes them.
constexpr std::uint32_t trace_library = 33;
constexpr std::uint32_t trace_level = 1;

bool terminals_want_frames() { return dbgw_library_chk_int(trace_library, trace_level) != 0; }

// To the terminals that asked.
void trace(const std::string &line)
{
    if (terminals_want_frames())
        tracef_func(trace_level, nullptr, "kovd", 0, "%s", line.c_str());
}

} // namespace

void log_frames(bool on) { frames_wanted = on; }

bool frames_are_logged() { return frames_wanted || terminals_want_frames(); }

void log_frame(const std::string &line)
{
    if (frames_wanted)
        std::fprintf(stderr, "kovd: %s\n", line.c_str());
    trace(line);
}

void log_problem(const std::string &line)
{
    std::fprintf(stderr, "kovd: warning: %s\n", line.c_str());
    trace("warning: " + line);
}

} // namespace kov_lab
