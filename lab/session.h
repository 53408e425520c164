// kovctl's side of a process's command line: a line that is run there, traces that are followed.
//
// The results are exit codes of kovctl. Output of a command that succeeds goes to the standard output, that
// of one that fails to the error output.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <sys/types.h>

struct kov_host_session;

namespace kov_lab
{

// What kovctl's exit code says, beside the statuses 0 done, 1 refused and 2 used wrongly of a command.
constexpr int exit_nobody = 3; // no server, no such client, or gone before it had answered
constexpr int exit_late = 4;   // waited for in vain

struct Peer {
    std::string dir;  // the runtime directory; empty: the usual one
    std::string name; // of the process

    const char *dir_or_null() const { return dir.empty() ? nullptr : dir.c_str(); }
};

// The name under which the server attaches.
constexpr const char *server_name = "kovd";

// Runs one command there. A word may hold blanks. The output goes to the standard output when the status is
// not above `good`; JSON always.
int run_remote(const Peer &peer, std::span<const std::string> words, bool json = false, int good = 0);

// The same for a command whose output is a report: it goes to the standard output for exit code 1 as well.
int run_report(const Peer &peer, std::span<const std::string> words, bool json = false);

// Shows the traces of a client until a signal, or until `count` of them came (0: no limit).
int follow_traces(const Peer &peer, unsigned count, bool json = false);

// ---- For commands that make something of an answer ------------------------------------------------------

struct CloseSession {
    void operator()(kov_host_session *session) const;
};
using Session = std::unique_ptr<kov_host_session, CloseSession>;

// Null with kov_host_error when nobody is there. `rows` as kov_host_session_open takes it.
Session open_session(const Peer &peer, std::uint32_t rows);

// The height to page by, 0 when no person reads.
std::uint32_t terminal_rows();

// The words as a line that is split into them again.
std::string line_of(std::span<const std::string> words);

// Runs a line and shows what it says, on the error output when the status is above `good`; to a person page
// by page. The exit code.
constexpr int any_status = std::numeric_limits<int>::max();
int run_and_show(kov_host_session *session, const std::string &line, int good = 0);

// Says that it has ended; exit_nobody.
int gone(const std::string &who);

// Says who cannot be reached, and what to do; exit_nobody.
int nobody(const Peer &peer);

// Runs a line and collects its output. Nothing when the other end is gone, or a signal came that ends the
// command.
std::optional<int> run_line(kov_host_session *session, const std::string &line, std::string &output);

// The exit code of kovctl for the status of a command that ran elsewhere.
int exit_code(int status);

// From here on SIGINT and SIGTERM do not kill: the command ends by itself, well.
void stop_on_signals();
bool stopped();
// From here on SIGINT alone is noted, and taken note of once.
void note_interrupts();
bool take_interrupt();

// Says it on the error output; 1. From answer_as_json(true) on {"error": ...} on the standard output.
int complain(const std::string &problem);
void answer_as_json(bool json);

// "no server in DIR: ..." or what else kept the process from being reached.
std::string unreachable(const Peer &peer);

} // namespace kov_lab
