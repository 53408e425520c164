#include "api/gate.h"

#include "api/trace.h"

u32 kov_api_initialized(void)
{
    if (kov_api.initialized)
        return 1;
    if (kov_api_wait_for_init) {
        KOV_TRACE("API called even before KOV is enabled, ignore");
        return 0;
    }
    // Deliberate: the triple l is part of the text.
    KOV_TRACE("API callled even before KOV is enabled, do init");
    return kov_api_init();
}

u32 kov_is_mtype_not_registered(s32 mtype, const char *caller)
{
    if (!kov_api_initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 1;
    }
    if (kov::in_mask(static_cast<u32>(mtype)))
        return 0;
    if (caller)
        KOV_TRACE("%s(): Client %s has not registered for mtype: %d, doing an RDB based lookup", caller,
                  kov_api.client_name, mtype);
    return 1;
}

u32 kov_is_client_attached(void) { return kov_api_initialized() && kov_api.ipc_handle != -1; }
