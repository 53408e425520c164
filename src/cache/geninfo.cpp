#include "cache/geninfo.h"

#include "api/bytes.h"
#include "api/gate.h"
#include "api/trace.h"
#include "cache/desc.h"
#include "cache/keys.h"

namespace
{

kov_cache_desc &desc() { return kov_api.cache[KOV_RDB_GENINFO]; }
kov_rdb_geninfo_t *cached() { return static_cast<kov_rdb_geninfo_t *>(desc().data); }

// The cached copy, allocated if there is none yet; null when memory is out.
kov_rdb_geninfo_t *make_cached()
{
    if (!cached()) {
        desc().data = kov_cache_alloc(sizeof(kov_rdb_geninfo_t), 1);
        if (!desc().data)
            return nullptr;
        kov::count_block(desc(), sizeof(kov_rdb_geninfo_t));
        KOV_TRACE("Created/Allocated KOV RDB Geninfo cache info");
    }
    return cached();
}

constexpr u32 default_aging_timeout = 1800;

} // namespace

void *kov::lookup_geninfo(const kov_rdb_key &) { return cached(); }

kov_rdb_geninfo_t *kov_get_geninfo_from_rdb(u32 force_rdb)
{
    if (!kov::initialized()) {
        KOV_TRACE("Not initialized with KOV Api");
        return nullptr;
    }
    if (kov::answers_from_cache(desc(), KOV_RDB_GENINFO, force_rdb))
        return cached();
    return static_cast<kov_rdb_geninfo_t *>(kov::read_record(kov::number_key(KOV_RDB_GENINFO)));
}

u32 kov_cache_rdb_geninfo(s32, const void *)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    if (kov::already_filled(desc())) {
        KOV_TRACE("KOV RDB Geninfo is already cached, nothing to do");
        return 1;
    }
    if (const kov_rdb_geninfo_t *rec = kov_get_geninfo_from_rdb(1)) {
        // Deliberate: out of memory leaves `updating` as it is, and lookups on the database.
        kov_rdb_geninfo_t *copy = make_cached();
        if (!copy)
            return 0;
        *copy = *rec;
    } else {
        kov_clear_cache_rdb_geninfo(1, nullptr);
    }
    desc().updating = 0;
    KOV_TRACE("KOV RDB Geninfo is cached/updated");
    return 1;
}

u32 kov_clear_cache_rdb_geninfo(s32, const void *)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    if (cached()) {
        kov_cache_free(cached());
        desc().data = nullptr;
        kov::uncount_block(desc(), sizeof(kov_rdb_geninfo_t));
        KOV_TRACE("Cleared KOV RDB Geninfo cache info");
    } else {
        KOV_TRACE("KOV RDB Geninfo is not cached, nothing to do");
    }
    return 1;
}

// Deliberate: router_mac, mobdom, field 11 and field 12 are not examined, and a ferro_migration above 1
// passes.
u32 kov_can_cleanup_geninfo(const kov_rdb_geninfo_t *rec)
{
    if (!rec)
        return 1;
    return rec->fabric_id == 0 && rec->conv_learning == 0 && rec->switch_role == KOV_SWITCH_ROLE_LEAF &&
           kov::is_all_zero(rec->anycast_gw_mac) && rec->fabric_ctrl_svi == 0 &&
           rec->urib_conv_aging_timeout == default_aging_timeout &&
           rec->u6rib_conv_aging_timeout == default_aging_timeout && rec->ferro_migration != 1 &&
           rec->fwd_encap == KOV_FWD_ENCAP_FABRIC && rec->geninfo_word13 == 0;
}

void kov_cache_geninfo_set_fabric_ctrl_svi(u32 svi_ifindex)
{
    if (!cached()) {
        desc().updating = 1;
        kov_cache_rdb_geninfo(1, nullptr);
        if (!cached()) {
            // Deliberate: the text names the SVI record, though the general information is what is missing.
            KOV_TRACE("KOV RDB Sviinfo is not cached, nothing to do");
            return;
        }
    }
    if (cached()->fabric_ctrl_svi != svi_ifindex) {
        KOV_TRACE("Updating Cache Fabric Control Svi from %s to %s",
                  kov_ifindex_name_str(cached()->fabric_ctrl_svi), kov_ifindex_name_str(svi_ifindex));
        cached()->fabric_ctrl_svi = svi_ifindex;
    }
    if (kov_can_cleanup_geninfo(cached()))
        kov_clear_cache_rdb_geninfo(1, nullptr);
}
