#include "cache/l2rib.h"

#include "api/gate.h"
#include "api/trace.h"
#include "cache/desc.h"
#include "cache/keys.h"
#include "cache/sviinfo.h"
#include "platform/number_tree.h"

#include <kov/platform/coop_sched.h>
#include <kov/platform/osal.h>

namespace
{

kov_cache_desc &desc() { return kov_api.cache[KOV_RDB_L2RIB_TOPO_INFO]; }

kov::number_tree<kov_rdb_l2rib_topo_info_t> tree()
{
    return kov::number_tree<kov_rdb_l2rib_topo_info_t>(desc().data);
}

// Deliberate: the label of a topology that the tree refuses is formatted, and told to nobody.
void label_refused(u32 topo_id)
{
    char label[25];
    osal_snprintf(label, sizeof label, "%s %u", "Topo-id", topo_id);
}

kov_rdb_l2rib_topo_info_t *create_entry(u32 topo_id)
{
    auto *entry =
        static_cast<kov_rdb_l2rib_topo_info_t *>(kov_cache_alloc(sizeof(kov_rdb_l2rib_topo_info_t), 1));
    if (!entry)
        return nullptr;
    if (!tree().add(topo_id, entry)) {
        label_refused(topo_id);
        kov_cache_free(entry);
        return nullptr;
    }
    kov::count_block(desc(), sizeof *entry);
    KOV_TRACE("Created L2rib Topo id for %u from KOV RDB cache", topo_id);
    return entry;
}

// Everything but the local bytes, which stay zero.
void copy_fields(const kov_rdb_l2rib_topo_info_t &from, kov_rdb_l2rib_topo_info_t &to)
{
    to.bd = from.bd;
    to.vni = from.vni;
    to.suppress_arp_enabled = from.suppress_arp_enabled;
    to.suppress_arp_mode = from.suppress_arp_mode;
    to.suppress_arp_l3_svi = from.suppress_arp_l3_svi;
}

bool apply_to_tree(const kov_rdb_l2rib_topo_info_t &rec, u32 topo_id)
{
    kov_rdb_l2rib_topo_info_t *entry = tree().lookup(topo_id);
    if (!entry)
        entry = create_entry(topo_id);
    if (!entry)
        return false;
    copy_fields(rec, *entry);
    KOV_TRACE("Updating cache sw_bd %u, suppress arp %d, mode %s, svi %s", rec.bd,
              static_cast<int>(rec.suppress_arp_enabled), kov_suppress_arp_mode_to_str(rec.suppress_arp_mode),
              kov_ifindex_name_str(rec.suppress_arp_l3_svi));
    return true;
}

void fill_from(kov_rdb_iter &iter)
{
    while (const auto *rec = static_cast<const kov_rdb_l2rib_topo_info_t *>(kov_rdb_iter_get_next(&iter)))
        kov_cache_l2rib_topo_info(rec, rec->bd);
}

void clear_all()
{
    u32 topo_id = 0;
    for (auto *entry = tree().first(topo_id); entry; entry = tree().next(topo_id)) {
        // Deliberate: the key's bytes are read as a host-order number. Only ids that read the same forwards
        // and backwards are removed; any other names its mirror image, which usually is not there.
        kov_clear_cache_l2rib_topo_info(entry, kov::to_network(topo_id));
        coop_sched_may_yield(); // Other tasks may have changed the tree: go on from the key.
    }
}

} // namespace

void *kov::lookup_l2rib_topo_info(const kov_rdb_key &key) { return tree().lookup(key.of.number); }

void *kov::step_l2rib_topo_info(kov_rdb_iter &iter)
{
    u32 topo_id = iter.cursor;
    kov_rdb_l2rib_topo_info_t *entry = iter.first ? tree().first(topo_id) : tree().next(topo_id);
    iter.first = 0;
    if (!entry)
        return nullptr;
    iter.cursor = topo_id;
    iter.key.of.number = topo_id;
    // Deliberate: the text names no topology.
    KOV_TRACE("%s(): Walking topo_id info for us", "kov_cache_iterator_get_next");
    return entry;
}

kov_rdb_l2rib_topo_info_t *kov_get_l2rib_topo_info_from_rdb(u32 topo_id, u32 force_rdb)
{
    if (!kov::initialized()) {
        KOV_TRACE("Not initialized with KOV Api");
        return nullptr;
    }
    if (kov::answers_from_cache(desc(), KOV_RDB_L2RIB_TOPO_INFO, force_rdb))
        return tree().lookup(topo_id);
    const kov_rdb_key key = kov::number_key(KOV_RDB_L2RIB_TOPO_INFO, topo_id);
    return static_cast<kov_rdb_l2rib_topo_info_t *>(kov::read_record(key));
}

u32 kov_cache_l2rib_topo_info(const kov_rdb_l2rib_topo_info_t *rec, u32 topo_id)
{
    if (topo_id == 0) {
        KOV_TRACE("%s(): Invalid sw_bd", __func__);
        return 0;
    }
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    if (!rec) {
        kov_clear_cache_l2rib_topo_info(nullptr, topo_id);
    } else {
        // The record usually stands in the decode buffer, which the SVI's record refills below.
        const u32 svi = rec->suppress_arp_l3_svi;
        if (!apply_to_tree(*rec, topo_id))
            return 0;
        if (svi && kov::reread_sviinfo(svi))
            KOV_TRACE("Set Suppress ARP for svi %s", kov_ifindex_name_str(svi));
    }
    desc().updating = 0;
    KOV_TRACE("KOV RDB L2RIB Topo id %u is cached/updated", topo_id);
    return 1;
}

u32 kov_clear_cache_l2rib_topo_info(const kov_rdb_l2rib_topo_info_t *entry, u32 topo_id)
{
    if (topo_id == 0) {
        KOV_TRACE("%s(): Invalid SW_BD index", __func__);
        return 0;
    }
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    if (!tree().exists()) {
        KOV_TRACE("KOV RDB L2rib Topo id is not cached, nothing to do");
        return 1;
    }
    // What hangs in the tree is freed, never the caller's pointer: that one may be stale, or another id's.
    kov_rdb_l2rib_topo_info_t *found = tree().lookup(topo_id);
    if (!entry && !found)
        return 1;
    if (!found || !tree().remove(topo_id)) {
        label_refused(topo_id);
        return 0;
    }
    if (const u32 svi = found->suppress_arp_l3_svi) {
        kov::reread_sviinfo(svi);
        KOV_TRACE("Clear Suppress ARP for svi %s", kov_ifindex_name_str(svi));
    }
    kov_cache_free(found);
    kov::uncount_block(desc(), sizeof *found);
    KOV_TRACE("Deleted L2rib Topo id %u from KOV RDB cache", topo_id);
    return 1;
}

u32 kov_cache_rdb_l2rib_topo_info(s32 all, const void *key)
{
    const u32 topo_id = key ? kov::load<u32>(key) : 0;
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    if (kov::already_filled(desc())) {
        KOV_TRACE("KOV RDB L2RIB Topo idis already cached, nothing to do");
        return 1;
    }
    if (all) {
        kov_rdb_iter iter;
        if (!kov::begin_fill(iter, KOV_RDB_L2RIB_TOPO_INFO, __func__))
            return 0;
        fill_from(iter);
    } else if (key) {
        kov_cache_l2rib_topo_info(kov_get_l2rib_topo_info_from_rdb(topo_id, 1), topo_id);
    }
    desc().updating = 0;
    KOV_TRACE("KOV RDB %s L2RIB Topo id %u is cached/Updated", kov::all_text(all), topo_id);
    return 1;
}

u32 kov_clear_cache_rdb_l2rib_topo_info(s32 all, const void *key)
{
    const u32 topo_id = key ? kov::load<u32>(key) : 0;
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    if (!tree().exists()) {
        KOV_TRACE("KOV RDB L2RIB Topo id is not cached, nothing to do");
        return 1;
    }
    if (all)
        clear_all();
    else if (key)
        kov_clear_cache_l2rib_topo_info(nullptr, topo_id);
    KOV_TRACE("KOV RDB %s L2RIB Topo id %u is cleared", kov::all_text(all), topo_id);
    return 1;
}
