// The commands that every process has.
#include "cli_commands.h"
#include "support.h"

#include <kov/platform/cli.h>

#include <algorithm>
#include <cinttypes>
#include <nlohmann/json.hpp>
#include <sstream>

namespace kov_host
{
namespace
{

using Words = std::vector<std::string>;
using Json = nlohmann::ordered_json;

bool begins_with(const Words &words, const Words &start)
{
    return words.size() >= start.size() && std::equal(start.begin(), start.end(), words.begin());
}

int show_help(void *cli, int argc, const char *const *argv, void * /*arg*/)
{
    const Words start(argv, argv + argc);
    Json list = Json::array();
    for (const auto &[words, command] : commands())
        if (begins_with(words, start) || begins_with(start, words))
            list.push_back({{"command", joined(words)}, {"help", command.help}});
    if (kov_host_cli_json(cli) != 0) {
        cli_cmd_printf(cli, "%s", json_text({{"commands", list}}).c_str());
        return 0;
    }
    if (list.empty())
        cli_cmd_printf(cli, "no command begins with '%s'; help lists them all\n", joined(start).c_str());
    for (const Json &row : list) {
        cli_cmd_printf(cli, "%-24s %s\n", row["command"].get<std::string>().c_str(),
                       row["help"].get<std::string>().c_str());
        if (cli_more_output(cli) == 0)
            break;
    }
    return list.empty() ? 1 : 0;
}

struct CounterRow {
    const char *label;
    const char *key;
    std::uint64_t kov_host_counters::*value;
};

#define ROW(LABEL, NAME)                                                                                     \
    {                                                                                                        \
        LABEL, #NAME, &kov_host_counters::NAME                                                               \
    }
constexpr CounterRow counter_rows[] = {
    ROW("Database opens", rdb_opens),
    ROW("Database opens refused", rdb_open_failures),
    ROW("Database reads", rdb_reads),
    ROW("Database walk steps", rdb_steps),
    ROW("Messages sent", ipc_sends),
    ROW("Messages not sent", ipc_send_failures),
    ROW("  queue full", ipc_queue_full),
    ROW("  nobody there", ipc_peer_absent),
    ROW("Messages lost unread", ipc_peer_unread),
    ROW("Watched peers lost", ipc_peer_losses),
    ROW("Watched peers come back", ipc_peer_returns),
    ROW("Messages received", ipc_receives),
    ROW("Frames refused", ipc_frames_refused),
    ROW("Yields", yields),
    ROW("Commands", commands),
    ROW("Trace lines", traces),
    ROW("Trace lines dropped", traces_dropped),
};
#undef ROW

int show_host(void *cli, int /*argc*/, const char *const * /*argv*/, void * /*arg*/)
{
    const kov_host_counters now = counters();
    const char *dir = kov_host_dir();
    const std::string directory = dir == nullptr ? "-" : dir;
    Json object{{"name", kov_host_name()}, {"directory", directory}};
    for (const CounterRow &row : counter_rows)
        object[row.key] = now.*row.value;
    if (kov_host_cli_json(cli) != 0) {
        cli_cmd_printf(cli, "%s", json_text(object).c_str());
        return 0;
    }
    cli_cmd_printf(cli, "%-30s : %s\n", "Name", kov_host_name());
    cli_cmd_printf(cli, "%-30s : %s\n", "Runtime directory", directory.c_str());
    for (const CounterRow &row : counter_rows)
        cli_cmd_printf(cli, "%-30s : %" PRIu64 "\n", row.label, now.*row.value);
    return 0;
}

// ---- Completion ------------------------------------------------------------------------------------------

Words lines_of(const std::string &text)
{
    Words lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

// What the command that the words begin with makes of the rest, of which the last is the one in question.
Words arguments_for(Words words, const std::string &partial)
{
    const auto found = take_command(words);
    if (!found)
        return {};
    Kept kept;
    words.push_back(partial);
    CliContext context{kept, words};
    if (found->complete != nullptr)
        found->complete(&context, static_cast<int>(words.size()), argv_of(words).data(), found->arg);
    Words candidates = lines_of(kept.text());
    candidates.emplace_back("--help");
    if (found->json)
        candidates.emplace_back("--json");
    std::erase_if(candidates, [&](const std::string &word) {
        return !may_become(word, partial) || (word.starts_with("--") && !partial.starts_with('-'));
    });
    return candidates;
}

int complete_line(void *cli, int argc, const char *const *argv, void * /*arg*/)
{
    Words given(argv, argv + argc);
    const std::string partial = given.empty() ? "" : given.back();
    if (!given.empty())
        given.pop_back();
    Words candidates = next_words(command_names(), given, partial);
    for (std::string &argument : arguments_for(given, partial))
        candidates.push_back(std::move(argument));
    for (const std::string &word : candidates)
        cli_cmd_printf(cli, "%s\n", word.c_str());
    return 0;
}

} // namespace

std::string json_text(const Json &value)
{
    return value.dump(2, ' ', true, Json::error_handler_t::replace) + "\n";
}

std::map<Words, Command> built_in_commands()
{
    // clang-format off
    return {
        {{"help"},         {"[WORD...]: the commands of this process, or those that begin so", show_help, nullptr, nullptr, true}},
        {{"complete"},     {"WORD...: what the last word may become; \"\" for one not begun", complete_line, nullptr}},
        {{"show", "host"}, {"where this process is attached, and its counters", show_host, nullptr, nullptr, true}},
    };
    // clang-format on
}

} // namespace kov_host
