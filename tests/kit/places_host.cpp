// The interfaces of libkov_host: every index exists, and its name says which it is. And its card.
#include "places.h"

#include <kov_host.h>

#include <stdexcept>
#include <string>

namespace
{

uint32_t index_of(const std::string &name)
{
    const uint32_t ifindex = kov_host_ifindex_parse(name.c_str());
    if (ifindex == 0)
        throw std::invalid_argument("no interface " + name);
    return ifindex;
}

} // namespace

uint32_t kit::port_index(uint8_t slot, uint8_t port)
{
    return index_of("eth" + std::to_string(slot + 1) + "/" + std::to_string(port + 1));
}

uint32_t kit::channel_index(uint16_t channel) { return index_of("po" + std::to_string(channel)); }
uint32_t kit::vlan_index(uint16_t vlan) { return index_of("vlan" + std::to_string(vlan)); }
uint32_t kit::bdi_index(uint16_t bridge_domain) { return index_of("bdi" + std::to_string(bridge_domain)); }

void kit::set_iod(int32_t iod, uint32_t ifindex)
{
    if (kov_host_iod_set(iod, ifindex) != 0)
        throw std::invalid_argument(kov_host_error());
}

void kit::set_card(uint16_t type)
{
    if (kov_host_card_set(type) != 0)
        throw std::invalid_argument(kov_host_error());
}

void kit::remove_card() { kov_host_card_set(-1); }

void kit::set_vrf(uint32_t vrf_id, const char *name)
{
    if (kov_host_vrf_set(vrf_id, name) != 0)
        throw std::invalid_argument(kov_host_error());
}

const void *kit::route_with(bool v6, bool conditional, bool converted)
{
    uint32_t flags = 0;
    flags |= conditional ? uint32_t{KOV_HOST_ROUTE_CONDITIONAL} : 0;
    flags |= converted ? uint32_t{KOV_HOST_ROUTE_CONVERTED} : 0;
    if (kov_host_route_set(1, v6 ? "2001:db8::/32" : "10.0.0.0/8", flags) != 0)
        throw std::invalid_argument(kov_host_error());
    return kov_host_route_find(1, v6 ? "2001:db8::1" : "10.0.0.1");
}
