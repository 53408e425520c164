// Interfaces by a table that tests fill, and addresses as text.
#include "internal.h"

#include <kov/platform/address.h>
#include <kov/platform/interfaces.h>

#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace fake
{

void Interfaces::add_vlan(uint32_t ifindex, const std::string &name)
{
    by_index[ifindex] = {vlan_type, 0, 0, 0, name};
}

void Interfaces::add_bdi(uint32_t ifindex, const std::string &name)
{
    by_index[ifindex] = {bdi_type, 0, 0, 0, name};
}

void Interfaces::add_port(uint32_t ifindex, uint8_t slot, uint8_t port, const std::string &name)
{
    by_index[ifindex] = {port_type, slot, port, 0, name};
}

void Interfaces::add_channel(uint32_t ifindex, uint16_t channel, const std::string &name)
{
    by_index[ifindex] = {channel_type, 0, 0, channel, name};
}

} // namespace fake

using namespace fake;

namespace
{

const Interface *find(Call call, uint32_t ifindex)
{
    const auto &known = platform().interfaces.by_index;
    const auto at = known.find(ifindex);
    return enter(call) || at == known.end() ? nullptr : &at->second;
}

// One field of an interface of the right kind: 0 and the value, or a status and the output as it was.
template <class T>
int get(const Interface *interface, bool right_kind, T Interface::*field, T *out)
{
    if (!interface || !right_kind)
        return ENODEV;
    *out = interface->*field;
    return 0;
}

bool is_port(const Interface *interface)
{
    return interface &&
           (interface->type == Interfaces::port_type || interface->type == Interfaces::other_port_type);
}

bool is_channel(const Interface *interface)
{
    return interface && interface->type == Interfaces::channel_type;
}

std::string ipv4(uint32_t host_order)
{
    char text[16];
    std::snprintf(text, sizeof text, "%u.%u.%u.%u", host_order >> 24, host_order >> 16 & 0xFF,
                  host_order >> 8 & 0xFF, host_order & 0xFF);
    return text;
}

std::string ipv6(const void *addr16)
{
    in6_addr address = {};
    if (addr16)
        std::memcpy(&address, addr16, sizeof address);
    char text[INET6_ADDRSTRLEN];
    return inet_ntop(AF_INET6, &address, text, sizeof text);
}

std::string slash(const void *prefix, std::size_t at)
{
    return "/" + std::to_string(static_cast<const uint8_t *>(prefix)[at]);
}

} // namespace

extern "C" {

int if_index_get_type(uint32_t ifindex, uint32_t *type)
{
    return get(find(Call::if_index_get_type, ifindex), true, &Interface::type, type);
}

int if_index_get_slot(uint32_t ifindex, uint8_t *slot)
{
    const Interface *const interface = find(Call::if_index_get_slot, ifindex);
    return get(interface, is_port(interface), &Interface::slot, slot);
}

int if_index_get_port(uint32_t ifindex, uint8_t *port)
{
    const Interface *const interface = find(Call::if_index_get_port, ifindex);
    return get(interface, is_port(interface), &Interface::port, port);
}

int if_index_port_channel_get_fields(uint32_t ifindex, uint16_t *channel)
{
    const Interface *const interface = find(Call::if_index_port_channel_get_fields, ifindex);
    return get(interface, is_channel(interface), &Interface::channel, channel);
}

int im_get_ifindex_name(uint32_t ifindex, char *buf, uint32_t cap)
{
    const Interface *const interface = find(Call::im_get_ifindex_name, ifindex);
    const std::string name = interface ? interface->name : "";
    if (cap != 0)
        buf[name.copy(buf, cap - 1)] = '\0';
    return name.empty() ? ENODEV : 0;
}

int lcache_im_get_ifindex_frm_iod(int32_t iod, uint32_t *ifindex)
{
    const auto &known = platform().interfaces.index_by_iod;
    const auto at = known.find(iod);
    if (enter(Call::lcache_im_get_ifindex_frm_iod) || at == known.end())
        return ENODEV;
    *ifindex = at->second;
    return 0;
}

const char *im_print_mac_addr(const uint8_t *mac)
{
    enter(Call::im_print_mac_addr);
    static constexpr uint8_t none[6] = {};
    const uint8_t *const m = mac ? mac : none;
    char text[16];
    std::snprintf(text, sizeof text, "%02x%02x.%02x%02x.%02x%02x", m[0], m[1], m[2], m[3], m[4], m[5]);
    return rotate(text);
}

const char *ip_print_addr(uint32_t host_order)
{
    enter(Call::ip_print_addr);
    return rotate(ipv4(host_order));
}

const char *ipv6_print_addr(const void *addr16)
{
    enter(Call::ipv6_print_addr);
    return rotate(ipv6(addr16));
}

const char *ip_print_prefix(const void *prefix)
{
    enter(Call::ip_print_prefix);
    uint32_t address;
    std::memcpy(&address, prefix, sizeof address);
    return rotate(ipv4(address) + slash(prefix, 4));
}

const char *ipv6_print_prefix(const void *prefix, uint32_t with_len)
{
    enter(Call::ipv6_print_prefix);
    return rotate(ipv6(prefix) + (with_len ? slash(prefix, 16) : ""));
}

uint32_t ip_bits2mask(uint32_t bits)
{
    enter(Call::ip_bits2mask);
    if (bits == 0)
        return 0;
    return bits >= 32 ? UINT32_MAX : ~(UINT32_MAX >> bits);
}

} // extern "C"
