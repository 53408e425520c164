// Where the codec's error reports go: to stderr, or to the process's own function.
#include "kov_host.h"

#include <kov/platform/fcodec.h>

#include <cstdarg>
#include <cstdio>

namespace
{

void print_to_stderr(const char *text, void *) { std::fputs(text, stderr); }

struct Hook {
    kov_host_codec_error_fn fn = print_to_stderr;
    void *arg = nullptr;
};
Hook hook;

} // namespace

extern "C" {

void fcodec_error_print(const char *fmt, ...)
{
    char text[512] = "";
    va_list args;
    va_start(args, fmt);
    std::vsnprintf(text, sizeof text, fmt, args);
    va_end(args);
    hook.fn(text, hook.arg);
}

void kov_host_on_codec_error(kov_host_codec_error_fn cb, void *arg)
{
    hook = cb == nullptr ? Hook{} : Hook{cb, arg};
}

} // extern "C"
