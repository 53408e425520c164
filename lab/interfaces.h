// The interfaces of the lab's switch by name, and the place of a port in the per-slot records.
//
// A name is turned into an interface index without asking whether the interface exists; that is the
// scenario's knowledge (scenario.h). The records number slots and ports from 1: the physical slots 1 to 156,
// and behind them the port-channels, 255 a slot, which end at po25244 because slot 255 is the last.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kov_lab
{

// The interface index of a name; 0 with `why` for everything else, other kinds of interface included.
std::uint32_t svi_of_name(std::string_view name, std::string &why);       // vlan10, bdi100
std::uint32_t port_of_name(std::string_view name, std::string &why);      // eth1/5, sat101/1, po10
std::uint32_t interface_of_name(std::string_view name, std::string &why); // of whatever kind

// The text that is parsed back; "none" for 0.
std::string name_of_interface(std::uint32_t ifindex);

constexpr std::uint32_t last_card_slot = 156;
constexpr std::uint32_t last_card_port = 255;
constexpr std::uint32_t last_channel = 25244;

struct Place {
    std::uint8_t slot; // of the record
    std::uint8_t port; // the bit within it

    auto operator<=>(const Place &) const = default;
};

bool is_channel(std::uint32_t port_ifindex);

// Nothing for a port that no record has room for.
std::optional<Place> place_of(std::uint32_t port_ifindex);

} // namespace kov_lab
