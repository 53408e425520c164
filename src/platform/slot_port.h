// Where the per-slot records find an interface: the slot and port of a physical port, or the ones that stand
// for a port-channel. Counted from 0, as the platform does; the records count from 1.
#pragma once

#include "api/types.h"

// 0 and the place, or a non-zero status with slot and port as computed so far (0 to begin with). Slots up to
// 155 are physical; port-channels take those behind, 255 channels a slot, in 8-bit arithmetic that wraps.
int kov_ifindex_get_slot_port(u32 ifindex, u8 &slot, u8 &port);
