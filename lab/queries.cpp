#include "queries.h"

#include "interfaces.h"
#include "messages.h"
#include "scenario.h"

#include <kov/kov_api.h>
#include <kov_host.h>

#include <limits>
#include <set>

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
    return {arguments.number[0] == 2 ? "kov_get_conv_aging_timeout(IPv6)"
                                     : "kov_get_conv_aging_timeout(IPv4)",
            seconds(kov_get_conv_aging_timeout(arguments.number[0]))};
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
    const std::uint32_t ifindex = arguments.number[0];
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
    const std::uint32_t ifindex = arguments.number[0];
    return {with_interface("kov_get_fwd_mode", ifindex), kov_fwd_mode_str(kov_get_fwd_mode(ifindex))};
}

// "CALL(vlan22, eth1/5)"
std::string with_interfaces(const char *call, const Arguments &arguments)
{
    return call + ("(" + name_of_interface(arguments.number[0])) + ", " +
           name_of_interface(arguments.number[1]) + ")";
}

const char *yes_no(std::uint32_t answer) { return answer != 0 ? "yes" : "no"; }

const char *on_off(std::uint32_t answer) { return answer != 0 ? "on" : "off"; }

Answer ask_port_tracking(const Arguments &arguments)
{
    return {with_interface("kov_get_port_tracking", arguments.number[0]),
            on_off(kov_get_port_tracking(arguments.number[0]))};
}

Answer ask_port_l2dci(const Arguments &arguments)
{
    return {with_interface("kov_get_port_l2dci", arguments.number[0]),
            on_off(kov_get_port_l2dci(arguments.number[0]))};
}

Answer ask_forwarding_mode(const Arguments &arguments)
{
    const kov_fwd_mode_params params{arguments.number[0], arguments.number[1]};
    return {with_interfaces("kov_check_forwarding_mode", arguments),
            kov_fwd_mode_str(kov_check_forwarding_mode(&params))};
}

Answer ask_proxy_mode(const Arguments &arguments)
{
    return {with_interfaces("kov_check_proxy_mode", arguments),
            std::to_string(kov_check_proxy_mode(arguments.number[0], arguments.number[1]))};
}

Answer ask_suppress_arp_mode(const Arguments &arguments)
{
    return {"kov_get_suppress_arp_mode(" + std::to_string(arguments.number[0]) + ")",
            kov_suppress_arp_mode_to_str(kov_get_suppress_arp_mode(arguments.number[0]))};
}

Answer ask_suppress_arp(const Arguments &arguments)
{
    return {with_interface("kov_is_suppress_arp_enabled_ferro_svi", arguments.number[0]),
            on_off(kov_is_suppress_arp_enabled_ferro_svi(arguments.number[0]))};
}

Answer ask_ferro_capable(const Arguments &arguments)
{
    return {with_interface("kov_is_intf_ferro_capable", arguments.number[0]),
            yes_no(kov_is_intf_ferro_capable(0, arguments.number[0]))};
}

// The call names the interface by its local number, of which the lab's switch has none: it is lent one.
Answer ask_address_event(const Arguments &arguments)
{
    constexpr std::int32_t lent = std::numeric_limits<std::int32_t>::max();
    kov_host_iod_set(lent, arguments.number[0]);
    const std::int32_t family = arguments.address.family == 0 ? 1 : 2;
    const std::uint32_t wanted =
        kov_check_am_should_notify(lent, arguments.address.address.data(), 0, family);
    kov_host_iod_set(lent, 0);
    return {"kov_check_am_should_notify(" + name_of_interface(arguments.number[0]) + ", " +
                host_text(arguments.address) + ")",
            yes_no(wanted)};
}

Answer ask_rt_conditional(const Arguments &arguments)
{
    const kov_rdb_aggr_sub_pfx_t record = record_of(arguments.address);
    return {"kov_is_rt_conditional(" + arguments.vrf + ", " + network_text(arguments.address) + ")",
            yes_no(kov_is_rt_conditional(arguments.vrf.c_str(), record.prefix, arguments.address.family))};
}

using FillList = std::uint32_t (*)(dbly_linkage **list);

// "vlan10, vlan11 (2)", by interface index.
std::string svis_of(FillList fill)
{
    dbly_linkage *list = nullptr;
    if (fill(&list) == 0)
        return "failed";
    std::set<std::uint32_t> svis;
    kov_svi_info_iter_t at;
    kov_svi_info_iter_init(&at, list);
    while (const kov_svi_info_t *svi = kov_svi_info_iter_get_next(&at))
        svis.insert(svi->svi_ifindex);
    kov_free_svi_info_list(list);
    std::string text;
    for (const std::uint32_t svi : svis)
        text += name_of_interface(svi) + ", ";
    return text + std::to_string(svis.size()) + (svis.size() == 1 ? " SVI" : " SVIs");
}

Answer ask_ferro_svis(const Arguments &)
{
    return {"kov_get_all_enhanced_fwd_mode_svis(list)", svis_of(kov_get_all_enhanced_fwd_mode_svis)};
}

Answer ask_suppressing_svis(const Arguments &)
{
    return {"kov_get_all_suppress_arp_ferro_svis(list)", svis_of(kov_get_all_suppress_arp_ferro_svis)};
}

// clang-format off
constexpr Query rows[] = {
    {"fabric-id",            {},                                       ask_fabric_id,            "the fabric's identifier"},
    {"conditional-route",    {},                                       ask_conditional_route,    "whether conversational learning is on"},
    {"switch-role",          {},                                       ask_switch_role,          "what the switch is in the fabric"},
    {"anycast-gateway-mac",  {},                                       ask_anycast_gateway_mac,  "the anycast gateway's MAC address"},
    {"conv-aging-timeout",   {Argument::family},                       ask_conv_aging_timeout,   "of conversational learning"},
    {"fwd-encap",            {},                                       ask_fwd_encap,            "forwarding encapsulation and router MAC"},
    {"fabric-ctrl-seg",      {},                                       ask_fabric_ctrl_seg,      "the fabric control segment's SVI"},
    {"fabric-ctrl-seg-info", {},                                       ask_fabric_ctrl_seg_info, "its addresses and gateway MAC"},
    {"ferro-migration",      {Argument::svi_or_none},                  ask_ferro_migration,      "of the fabric, or of an SVI"},
    {"mobdom",               {},                                       ask_mobdom,               "the global mobility domain"},
    {"fwd-mode",             {Argument::svi},                          ask_fwd_mode,             "how an SVI forwards"},
    {"forwarding-mode",      {Argument::svi, Argument::port},          ask_forwarding_mode,      "the same, seen from a port"},
    {"proxy-mode",           {Argument::svi, Argument::port},          ask_proxy_mode,           "how ARP/ND is proxied for a port"},
    {"suppress-arp",         {Argument::svi},                          ask_suppress_arp,         "whether an SVI suppresses ARP"},
    {"suppress-arp-mode",    {Argument::bridge_domain},                ask_suppress_arp_mode,    "how a bridge domain does"},
    {"ferro-svis",           {},                                       ask_ferro_svis,           "the SVIs in a ferro forwarding mode"},
    {"suppress-arp-svis",    {},                                       ask_suppressing_svis,     "those of them that suppress ARP"},
    {"address-event",        {Argument::interface, Argument::address}, ask_address_event,        "whether the server wants to hear of one"},
    {"ferro-capable",        {Argument::interface},                    ask_ferro_capable,        "whether an interface is an SVI", false},
    {"rt-conditional",       {Argument::vrf, Argument::prefix},        ask_rt_conditional,       "whether an aggregate prefix holds a prefix"},
    {"port-tracking",        {Argument::port},                         ask_port_tracking,        "whether a port is tracked"},
    {"port-l2dci",           {Argument::port},                         ask_port_l2dci,           "whether a port leads to another data centre"},
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
    case Argument::interface:
        return " INTERFACE";
    case Argument::bridge_domain:
        return " BD";
    case Argument::address:
        return " ADDRESS";
    case Argument::vrf:
        return " VRF";
    case Argument::prefix:
        return " PREFIX";
    case Argument::none:
        break;
    }
    return "";
}

std::uint32_t interface_of_name(std::string_view name, std::string &why)
{
    const std::uint32_t ifindex = kov_host_ifindex_parse(std::string(name).c_str());
    if (ifindex == 0)
        why = '"' + std::string(name) + "\" is no interface, like vlan10, eth1/5 or po10";
    return ifindex;
}

bool take(const std::optional<Network> &parsed, Network &out)
{
    out = parsed.value_or(Network{});
    return parsed.has_value();
}

std::uint32_t family_of(std::string_view word, std::string &why)
{
    why = "the family is ipv4 or ipv6";
    return word == "ipv4" ? 1 : word == "ipv6" ? 2 : 0;
}

// The argument of one of the kinds that are numbers.
std::uint32_t parse_number_argument(Argument kind, std::string_view word, std::string &why)
{
    switch (kind) {
    case Argument::family:
        return family_of(word, why);
    case Argument::port:
        return port_of_name(word, why);
    case Argument::interface:
        return interface_of_name(word, why);
    case Argument::bridge_domain:
        return parse_number(word, 1, last_bridge_domain, why).value_or(0);
    default:
        return svi_of_name(word, why);
    }
}

bool parse_argument(Argument kind, std::string_view word, std::size_t at, Arguments &out, std::string &why)
{
    switch (kind) {
    case Argument::address:
        return take(parse_host(word, why), out.address);
    case Argument::prefix:
        return take(parse_network(word, why), out.address);
    case Argument::vrf:
        out.vrf = word;
        return true;
    default:
        out.number[at] = parse_number_argument(kind, word, why);
        return out.number[at] != 0;
    }
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
        if (given && !parse_argument(kind, words[taken], taken, out, why))
            return false;
        ++taken;
    }
    why = "wrong number of arguments";
    return taken == words.size();
}

} // namespace kov_lab
