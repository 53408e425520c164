#include "route_commands.h"

#include "scenario.h"

#include <kov_host.h>

#include <algorithm>
#include <limits>

namespace kov_lab
{
namespace
{

VrfNames &vrfs()
{
    static VrfNames table;
    return table;
}

Routes &routes()
{
    static Routes table;
    return table;
}

VrfNames::const_iterator vrf_called(const std::string &name)
{
    return std::find_if(vrfs().begin(), vrfs().end(), [&](const auto &vrf) { return vrf.second == name; });
}

// False for an id or a name that is another VRF's.
bool is_free(std::uint32_t id, const std::string &name, std::string &why)
{
    const auto same_id = vrfs().find(id);
    const auto same_name = vrf_called(name);
    const bool id_taken = same_id != vrfs().end() && same_id->second != name;
    const bool name_taken = same_name != vrfs().end() && same_name->first != id;
    if (id_taken)
        why = "VRF " + std::to_string(id) + " is " + same_id->second + " already";
    else if (name_taken)
        why = "VRF " + name + " has the id " + std::to_string(same_name->first) + " already";
    return !id_taken && !name_taken;
}

// A route as two words tell it: its prefix, and the id of its VRF.
struct RouteKey {
    std::uint32_t vrf_id;
    Prefix prefix;

    std::string prefix_text() const { return network_text(prefix.network); }
};

std::optional<RouteKey> parse_key(Words words, std::string &why)
{
    const auto vrf_id = vrf_id_of(words[0], why);
    const auto network = vrf_id ? parse_network(words[1], why) : std::nullopt;
    if (!network)
        return std::nullopt;
    return RouteKey{*vrf_id, {words[0], *network}};
}

// One word a flag.
bool parse_flags(Words words, RouteBits &bits, std::string &why)
{
    for (const char *word : words) {
        const Field *field = find_field(route_fields(), word);
        if (field == nullptr) {
            why = '"' + std::string(word) + "\" is none of " + names_of(route_fields());
            return false;
        }
        set_field(*field, &bits, "yes", why);
    }
    return true;
}

std::uint32_t host_flags(const RouteBits &bits)
{
    return (bits.conditional != 0 ? std::uint32_t{KOV_HOST_ROUTE_CONDITIONAL} : 0) |
           (bits.converted != 0 ? std::uint32_t{KOV_HOST_ROUTE_CONVERTED} : 0);
}

// ", conditional, converted"
std::string flags_text(const RouteBits &bits)
{
    return std::string(bits.conditional != 0 ? ", conditional" : "") +
           (bits.converted != 0 ? ", converted" : "");
}

} // namespace

std::optional<std::uint32_t> vrf_id_of(const std::string &name, std::string &why)
{
    const auto found = vrf_called(name);
    if (found != vrfs().end())
        return found->first;
    why = "this process knows no VRF " + name + "; set vrf ID NAME makes it known";
    for (const auto &[id, known] : vrfs())
        why += (id == vrfs().begin()->first ? "; it knows " : ", ") + known;
    return std::nullopt;
}

Reply set_vrf(const Call &call)
{
    std::string why;
    const std::string name = call.words[1];
    const auto id = parse_number(call.words[0], 0, std::numeric_limits<std::uint32_t>::max(), why);
    if (!id || !is_free(*id, name, why))
        return refusal(why);
    if (kov_host_vrf_set(*id, name.c_str()) != 0)
        return refusal(kov_host_error());
    vrfs()[*id] = name;
    return said(true, "VRF " + std::to_string(*id) + " is " + name);
}

Reply set_route(const Call &call)
{
    std::string why;
    RouteBits bits;
    const auto key = parse_key(call.words, why);
    if (!key || !parse_flags(call.words.subspan(2), bits, why))
        return refusal(why);
    if (kov_host_route_set(key->vrf_id, key->prefix_text().c_str(), host_flags(bits)) != 0)
        return refusal(kov_host_error());
    routes()[key->prefix] = bits;
    return said(true, "route " + text_of(key->prefix) + flags_text(bits));
}

Reply del_route(const Call &call)
{
    std::string why;
    const auto key = parse_key(call.words, why);
    if (!key)
        return refusal(why);
    if (kov_host_route_delete(key->vrf_id, key->prefix_text().c_str()) != 0)
        return refusal(kov_host_error());
    routes().erase(key->prefix);
    return said(true, "route " + text_of(key->prefix) + " removed");
}

Reply list_vrfs(const Call &)
{
    Table table("vrfs", {{"VRF", 32}, {"Id", 0}});
    for (const auto &[id, name] : vrfs())
        table.add({name, std::to_string(id)}, {{"vrf", name}, {"id", id}});
    return table.reply();
}

Reply list_routes(const Call &)
{
    Table table("routes", {{"VRF", 32}, {"Prefix", 18}, {"Flags", 0}});
    for (const auto &[prefix, bits] : routes()) {
        const std::string flags = flags_text(bits);
        const std::string network = network_text(prefix.network);
        table.add({prefix.vrf, network, flags.empty() ? "none" : flags.substr(2)},
                  object_of({{"vrf", prefix.vrf}, {"prefix", network}}, route_fields(), &bits));
    }
    return table.reply();
}

void complete_known_vrf(const Call &call, Candidates &out)
{
    if (place_of(call) == 0)
        for (const auto &[id, name] : vrfs())
            out.push_back(name);
}

void complete_route(const Call &call, Candidates &out)
{
    complete_known_vrf(call, out);
    for (const auto &[prefix, bits] : routes())
        if (place_of(call) == 1 && prefix.vrf == call.words[0])
            out.push_back(network_text(prefix.network));
    for (const Field &field : route_fields())
        if (place_of(call) > 1)
            out.emplace_back(field.name);
}

} // namespace kov_lab
