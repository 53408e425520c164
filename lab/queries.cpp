#include "queries.h"

#include "interfaces.h"
#include "messages.h"

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

const char *yes_no(std::uint32_t answer) { return answer != 0 ? "yes" : "no"; }

const char *on_off(std::uint32_t answer) { return answer != 0 ? "on" : "off"; }

Answer truth(const std::string &call, std::uint32_t answer, const char *(*word)(std::uint32_t answer))
{
    return {call, word(answer), answer != 0};
}

Answer mode_answer(const std::string &call, std::uint32_t mode)
{
    return {call, kov_fwd_mode_str(mode), word_of(fwd_mode_words, mode)};
}

Answer ask_fabric_id(const Arguments &)
{
    const std::uint32_t id = kov_get_fabric_id();
    return {"kov_get_fabric_id()", std::to_string(id), id};
}

Answer ask_conditional_route(const Arguments &)
{
    const bool on = kov_check_conditional_route() != 0;
    return {"kov_check_conditional_route()",
            on ? "conversational learning on" : "conversational learning off", on};
}

Answer ask_switch_role(const Arguments &)
{
    const std::uint32_t role = kov_get_switch_role();
    std::string roles = kov_switch_role_str(role);
    if (roles.ends_with(' '))
        roles.pop_back();
    return {"kov_get_switch_role()", roles.empty() ? "no role" : roles, role};
}

Answer ask_anycast_gateway_mac(const Arguments &)
{
    const std::string mac = mac_text(kov_get_anycast_gateway_mac());
    return {"kov_get_anycast_gateway_mac()", mac, mac};
}

Answer ask_conv_aging_timeout(const Arguments &arguments)
{
    const std::uint32_t timeout = kov_get_conv_aging_timeout(arguments.number[0]);
    return {arguments.number[0] == 2 ? "kov_get_conv_aging_timeout(IPv6)"
                                     : "kov_get_conv_aging_timeout(IPv4)",
            seconds(timeout), timeout};
}

Answer ask_fwd_encap(const Arguments &)
{
    Mac mac{};
    const std::uint32_t type = kov_get_fwd_encap_type(mac.data());
    return {"kov_get_fwd_encap_type(mac)",
            std::string(kov_fwd_encap_str(type)) + ", router MAC " + mac_text(mac.data()),
            {{"encap", word_of(encap_words, type)}, {"router_mac", mac_text(mac.data())}}};
}

Answer ask_fabric_ctrl_seg(const Arguments &)
{
    const std::string svi = name_of_interface(kov_get_fabric_ctrl_seg());
    return {"kov_get_fabric_ctrl_seg()", svi, svi};
}

Answer ask_fabric_ctrl_seg_info(const Arguments &)
{
    const char *call = "kov_get_fabric_ctrl_seg_info()";
    const kov_fabric_ctrl_seg_info *info = kov_get_fabric_ctrl_seg_info();
    if (info == nullptr)
        return {call, "none, or its binding is not complete", nullptr};
    return {call,
            name_of_interface(info->svi_ifindex) + " (VLAN " + std::to_string(info->vlan_id) + "), " +
                v4_text(info->v4_addr) + ", " + v6_text(info->v6_addr) + ", gateway MAC " +
                mac_text(info->gw_mac),
            {{"svi", name_of_interface(info->svi_ifindex)},
             {"vlan_id", std::uint32_t{info->vlan_id}},
             {"v4_addr", v4_text(info->v4_addr)},
             {"v6_addr", v6_text(info->v6_addr)},
             {"gw_mac", mac_text(info->gw_mac)}}};
}

Answer ask_ferro_migration(const Arguments &arguments)
{
    const std::uint32_t ifindex = arguments.number[0];
    Mac mac{};
    const bool migrates = kov_check_ferro_migration(ifindex, mac.data()) != 0;
    return {with_interface("kov_check_ferro_migration", ifindex),
            migrates ? "migrating, anycast gateway MAC " + mac_text(mac.data()) : "not migrating", migrates};
}

Answer ask_mobdom(const Arguments &)
{
    char name[KOV_MOBDOM_SIZE] = "";
    if (kov_get_global_mobdom(name) == 0)
        return {"kov_get_global_mobdom(out)", "no record", nullptr};
    const std::string text = printable(name, sizeof name);
    return {"kov_get_global_mobdom(out)", '"' + text + '"', text};
}

Answer ask_fwd_mode(const Arguments &arguments)
{
    const std::uint32_t ifindex = arguments.number[0];
    return mode_answer(with_interface("kov_get_fwd_mode", ifindex), kov_get_fwd_mode(ifindex));
}

// "CALL(vlan22, eth1/5)"
std::string with_interfaces(const char *call, const Arguments &arguments)
{
    return call + ("(" + name_of_interface(arguments.number[0])) + ", " +
           name_of_interface(arguments.number[1]) + ")";
}

Answer ask_port_tracking(const Arguments &arguments)
{
    return truth(with_interface("kov_get_port_tracking", arguments.number[0]),
                 kov_get_port_tracking(arguments.number[0]), on_off);
}

Answer ask_port_l2dci(const Arguments &arguments)
{
    return truth(with_interface("kov_get_port_l2dci", arguments.number[0]),
                 kov_get_port_l2dci(arguments.number[0]), on_off);
}

Answer ask_forwarding_mode(const Arguments &arguments)
{
    const kov_fwd_mode_params params{arguments.number[0], arguments.number[1]};
    return mode_answer(with_interfaces("kov_check_forwarding_mode", arguments),
                       kov_check_forwarding_mode(&params));
}

Answer ask_proxy_mode(const Arguments &arguments)
{
    const std::uint32_t mode = kov_check_proxy_mode(arguments.number[0], arguments.number[1]);
    return {with_interfaces("kov_check_proxy_mode", arguments), std::to_string(mode), mode};
}

Answer ask_suppress_arp_mode(const Arguments &arguments)
{
    const std::uint32_t mode = kov_get_suppress_arp_mode(arguments.number[0]);
    return {"kov_get_suppress_arp_mode(" + std::to_string(arguments.number[0]) + ")",
            kov_suppress_arp_mode_to_str(mode), word_of(suppress_mode_words, mode)};
}

Answer ask_suppress_arp(const Arguments &arguments)
{
    return truth(with_interface("kov_is_suppress_arp_enabled_ferro_svi", arguments.number[0]),
                 kov_is_suppress_arp_enabled_ferro_svi(arguments.number[0]), on_off);
}

Answer ask_ferro_capable(const Arguments &arguments)
{
    return truth(with_interface("kov_is_intf_ferro_capable", arguments.number[0]),
                 kov_is_intf_ferro_capable(0, arguments.number[0]), yes_no);
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
            yes_no(wanted), wanted != 0};
}

Answer ask_rt_conditional(const Arguments &arguments)
{
    const kov_rdb_aggr_sub_pfx_t record = record_of(arguments.address);
    return truth("kov_is_rt_conditional(" + arguments.vrf + ", " + network_text(arguments.address) + ")",
                 kov_is_rt_conditional(arguments.vrf.c_str(), record.prefix, arguments.address.family),
                 yes_no);
}

using FillList = std::uint32_t (*)(dbly_linkage **list);

// "vlan10, vlan11, 2 SVIs", by interface index.
Answer svis_answer(const char *call, FillList fill)
{
    dbly_linkage *list = nullptr;
    if (fill(&list) == 0)
        return {call, "failed", nullptr};
    std::set<std::uint32_t> svis;
    kov_svi_info_iter_t at;
    kov_svi_info_iter_init(&at, list);
    while (const kov_svi_info_t *svi = kov_svi_info_iter_get_next(&at))
        svis.insert(svi->svi_ifindex);
    kov_free_svi_info_list(list);
    std::string text;
    Json names = Json::array();
    for (const std::uint32_t svi : svis) {
        text += name_of_interface(svi) + ", ";
        names.push_back(name_of_interface(svi));
    }
    return {call, text + std::to_string(svis.size()) + (svis.size() == 1 ? " SVI" : " SVIs"), names};
}

Answer ask_ferro_svis(const Arguments &)
{
    return svis_answer("kov_get_all_enhanced_fwd_mode_svis(list)", kov_get_all_enhanced_fwd_mode_svis);
}

Answer ask_suppressing_svis(const Arguments &)
{
    return svis_answer("kov_get_all_suppress_arp_ferro_svis(list)", kov_get_all_suppress_arp_ferro_svis);
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

} // namespace

std::span<const Query> all_queries() { return rows; }

const Query *find_query(std::string_view name)
{
    for (const Query &query : rows)
        if (name == query.name)
            return &query;
    return nullptr;
}

} // namespace kov_lab
