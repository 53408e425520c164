// Where the dispatcher offers a message to the profile layer, before the client's handler sees it.
//
// The profile layer is not there yet: nothing is consumed, and every message goes on to the handler.
#pragma once

#include "api/types.h"

#include <kov/kov_messages.h>

// Non-zero when the message was a profile reply and all of it went to the client's profile callbacks.
inline s32 kov_profile_dispatch_uhost(const kov_client_msg *) { return 0; }
