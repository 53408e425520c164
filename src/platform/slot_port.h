// Where the per-slot records find an interface: the slot and port of a physical port, or the ones that stand
// for a port-channel. Counted from 0, as the platform does; the records count from 1.
#pragma once

#include "api/types.h"

// The interface types of the platform that the library tells apart.
constexpr u32 if_type_vlan = 9;
constexpr u32 if_type_port_channel = 22;
constexpr u32 if_type_ethernet = 26;
constexpr u32 if_type_satellite = 31;
constexpr u32 if_type_bdi = 55;

namespace kov
{

inline bool is_physical_port(u32 type) { return type == if_type_ethernet || type == if_type_satellite; }

} // namespace kov

// 0 and the place, or a non-zero status with slot and port as computed so far (0 to begin with). Slots up to
// 155 are physical; port-channels take those behind, 255 channels a slot, in 8-bit arithmetic that wraps.
int kov_ifindex_get_slot_port(u32 ifindex, u8 &slot, u8 &port);
