// kovctl load: a scenario's VRFs, routes and card for a client.
#pragma once

#include "session.h"

#include <span>
#include <string>

namespace kov_lab
{

// `words` is the file's name. VRF "default" gets the id 1, and the others count on in the file's order. What
// the client has already stays, with the flags that the file gives it. Nothing is sent for a file with a
// mistake. Prints what the client says, or as one JSON value. The result is kovctl's exit code.
int load_routes(const Peer &peer, std::span<const std::string> words, bool json);

} // namespace kov_lab
