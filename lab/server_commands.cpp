#include "server_commands.h"

#include "frames.h"
#include "profile_messages.h"
#include "server_views.h"

#include <kov/kov_debug.h>

#include <cstdio>
#include <cstdlib>

namespace kov_lab
{
namespace
{

// Changes answer with a sentence. These fit the server's calls to the commands' form.
using Change = bool (Server::*)(std::string &text);
using ChangeOf = bool (Server::*)(std::string_view name, std::string &text);
using ChangeOfTwo = bool (Server::*)(std::string_view first, std::string_view second, std::string &text);
using SetNamed = bool (Server::*)(std::string_view name, Settings settings, std::string &text);

template <Change change>
Reply run_change(const Call &call)
{
    std::string text;
    const bool good = (server_of(call).*change)(text);
    return said(good, text);
}

template <ChangeOf change>
Reply run_of(const Call &call)
{
    std::string text;
    const bool good = (server_of(call).*change)(call.words[0], text);
    return said(good, text);
}

template <ChangeOfTwo change>
Reply run_of_two(const Call &call)
{
    std::string text;
    const bool good = (server_of(call).*change)(call.words[0], call.words[1], text);
    return said(good, text);
}

std::vector<std::string_view> settings_of(Words words) { return {words.begin(), words.end()}; }

Reply set_geninfo(const Call &call)
{
    std::string text;
    const bool good = server_of(call).set_geninfo(settings_of(call.words), text);
    return said(good, text);
}

Reply profile_reply(const Call &call)
{
    if (call.words.empty())
        return said(true, "requests are answered with " + server_of(call).profile_code_text());
    return run_of<&Server::set_profile_code>(call);
}

Reply profile_clear(const Call &call)
{
    std::string text;
    const std::string_view code = call.words.size() == 3 ? call.words[2] : "42"; // the profile was deleted
    const bool good = server_of(call).clear_host(call.words[0], call.words[1], code, text);
    return said(good, text);
}

template <SetNamed set>
Reply run_set(const Call &call)
{
    std::string text;
    const bool good = (server_of(call).*set)(call.words[0], settings_of(call.words.subspan(1)), text);
    return said(good, text);
}

Reply inject(const Call &call)
{
    std::string text;
    const auto opcode = call.words.size() == 3 ? parse_opcode(call.words[2], text) : KOV_OPC_CLIENT;
    const bool good = opcode && server_of(call).inject(call.words[0], call.words[1], *opcode, text);
    return said(good, text);
}

Reply debug_on(const Call &call) { return {kov_api_debug_on(call.cli) != 0 ? done : refused, ""}; }

Reply debug_off(const Call &call) { return {kov_api_debug_off(call.cli) != 0 ? done : refused, ""}; }

// ---- Completion ------------------------------------------------------------------------------------------

void complete_set_geninfo(const Call &call, Candidates &out)
{
    complete_settings(geninfo_fields(), is_geninfo_type, partial_of(call), out);
}

using Fields = std::span<const Field> (*)();

// A name, then settings.
template <Complete complete_name, Fields fields, bool (*allowed)(std::uint32_t)>
void complete_set(const Call &call, Candidates &out)
{
    if (place_of(call) == 0)
        complete_name(call, out);
    else
        complete_settings(fields(), allowed, partial_of(call), out);
}

void complete_client(const Call &call, Candidates &out)
{
    if (place_of(call) == 0)
        for (const auto &[sap, client] : server_of(call).clients().all())
            out.push_back(client.name);
}

void complete_inject(const Call &call, Candidates &out)
{
    complete_client(call, out);
    if (place_of(call) == 2)
        out = opcode_words();
}

void complete_clear(const Call &call, Candidates &out)
{
    complete_profile(call, out);
    for (const std::string &word : profile_code_words())
        if (place_of(call) == 2 && word.starts_with("clear"))
            out.push_back(word);
}

void complete_code(const Call &call, Candidates &out)
{
    if (place_of(call) == 0)
        out = profile_code_words();
}

// clang-format off
constexpr CommandRow rows[] = {
    {"set geninfo",     "FIELD=VALUE... [as=TYPE]",        "change general information and tell clients",      1, any_number, set_geninfo, complete_set_geninfo},
    {"set svi",         "NAME [FIELD=VALUE...] [as=TYPE]", "change or create an SVI and tell clients",         1, any_number, run_set<&Server::set_svi>, complete_set<complete_svi, svi_fields, is_svi_type>},
    {"set topology",    "BD [FIELD=VALUE...] [as=TYPE]",   "change or create a topology and tell clients",     1, any_number, run_set<&Server::set_topology>, complete_set<complete_topology, topology_fields, is_topology_type>},
    {"set port",        "NAME FIELD=VALUE... [as=TYPE]",   "change a port's bits and tell clients",            2, any_number, run_set<&Server::set_port>, complete_set<complete_port, port_fields, is_port_type>},
    {"set prefix",      "VRF ADDRESS/LENGTH",              "create an aggregate prefix and tell clients",      2, 2, run_of_two<&Server::set_prefix>, complete_vrf},
    {"del geninfo",     "",                                "remove the general information and tell clients",  0, 0, run_change<&Server::del_geninfo>},
    {"del svi",         "NAME",                            "remove an SVI and tell clients",                   1, 1, run_of<&Server::del_svi>, complete_svi},
    {"del topology",    "BD",                              "remove a topology and tell clients",               1, 1, run_of<&Server::del_topology>, complete_topology},
    {"del port",        "NAME",                            "clear a port's bits and tell clients",             1, 1, run_of<&Server::del_port>, complete_port},
    {"del prefix",      "VRF ADDRESS/LENGTH",              "remove an aggregate prefix and tell clients",      2, 2, run_of_two<&Server::del_prefix>, complete_prefix},
    {"list svis",       "",                                "the published SVIs",                               0, 0, list_svis},
    {"list topologies", "",                                "the published topologies",                         0, 0, list_topologies},
    {"list ports",      "",                                "the switch's ports that are in a published record", 0, 0, list_ports},
    {"list prefixes",   "",                                "the published aggregate prefixes",                 0, 0, list_prefixes},
    {"list profiles",   "",                                "the hosts whose profile was applied",              0, 0, list_profiles},
    {"list hosts",      "",                                "the hosts that were to be verified or were found, and where they are", 0, 0, list_hosts},
    {"list clients",    "",                                "who is registered, and for which types",           0, 0, list_clients},
    {"show geninfo",    "",                                "the published general information",                0, 0, show_geninfo},
    {"show svi",        "NAME",                            "what is published of an SVI",                      1, 1, show_svi, complete_svi},
    {"show topology",   "BD",                              "what is published of a bridge domain",             1, 1, show_topology, complete_topology},
    {"show port",       "NAME",                            "what is published of a port",                      1, 1, show_port, complete_port},
    {"profile reply",   "[CODE]",                          "what requests about profiles are answered with; 1, no-error, is good", 0, 1, profile_reply, complete_code},
    {"profile check",   "CLIENT HOST",                     "have a client check the profile of a host",        2, 2, run_of_two<&Server::check_host>, complete_profile},
    {"profile clear",   "CLIENT HOST [CODE]",              "have a client clear a host, and forget it; 41 to 47 say why", 2, 3, profile_clear, complete_clear},
    {"verify",          "CLIENT ADDRESS",                  "have a client verify where a host is",             2, 2, run_of_two<&Server::verify_host>, complete_client},
    {"status",          "",                                "the server's state and counters",                  0, 0, show_status},
    {"debug on",        "",                                "each frame that comes in or goes out, on this terminal", 0, 0, debug_on, nullptr, false},
    {"debug off",       "",                                "no more frames",                                   0, 0, debug_off, nullptr, false},
    {"inject",          "CLIENT|SAP HEX [OPCODE]",         "send raw bytes",                                   2, 3, inject, complete_inject},
};
// clang-format on

} // namespace

void add_server_commands(Server &server)
{
    if (add_commands(rows, &server) != 0)
        std::fprintf(stderr, "kovd: warning: %s\n", kov_host_error());
}

} // namespace kov_lab
