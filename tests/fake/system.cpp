// Strings, system manager, clock, scheduler.
#include "internal.h"

#include <kov/platform/coop_sched.h>
#include <kov/platform/osal.h>
#include <kov/platform/svcmgr.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace fake
{

std::string System::uri(const std::string &name)
{
    return platform().system.running_uri.value_or("") + "/0/" + name;
}

void Scheduler::yield()
{
    ++yields;
    std::function<void()> task = at_every_yield; // copies: a task may change the plan
    if (const auto at = at_yield.find(yields); at != at_yield.end())
        task = at->second;
    if (task)
        task();
}

} // namespace fake

using namespace fake;

char *osal_strcpy(char *dst, const char *src, uint32_t cap)
{
    enter(Call::osal_strcpy);
    if (!dst || cap == 0)
        return dst;
    const std::size_t length = src ? strnlen(src, cap - 1) : 0;
    if (length != 0)
        std::memmove(dst, src, length);
    dst[length] = '\0';
    return dst;
}

char *osal_strcat(char *dst, const char *src, uint32_t cap)
{
    enter(Call::osal_strcat);
    if (!dst || cap == 0)
        return dst;
    const std::size_t used = strnlen(dst, cap);
    if (used == cap) {
        dst[cap - 1] = '\0';
        return dst;
    }
    const std::size_t length = src ? strnlen(src, cap - 1 - used) : 0;
    if (length != 0)
        std::memcpy(dst + used, src, length);
    dst[used + length] = '\0';
    return dst;
}

int osal_snprintf(char *dst, uint32_t cap, const char *fmt, ...)
{
    enter(Call::osal_snprintf);
    va_list args;
    va_start(args, fmt);
    const int length = std::vsnprintf(dst, dst ? cap : 0, fmt, args);
    va_end(args);
    if (length < 0)
        return length;
    if (!dst || cap == 0)
        return 0;
    return length < static_cast<int>(cap) ? length : static_cast<int>(cap) - 1;
}

uint32_t osal_get_epid(int32_t pid)
{
    enter(Call::osal_get_epid);
    return System::epid(pid);
}

const char *svcmgr_running_cfg_uri_get(void)
{
    const auto &uri = platform().system.running_uri;
    return enter(Call::svcmgr_running_cfg_uri_get) || !uri ? nullptr : uri->c_str();
}

const char *svcmgr_uri_complete(const char *base, uint32_t kind, const char *name)
{
    static char uri[256];
    if (enter(Call::svcmgr_uri_complete) || !base || !name)
        return nullptr;
    const int length = std::snprintf(uri, sizeof uri, "%s/%u/%s", base, kind, name);
    return length < static_cast<int>(sizeof uri) ? uri : nullptr;
}

uint32_t svcmgr_uuid_get(void)
{
    enter(Call::svcmgr_uuid_get);
    return System::uuid;
}

void orb_sys_mclock_get(uint64_t *out)
{
    enter(Call::orb_sys_mclock_get);
    const uint64_t now = platform().system.clock++;
    std::memcpy(out, &now, sizeof now);
}

void coop_sched_may_yield(void)
{
    enter(Call::coop_sched_may_yield);
    platform().sched.yield();
}

int coop_should_sched_yield(void)
{
    enter(Call::coop_should_sched_yield);
    return platform().sched.time_is_up;
}

void coop_sched_yield(void)
{
    enter(Call::coop_sched_yield);
    platform().sched.yield();
}
