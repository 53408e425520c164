// kovctl: the operator's command line. Asks the library, changes what the server publishes, looks into
// clients, waits and watches.
#include "kovctl_commands.h"
#include "reply.h"
#include "shell.h"
#include "typing.h"

#include <kov_host.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <optional>
#include <unistd.h>

std::uint32_t kov_api_wait_for_init = 0;

namespace
{

using namespace kov_lab;

// How kovctl ends at once: with its help, or for a word or an option that it does not know. Else nothing.
std::optional<int> parse(CLI::App &app, Options &options, const std::vector<std::string> &args)
{
    try {
        app.parse(std::vector<std::string>(args.rbegin(), args.rend()));
        answer_as_json(options.json);
        return std::nullopt;
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0)
            return app.exit(error);
        complain(std::string(error.what()) + "; kovctl --help lists the commands");
        return misused;
    }
}

// ---- Help ------------------------------------------------------------------------------------------------

// What kovctl itself knows of a command; nothing for one that it passes on unseen.
std::optional<std::string> own_help(const std::vector<std::string> &words)
{
    if (own_command(words[0]) == nullptr && remote_command(words[0]) == nullptr)
        return std::nullopt;
    Options options;
    CLI::App app{"", "kovctl"};
    describe(app, options);
    describe_commands(app, options);
    return app.get_subcommand(words[0])->help("kovctl");
}

// What the other end says of its commands that begin so; nothing when it has none, or is not there.
std::optional<std::string> help_from_elsewhere(const Peer &peer, std::vector<std::string> words, bool json)
{
    const Session session = open_session(peer, 0);
    if (session == nullptr)
        return std::nullopt;
    words.insert(words.begin(), "help");
    if (json)
        words.emplace_back("--json");
    std::string text;
    const std::optional<int> status = run_line(session.get(), line_of(words), text);
    return status == 0 ? std::optional(text) : std::nullopt;
}

// "help WORD..." and "WORD... --help". The other end knows more of its commands than the rows above.
int show_help(const Peer &peer, const std::vector<std::string> &words, bool json)
{
    if (words.empty()) {
        const int code = run_remote(peer, std::vector<std::string>{"help"}, json);
        if (code == 0 && !json)
            std::printf("kovctl's own: %s; help WORD tells of one\n", own_names().c_str());
        return code;
    }
    const bool ours = own_command(words[0]) != nullptr;
    std::optional<std::string> text = ours ? own_help(words) : help_from_elsewhere(peer, words, json);
    if (!text)
        text = own_help(words);
    if (!text)
        return run_remote(peer, {{"help", words[0]}}, json); // says what is wrong
    std::fputs(text->c_str(), stdout);
    return done;
}

// ---- Running ---------------------------------------------------------------------------------------------

int run_own(const OwnCommand &command, const Options &options)
{
    return has_client(command.name, command.client_because, options) ? command.run(options) : misused;
}

// The words of a line that asks for help, without "help" or "--help"; nothing for any other line.
std::optional<std::vector<std::string>> help_asked(const Typed &typed)
{
    const bool asked = !typed.words.empty() && typed.words[0] == "help";
    if (!asked && (!typed.help || typed.words.empty()))
        return std::nullopt;
    return std::vector<std::string>(typed.words.begin() + (asked ? 1 : 0), typed.words.end());
}

bool wants_json(const std::vector<std::string> &args)
{
    return std::find(args.begin(), args.end(), "--json") != args.end();
}

// A line that a person types in a shell, when it is kovctl's own.
std::optional<int> run_typed(const Options &shell, const std::string &line)
{
    const std::vector<std::string> words = split_words(line);
    if (const auto asked = help_asked(read_typed(words)))
        return show_help(shell.peer(), *asked, wants_json(words));
    if (words.empty() || own_command(words[0]) == nullptr)
        return std::nullopt;
    CLI::App app{"", ""};
    Options options;
    describe(app, options);
    describe_commands(app, options);
    if (const auto code = parse(app, options, words))
        return code;
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
        return read_lines(options.peer(), own, options.json);
    std::fputs(app.help().c_str(), stderr);
    return misused;
}

int run_command(const std::string &name, const Options &options)
{
    const OwnCommand *own = own_command(name);
    if (own != nullptr && own->applies(options))
        return run_own(*own, options);
    const RemoteCommand *remote = remote_command(name);
    if (remote != nullptr && !has_client(remote->name, remote->client_because, options))
        return misused;
    std::vector<std::string> words{name};
    words.insert(words.end(), options.words.begin(), options.words.end());
    return run_remote(options.peer(), words, options.json);
}

int run(const CLI::App &app, const Options &options)
{
    const auto commands = app.get_subcommands();
    if (!commands.empty())
        return run_command(commands.front()->get_name(), options);
    if (!options.words.empty())
        return run_remote(options.peer(), options.words, options.json);
    return run_lines(app, options);
}

// The program without what its parts may throw.
int run_program(const std::vector<std::string> &args)
{
    if (!args.empty() && args[0] == "complete")
        return print_completions({args.begin() + 1, args.end()});
    answer_as_json(wants_json(args));
    const Typed typed = read_typed(args);
    if (const auto asked = help_asked(typed))
        return show_help(typed.peer, *asked, wants_json(args));
    CLI::App app{"The KOV lab's operator", "kovctl"};
    Options options;
    describe_line(app, options, typed.words);
    if (const auto code = parse(app, options, args))
        return *code;
    return run(app, options);
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run_program({argv + 1, argv + argc});
    } catch (const std::exception &problem) {
        return complain(problem.what());
    }
}
