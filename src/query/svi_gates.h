// Which registrations let the answer about an SVI come from the cache. Both give the force flag of a lookup;
// the order of the questions shows in the traces.
#pragma once

#include "api/gate.h"

#include <kov/kov_messages.h>

namespace kov
{

// Registered for either of the two forwarding mode messages.
inline u32 fwd_mode_gate(const char *caller)
{
    return not_registered(KOV_MTYPE_SVI_FWD_MODE, KOV_MTYPE_SVI_FWD_MODE_CHANGE, caller);
}

// ARP suppression follows the topologies' messages: registered for those, and for a forwarding mode message.
inline u32 suppress_arp_gate(const char *caller)
{
    const u32 force_rdb = fwd_mode_gate(caller);
    return force_rdb ? force_rdb : not_registered(KOV_MTYPE_SUPPRESS_ARP_TOPO, caller);
}

} // namespace kov
