// Where the dispatcher offers a message to the profile layer, before the client's handler sees it.
#pragma once

#include "api/types.h"

#include <kov/kov_profile.h>

namespace kov
{

// kov_profile_dispatch_uhost for a message of `size` bytes, at least a header. A profile message that has no
// key, or is too short for its user-host key with the reply behind it, is not consumed.
s32 profile_dispatch(const kov_client_msg *msg, u32 size);

} // namespace kov
