// SVIs: those that the cache lists, and the whole record of the fabric control segment.
#include "audit_section.h"

#include <kov/kov_api.h>

#include <cstring>

namespace kov_lab
{
namespace
{

// What the queries show of the cached SVIs, each as a record with the other fields zero.
Svis cached_svis(AuditSection &section)
{
    Svis svis;
    answers_from_cache(section, [&] {
        dbly_linkage *list = nullptr;
        kov_svi_info_iter_t at;
        if (kov_get_all_enhanced_fwd_mode_svis(&list) == 0)
            return;
        kov_svi_info_iter_init(&at, list);
        while (const kov_svi_info_t *svi = kov_svi_info_iter_get_next(&at)) {
            kov_rdb_sviinfo_t &record = svis[svi->svi_ifindex];
            record.svi_ifindex = svi->svi_ifindex;
            record.vlan_id = svi->vlan_id;
            record.fwd_mode = svi->fwd_mode;
            record.suppress_arp = svi->suppress_arp;
        }
        kov_free_svi_info_list(list);
    });
    return svis;
}

// The record as the cache would show it: its own fields where the cache shows none.
kov_rdb_sviinfo_t shown(const kov_rdb_sviinfo_t &in_database, const kov_rdb_sviinfo_t &cached, bool migration)
{
    kov_rdb_sviinfo_t record = in_database;
    record.vlan_id = cached.vlan_id;
    record.fwd_mode = cached.fwd_mode;
    record.suppress_arp = cached.suppress_arp;
    if (migration)
        record.migration_enabled = switch_value(kov_check_ferro_migration(cached.svi_ifindex, nullptr),
                                                in_database.migration_enabled);
    return record;
}

void compare_svi(AuditSection &section, const kov_rdb_sviinfo_t &now, const Svis &cached, bool migration)
{
    const std::string name = name_of_interface(now.svi_ifindex);
    const auto found = cached.find(now.svi_ifindex);
    if (kov_is_ferro_fwd_mode(now.fwd_mode) == 0) {
        if (!is_control_segment(now))
            section.passed_over.push_back({name, "forwards as " +
                                                     std::string(kov_fwd_mode_str(now.fwd_mode)) +
                                                     ", a mode that is not cached"});
        if (found != cached.end())
            section.extra.push_back(name);
        return;
    }
    ++section.cacheable;
    if (found == cached.end()) {
        section.missing.push_back(name);
        return;
    }
    const kov_rdb_sviinfo_t as_cached = shown(now, found->second, migration);
    if (auto fields = disagreements(svi_fields(), &as_cached, &now); !fields.empty())
        section.different.push_back({name, std::move(fields)});
}

// The whole record of the fabric control segment, of which a query shows the binding.
void compare_control_segment(AuditSection &section, const Database &database)
{
    const std::uint32_t svi = kov_get_fabric_ctrl_seg();
    const auto found = database.records.svis.find(svi);
    const kov_fabric_ctrl_seg_info *info = kov_get_fabric_ctrl_seg_info();
    const std::string name = "the whole record of " + name_of_interface(svi);
    if (found == database.records.svis.end() || !is_control_segment(found->second)) {
        if (info != nullptr)
            section.extra.push_back(name);
        return;
    }
    if (info == nullptr) {
        section.missing.push_back(name);
        return;
    }
    kov_rdb_sviinfo_t as_cached = found->second;
    as_cached.vlan_id = info->vlan_id;
    as_cached.v4_prefix.addr = info->v4_addr;
    std::memcpy(as_cached.v6_prefix.addr, info->v6_addr, sizeof info->v6_addr);
    std::memcpy(as_cached.gw_mac, info->gw_mac, sizeof info->gw_mac);
    if (auto fields = disagreements(svi_fields(), &as_cached, &found->second); !fields.empty())
        section.different.push_back({name, std::move(fields)});
}

} // namespace

AuditSection audit_svis(const Database &database)
{
    AuditSection section = section_of(database, KOV_RDB_SVIINFO, "SVIs", database.records.svis.size());
    const bool listed = registered_for_any({KOV_MTYPE_SVI_FWD_MODE, KOV_MTYPE_SVI_FWD_MODE_CHANGE});
    const bool migration = listed && registered(KOV_MTYPE_SVI_MIGRATION);
    const bool control = registered(KOV_MTYPE_FABRIC_CTRL_SEG);
    not_registered(section, "type 9 or 18, and no other shows cached SVIs");
    const Svis cached = listed ? cached_svis(section) : Svis{};
    if (!section.compared)
        return section;
    if (!migration)
        section.unseen.push_back("migration_enabled");
    section.unseen.insert(section.unseen.end(),
                          {"is_up", "vrf_name", "is_fabric_ctrl_seg", "svi_word10", "vaddr_bound"});
    for (const auto &[ifindex, record] : database.records.svis)
        compare_svi(section, record, cached, migration);
    for (const auto &[ifindex, record] : cached)
        if (const std::string name = name_of_interface(ifindex);
            !database.records.svis.contains(ifindex) && !database.is_bad(KOV_RDB_SVIINFO, name))
            section.extra.push_back(name);
    if (control)
        compare_control_segment(section, database);
    else
        section.unseen.push_back("the whole record of the fabric control segment");
    return section;
}

} // namespace kov_lab
