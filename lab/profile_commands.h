// What a client asks of the server about a host's profile, as commands: "profile add", "del" and "check". The
// host is any text of at most 45 characters, which becomes the key. Each host has one reference number in
// this process, by which its answers are known.
#pragma once

#include "commands.h"

namespace kov_lab
{

// Each runs one call of the library. Refused when the message was not sent; the text is the call and its
// result, or what is wrong with the words. The answer goes to the client's callbacks.
Reply add_profile(const Call &call);
Reply del_profile(const Call &call);
Reply check_profile(const Call &call);

// HOST OPTION=VALUE...
void complete_options(const Call &call, Candidates &out);

} // namespace kov_lab
