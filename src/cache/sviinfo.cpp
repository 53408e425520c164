#include "cache/sviinfo.h"

#include "api/gate.h"
#include "api/trace.h"
#include "cache/desc.h"
#include "cache/geninfo.h"
#include "cache/keys.h"
#include "platform/number_tree.h"

#include <kov/platform/coop_sched.h>

namespace
{

kov_cache_desc &desc() { return kov_api.cache[KOV_RDB_SVIINFO]; }
kov::number_tree<kov_svi_cache_entry> tree() { return kov::number_tree<kov_svi_cache_entry>(desc().data); }
kov_rdb_sviinfo_t *&fabric_ctrl_copy() { return kov_api.fabric_ctrl_svi; }

// The record that an entry stands for: the cached fields, everything else zero. Static storage.
kov_rdb_sviinfo_t *expand(u32 svi_ifindex, const kov_svi_cache_entry &entry)
{
    static kov_rdb_sviinfo_t record;
    record = {};
    record.svi_ifindex = svi_ifindex;
    record.vlan_id = entry.vlan_id;
    record.fwd_mode = entry.fwd_mode;
    record.migration_enabled = entry.migration_enabled;
    record.suppress_arp = entry.suppress_arp;
    return &record;
}

kov_rdb_sviinfo_t *cached(u32 svi_ifindex)
{
    if (fabric_ctrl_copy() && fabric_ctrl_copy()->svi_ifindex == svi_ifindex)
        return fabric_ctrl_copy();
    const kov_svi_cache_entry *entry = tree().lookup(svi_ifindex);
    return entry ? expand(svi_ifindex, *entry) : nullptr;
}

kov_svi_cache_entry *create_entry(u32 svi_ifindex)
{
    auto *entry = static_cast<kov_svi_cache_entry *>(kov_cache_alloc(sizeof(kov_svi_cache_entry), 1));
    if (!entry)
        return nullptr;
    if (!tree().add(svi_ifindex, entry)) {
        kov_cache_free(entry);
        return nullptr;
    }
    kov::count_block(desc(), sizeof *entry);
    KOV_TRACE("Created sviinfo for %s from KOV RDB cache", kov_ifindex_name_str(svi_ifindex));
    return entry;
}

// Brings the tree in line with one record.
bool apply_to_tree(const kov_rdb_sviinfo_t &rec, u32 svi_ifindex)
{
    kov_svi_cache_entry *entry = tree().lookup(svi_ifindex);
    if (!kov_is_ferro_fwd_mode(rec.fwd_mode)) {
        if (entry)
            kov_clear_cache_sviinfo(entry, svi_ifindex);
        return true;
    }
    if (!entry)
        entry = create_entry(svi_ifindex);
    if (!entry)
        return false;
    *entry = {rec.vlan_id, rec.fwd_mode, rec.migration_enabled, rec.suppress_arp};
    return true;
}

void drop_fabric_ctrl_copy()
{
    kov_cache_free(fabric_ctrl_copy());
    fabric_ctrl_copy() = nullptr;
    kov::uncount_block(desc(), sizeof(kov_rdb_sviinfo_t));
    kov_cache_geninfo_set_fabric_ctrl_svi(0);
}

void keep_fabric_ctrl_copy(const kov_rdb_sviinfo_t &rec, u32 svi_ifindex)
{
    if (!fabric_ctrl_copy()) {
        fabric_ctrl_copy() = static_cast<kov_rdb_sviinfo_t *>(kov_cache_alloc(sizeof rec, 1));
        if (!fabric_ctrl_copy())
            return;
        kov::count_block(desc(), sizeof rec);
    }
    *fabric_ctrl_copy() = rec;
    kov_cache_geninfo_set_fabric_ctrl_svi(svi_ifindex);
}

void fill_from(kov_rdb_iter &iter)
{
    while (const auto *rec = static_cast<const kov_rdb_sviinfo_t *>(kov_rdb_iter_get_next(&iter)))
        kov_cache_sviinfo(rec, rec->svi_ifindex);
}

void clear_all()
{
    if (fabric_ctrl_copy())
        kov_cache_fabric_ctrl_svi(nullptr, fabric_ctrl_copy()->svi_ifindex);
    u32 svi_ifindex = 0;
    for (auto *entry = tree().first(svi_ifindex); entry; entry = tree().next(svi_ifindex)) {
        kov_clear_cache_sviinfo(entry, svi_ifindex);
        coop_sched_may_yield(); // Other tasks may have changed the tree: go on from the key.
    }
}

const char *name_text(const u32 *svi_ifindex)
{
    return svi_ifindex ? kov_ifindex_name_str(*svi_ifindex) : "";
}

} // namespace

void *kov::lookup_sviinfo(const kov_rdb_key &key) { return cached(key.of.number); }

void *kov::step_sviinfo(kov_rdb_iter &iter)
{
    u32 svi_ifindex = iter.cursor;
    const kov_svi_cache_entry *entry = iter.first ? tree().first(svi_ifindex) : tree().next(svi_ifindex);
    iter.first = 0;
    if (!entry)
        return nullptr;
    iter.cursor = svi_ifindex;
    iter.key.of.number = svi_ifindex;
    KOV_TRACE("%s(): Walking sviinfo for %s", "kov_cache_iterator_get_next",
              kov_ifindex_name_str(svi_ifindex));
    return expand(svi_ifindex, *entry);
}

u32 kov_is_vaddr_bind_complete(const kov_rdb_sviinfo_t *rec)
{
    if (!rec || !rec->is_up || !rec->vaddr_bound)
        return 0;
    return !kov::is_all_zero(rec->v6_prefix.addr) || rec->v4_prefix.addr != 0;
}

kov_rdb_sviinfo_t *kov_get_sviinfo_from_rdb(u32 svi_ifindex, u32 force_rdb)
{
    if (!kov::initialized()) {
        KOV_TRACE("Not initialized with KOV Api");
        return nullptr;
    }
    if (kov::answers_from_cache(desc(), KOV_RDB_SVIINFO, force_rdb))
        return cached(svi_ifindex);
    const kov_rdb_key key = kov::number_key(KOV_RDB_SVIINFO, svi_ifindex);
    return static_cast<kov_rdb_sviinfo_t *>(kov::read_record(key));
}

u32 kov_cache_sviinfo(const kov_rdb_sviinfo_t *rec, u32 svi_ifindex)
{
    if (svi_ifindex == 0) {
        KOV_TRACE("%s(): Invalid svi ifindex", __func__);
        return 0;
    }
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    if (!rec) {
        kov_clear_cache_sviinfo(nullptr, svi_ifindex);
    } else {
        // The record usually stands in the decode buffer, which the general information may refill below.
        const kov_rdb_sviinfo_t copy = *rec;
        kov_cache_fabric_ctrl_svi(&copy, svi_ifindex);
        if (!apply_to_tree(copy, svi_ifindex))
            return 0;
    }
    desc().updating = 0;
    KOV_TRACE("KOV RDB Sviinfo is cached/updated");
    return 1;
}

bool kov::reread_sviinfo(u32 svi_ifindex)
{
    const kov_rdb_sviinfo_t *rec = kov_get_sviinfo_from_rdb(svi_ifindex, 1);
    if (rec)
        kov_cache_sviinfo(rec, svi_ifindex);
    return rec != nullptr;
}

u32 kov_clear_cache_sviinfo(const kov_svi_cache_entry *entry, u32 svi_ifindex)
{
    if (svi_ifindex == 0) {
        KOV_TRACE("%s(): Invalid svi ifindex", __func__);
        return 0;
    }
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    kov_cache_fabric_ctrl_svi(nullptr, svi_ifindex);
    if (!tree().exists()) {
        KOV_TRACE("KOV RDB Sviinfo is not cached, nothing to do");
        return 1;
    }
    // What hangs in the tree is freed, never the caller's pointer: that one may be stale.
    kov_svi_cache_entry *found = tree().lookup(svi_ifindex);
    if (!entry && !found)
        return 1;
    if (!found || !tree().remove(svi_ifindex))
        return 0;
    kov_cache_free(found);
    kov::uncount_block(desc(), sizeof *found);
    KOV_TRACE("Deleted sviinfo for %s from KOV RDB cache", kov_ifindex_name_str(svi_ifindex));
    return 1;
}

void kov_cache_fabric_ctrl_svi(const kov_rdb_sviinfo_t *rec, u32 svi_ifindex)
{
    const bool is_ours = fabric_ctrl_copy() && fabric_ctrl_copy()->svi_ifindex == svi_ifindex;
    if (!rec || !rec->is_fabric_ctrl_seg) {
        if (!is_ours) {
            KOV_TRACE("Not a Fabric Control SVI %s", kov_ifindex_name_str(svi_ifindex));
            return;
        }
        if (!rec) {
            drop_fabric_ctrl_copy();
            return;
        }
        // Deliberate: our SVI without its flag keeps or loses the copy by the binding rule alone.
    }
    if (kov_is_vaddr_bind_complete(rec))
        keep_fabric_ctrl_copy(*rec, svi_ifindex);
    else if (fabric_ctrl_copy())
        drop_fabric_ctrl_copy();
}

u32 kov_cache_rdb_sviinfo(s32 all, const void *key)
{
    const u32 svi_ifindex = key ? kov::load<u32>(key) : 0;
    const u32 *given = key ? &svi_ifindex : nullptr;
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    if (kov::already_filled(desc())) {
        KOV_TRACE("KOV RDB Sviinfo is already cached, nothing to do");
        return 1;
    }
    if (all) {
        kov_rdb_iter iter;
        if (!kov::begin_fill(iter, KOV_RDB_SVIINFO, __func__))
            return 0;
        fill_from(iter);
    } else if (given) {
        kov_cache_sviinfo(kov_get_sviinfo_from_rdb(svi_ifindex, 1), svi_ifindex);
    }
    desc().updating = 0;
    KOV_TRACE("KOV RDB %s%s Sviinfo is cached/Updated", kov::all_text(all), name_text(given));
    return 1;
}

u32 kov_clear_cache_rdb_sviinfo(s32 all, const void *key)
{
    const u32 svi_ifindex = key ? kov::load<u32>(key) : 0;
    const u32 *given = key ? &svi_ifindex : nullptr;
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    if (!tree().exists()) {
        // Deliberate: a fabric control copy without a tree stays.
        KOV_TRACE("KOV RDB Sviinfo is not cached, nothing to do");
        return 1;
    }
    if (all)
        clear_all();
    else if (given)
        kov_clear_cache_sviinfo(nullptr, svi_ifindex);
    KOV_TRACE("KOV RDB %s%s Sviinfo is cleared", kov::all_text(all), name_text(given));
    return 1;
}
