// The host's interface index: bits 31-26 the type, below them what the type says. Decoding is arithmetic;
// no interface has to exist.
#pragma once

#include <cstdint>

namespace kov_host
{

enum IfType : std::uint32_t {
    if_type_vlan = 9,
    if_type_port_channel = 22,
    if_type_ethernet = 26,
    if_type_satellite = 31,
    if_type_bdi = 55
};

constexpr std::uint32_t if_number_bits = 26;
constexpr std::uint32_t if_number_mask = (1u << if_number_bits) - 1;

constexpr std::uint32_t ifindex(std::uint32_t type, std::uint32_t number)
{
    return type << if_number_bits | (number & if_number_mask);
}

constexpr std::uint32_t ifindex_type(std::uint32_t index) { return index >> if_number_bits; }

constexpr std::uint32_t ifindex_number(std::uint32_t index) { return index & if_number_mask; }

constexpr bool is_port(std::uint32_t index)
{
    const std::uint32_t type = ifindex_type(index);
    return type == if_type_ethernet || type == if_type_satellite;
}

} // namespace kov_host
