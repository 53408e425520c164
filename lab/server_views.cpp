#include "server_views.h"

#include "profile_messages.h"
#include "profile_options.h"

#include <kov/kov_enums.h>
#include <kov_host.h>

#include <unistd.h>

namespace kov_lab
{
namespace
{

const Scenario &published(const Call &call) { return server_of(call).published(); }

Json svi_key(std::uint32_t ifindex) { return {{"svi", name_of_interface(ifindex)}, {"ifindex", ifindex}}; }

Json port_key(const std::string &name)
{
    return {{"port", name}, {"ifindex", kov_host_ifindex_parse(name.c_str())}};
}

// The switch's ports, by name.
std::vector<std::string> ports_of(const Scenario &state)
{
    std::vector<std::string> names;
    for (const auto &[slot, card] : state.line_cards)
        for (std::uint32_t port = 1; port <= card.ports; ++port)
            names.push_back(card.name + "/" + std::to_string(port));
    for (const std::uint32_t channel : state.port_channels)
        names.push_back(name_of_interface(channel));
    return names;
}

Json types_of(std::uint32_t mask)
{
    Json types = Json::array();
    for (std::uint32_t mtype = 0; mtype < 32; ++mtype)
        if ((mask >> mtype & 1) != 0)
            types.push_back(mtype_word(mtype));
    return types;
}

} // namespace

Reply list_svis(const Call &call)
{
    Table table("svis", {{"SVI", 10}, {"State", 5}, {"Mode", 26}, {"VRF", 32}, {"IPv4", 0}});
    for (const auto &[ifindex, svi] : published(call).svis)
        table.add({name_of_interface(ifindex), svi.is_up != 0 ? "up" : "down", kov_fwd_mode_str(svi.fwd_mode),
                   printable(svi.vrf_name, sizeof svi.vrf_name), v4_prefix_text(svi.v4_prefix)},
                  object_of(svi_key(ifindex), svi_fields(), &svi));
    return table.reply();
}

Reply list_topologies(const Call &call)
{
    Table table("topologies", {{"BD", 6}, {"VNI", 9}, {"ARP suppression", 26}, {"In use", 8}, {"SVI", 0}});
    for (const auto &[bd, topology] : published(call).topologies)
        table.add({std::to_string(bd), std::to_string(topology.vni),
                   kov_suppress_arp_mode_to_str(topology.suppress_arp_mode),
                   topology.suppress_arp_enabled != 0 ? "yes" : "no",
                   name_of_interface(topology.suppress_arp_l3_svi)},
                  object_of({{"bd", bd}}, topology_fields(), &topology));
    return table.reply();
}

Reply list_ports(const Call &call)
{
    Table table("ports", {{"Port", 10}, {"Tracking", 9}, {"L2DCI", 0}});
    for (const std::string &name : ports_of(published(call))) {
        const PortBits bits = published(call).bits_of(kov_host_ifindex_parse(name.c_str()));
        if (bits != PortBits{})
            table.add({name, bits.tracking != 0 ? "on" : "off", bits.l2dci != 0 ? "on" : "off"},
                      object_of(port_key(name), port_fields(), &bits));
    }
    return table.reply();
}

Reply list_prefixes(const Call &call)
{
    Table table("prefixes", {{"VRF", 32}, {"Prefix", 0}});
    for (const Prefix &prefix : published(call).prefixes)
        table.add({prefix.vrf, network_text(prefix.network)},
                  {{"vrf", prefix.vrf}, {"prefix", network_text(prefix.network)}});
    return table.reply();
}

Reply list_profiles(const Call &call)
{
    Table table("profiles", {{"Client", 24}, {"Host", 24}, {"Reference", 9}, {"Profile", 0}});
    for (const auto &[id, profile] : server_of(call).profiles()) {
        const kov_uhost_key_t &key = profile.key;
        table.add({id.client, host_name(key), std::to_string(key.host_ref), options_text(key.options)},
                  {{"client", id.client},
                   {"host", host_name(key)},
                   {"reference", std::uint32_t{key.host_ref}},
                   {"profile", options_json(key.options)}});
    }
    return table.reply();
}

Reply list_hosts(const Call &call)
{
    const auto or_dash = [](const std::string &text) { return text.empty() ? "-" : text; };
    Table table("hosts", {{"Host", 24},
                          {"VRF", 12},
                          {"Wanted by", 14},
                          {"Answered", 8},
                          {"Found by", 14},
                          {"Place", 32},
                          {"Asked", 0}});
    for (const Verification &row : server_of(call).verifications().all())
        table.add({row.host, or_dash(row.vrf), or_dash(row.wanted_by), row.answered ? "yes" : "no",
                   or_dash(row.found_by), or_dash(row.place), or_dash(row.asked)},
                  {{"host", row.host},
                   {"vrf", row.vrf},
                   {"wanted_by", row.wanted_by},
                   {"asked", row.asked},
                   {"answered", row.answered},
                   {"found_by", row.found_by},
                   {"place", row.place}});
    return table.reply();
}

Reply list_clients(const Call &call)
{
    Table table("clients", {{"SAP", 6}, {"Pid", 8}, {"Name", 24}, {"Waiting", 8}, {"Types", 0}});
    for (const auto &[sap, client] : server_of(call).clients().all())
        table.add({std::to_string(sap), std::to_string(client.pid), client.name,
                   std::to_string(client.waiting.size()), mask_words(client.mask)},
                  {{"sap", sap},
                   {"pid", client.pid},
                   {"name", client.name},
                   {"waiting", client.waiting.size()},
                   {"types", types_of(client.mask)},
                   {"mask", client.mask}});
    return table.reply();
}

Reply show_geninfo(const Call &call)
{
    if (!published(call).general)
        return refusal("there is no general information; set geninfo FIELD=VALUE makes it");
    return record_reply(Json::object(), geninfo_fields(), &*published(call).general);
}

Reply show_svi(const Call &call)
{
    std::string why;
    const std::uint32_t ifindex = svi_of_name(call.words[0], why);
    const auto found = published(call).svis.find(ifindex);
    if (found != published(call).svis.end())
        return record_reply(svi_key(ifindex), svi_fields(), &found->second);
    return refusal(ifindex == 0 ? why : no_svi(published(call), call.words[0]));
}

Reply show_topology(const Call &call)
{
    std::string why;
    const auto bd = parse_number(call.words[0], 1, last_bridge_domain, why);
    const auto found = published(call).topologies.find(bd.value_or(0));
    if (found != published(call).topologies.end())
        return record_reply({{"bd", *bd}}, topology_fields(), &found->second);
    return refusal(bd ? no_topology(published(call), *bd) : why);
}

Reply show_port(const Call &call)
{
    std::string why;
    const std::uint32_t port = published(call).port_of(call.words[0], why);
    if (port == 0)
        return refusal(why);
    const PortBits bits = published(call).bits_of(port);
    return record_reply(port_key(call.words[0]), port_fields(), &bits);
}

Reply show_status(const Call &call)
{
    const Server &server = server_of(call);
    const Scenario &state = server.published();
    const ClientCounters &counters = server.clients().counters();
    const std::string name = kov_host_name();
    kov_host_counters host;
    kov_host_counters_get(&host);
    Listing list;
    list.add("server",
             name + " (pid " + std::to_string(getpid()) + ", SAP " + std::to_string(KOV_SERVER_SAP) + ")",
             {{"server", name}, {"pid", getpid()}, {"sap", KOV_SERVER_SAP}});
    list.add("directory", kov_host_dir());
    list.add("general information", state.general.has_value());
    list.add("svis", state.svis.size());
    list.add("topologies", state.topologies.size());
    list.add("slots with tracked ports", state.tracking.size());
    list.add("slots with l2dci ports", state.l2dci.size());
    list.add("prefixes", state.prefixes.size());
    list.add("profiles", server.profiles().size());
    list.add("profile reply", server.profile_code_text());
    list.add("clients", server.clients().all().size());
    list.add("frames received", server.frames_received());
    list.add("frames refused", server.frames_refused());
    list.add("gleans", server.gleans());
    list.add("hosts to verify", server.verifications().asked());
    list.add("hosts found", server.verifications().found());
    list.add("messages sent", counters.sent);
    list.add("messages delayed", counters.delayed);
    list.add("messages waiting", server.clients().waiting());
    list.add("messages lost", counters.lost);
    list.add("messages unread", host.ipc_peer_unread);
    return list.reply();
}

// ---- Completion ------------------------------------------------------------------------------------------

void complete_svi(const Call &call, Candidates &out)
{
    if (place_of(call) == 0)
        for (const auto &[ifindex, svi] : published(call).svis)
            out.push_back(name_of_interface(ifindex));
}

void complete_topology(const Call &call, Candidates &out)
{
    if (place_of(call) == 0)
        for (const auto &[bd, topology] : published(call).topologies)
            out.push_back(std::to_string(bd));
}

void complete_port(const Call &call, Candidates &out)
{
    if (place_of(call) == 0)
        out = ports_of(published(call));
}

void complete_vrf(const Call &call, Candidates &out)
{
    if (place_of(call) != 0)
        return;
    out = published(call).vrfs;
    out.emplace_back("default");
}

void complete_prefix(const Call &call, Candidates &out)
{
    complete_vrf(call, out);
    for (const Prefix &prefix : published(call).prefixes)
        if (place_of(call) == 1 && prefix.vrf == call.words[0])
            out.push_back(network_text(prefix.network));
}

void complete_profile(const Call &call, Candidates &out)
{
    for (const auto &[id, profile] : server_of(call).profiles())
        if (place_of(call) == 0)
            out.push_back(id.client);
        else if (place_of(call) == 1 && id.client == call.words[0])
            out.push_back(host_name(profile.key));
}

} // namespace kov_lab
