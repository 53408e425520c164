#include "kovctl_commands.h"

#include "client_commands.h"
#include "load.h"
#include "stats_watch.h"
#include "wait.h"

#include <kov/kov_api.h>
#include <kov_host.h>

#include <algorithm>
#include <cstdio>
#include <span>

namespace kov_lab
{
namespace
{

// ---- What kovctl runs itself -----------------------------------------------------------------------------

// Asks as a client of its own that lives for one question.
int get_here(const Options &options)
{
    if (kov_host_attach_tool(options.dir.empty() ? nullptr : options.dir.c_str()) != 0) {
        complain(kov_host_error());
        return exit_nobody;
    }
    std::vector<const char *> words;
    for (const std::string &word : options.words)
        words.push_back(word.c_str());
    const char *text = "";
    const int status = kov_lab_get(static_cast<int>(words.size()), words.data(), options.json ? 1 : 0, &text);
    std::fputs(text, status == 0 || options.json ? stdout : stderr);
    kov_api_close();
    kov_host_detach();
    return status;
}

int run_watch(const Options &options)
{
    return watch(options.dir, options.types, options.count, options.json);
}

int run_wait(const Options &options)
{
    return wait_for(options.peer(), options.words, options.timeout_s, options.alive, options.json);
}

int run_load(const Options &options) { return load_routes(options.peer(), options.words, options.json); }

// Words behind it are the other end's to refuse.
int run_elsewhere(const char *name, const Options &options)
{
    std::vector<std::string> words{name};
    words.insert(words.end(), options.words.begin(), options.words.end());
    return run_report(options.peer(), words, options.json);
}

int run_audit(const Options &options) { return run_elsewhere("audit", options); }

int run_debug(const Options &options) { return follow_traces(options.peer(), options.count, options.json); }

int run_stats(const Options &options)
{
    if (!options.words.empty())
        return run_elsewhere("stats", options);
    return show_stats(options.peer(), {options.watch, options.json, options.count});
}

bool always(const Options & /*options*/) { return true; }

bool without_client(const Options &options) { return options.client.empty(); }

// In a shell the traces of a "debug on" come to the shell.
bool follows_traces(const Options &options)
{
    return !options.typed && options.words == std::vector<std::string>{"on"};
}

void watch_options(CLI::App &command, Options &options)
{
    command
        .add_option(
            "--types", options.types,
            "types to register for, by word or number: svi,topology; 12, profile, is asked to verify hosts")
        ->capture_default_str();
    command.add_option("--count", options.count, "end after so many messages");
}

void wait_options(CLI::App &command, Options &options)
{
    command.add_option("--timeout", options.timeout_s, "seconds")->capture_default_str();
    command.add_option("--while", options.alive, "give up when the process with this id has ended");
}

void debug_options(CLI::App &command, Options &options)
{
    command.add_option("--count", options.count, "end after so many traces");
}

void stats_options(CLI::App &command, Options &options)
{
    command.add_flag("--watch", options.watch, "look again each second, and tell rates; Ctrl-C ends");
    command.add_option("--count", options.count, "watch, and end after so many looks");
}

void get_options(CLI::App &command, Options & /*options*/)
{
    command.footer(std::string("Queries:\n") + kov_lab_query_help());
}

// clang-format off
constexpr OwnCommand own_commands[] = {
    {"get",   "QUERY [ARGUMENT...]", "ask the library, here or inside the client",    without_client, nullptr, get_here,  get_options},
    {"watch", "",                    "register, and print each message that comes, and what others and the server tell each other",   always,         nullptr, run_watch, watch_options},
    {"wait",  "CONDITION",           "until something is so",                         always,         nullptr, run_wait,  wait_options},
    {"debug", "on|off",              "the server's frames, or the library's traces in a client", follows_traces, nullptr, run_debug, debug_options},
    {"audit", "",                    "does the client's cache say what the database says? Exit code 1: no", always, "a cache is that of a client process", run_audit, nullptr},
    {"stats", "",                    "what a client counts, by record type and by message type", always, "the counters are those of a client process", run_stats, stats_options},
    {"load",  "SCENARIO",            "give a client the VRFs, routes and card of a scenario file", always, "VRFs and routes are those of a client process", run_load, nullptr},
};

// clang-format off
constexpr RemoteCommand remote_commands[] = {
    {"set",    "RECORD FIELD=VALUE...",        "change what the server publishes; as=TYPE picks the message"},
    {"del",    "RECORD",                       "remove a record"},
    {"show",   "RECORD",                       "the fields of a record; of a client: what it offers"},
    {"list",   "svis|topologies|ports|prefixes|profiles|hosts|clients", "what is published, who is registered; of a client: vrfs, routes, hosts"},
    {"status", "",                             "of the server, or of the client"},
    {"verify", "CLIENT ADDRESS",               "have a client verify a host; of a client: VRF ADDRESS, have it ask the server"},
    {"report", "ADDRESS INTERFACE [vlan=N]...", "have a client tell what a probe of a host showed", "the server hears of probes, and makes none"},
    {"profile", "add|del|check HOST [OPTION=VALUE...]",
     "have a client ask about a host's profile; of the server: reply [CODE], check|clear CLIENT HOST"},
    {"glean",  "VRF DEST SOURCE SVI [iif=INTERFACE]...", "have a client judge a packet to an unresolved host", "the server hears of packets, and gets none"},
    {"inject", "CLIENT|SAP HEX [OPCODE]",      "have the server send raw bytes"},
};
// clang-format on

template <class Row>
const Row *find_row(std::span<const Row> rows, const std::string &name)
{
    const auto found =
        std::find_if(rows.begin(), rows.end(), [&](const Row &row) { return name == row.name; });
    return found == rows.end() ? nullptr : &*found;
}

constexpr const char *footer =
    "RECORD is geninfo, svi NAME, topology BD, port NAME or prefix VRF ADDRESS/LENGTH.\n"
    "Of a client: set vrf ID NAME; set|del route VRF ADDRESS/LENGTH [conditional] [converted];\n"
    "set|del host ADDRESS [INTERFACE]; set card TYPE|none.\n"
    "\"help\" lists what the other end takes, \"COMMAND --help\" tells of one.\n"
    "Without a command, on a terminal, kovctl is a shell; with -c NAME it also reads lines from a file.\n"
    "Exit codes: 0 done, 1 refused, or the answer is no, 2 used wrongly, 3 nobody there, 4 waited in vain.";

CLI::App *add_command(CLI::App &app, Options &options, const char *name, const char *words, const char *help)
{
    CLI::App *command = app.add_subcommand(name, help);
    command->fallthrough();
    CLI::Option *taken = command->add_option("words", options.words, words)->type_name("");
    if (words[0] == '\0')
        taken->group(""); // there are none; who runs the command says so
    return command;
}

} // namespace

const OwnCommand *own_command(const std::string &name) { return find_row<OwnCommand>(own_commands, name); }

const RemoteCommand *remote_command(const std::string &name)
{
    return find_row<RemoteCommand>(remote_commands, name);
}

bool has_client(const char *name, const char *client_because, const Options &options)
{
    if (client_because == nullptr || !options.client.empty())
        return true;
    complain(std::string(name) + " needs -c NAME: " + client_because);
    return false;
}

std::string own_names()
{
    std::string names;
    for (const OwnCommand &command : own_commands)
        names += std::string(names.empty() ? "" : ", ") + command.name;
    return names;
}

void describe(CLI::App &app, Options &options)
{
    app.add_option("-d,--dir", options.dir, "runtime directory ($KOV_HOST_DIR, or the user's own)");
    app.add_option("-c,--client", options.client, "run the command inside this client process");
    app.add_flag("--json", options.json, "answer with one JSON value, an error too");
    app.footer(footer);
}

void describe_commands(CLI::App &app, Options &options)
{
    app.require_subcommand(0, 1); // further names of commands are words: "profile del"
    for (const RemoteCommand &row : remote_commands)
        add_command(app, options, row.name, row.words, row.help);
    for (const OwnCommand &row : own_commands) {
        CLI::App *command = add_command(app, options, row.name, row.words, row.help);
        if (row.describe != nullptr)
            row.describe(*command, options);
    }
    app.get_subcommand("wait")->footer("CONDITION is " + wait_usage() + ".");
}

void describe_line(CLI::App &app, Options &options, const std::vector<std::string> &words)
{
    describe(app, options);
    if (words.empty() || own_command(words[0]) != nullptr || remote_command(words[0]) != nullptr)
        describe_commands(app, options);
    else
        app.add_option("words", options.words)->group("");
}

} // namespace kov_lab
