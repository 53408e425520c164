// Address prefixes as the records carry them: 20 bytes, the address and then its length in bits. An IPv4
// address is a number in host order, an IPv6 address 16 bytes in network order; of the length's four bytes
// only the first is looked at.
//
// The family of a prefix stands beside it. kov_records.h has kov_pfx_subnet_match, the one public call.
#pragma once

#include "api/bytes.h"

#include <kov/kov_records.h>

namespace kov
{

constexpr u32 family_v4 = 0;
constexpr u32 family_v6 = 1;
constexpr u32 families = 2;

using prefix_bytes = u8[20];

inline u32 address_size(u32 family) { return family == family_v6 ? 16 : 4; }

inline u8 prefix_length(u32 family, const void *prefix)
{
    return static_cast<const u8 *>(prefix)[address_size(family)];
}

// The prefix for a trace, in the platform's rotating storage. Every family but IPv6 prints as IPv4.
const char *prefix_text(u32 family, const void *prefix);

} // namespace kov
