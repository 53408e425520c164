#include "support.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <unistd.h>

// The library asks this flag before it initialises itself. A process that wants it to wait defines its own,
// which then stands in for this one.
extern "C" {
extern uint32_t kov_api_wait_for_init;
uint32_t kov_api_wait_for_init = 0;
}

namespace kov_host
{
namespace
{

constexpr std::size_t error_size = 512;
std::array<char, error_size> error_text{};

void vset_error(const char *fmt, va_list args)
{
    std::array<char, error_size> fresh{};
    if (std::vsnprintf(fresh.data(), fresh.size(), fmt, args) < 0)
        std::strcpy(fresh.data(), "unprintable failure");
    error_text = fresh;
}

} // namespace

void set_error(const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    vset_error(fmt, args);
    va_end(args);
}

int fail(const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    vset_error(fmt, args);
    va_end(args);
    return -1;
}

kov_host_counters &counters()
{
    static kov_host_counters instance{};
    return instance;
}

char *print_buffer()
{
    static std::array<std::array<char, print_buffer_size>, 16> ring{};
    static std::size_t next = 0;
    next = (next + 1) % ring.size();
    return ring[next].data();
}

namespace
{
pid_t owner = 0;
}

void own_files() { owner = ::getpid(); }

void remove_owned(const std::string &path)
{
    if (owner == ::getpid())
        ::unlink(path.c_str());
}

void Fd::reset()
{
    if (fd_ >= 0)
        ::close(std::exchange(fd_, -1));
}

} // namespace kov_host

extern "C" const char *kov_host_error(void) { return kov_host::error_text.data(); }

extern "C" void kov_host_counters_get(kov_host_counters *out)
{
    if (out != nullptr)
        *out = kov_host::counters();
}
