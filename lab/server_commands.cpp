#include "server_commands.h"

#include "server_views.h"

#include <kov/kov_debug.h>
#include <kov/platform/cli.h>
#include <kov_host.h>

#include <cinttypes>
#include <cstdlib>
#include <exception>
#include <unistd.h>

namespace kov_lab
{
namespace
{

using Run = int (*)(Server &server, void *cli, const Words &words);

// The arguments of a command, with how many there may be.
struct Form {
    std::size_t least;
    std::size_t most;
    const char *usage;

    bool fits(const Words &words) const { return words.size() >= least && words.size() <= most; }
};

constexpr std::size_t any_number = ~std::size_t{};

using SetNamed = bool (Server::*)(std::string_view name, Settings settings, std::string &text);
using OfNamed = bool (Server::*)(std::string_view name, std::string &text);
using OfTwo = bool (Server::*)(std::string_view first, std::string_view second, std::string &text);

int set_named(Server &server, void *cli, const Words &words, SetNamed set, const Form &form)
{
    std::string text;
    if (!form.fits(words))
        return usage(cli, form.usage);
    return answer(cli, (server.*set)(words[0], std::span(words).subspan(1), text), text);
}

int of_named(Server &server, void *cli, const Words &words, OfNamed del, const Form &form)
{
    std::string text;
    return form.fits(words) ? answer(cli, (server.*del)(words[0], text), text) : usage(cli, form.usage);
}

int of_two(Server &server, void *cli, const Words &words, OfTwo run, const Form &form)
{
    std::string text;
    return form.fits(words) ? answer(cli, (server.*run)(words[0], words[1], text), text)
                            : usage(cli, form.usage);
}

int run_set_geninfo(Server &server, void *cli, const Words &words)
{
    std::string text;
    if (words.empty())
        return usage(cli, "set geninfo FIELD=VALUE... [as=TYPE]");
    return answer(cli, server.set_geninfo(words, text), text);
}

int run_set_svi(Server &server, void *cli, const Words &words)
{
    return set_named(server, cli, words, &Server::set_svi,
                     {1, any_number, "set svi NAME [FIELD=VALUE...] [as=TYPE]"});
}

int run_set_topology(Server &server, void *cli, const Words &words)
{
    return set_named(server, cli, words, &Server::set_topology,
                     {1, any_number, "set topology BD [FIELD=VALUE...] [as=TYPE]"});
}

int run_set_port(Server &server, void *cli, const Words &words)
{
    return set_named(server, cli, words, &Server::set_port,
                     {2, any_number, "set port NAME FIELD=VALUE... [as=TYPE]"});
}

int run_set_prefix(Server &server, void *cli, const Words &words)
{
    return of_two(server, cli, words, &Server::set_prefix, {2, 2, "set prefix VRF ADDRESS/LENGTH"});
}

int run_del_geninfo(Server &server, void *cli, const Words &words)
{
    std::string text;
    if (!words.empty())
        return usage(cli, "del geninfo");
    return answer(cli, server.del_geninfo(text), text);
}

int run_del_svi(Server &server, void *cli, const Words &words)
{
    return of_named(server, cli, words, &Server::del_svi, {1, 1, "del svi NAME"});
}

int run_del_topology(Server &server, void *cli, const Words &words)
{
    return of_named(server, cli, words, &Server::del_topology, {1, 1, "del topology BD"});
}

int run_del_port(Server &server, void *cli, const Words &words)
{
    return of_named(server, cli, words, &Server::del_port, {1, 1, "del port NAME"});
}

int run_del_prefix(Server &server, void *cli, const Words &words)
{
    return of_two(server, cli, words, &Server::del_prefix, {2, 2, "del prefix VRF ADDRESS/LENGTH"});
}

int run_profile_reply(Server &server, void *cli, const Words &words)
{
    return of_named(server, cli, words, &Server::set_profile_code, {1, 1, "profile reply CODE"});
}

int run_profile_check(Server &server, void *cli, const Words &words)
{
    return of_two(server, cli, words, &Server::check_host, {2, 2, "profile check CLIENT HOST"});
}

int run_profile_clear(Server &server, void *cli, const Words &words)
{
    return of_two(server, cli, words, &Server::clear_host, {2, 2, "profile clear CLIENT HOST"});
}

int run_inject(Server &server, void *cli, const Words &words)
{
    std::string text;
    if (words.size() != 2 && words.size() != 3)
        return usage(cli, "inject CLIENT|SAP HEX [OPCODE]");
    const std::string opcode = words.size() == 3 ? std::string(words[2]) : std::to_string(KOV_OPC_CLIENT);
    char *end = nullptr;
    const unsigned long number = std::strtoul(opcode.c_str(), &end, 0);
    if (*end != '\0' || number > UINT32_MAX)
        return answer(cli, false, "\"" + opcode + "\" is no opcode");
    return answer(cli, server.inject(words[0], words[1], static_cast<std::uint32_t>(number), text), text);
}

int run_status(Server &server, void *cli, const Words & /*words*/)
{
    const ClientCounters &counters = server.clients().counters();
    cli_cmd_printf(cli, "server: %s (pid %d, SAP %u)\n", kov_host_name(), getpid(), KOV_SERVER_SAP);
    cli_cmd_printf(cli, "directory: %s\n", kov_host_dir());
    cli_cmd_printf(cli, "general information: %s\n", server.published().general ? "yes" : "no");
    cli_cmd_printf(cli, "svis: %zu\n", server.published().svis.size());
    cli_cmd_printf(cli, "topologies: %zu\n", server.published().topologies.size());
    cli_cmd_printf(cli, "slots with tracked ports: %zu\n", server.published().tracking.size());
    cli_cmd_printf(cli, "slots with l2dci ports: %zu\n", server.published().l2dci.size());
    cli_cmd_printf(cli, "prefixes: %zu\n", server.published().prefixes.size());
    cli_cmd_printf(cli, "profiles: %zu\n", server.profiles().size());
    cli_cmd_printf(cli, "clients: %zu\n", server.clients().all().size());
    cli_cmd_printf(cli, "frames received: %" PRIu64 "\n", server.frames_received());
    cli_cmd_printf(cli, "frames refused: %" PRIu64 "\n", server.frames_refused());
    cli_cmd_printf(cli, "messages sent: %" PRIu64 "\n", counters.sent);
    cli_cmd_printf(cli, "messages delayed: %" PRIu64 "\n", counters.delayed);
    cli_cmd_printf(cli, "messages waiting: %zu\n", server.clients().waiting());
    cli_cmd_printf(cli, "messages lost: %" PRIu64 "\n", counters.lost);
    return done;
}

int run_debug_on(Server & /*server*/, void *cli, const Words & /*words*/)
{
    return kov_api_debug_on(cli) != 0 ? done : refused;
}

int run_debug_off(Server & /*server*/, void *cli, const Words & /*words*/)
{
    return kov_api_debug_off(cli) != 0 ? done : refused;
}

struct Row {
    const char *name;
    const char *help;
    Run run;
};

// clang-format off
constexpr Row rows[] = {
    {"set geninfo",     "FIELD=VALUE... [as=TYPE]: change general information and tell clients",      run_set_geninfo},
    {"set svi",         "NAME [FIELD=VALUE...] [as=TYPE]: change or create an SVI and tell clients",  run_set_svi},
    {"set topology",    "BD [FIELD=VALUE...] [as=TYPE]: change or create a topology and tell clients", run_set_topology},
    {"set port",        "NAME FIELD=VALUE... [as=TYPE]: change a port's bits and tell clients",       run_set_port},
    {"set prefix",      "VRF ADDRESS/LENGTH: create an aggregate prefix and tell clients",            run_set_prefix},
    {"del geninfo",     "remove the general information and tell clients",                            run_del_geninfo},
    {"del svi",         "NAME: remove an SVI and tell clients",                                       run_del_svi},
    {"del topology",    "BD: remove a topology and tell clients",                                     run_del_topology},
    {"del port",        "NAME: clear a port's bits and tell clients",                                 run_del_port},
    {"del prefix",      "VRF ADDRESS/LENGTH: remove an aggregate prefix and tell clients",            run_del_prefix},
    {"list svis",       "the published SVIs",                                                         run_list_svis},
    {"list topologies", "the published topologies",                                                   run_list_topologies},
    {"list ports",      "the switch's ports that are in a published record",                          run_list_ports},
    {"list prefixes",   "the published aggregate prefixes",                                           run_list_prefixes},
    {"list profiles",   "the hosts whose profile was applied",                                        run_list_profiles},
    {"list clients",    "who is registered, and for which types",                                     run_list_clients},
    {"show geninfo",    "the published general information",                                          run_show_geninfo},
    {"show svi",        "NAME: what is published of an SVI",                                          run_show_svi},
    {"show topology",   "BD: what is published of a bridge domain",                                   run_show_topology},
    {"show port",       "NAME: what is published of a port",                                          run_show_port},
    {"profile reply",   "CODE: what requests about profiles are answered with, 1 for good",           run_profile_reply},
    {"profile check",   "CLIENT HOST: have a client check the profile of a host",                     run_profile_check},
    {"profile clear",   "CLIENT HOST: have a client clear the profile of a host, and forget it",      run_profile_clear},
    {"status",          "the server's state and counters",                                            run_status},
    {"debug on",        "each frame that comes in or goes out, on this terminal",                     run_debug_on},
    {"debug off",       "no more frames",                                                             run_debug_off},
    {"inject",          "CLIENT|SAP HEX [OPCODE]: send raw bytes",                                    run_inject},
};
// clang-format on

// One command with the server it works on; the host keeps a pointer to it.
struct Bound {
    Server *server;
    Run run;
};
Bound bound[std::size(rows)];

int run(void *cli, int argc, const char *const *argv, void *arg)
{
    const Bound &command = *static_cast<const Bound *>(arg);
    try {
        return command.run(*command.server, cli, Words(argv, argv + argc));
    } catch (const std::exception &problem) {
        return answer(cli, false, problem.what());
    }
}

} // namespace

void add_server_commands(Server &server)
{
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        bound[i] = {&server, rows[i].run};
        kov_host_command_add(rows[i].name, rows[i].help, run, &bound[i]);
    }
}

} // namespace kov_lab
