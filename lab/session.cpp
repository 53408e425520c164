#include "session.h"

#include "pager.h"
#include "reply.h"
#include "screen.h"

#include <kov_host.h>

#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace kov_lab
{
namespace
{

volatile std::sig_atomic_t interrupted = 0;

// How long to wait in one go, in ms: a signal that comes just before a wait is seen after it.
constexpr int glance_ms = 200;

void on_signal(int) { interrupted = 1; }

bool as_json = false;

} // namespace

std::uint32_t terminal_rows() { return isatty(STDIN_FILENO) != 0 ? screen_now().rows : 0; }

void CloseSession::operator()(kov_host_session *session) const { kov_host_session_close(session); }

Session open_session(const Peer &peer, std::uint32_t rows)
{
    return Session(kov_host_session_open(peer.dir_or_null(), peer.name.c_str(), rows));
}

int complain(const std::string &problem)
{
    if (as_json)
        std::fputs(json_text(refusal(problem)).c_str(), stdout);
    else
        std::fprintf(stderr, "kovctl: %s\n", problem.c_str());
    return refused;
}

void answer_as_json(bool json) { as_json = json; }

int exit_code(int status) { return status == 0 || status == 1 ? status : 2; }

void stop_on_signals()
{
    struct sigaction action {
    };
    action.sa_handler = on_signal;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool stopped() { return interrupted != 0; }

void note_interrupts()
{
    struct sigaction action {
    };
    action.sa_handler = on_signal;
    sigaction(SIGINT, &action, nullptr);
    action.sa_handler = SIG_DFL;
    sigaction(SIGTERM, &action, nullptr);
}

bool take_interrupt()
{
    const bool came = interrupted != 0;
    interrupted = 0;
    return came;
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

namespace
{

// The status. What the other end says goes to the pager, which answers its questions.
std::optional<int> converse(kov_host_session *session, const std::string &line, Pager &pager)
{
    kov_host_cli_event event;
    if (kov_host_session_command(session, line.c_str()) != 0)
        return std::nullopt;
    for (;;) {
        const int came = kov_host_session_next(session, glance_ms, &event);
        if (came < 0 || stopped())
            return std::nullopt;
        if (came == 0)
            continue;
        if (event.kind == KOV_HOST_CLI_DONE)
            return event.status;
        if (event.kind == KOV_HOST_CLI_OUTPUT)
            pager.add({event.text, event.size});
        else if (event.kind == KOV_HOST_CLI_TRACE)
            pager.add_trace(event.text);
        else if (event.kind == KOV_HOST_CLI_MORE)
            kov_host_session_answer(session, pager.wants_more() ? 1 : 0);
    }
}

} // namespace

std::optional<int> run_line(kov_host_session *session, const std::string &line, std::string &output)
{
    Pager pager(false);
    const std::optional<int> status = converse(session, line, pager);
    output = pager.held();
    return status;
}

int run_and_show(kov_host_session *session, const std::string &line, int good)
{
    Pager pager(terminal_rows() != 0);
    const std::optional<int> status = converse(session, line, pager);
    if (!status) {
        complain(stopped() ? "interrupted" : "the other end is gone before it has answered");
        return exit_nobody;
    }
    const bool answer = good == any_status || (*status >= 0 && *status <= good);
    pager.finish(answer ? stdout : stderr);
    return exit_code(*status);
}

int gone(const std::string &who)
{
    complain(who + " is gone");
    return exit_nobody;
}

int nobody(const Peer &peer)
{
    complain(unreachable(peer));
    return exit_nobody;
}

std::string unreachable(const Peer &peer)
{
    const std::string cause = kov_host_error();
    const char *dir = kov_host_dir();
    if (peer.name == server_name)
        return "no server in " + (peer.dir.empty() ? std::string(dir == nullptr ? "?" : dir) : peer.dir) +
               ": start one with kovd --scenario FILE (" + cause + ")";
    return "no client " + peer.name + ": kovctl list clients shows who is registered (" + cause + ")";
}

int run_remote(const Peer &peer, std::span<const std::string> words, bool json, int good)
{
    const Session session = open_session(peer, terminal_rows());
    if (session == nullptr)
        return nobody(peer);
    return run_and_show(session.get(), line_of(words) + (json ? " --json" : ""), json ? any_status : good);
}

int run_report(const Peer &peer, std::span<const std::string> words, bool json)
{
    return run_remote(peer, words, json, 1);
}

namespace
{

// One line for each trace: who, and what.
std::string trace_json(const Peer &peer, const std::string &line)
{
    const std::size_t colon = line.find(": ");
    const bool prefixed = colon != line.npos;
    const Json trace{{"process", peer.name},
                     {"prefix", prefixed ? line.substr(0, colon) : ""},
                     {"text", prefixed ? line.substr(colon + 2) : line}};
    return trace.dump(-1, ' ', true, Json::error_handler_t::replace);
}

} // namespace

int follow_traces(const Peer &peer, unsigned count, bool json)
{
    const Session session = open_session(peer, 0);
    if (session == nullptr)
        return nobody(peer);
    stop_on_signals();
    const int status = run_and_show(session.get(), "debug on");
    if (status != 0)
        return status;
    std::fprintf(json ? stderr : stdout, "traces of %s; Ctrl-C ends\n", peer.name.c_str());
    std::fflush(stdout);
    unsigned shown = 0;
    kov_host_cli_event event;
    while (!stopped() && (count == 0 || shown < count)) {
        const int came = kov_host_session_next(session.get(), glance_ms, &event);
        if (came < 0)
            return gone(peer.name);
        if (came == 0 || event.kind != KOV_HOST_CLI_TRACE)
            continue;
        ++shown;
        std::printf("%s\n", json ? trace_json(peer, event.text).c_str() : event.text);
        std::fflush(stdout);
    }
    return 0;
}

} // namespace kov_lab
