#include "client_commands.h"

#include "fields.h"
#include "messages.h"
#include "values.h"

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

// ---- The queries -----------------------------------------------------------------------------------------

struct Answer {
    std::string call;
    std::string text;
};

// The argument has been checked: it is the interface index of an SVI (or 0 for none), or an address family.
using Ask = Answer (*)(std::uint32_t argument);

std::string seconds(std::uint32_t count) { return std::to_string(count) + " s"; }

std::string svi_argument(const char *call, std::uint32_t ifindex)
{
    return call + ("(" + (ifindex == 0 ? "0" : name_of_svi(ifindex))) + ")";
}

Answer ask_fabric_id(std::uint32_t) { return {"kov_get_fabric_id()", std::to_string(kov_get_fabric_id())}; }

Answer ask_conditional_route(std::uint32_t)
{
    return {"kov_check_conditional_route()", kov_check_conditional_route() != 0
                                                 ? "conversational learning on"
                                                 : "conversational learning off"};
}

Answer ask_switch_role(std::uint32_t)
{
    std::string roles = kov_switch_role_str(kov_get_switch_role());
    if (roles.ends_with(' '))
        roles.pop_back();
    return {"kov_get_switch_role()", roles.empty() ? "no role" : roles};
}

Answer ask_anycast_gateway_mac(std::uint32_t)
{
    return {"kov_get_anycast_gateway_mac()", mac_text(kov_get_anycast_gateway_mac())};
}

Answer ask_conv_aging_timeout(std::uint32_t family)
{
    return {family == 2 ? "kov_get_conv_aging_timeout(IPv6)" : "kov_get_conv_aging_timeout(IPv4)",
            seconds(kov_get_conv_aging_timeout(family))};
}

Answer ask_fwd_encap(std::uint32_t)
{
    Mac mac{};
    const std::string encap = kov_fwd_encap_str(kov_get_fwd_encap_type(mac.data()));
    return {"kov_get_fwd_encap_type(mac)", encap + ", router MAC " + mac_text(mac.data())};
}

Answer ask_fabric_ctrl_seg(std::uint32_t)
{
    return {"kov_get_fabric_ctrl_seg()", name_of_svi(kov_get_fabric_ctrl_seg())};
}

Answer ask_fabric_ctrl_seg_info(std::uint32_t)
{
    const char *call = "kov_get_fabric_ctrl_seg_info()";
    const kov_fabric_ctrl_seg_info *info = kov_get_fabric_ctrl_seg_info();
    if (info == nullptr)
        return {call, "none, or its binding is not complete"};
    return {call, name_of_svi(info->svi_ifindex) + " (VLAN " + std::to_string(info->vlan_id) + "), " +
                      v4_text(info->v4_addr) + ", " + v6_text(info->v6_addr) + ", gateway MAC " +
                      mac_text(info->gw_mac)};
}

Answer ask_ferro_migration(std::uint32_t ifindex)
{
    Mac mac{};
    const bool migrates = kov_check_ferro_migration(ifindex, mac.data()) != 0;
    return {svi_argument("kov_check_ferro_migration", ifindex),
            migrates ? "migrating, anycast gateway MAC " + mac_text(mac.data()) : "not migrating"};
}

Answer ask_mobdom(std::uint32_t)
{
    char name[KOV_MOBDOM_SIZE] = "";
    if (kov_get_global_mobdom(name) == 0)
        return {"kov_get_global_mobdom(out)", "no record"};
    return {"kov_get_global_mobdom(out)", '"' + printable(name, sizeof name) + '"'};
}

Answer ask_fwd_mode(std::uint32_t ifindex)
{
    return {svi_argument("kov_get_fwd_mode", ifindex), kov_fwd_mode_str(kov_get_fwd_mode(ifindex))};
}

enum class Argument { none, family, svi, svi_or_none };

struct Query {
    const char *name;
    Argument argument;
    Ask ask;
    const char *help;
};

// clang-format off
constexpr Query queries[] = {
    {"fabric-id",            Argument::none,        ask_fabric_id,            "the fabric's identifier"},
    {"conditional-route",    Argument::none,        ask_conditional_route,    "whether conversational learning is on"},
    {"switch-role",          Argument::none,        ask_switch_role,          "what the switch is in the fabric"},
    {"anycast-gateway-mac",  Argument::none,        ask_anycast_gateway_mac,  "the anycast gateway's MAC address"},
    {"conv-aging-timeout",   Argument::family,      ask_conv_aging_timeout,   "of conversational learning"},
    {"fwd-encap",            Argument::none,        ask_fwd_encap,            "forwarding encapsulation and router MAC"},
    {"fabric-ctrl-seg",      Argument::none,        ask_fabric_ctrl_seg,      "the fabric control segment's SVI"},
    {"fabric-ctrl-seg-info", Argument::none,        ask_fabric_ctrl_seg_info, "its addresses and gateway MAC"},
    {"ferro-migration",      Argument::svi_or_none, ask_ferro_migration,      "of the fabric, or of an SVI"},
    {"mobdom",               Argument::none,        ask_mobdom,               "the global mobility domain"},
    {"fwd-mode",             Argument::svi,         ask_fwd_mode,             "how an SVI forwards"},
};
// clang-format on

const char *argument_text(Argument argument)
{
    switch (argument) {
    case Argument::family:
        return " ipv4|ipv6";
    case Argument::svi:
        return " SVI";
    case Argument::svi_or_none:
        return " [SVI]";
    case Argument::none:
        break;
    }
    return "";
}

const Query *find_query(std::string_view name)
{
    for (const Query &query : queries)
        if (name == query.name)
            return &query;
    return nullptr;
}

bool parse_argument(Argument kind, std::span<const char *const> words, std::uint32_t &argument,
                    std::string &why)
{
    argument = 0;
    const bool wanted = kind == Argument::family || kind == Argument::svi;
    const bool allowed = kind != Argument::none;
    if (words.size() > (allowed ? 1 : 0) || (wanted && words.empty())) {
        why = "wrong number of arguments";
        return false;
    }
    if (words.empty())
        return true;
    const std::string_view word = words[0];
    if (kind == Argument::family) {
        argument = word == "ipv4" ? 1 : word == "ipv6" ? 2 : 0;
        why = "the family is ipv4 or ipv6";
    } else {
        argument = svi_of_name(word, why);
    }
    return argument != 0;
}

std::uint64_t database_reads()
{
    kov_host_counters counters;
    kov_host_counters_get(&counters);
    return counters.rdb_reads + counters.rdb_steps;
}

std::string source_of(std::uint64_t reads)
{
    if (reads == 0)
        return "from cache";
    return "from database (" + std::to_string(reads) + (reads == 1 ? " read)" : " reads)");
}

// ---- The commands ----------------------------------------------------------------------------------------

int get(std::span<const char *const> words, std::string &text)
{
    const Query *query = words.empty() ? nullptr : find_query(words[0]);
    if (query == nullptr) {
        text = std::string("usage: get QUERY, one of\n") + kov_lab_query_help();
        return misused;
    }
    std::uint32_t argument = 0;
    std::string why;
    if (!parse_argument(query->argument, words.subspan(1), argument, why)) {
        text = why + "\nusage: get " + query->name + argument_text(query->argument) + "\n";
        return misused;
    }
    if (kov_api_initialized() == 0) {
        text = std::string("the database cannot be read: ") + kov_host_error() + "\n";
        return refused;
    }
    const std::uint64_t before = database_reads();
    const Answer answer = query->ask(argument);
    text = answer.call + " = " + answer.text + ", " + source_of(database_reads() - before) + "\n";
    return done;
}

int run_get(void *cli, std::span<const char *const> words)
{
    std::string text;
    const int status = get(words, text);
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
    cli_cmd_printf(cli, "received: %" PRIu64 "\n", counters.ipc_receives);
    if (handled_messages != nullptr)
        cli_cmd_printf(cli, "handled: %" PRIu64 "\n", *handled_messages);
    cli_cmd_printf(cli, "database reads: %" PRIu64 "\n", database_reads());
    return done;
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
    {"get",       "QUERY [ARGUMENT]: ask the library; without a query, the list", run_get},
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
        for (const Query &query : queries) {
            std::string line = "  " + std::string(query.name) + argument_text(query.argument);
            line.resize(34, ' ');
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
