// Profile keys on their way to the server: one message a key, sent at once.
//
// The counters in the context are kept as for a batch of keys. Only a failed allocation can leave them
// raised, and then the next message is longer by what they hold: so much memory is taken for it.
#include "api/context.h"
#include "api/send.h"
#include "api/trace.h"

#include <kov/kov_profile.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace
{

// Zero bytes that every message has behind its key.
constexpr u32 trailer_size = 4;
constexpr u32 overhead = sizeof(kov_profile_request) + trailer_size;
static_assert(overhead == 176);

void fill_head(kov_profile_request *msg)
{
    msg->client.major = KOV_MSG_MAJOR;
    msg->client.mtype = KOV_MTYPE_PROFILE_MGMT;
    kov::stamp(msg->client);
}

// Writes the client into the pending message and sends it.
bool send_pending()
{
    auto *const msg = static_cast<kov_profile_request *>(kov_api.profile_msg);
    if (!msg)
        return false;
    msg->client.sap = kov_api.sap;
    msg->client.uuid = kov_api.uuid;
    osal_strcpy(msg->client.client_name, kov_api.client_name, sizeof msg->client.client_name);
    return kov::send_to_server(KOV_OPC_CLIENT, msg, kov_api.profile_msg_len);
}

} // namespace

u32 kov_profile_add_key_init(void)
{
    kov_api.profile_key_count = 0;
    kov_api.profile_msg_len = 0;
    kov_api.profile_msg = nullptr;
    return 1;
}

u32 kov_profile_add_key(const u8 *key, s32 len)
{
    if (len < 0 || (!key && len > 0))
        return 0;
    const u32 key_len = static_cast<u32>(len);
    ++kov_api.profile_key_count;
    kov_api.profile_msg_len += key_len + overhead;
    // Deliberate: after a failed allocation the counters stay raised, and the next message is sent with the
    // stale, larger length.
    kov_api.profile_msg = std::calloc(1, std::max(key_len + overhead, kov_api.profile_msg_len));
    if (!kov_api.profile_msg)
        return 0;

    auto *const msg = static_cast<kov_profile_request *>(kov_api.profile_msg);
    fill_head(msg);
    if (len > 0)
        std::memcpy(msg + 1, key, key_len);
    msg->key_len = key_len;
    msg->key_count = 1;
    // Deliberate: every key is sent at once, so that a message never holds more than one.
    const u32 sent = kov_profile_add_key_close();
    std::free(kov_api.profile_msg);
    kov_api.profile_msg = nullptr;
    return sent != 0;
}

u32 kov_profile_add_key_close(void)
{
    if (kov_api.profile_msg_len == 0)
        return 1;
    const bool sent = send_pending();
    kov_api.profile_key_count = 0;
    kov_api.profile_msg_len = 0;
    if (!sent) {
        KOV_TRACE("ipc send failed for client %s, sap %d", kov_api.client_name, kov_api.sap);
        return 0;
    }
    KOV_TRACE("Client %s(sap %d), has sent profile trigger to KOV", kov_api.client_name, kov_api.sap);
    return 1;
}
