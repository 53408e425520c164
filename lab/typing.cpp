#include "typing.h"

#include "message_types.h"
#include "queries.h"
#include "wait.h"

#include <kov_host.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <set>
#include <sstream>
#include <unistd.h>

namespace kov_lab
{
namespace
{

struct OptionRow {
    const char *name;
    const char *short_name;
    bool takes_value;
    const char *command; // whose option it is; "": of all
};

// clang-format off
constexpr OptionRow options[] = {
    {"--client",  "-c", true,  ""},
    {"--dir",     "-d", true,  ""},
    {"--json",    "",   false, ""},
    {"--help",    "-h", false, ""},
    {"--types",   "",   true,  "watch"},
    {"--count",   "",   true,  "watch"},
    {"--count",   "",   true,  "debug"},
    {"--count",   "",   true,  "stats"},
    {"--watch",   "",   false, "stats"},
    {"--timeout", "",   true,  "wait"},
    {"--while",   "",   true,  "wait"},
};

// What kovctl itself does with a line; the rest is for the other end.
constexpr const char *own_words[] = {"get", "watch", "wait", "load", "audit", "stats", "debug"};

// Where the server's names of a kind are proposed.
struct KindRow {
    const char *kind;
    std::vector<std::string> (*line)();
};
const KindRow kinds[] = {
    {"<svi>",      [] { return std::vector<std::string>{"show", "svi"}; }},
    {"<port>",     [] { return std::vector<std::string>{"show", "port"}; }},
    {"<topology>", [] { return std::vector<std::string>{"show", "topology"}; }},
    {"<vrf>",      [] { return std::vector<std::string>{"set", "prefix"}; }},
};
// clang-format on

constexpr std::chrono::milliseconds patience{1000};

const OptionRow *option_of(const std::string &word)
{
    for (const OptionRow &option : options)
        if (word == option.name || (option.short_name[0] != '\0' && word == option.short_name))
            return &option;
    return nullptr;
}

void take_value(Typed &typed, const std::string &option, const std::string &value)
{
    if (option == "--dir")
        typed.peer.dir = value;
    if (option != "--client")
        return;
    typed.peer.name = value;
    typed.of_client = true;
}

// The output of a command, or nothing when it does not come in time.
std::string ask_quickly(const Peer &peer, const std::string &line)
{
    const Session session = open_session(peer, 0);
    if (session == nullptr || kov_host_session_command(session.get(), line.c_str()) != 0)
        return {};
    const auto end = std::chrono::steady_clock::now() + patience;
    std::string output;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        kov_host_cli_event event;
        if (left.count() <= 0 ||
            kov_host_session_next(session.get(), static_cast<int>(left.count()), &event) != 1)
            return {};
        if (event.kind == KOV_HOST_CLI_DONE)
            return output;
        if (event.kind == KOV_HOST_CLI_OUTPUT)
            output.append(event.text, event.size);
    }
}

Candidates ask_candidates(const Peer &peer, std::vector<std::string> words, const std::string &partial)
{
    words.insert(words.begin(), "complete");
    words.push_back(partial);
    std::istringstream output(ask_quickly(peer, line_of(words)));
    Candidates candidates;
    for (std::string candidate; std::getline(output, candidate);)
        candidates.push_back(candidate);
    return candidates;
}

Candidates files(const std::string &partial)
{
    const std::size_t slash = partial.rfind('/');
    const std::string folder = slash == partial.npos ? "" : partial.substr(0, slash + 1);
    Candidates names;
    std::error_code problem;
    for (const auto &entry : std::filesystem::directory_iterator(folder.empty() ? "." : folder, problem))
        names.push_back(folder + entry.path().filename().string() + (entry.is_directory(problem) ? "/" : ""));
    return names;
}

// The processes of the runtime directory that serve a command line; the server is nobody's client.
Candidates clients(const Peer &peer)
{
    const char *usual = kov_host_dir();
    const std::string dir = !peer.dir.empty() ? peer.dir : usual == nullptr ? "" : usual;
    Candidates names;
    std::error_code problem;
    for (const auto &entry : std::filesystem::directory_iterator(dir + "/cli", problem))
        if (entry.path().extension() == ".sock" && entry.path().stem() != server_name)
            names.push_back(entry.path().stem().string());
    return names;
}

// "svi,to" becomes "svi,topology".
Candidates type_lists(const std::string &partial)
{
    const std::size_t comma = partial.rfind(',');
    const std::string before = comma == partial.npos ? "" : partial.substr(0, comma + 1);
    Candidates lists;
    for (const std::string &word : mtype_words())
        lists.push_back(before + word);
    if (before.empty())
        lists.emplace_back("all");
    return lists;
}

Candidates values_of_option(const Typed &typed, const std::string &partial)
{
    if (typed.awaits == "--client")
        return clients(typed.peer);
    if (typed.awaits == "--dir") {
        Candidates folders = files(partial);
        std::erase_if(folders, [](const std::string &name) { return !name.ends_with('/'); });
        return folders;
    }
    return typed.awaits == "--types" ? type_lists(partial) : Candidates{};
}

Candidates option_names(const Typed &typed)
{
    Candidates names;
    for (const OptionRow &option : options)
        if (option.command[0] == '\0' || (!typed.words.empty() && typed.words[0] == option.command))
            names.emplace_back(option.name);
    return names;
}

Candidates query_words(const Typed &typed, const std::string &partial)
{
    std::vector<const char *> words;
    for (std::size_t i = 1; i < typed.words.size(); ++i)
        words.push_back(typed.words[i].c_str());
    words.push_back(partial.c_str());
    return query_candidates(words);
}

Candidates candidates_of(const Typed &typed, const std::string &partial)
{
    if (!typed.awaits.empty())
        return values_of_option(typed, partial);
    if (partial.starts_with('-'))
        return option_names(typed);
    const std::string first = typed.words.empty() ? "" : typed.words[0];
    if (first == "get" && !typed.of_client)
        return query_words(typed, partial);
    if (first == "load")
        return files(partial);
    if (first == "wait")
        return typed.words.size() == 1 ? wait_words(typed.of_client) : Candidates{};
    Candidates all = ask_candidates(typed.peer, typed.words, partial);
    if (first.empty()) {
        std::erase(all, "complete"); // nobody types it
        all.insert(all.end(), std::begin(own_words), std::end(own_words));
    }
    return all;
}

// The names that a kind stands for, behind what stands before it: "iif=<svi>".
Candidates resolved(const Typed &typed, const std::string &candidate, const std::string &partial)
{
    for (const KindRow &row : kinds) {
        if (!candidate.ends_with(row.kind))
            continue;
        const std::string before = candidate.substr(0, candidate.size() - std::string(row.kind).size());
        if (!partial.starts_with(before))
            return {};
        Candidates names =
            ask_candidates({typed.peer.dir, server_name}, row.line(), partial.substr(before.size()));
        for (std::string &name : names)
            name.insert(0, before);
        return names;
    }
    return {candidate};
}

} // namespace

Typed read_typed(const std::vector<std::string> &words)
{
    Typed typed;
    for (const std::string &word : words) {
        const std::size_t equals = word.starts_with("--") ? word.find('=') : word.npos;
        const OptionRow *option = option_of(word.substr(0, equals));
        if (!typed.awaits.empty()) {
            take_value(typed, typed.awaits, word);
            typed.awaits.clear();
        } else if (option == nullptr) {
            typed.words.push_back(word);
        } else if (equals != word.npos) {
            take_value(typed, option->name, word.substr(equals + 1));
        } else if (option->takes_value) {
            typed.awaits = option->name;
        } else {
            typed.help = typed.help || std::string_view(option->name) == "--help";
        }
    }
    return typed;
}

Candidates completions(const Typed &typed, const std::string &partial)
{
    std::set<std::string> all;
    for (const std::string &candidate : candidates_of(typed, partial))
        for (const std::string &name : resolved(typed, candidate, partial))
            if (name.starts_with(partial))
                all.insert(name);
    return {all.begin(), all.end()};
}

int print_completions(std::vector<std::string> words)
{
    alarm(3); // nobody waits longer, not even for a process that does not accept
    if (!words.empty() && words[0] == "--")
        words.erase(words.begin());
    const std::string partial = words.empty() ? "" : words.back();
    if (!words.empty())
        words.pop_back();
    for (const std::string &candidate : completions(read_typed(words), partial))
        std::printf("%s\n", candidate.c_str());
    return 0;
}

std::vector<std::string> split_words(const std::string &line)
{
    std::vector<std::string> words;
    bool in_word = false;
    bool quoted = false;
    for (const char c : line) {
        const bool blank = (c == ' ' || c == '\t') && !quoted;
        if (!blank && !in_word)
            words.emplace_back();
        in_word = !blank;
        if (c == '"')
            quoted = !quoted;
        else if (!blank)
            words.back() += c;
    }
    return words;
}

} // namespace kov_lab
