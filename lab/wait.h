// kovctl wait: until a process says that something is so.
#pragma once

#include "session.h"

#include <vector>

namespace kov_lab
{

// Waits until the process's status shows what `words` ask for: "server", "clients N", "found N" (hosts) and
// "idle" of the server, "registered", "returned N" (the server, N times), "received N" and "handled N" of a
// client. N is at least so many; "clients 0" is none. Gives up after the time, and when process `alive` has
// ended (0: none). With `json` says so in a value. The result is kovctl's exit code.
int wait_for(const Peer &peer, std::span<const std::string> words, unsigned timeout_s, pid_t alive,
             bool json);

// What can be waited for of the server or of a client, by its first word; and all of it in a sentence.
std::vector<std::string> wait_words(bool of_client);
std::string wait_usage();

} // namespace kov_lab
