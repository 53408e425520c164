// A scenario: what a server publishes when it starts, read from a JSON file that a person writes.
//
// lab/scenarios/README.md describes the file. Loading checks everything and reports every mistake that it
// finds, each with file, line and field; a scenario with a mistake is not used at all.
#pragma once

#include <kov/kov_records.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kov_lab
{

struct Scenario {
    std::vector<std::string> vrfs; // "default" is always there
    std::optional<kov_rdb_geninfo_t> general;
    std::map<std::uint32_t, kov_rdb_sviinfo_t> svis; // by interface index
};

// False: `mistakes` has one line each, "FILE:LINE: FIELD: what is wrong", and `out` is unspecified.
bool load_scenario(const std::string &path, Scenario &out, std::vector<std::string> &mistakes);

// Records that hold nothing but defaults, the fields that the library's initialisers leave alone included.
kov_rdb_geninfo_t default_geninfo();
kov_rdb_sviinfo_t default_svi(std::uint32_t ifindex);

} // namespace kov_lab
