#include "server_views.h"

#include "profile_messages.h"
#include "profile_options.h"

#include <kov/kov_enums.h>
#include <kov/platform/cli.h>
#include <kov_host.h>

namespace kov_lab
{
namespace
{

// Prints a line for each element until the reader has seen enough. The list is a copy: while a person reads a
// page, records come and go.
template <typename List, typename Print>
int print_list(void *cli, List list, Print print)
{
    for (const auto &element : list) {
        print(element);
        if (cli_more_output(cli) == 0)
            break;
    }
    return done;
}

int show_fields(void *cli, std::span<const Field> fields, const void *record)
{
    for (const Field &field : fields)
        cli_cmd_printf(cli, "%-26s %s\n", field.name, field_text(field, record).c_str());
    return done;
}

// The switch's ports that have a bit somewhere, by name.
std::vector<std::string> ports_in_records(const Scenario &state)
{
    std::vector<std::string> names;
    const auto add = [&](const std::string &name) {
        if (state.bits_of(kov_host_ifindex_parse(name.c_str())) != PortBits{})
            names.push_back(name);
    };
    for (const auto &[slot, card] : state.line_cards)
        for (std::uint32_t port = 1; port <= card.ports; ++port)
            add(card.name + "/" + std::to_string(port));
    for (const std::uint32_t channel : state.port_channels)
        add(name_of_interface(channel));
    return names;
}

} // namespace

int answer(void *cli, bool good, const std::string &text)
{
    cli_cmd_printf(cli, "%s\n", text.c_str());
    return good ? done : refused;
}

int usage(void *cli, const char *text)
{
    cli_cmd_printf(cli, "usage: %s\n", text);
    return misused;
}

int run_list_svis(Server &server, void *cli, const Words & /*words*/)
{
    cli_cmd_printf(cli, "%-10s %-5s %-26s %-32s %s\n", "SVI", "State", "Mode", "VRF", "IPv4");
    return print_list(cli, server.published().svis, [cli](const auto &entry) {
        const kov_rdb_sviinfo_t &svi = entry.second;
        cli_cmd_printf(cli, "%-10s %-5s %-26s %-32s %s\n", name_of_interface(entry.first).c_str(),
                       svi.is_up != 0 ? "up" : "down", kov_fwd_mode_str(svi.fwd_mode),
                       printable(svi.vrf_name, sizeof svi.vrf_name).c_str(),
                       v4_prefix_text(svi.v4_prefix).c_str());
    });
}

int run_list_topologies(Server &server, void *cli, const Words & /*words*/)
{
    cli_cmd_printf(cli, "%-6s %-9s %-26s %-8s %s\n", "BD", "VNI", "ARP suppression", "In use", "SVI");
    return print_list(cli, server.published().topologies, [cli](const auto &entry) {
        const kov_rdb_l2rib_topo_info_t &topology = entry.second;
        cli_cmd_printf(cli, "%-6u %-9u %-26s %-8s %s\n", entry.first, topology.vni,
                       kov_suppress_arp_mode_to_str(topology.suppress_arp_mode),
                       topology.suppress_arp_enabled != 0 ? "yes" : "no",
                       name_of_interface(topology.suppress_arp_l3_svi).c_str());
    });
}

int run_list_ports(Server &server, void *cli, const Words & /*words*/)
{
    cli_cmd_printf(cli, "%-10s %-9s %s\n", "Port", "Tracking", "L2DCI");
    return print_list(cli, ports_in_records(server.published()), [&server, cli](const std::string &name) {
        const PortBits bits = server.published().bits_of(kov_host_ifindex_parse(name.c_str()));
        cli_cmd_printf(cli, "%-10s %-9s %s\n", name.c_str(), bits.tracking != 0 ? "on" : "off",
                       bits.l2dci != 0 ? "on" : "off");
    });
}

int run_list_prefixes(Server &server, void *cli, const Words & /*words*/)
{
    cli_cmd_printf(cli, "%-32s %s\n", "VRF", "Prefix");
    return print_list(cli, server.published().prefixes, [cli](const Prefix &prefix) {
        cli_cmd_printf(cli, "%-32s %s\n", prefix.vrf.c_str(), network_text(prefix.network).c_str());
    });
}

int run_list_profiles(Server &server, void *cli, const Words & /*words*/)
{
    cli_cmd_printf(cli, "%-24s %-24s %-9s %s\n", "Client", "Host", "Reference", "Profile");
    return print_list(cli, server.profiles(), [cli](const auto &entry) {
        const kov_uhost_key_t &key = entry.second.key;
        cli_cmd_printf(cli, "%-24s %-24s %-9u %s\n", entry.first.client.c_str(), host_name(key).c_str(),
                       key.host_ref, options_text(key.options).c_str());
    });
}

int run_list_clients(Server &server, void *cli, const Words & /*words*/)
{
    cli_cmd_printf(cli, "%-6s %-8s %-24s %-12s %s\n", "SAP", "Pid", "Name", "Types", "Waiting");
    for (const auto &[sap, client] : server.clients().all())
        cli_cmd_printf(cli, "%-6u %-8d %-24s %-12s %zu\n", sap, client.pid, client.name.c_str(),
                       mask_text(client.mask).c_str(), client.waiting.size());
    return done;
}

int run_show_geninfo(Server &server, void *cli, const Words & /*words*/)
{
    if (!server.published().general)
        return answer(cli, false, "there is no general information");
    return show_fields(cli, geninfo_fields(), &*server.published().general);
}

int run_show_svi(Server &server, void *cli, const Words &words)
{
    std::string why;
    if (words.size() != 1)
        return usage(cli, "show svi NAME");
    const auto found = server.published().svis.find(svi_of_name(words[0], why));
    if (found == server.published().svis.end())
        return answer(cli, false, why.empty() ? "there is no " + std::string(words[0]) : why);
    return show_fields(cli, svi_fields(), &found->second);
}

int run_show_topology(Server &server, void *cli, const Words &words)
{
    std::string why;
    if (words.size() != 1)
        return usage(cli, "show topology BD");
    const auto bd = parse_number(words[0], 1, last_bridge_domain, why);
    const auto found = server.published().topologies.find(bd.value_or(0));
    if (found == server.published().topologies.end())
        return answer(cli, false, bd ? "there is no topology " + std::to_string(*bd) : why);
    return show_fields(cli, topology_fields(), &found->second);
}

int run_show_port(Server &server, void *cli, const Words &words)
{
    std::string why;
    if (words.size() != 1)
        return usage(cli, "show port NAME");
    const std::uint32_t port = server.published().port_of(words[0], why);
    if (port == 0)
        return answer(cli, false, why);
    const PortBits bits = server.published().bits_of(port);
    return show_fields(cli, port_fields(), &bits);
}

} // namespace kov_lab
