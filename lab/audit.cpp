#include "audit_section.h"

#include <kov/kov_api.h>

namespace kov_lab
{

bool registered(std::uint32_t mtype)
{
    return kov_is_client_registration_done() != 0 &&
           kov_is_mtype_not_registered(static_cast<std::int32_t>(mtype), nullptr) == 0;
}

bool registered_for_any(std::initializer_list<std::uint32_t> mtypes)
{
    for (const std::uint32_t mtype : mtypes)
        if (registered(mtype))
            return true;
    return false;
}

AuditSection section_of(const Database &database, kov_rdb_type type, const char *name, std::size_t good)
{
    AuditSection section;
    section.name = name;
    section.in_database = good;
    for (const BadRecord &record : database.bad)
        if (record.type == type) {
            ++section.in_database;
            section.undecodable.push_back({record.key, record.why});
        }
    return section;
}

void not_registered(AuditSection &section, const std::string &types)
{
    section.why_not = kov_is_client_registration_done() != 0
                          ? "the client did not register for " + types
                          : "the client is not registered, and caches nothing";
}

std::vector<Disagreement> disagreements(std::span<const Field> fields, const void *cache,
                                        const void *database)
{
    std::vector<Disagreement> found;
    for (const Field &field : fields)
        if (!same_field(field, cache, database))
            found.push_back({field.name, field_text(field, cache), field_text(field, database)});
    return found;
}

std::uint32_t switch_value(std::uint32_t answer, std::uint32_t in_database)
{
    return (answer != 0) == (in_database != 0) ? in_database : answer;
}

bool is_control_segment(const kov_rdb_sviinfo_t &svi)
{
    return svi.is_fabric_ctrl_seg != 0 && kov_is_vaddr_bind_complete(&svi) != 0;
}

std::size_t Audit::differences() const
{
    std::size_t count = 0;
    for (const AuditSection &section : sections)
        count += section.missing.size() + section.extra.size() + section.different.size() +
                 section.undecodable.size();
    return count;
}

Audit audit()
{
    const Database database = read_database();
    return {{audit_general(database), audit_svis(database), audit_tracking(database),
             audit_prefixes(database), audit_l2dci(database), audit_topologies(database)}};
}

} // namespace kov_lab
