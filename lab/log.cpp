#include "log.h"

#include <kov/platform/dbgw.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>

namespace kov_lab
{
namespace
{

bool frames_wanted = false;

// One line, cut to its room.
struct Line {
    char text[1024];
    Line(const char *fmt, va_list args) __attribute__((format(printf, 2, 0)))
    {
        std::vsnprintf(text, sizeof text, fmt, args);
    }
};

// A process's traces have the library's number and level, whoever makes them.
constexpr std::uint32_t trace_library = 33;
constexpr std::uint32_t trace_level = 1;

bool terminals_want_frames() { return dbgw_library_chk_int(trace_library, trace_level) != 0; }

} // namespace

void log_frames(bool on) { frames_wanted = on; }

bool frames_are_logged() { return frames_wanted || terminals_want_frames(); }

void log_frame(const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const Line line(fmt, args);
    va_end(args);
    if (frames_wanted)
        std::fprintf(stderr, "kovd: %s\n", line.text);
    if (terminals_want_frames())
        tracef_func(trace_level, nullptr, "kovd", 0, "%s", line.text);
}

void log_problem(const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const Line line(fmt, args);
    va_end(args);
    std::fprintf(stderr, "kovd: warning: %s\n", line.text);
    if (terminals_want_frames())
        tracef_func(trace_level, nullptr, "kovd", 0, "warning: %s", line.text);
}

} // namespace kov_lab
