// Questions about one SVI.
#include "api/gate.h"
#include "api/trace.h"
#include "cache/sviinfo.h"

#include <kov/platform/interfaces.h>

namespace
{

constexpr u32 if_type_vlan = 9;
constexpr u32 if_type_bdi = 55;

bool has_type(u32 ifindex, u32 wanted)
{
    u32 type = 0;
    return if_index_get_type(ifindex, &type) == 0 && type == wanted;
}

// Whether an interface is an SVI: a VLAN or a bridge-domain interface.
bool is_svi(u32 ifindex)
{
    if (ifindex && (has_type(ifindex, if_type_vlan) || has_type(ifindex, if_type_bdi)))
        return true;
    KOV_TRACE("%s is not a vlan/bdi interface", kov_ifindex_name_str(ifindex));
    return false;
}

} // namespace

u32 kov_get_fwd_mode(u32 svi_ifindex)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return KOV_FWD_MODE_INVALID;
    }
    if (!is_svi(svi_ifindex))
        return KOV_FWD_MODE_STANDARD;

    KOV_TRACE("Reading Forwarding mode for key: %s  from RDB", kov_ifindex_name_str(svi_ifindex));
    const u32 force_rdb =
        kov::not_registered(KOV_MTYPE_SVI_FWD_MODE, KOV_MTYPE_SVI_FWD_MODE_CHANGE, __func__);
    const kov_rdb_sviinfo_t *svi = kov_get_sviinfo_from_rdb(svi_ifindex, force_rdb);
    const u32 mode = svi ? svi->fwd_mode : kov_get_default_forwarding_mode();
    KOV_TRACE("Reading Forwarding mode: %s from RDB", kov_fwd_mode_str(mode));
    return mode;
}
