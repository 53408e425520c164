#include "route_commands.h"

#include "scenario.h"

#include <kov_host.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <string_view>

namespace kov_lab
{
namespace
{

using Vrfs = std::map<std::uint32_t, std::string>; // by id

Vrfs &vrfs()
{
    static Vrfs table;
    return table;
}

Routes &routes()
{
    static Routes table;
    return table;
}

Vrfs::const_iterator vrf_called(const std::string &name)
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

std::optional<RouteKey> parse_key(std::span<const char *const> words, std::string &why)
{
    const auto vrf_id = vrf_id_of(words[0], why);
    const auto network = vrf_id ? parse_network(words[1], why) : std::nullopt;
    if (!network)
        return std::nullopt;
    return RouteKey{*vrf_id, {words[0], *network}};
}

// One word a flag.
bool parse_flags(std::span<const char *const> words, RouteBits &bits, std::string &why)
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

std::string line(const char *first, const char *second, const std::string &third)
{
    char text[128];
    std::snprintf(text, sizeof text, "%-32s %-18s %s", first, second, third.c_str());
    return text;
}

bool refuse(std::string &text, const char *why)
{
    text = why;
    return false;
}

} // namespace

std::optional<std::uint32_t> vrf_id_of(const std::string &name, std::string &why)
{
    const auto found = vrf_called(name);
    if (found != vrfs().end())
        return found->first;
    why = "this process knows no VRF " + name + "; set vrf ID NAME makes it known";
    return std::nullopt;
}

bool set_vrf(std::span<const char *const> words, std::string &text)
{
    if (words.size() != 2)
        return refuse(text, "usage: set vrf ID NAME");
    const std::string name = words[1];
    const auto id = parse_number(words[0], 0, std::numeric_limits<std::uint32_t>::max(), text);
    if (!id || !is_free(*id, name, text))
        return false;
    if (kov_host_vrf_set(*id, name.c_str()) != 0)
        return refuse(text, kov_host_error());
    vrfs()[*id] = name;
    text = "VRF " + std::to_string(*id) + " is " + name;
    return true;
}

bool set_route(std::span<const char *const> words, std::string &text)
{
    if (words.size() < 2)
        return refuse(text, "usage: set route VRF PREFIX [conditional] [converted]");
    RouteBits bits;
    const auto key = parse_key(words, text);
    if (!key || !parse_flags(words.subspan(2), bits, text))
        return false;
    if (kov_host_route_set(key->vrf_id, key->prefix_text().c_str(), host_flags(bits)) != 0)
        return refuse(text, kov_host_error());
    routes()[key->prefix] = bits;
    text = "route " + text_of(key->prefix) + flags_text(bits);
    return true;
}

bool del_route(std::span<const char *const> words, std::string &text)
{
    if (words.size() != 2)
        return refuse(text, "usage: del route VRF PREFIX");
    const auto key = parse_key(words, text);
    if (!key)
        return false;
    if (kov_host_route_delete(key->vrf_id, key->prefix_text().c_str()) != 0)
        return refuse(text, kov_host_error());
    routes().erase(key->prefix);
    text = "route " + text_of(key->prefix) + " removed";
    return true;
}

bool list_vrfs(std::span<const char *const> words, std::string &text)
{
    if (!words.empty())
        return refuse(text, "usage: list vrfs");
    text = "VRF                              Id";
    for (const auto &[id, name] : vrfs())
        text += "\n" + std::string(name).append(33 - name.size(), ' ') + std::to_string(id);
    return true;
}

bool list_routes(std::span<const char *const> words, std::string &text)
{
    if (!words.empty())
        return refuse(text, "usage: list routes");
    text = line("VRF", "Prefix", "Flags");
    for (const auto &[prefix, bits] : routes()) {
        const std::string flags = flags_text(bits);
        text += "\n" + line(prefix.vrf.c_str(), network_text(prefix.network).c_str(),
                            flags.empty() ? "none" : flags.substr(2));
    }
    return true;
}

} // namespace kov_lab
