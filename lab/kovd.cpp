// kovd: the lab's server. Publishes a scenario, acknowledges registrations, tells clients of changes.
#include "log.h"
#include "profiles.h"
#include "scenario.h"
#include "server_commands.h"

#include <kov/kov_messages.h>
#include <kov_host.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <unistd.h>

extern "C" {
extern std::uint32_t kov_api_wait_for_init;
std::uint32_t kov_api_wait_for_init = 0;
}

namespace
{

using namespace kov_lab;

struct Options {
    std::string dir;
    std::string scenario;
    bool replace = false;
    bool verbose = false;
};

void describe(CLI::App &app, Options &options)
{
    app.add_option("-d,--dir", options.dir, "runtime directory ($KOV_HOST_DIR, or the user's own)");
    app.add_option("-s,--scenario", options.scenario, "JSON file with what to publish")->required();
    app.add_flag("--replace", options.replace, "begin anew with a database file that is damaged");
    app.add_flag("-v,--verbose", options.verbose, "tell each frame that comes in, on the error output");
    app.footer("Ends on Ctrl-C or SIGTERM. Change what it publishes with kovctl.");
}

int complain(const std::string &problem)
{
    std::fprintf(stderr, "kovd: %s\n", problem.c_str());
    return 1;
}

void on_message(const ipc_message *msg, void *server)
{
    try {
        static_cast<Server *>(server)->receive(msg);
    } catch (const std::exception &problem) {
        log_problem(problem.what());
    }
}

// Attached: publishes and serves until it is told to stop.
int serve(const Scenario &scenario, bool replace)
{
    std::string why;
    auto publisher = Publisher::open(kov_host_dir(), replace, why);
    if (!publisher || !publisher->publish(scenario, why))
        return complain(why);
    auto profiles = Profiles::open(kov_host_dir(), replace, why);
    if (!profiles)
        return complain(why);
    Server server(std::move(publisher), std::move(profiles));
    add_server_commands(server);
    kov_host_on_message(on_message, &server);
    kov_host_stop_on_signals();
    std::printf("kovd: serving %s (pid %d): %s, %zu SVIs, %zu topologies, %zu prefixes\n", kov_host_dir(),
                getpid(), scenario.general ? "general information" : "no general information",
                scenario.svis.size(), scenario.topologies.size(), scenario.prefixes.size());
    std::fflush(stdout);
    const int status = kov_host_run();
    kov_host_on_message(nullptr, nullptr);
    return status;
}

int start(const Options &options)
{
    Scenario scenario;
    std::vector<std::string> mistakes;
    if (!load_scenario(options.scenario, scenario, mistakes)) {
        for (const std::string &mistake : mistakes)
            complain(mistake);
        return 1;
    }
    log_frames(options.verbose);
    const char *dir = options.dir.empty() ? nullptr : options.dir.c_str();
    if (kov_host_attach_server(dir, "kovd", KOV_SERVER_SAP) != 0)
        return complain(kov_host_error());
    const int status = serve(scenario, options.replace);
    kov_host_detach();
    return status;
}

// The program without what its parts may throw.
int run_program(int argc, char **argv)
{
    CLI::App app{"The lab's KOV server", "kovd"};
    Options options;
    describe(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    return start(options);
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
