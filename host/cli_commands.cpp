#include "cli_commands.h"
#include "support.h"

#include <nlohmann/json.hpp>

namespace kov_host
{
namespace
{

using Words = std::vector<std::string>;

void complain(Output &output, bool json, const std::string &problem)
{
    output.write(json ? json_text({{"error", problem}}) : problem + "\n");
}

bool take_json(Words &words)
{
    const std::size_t before = words.size();
    if (!words.empty() && words.front() == "--json")
        words.erase(words.begin());
    if (!words.empty() && words.back() == "--json")
        words.pop_back();
    return words.size() != before;
}

std::string unknown(const Words &words)
{
    const Words meant = nearest(command_names(), words);
    return "unknown command '" + joined(words) + "'; " +
           (meant.empty() ? "" : "did you mean " + joined(meant, ", ") + "? ") + "help lists the commands";
}

} // namespace

std::map<Words, Command> &commands()
{
    static std::map<Words, Command> instance = built_in_commands();
    return instance;
}

CommandNames command_names()
{
    CommandNames all;
    for (const auto &[words, command] : commands())
        all.push_back(words);
    return all;
}

std::optional<Command> take_command(Words &words)
{
    for (std::size_t length = words.size(); length > 0; --length) {
        const auto end = words.begin() + static_cast<std::ptrdiff_t>(length);
        const auto at = commands().find(Words(words.begin(), end));
        if (at == commands().end())
            continue;
        words.erase(words.begin(), end);
        return at->second;
    }
    return std::nullopt;
}

std::vector<const char *> argv_of(const Words &words)
{
    std::vector<const char *> argv;
    for (const std::string &word : words)
        argv.push_back(word.c_str());
    argv.push_back(nullptr);
    return argv;
}

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
    // The words behind "complete" are another line's.
    const bool other = !words.empty() && words[0] == "complete";
    const bool json = !other && take_json(words);
    if (!other && words.size() > 1 && words.back() == "--help") {
        words.pop_back();
        words.insert(words.begin(), "help");
    }
    if (words.empty())
        return 0;
    const Words typed = words;
    const auto command = take_command(words);
    if (!command) {
        complain(output, json, unknown(typed));
        return unknown_command;
    }
    if (json && !command->json) {
        complain(output, json, "'" + joined(typed) + "' takes no --json: it prints text for people only");
        return unknown_command;
    }
    ++counters().commands;
    CliContext context{output, std::move(words), json};
    const auto argv = argv_of(context.words);
    return command->fn(&context, static_cast<int>(context.words.size()), argv.data(), command->arg);
}

int add_command(const char *name, const char *help, kov_host_command_fn fn, void *arg)
{
    Words words;
    if (name == nullptr || fn == nullptr || !split_line(name, words) || words.empty())
        return fail("a command needs a name and a function");
    const auto [at, fresh] = commands().try_emplace(words, Command{help == nullptr ? "" : help, fn, arg});
    return fresh ? 0 : fail("there is a command '%s' already", name);
}

int offer(const char *name, kov_host_complete_fn complete, bool json)
{
    Words words;
    const bool named = name != nullptr && split_line(name, words);
    const auto at = named ? commands().find(words) : commands().end();
    if (at == commands().end())
        return fail("there is no command '%s'", name == nullptr ? "" : name);
    at->second.complete = complete;
    at->second.json = json;
    return 0;
}

} // namespace kov_host

extern "C" {

int kov_host_command_add(const char *name, const char *help, kov_host_command_fn fn, void *arg)
{
    return kov_host::guarded(-1, [&] { return kov_host::add_command(name, help, fn, arg); });
}

int kov_host_command_offer(const char *name, kov_host_complete_fn complete, int json)
{
    return kov_host::guarded(-1, [&] { return kov_host::offer(name, complete, json != 0); });
}

} // extern "C"
