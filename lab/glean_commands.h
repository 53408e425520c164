// A client hands the library a packet to a destination that is not resolved yet, as a command.
#pragma once

#include <span>
#include <string>

namespace kov_lab
{

// "glean VRF DEST SOURCE SVI [iif=INTERFACE] [value=N]": one call, for the route that this process has to the
// destination. `text` is the call, its result, whether the server was told, and where the library's answers
// came from. False for a message that could not be sent, and for wrong words, which `text` then explains.
bool tell_glean(std::span<const char *const> words, std::string &text);

} // namespace kov_lab
