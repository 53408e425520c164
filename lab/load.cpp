#include "load.h"

#include "scenario.h"

#include <cstdio>

namespace kov_lab
{
namespace
{

constexpr std::uint32_t default_vrf_id = 1;

using Line = std::vector<std::string>;

std::vector<Line> commands_of(const Scenario &scenario)
{
    std::uint32_t id = default_vrf_id;
    std::vector<Line> commands{{"set", "vrf", std::to_string(id), "default"}};
    for (const std::string &name : scenario.vrfs)
        commands.push_back({"set", "vrf", std::to_string(++id), name});
    for (const auto &[prefix, bits] : scenario.routes) {
        Line line{"set", "route", prefix.vrf, network_text(prefix.network)};
        for (const Field &field : route_fields())
            if (field_text(field, &bits) == "yes")
                line.emplace_back(field.name);
        commands.push_back(line);
    }
    return commands;
}

} // namespace

int load_routes(const Peer &peer, std::span<const std::string> words)
{
    if (words.size() != 1) {
        std::fputs("usage: load SCENARIO\n", stderr);
        return 2;
    }
    Scenario scenario;
    std::vector<std::string> mistakes;
    if (!load_scenario(words[0], scenario, mistakes)) {
        for (const std::string &mistake : mistakes)
            std::fprintf(stderr, "%s\n", mistake.c_str());
        return 1;
    }
    for (const Line &line : commands_of(scenario))
        if (const int status = run_remote(peer, line); status != 0)
            return status;
    return 0;
}

} // namespace kov_lab
