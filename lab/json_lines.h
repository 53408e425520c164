// A JSON file with the line of each of its values.
//
// nlohmann-json keeps no positions, and a person who edits a scenario needs them. So the text is read twice:
// once for the values, once for an index from JSON pointer ("/svis/3/fwd_mode") to line.
#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <string>

namespace kov_lab
{

// NOLINTNEXTLINE(bugprone-exception-escape): moving a json checks its own invariants, which cannot fail here
struct JsonFile {
    nlohmann::json values;
    std::map<std::string, int> lines; // of where a value begins; of the key, for the members of an object

    int line_of(const std::string &pointer) const;
};

// False: `problem` is "FILE: ...", "FILE:LINE:COLUMN: ..." or, for a key that stands twice in one object,
// "FILE:LINE: KEY: ...".
bool read_json(const std::string &path, JsonFile &out, std::string &problem);

} // namespace kov_lab
