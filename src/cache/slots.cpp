#include "cache/slots.h"

#include "api/gate.h"
#include "api/trace.h"
#include "cache/desc.h"
#include "cache/keys.h"
#include "platform/number_tree.h"

#include <kov/platform/coop_sched.h>

namespace
{

// All that differs between the two caches. The texts stand here in full, so that a search finds them.
struct port_tracking {
    using record = kov_rdb_port_tracking_t;
    static constexpr u32 type = KOV_RDB_PORT_TRACKING;
    static constexpr const char *fill_name = "kov_cache_rdb_port_tracking";
    static constexpr const char *clear_name = "kov_clear_cache_rdb_port_tracking";
    static constexpr const char *update_name = "kov_cache_port_tracking";
    static constexpr const char *delete_name = "kov_clear_cache_port_tracking";

    static void trace_already() { KOV_TRACE("KOV RDB port tracking is already cached, nothing to do"); }
    static void trace_filled(const char *all, int slot)
    {
        KOV_TRACE("KOV RDB Slot: %s %d port tracking is cached/Updated", all, slot);
    }
    static void trace_updated() { KOV_TRACE("KOV RDB Port Tracking info is cached/updated"); }
    static void trace_not_cached() { KOV_TRACE("KOV RDB Port Tracking is not cached, nothing to do"); }
    static void trace_cleared(const char *all, int slot)
    {
        KOV_TRACE("KOV RDB Slot: %s %d Port Tracking is cleared", all, slot);
    }
};

struct port_l2dci {
    using record = kov_rdb_port_l2dci_t;
    static constexpr u32 type = KOV_RDB_PORT_L2DCI;
    static constexpr const char *fill_name = "kov_cache_rdb_port_l2dci";
    static constexpr const char *clear_name = "kov_clear_cache_rdb_port_l2dci";
    static constexpr const char *update_name = "kov_cache_port_l2dci";
    static constexpr const char *delete_name = "kov_clear_cache_port_l2dci";

    static void trace_already() { KOV_TRACE("KOV RDB port l2dci is already cached, nothing to do"); }
    static void trace_filled(const char *all, int slot)
    {
        KOV_TRACE("KOV RDB Slot: %s %d port l2dci is cached/Updated", all, slot);
    }
    static void trace_updated() { KOV_TRACE("KOV RDB Port L2dci info is cached/updated"); }
    static void trace_not_cached() { KOV_TRACE("KOV RDB Port L2dci is not cached, nothing to do"); }
    static void trace_cleared(const char *all, int slot)
    {
        KOV_TRACE("KOV RDB Slot: %s %d Port L2dci is cleared", all, slot);
    }
};

// The slot as a fill and a clear print it: -1 when none was given.
int slot_number(const u8 *slot) { return slot ? *slot : -1; }

template <class Cache>
class slot_cache
{
public:
    using record = typename Cache::record;

    static void *lookup(const kov_rdb_key &key) { return tree().lookup(key.of.slot); }

    static void *step(kov_rdb_iter &iter)
    {
        u32 slot = iter.cursor;
        record *entry = iter.first ? tree().first(slot) : tree().next(slot);
        iter.first = 0;
        if (!entry)
            return nullptr;
        iter.cursor = slot;
        iter.key.of.number = slot; // The slot's byte, and the three after it zero.
        KOV_TRACE("%s(): Walking port info for Slot: %u", "kov_cache_iterator_get_next", slot);
        return entry;
    }

    static u32 fill(s32 all, const u8 *slot)
    {
        if (!kov::initialized()) {
            KOV_TRACE("%s(): Not initialized with KOV Api", Cache::fill_name);
            return 0;
        }
        if (kov::already_filled(desc())) {
            Cache::trace_already();
            return 1;
        }
        if (all) {
            kov_rdb_iter iter;
            if (!kov::begin_fill(iter, Cache::type, Cache::fill_name))
                return 0;
            while (const auto *rec = static_cast<const record *>(kov_rdb_iter_get_next(&iter)))
                update(rec, iter.key.of.slot);
        } else if (slot) {
            const kov_rdb_key key = kov::number_key(Cache::type, *slot);
            update(static_cast<const record *>(kov_rdb_get_data_from_cache(&key, 1)), *slot);
        }
        desc().updating = 0;
        Cache::trace_filled(kov::all_text(all), slot_number(slot));
        return 1;
    }

    static u32 clear(s32 all, const u8 *slot)
    {
        if (!kov::initialized()) {
            KOV_TRACE("%s(): Not initialized with KOV Api", Cache::clear_name);
            return 0;
        }
        if (!tree().exists()) {
            Cache::trace_not_cached();
            return 1;
        }
        if (all)
            clear_all();
        else if (slot)
            remove(nullptr, *slot);
        Cache::trace_cleared(kov::all_text(all), slot_number(slot));
        return 1;
    }

    static u32 update(const record *rec, u8 slot)
    {
        if (!is_usable(slot, Cache::update_name))
            return 0;
        if (!rec) {
            remove(nullptr, slot);
        } else {
            record *entry = tree().lookup(slot);
            if (!entry)
                entry = create_entry(slot);
            if (!entry)
                return 0;
            *entry = *rec;
        }
        desc().updating = 0;
        Cache::trace_updated();
        return 1;
    }

    static u32 remove(const record *entry, u8 slot)
    {
        if (!is_usable(slot, Cache::delete_name))
            return 0;
        if (!tree().exists()) {
            Cache::trace_not_cached();
            return 1;
        }
        // What hangs in the tree is freed, never the caller's pointer: that one may be stale.
        record *found = tree().lookup(slot);
        if (!entry && !found)
            return 1;
        if (!found || !tree().remove(slot))
            return 0;
        kov_cache_free(found);
        kov::uncount_block(desc(), sizeof *found);
        KOV_TRACE("Deleted portinfo for Slot: %d from KOV RDB cache", static_cast<int>(slot));
        return 1;
    }

private:
    static kov_cache_desc &desc() { return kov_api.cache[Cache::type]; }
    static kov::number_tree<record> tree() { return kov::number_tree<record>(desc().data); }

    static bool is_usable(u8 slot, const char *caller)
    {
        if (slot == 0) {
            KOV_TRACE("%s(): Invalid slot num", caller);
            return false;
        }
        if (!kov::initialized()) {
            KOV_TRACE("%s(): Not initialized with KOV Api", caller);
            return false;
        }
        return true;
    }

    static record *create_entry(u8 slot)
    {
        auto *entry = static_cast<record *>(kov_cache_alloc(sizeof(record), 1));
        if (!entry)
            return nullptr;
        if (!tree().add(slot, entry)) {
            kov_cache_free(entry);
            return nullptr;
        }
        kov::count_block(desc(), sizeof *entry);
        KOV_TRACE("Created port info for Slot: %d from KOV RDB cache", static_cast<int>(slot));
        return entry;
    }

    static void clear_all()
    {
        u32 slot = 0;
        for (const record *entry = tree().first(slot); entry; entry = tree().next(slot)) {
            remove(entry, static_cast<u8>(slot));
            coop_sched_may_yield(); // Other tasks may have changed the tree: go on from the key.
        }
    }
};

using tracking = slot_cache<port_tracking>;
using l2dci = slot_cache<port_l2dci>;

} // namespace

u32 kov_cache_rdb_port_tracking(s32 all, const void *key)
{
    return tracking::fill(all, static_cast<const u8 *>(key));
}
u32 kov_cache_rdb_port_l2dci(s32 all, const void *key)
{
    return l2dci::fill(all, static_cast<const u8 *>(key));
}

u32 kov_clear_cache_rdb_port_tracking(s32 all, const void *key)
{
    return tracking::clear(all, static_cast<const u8 *>(key));
}

u32 kov_clear_cache_rdb_port_l2dci(s32 all, const void *key)
{
    return l2dci::clear(all, static_cast<const u8 *>(key));
}

u32 kov_cache_port_tracking(const kov_rdb_port_tracking_t *rec, u8 slot)
{
    return tracking::update(rec, slot);
}
u32 kov_cache_port_l2dci(const kov_rdb_port_l2dci_t *rec, u8 slot) { return l2dci::update(rec, slot); }

u32 kov_clear_cache_port_tracking(const kov_rdb_port_tracking_t *entry, u8 slot)
{
    return tracking::remove(entry, slot);
}

u32 kov_clear_cache_port_l2dci(const kov_rdb_port_l2dci_t *entry, u8 slot)
{
    return l2dci::remove(entry, slot);
}

void *kov::lookup_port_tracking(const kov_rdb_key &key) { return tracking::lookup(key); }
void *kov::lookup_port_l2dci(const kov_rdb_key &key) { return l2dci::lookup(key); }
void *kov::step_port_tracking(kov_rdb_iter &iter) { return tracking::step(iter); }
void *kov::step_port_l2dci(kov_rdb_iter &iter) { return l2dci::step(iter); }
