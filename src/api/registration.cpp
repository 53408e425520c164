// Registering with the server and withdrawing again. Both are one message; neither waits for an answer.
#include "api/gate.h"
#include "api/send.h"
#include "api/trace.h"

#include <kov/platform/ipc.h>

#include <cstring>

namespace
{

constexpr u32 longest_name = KOV_CLIENT_NAME_SIZE - 1;
constexpr u32 kept_options = 0xFFFF & ~KOV_OPC_CLIENT_OPTION;

// Of the options that the transport reports only the low 16 bits are kept.
void set_option(u32 option)
{
    const u32 options = ipc_options_get(kov_api.ipc_handle, KOV_OPC_CLIENT) & kept_options;
    ipc_options_set(kov_api.ipc_handle, KOV_OPC_CLIENT, options | option);
}

// Bit t for each type t of the list. Entries outside 1 to 20 are skipped; there is no terminator.
u32 mask_of(const u32 *mtypes)
{
    u32 mask = 0;
    for (u32 i = 0; i < KOV_MTYPE_LIST_LENGTH; ++i)
        if (mtypes[i] >= KOV_MTYPE_REGISTER && mtypes[i] < KOV_MTYPE_END)
            mask |= 1u << mtypes[i];
    return mask;
}

// Sends a request of the given type in the client's name. On failure returns false and leaves errno.
bool send_request(u16 mtype, const char *name, s32 sap)
{
    kov_registration_request request = {};
    request.major = KOV_MSG_MAJOR;
    request.mtype = mtype;
    kov::stamp(request);
    request.uuid = kov_api.uuid;
    osal_strcpy(request.client_name, name, sizeof request.client_name);
    request.sap = sap;
    request.mtype_mask = kov_api.mtype_mask;
    return kov::send_to_server(KOV_OPC_CLIENT, &request, sizeof request);
}

} // namespace

u32 kov_register_client(s32 handle, const char *name, const u32 *mtypes, kov_notify_callback callback)
{
    if (!kov::initialized()) {
        // Deliberate: the trailing blank is part of the text.
        KOV_TRACE("%s - not initialized with KOV Api ", name ? name : "(null)");
        return 0;
    }
    if (kov_api.registration_done)
        return 1;

    // Deliberate: a call that fails on its arguments has changed the access point.
    kov_api.sap = ipc_sap_get(handle);
    if (kov_api.sap < 0 || !name)
        return 0;
    if (strnlen(name, longest_name + 1) > longest_name || !mtypes)
        return 0;
    const u32 mask = mask_of(mtypes);
    if (!mask)
        return 0;

    kov_api.ipc_handle = handle;
    set_option(KOV_OPC_CLIENT_OPTION);
    kov_api.mtype_mask = mask;

    // Deliberate: after a failed send handle and mask stay, and the client counts as attached.
    if (!send_request(KOV_MTYPE_REGISTER, name, kov_api.sap)) {
        kov::trace_send_failure();
        set_option(0);
        return 0;
    }
    kov_api.notify_callback = callback;
    kov_api.registration_done = 0;
    kov_api.ack_pending = 1;
    osal_strcpy(kov_api.client_name, name, sizeof kov_api.client_name);
    KOV_TRACE("KOV Register request sent - uuid 0x%08x, client name %s, sap %d, flags: 0x%08x", kov_api.uuid,
              name, kov_api.sap, mask);
    return 1;
}

u32 kov_deregister_client(void)
{
    if (!kov::initialized())
        return 0;
    if (!kov_api.registration_done && !kov_api.ack_pending)
        return 1;

    const s32 sap = ipc_sap_get(kov_api.ipc_handle);
    if (!send_request(KOV_MTYPE_DEREGISTER, kov_api.client_name, sap)) {
        kov::trace_send_failure();
        return 0;
    }
    kov_api.registration_done = 0;
    kov_api.ack_pending = 0;
    set_option(0);
    KOV_TRACE("KOV De-Register request sent - uuid 0x%08x, client name %s, sap %d, flags: 0x%08x",
              kov_api.uuid, kov_api.client_name, sap, kov_api.mtype_mask);
    kov_api_disable_cache();
    // Emptying the caches lets other tasks run. One that has registered the client anew keeps its
    // registration.
    if (kov_api.registration_done || kov_api.ack_pending)
        return 1;
    kov_api.ipc_handle = -1;
    kov_api.mtype_mask = 0;
    return 1;
}

u32 kov_is_client_registration_done(void)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    return kov_api.registration_done;
}
