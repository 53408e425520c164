#include "client_commands.h"

#include "audit.h"
#include "card.h"
#include "commands.h"
#include "database.h"
#include "glean_commands.h"
#include "host_commands.h"
#include "messages.h"
#include "profile_commands.h"
#include "queries.h"
#include "route_commands.h"
#include "stats.h"

#include <kov/kov_api.h>
#include <kov/platform/dbgw.h>
#include <kov/platform/ipc.h>
#include <kov_host.h>

#include <cinttypes>
#include <cstdio>
#include <exception>
#include <sstream>
#include <unistd.h>

namespace kov_lab
{
namespace
{

constexpr std::uint32_t debug_library = 33; // kov/kov_debug.h
constexpr std::uint32_t debug_level = 1;

// ---- The commands ----------------------------------------------------------------------------------------

Reply unreadable(int status)
{
    return {status, std::string("the database cannot be read: ") + kov_host_error() + "\n"};
}

Reply no_query(Words words)
{
    const std::string unknown = words.empty() ? "" : "there is no query \"" + std::string(words[0]) + "\"\n";
    return {misused, unknown + "usage: get QUERY, one of\n" + kov_lab_query_help()};
}

Reply get(Words words)
{
    const Query *query = words.empty() ? nullptr : find_query(words[0]);
    if (query == nullptr)
        return no_query(words);
    Arguments arguments;
    std::string why;
    if (!parse_arguments(*query, words.subspan(1), arguments, why))
        return {misused, why + "\nusage: get " + usage_of(*query) + "\n"};
    if (kov_api_initialized() == 0)
        return unreadable(refused);
    const std::uint64_t before = database_reads();
    const Answer answer = query->ask(arguments);
    Json json{
        {"query", query->name}, {"call", answer.call}, {"answer", answer.text}, {"value", answer.value}};
    const std::string text = answer.call + " = " + answer.text;
    if (!query->reads)
        return said(true, text, json);
    json.update(source_json(before));
    return said(true, text + ", " + source_since(before), json);
}

Reply run_get(const Call &call) { return get(call.words); }

void complete_get(const Call &call, Candidates &out) { out = query_candidates(call.words); }

Reply audit_now()
{
    if (kov_api_initialized() == 0)
        return unreadable(misused);
    const Audit result = audit();
    return {result.differences() == 0 ? done : refused, audit_table(result), audit_json(result)};
}

Reply run_audit(const Call &) { return audit_now(); }

const char *registration_text()
{
    if (kov_is_client_registration_done() != 0)
        return "yes";
    return kov_is_client_attached() != 0 ? "asked" : "no";
}

Reply run_status(const Call &)
{
    kov_host_counters counters;
    kov_host_counters_get(&counters);
    const std::string name = kov_host_name();
    const std::int32_t sap = ipc_sap_get(kov_host_ipc_handle());
    Listing list;
    list.add("client", name + " (pid " + std::to_string(getpid()) + ", SAP " + std::to_string(sap) + ")",
             {{"client", name}, {"pid", getpid()}, {"sap", sap}});
    list.add("directory", kov_host_dir());
    list.add("registered", registration_text(),
             {{"registered", kov_is_client_registration_done() != 0},
              {"registration_asked", kov_is_client_attached() != 0}});
    list.add("server losses", counters.ipc_peer_losses);
    list.add("server returns", counters.ipc_peer_returns);
    list.add("messages not sent", counters.ipc_send_failures);
    list.add("messages unread", counters.ipc_peer_unread);
    list.add("received", counters.ipc_receives);
    list.add("handled", handled_messages());
    list.add("database reads", database_reads());
    return list.reply();
}

Reply run_stats(const Call &)
{
    const Stats now = look();
    return {done, stats_text(now), Json::parse(stats_json(now))};
}

// The report reads the word "detail" itself, and prints: page by page to a person.
Reply run_show_cache(const Call &call)
{
    if (!call.words.empty() && std::string_view(call.words[0]) != "detail")
        return misuse("show cache [detail]");
    if (kov_host_cli_json(call.cli) == 0) {
        kov_api_print_cache_stats(call.cli);
        return {};
    }
    Json lines = Json::array();
    std::istringstream report(library_report(call.words));
    for (std::string line; std::getline(report, line);)
        lines.push_back(line);
    return {done, "", {{"report", lines}}};
}

void complete_show_cache(const Call &call, Candidates &out)
{
    if (place_of(call) == 0)
        out.emplace_back("detail");
}

Reply run_show_capability(const Call &)
{
    Listing list;
    list.add("fabric forwarding", kov_test_fwd_supported() != 0);
    list.add("host auto-configuration", kov_test_autoconfig_supported() != 0);
    list.add("the card supports auto-configuration only", kov_is_platform_autoconf_only() != 0);
    return list.reply();
}

Reply run_debug_on(const Call &call) { return {kov_api_debug_on(call.cli) != 0 ? done : refused, ""}; }

// The library has one switch for all terminals, and turns it off with any. One that is still on wants it on.
Reply run_debug_off(const Call &call)
{
    if (kov_api_debug_off(call.cli) == 0)
        return {refused, ""};
    if (dbgw_library_chk_int(debug_library, debug_level) != 0)
        kov_api_vty_dbg_on(""); // no terminal: the library's switch only
    return {};
}

// A terminal that leaves with its switch on has said no "debug off".
void session_ended(const char * /*terminal*/, void * /*arg*/)
{
    if (dbgw_library_chk_int(debug_library, debug_level) == 0)
        kov_api_vty_dbg_off(""); // no terminal: the library's switch only
}

// clang-format off
constexpr CommandRow commands[] = {
    {"get",             "QUERY [ARGUMENT...]",   "ask the library; without a query, the list",          0, any_number, run_get, complete_get},
    {"audit",           "",                      "does the cache say what the database says?",          0, 0, run_audit},
    {"show cache",      "[detail]",              "the library's report of its state and its caches",    0, 1, run_show_cache, complete_show_cache},
    {"show capability", "",                      "what the switch itself can do",                       0, 0, run_show_capability},
    {"verify",          "VRF ADDRESS",           "ask the server to verify a host",                     2, 2, verify_host, complete_kind<vrf_kind>},
    {"report",          "ADDRESS INTERFACE [vlan=N] [iod=N] [port=NAME] [port_iod=N]", "tell what a probe showed", 2, any_number, report_host, complete_report},
    {"profile add",     "HOST [OPTION=VALUE...]", "ask the server to apply a host's profile",           1, any_number, add_profile, complete_options},
    {"profile del",     "HOST",                  "ask the server to remove a host's profile",           1, 1, del_profile},
    {"profile check",   "HOST",                  "ask the server to check a host's profile",            1, 1, check_profile},
    {"glean",           "VRF DEST SOURCE SVI [iif=INTERFACE] [value=N]", "a packet to a destination not resolved yet", 4, any_number, tell_glean, complete_glean},
    {"set card",        "TYPE|none",             "the card that this process's switch has: 0x2101",     1, 1, set_card},
    {"set vrf",         "ID NAME",               "this process knows a VRF",                            2, 2, set_vrf},
    {"set route",       "VRF PREFIX [conditional] [converted]", "add a route, or change its flags",     2, any_number, set_route, complete_route},
    {"del route",       "VRF PREFIX",            "remove a route",                                      2, 2, del_route, complete_route},
    {"set host",        "ADDRESS INTERFACE [vlan=N] [iod=N] [port=NAME] [port_iod=N]", "a host that answers a probe", 2, any_number, set_host, complete_report},
    {"del host",        "ADDRESS",               "a host that answers no more",                         1, 1, del_host, complete_host},
    {"list hosts",      "",                      "the hosts that answer this process's probes",         0, 0, list_hosts},
    {"list vrfs",       "",                      "the VRFs of this process",                            0, 0, list_vrfs},
    {"list routes",     "",                      "the routes of this process",                          0, 0, list_routes},
    {"status",          "",                      "registration, messages and reads",                    0, 0, run_status},
    {"stats",           "",                      "counters by record type and by message type",         0, 0, run_stats},
    {"debug on",        "",                      "the library's traces on this terminal",               0, 0, run_debug_on, nullptr, false},
    {"debug off",       "",                      "no more traces",                                      0, 0, run_debug_off, nullptr, false},
};
// clang-format on

// An answer for a caller within the process; it holds until the next one.
template <typename Make>
int answer_with(int json, const char **text, int on_failure, Make make)
{
    static std::string output;
    try {
        const Reply reply = make();
        output = json != 0 ? json_text(reply) : reply.text;
        *text = output.c_str();
        return reply.status;
    } catch (const std::exception &) {
        *text = "out of memory\n";
        return on_failure;
    }
}

} // namespace
} // namespace kov_lab

using namespace kov_lab;

extern "C" {

int kov_lab_add_client_commands(void)
{
    kov_host_on_session_end(session_ended, nullptr);
    return add_commands(commands, nullptr);
}

int kov_lab_get(int argc, const char *const *argv, int json, const char **text)
{
    return answer_with(json, text, refused, [&] { return get({argv, static_cast<std::size_t>(argc)}); });
}

int kov_lab_audit(int json, const char **text) { return answer_with(json, text, misused, audit_now); }

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

const char *kov_lab_losses_text(void)
{
    static char text[96];
    static kov_host_counters before;
    kov_host_counters now;
    kov_host_counters_get(&now);
    const std::uint64_t unsent = now.ipc_send_failures - before.ipc_send_failures;
    const std::uint64_t unread = now.ipc_peer_unread - before.ipc_peer_unread;
    before = now;
    std::snprintf(text, sizeof text, "; messages not sent: %" PRIu64 ", not read: %" PRIu64, unsent, unread);
    return unsent + unread != 0 ? text : "";
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

const char *kov_lab_parse_types(const char *text, uint32_t *types)
{
    static std::string why;
    const auto mask = parse_mask(text, why);
    if (!mask)
        return why.c_str();
    for (std::uint32_t mtype = 0; mtype < KOV_MTYPE_LIST_LENGTH; ++mtype)
        types[mtype] = (*mask >> mtype & 1) != 0 ? mtype : 0;
    return nullptr;
}

} // extern "C"
