// kovctl: the operator's command line. Asks the library, changes what the server publishes, looks into
// clients, waits and watches.
#include "client_commands.h"
#include "load.h"
#include "session.h"
#include "shell.h"
#include "stats_watch.h"
#include "typing.h"
#include "wait.h"
#include "watch.h"

#include <kov/kov_api.h>
#include <kov_host.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <unistd.h>
#include <vector>

std::uint32_t kov_api_wait_for_init = 0;

namespace
{

using namespace kov_lab;

struct Options {
    std::string dir;
    std::string client;
    std::vector<std::string> words;
    std::string types = watched_types;
    unsigned count = 0;
    unsigned timeout_s = 10;
    int alive = 0;
    bool json = false;
    bool watch = false;
    bool typed = false; // in a shell of kovctl's, whose session lasts

    Peer peer() const { return {dir, client.empty() ? server_name : client}; }
};

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
    return wait_for(options.peer(), options.words, options.timeout_s, options.alive);
}

int run_load(const Options &options) { return load_routes(options.peer(), options.words); }

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

struct OwnCommand {
    const char *name;
    const char *words;
    const char *help;
    bool (*applies)(const Options &options); // else the line is for the other end
    const char *client_because;              // it needs -c NAME: why; null: it does not
    int (*run)(const Options &options);
    void (*describe)(CLI::App &command, Options &options);
};

// clang-format off
constexpr OwnCommand own_commands[] = {
    {"get",   "QUERY [ARGUMENT...]", "ask the library, here or inside the client",    without_client, nullptr, get_here,  get_options},
    {"watch", "",                    "register, and print each message that comes, and what others and the server tell each other",   always,         nullptr, run_watch, watch_options},
    {"wait",  "CONDITION",           "until something is so",                         always,         nullptr, run_wait,  wait_options},
    {"debug", "on|off",              "the server's frames, or the library's traces in a client", follows_traces, nullptr, run_debug, debug_options},
    {"audit", "",                    "does the client's cache say what the database says? Exit code 1: no", always, "a cache is that of a client process", run_audit, nullptr},
    {"stats", "",                    "what a client counts, by record type and by message type", always, "the counters are those of a client process", run_stats, stats_options},
    {"load",  "SCENARIO",            "give a client the VRFs and routes of a scenario file", always, "VRFs and routes are those of a client process", run_load, nullptr},
};

// What runs elsewhere as it stands, in the server or in the client NAME. These rows are for the help text:
// every other command goes the same way, and the other end says when it knows none.
struct RemoteCommand {
    const char *name;
    const char *words;
    const char *help;
};
constexpr RemoteCommand remote_commands[] = {
    {"set",    "RECORD FIELD=VALUE...",        "change what the server publishes; as=TYPE picks the message"},
    {"del",    "RECORD",                       "remove a record"},
    {"show",   "RECORD",                       "the fields of a record; of a client: what it offers"},
    {"list",   "svis|topologies|ports|prefixes|profiles|hosts|clients", "what is published, who is registered; of a client: vrfs, routes, hosts"},
    {"status", "",                             "of the server, or of the client"},
    {"verify", "CLIENT ADDRESS",               "have a client verify a host; of a client: VRF ADDRESS, have it ask the server"},
    {"report", "ADDRESS INTERFACE [vlan=N]...", "have a client tell what a probe of a host showed"},
    {"profile", "add|del|check HOST [OPTION=VALUE...]",
     "have a client ask about a host's profile; of the server: reply [CODE], check|clear CLIENT HOST"},
    {"glean",  "VRF DEST SOURCE SVI [iif=INTERFACE]...", "have a client judge a packet to an unresolved host"},
    {"inject", "CLIENT|SAP HEX [OPCODE]",      "have the server send raw bytes"},
};
// clang-format on

const OwnCommand *own_command(const std::string &name)
{
    for (const OwnCommand &command : own_commands)
        if (name == command.name)
            return &command;
    return nullptr;
}

// ---- Lines -----------------------------------------------------------------------------------------------

constexpr const char *footer =
    "RECORD is geninfo, svi NAME, topology BD, port NAME or prefix VRF ADDRESS/LENGTH.\n"
    "Of a client: set vrf ID NAME; set|del route VRF ADDRESS/LENGTH [conditional] [converted];\n"
    "set|del host ADDRESS [INTERFACE].\n"
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

void describe(CLI::App &app, Options &options)
{
    app.add_option("-d,--dir", options.dir, "runtime directory ($KOV_HOST_DIR, or the user's own)");
    app.add_option("-c,--client", options.client, "run the command inside this client process");
    app.add_flag("--json", options.json, "answer with one JSON value, an error too");
    app.allow_extras();
    app.require_subcommand(0, 1); // further names of commands are words: "profile del"
    app.footer(footer);
    for (const RemoteCommand &row : remote_commands)
        add_command(app, options, row.name, row.words, row.help);
    for (const OwnCommand &row : own_commands) {
        CLI::App *command = add_command(app, options, row.name, row.words, row.help);
        if (row.describe != nullptr)
            row.describe(*command, options);
    }
    app.get_subcommand("wait")->footer("CONDITION is " + wait_usage() + ".");
}

int run_own(const OwnCommand &command, const Options &options)
{
    if (command.client_because == nullptr || !options.client.empty())
        return command.run(options);
    complain(std::string(command.name) + " needs -c NAME: " + command.client_because);
    return 2;
}

// A line that a person types in a shell, when it is kovctl's own.
std::optional<int> run_typed(const Options &shell, const std::string &line)
{
    std::vector<std::string> words = split_words(line);
    if (words.empty() || own_command(words[0]) == nullptr)
        return std::nullopt;
    CLI::App app{"", ""};
    Options options;
    describe(app, options);
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    options.dir = shell.dir;
    options.client = shell.client;
    options.typed = true;
    const OwnCommand *command = own_command(words[0]);
    if (!command->applies(options))
        return std::nullopt;
    return run_own(*command, options);
}

// Neither a command nor a word of one.
int run_lines(const CLI::App &app, const Options &options)
{
    const auto own = [&](const std::string &line) { return run_typed(options, line); };
    if (isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0)
        return type_lines(options.peer(), own);
    if (!options.client.empty())
        return read_lines(options.peer(), own);
    std::fputs(app.help().c_str(), stderr);
    return 2;
}

int run(const CLI::App &app, const Options &options)
{
    const auto commands = app.get_subcommands();
    const std::vector<std::string> extras = app.remaining();
    if (commands.empty() && extras.empty())
        return run_lines(app, options);
    if (commands.empty())
        return run_remote(options.peer(), extras, options.json);
    const std::string name = commands.front()->get_name();
    const OwnCommand *own = own_command(name);
    if (own != nullptr && own->applies(options))
        return run_own(*own, options);
    std::vector<std::string> words{name};
    words.insert(words.end(), options.words.begin(), options.words.end());
    return run_remote(options.peer(), words, options.json);
}

// "set svi --help": the other end knows more of its commands than the rows above.
bool help_from_elsewhere(const std::vector<std::string> &args, int &code)
{
    const Typed typed = read_typed(args);
    if (!typed.help || typed.words.empty() || own_command(typed.words[0]) != nullptr)
        return false;
    if (open_session(typed.peer, 0) == nullptr)
        return false;
    std::vector<std::string> words = typed.words;
    words.insert(words.begin(), "help");
    code = run_remote(typed.peer, words);
    return true;
}

// The program without what its parts may throw.
int run_program(int argc, char **argv)
{
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (!args.empty() && args[0] == "complete")
        return print_completions({args.begin() + 1, args.end()});
    int code = 0;
    if (help_from_elsewhere(args, code))
        return code;
    CLI::App app{"The KOV lab's operator", "kovctl"};
    Options options;
    describe(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    return run(app, options);
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run_program(argc, argv);
    } catch (const std::exception &problem) {
        return complain(problem.what());
    }
}
