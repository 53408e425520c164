// Loading a scenario: a section of the file each, in the order in which they refer to one another.
#include "card.h"
#include "checked_json.h"
#include "scenario.h"

#include <kov/kov_enums.h>
#include <kov_host.h>

namespace kov_lab
{
namespace
{

using nlohmann::json;

class Loader
{
public:
    Loader(const std::string &path, Scenario &out, std::vector<std::string> &mistakes)
        : in_(path, mistakes), out_(out)
    {
    }

    void load();

private:
    struct Section {
        const char *name;
        void (Loader::*load)(const json &value, const std::string &pointer);
    };
    static const Section sections[];

    static std::string names();
    static bool is_section(const std::string &name);

    void load_description(const json &value, const std::string &pointer) { in_.text(value, pointer); }
    void load_vrfs(const json &list, const std::string &pointer);
    void load_cards(const json &list, const std::string &pointer);
    void load_channels(const json &list, const std::string &pointer);
    void load_svis(const json &list, const std::string &pointer);
    void load_general(const json &object, const std::string &pointer);
    void load_topologies(const json &list, const std::string &pointer);
    void load_ports(const json &list, const std::string &pointer);
    void load_prefixes(const json &list, const std::string &pointer);
    void load_profiles(const json &object, const std::string &pointer);
    void load_routes(const json &list, const std::string &pointer);
    void load_card_type(const json &value, const std::string &pointer);

    void load_vrf(const json &value, const std::string &pointer);
    void load_card(const json &object, const std::string &pointer);
    void load_svi(const json &object, const std::string &pointer);
    void load_topology(const json &object, const std::string &pointer);
    void give_suppression(const kov_rdb_l2rib_topo_info_t &topology, const std::string &pointer);
    void load_port(const json &object, const std::string &pointer);
    void load_prefixes_of_vrf(const json &object, const std::string &pointer);
    void load_prefix(const std::string &vrf, const json &value, const std::string &pointer);
    void load_route(const json &object, const std::string &pointer);

    std::optional<std::string> key_of(const json &object, const std::string &pointer, const char *name,
                                      const char *what);
    void expect_svi(std::uint32_t svi, const std::string &pointer);
    std::optional<std::string> vrf_of(const json &object, const std::string &pointer);
    std::optional<Network> network_of(const std::optional<std::string> &text, const std::string &pointer);

    CheckedJson in_;
    Scenario &out_;
    std::map<std::uint32_t, std::string> suppressing_svis_; // that say so themselves, and where
};

const Loader::Section Loader::sections[] = {
    {"description", &Loader::load_description},
    {"vrfs", &Loader::load_vrfs},
    {"line_cards", &Loader::load_cards},
    {"port_channels", &Loader::load_channels},
    {"svis", &Loader::load_svis},
    {"general", &Loader::load_general},
    {"topologies", &Loader::load_topologies},
    {"ports", &Loader::load_ports},
    {"prefixes", &Loader::load_prefixes},
    {"profiles", &Loader::load_profiles},
    {"routes", &Loader::load_routes},
    {"card_type", &Loader::load_card_type},
};

std::string Loader::names()
{
    std::string names;
    for (const Section &section : sections)
        names += (names.empty() ? "" : ", ") + std::string(section.name);
    return names;
}

bool Loader::is_section(const std::string &name)
{
    for (const Section &section : sections)
        if (name == section.name)
            return true;
    return false;
}

void Loader::load()
{
    if (!in_.read() || !in_.expect(in_.values(), "", json::value_t::object, "an object"))
        return;
    const json &values = in_.values();
    for (const auto &[name, value] : values.items())
        if (!is_section(name))
            in_.mistake("/" + name, "is not known here; a scenario has " + names());
    for (const Section &section : sections)
        if (values.contains(section.name))
            (this->*section.load)(values[section.name], "/" + std::string(section.name));
}

// The text under which an object of a list is known; nothing, with a mistake, when it has none.
std::optional<std::string> Loader::key_of(const json &object, const std::string &pointer, const char *name,
                                          const char *what)
{
    const json *value = in_.member(object, pointer, name, what);
    return value == nullptr ? std::nullopt : in_.text(*value, pointer + "/" + name);
}

void Loader::expect_svi(std::uint32_t svi, const std::string &pointer)
{
    if (svi != 0 && !out_.svis.contains(svi))
        in_.mistake(pointer, name_of_interface(svi) + " is not among the svis");
}

std::optional<std::string> Loader::vrf_of(const json &object, const std::string &pointer)
{
    auto vrf = key_of(object, pointer, "vrf", "the VRF's name");
    if (vrf && !out_.knows_vrf(*vrf))
        in_.mistake(pointer + "/vrf", "\"" + *vrf + "\" is not among the vrfs");
    return vrf;
}

std::optional<Network> Loader::network_of(const std::optional<std::string> &text, const std::string &pointer)
{
    std::string why;
    auto network = text ? parse_network(*text, why) : std::nullopt;
    if (text && !network)
        in_.mistake(pointer, why);
    return network;
}

// ---- The switch ------------------------------------------------------------------------------------------

void Loader::load_vrfs(const json &list, const std::string &pointer)
{
    in_.each(list, pointer, "a list of names",
             [this](const json &value, const std::string &at) { load_vrf(value, at); });
}

void Loader::load_vrf(const json &value, const std::string &pointer)
{
    const auto name = in_.text(value, pointer);
    if (!name)
        return;
    if (name->empty() || name->size() >= KOV_VRF_NAME_SIZE)
        in_.mistake(pointer, "must have 1 to 32 characters");
    else if (out_.knows_vrf(*name))
        in_.mistake(pointer, "\"" + *name + "\" is there already");
    else
        out_.vrfs.push_back(*name);
}

void Loader::load_cards(const json &list, const std::string &pointer)
{
    in_.each_object(list, pointer, "a list of line cards",
                    [this](const json &object, const std::string &at) { load_card(object, at); });
}

void Loader::load_card(const json &object, const std::string &pointer)
{
    in_.expect_only(object, pointer, {"card", "ports"});
    const auto name = key_of(object, pointer, "card", "the line card's name");
    const json *ports = in_.member(object, pointer, "ports", "the number of its ports");
    const auto number =
        ports == nullptr ? std::nullopt : in_.number(*ports, pointer + "/ports", 1, last_card_port);
    if (!name)
        return;
    const std::uint32_t first_port = kov_host_ifindex_parse((*name + "/1").c_str());
    const auto place = place_of(first_port);
    if (!place)
        in_.mistake(pointer + "/card", "\"" + *name +
                                           "\" is not a line card, like eth1 or sat101, up to slot " +
                                           std::to_string(last_card_slot));
    else if (in_.is_first("slot " + std::to_string(place->slot), pointer + "/card") && number)
        out_.line_cards[place->slot] = {*name, *number};
}

void Loader::load_channels(const json &list, const std::string &pointer)
{
    in_.each(list, pointer, "a list of port-channels", [this](const json &value, const std::string &at) {
        const auto name = in_.text(value, at);
        std::string why;
        const std::uint32_t channel = name ? port_of_name(*name, why) : 0;
        if (name && (!is_channel(channel) || !place_of(channel)))
            in_.mistake(at,
                        "\"" + *name + "\" is not a port-channel, po0 to po" + std::to_string(last_channel));
        else if (name && in_.is_first(*name, at))
            out_.port_channels.insert(channel);
    });
}

// ---- The records -----------------------------------------------------------------------------------------

void Loader::load_general(const json &object, const std::string &pointer)
{
    if (!in_.expect(object, pointer, json::value_t::object, "an object"))
        return;
    kov_rdb_geninfo_t record = default_geninfo();
    in_.read_fields(geninfo_fields(), object, pointer, "", &record);
    expect_svi(record.fabric_ctrl_svi, pointer + "/fabric_ctrl_svi");
    out_.general = record;
}

void Loader::load_svis(const json &list, const std::string &pointer)
{
    in_.each_object(list, pointer, "a list of SVIs",
                    [this](const json &object, const std::string &at) { load_svi(object, at); });
}

void Loader::load_svi(const json &object, const std::string &pointer)
{
    const auto name = key_of(object, pointer, "svi", "the interface's name");
    std::string why;
    const std::uint32_t ifindex = name ? svi_of_name(*name, why) : 0;
    if (name && ifindex == 0)
        in_.mistake(pointer + "/svi", why);
    kov_rdb_sviinfo_t record = default_svi(ifindex);
    in_.read_fields(svi_fields(), object, pointer, "svi", &record);
    if (object.contains("vrf_name") && object["vrf_name"].is_string() &&
        !out_.knows_vrf(object["vrf_name"].get<std::string>()))
        in_.mistake(pointer + "/vrf_name", object["vrf_name"].dump() + " is not among the vrfs");
    if (ifindex == 0 || !in_.is_first(*name, pointer + "/svi"))
        return;
    out_.svis.emplace(ifindex, record);
    if (object.contains("suppress_arp"))
        suppressing_svis_[ifindex] = pointer + "/suppress_arp";
}

void Loader::load_topologies(const json &list, const std::string &pointer)
{
    in_.each_object(list, pointer, "a list of topologies",
                    [this](const json &object, const std::string &at) { load_topology(object, at); });
}

void Loader::load_topology(const json &object, const std::string &pointer)
{
    const json *key = in_.member(object, pointer, "bd", "the bridge domain");
    const auto bd = key == nullptr ? std::nullopt : in_.number(*key, pointer + "/bd", 1, last_bridge_domain);
    kov_rdb_l2rib_topo_info_t record = default_topology(bd.value_or(0));
    in_.read_fields(topology_fields(), object, pointer, "bd", &record);
    // Who names a mode means that it is in use, unless told otherwise.
    if (!object.contains("suppress_arp_enabled"))
        record.suppress_arp_enabled = record.suppress_arp_mode != KOV_SUPPRESS_ARP_DISABLED ? 1 : 0;
    if (!bd || !in_.is_first("bridge domain " + std::to_string(*bd), pointer + "/bd"))
        return;
    give_suppression(record, pointer + "/svi");
    out_.topologies.emplace(*bd, record);
}

// A topology carries the ARP suppression of its SVI, whose record then says the same.
void Loader::give_suppression(const kov_rdb_l2rib_topo_info_t &topology, const std::string &pointer)
{
    const std::uint32_t svi = topology.suppress_arp_l3_svi;
    expect_svi(svi, pointer);
    if (const auto *other = out_.topology_of(svi); other != nullptr)
        in_.mistake(pointer,
                    name_of_interface(svi) + " is that of bridge domain " + std::to_string(other->bd));
    const auto found = out_.svis.find(svi);
    if (found == out_.svis.end())
        return;
    kov_rdb_sviinfo_t &record = found->second;
    const auto said = suppressing_svis_.find(svi);
    if (said != suppressing_svis_.end() && (record.suppress_arp != 0) != (topology.suppress_arp_enabled != 0))
        in_.mistake(said->second,
                    "contradicts bridge domain " + std::to_string(topology.bd) + ", whose SVI this is");
    record.suppress_arp = topology.suppress_arp_enabled;
}

void Loader::load_ports(const json &list, const std::string &pointer)
{
    in_.each_object(list, pointer, "a list of ports",
                    [this](const json &object, const std::string &at) { load_port(object, at); });
}

void Loader::load_port(const json &object, const std::string &pointer)
{
    const auto name = key_of(object, pointer, "port", "the interface's name");
    std::string why;
    const std::uint32_t port = name ? out_.port_of(*name, why) : 0;
    if (name && port == 0)
        in_.mistake(pointer + "/port", why);
    PortBits bits;
    in_.read_fields(port_fields(), object, pointer, "port", &bits);
    if (port == 0 || !in_.is_first("port " + *name, pointer + "/port"))
        return;
    const std::uint8_t slot = place_of(port)->slot;
    if (bits.tracking != 0)
        out_.tracking[slot] = out_.slot_with(out_.tracking, port, true);
    if (bits.l2dci != 0)
        out_.l2dci[slot] = out_.slot_with(out_.l2dci, port, true);
}

void Loader::load_prefixes(const json &list, const std::string &pointer)
{
    in_.each_object(list, pointer, "a list of VRFs' prefixes",
                    [this](const json &object, const std::string &at) { load_prefixes_of_vrf(object, at); });
}

void Loader::load_prefixes_of_vrf(const json &object, const std::string &pointer)
{
    in_.expect_only(object, pointer, {"vrf", "prefixes"});
    const auto vrf = vrf_of(object, pointer);
    const json *prefixes = in_.member(object, pointer, "prefixes", "the list of them");
    if (vrf && prefixes != nullptr)
        in_.each(*prefixes, pointer + "/prefixes", "a list of prefixes",
                 [&](const json &value, const std::string &at) { load_prefix(*vrf, value, at); });
}

void Loader::load_prefix(const std::string &vrf, const json &value, const std::string &pointer)
{
    const auto network = network_of(in_.text(value, pointer), pointer);
    if (network && in_.is_first(text_of({vrf, *network}), pointer))
        out_.prefixes.insert({vrf, *network});
}

void Loader::load_profiles(const json &object, const std::string &pointer)
{
    if (!in_.expect(object, pointer, json::value_t::object, "an object"))
        return;
    in_.expect_only(object, pointer, {"reply"});
    const json *reply = in_.member(object, pointer, "reply", "the result of requests");
    const auto code =
        reply == nullptr ? std::nullopt : in_.number(*reply, pointer + "/reply", 1, last_profile_code);
    out_.profile_code = code.value_or(out_.profile_code);
}

// ---- What clients know -----------------------------------------------------------------------------------

void Loader::load_routes(const json &list, const std::string &pointer)
{
    in_.each_object(list, pointer, "a list of routes",
                    [this](const json &object, const std::string &at) { load_route(object, at); });
}

void Loader::load_route(const json &object, const std::string &pointer)
{
    const auto vrf = vrf_of(object, pointer);
    const std::string at = pointer + "/prefix";
    const auto network = network_of(key_of(object, pointer, "prefix", "where the route leads"), at);
    json flags = object;
    flags.erase("vrf");
    flags.erase("prefix");
    RouteBits bits;
    in_.read_fields(route_fields(), flags, pointer, "", &bits);
    if (vrf && network && in_.is_first("route " + text_of({*vrf, *network}), at))
        out_.routes[{*vrf, *network}] = bits;
}

void Loader::load_card_type(const json &value, const std::string &pointer)
{
    std::string why;
    const auto text = in_.text(value, pointer);
    if (!text)
        return;
    out_.card_type = parse_card(*text, why);
    if (!out_.card_type)
        in_.mistake(pointer, why);
}

} // namespace

bool load_scenario(const std::string &path, Scenario &out, std::vector<std::string> &mistakes)
{
    out = {};
    mistakes.clear();
    Loader(path, out, mistakes).load();
    return mistakes.empty();
}

} // namespace kov_lab
