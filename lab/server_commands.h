// The operator's commands of the server: what `kovctl set`, `del`, `list`, `show`, `status` and `inject` run.
//
// Each answers with text and a status: 0 done, 1 refused, 2 used wrongly. "help" lists them.
#pragma once

#include "server.h"

namespace kov_lab
{

// Adds the commands to this process's command line. `server` must outlive the attachment.
void add_server_commands(Server &server);

} // namespace kov_lab
