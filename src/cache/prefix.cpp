#include "cache/prefix.h"

#include <kov/platform/address.h>

namespace
{

constexpr u32 v6_bits = 128;

bool v4_inside(const void *inner, const void *outer)
{
    const u32 mask = ip_bits2mask(kov::prefix_length(kov::family_v4, outer));
    return ((kov::load<u32>(inner) ^ kov::load<u32>(outer)) & mask) == 0;
}

// The first `bits` bits of an address, as a prefix.
// Deliberate: with more than 128 bits nothing is masked, and the result is empty.
kov_v6_prefix masked(const void *addr, u8 bits)
{
    kov_v6_prefix prefix = {};
    if (bits > v6_bits)
        return prefix;
    const u32 whole = bits / 8;
    const u32 rest = bits % 8;
    std::memcpy(prefix.addr, addr, whole);
    if (rest != 0)
        prefix.addr[whole] = static_cast<u8>(static_cast<const u8 *>(addr)[whole] & ~(0xFF >> rest));
    prefix.len = bits;
    return prefix;
}

bool v6_inside(const void *inner, const void *outer)
{
    const u8 bits = kov::prefix_length(kov::family_v6, outer);
    const kov_v6_prefix a = masked(inner, bits);
    const kov_v6_prefix b = masked(outer, bits);
    return std::memcmp(&a, &b, sizeof a) == 0;
}

} // namespace

const char *kov::prefix_text(u32 family, const void *prefix)
{
    if (family == family_v6)
        return prefix ? ipv6_print_prefix(prefix, 1) : "0::/0";
    // Deliberate: no IPv4 prefix prints with a length of 24.
    return prefix ? ip_print_prefix(prefix) : "0.0.0.0/24";
}

u32 kov_pfx_subnet_match(u32 family, const void *inner, const void *outer)
{
    if (!inner || !outer || family >= kov::families)
        return 0;
    if (kov::prefix_length(family, inner) < kov::prefix_length(family, outer))
        return 0;
    return family == kov::family_v4 ? v4_inside(inner, outer) : v6_inside(inner, outer);
}
