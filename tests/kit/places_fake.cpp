// The interfaces and the card of the fake platform: those that a test has put there.
#include "places.h"

#include <fake/fake.h>

namespace
{

fake::Interfaces &interfaces() { return fake::platform().interfaces; }

} // namespace

uint32_t kit::port_index(uint8_t slot, uint8_t port)
{
    const uint32_t ifindex = 0x10000000u | static_cast<uint32_t>(slot) << 8 | port;
    interfaces().add_port(ifindex, slot, port);
    return ifindex;
}

uint32_t kit::channel_index(uint16_t channel)
{
    const uint32_t ifindex = 0x20000000u | channel;
    interfaces().add_channel(ifindex, channel);
    return ifindex;
}

uint32_t kit::vlan_index(uint16_t vlan)
{
    const uint32_t ifindex = 0x30000000u | vlan;
    interfaces().add_vlan(ifindex, "");
    return ifindex;
}

uint32_t kit::bdi_index(uint16_t bridge_domain)
{
    const uint32_t ifindex = 0x40000000u | bridge_domain;
    interfaces().add_bdi(ifindex, "");
    return ifindex;
}

void kit::set_iod(int32_t iod, uint32_t ifindex)
{
    if (ifindex == 0)
        interfaces().index_by_iod.erase(iod);
    else
        interfaces().index_by_iod[iod] = ifindex;
}

void kit::set_card(uint16_t type) { fake::platform().card.type = type; }
void kit::remove_card() { fake::platform().card.type.reset(); }

void kit::set_vrf(uint32_t vrf_id, const char *name)
{
    auto &names = fake::platform().routes.vrf_names;
    if (name)
        names[vrf_id] = name;
    else
        names.erase(vrf_id);
}

const void *kit::route_with(bool, bool conditional, bool converted)
{
    static fake::Route route;
    route = {conditional, converted};
    return &route;
}
