// The library's queries by name, as "get" asks them: arguments as text in, the call and its answer as text
// out.
#pragma once

#include "reply.h"
#include "values.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kov_lab
{

enum class Argument { none, family, svi, svi_or_none, port, interface, bridge_domain, address, vrf, prefix };

struct Answer {
    std::string call; // "kov_get_fwd_mode(vlan10)"
    std::string text;
    Json value; // a number, a truth, a name; null: there is none
};

// Checked: a family, interface indices (0: none given) and bridge domains are numbers.
struct Arguments {
    std::array<std::uint32_t, 2> number{};
    std::string vrf;
    Network address; // with all its bits, or a prefix
};

struct Query {
    const char *name;
    std::array<Argument, 2> takes;
    Answer (*ask)(const Arguments &arguments);
    const char *help;
    bool reads = true; // a record, from the cache or from the database
};

std::span<const Query> all_queries();
const Query *find_query(std::string_view name);

// "fwd-mode SVI"
std::string usage_of(const Query &query);

// False, with `why`, for words that the query does not take.
bool parse_arguments(const Query &query, std::span<const char *const> words, Arguments &out,
                     std::string &why);

// What the last of the words may become: the name of a query, or one of its arguments (commands.h).
std::vector<std::string> query_candidates(std::span<const char *const> words);

} // namespace kov_lab
