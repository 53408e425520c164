#include "wait.h"

#include "reply.h"
#include "values.h"

#include <kov_host.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <thread>

namespace kov_lab
{
namespace
{

enum class Of { server, client, either };

// What a condition says of the line of the status that shows it.
enum class Form {
    answered, // any answer will do
    word,     // it stands there
    count,    // a number that only grows, and is at least the one that was given
    number,   // a number that is at least the one that was given, or 0
};

struct Condition {
    const char *word;
    Of of;
    Form form;
    const char *line = nullptr;
    const char *value = nullptr; // the word
};

// clang-format off
constexpr Condition conditions[] = {
    {"server",     Of::either, Form::answered},
    {"idle",       Of::server, Form::word,   "messages waiting", "0"},
    {"clients",    Of::server, Form::number, "clients"},
    {"found",      Of::server, Form::count,  "hosts found"},
    {"registered", Of::client, Form::word,   "registered",       "yes"},
    {"returned",   Of::client, Form::count,  "server returns"},
    {"received",   Of::client, Form::count,  "received"},
    {"handled",    Of::client, Form::count,  "handled"},
};
// clang-format on

bool takes_number(const Condition &condition)
{
    return condition.form == Form::count || condition.form == Form::number;
}

// What is waited for.
struct Wanted {
    const Condition *condition = nullptr;
    std::uint32_t number = 0;
};

bool is_of(const Condition &condition, bool of_client)
{
    return condition.of == Of::either || (condition.of == Of::client) == of_client;
}

bool parse_wanted(std::span<const std::string> words, bool of_client, Wanted &out, std::string &why)
{
    const auto row = std::find_if(std::begin(conditions), std::end(conditions), [&](const Condition &one) {
        return !words.empty() && words[0] == one.word && words.size() == (takes_number(one) ? 2u : 1u);
    });
    why = "wait for: " + wait_usage();
    if (row == std::end(conditions))
        return false;
    why = std::string("\"") + row->word +
          (of_client ? "\" is of the server: without -c" : "\" is of a client: with -c NAME");
    if (!is_of(*row, of_client))
        return false;
    out.condition = row;
    if (!takes_number(*row))
        return true;
    const unsigned least = row->form == Form::count ? 1 : 0;
    const auto number = parse_number(words[1], least, std::numeric_limits<std::uint32_t>::max(), why);
    out.number = number.value_or(0);
    return number.has_value();
}

// The value on the line "NAME: VALUE" of a status.
std::string value_of(const std::string &status, const std::string &name)
{
    const std::string start = name + ": ";
    std::size_t at = status.starts_with(start) ? 0 : status.find("\n" + start);
    if (at == status.npos)
        return {};
    at = status.find(start, at) + start.size();
    return status.substr(at, status.find('\n', at) - at);
}

bool holds(const Wanted &wanted, const std::string &status)
{
    const Condition &condition = *wanted.condition;
    if (condition.form == Form::answered)
        return !status.empty();
    const std::string value = value_of(status, condition.line);
    if (condition.form == Form::word)
        return value == condition.value;
    const unsigned long number = std::strtoul(value.c_str(), nullptr, 10);
    return !value.empty() && (wanted.number == 0 ? number == 0 : number >= wanted.number);
}

// Empty when the process cannot be reached.
std::string status_of(const Peer &peer)
{
    std::string output;
    const Session session = open_session(peer, 0);
    if (session == nullptr || run_line(session.get(), "status", output) != 0)
        return {};
    return output;
}

int told(std::span<const std::string> words, bool json)
{
    if (json)
        std::fputs(json_text({done, "", {{"waited_for", line_of(words)}}}).c_str(), stdout);
    return done;
}

} // namespace

std::vector<std::string> wait_words(bool of_client)
{
    std::vector<std::string> words;
    for (const Condition &condition : conditions)
        if (is_of(condition, of_client))
            words.emplace_back(condition.word);
    return words;
}

std::string wait_usage()
{
    return "server, idle, clients N, found N; with -c NAME: registered, returned N, received N, handled N";
}

int wait_for(const Peer &peer, std::span<const std::string> words, unsigned timeout_s, pid_t alive, bool json)
{
    Wanted wanted;
    std::string why;
    if (!parse_wanted(words, peer.name != server_name, wanted, why)) {
        complain(why);
        return misused;
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(timeout_s);
    std::string status;
    do {
        status = status_of(peer);
        if (holds(wanted, status))
            return told(words, json);
        if (alive != 0 && kill(alive, 0) != 0 && errno == ESRCH)
            return gone("process " + std::to_string(alive));
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    } while (std::chrono::steady_clock::now() < end);
    if (status.empty())
        return nobody(peer);
    complain("waited " + std::to_string(timeout_s) + " s for " + peer.name + ": " + line_of(words) +
             "; it says " + std::string(wanted.condition->line) + ": " +
             value_of(status, wanted.condition->line));
    return exit_late;
}

} // namespace kov_lab
