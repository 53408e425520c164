// What a server publishes: the six kinds of record, and the switch that they speak of. A person writes it as
// a JSON file; the server then keeps it in memory as its state.
//
// lab/scenarios/README.md describes the file. Loading checks everything and reports every mistake that it
// finds, each with file, line and field; a scenario with a mistake is not used at all.
#pragma once

#include "fields.h"
#include "interfaces.h"
#include "values.h"

#include <kov/kov_records.h>

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kov_lab
{

// The ports of one slot. The record of L2DCI ports has the same layout.
using SlotPorts = kov_rdb_port_tracking_t;

using Svis = std::map<std::uint32_t, kov_rdb_sviinfo_t>;               // by interface index
using Topologies = std::map<std::uint32_t, kov_rdb_l2rib_topo_info_t>; // by bridge domain
using Slots = std::map<std::uint8_t, SlotPorts>;                       // by slot, from 1

// One aggregate prefix of a VRF. VRF and prefix are the record's key, and the prefix all that it holds.
struct Prefix {
    std::string vrf;
    Network network;

    auto operator<=>(const Prefix &) const = default;
};

// "10.1.0.0/16 in VRF red"
std::string text_of(const Prefix &prefix);

using VrfNames = std::map<std::uint32_t, std::string>; // by id
using Routes = std::map<Prefix, RouteBits>;

struct LineCard {
    std::string name;    // "eth1": its ports are eth1/1 and on
    std::uint32_t ports; // their number
};

struct Scenario {
    std::vector<std::string> vrfs;               // "default" is always there
    std::map<std::uint8_t, LineCard> line_cards; // by slot
    std::set<std::uint32_t> port_channels;       // by interface index

    std::optional<kov_rdb_geninfo_t> general;
    Svis svis;
    Slots tracking; // a slot has a record as long as one of its ports is in it
    Slots l2dci;
    std::set<Prefix> prefixes;
    Topologies topologies;
    std::uint32_t profile_code = 1;        // what requests about profiles are answered with
    Routes routes;                         // of clients; the server makes nothing of them
    std::optional<std::int32_t> card_type; // of clients too; card.h

    bool knows_vrf(std::string_view name) const;
    // By the ids that clients get with the scenario: 1 is "default", the others follow in their order.
    VrfNames vrf_ids() const;
    // The interface index of a port that the switch has; 0 with `why` for every other text.
    std::uint32_t port_of(std::string_view name, std::string &why) const;
    PortBits bits_of(std::uint32_t port) const;
    // The record that the port's slot has when the port is, or is not, in it.
    SlotPorts slot_with(const Slots &slots, std::uint32_t port, bool on) const;
    // The topology whose ARP suppression is the SVI's; null when none is.
    const kov_rdb_l2rib_topo_info_t *topology_of(std::uint32_t svi) const;
};

constexpr std::uint32_t last_bridge_domain = 65535;
constexpr std::uint32_t last_profile_code = 48;

bool is_empty(const SlotPorts &slot);

// "there is no vlan99; there are vlan10, vlan11 and 38 more: list svis", and the like.
std::string no_svi(const Scenario &state, std::string_view name);
std::string no_topology(const Scenario &state, std::uint32_t bd);
std::string no_vrf(const Scenario &state, std::string_view name);

// False: `mistakes` has one line each, "FILE:LINE: FIELD: what is wrong", and `out` is unspecified.
bool load_scenario(const std::string &path, Scenario &out, std::vector<std::string> &mistakes);

// Records that hold nothing but defaults, the fields that the library's initialisers leave alone included.
kov_rdb_geninfo_t default_geninfo();
kov_rdb_sviinfo_t default_svi(std::uint32_t ifindex);
kov_rdb_l2rib_topo_info_t default_topology(std::uint32_t bd);

} // namespace kov_lab
