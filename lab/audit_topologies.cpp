// Topologies: every bridge domain.
#include "audit_section.h"

#include <kov/kov_api.h>

namespace kov_lab
{
namespace
{

void compare_topology(AuditSection &section, const Topologies &topologies, std::uint32_t bd)
{
    const std::string name = "bridge domain " + std::to_string(bd);
    const auto found = topologies.find(bd);
    const kov_rdb_l2rib_topo_info_t now = found == topologies.end() ? default_topology(bd) : found->second;
    kov_rdb_l2rib_topo_info_t cached = now;
    cached.suppress_arp_mode = kov_get_suppress_arp_mode(bd);
    section.cacheable += found == topologies.end() ? 0 : 1;
    auto fields = disagreements(topology_fields(), &cached, &now);
    if (fields.empty())
        return;
    if (found == topologies.end())
        section.extra.push_back(name);
    else if (cached.suppress_arp_mode == KOV_SUPPRESS_ARP_DISABLED)
        section.missing.push_back(name);
    else
        section.different.push_back({name, std::move(fields)});
}

} // namespace

AuditSection audit_topologies(const Database &database)
{
    const Topologies &topologies = database.records.topologies;
    AuditSection section = section_of(database, KOV_RDB_L2RIB_TOPO_INFO, "topologies", topologies.size());
    not_registered(section, "type 19");
    if (!registered(KOV_MTYPE_SUPPRESS_ARP_TOPO) ||
        !answers_from_cache(section, [] { kov_get_suppress_arp_mode(1); }))
        return section;
    section.unseen = {"vni", "suppress_arp_enabled", "svi", "topologies without a mode"};
    if (topologies.contains(0))
        section.passed_over.push_back({"bridge domain 0", "the library takes no bridge domain 0"});
    for (std::uint32_t bd = 1; bd <= last_bridge_domain; ++bd)
        if (!database.is_bad(KOV_RDB_L2RIB_TOPO_INFO, "bridge domain " + std::to_string(bd)))
            compare_topology(section, topologies, bd);
    for (auto at = topologies.upper_bound(last_bridge_domain); at != topologies.end(); ++at)
        compare_topology(section, topologies, at->first);
    return section;
}

} // namespace kov_lab
