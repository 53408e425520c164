// The profile key in a message from the server.
#include "api/context.h"

#include <kov/kov_profile.h>

u32 kov_profile_get_key_init(void)
{
    kov_api.profile_key_read = 0;
    return 1;
}

// Deliberate: a message yields one key, whatever its count says.
const u8 *kov_profile_get_key_data(const kov_client_msg *msg, const u8 **key)
{
    if (!msg || !key || kov_api.profile_key_read)
        return nullptr;
    kov_api.profile_key_read = 1;
    *key = reinterpret_cast<const u8 *>(msg + 1);
    return *key + kov_profile_key_type_to_len(**key);
}

u32 kov_profile_get_key_close(void) { return 1; }
