#include "server_commands.h"

#include "fields.h"
#include "values.h"

#include <kov/kov_enums.h>
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

using Words = std::vector<std::string_view>;
using Run = int (*)(Server &server, void *cli, const Words &words);

constexpr int done = 0;
constexpr int refused = 1;
constexpr int misused = 2;

int answer(void *cli, bool good, const std::string &text)
{
    cli_cmd_printf(cli, "%s\n", text.c_str());
    return good ? done : refused;
}

int usage(void *cli, const char *text)
{
    cli_cmd_printf(cli, "usage: %s\n", text);
    return misused;
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
    std::string text;
    if (words.empty())
        return usage(cli, "set svi NAME [FIELD=VALUE...] [as=TYPE]");
    return answer(cli, server.set_svi(words[0], std::span(words).subspan(1), text), text);
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
    std::string text;
    if (words.size() != 1)
        return usage(cli, "del svi NAME");
    return answer(cli, server.del_svi(words[0], text), text);
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
    cli_cmd_printf(cli, "general information: %s\n", server.published().general() ? "yes" : "no");
    cli_cmd_printf(cli, "svis: %zu\n", server.published().svis().size());
    cli_cmd_printf(cli, "clients: %zu\n", server.clients().all().size());
    cli_cmd_printf(cli, "frames received: %" PRIu64 "\n", server.frames_received());
    cli_cmd_printf(cli, "frames refused: %" PRIu64 "\n", server.frames_refused());
    cli_cmd_printf(cli, "messages sent: %" PRIu64 "\n", counters.sent);
    cli_cmd_printf(cli, "messages delayed: %" PRIu64 "\n", counters.delayed);
    cli_cmd_printf(cli, "messages waiting: %zu\n", server.clients().waiting());
    cli_cmd_printf(cli, "messages lost: %" PRIu64 "\n", counters.lost);
    return done;
}

int run_list_svis(Server &server, void *cli, const Words & /*words*/)
{
    const Svis svis = server.published().svis(); // a copy: while a person reads a page, SVIs come and go
    cli_cmd_printf(cli, "%-10s %-5s %-26s %-32s %s\n", "SVI", "State", "Mode", "VRF", "IPv4");
    for (const auto &[ifindex, svi] : svis) {
        cli_cmd_printf(cli, "%-10s %-5s %-26s %-32s %s\n", name_of_svi(ifindex).c_str(),
                       svi.is_up != 0 ? "up" : "down", kov_fwd_mode_str(svi.fwd_mode),
                       printable(svi.vrf_name, sizeof svi.vrf_name).c_str(),
                       v4_prefix_text(svi.v4_prefix).c_str());
        if (cli_more_output(cli) == 0)
            break;
    }
    return done;
}

int run_list_clients(Server &server, void *cli, const Words & /*words*/)
{
    cli_cmd_printf(cli, "%-6s %-8s %-24s %-12s %s\n", "SAP", "Pid", "Name", "Types", "Waiting");
    for (const auto &[sap, client] : server.clients().all())
        cli_cmd_printf(cli, "%-6u %-8d %-24s %-12s %zu\n", sap, client.pid, client.name.c_str(),
                       mask_text(client.mask).c_str(), client.waiting.size());
    return done;
}

void show_fields(void *cli, std::span<const Field> fields, const void *record)
{
    for (const Field &field : fields)
        cli_cmd_printf(cli, "%-26s %s\n", field.name, field_text(field, record).c_str());
}

int run_show_geninfo(Server &server, void *cli, const Words & /*words*/)
{
    if (!server.published().general())
        return answer(cli, false, "there is no general information");
    show_fields(cli, geninfo_fields(), &*server.published().general());
    return done;
}

int run_show_svi(Server &server, void *cli, const Words &words)
{
    std::string why;
    if (words.size() != 1)
        return usage(cli, "show svi NAME");
    const auto found = server.published().svis().find(svi_of_name(words[0], why));
    if (found == server.published().svis().end())
        return answer(cli, false, why.empty() ? "there is no " + std::string(words[0]) : why);
    show_fields(cli, svi_fields(), &found->second);
    return done;
}

struct Row {
    const char *name;
    const char *help;
    Run run;
};

// clang-format off
constexpr Row rows[] = {
    {"set geninfo",  "FIELD=VALUE... [as=TYPE]: change general information and tell clients", run_set_geninfo},
    {"set svi",      "NAME [FIELD=VALUE...] [as=TYPE]: change or create an SVI and tell clients", run_set_svi},
    {"del geninfo",  "remove the general information and tell clients",                      run_del_geninfo},
    {"del svi",      "NAME: remove an SVI and tell clients",                                 run_del_svi},
    {"list svis",    "the published SVIs",                                                   run_list_svis},
    {"list clients", "who is registered, and for which types",                               run_list_clients},
    {"show geninfo", "the published general information",                                    run_show_geninfo},
    {"show svi",     "NAME: what is published of an SVI",                                    run_show_svi},
    {"status",       "the server's state and counters",                                      run_status},
    {"inject",       "CLIENT|SAP HEX [OPCODE]: send raw bytes",                              run_inject},
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
