#include "wait.h"

#include <kov_host.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

namespace kov_lab
{
namespace
{

struct Condition {
    const char *word;
    const char *line;  // of the status that shows it; null: any answer will do
    const char *value; // what the line must say; null: a number that is at least the one that was given
};

// clang-format off
constexpr Condition conditions[] = {
    {"server",     nullptr,            ""},
    {"idle",       "messages waiting", "0"},
    {"clients",    "clients",          nullptr},
    {"found",      "hosts found",      nullptr},
    {"registered", "registered",       "yes"},
    {"returned",   "server returns",   nullptr},
    {"received",   "received",         nullptr},
    {"handled",    "handled",          nullptr},
};
// clang-format on

const Condition *find_condition(std::span<const std::string> words)
{
    for (const Condition &condition : conditions)
        if (!words.empty() && words[0] == condition.word)
            return words.size() == (condition.value == nullptr ? 2u : 1u) ? &condition : nullptr;
    return nullptr;
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

bool holds(const Condition &condition, const std::string &status, unsigned long number)
{
    if (condition.line == nullptr)
        return !status.empty();
    const std::string value = value_of(status, condition.line);
    if (condition.value != nullptr)
        return value == condition.value;
    return !value.empty() && std::strtoul(value.c_str(), nullptr, 10) >= number;
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

} // namespace

std::vector<std::string> wait_words()
{
    std::vector<std::string> words;
    for (const Condition &condition : conditions)
        words.emplace_back(condition.word);
    return words;
}

std::string wait_usage()
{
    return "server, idle, clients N, found N; with -c NAME: registered, returned N, received N, handled N";
}

int wait_for(const Peer &peer, std::span<const std::string> words, unsigned timeout_s, pid_t alive)
{
    const Condition *condition = find_condition(words);
    if (condition == nullptr) {
        complain("wait for: " + wait_usage());
        return 2;
    }
    std::string joined;
    for (const std::string &word : words)
        joined += (joined.empty() ? "" : " ") + word;
    const unsigned long number = words.size() == 2 ? std::strtoul(words[1].c_str(), nullptr, 10) : 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(timeout_s);
    std::string status;
    do {
        status = status_of(peer);
        if (holds(*condition, status, number))
            return 0;
        if (alive != 0 && kill(alive, 0) != 0 && errno == ESRCH)
            return gone("process " + std::to_string(alive));
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    } while (std::chrono::steady_clock::now() < end);
    if (status.empty())
        return nobody(peer);
    complain("waited " + std::to_string(timeout_s) + " s for " + peer.name + ": " + joined + "; it says " +
             std::string(condition->line) + ": " + value_of(status, condition->line));
    return exit_late;
}

} // namespace kov_lab
