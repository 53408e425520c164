// The server's profile messages about a host, on their way to the client's callbacks.
//
// A callback may do anything to the library: what comes after it looks at nothing but the call's own result.
// A message yields one key; no loop over keys, so that a callback which resets the reader changes nothing.
#include "profile/uhost_dispatch.h"

#include "api/context.h"
#include "api/trace.h"

#include <cstddef>

namespace
{

// What the server says on its own initiative, by result code.
constexpr u32 code_check = 3;
constexpr u32 first_clear_code = 41;
constexpr u32 last_clear_code = 47;

const char *text_of_key(u32 type)
{
    const char *const text = kov_profile_key_type_to_string(type);
    return text ? text : "(null)";
}

struct entry {
    const kov_uhost_key_t *key;
    const kov_profile_reply *reply;

    u32 call(kov_profile_callback callback, u32 code, u32 op) const
    {
        callback(code, op, key->host_ref, key->key_len, key->uhost_key_data, reply, &key->options);
        return 1;
    }
};

// Deliberate: a clear is presented as a delete, whatever the key says.
u32 execute_clear(const entry &host, u32 code)
{
    const kov_profile_callback callback = kov_api.profile_clear_cb;
    if (!callback)
        return 0;
    KOV_TRACE("Execute kov clear callback\n");
    return host.call(callback, code, KOV_PROFILE_OP_DELETE);
}

u32 execute_response(const entry &host, u32 code)
{
    const kov_profile_callback callback = kov_api.profile_resp_cb;
    if (!callback)
        return 0;
    KOV_TRACE("Execute resp callback\n");
    return host.call(callback, code, host.key->op);
}

// Deliberate: a check is presented as a check, whatever the key says.
u32 execute_check(const entry &host)
{
    const kov_profile_callback callback = kov_api.profile_check_cb;
    if (!callback)
        return 0;
    KOV_TRACE("Execute kov check callback\n");
    return host.call(callback, code_check, KOV_PROFILE_OP_CHECK);
}

bool is_there(const kov_client_msg *msg)
{
    if (msg)
        return true;
    KOV_TRACE("kov ipc msg is empty");
    return false;
}

// Whether the bytes are there that the dispatch of a profile message reads.
bool holds_its_key(const kov_client_msg *msg, u32 size)
{
    constexpr u32 key_at = sizeof(kov_client_msg);
    if (size <= key_at)
        return false;
    const u8 type = *reinterpret_cast<const u8 *>(msg + 1);
    return type != KOV_PROFILE_UHOST_KEY ||
           size >= key_at + sizeof(kov_uhost_key_t) + sizeof(kov_profile_reply);
}

} // namespace

u32 kov_profile_register_callback(const kov_profile_callbacks *callbacks)
{
    if (!callbacks)
        return 1;
    KOV_TRACE("%s(): Register profile callback", __func__);
    kov_api.profile_resp_cb = callbacks->profile_resp_cb;
    kov_api.profile_check_cb = callbacks->profile_check_cb;
    kov_api.profile_clear_cb = callbacks->profile_clear_cb;
    kov_api.profile_cb_registered = 1;
    return 1;
}

s32 kov_profile_validate_uhost(const kov_client_msg *msg)
{
    if (!is_there(msg))
        return 0;
    if (msg->mtype != KOV_MTYPE_PROFILE_MGMT) {
        KOV_TRACE("Not KOV_MTYPE_PROFILE_MGMT message");
        return 0;
    }
    s32 result = 1;
    const u8 *key = nullptr;
    kov_profile_get_key_init();
    if (kov_profile_get_key_data(msg, &key) && *key != KOV_PROFILE_UHOST_KEY) {
        KOV_TRACE("Not KOV_PROFILE_UHOST_KEY: (%d) %s", *key, text_of_key(*key));
        result = 0;
    }
    kov_profile_get_key_close();
    return result;
}

// Deliberate: the code that is tested is the reply's own.
u32 kov_profile_handle_uhost_key(u32, const kov_uhost_key_t *key, const kov_profile_reply *reply)
{
    if (!key || !reply) {
        KOV_TRACE("invalid KOV response");
        return 0;
    }
    KOV_TRACE("Handle KOV UHOST message, Msg type %d, Seg ID %d, Vlan %d, BD %d\n", key->op,
              static_cast<s32>(reply->vni), static_cast<s32>(reply->vlan), reply->bd);
    const entry host = {key, reply};
    const u32 code = reply->code;
    if (code >= first_clear_code && code <= last_clear_code)
        return execute_clear(host, code);
    return code == code_check ? execute_check(host) : execute_response(host, code);
}

// Deliberate: one entry, also when the count says more.
s32 kov_profile_dispatch_uhost(const kov_client_msg *msg)
{
    if (!is_there(msg) || !kov_profile_validate_uhost(msg))
        return 0;
    KOV_TRACE("Received KOV_MTYPE_PROFILE_MGMT with %u entries\n", msg->count);
    s32 result = 1;
    const u8 *key = nullptr;
    kov_profile_get_key_init();
    if (const u8 *const data = kov_profile_get_key_data(msg, &key)) {
        const auto *const reply = reinterpret_cast<const kov_profile_reply *>(data);
        const u32 code = reply->code;
        KOV_TRACE("[Entry #%d] key type (%d: %s) with len (%d) and return value (%d: %s)", 1, *key,
                  text_of_key(*key), static_cast<s32>(kov_profile_key_type_to_len(*key)),
                  static_cast<s32>(code), kov_profile_data_value_to_string(code));
        result = static_cast<s32>(
            kov_profile_handle_uhost_key(code, reinterpret_cast<const kov_uhost_key_t *>(key), reply));
    }
    kov_profile_get_key_close();
    return result;
}

s32 kov::profile_dispatch(const kov_client_msg *msg, u32 size)
{
    if (msg->mtype == KOV_MTYPE_PROFILE_MGMT && !holds_its_key(msg, size))
        return 0;
    return kov_profile_dispatch_uhost(msg);
}
