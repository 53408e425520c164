// The interfaces, the card, the VRFs and the routes of the platform under test. What an index or a route
// looks like is the platform's business, so whoever brings a platform to the kit also brings a source with
// these functions (places_host.cpp, places_fake.cpp).
#pragma once

#include <cstdint>

namespace kit
{

// The index of a physical port, counted from 0 as the platform counts; of a port-channel; of a VLAN
// interface (1 to 4094); of a bridge domain's interface (1 to 65535). The interface exists from then on.
uint32_t port_index(uint8_t slot, uint8_t port);
uint32_t channel_index(uint16_t channel);
uint32_t vlan_index(uint16_t vlan);
uint32_t bdi_index(uint16_t bridge_domain);

// Gives an interface the local number `iod`; index 0 takes the number back.
void set_iod(int32_t iod, uint32_t ifindex);

// Gives a VRF its name; null takes it back.
void set_vrf(uint32_t vrf_id, const char *name);

// A route of either family with these flags; it holds until the next call.
const void *route_with(bool v6, bool conditional, bool converted);

// Gives the machine a card of a type, or takes the card away, so that it cannot be read.
void set_card(uint16_t type);
void remove_card();

} // namespace kit
