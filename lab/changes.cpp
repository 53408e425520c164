// What an operator changes: each record's rules, the edits that a change makes, and the notices that tell it.
#include "server.h"
#include "settings.h"

#include <kov/kov_enums.h>

#include <cstring>

namespace kov_lab
{
namespace
{

// Why clients have to clear a host, as profile messages say it.
constexpr std::uint32_t code_vlan_deleted = 44;
constexpr std::uint32_t code_vlan_changed = 45;
constexpr std::uint32_t code_vni_deleted = 46;
constexpr std::uint32_t code_vni_changed = 47;

template <typename Record>
bool same(const Record &left, const Record &right)
{
    return std::memcmp(&left, &right, sizeof left) == 0;
}

std::string svi_changes(const kov_rdb_sviinfo_t &before, const kov_rdb_sviinfo_t &now)
{
    return name_of_interface(now.svi_ifindex) + ": " + changes_text(svi_fields(), &before, &now);
}

std::uint32_t bd_of(std::string_view text, std::string &why)
{
    const auto bd = parse_number(text, 1, last_bridge_domain, why);
    if (!bd)
        why.insert(0, "bridge domain: ");
    return bd.value_or(0);
}

} // namespace

bool Server::change(const std::vector<Edit> &edits, const std::vector<Notice> &notices, std::string &text)
{
    std::string why;
    if (!edits.empty() && !publisher_->change(edits, why)) {
        text = why;
        return false;
    }
    if (!notices.empty())
        text += announce(notices);
    return true;
}

// ---- General information ---------------------------------------------------------------------------------

bool Server::set_geninfo(Settings settings, std::string &text)
{
    const bool fresh = !published().general;
    const kov_rdb_geninfo_t before = published().general.value_or(default_geninfo());
    kov_rdb_geninfo_t now = before;
    std::uint32_t as = 0;
    if (!apply(geninfo_fields(), is_geninfo_type, settings, &now, as, text))
        return false;
    text = (fresh ? "general information created: " : "general information: ") +
           changes_text(geninfo_fields(), &before, &now);
    if (!fresh && same(before, now) && as == 0)
        return true;
    return change({put(now)}, geninfo_notices(before, now, published().svis, as), text);
}

bool Server::del_geninfo(std::string &text)
{
    if (!published().general) {
        text = "there is no general information";
        return false;
    }
    // What clients answer without a record are the defaults: that is what the record changes to.
    const kov_rdb_geninfo_t before = *published().general;
    text = "general information deleted";
    return change({erase_general()}, geninfo_notices(before, default_geninfo(), published().svis), text);
}

// ---- SVIs ------------------------------------------------------------------------------------------------

bool Server::set_svi(std::string_view name, Settings settings, std::string &text)
{
    const std::uint32_t ifindex = svi_of_name(name, text);
    if (ifindex == 0)
        return false;
    const auto *topology = published().topology_of(ifindex);
    const auto found = published().svis.find(ifindex);
    const bool fresh = found == published().svis.end();
    kov_rdb_sviinfo_t before = fresh ? default_svi(ifindex) : found->second;
    if (fresh && topology != nullptr)
        before.suppress_arp = topology->suppress_arp_enabled;
    kov_rdb_sviinfo_t now = before;
    std::uint32_t as = 0;
    if (!apply(svi_fields(), is_svi_type, settings, &now, as, text))
        return false;
    if (topology != nullptr && now.suppress_arp != before.suppress_arp) {
        text = "suppress_arp: is that of topology " + std::to_string(topology->bd) + "; set it there";
        return false;
    }
    text = std::string(name) + (fresh ? " created: " : ": ") + changes_text(svi_fields(), &before, &now);
    if (!fresh && same(before, now) && as == 0)
        return true;
    if (!change({put(now)}, svi_notices(before, now, as), text))
        return false;
    if (!fresh)
        text += clear_hosts_of_vlan(before.vlan_id, code_vlan_changed);
    return true;
}

bool Server::del_svi(std::string_view name, std::string &text)
{
    const std::uint32_t ifindex = svi_of_name(name, text);
    if (ifindex == 0)
        return false;
    const auto found = published().svis.find(ifindex);
    if (found == published().svis.end()) {
        text = no_svi(published(), name);
        return false;
    }
    const kov_rdb_sviinfo_t before = found->second;
    kov_rdb_sviinfo_t gone{};
    gone.svi_ifindex = ifindex;
    text = std::string(name) + " deleted";
    if (!change({erase_svi(ifindex)}, svi_notices(before, gone), text))
        return false;
    text += clear_hosts_of_vlan(before.vlan_id, code_vlan_deleted);
    return true;
}

// ---- Topologies ------------------------------------------------------------------------------------------

std::vector<kov_rdb_sviinfo_t> Server::svis_changed_by(const kov_rdb_l2rib_topo_info_t &before,
                                                       const kov_rdb_l2rib_topo_info_t &now) const
{
    std::vector<kov_rdb_sviinfo_t> changed;
    const auto give = [&](std::uint32_t svi, std::uint32_t suppress_arp) {
        const auto found = published().svis.find(svi);
        if (found == published().svis.end() || found->second.suppress_arp == suppress_arp)
            return;
        changed.push_back(found->second);
        changed.back().suppress_arp = suppress_arp;
    };
    if (before.suppress_arp_l3_svi != now.suppress_arp_l3_svi)
        give(before.suppress_arp_l3_svi, 0);
    give(now.suppress_arp_l3_svi, now.suppress_arp_enabled);
    return changed;
}

// One transaction and one message for the topology and its SVI, so that no client sees one without the other.
bool Server::change_topology(const kov_rdb_l2rib_topo_info_t &before, const kov_rdb_l2rib_topo_info_t &now,
                             Edit edit, std::string &text)
{
    const std::vector<kov_rdb_sviinfo_t> svis = svis_changed_by(before, now);
    std::vector<Edit> edits;
    edits.push_back(std::move(edit));
    for (const kov_rdb_sviinfo_t &svi : svis) {
        text += "; " + svi_changes(published().svis.at(svi.svi_ifindex), svi);
        edits.push_back(put(svi));
    }
    kov_rdb_l2rib_topo_info_t told = now;
    if (told.suppress_arp_l3_svi == 0)
        told.suppress_arp_l3_svi =
            before.suppress_arp_l3_svi; // it has lost its suppression, if there was one
    if (!change(edits, topology_notices(told, svis), text))
        return false;
    text += clear_hosts_of_vni(before.vni, now.vni == 0 ? code_vni_deleted : code_vni_changed);
    return true;
}

bool Server::set_topology(std::string_view name, Settings settings, std::string &text)
{
    const std::uint32_t bd = bd_of(name, text);
    if (bd == 0)
        return false;
    const auto found = published().topologies.find(bd);
    const bool fresh = found == published().topologies.end();
    const kov_rdb_l2rib_topo_info_t before = fresh ? default_topology(bd) : found->second;
    kov_rdb_l2rib_topo_info_t now = before;
    std::uint32_t as = 0;
    if (!apply(topology_fields(), is_topology_type, settings, &now, as, text))
        return false;
    // Who names a mode means that it is in use, unless told otherwise.
    if (names_field(settings, "suppress_arp_mode") && !names_field(settings, "suppress_arp_enabled"))
        now.suppress_arp_enabled = now.suppress_arp_mode != KOV_SUPPRESS_ARP_DISABLED ? 1 : 0;
    const auto *other = published().topology_of(now.suppress_arp_l3_svi);
    if (other != nullptr && other->bd != bd) {
        text = "svi: " + name_of_interface(now.suppress_arp_l3_svi) + " is that of topology " +
               std::to_string(other->bd);
        return false;
    }
    text = "topology " + std::to_string(bd) + (fresh ? " created: " : ": ") +
           changes_text(topology_fields(), &before, &now);
    return (!fresh && same(before, now) && as == 0) || change_topology(before, now, put(now), text);
}

bool Server::del_topology(std::string_view name, std::string &text)
{
    const std::uint32_t bd = bd_of(name, text);
    if (bd == 0)
        return false;
    const auto found = published().topologies.find(bd);
    if (found == published().topologies.end()) {
        text = no_topology(published(), bd);
        return false;
    }
    text = "topology " + std::to_string(bd) + " deleted";
    const kov_rdb_l2rib_topo_info_t before = found->second;
    return change_topology(before, default_topology(bd), erase_topology(bd), text);
}

// ---- Ports -----------------------------------------------------------------------------------------------

bool Server::change_port(std::uint32_t port, const PortBits &before, const PortBits &now, std::uint32_t as,
                         std::string &text)
{
    const std::uint8_t slot = place_of(port)->slot;
    std::vector<Edit> edits;
    if (before.tracking != now.tracking)
        edits.push_back(
            put_tracking(slot, published().slot_with(published().tracking, port, now.tracking != 0)));
    if (before.l2dci != now.l2dci)
        edits.push_back(put_l2dci(slot, published().slot_with(published().l2dci, port, now.l2dci != 0)));
    return change(edits, port_notices(port, before, now, as), text);
}

bool Server::set_port(std::string_view name, Settings settings, std::string &text)
{
    const std::uint32_t port = published().port_of(name, text);
    if (port == 0)
        return false;
    const PortBits before = published().bits_of(port);
    PortBits now = before;
    std::uint32_t as = 0;
    if (!apply(port_fields(), is_port_type, settings, &now, as, text))
        return false;
    text = std::string(name) + ": " + changes_text(port_fields(), &before, &now);
    return change_port(port, before, now, as, text);
}

bool Server::del_port(std::string_view name, std::string &text)
{
    const std::uint32_t port = published().port_of(name, text);
    if (port == 0)
        return false;
    const PortBits before = published().bits_of(port);
    if (before == PortBits{}) {
        text = std::string(name) + " is in no record";
        return false;
    }
    text = std::string(name) + " deleted";
    return change_port(port, before, {}, 0, text);
}

// ---- Prefixes --------------------------------------------------------------------------------------------

std::optional<Prefix> Server::parse_prefix(std::string_view vrf, std::string_view network,
                                           std::string &why) const
{
    const auto parsed = parse_network(network, why);
    if (!published().knows_vrf(vrf))
        why = no_vrf(published(), vrf);
    else if (parsed)
        return Prefix{std::string(vrf), *parsed};
    return std::nullopt;
}

bool Server::set_prefix(std::string_view vrf, std::string_view network, std::string &text)
{
    const auto prefix = parse_prefix(vrf, network, text);
    if (!prefix)
        return false;
    text = text_of(*prefix) + (published().prefixes.contains(*prefix) ? ": nothing changed" : " created");
    return published().prefixes.contains(*prefix) || change({put(*prefix)}, prefix_notices(*prefix), text);
}

bool Server::del_prefix(std::string_view vrf, std::string_view network, std::string &text)
{
    const auto prefix = parse_prefix(vrf, network, text);
    if (!prefix)
        return false;
    if (!published().prefixes.contains(*prefix)) {
        text = "there is no " + text_of(*prefix);
        return false;
    }
    text = text_of(*prefix) + " deleted";
    return change({erase(*prefix)}, prefix_notices(*prefix), text);
}

} // namespace kov_lab
