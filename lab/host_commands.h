// What a client tells the server about hosts, as commands: "verify" asks the server to verify one, "report"
// tells what a probe has shown. "set host", "del host" and "list hosts" keep the hosts that would answer a
// probe: a lab has no wire, so somebody has to say who is there.
#pragma once

#include "commands.h"

namespace kov_lab
{

// Each runs one call of the library. Refused when the message was not sent; the text is the call and its
// result, or what is wrong with the words.
Reply verify_host(const Call &call);
Reply report_host(const Call &call);

// The hosts that answer. What is refused changes nothing.
Reply set_host(const Call &call);
Reply del_host(const Call &call);
Reply list_hosts(const Call &call);

// ADDRESS INTERFACE and its details; a host that answers.
void complete_report(const Call &call, Candidates &out);
void complete_host(const Call &call, Candidates &out);

} // namespace kov_lab
