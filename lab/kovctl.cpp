// kovctl: the operator's command line. Asks the library, changes what the server publishes, looks into
// clients, waits and watches.
#include "client_commands.h"
#include "load.h"
#include "session.h"
#include "watch.h"

#include <kov/kov_api.h>
#include <kov_host.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <vector>

std::uint32_t kov_api_wait_for_init = 0;

namespace
{

using namespace kov_lab;

struct Options {
    std::string dir;
    std::string client;
    std::vector<std::string> words;
    std::string types = "4-20";
    unsigned count = 0;
    unsigned timeout_s = 10;
    int alive = 0;
    bool json = false;
};

struct CommandHelp {
    const char *name;
    const char *words;
    const char *help;
};

// What runs elsewhere as it stands, in the server or in the client NAME. These rows are for the help text:
// every other command goes the same way, and the other end says when it knows none.
// clang-format off
constexpr CommandHelp remote_commands[] = {
    {"set",    "RECORD FIELD=VALUE...",        "change what the server publishes; as=TYPE picks the message"},
    {"del",    "RECORD",                       "remove a record"},
    {"show",   "RECORD",                       "the fields of a record; of a client: what it offers"},
    {"list",   "svis|topologies|ports|prefixes|profiles|clients", "what is published, who is registered; of a client: vrfs, routes"},
    {"status", "",                             "of the server, or of the client"},
    {"verify", "VRF ADDRESS",                  "have a client ask the server to verify a host"},
    {"report", "ADDRESS INTERFACE [vlan=N]...", "have a client tell what a probe of a host showed"},
    {"profile", "add|del|check HOST [OPTION=VALUE...]",
     "have a client ask about a host's profile; of the server: reply CODE, check|clear CLIENT HOST"},
    {"glean",  "VRF DEST SOURCE SVI [iif=INTERFACE]...", "have a client judge a packet to an unresolved host"},
    {"inject", "CLIENT|SAP HEX [OPCODE]",      "have the server send raw bytes"},
};
// clang-format on

CLI::App *add_command(CLI::App &app, Options &options, const char *name, const char *words, const char *help)
{
    CLI::App *command = app.add_subcommand(name, help);
    command->fallthrough();
    if (words[0] != '\0')
        command->add_option("words", options.words, words)->type_name("");
    return command;
}

void describe(CLI::App &app, Options &options)
{
    app.add_option("-d,--dir", options.dir, "runtime directory ($KOV_HOST_DIR, or the user's own)");
    app.add_option("-c,--client", options.client, "run the command inside this client process");
    app.allow_extras();
    app.require_subcommand(0, 1); // further names of commands are words: "profile del"
    app.footer("RECORD is geninfo, svi NAME, topology BD, port NAME or prefix VRF ADDRESS/LENGTH.\n"
               "Of a client: set vrf ID NAME; set|del route VRF ADDRESS/LENGTH [conditional] [converted].\n"
               "With -c NAME and no command, reads commands from the standard input.\n"
               "Exit codes: 0 done, 1 refused or unreachable, 2 used wrongly.");
    for (const CommandHelp &row : remote_commands)
        add_command(app, options, row.name, row.words, row.help);
    add_command(app, options, "get", "QUERY [ARGUMENT...]", "ask the library, here or inside the client")
        ->footer(std::string("Queries:\n") + kov_lab_query_help());
    CLI::App *watching =
        add_command(app, options, "watch", "", "register, and print each message that comes");
    watching->add_option("--types", options.types, "message types to register for")->capture_default_str();
    watching->add_option("--count", options.count, "end after so many messages");
    CLI::App *debug = add_command(app, options, "debug", "on|off",
                                  "the server's frames, or the library's traces in a client");
    debug->add_option("--count", options.count, "end after so many traces");
    add_command(app, options, "load", "SCENARIO", "give a client the VRFs and routes of a scenario file");
    CLI::App *auditing =
        add_command(app, options, "audit", "", "does the client's cache say what the database says?");
    auditing->add_flag("--json", options.json, "for a program; exit code 1 when they differ, as without");
    CLI::App *waiting =
        add_command(app, options, "wait",
                    "server, clients N, idle; of a client: registered, returned N, received N, handled N",
                    "until something is so");
    waiting->add_option("--timeout", options.timeout_s, "seconds")->capture_default_str();
    waiting->add_option("--while", options.alive, "give up when the process with this id has ended");
}

// Asks as a client of its own that lives for one question.
int get_here(const Options &options)
{
    if (kov_host_attach_tool(options.dir.empty() ? nullptr : options.dir.c_str()) != 0) {
        std::fprintf(stderr, "kovctl: %s\n", kov_host_error());
        return 1;
    }
    std::vector<const char *> words;
    for (const std::string &word : options.words)
        words.push_back(word.c_str());
    const char *text = "";
    const int status = kov_lab_get(static_cast<int>(words.size()), words.data(), &text);
    std::fputs(text, status == 0 ? stdout : stderr);
    kov_api_close();
    kov_host_detach();
    return status;
}

int needs_client(const char *command, const char *because)
{
    std::fprintf(stderr, "kovctl: %s needs -c NAME: %s\n", command, because);
    return 2;
}

int run(const CLI::App &app, const Options &options)
{
    const Peer peer{options.dir, options.client.empty() ? server_name : options.client};
    const auto commands = app.get_subcommands();
    if (commands.empty()) {
        const std::vector<std::string> words = app.remaining();
        if (!words.empty())
            return run_remote(peer, words);
        if (!options.client.empty())
            return talk(peer);
        std::fputs(app.help().c_str(), stderr);
        return 2;
    }
    const std::string name = commands.front()->get_name();
    if (name == "watch")
        return watch(options.dir, options.types, options.count);
    if (name == "wait")
        return wait_for(peer, options.words, options.timeout_s, options.alive);
    if (name == "get" && options.client.empty())
        return get_here(options);
    if (name == "audit" && options.client.empty())
        return needs_client("audit", "a cache is that of a client process");
    if (name == "audit")
        return run_report(peer, options.json ? "audit json" : "audit");
    if (name == "load" && options.client.empty())
        return needs_client("load", "VRFs and routes are those of a client process");
    if (name == "load")
        return load_routes(peer, options.words);
    if (name == "debug" && options.words == std::vector<std::string>{"on"})
        return follow_traces(peer, options.count);
    std::vector<std::string> words{name};
    words.insert(words.end(), options.words.begin(), options.words.end());
    return run_remote(peer, words);
}

// The program without what its parts may throw.
int run_program(int argc, char **argv)
{
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
        std::fprintf(stderr, "kovctl: %s\n", problem.what());
        return 1;
    }
}
