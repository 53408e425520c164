// What the comparisons of the record types have in common, and their list.
#pragma once

#include "audit.h"
#include "database.h"

#include <initializer_list>
#include <span>

namespace kov_lab
{

// Whether this process is registered, and for the type, or for one of them.
bool registered(std::uint32_t mtype);
bool registered_for_any(std::initializer_list<std::uint32_t> mtypes);

// A section without its comparison: `good` records, and the undecodable ones.
AuditSection section_of(const Database &database, kov_rdb_type type, const char *name, std::size_t good);

// Has the section say that it is not compared, because the client did not register for `types`.
void not_registered(AuditSection &section, const std::string &types);

// True when the question is answered without a read; else the section says that it is not compared.
template <typename Question>
bool answers_from_cache(AuditSection &section, Question question)
{
    const std::uint64_t before = database_reads();
    question();
    section.compared = database_reads() == before;
    if (!section.compared)
        section.why_not = "the library answers from the database";
    return section.compared;
}

// Where the fields differ.
std::vector<Disagreement> disagreements(std::span<const Field> fields, const void *cache,
                                        const void *database);

// A switch is shown as on or off; any value that is on agrees with any other.
std::uint32_t switch_value(std::uint32_t answer, std::uint32_t in_database);

// Whether the library caches this SVI whole, as that of the fabric control segment.
bool is_control_segment(const kov_rdb_sviinfo_t &svi);

AuditSection audit_general(const Database &database);
AuditSection audit_svis(const Database &database);
AuditSection audit_tracking(const Database &database);
AuditSection audit_prefixes(const Database &database);
AuditSection audit_l2dci(const Database &database);
AuditSection audit_topologies(const Database &database);

} // namespace kov_lab
