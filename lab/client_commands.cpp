#include "client_commands.h"

#include "audit.h"
#include "database.h"
#include "glean_commands.h"
#include "host_commands.h"
#include "messages.h"
#include "profile_commands.h"
#include "queries.h"
#include "route_commands.h"

#include <kov/kov_api.h>
#include <kov/platform/cli.h>
#include <kov/platform/ipc.h>
#include <kov_host.h>

#include <cinttypes>
#include <exception>
#include <unistd.h>

namespace kov_lab
{
namespace
{

constexpr int done = 0;
constexpr int refused = 1;
constexpr int misused = 2;

// ---- The commands ----------------------------------------------------------------------------------------

int get(std::span<const char *const> words, std::string &text)
{
    const Query *query = words.empty() ? nullptr : find_query(words[0]);
    if (query == nullptr) {
        text = std::string("usage: get QUERY, one of\n") + kov_lab_query_help();
        return misused;
    }
    Arguments arguments;
    std::string why;
    if (!parse_arguments(*query, words.subspan(1), arguments, why)) {
        text = why + "\nusage: get " + usage_of(*query) + "\n";
        return misused;
    }
    if (kov_api_initialized() == 0) {
        text = std::string("the database cannot be read: ") + kov_host_error() + "\n";
        return refused;
    }
    const std::uint64_t before = database_reads();
    const Answer answer = query->ask(arguments);
    text = answer.call + " = " + answer.text;
    text += query->reads ? ", " + source_since(before) + "\n" : "\n";
    return done;
}

int run_get(void *cli, std::span<const char *const> words)
{
    std::string text;
    const int status = get(words, text);
    cli_cmd_printf(cli, "%s", text.c_str());
    return status;
}

int audit_now(bool json, std::string &text)
{
    if (kov_api_initialized() == 0) {
        text = std::string("the database cannot be read: ") + kov_host_error() + "\n";
        return misused;
    }
    const Audit result = audit();
    text = json ? audit_json(result) : audit_table(result);
    return result.differences() == 0 ? done : refused;
}

int run_audit(void *cli, std::span<const char *const> words)
{
    std::string text = "usage: audit [json]\n";
    const bool json = words.size() == 1 && std::string_view(words[0]) == "json";
    const int status = words.empty() || json ? audit_now(json, text) : misused;
    cli_cmd_printf(cli, "%s", text.c_str());
    return status;
}

const std::uint64_t *handled_messages = nullptr;

const char *registration_text()
{
    if (kov_is_client_registration_done() != 0)
        return "yes";
    return kov_is_client_attached() != 0 ? "asked" : "no";
}

int run_status(void *cli, std::span<const char *const>)
{
    kov_host_counters counters;
    kov_host_counters_get(&counters);
    cli_cmd_printf(cli, "client: %s (pid %d, SAP %d)\n", kov_host_name(), getpid(),
                   ipc_sap_get(kov_host_ipc_handle()));
    cli_cmd_printf(cli, "directory: %s\n", kov_host_dir());
    cli_cmd_printf(cli, "registered: %s\n", registration_text());
    cli_cmd_printf(cli, "server losses: %" PRIu64 "\n", counters.ipc_peer_losses);
    cli_cmd_printf(cli, "server returns: %" PRIu64 "\n", counters.ipc_peer_returns);
    cli_cmd_printf(cli, "messages not sent: %" PRIu64 "\n", counters.ipc_send_failures);
    cli_cmd_printf(cli, "received: %" PRIu64 "\n", counters.ipc_receives);
    if (handled_messages != nullptr)
        cli_cmd_printf(cli, "handled: %" PRIu64 "\n", *handled_messages);
    cli_cmd_printf(cli, "database reads: %" PRIu64 "\n", database_reads());
    return done;
}

// The report reads the word "detail" itself.
int run_show_cache(void *cli, std::span<const char *const> words)
{
    if (words.size() > 1 || (words.size() == 1 && std::string_view(words[0]) != "detail")) {
        cli_cmd_printf(cli, "usage: show cache [detail]\n");
        return misused;
    }
    kov_api_print_cache_stats(cli);
    return done;
}

const char *yes_or_no(bool flag) { return flag ? "yes" : "no"; }

int run_show_capability(void *cli, std::span<const char *const>)
{
    cli_cmd_printf(cli, "fabric forwarding: %s\n", yes_or_no(kov_test_fwd_supported() != 0));
    cli_cmd_printf(cli, "host auto-configuration: %s\n", yes_or_no(kov_test_autoconfig_supported() != 0));
    cli_cmd_printf(cli, "the card supports auto-configuration only: %s\n",
                   yes_or_no(kov_is_platform_autoconf_only() != 0));
    return done;
}

using Tell = bool (*)(std::span<const char *const> words, std::string &text);

template <Tell tell>
int run_tell(void *cli, std::span<const char *const> words)
{
    std::string text;
    const bool good = tell(words, text);
    cli_cmd_printf(cli, "%s\n", text.c_str());
    return good ? done : text.starts_with("usage") ? misused : refused;
}

int run_debug_on(void *cli, std::span<const char *const>)
{
    return kov_api_debug_on(cli) != 0 ? done : refused;
}

int run_debug_off(void *cli, std::span<const char *const>)
{
    return kov_api_debug_off(cli) != 0 ? done : refused;
}

struct Command {
    const char *name;
    const char *help;
    int (*run)(void *cli, std::span<const char *const> words);
};

// clang-format off
Command commands[] = {
    {"get",       "QUERY [ARGUMENT...]: ask the library; without a query, the list", run_get},
    {"audit",     "[json]: does the cache say what the database says?",           run_audit},
    {"show cache",      "[detail]: the library's report of its state and its caches", run_show_cache},
    {"show capability", "what the switch itself can do",                          run_show_capability},
    {"verify",    "VRF ADDRESS: ask the server to verify a host",                 run_tell<verify_host>},
    {"report",    "ADDRESS INTERFACE [vlan=N] [iod=N] [port=NAME] [port_iod=N]: tell what a probe showed", run_tell<report_host>},
    {"profile add", "HOST [OPTION=VALUE...]: ask the server to apply a host's profile", run_tell<add_profile>},
    {"profile del", "HOST: ask the server to remove a host's profile",            run_tell<del_profile>},
    {"profile check", "HOST: ask the server to check a host's profile",           run_tell<check_profile>},
    {"glean",     "VRF DEST SOURCE SVI [iif=INTERFACE] [value=N]: a packet to a destination not resolved yet", run_tell<tell_glean>},
    {"set vrf",   "ID NAME: this process knows a VRF",                            run_tell<set_vrf>},
    {"set route", "VRF PREFIX [conditional] [converted]: add a route, or change its flags", run_tell<set_route>},
    {"del route", "VRF PREFIX: remove a route",                                   run_tell<del_route>},
    {"list vrfs", "the VRFs of this process",                                     run_tell<list_vrfs>},
    {"list routes", "the routes of this process",                                 run_tell<list_routes>},
    {"status",    "registration, messages and reads",                             run_status},
    {"debug on",  "the library's traces on this terminal",                        run_debug_on},
    {"debug off", "no more traces",                                               run_debug_off},
};
// clang-format on

// The host calls this with the command's row.
int run_command(void *cli, int argc, const char *const *argv, void *command)
{
    try {
        return static_cast<const Command *>(command)->run(cli, {argv, static_cast<std::size_t>(argc)});
    } catch (const std::exception &problem) {
        cli_cmd_printf(cli, "%s\n", problem.what());
        return refused;
    }
}

} // namespace
} // namespace kov_lab

using namespace kov_lab;

extern "C" {

int kov_lab_add_client_commands(const uint64_t *handled)
{
    handled_messages = handled;
    for (Command &command : commands)
        if (kov_host_command_add(command.name, command.help, run_command, &command) != 0)
            return -1;
    return 0;
}

int kov_lab_get(int argc, const char *const *argv, const char **text)
{
    static std::string output;
    try {
        const int status = get({argv, static_cast<std::size_t>(argc)}, output);
        *text = output.c_str();
        return status;
    } catch (const std::exception &) {
        *text = "out of memory\n";
        return refused;
    }
}

int kov_lab_audit(int json, const char **text)
{
    static std::string output;
    try {
        const int status = audit_now(json != 0, output);
        *text = output.c_str();
        return status;
    } catch (const std::exception &) {
        *text = "out of memory\n";
        return misused;
    }
}

const char *kov_lab_message_text(const kov_client_msg *msg)
{
    static std::string text;
    try {
        text = describe_message(*msg);
        return text.c_str();
    } catch (const std::exception &) {
        return "out of memory";
    }
}

const char *kov_lab_query_help(void)
{
    static std::string text;
    if (text.empty())
        for (const Query &query : all_queries()) {
            std::string line = "  " + usage_of(query);
            line.resize(36, ' ');
            text += line + query.help + "\n";
        }
    return text.c_str();
}

int kov_lab_parse_types(const char *text, uint32_t *types)
{
    std::string why;
    const auto mask = parse_mask(text, why);
    if (!mask)
        return -1;
    for (std::uint32_t mtype = 0; mtype < KOV_MTYPE_LIST_LENGTH; ++mtype)
        types[mtype] = (*mask >> mtype & 1) != 0 ? mtype : 0;
    return 0;
}

} // extern "C"
