#include "log.h"

#include <cstdarg>
#include <cstdio>

namespace kov_lab
{
namespace
{

bool frames_wanted = false;

void line(const char *kind, const char *fmt, va_list args) __attribute__((format(printf, 2, 0)));
void line(const char *kind, const char *fmt, va_list args)
{
    char text[1024];
    std::vsnprintf(text, sizeof text, fmt, args);
    std::fprintf(stderr, "kovd: %s%s\n", kind, text);
}

} // namespace

void log_frames(bool on) { frames_wanted = on; }

void log_frame(const char *fmt, ...)
{
    if (!frames_wanted)
        return;
    va_list args;
    va_start(args, fmt);
    line("", fmt, args);
    va_end(args);
}

void log_problem(const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    line("warning: ", fmt, args);
    va_end(args);
}

} // namespace kov_lab
