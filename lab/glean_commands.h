// A client hands the library a packet to a destination that is not resolved yet, as a command.
#pragma once

#include "commands.h"

namespace kov_lab
{

// "glean VRF DEST SOURCE SVI [iif=INTERFACE] [value=N]": one call, for the route that this process has to the
// destination. It tells the call, its result, whether the server was told, and where the library's answers
// came from. Refused for a message that could not be sent, and for wrong words.
Reply tell_glean(const Call &call);
void complete_glean(const Call &call, Candidates &out);

} // namespace kov_lab
