#include "interfaces.h"

#include <kov/platform/interfaces.h>
#include <kov_host.h>

namespace kov_lab
{
namespace
{

constexpr std::uint32_t type_vlan = 9;
constexpr std::uint32_t type_channel = 22;
constexpr std::uint32_t type_ethernet = 26;
constexpr std::uint32_t type_satellite = 31;
constexpr std::uint32_t type_bdi = 55;

constexpr std::uint32_t channels_per_slot = 255;

std::uint32_t type_of(std::uint32_t ifindex)
{
    std::uint32_t type = 0;
    return ifindex != 0 && if_index_get_type(ifindex, &type) == 0 ? type : 0;
}

bool is_svi(std::uint32_t type) { return type == type_vlan || type == type_bdi; }

bool is_known(std::uint32_t type) { return type != 0; }

bool is_port(std::uint32_t type)
{
    return type == type_ethernet || type == type_satellite || type == type_channel;
}

std::uint32_t of_name(std::string_view name, bool (*wanted)(std::uint32_t type), const char *what,
                      std::string &why)
{
    const std::string text{name};
    const std::uint32_t index = kov_host_ifindex_parse(text.c_str());
    if (wanted(type_of(index)))
        return index;
    why = '"' + text + "\" is not " + what;
    return 0;
}

} // namespace

std::uint32_t svi_of_name(std::string_view name, std::string &why)
{
    return of_name(name, is_svi, "an SVI, like vlan10 or bdi100", why);
}

std::uint32_t port_of_name(std::string_view name, std::string &why)
{
    return of_name(name, is_port, "a port, like eth1/5 or po10", why);
}

std::uint32_t interface_of_name(std::string_view name, std::string &why)
{
    return of_name(name, is_known, "an interface, like vlan10, eth1/5 or po10", why);
}

std::string name_of_interface(std::uint32_t ifindex)
{
    char name[254] = "";
    if (ifindex == 0)
        return "none";
    im_get_ifindex_name(ifindex, name, sizeof name);
    return name[0] != '\0' ? name : std::to_string(ifindex);
}

bool is_channel(std::uint32_t port_ifindex) { return type_of(port_ifindex) == type_channel; }

std::optional<Place> place_of(std::uint32_t port_ifindex)
{
    std::uint16_t channel = 0;
    if (if_index_port_channel_get_fields(port_ifindex, &channel) == 0) {
        if (channel > last_channel)
            return std::nullopt;
        return Place{static_cast<std::uint8_t>(last_card_slot + 1 + channel / channels_per_slot),
                     static_cast<std::uint8_t>(channel % channels_per_slot + 1)};
    }
    std::uint8_t slot = 0;
    std::uint8_t port = 0;
    if (if_index_get_slot(port_ifindex, &slot) != 0 || if_index_get_port(port_ifindex, &port) != 0 ||
        slot >= last_card_slot || port >= last_card_port)
        return std::nullopt;
    return Place{static_cast<std::uint8_t>(slot + 1), static_cast<std::uint8_t>(port + 1)};
}

} // namespace kov_lab
