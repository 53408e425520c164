#include "scenario.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace kov_lab
{
namespace
{

// A port-channel's slot has no card that would say how many ports it has.
constexpr std::uint32_t channel_bits = 256;

bool has_bit(const Slots &slots, Place place)
{
    const auto found = slots.find(place.slot);
    return found != slots.end() && (found->second.port_bits[place.port / 8] >> place.port % 8 & 1) != 0;
}

// What there is instead of what was asked for.
std::string none_but(const std::string &what, const std::vector<std::string> &names, const char *more)
{
    constexpr std::size_t shown = 6;
    std::string text = "there is no " + what + "; there ";
    if (names.empty())
        return text + "are none";
    text += names.size() == 1 ? "is " : "are ";
    for (std::size_t i = 0; i < names.size() && i < shown; ++i)
        text += (i == 0 ? "" : ", ") + names[i];
    if (names.size() > shown)
        text += " and " + std::to_string(names.size() - shown) + " more" + more;
    return text;
}

} // namespace

std::string no_svi(const Scenario &state, std::string_view name)
{
    std::vector<std::string> names;
    for (const auto &[ifindex, svi] : state.svis)
        names.push_back(name_of_interface(ifindex));
    return none_but(std::string(name), names, ": list svis");
}

std::string no_topology(const Scenario &state, std::uint32_t bd)
{
    std::vector<std::string> names;
    for (const auto &[number, topology] : state.topologies)
        names.push_back(std::to_string(number));
    return none_but("topology " + std::to_string(bd), names, ": list topologies");
}

std::string no_vrf(const Scenario &state, std::string_view name)
{
    std::vector<std::string> names{"default"};
    names.insert(names.end(), state.vrfs.begin(), state.vrfs.end());
    return none_but("VRF " + std::string(name), names, "");
}

std::string text_of(const Prefix &prefix) { return network_text(prefix.network) + " in VRF " + prefix.vrf; }

bool is_empty(const SlotPorts &slot)
{
    return std::all_of(std::begin(slot.port_bits), std::end(slot.port_bits),
                       [](std::uint8_t bits) { return bits == 0; });
}

VrfNames Scenario::vrf_ids() const
{
    std::uint32_t id = 1;
    VrfNames names{{id, "default"}};
    for (const std::string &name : vrfs)
        names.emplace(++id, name);
    return names;
}

bool Scenario::knows_vrf(std::string_view name) const
{
    return name == "default" || std::count(vrfs.begin(), vrfs.end(), name) != 0;
}

std::uint32_t Scenario::port_of(std::string_view name, std::string &why) const
{
    const std::uint32_t port = port_of_name(name, why);
    if (port == 0)
        return 0;
    const std::string text{name};
    if (is_channel(port)) {
        if (!port_channels.contains(port))
            why = text + " is not among the port_channels";
        return port_channels.contains(port) ? port : 0;
    }
    const auto place = place_of(port);
    const auto card = place ? line_cards.find(place->slot) : line_cards.end();
    if (card == line_cards.end() || !text.starts_with(card->second.name + "/")) {
        why = text + " is on none of the line_cards";
        for (const auto &[slot, each] : line_cards)
            why += (slot == line_cards.begin()->first ? ": " : ", ") + each.name;
        return 0;
    }
    if (place->port <= card->second.ports)
        return port;
    why = text + " is outside its card, which has " + std::to_string(card->second.ports) + " ports";
    return 0;
}

PortBits Scenario::bits_of(std::uint32_t port) const
{
    const auto place = place_of(port);
    if (!place)
        return {};
    return {has_bit(tracking, *place) ? 1u : 0u, has_bit(l2dci, *place) ? 1u : 0u};
}

SlotPorts Scenario::slot_with(const Slots &slots, std::uint32_t port, bool on) const
{
    const Place place = *place_of(port);
    const auto found = slots.find(place.slot);
    SlotPorts record = found == slots.end() ? SlotPorts{} : found->second;
    const auto card = line_cards.find(place.slot);
    // Bit n stands for port n, and bit 0 for none.
    record.num_bits =
        static_cast<std::uint16_t>(card == line_cards.end() ? channel_bits : card->second.ports + 1);
    const auto bit = static_cast<std::uint8_t>(1u << place.port % 8);
    std::uint8_t &bits = record.port_bits[place.port / 8];
    bits = static_cast<std::uint8_t>(on ? bits | bit : bits & ~bit);
    return record;
}

const kov_rdb_l2rib_topo_info_t *Scenario::topology_of(std::uint32_t svi) const
{
    for (const auto &[bd, topology] : topologies)
        if (svi != 0 && topology.suppress_arp_l3_svi == svi)
            return &topology;
    return nullptr;
}

kov_rdb_geninfo_t default_geninfo()
{
    kov_rdb_geninfo_t record{};
    kov_rdb_geninfo_default_init(&record);
    return record;
}

kov_rdb_sviinfo_t default_svi(std::uint32_t ifindex)
{
    kov_rdb_sviinfo_t record{};
    kov_rdb_sviinfo_default_init(&record);
    record.svi_ifindex = ifindex;
    unsigned vlan = 0;
    if (std::sscanf(name_of_interface(ifindex).c_str(), "vlan%u", &vlan) == 1)
        record.vlan_id = vlan;
    return record;
}

kov_rdb_l2rib_topo_info_t default_topology(std::uint32_t bd)
{
    kov_rdb_l2rib_topo_info_t record{};
    kov_rdb_l2rib_topo_info_default_init(&record);
    record.bd = bd;
    return record;
}

} // namespace kov_lab
