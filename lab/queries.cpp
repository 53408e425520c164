#include "queries.h"

#include "interfaces.h"
#include "messages.h"
#include "values.h"

#include <kov/kov_api.h>

namespace kov_lab
{
namespace
{

std::string seconds(std::uint32_t count) { return std::to_string(count) + " s"; }

// "CALL(vlan10)"
std::string with_interface(const char *call, std::uint32_t ifindex)
{
    return call + ("(" + (ifindex == 0 ? "0" : name_of_interface(ifindex))) + ")";
}

Answer ask_fabric_id(const Arguments &)
{
    return {"kov_get_fabric_id()", std::to_string(kov_get_fabric_id())};
}

Answer ask_conditional_route(const Arguments &)
{
    return {"kov_check_conditional_route()", kov_check_conditional_route() != 0
                                                 ? "conversational learning on"
                                                 : "conversational learning off"};
}

Answer ask_switch_role(const Arguments &)
{
    std::string roles = kov_switch_role_str(kov_get_switch_role());
    if (roles.ends_with(' '))
        roles.pop_back();
    return {"kov_get_switch_role()", roles.empty() ? "no role" : roles};
}

Answer ask_anycast_gateway_mac(const Arguments &)
{
    return {"kov_get_anycast_gateway_mac()", mac_text(kov_get_anycast_gateway_mac())};
}

Answer ask_conv_aging_timeout(const Arguments &arguments)
{
    return {arguments[0] == 2 ? "kov_get_conv_aging_timeout(IPv6)" : "kov_get_conv_aging_timeout(IPv4)",
            seconds(kov_get_conv_aging_timeout(arguments[0]))};
}

Answer ask_fwd_encap(const Arguments &)
{
    Mac mac{};
    const std::string encap = kov_fwd_encap_str(kov_get_fwd_encap_type(mac.data()));
    return {"kov_get_fwd_encap_type(mac)", encap + ", router MAC " + mac_text(mac.data())};
}

Answer ask_fabric_ctrl_seg(const Arguments &)
{
    return {"kov_get_fabric_ctrl_seg()", name_of_interface(kov_get_fabric_ctrl_seg())};
}

Answer ask_fabric_ctrl_seg_info(const Arguments &)
{
    const char *call = "kov_get_fabric_ctrl_seg_info()";
    const kov_fabric_ctrl_seg_info *info = kov_get_fabric_ctrl_seg_info();
    if (info == nullptr)
        return {call, "none, or its binding is not complete"};
    return {call, name_of_interface(info->svi_ifindex) + " (VLAN " + std::to_string(info->vlan_id) + "), " +
                      v4_text(info->v4_addr) + ", " + v6_text(info->v6_addr) + ", gateway MAC " +
                      mac_text(info->gw_mac)};
}

Answer ask_ferro_migration(const Arguments &arguments)
{
    const std::uint32_t ifindex = arguments[0];
    Mac mac{};
    const bool migrates = kov_check_ferro_migration(ifindex, mac.data()) != 0;
    return {with_interface("kov_check_ferro_migration", ifindex),
            migrates ? "migrating, anycast gateway MAC " + mac_text(mac.data()) : "not migrating"};
}

Answer ask_mobdom(const Arguments &)
{
    char name[KOV_MOBDOM_SIZE] = "";
    if (kov_get_global_mobdom(name) == 0)
        return {"kov_get_global_mobdom(out)", "no record"};
    return {"kov_get_global_mobdom(out)", '"' + printable(name, sizeof name) + '"'};
}

Answer ask_fwd_mode(const Arguments &arguments)
{
    const std::uint32_t ifindex = arguments[0];
    return {with_interface("kov_get_fwd_mode", ifindex), kov_fwd_mode_str(kov_get_fwd_mode(ifindex))};
}

const char *on_off(std::uint32_t answer) { return answer != 0 ? "on" : "off"; }

Answer ask_port_tracking(const Arguments &arguments)
{
    return {with_interface("kov_get_port_tracking", arguments[0]),
            on_off(kov_get_port_tracking(arguments[0]))};
}

Answer ask_port_l2dci(const Arguments &arguments)
{
    return {with_interface("kov_get_port_l2dci", arguments[0]), on_off(kov_get_port_l2dci(arguments[0]))};
}

// clang-format off
constexpr Query rows[] = {
    {"fabric-id",            {},                      ask_fabric_id,            "the fabric's identifier"},
    {"conditional-route",    {},                      ask_conditional_route,    "whether conversational learning is on"},
    {"switch-role",          {},                      ask_switch_role,          "what the switch is in the fabric"},
    {"anycast-gateway-mac",  {},                      ask_anycast_gateway_mac,  "the anycast gateway's MAC address"},
    {"conv-aging-timeout",   {Argument::family},      ask_conv_aging_timeout,   "of conversational learning"},
    {"fwd-encap",            {},                      ask_fwd_encap,            "forwarding encapsulation and router MAC"},
    {"fabric-ctrl-seg",      {},                      ask_fabric_ctrl_seg,      "the fabric control segment's SVI"},
    {"fabric-ctrl-seg-info", {},                      ask_fabric_ctrl_seg_info, "its addresses and gateway MAC"},
    {"ferro-migration",      {Argument::svi_or_none}, ask_ferro_migration,      "of the fabric, or of an SVI"},
    {"mobdom",               {},                      ask_mobdom,               "the global mobility domain"},
    {"fwd-mode",             {Argument::svi},         ask_fwd_mode,             "how an SVI forwards"},
    {"port-tracking",        {Argument::port},        ask_port_tracking,        "whether a port is tracked"},
    {"port-l2dci",           {Argument::port},        ask_port_l2dci,           "whether a port leads to another data centre"},
};
// clang-format on

const char *argument_text(Argument argument)
{
    switch (argument) {
    case Argument::family:
        return " ipv4|ipv6";
    case Argument::svi:
        return " SVI";
    case Argument::svi_or_none:
        return " [SVI]";
    case Argument::port:
        return " PORT";
    case Argument::none:
        break;
    }
    return "";
}

bool parse_argument(Argument kind, std::string_view word, std::uint32_t &out, std::string &why)
{
    if (kind == Argument::family) {
        out = word == "ipv4" ? 1 : word == "ipv6" ? 2 : 0;
        why = "the family is ipv4 or ipv6";
    } else if (kind == Argument::port) {
        out = port_of_name(word, why);
    } else {
        out = svi_of_name(word, why);
    }
    return out != 0;
}

} // namespace

std::span<const Query> all_queries() { return rows; }

const Query *find_query(std::string_view name)
{
    for (const Query &query : rows)
        if (name == query.name)
            return &query;
    return nullptr;
}

std::string usage_of(const Query &query)
{
    std::string text = query.name;
    for (const Argument argument : query.takes)
        text += argument_text(argument);
    return text;
}

bool parse_arguments(const Query &query, std::span<const char *const> words, Arguments &out, std::string &why)
{
    out = {};
    std::size_t taken = 0;
    for (const Argument kind : query.takes) {
        const bool given = taken < words.size();
        if (kind == Argument::none || (kind == Argument::svi_or_none && !given))
            break;
        if (given && !parse_argument(kind, words[taken], out[taken], why))
            return false;
        ++taken;
    }
    why = "wrong number of arguments";
    return taken == words.size();
}

} // namespace kov_lab
