// The audit: does this process's cache say what the database says?
//
// The library hides its cache, on purpose. So the audit asks the library's own queries, counts the host's
// reads meanwhile to know that the cache answered, and compares with the database, which it reads and decodes
// itself. What no query shows cannot be compared; docs/audit.md lists it, type by type.
//
// The cache holds what a fill puts there: records that a fill passes over (SVIs in modes that are not cached)
// are no difference, and are told apart. A change whose message has not arrived yet is a difference like any
// other: an audit is about now.
#pragma once

#include "json.h"

#include <cstddef>
#include <string>
#include <vector>

namespace kov_lab
{

// A record that the cache and the database tell differently.
struct Disagreement {
    std::string field;
    std::string cache;
    std::string database;
};

struct DifferentRecord {
    std::string key;
    std::vector<Disagreement> fields;
};

struct PassedOver {
    std::string key;
    std::string why;
};

// One record type.
struct AuditSection {
    std::string name;
    bool compared = false;
    std::string why_not;              // when it was not
    std::size_t in_database = 0;      // records, the undecodable ones included
    std::size_t cacheable = 0;        // of them, what a fill caches
    std::vector<std::string> missing; // cacheable, and not in the cache
    std::vector<std::string> extra;   // in the cache, and nothing that a fill would cache
    std::vector<DifferentRecord> different;
    std::vector<PassedOver> undecodable;
    std::vector<PassedOver> passed_over; // by a fill
    std::vector<std::string> unseen;     // fields that no query shows, or not to this client
};

struct Audit {
    std::vector<AuditSection> sections; // by record type, from 1

    // Records that are missing, extra, different or undecodable.
    std::size_t differences() const;
};

// The library must be initialised. Asks some 200000 questions: with debugging on, a trace for each.
Audit audit();

std::string audit_table(const Audit &audit);
Json audit_json(const Audit &audit);

} // namespace kov_lab
