#include "cli_commands.h"
#include "support.h"

#include <kov/platform/cli.h>

#include <algorithm>
#include <cinttypes>
#include <map>

namespace kov_host
{
namespace
{

struct Command {
    std::string help;
    kov_host_command_fn fn;
    void *arg;
};

using Words = std::vector<std::string>;

int show_help(void *cli, int argc, const char *const *argv, void *arg);
int show_host(void *cli, int argc, const char *const *argv, void *arg);

// By their words, so that the longest match can be looked up.
std::map<Words, Command> &commands()
{
    static std::map<Words, Command> instance{
        {{"help"}, {"the commands of this process", show_help, nullptr}},
        {{"show", "host"}, {"where this process is attached, and its counters", show_host, nullptr}},
    };
    return instance;
}

std::string joined(const Words &words)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

int show_help(void *cli, int /*argc*/, const char *const * /*argv*/, void * /*arg*/)
{
    for (const auto &[words, command] : commands())
        cli_cmd_printf(cli, "%-24s %s\n", joined(words).c_str(), command.help.c_str());
    return 0;
}

int show_host(void *cli, int /*argc*/, const char *const * /*argv*/, void * /*arg*/)
{
    const kov_host_counters now = counters();
    const struct {
        const char *label;
        std::uint64_t value;
    } rows[] = {
        {"Database opens", now.rdb_opens},
        {"Database opens refused", now.rdb_open_failures},
        {"Database reads", now.rdb_reads},
        {"Database walk steps", now.rdb_steps},
        {"Messages sent", now.ipc_sends},
        {"Messages not sent", now.ipc_send_failures},
        {"  queue full", now.ipc_queue_full},
        {"  nobody there", now.ipc_peer_absent},
        {"Watched peers lost", now.ipc_peer_losses},
        {"Watched peers come back", now.ipc_peer_returns},
        {"Messages received", now.ipc_receives},
        {"Frames refused", now.ipc_frames_refused},
        {"Yields", now.yields},
        {"Commands", now.commands},
        {"Trace lines", now.traces},
        {"Trace lines dropped", now.traces_dropped},
    };
    const char *dir = kov_host_dir();
    cli_cmd_printf(cli, "%-30s : %s\n", "Name", kov_host_name());
    cli_cmd_printf(cli, "%-30s : %s\n", "Runtime directory", dir == nullptr ? "-" : dir);
    for (const auto &row : rows)
        cli_cmd_printf(cli, "%-30s : %" PRIu64 "\n", row.label, row.value);
    return 0;
}

// Takes the command's own words from the front of `words`.
const Command *take_command(Words &words)
{
    for (std::size_t length = words.size(); length > 0; --length) {
        const auto end = words.begin() + static_cast<std::ptrdiff_t>(length);
        const auto at = commands().find(Words(words.begin(), end));
        if (at == commands().end())
            continue;
        words.erase(words.begin(), end);
        return &at->second;
    }
    return nullptr;
}

} // namespace

bool split_line(std::string_view line, Words &words)
{
    bool in_word = false;
    bool quoted = false;
    for (const char c : line) {
        const bool blank = c == ' ' || c == '\t' || c == '\n' || c == '\r';
        if (blank && !quoted) {
            in_word = false;
            continue;
        }
        if (!in_word)
            words.emplace_back();
        in_word = true;
        if (c == '"')
            quoted = !quoted;
        else
            words.back() += c;
    }
    return !quoted;
}

int run_command(const std::string &line, Output &output)
{
    Words words;
    if (!split_line(line, words)) {
        output.write("a quote is not closed\n");
        return unknown_command;
    }
    if (words.empty())
        return 0;
    const std::string typed = joined(words);
    const Command *found = take_command(words);
    if (found == nullptr) {
        output.write("unknown command '" + typed + "'; help lists the commands\n");
        return unknown_command;
    }
    ++counters().commands;
    const Command command = *found; // it may add commands while it runs
    CliContext context{output, std::move(words)};
    std::vector<const char *> argv;
    for (const std::string &word : context.words)
        argv.push_back(word.c_str());
    argv.push_back(nullptr);
    return command.fn(&context, static_cast<int>(context.words.size()), argv.data(), command.arg);
}

int add_command(const char *name, const char *help, kov_host_command_fn fn, void *arg)
{
    Words words;
    if (name == nullptr || fn == nullptr || !split_line(name, words) || words.empty())
        return fail("a command needs a name and a function");
    const auto [at, fresh] = commands().try_emplace(words, Command{help == nullptr ? "" : help, fn, arg});
    return fresh ? 0 : fail("there is a command '%s' already", name);
}

} // namespace kov_host

extern "C" int kov_host_command_add(const char *name, const char *help, kov_host_command_fn fn, void *arg)
{
    return kov_host::guarded(-1, [&] { return kov_host::add_command(name, help, fn, arg); });
}
