// Caching on and off for everything that the client is interested in.
#include "api/gate.h"
#include "api/trace.h"
#include "cache/desc.h"
#include "cache/keys.h"
#include "cache/types.h"

namespace
{

// Fills the type behind one message type. A type behind several is filled once for each; the repeats return
// at once.
void cache_for(u32 mtype)
{
    const u32 type = kov_mtype_to_rdb_type(mtype);
    if (type >= KOV_RDB_NO_TYPE)
        return;
    kov_cache_desc *desc = kov::descriptor(type);
    if (!desc) {
        KOV_TRACE("%s(): KOV Cache RDB %d data info does not exist", "kov_api_enable_cache",
                  static_cast<int>(type));
        return;
    }
    const kov_rdb_cache_fn fill = kov_rdb_type_cache_fn(type);
    if (!fill)
        return;
    if (fill(1, nullptr))
        desc->cached = 1;
    else
        KOV_TRACE("Caching failed for Mtype: %d", static_cast<int>(mtype));
}

// Clears one type, of interest or not, cached or not.
void decache(u32 type)
{
    if (kov::cache_of(type).clear(1, nullptr))
        kov_api.cache[type].cached = 0;
    else
        KOV_TRACE("De-Caching failed for rdb_type: %d", static_cast<int>(type));
}

} // namespace

s32 kov_api_enable_cache(void)
{
    if (!kov_is_client_attached()) {
        KOV_TRACE("%s(): Not registered with KOV api", __func__);
        return 0;
    }
    if (kov_api.cache_enabled) {
        KOV_TRACE("KOV caching is already enabled, nothing to do");
        return 1;
    }
    KOV_TRACE("Enabling caching of %s interested KOV data (0x%08x)", kov_api.client_name, kov_api.mtype_mask);
    for (u32 mtype = 0; mtype < KOV_MTYPE_END; ++mtype)
        if (kov::in_mask(mtype))
            cache_for(mtype);
    kov_api.cache_enabled = 1;
    KOV_TRACE("Cached, %s interested KOV data (0x%08x)", kov_api.client_name, kov_api.mtype_mask);
    return 1;
}

u32 kov_api_disable_cache(void)
{
    if (!kov_is_client_attached()) {
        KOV_TRACE("%s(): Not registered with KOV api", __func__);
        return 1;
    }
    if (!kov_api.cache_enabled) {
        KOV_TRACE("KOV caching not enabled, nothing to do");
        return 1;
    }
    KOV_TRACE("Disabling caching of %s interested KOV data", kov_api.client_name);
    for (u32 type = KOV_RDB_GENINFO; type <= KOV_RDB_L2RIB_TOPO_INFO; ++type)
        decache(type);
    kov_api.cache_enabled = 0;
    KOV_TRACE("Removed caching of %s interested KOV data", kov_api.client_name);
    return 1;
}
