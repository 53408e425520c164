// The arguments of the queries as words: read, proposed, told in a usage line.
#include "queries.h"

#include "commands.h"
#include "interfaces.h"
#include "scenario.h"

#include <kov_host.h>

namespace kov_lab
{
namespace
{

const char *argument_text(Argument argument)
{
    switch (argument) {
    case Argument::family:
        return " ipv4|ipv6";
    case Argument::svi:
        return " SVI";
    case Argument::svi_or_none:
        return " [SVI]";
    case Argument::port:
        return " PORT";
    case Argument::interface:
        return " INTERFACE";
    case Argument::bridge_domain:
        return " BD";
    case Argument::address:
        return " ADDRESS";
    case Argument::vrf:
        return " VRF";
    case Argument::prefix:
        return " PREFIX";
    case Argument::none:
        break;
    }
    return "";
}

bool take(const std::optional<Network> &parsed, Network &out)
{
    out = parsed.value_or(Network{});
    return parsed.has_value();
}

std::uint32_t family_of(std::string_view word, std::string &why)
{
    why = "the family is ipv4 or ipv6";
    return word == "ipv4" ? 1 : word == "ipv6" ? 2 : 0;
}

// The argument of one of the kinds that are numbers.
std::uint32_t parse_number_argument(Argument kind, std::string_view word, std::string &why)
{
    switch (kind) {
    case Argument::family:
        return family_of(word, why);
    case Argument::port:
        return port_of_name(word, why);
    case Argument::interface:
        return interface_of_name(word, why);
    case Argument::bridge_domain:
        return parse_number(word, 1, last_bridge_domain, why).value_or(0);
    default:
        return svi_of_name(word, why);
    }
}

bool parse_argument(Argument kind, std::string_view word, std::size_t at, Arguments &out, std::string &why)
{
    switch (kind) {
    case Argument::address:
        return take(parse_host(word, why), out.address);
    case Argument::prefix:
        return take(parse_network(word, why), out.address);
    case Argument::vrf:
        out.vrf = word;
        return true;
    default:
        out.number[at] = parse_number_argument(kind, word, why);
        return out.number[at] != 0;
    }
}

// What may stand for an argument; what the server publishes is named by its kind.
Candidates candidates_of(Argument argument)
{
    switch (argument) {
    case Argument::family:
        return {"ipv4", "ipv6"};
    case Argument::svi:
    case Argument::svi_or_none:
        return {svi_kind};
    case Argument::port:
        return {port_kind};
    case Argument::interface:
        return {svi_kind, port_kind};
    case Argument::bridge_domain:
        return {topology_kind};
    case Argument::vrf:
        return {vrf_kind};
    default:
        return {};
    }
}

} // namespace

std::vector<std::string> query_candidates(std::span<const char *const> words)
{
    Candidates names;
    for (const Query &query : all_queries())
        names.emplace_back(query.name);
    if (words.size() < 2)
        return names;
    const Query *query = find_query(words[0]);
    const std::size_t place = words.size() - 2;
    return query == nullptr || place >= query->takes.size() ? Candidates{}
                                                            : candidates_of(query->takes[place]);
}

std::string usage_of(const Query &query)
{
    std::string text = query.name;
    for (const Argument argument : query.takes)
        text += argument_text(argument);
    return text;
}

bool parse_arguments(const Query &query, std::span<const char *const> words, Arguments &out, std::string &why)
{
    out = {};
    std::size_t taken = 0;
    for (const Argument kind : query.takes) {
        const bool given = taken < words.size();
        if (kind == Argument::none || (kind == Argument::svi_or_none && !given))
            break;
        if (given && !parse_argument(kind, words[taken], taken, out, why))
            return false;
        ++taken;
    }
    why = "wrong number of arguments";
    return taken == words.size();
}

} // namespace kov_lab
