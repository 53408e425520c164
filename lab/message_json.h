// A message for a program: its type by number and word, and an object for each of its records.
#pragma once

#include "json.h"

#include <kov/kov_messages.h>

namespace kov_lab
{

// {"type": 9, "name": "svi", "records": [{"svi": "vlan10", "ifindex": 603979786}]}. The message is one that
// kov_dispatch handed out.
Json message_json(const kov_client_msg &msg);

} // namespace kov_lab
