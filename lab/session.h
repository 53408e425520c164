// kovctl's side of a process's command line: run a line there, wait for a state, talk interactively.
//
// The results are exit codes of kovctl: 0 done, 1 refused or unreachable, 2 used wrongly. Output of a command
// that succeeds goes to the standard output, that of one that fails to the error output.
#pragma once

#include <span>
#include <string>
#include <sys/types.h>

namespace kov_lab
{

struct Peer {
    std::string dir;  // the runtime directory; empty: the usual one
    std::string name; // of the process

    const char *dir_or_null() const { return dir.empty() ? nullptr : dir.c_str(); }
};

// The name under which the server attaches.
constexpr const char *server_name = "kovd";

// Runs one command there. A word may hold blanks.
int run_remote(const Peer &peer, std::span<const std::string> words);

// The same for a line whose output is a report: it goes to the standard output for exit code 1 as well.
int run_report(const Peer &peer, const std::string &line);

// Reads lines from the standard input and runs them there until the input ends.
int talk(const Peer &peer);

// Shows the traces of a client until a signal, or until `count` of them came (0: no limit).
int follow_traces(const Peer &peer, unsigned count);

// Waits until the process's status shows what `words` ask for: "server", "clients N" and "idle" of the
// server, "registered", "returned N" (the server, N times), "received N" and "handled N" of a client. Gives
// up after the time, and when process `alive` has ended (0: none).
int wait_for(const Peer &peer, std::span<const std::string> words, unsigned timeout_s, pid_t alive);

// "no server in DIR: ..." or what else kept the process from being reached.
std::string unreachable(const Peer &peer);

} // namespace kov_lab
