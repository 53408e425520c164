// The database as it is now, read record by record and decoded without the library's cache or queries.
#pragma once

#include "json.h"
#include "scenario.h"

#include <string>
#include <vector>

namespace kov_lab
{

// A record that says nothing: its bytes are no record of its type, or contradict its key.
struct BadRecord {
    kov_rdb_type type;
    std::string key; // "vlan10", "slot 3", "10.1.0.0/16 in VRF red"
    std::string why;
};

struct Database {
    Scenario records; // with empty lists of what the switch has: no record tells
    std::vector<BadRecord> bad;

    bool is_bad(kov_rdb_type type, const std::string &key) const;
};

// The library must be initialised in this process, so that the database is open.
Database read_database();

// How often this process has read a record of the database, one by one or in a walk.
std::uint64_t database_reads();

// Where the answers since then came from: "from cache", "from database (3 reads)"; for a program
// "answered_from" and "database_reads".
std::string source_since(std::uint64_t before);
Json source_json(std::uint64_t before);

} // namespace kov_lab
