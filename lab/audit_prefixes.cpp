#include "audit_section.h"

namespace kov_lab
{

AuditSection audit_prefixes(const Database &database)
{
    AuditSection section =
        section_of(database, KOV_RDB_AGGR_SUB_PFX, "aggregate prefixes", database.records.prefixes.size());
    section.cacheable = database.records.prefixes.size();
    section.why_not = "no query shows cached prefixes";
    return section;
}

} // namespace kov_lab
