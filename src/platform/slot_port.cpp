#include "platform/slot_port.h"

#include "platform/interface_types.h"

#include <kov/platform/interfaces.h>

namespace
{

constexpr int failed = -1;
constexpr u8 last_physical_slot = 155;
constexpr u8 no_slot = 255;
constexpr u8 no_port = 255;
constexpr u32 channels_per_slot = 255;

int physical(u32 ifindex, u8 &slot, u8 &port)
{
    const int slot_status = if_index_get_slot(ifindex, &slot);
    if (slot_status != 0)
        return slot_status;
    const int port_status = if_index_get_port(ifindex, &port);
    return slot > last_physical_slot ? failed : port_status;
}

// Deliberate: the slot is kept in 8 bits. Channels from 25500 on fall on the slots of physical ports again.
int port_channel(u32 ifindex, u8 &slot, u8 &port)
{
    u16 channel = 0;
    const int status = if_index_port_channel_get_fields(ifindex, &channel);
    if (status != 0)
        return status;
    slot = static_cast<u8>(last_physical_slot + 1 + channel / channels_per_slot);
    port = static_cast<u8>(channel % channels_per_slot);
    return slot == no_slot ? failed : 0;
}

} // namespace

int kov_ifindex_get_slot_port(u32 ifindex, u8 &slot, u8 &port)
{
    slot = 0;
    port = 0;
    u32 type = 0;
    int status = failed;
    if (ifindex == 0 || if_index_get_type(ifindex, &type) != 0)
        return failed;
    if (kov::is_physical_port(type))
        status = physical(ifindex, slot, port);
    else if (type == if_type_port_channel)
        status = port_channel(ifindex, slot, port);
    return port == no_port ? failed : status;
}
