#include "load.h"

#include "card.h"
#include "reply.h"
#include "scenario.h"

#include <cstdio>
#include <optional>

namespace kov_lab
{
namespace
{

using Line = std::vector<std::string>;

std::vector<Line> commands_of(const Scenario &scenario)
{
    std::vector<Line> commands;
    for (const auto &[id, name] : scenario.vrf_ids())
        commands.push_back({"set", "vrf", std::to_string(id), name});
    for (const auto &[prefix, bits] : scenario.routes) {
        Line line{"set", "route", prefix.vrf, network_text(prefix.network)};
        for (const Field &field : route_fields())
            if (field_text(field, &bits) == "yes")
                line.emplace_back(field.name);
        commands.push_back(line);
    }
    if (scenario.card_type)
        commands.push_back({"set", "card", card_text(*scenario.card_type)});
    return commands;
}

// Runs them one after the other in the client; what it says to each is added to `told`. kovctl's exit code.
int run_all(const Peer &peer, const std::vector<Line> &commands, std::vector<std::string> &told)
{
    const Session session = open_session(peer, 0);
    if (session == nullptr)
        return nobody(peer);
    for (const Line &line : commands) {
        std::string output;
        const std::optional<int> status = run_line(session.get(), line_of(line), output);
        if (!status)
            return gone(peer.name);
        output.erase(output.find_last_not_of('\n') + 1);
        if (*status != done) {
            complain(output);
            return exit_code(*status);
        }
        told.push_back(output);
    }
    return done;
}

std::string lines_of(const std::vector<std::string> &texts)
{
    std::string lines;
    for (const std::string &text : texts)
        lines += text + "\n";
    return lines;
}

// Each names its file and line, as a compiler's do.
int tell(const std::vector<std::string> &mistakes, bool json)
{
    std::string all = lines_of(mistakes);
    all.pop_back();
    if (json)
        return complain(all);
    std::fprintf(stderr, "%s\n", all.c_str());
    return refused;
}

} // namespace

int load_routes(const Peer &peer, std::span<const std::string> words, bool json)
{
    if (words.size() != 1) {
        complain("usage: load SCENARIO");
        return misused;
    }
    Scenario scenario;
    std::vector<std::string> mistakes;
    if (!load_scenario(words[0], scenario, mistakes))
        return tell(mistakes, json);
    std::vector<std::string> told;
    const int code = run_all(peer, commands_of(scenario), told);
    const Reply reply{done, lines_of(told), {{"scenario", words[0]}, {"done", told}}};
    if (code == done || !json)
        std::fputs((json ? json_text(reply) : reply.text).c_str(), stdout);
    return code;
}

} // namespace kov_lab
