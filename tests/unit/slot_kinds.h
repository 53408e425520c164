// The per-slot caches, port tracking and port L2DCI, as one typed fixture: every suite runs for both.
#pragma once

#include "cache/keys.h"
#include "cache/slots.h"
#include "lab.h"

#include <cstring>

namespace slot_cache
{

using fake::Call;
using Slots8 = std::initializer_list<uint8_t>;

struct Tracking {
    using Record = kov_rdb_port_tracking_t;
    static constexpr uint32_t type = 3, mtype = 10;
    static constexpr auto fill = kov_cache_rdb_port_tracking;
    static constexpr auto clear = kov_clear_cache_rdb_port_tracking;
    static constexpr auto update = kov_cache_port_tracking;
    static constexpr auto remove = kov_clear_cache_port_tracking;
    static constexpr const char *fill_name = "kov_cache_rdb_port_tracking";
    static constexpr const char *clear_name = "kov_clear_cache_rdb_port_tracking";
    static constexpr const char *update_name = "kov_cache_port_tracking";
    static constexpr const char *remove_name = "kov_clear_cache_port_tracking";
    static constexpr const char *already = "KOV RDB port tracking is already cached, nothing to do";
    static constexpr const char *updated = "KOV RDB Port Tracking info is cached/updated";
    static constexpr const char *not_cached = "KOV RDB Port Tracking is not cached, nothing to do";
    static constexpr const char *filled_all = "KOV RDB Slot: All -1 port tracking is cached/Updated";
    static constexpr const char *filled_all_3 = "KOV RDB Slot: All 3 port tracking is cached/Updated";
    static constexpr const char *filled_3 = "KOV RDB Slot:  3 port tracking is cached/Updated";
    static constexpr const char *filled_0 = "KOV RDB Slot:  0 port tracking is cached/Updated";
    static constexpr const char *filled_none = "KOV RDB Slot:  -1 port tracking is cached/Updated";
    static constexpr const char *cleared_all = "KOV RDB Slot: All -1 Port Tracking is cleared";
    static constexpr const char *cleared_3 = "KOV RDB Slot:  3 Port Tracking is cleared";
    static constexpr const char *cleared_0 = "KOV RDB Slot:  0 Port Tracking is cleared";
    static constexpr const char *cleared_none = "KOV RDB Slot:  -1 Port Tracking is cleared";
};

struct L2dci {
    using Record = kov_rdb_port_l2dci_t;
    static constexpr uint32_t type = 5, mtype = 20;
    static constexpr auto fill = kov_cache_rdb_port_l2dci;
    static constexpr auto clear = kov_clear_cache_rdb_port_l2dci;
    static constexpr auto update = kov_cache_port_l2dci;
    static constexpr auto remove = kov_clear_cache_port_l2dci;
    static constexpr const char *fill_name = "kov_cache_rdb_port_l2dci";
    static constexpr const char *clear_name = "kov_clear_cache_rdb_port_l2dci";
    static constexpr const char *update_name = "kov_cache_port_l2dci";
    static constexpr const char *remove_name = "kov_clear_cache_port_l2dci";
    static constexpr const char *already = "KOV RDB port l2dci is already cached, nothing to do";
    static constexpr const char *updated = "KOV RDB Port L2dci info is cached/updated";
    static constexpr const char *not_cached = "KOV RDB Port L2dci is not cached, nothing to do";
    static constexpr const char *filled_all = "KOV RDB Slot: All -1 port l2dci is cached/Updated";
    static constexpr const char *filled_all_3 = "KOV RDB Slot: All 3 port l2dci is cached/Updated";
    static constexpr const char *filled_3 = "KOV RDB Slot:  3 port l2dci is cached/Updated";
    static constexpr const char *filled_0 = "KOV RDB Slot:  0 port l2dci is cached/Updated";
    static constexpr const char *filled_none = "KOV RDB Slot:  -1 port l2dci is cached/Updated";
    static constexpr const char *cleared_all = "KOV RDB Slot: All -1 Port L2dci is cleared";
    static constexpr const char *cleared_3 = "KOV RDB Slot:  3 Port L2dci is cleared";
    static constexpr const char *cleared_0 = "KOV RDB Slot:  0 Port L2dci is cleared";
    static constexpr const char *cleared_none = "KOV RDB Slot:  -1 Port L2dci is cleared";
};

inline std::string created(unsigned slot)
{
    return "Created port info for Slot: " + std::to_string(slot) + " from KOV RDB cache";
}
inline std::string deleted(unsigned slot)
{
    return "Deleted portinfo for Slot: " + std::to_string(slot) + " from KOV RDB cache";
}
inline std::string not_initialized(const char *name)
{
    return std::string(name) + "(): Not initialized with KOV Api";
}
inline std::string invalid_slot(const char *name) { return std::string(name) + "(): Invalid slot num"; }

constexpr const char *ignored = "API called even before KOV is enabled, ignore";

template <class Kind>
class SlotCache : public Lab
{
protected:
    using Record = typename Kind::Record;

    SlotCache()
    {
        EXPECT_EQ(kov_api_init(), 1u);
        debug_on();
        clear_traces();
    }

    // All 35 bytes differ from slot to slot and from `seed` to `seed`.
    static Record record(uint8_t slot, uint8_t seed = 0)
    {
        Record rec = {};
        rec.num_bits = static_cast<uint16_t>(200 + slot % 40 + seed);
        for (std::size_t i = 0; i < sizeof rec.port_bits; ++i)
            rec.port_bits[i] = static_cast<uint8_t>(slot + 3 * i + std::size_t{7} * seed);
        return rec;
    }

    static fake::Bytes bytes_of(const Record &rec)
    {
        fake::Bytes bytes(sizeof rec);
        std::memcpy(bytes.data(), &rec, sizeof rec);
        return bytes;
    }

    void publish_slots(std::initializer_list<uint8_t> slots)
    {
        for (const uint8_t slot : slots)
            publish(slot, record(slot));
    }
    void withdraw_slot(uint8_t slot) { EXPECT_TRUE(withdraw(slot_key(Kind::type, slot))); }

    static uint32_t fill_all() { return Kind::fill(1, nullptr); }
    static uint32_t clear_all() { return Kind::clear(1, nullptr); }
    static uint32_t refresh(uint8_t slot)
    {
        kov_api.cache[Kind::type].updating = 1;
        return Kind::fill(0, &slot);
    }
    static uint32_t apply(uint8_t slot, uint8_t seed = 0)
    {
        const Record rec = record(slot, seed);
        return Kind::update(&rec, slot);
    }

    // The record that a lookup gives; empty: none.
    static fake::Bytes look_up(uint8_t slot, uint32_t force_rdb = 0)
    {
        const kov_rdb_key key = slot_key(Kind::type, slot);
        const auto *rec = static_cast<const Record *>(kov_rdb_get_data_from_cache(&key, force_rdb));
        return rec ? bytes_of(*rec) : fake::Bytes();
    }

    // What hangs in the tree, without a lookup's counting.
    static const Record *entry(uint8_t slot)
    {
        const kov_rdb_key key = slot_key(Kind::type, slot);
        return static_cast<const Record *>(Kind::type == 3 ? kov::lookup_port_tracking(key)
                                                           : kov::lookup_port_l2dci(key));
    }
    static std::vector<unsigned> slots()
    {
        std::vector<unsigned> found;
        for (unsigned slot = 0; slot <= 255; ++slot)
            if (entry(static_cast<uint8_t>(slot)))
                found.push_back(slot);
        return found;
    }
    using Slots = std::vector<unsigned>;

    // The counters of a type that has been filled with so many slots.
    static Counters holding(uint32_t n, Counters counters = {})
    {
        counters.allocs = n;
        counters.bytes = 35 * n;
        counters.data = true;
        return counters;
    }
    // Only this type has counted anything.
    static void expect(const Counters &counters) { expect_all_counters({{Kind::type, counters}}); }
    void never_initialised()
    {
        kov_api_close();
        kov_api_wait_for_init = 1;
        clear_traces();
    }
};

using Kinds = testing::Types<Tracking, L2dci>;

struct KindNames {
    template <class Kind>
    static std::string GetName(int)
    {
        return Kind::type == 3 ? "PortTracking" : "PortL2dci";
    }
};

} // namespace slot_cache
