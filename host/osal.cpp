// Bounded strings and endpoint ids.
#include <kov/platform/osal.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace
{

std::size_t bounded_length(const char *text, std::size_t limit)
{
    const void *end = std::memchr(text, '\0', limit);
    return end == nullptr ? limit : static_cast<std::size_t>(static_cast<const char *>(end) - text);
}

} // namespace

extern "C" {

char *osal_strcpy(char *dst, const char *src, uint32_t cap)
{
    if (dst == nullptr || cap == 0)
        return dst;
    const std::size_t length = src == nullptr ? 0 : bounded_length(src, cap - 1);
    if (length > 0)
        std::memmove(dst, src, length);
    dst[length] = '\0';
    return dst;
}

char *osal_strcat(char *dst, const char *src, uint32_t cap)
{
    if (dst == nullptr || cap == 0)
        return dst;
    const std::size_t used = bounded_length(dst, cap - 1);
    osal_strcpy(dst + used, src, static_cast<uint32_t>(cap - used));
    return dst;
}

int osal_snprintf(char *dst, uint32_t cap, const char *fmt, ...)
{
    if (dst == nullptr || cap == 0)
        return 0;
    va_list args;
    va_start(args, fmt);
    const int wanted = std::vsnprintf(dst, cap, fmt, args);
    va_end(args);
    if (wanted < 0) {
        dst[0] = '\0';
        return wanted;
    }
    return static_cast<uint32_t>(wanted) < cap ? wanted : static_cast<int>(cap - 1);
}

uint32_t osal_get_epid(int32_t pid) { return pid < 1 ? 0 : static_cast<uint32_t>(pid); }

} // extern "C"
