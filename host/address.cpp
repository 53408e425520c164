// Addresses as text, in the host's rotating buffers.
#include "support.h"

#include <kov/platform/address.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstdio>
#include <cstring>

using kov_host::print_buffer;
using kov_host::print_buffer_size;

static_assert(print_buffer_size > INET6_ADDRSTRLEN + sizeof "/255");

namespace
{

int print_v4(char *out, uint32_t host_order)
{
    return std::snprintf(out, print_buffer_size, "%u.%u.%u.%u", host_order >> 24, host_order >> 16 & 0xff,
                         host_order >> 8 & 0xff, host_order & 0xff);
}

std::size_t print_v6(char *out, const void *addr16)
{
    in6_addr address{};
    if (addr16 != nullptr)
        std::memcpy(&address, addr16, sizeof address);
    inet_ntop(AF_INET6, &address, out, static_cast<socklen_t>(print_buffer_size));
    return std::strlen(out);
}

// The length byte behind an address of `at` bytes, as text behind the `used` characters of the address.
void append_length(char *out, std::size_t used, const void *prefix, std::size_t at)
{
    std::snprintf(out + used, print_buffer_size - used, "/%u", static_cast<const uint8_t *>(prefix)[at]);
}

} // namespace

extern "C" {

const char *im_print_mac_addr(const uint8_t *mac)
{
    std::array<uint8_t, 6> m{};
    if (mac != nullptr)
        std::copy_n(mac, m.size(), m.begin());
    char *out = print_buffer();
    std::snprintf(out, print_buffer_size, "%02x%02x.%02x%02x.%02x%02x", m[0], m[1], m[2], m[3], m[4], m[5]);
    return out;
}

const char *ip_print_addr(uint32_t host_order)
{
    char *out = print_buffer();
    print_v4(out, host_order);
    return out;
}

const char *ipv6_print_addr(const void *addr16)
{
    char *out = print_buffer();
    print_v6(out, addr16);
    return out;
}

const char *ip_print_prefix(const void *prefix)
{
    uint32_t address = 0;
    std::memcpy(&address, prefix, sizeof address);
    char *out = print_buffer();
    append_length(out, static_cast<std::size_t>(print_v4(out, address)), prefix, sizeof address);
    return out;
}

const char *ipv6_print_prefix(const void *prefix, uint32_t with_len)
{
    char *out = print_buffer();
    const std::size_t used = print_v6(out, prefix);
    if (with_len != 0)
        append_length(out, used, prefix, sizeof(in6_addr));
    return out;
}

uint32_t ip_bits2mask(uint32_t bits)
{
    if (bits == 0)
        return 0;
    return bits >= 32 ? UINT32_MAX : UINT32_MAX << (32 - bits);
}

} // extern "C"
