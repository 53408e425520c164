// Aggregate prefixes. A query only says whether something lies inside one that is cached, so the audit asks
// for each of the database's, and looks for others where they would matter: around and beside those, and at
// the subnets of SVIs. Where the cache claims something, the shortest prefix that it claims is the one it
// holds.
#include "audit_section.h"

#include <kov/kov_api.h>

#include <set>

namespace kov_lab
{
namespace
{

Prefix shortened(const Prefix &prefix, unsigned length)
{
    Prefix around = prefix;
    around.network.length = static_cast<std::uint8_t>(length);
    around.network = without_host_bits(around.network);
    return around;
}

// The other half of the prefix around this one.
Prefix beside(const Prefix &prefix)
{
    Prefix other = prefix;
    const unsigned last = prefix.network.length - 1u;
    other.network.address[last / 8] ^= static_cast<std::uint8_t>(0x80u >> last % 8);
    return other;
}

bool is_cached(const Prefix &prefix)
{
    const kov_rdb_aggr_sub_pfx_t record = record_of(prefix.network);
    return kov_is_rt_conditional(prefix.vrf.c_str(), record.prefix, prefix.network.family) != 0;
}

bool is_stored(const std::set<Prefix> &prefixes, const Prefix &prefix)
{
    for (unsigned length = 0; length <= prefix.network.length; ++length)
        if (prefixes.contains(shortened(prefix, length)))
            return true;
    return false;
}

// The shortest cached prefix around one that the cache claims.
Prefix outermost(const Prefix &prefix)
{
    unsigned length = 0;
    while (length < prefix.network.length && !is_cached(shortened(prefix, length)))
        ++length;
    return shortened(prefix, length);
}

// Where a prefix that the database does not have would matter.
std::set<Prefix> likely_places(const Scenario &records)
{
    std::set<Prefix> probes;
    for (const Prefix &prefix : records.prefixes)
        if (prefix.network.length > 0) {
            probes.insert(shortened(prefix, prefix.network.length - 1u));
            probes.insert(beside(prefix));
        }
    for (const auto &[ifindex, svi] : records.svis) {
        const std::string vrf = bounded_text(svi.vrf_name, sizeof svi.vrf_name);
        for (const auto &subnet : {subnet_of(svi.v4_prefix), subnet_of(svi.v6_prefix)})
            if (subnet)
                probes.insert({vrf, *subnet});
    }
    return probes;
}

} // namespace

AuditSection audit_prefixes(const Database &database)
{
    const std::set<Prefix> &prefixes = database.records.prefixes;
    AuditSection section = section_of(database, KOV_RDB_AGGR_SUB_PFX, "aggregate prefixes", prefixes.size());
    not_registered(section, "type 8");
    if (!registered(KOV_MTYPE_AGGR_SUB_PFX) || !answers_from_cache(section, [] {
            is_cached({"default", {}});
        }))
        return section;
    section.cacheable = prefixes.size();
    section.unseen = {"prefixes inside others", "extra prefixes away from all others and from the SVIs"};
    for (const Prefix &prefix : prefixes)
        if (!is_cached(prefix))
            section.missing.push_back(text_of(prefix));
    std::set<Prefix> extra;
    for (const Prefix &probe : likely_places(database.records))
        if (!is_stored(prefixes, probe) && is_cached(probe))
            extra.insert(outermost(probe));
    for (const Prefix &prefix : extra)
        section.extra.push_back(text_of(prefix));
    return section;
}

} // namespace kov_lab
