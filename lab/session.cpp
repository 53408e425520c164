#include "session.h"

#include <kov_host.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>

namespace kov_lab
{
namespace
{

struct CloseSession {
    void operator()(kov_host_session *session) const { kov_host_session_close(session); }
};
using Session = std::unique_ptr<kov_host_session, CloseSession>;

std::uint32_t terminal_rows()
{
    winsize size{};
    const bool terminal = isatty(STDIN_FILENO) != 0 && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0;
    return terminal ? size.ws_row : 0;
}

Session open_session(const Peer &peer, std::uint32_t rows)
{
    return Session(kov_host_session_open(peer.dir_or_null(), peer.name.c_str(), rows));
}

int complain(const std::string &problem)
{
    std::fprintf(stderr, "kovctl: %s\n", problem.c_str());
    return 1;
}

std::string line_of(std::span<const std::string> words)
{
    std::string line;
    for (const std::string &word : words) {
        const bool plain = !word.empty() && word.find_first_of(" \t\n") == std::string::npos;
        line += (line.empty() ? "" : " ") + (plain ? word : '"' + word + '"');
    }
    return line;
}

int exit_code(int status) { return status == 0 || status == 1 ? status : 2; }

bool go_on()
{
    std::string answer;
    std::fputs("--More-- (Enter: go on, q: stop) ", stdout);
    std::fflush(stdout);
    return std::getline(std::cin, answer) && answer.empty();
}

// Runs a line and collects its output; shows what there is when the pager asks. Nothing when the other end is
// gone.
std::optional<int> run_line(kov_host_session *session, const std::string &line, std::string &output)
{
    kov_host_cli_event event;
    if (kov_host_session_command(session, line.c_str()) != 0)
        return std::nullopt;
    for (;;) {
        const int came = kov_host_session_next(session, -1, &event);
        if (came < 0)
            return std::nullopt;
        if (came == 0)
            continue;
        if (event.kind == KOV_HOST_CLI_DONE)
            return event.status;
        if (event.kind == KOV_HOST_CLI_OUTPUT) {
            output.append(event.text, event.size);
        } else if (event.kind == KOV_HOST_CLI_MORE) {
            std::fputs(output.c_str(), stdout);
            output.clear();
            kov_host_session_answer(session, go_on() ? 1 : 0);
        }
    }
}

// `good` is the highest status of which the output is no complaint.
int run_and_show(kov_host_session *session, const std::string &line, int good = 0)
{
    std::string output;
    const std::optional<int> status = run_line(session, line, output);
    if (!status)
        return complain(kov_host_error());
    std::fputs(output.c_str(), *status >= 0 && *status <= good ? stdout : stderr);
    return exit_code(*status);
}

volatile std::sig_atomic_t interrupted = 0;

void on_signal(int) { interrupted = 1; }

void stop_on_signals()
{
    struct sigaction action {
    };
    action.sa_handler = on_signal;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

// ---- Waiting
// -----------------------------------------------------------------------------------------------

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

std::string unreachable(const Peer &peer)
{
    const std::string cause = kov_host_error();
    const char *dir = kov_host_dir();
    if (peer.name == server_name)
        return "no server in " + (peer.dir.empty() ? std::string(dir == nullptr ? "?" : dir) : peer.dir) +
               ": start one with kovd --scenario FILE (" + cause + ")";
    return "no client " + peer.name + ": kovctl list clients shows who is registered (" + cause + ")";
}

int run_remote(const Peer &peer, std::span<const std::string> words)
{
    const Session session = open_session(peer, terminal_rows());
    if (session == nullptr)
        return complain(unreachable(peer));
    return run_and_show(session.get(), line_of(words));
}

int run_report(const Peer &peer, const std::string &line)
{
    const Session session = open_session(peer, terminal_rows());
    if (session == nullptr)
        return complain(unreachable(peer));
    return run_and_show(session.get(), line, 1);
}

int talk(const Peer &peer)
{
    const Session session = open_session(peer, terminal_rows());
    if (session == nullptr)
        return complain(unreachable(peer));
    const bool person = isatty(STDIN_FILENO) != 0;
    std::string line;
    int status = 0;
    for (;;) {
        if (person) {
            std::printf("%s> ", peer.name.c_str());
            std::fflush(stdout);
        }
        if (!std::getline(std::cin, line))
            return status;
        status = run_and_show(session.get(), line);
    }
}

int follow_traces(const Peer &peer, unsigned count)
{
    const Session session = open_session(peer, 0);
    if (session == nullptr)
        return complain(unreachable(peer));
    stop_on_signals();
    const int status = run_and_show(session.get(), "debug on");
    if (status != 0)
        return status;
    std::printf("traces of %s; Ctrl-C ends\n", peer.name.c_str());
    std::fflush(stdout);
    unsigned shown = 0;
    kov_host_cli_event event;
    while (interrupted == 0 && (count == 0 || shown < count)) {
        // The timeout covers a signal that comes just before the wait.
        const int came = kov_host_session_next(session.get(), 200, &event);
        if (came < 0)
            return complain(peer.name + " is gone");
        if (came == 0 || event.kind != KOV_HOST_CLI_TRACE)
            continue;
        ++shown;
        std::printf("%s\n", event.text);
        std::fflush(stdout);
    }
    return 0;
}

int wait_for(const Peer &peer, std::span<const std::string> words, unsigned timeout_s, pid_t alive)
{
    const Condition *condition = find_condition(words);
    if (condition == nullptr) {
        complain(
            "wait for: server, idle, clients N; with -c NAME: registered, returned N, received N, handled N");
        return 2;
    }
    const unsigned long number = words.size() == 2 ? std::strtoul(words[1].c_str(), nullptr, 10) : 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(timeout_s);
    std::string status;
    do {
        status = status_of(peer);
        if (holds(*condition, status, number))
            return 0;
        if (alive != 0 && kill(alive, 0) != 0 && errno == ESRCH)
            return complain("process " + std::to_string(alive) + " has ended");
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    } while (std::chrono::steady_clock::now() < end);
    if (status.empty())
        return complain(unreachable(peer));
    return complain("waited " + std::to_string(timeout_s) + " s for " + peer.name + ": " + line_of(words) +
                    "; it says " + std::string(condition->line) + ": " + value_of(status, condition->line));
}

} // namespace kov_lab
