// The interface types of the platform that the library tells apart.
#pragma once

#include "api/types.h"

#include <kov/platform/interfaces.h>

constexpr u32 if_type_vlan = 9;
constexpr u32 if_type_port_channel = 22;
constexpr u32 if_type_ethernet = 26;
constexpr u32 if_type_satellite = 31;
constexpr u32 if_type_bdi = 55;

namespace kov
{

inline bool is_physical_port(u32 type) { return type == if_type_ethernet || type == if_type_satellite; }

// False also when the platform cannot tell the type.
inline bool has_type(u32 ifindex, u32 wanted)
{
    u32 type = 0;
    return if_index_get_type(ifindex, &type) == 0 && type == wanted;
}

// A VLAN interface or a bridge-domain interface. Two questions: a platform may fail the one and answer the
// other.
inline bool has_svi_type(u32 ifindex)
{
    return has_type(ifindex, if_type_vlan) || has_type(ifindex, if_type_bdi);
}

} // namespace kov
