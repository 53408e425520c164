// What a client asks the server about a host: apply its profile, remove it, check it. Each call is one key
// and one message.
#include "api/gate.h"
#include "api/trace.h"

#include <kov/kov_profile.h>

#include <cstring>

namespace
{

constexpr const char *worker = "kov_profile_add_del_host";

constexpr u32 first_profile_vni = 4096;
constexpr u32 last_vlan = 4095;

bool is_valid_vni(u32 vni)
{
    if (vni >= first_profile_vni)
        return true;
    KOV_TRACE("%s(): invalid vni", worker);
    return false;
}

bool is_valid_vlan(u32 vlan)
{
    if (vlan >= 1 && vlan <= last_vlan)
        return true;
    KOV_TRACE("%s(): invalid vlan", worker);
    return false;
}

bool are_valid(const kov_profile_options_t *options)
{
    if (!options) {
        KOV_TRACE("%s(): invalid profile option", worker);
        return false;
    }
    switch (options->entity_id_type) {
    case KOV_PROFILE_ENTITY_SEGMENT:
        return is_valid_vni(options->vni);
    case KOV_PROFILE_ENTITY_VLAN:
    case KOV_PROFILE_ENTITY_VLAN_16:
        return is_valid_vlan(options->vlan);
    case KOV_PROFILE_ENTITY_32:
    case KOV_PROFILE_ENTITY_33:
    case KOV_PROFILE_ENTITY_49:
        return true;
    default:
        // Deliberate: a warning only, the request is still sent.
        KOV_TRACE("%s(): unknown profile entity id type", worker);
        return true;
    }
}

// Who asks: the client itself, or the one that a test lets it speak for.
u32 requesting_uuid() { return kov_api.profile_test_uuid ? kov_api.profile_test_uuid : kov_api.uuid; }

u32 kov_profile_add_del_host(u32 host_ref, u8 key_len, const void *key, const kov_profile_options_t *options,
                             u8 op)
{
    if (!kov::initialized()) {
        KOV_TRACE("Client not initialized with KOV API");
        return 0;
    }
    // Deliberate: 45 bytes are accepted although the text says "shorter".
    if (key_len > KOV_UHOST_KEY_DATA_SIZE) {
        KOV_TRACE("%s(): key should be shorter than 45 bytes", worker);
        return 0;
    }
    if (op == KOV_PROFILE_OP_ADD && !are_valid(options))
        return 0;
    if (!key && key_len > 0)
        return 0;

    kov_uhost_key_t request = {};
    request.key_type = KOV_PROFILE_UHOST_KEY;
    request.op = op;
    request.uuid = requesting_uuid();
    request.host_ref = host_ref;
    request.key_len = key_len;
    if (key_len > 0)
        std::memcpy(request.uhost_key_data, key, key_len);
    if (op == KOV_PROFILE_OP_ADD)
        request.options = *options;
    return kov_profile_add_key(reinterpret_cast<const u8 *>(&request), sizeof request);
}

} // namespace

u32 kov_profile_add_host(u32 host_ref, u8 key_len, const void *key, const kov_profile_options_t *options)
{
    return kov_profile_add_del_host(host_ref, key_len, key, options, KOV_PROFILE_OP_ADD);
}

u32 kov_profile_del_host(u32 host_ref, u8 key_len, const void *key)
{
    return kov_profile_add_del_host(host_ref, key_len, key, nullptr, KOV_PROFILE_OP_DELETE);
}

u32 kov_profile_check_host(u32 host_ref, u8 key_len, const void *key)
{
    return kov_profile_add_del_host(host_ref, key_len, key, nullptr, KOV_PROFILE_OP_CHECK);
}

u32 kov_set_profile_test_uuid(u32 uuid)
{
    kov_api.profile_test_uuid = uuid;
    return 1;
}

u32 kov_profile_host_api_open(void)
{
    if (kov::initialized())
        return kov_profile_add_key_init();
    KOV_TRACE("Client not initialized with KOV API");
    return 0;
}

u32 kov_profile_host_api_close(void)
{
    if (kov::initialized())
        return kov_profile_add_key_close();
    KOV_TRACE("Client not initialized with KOV API");
    return 0;
}
