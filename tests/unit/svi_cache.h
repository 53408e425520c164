// The fixture of the SVI cache's tests: an open library that traces, four known interfaces, and verbs.
#pragma once

#include "samples.h"

#include "cache/sviinfo.h"

inline const std::string applied = "KOV RDB Sviinfo is cached/updated";

class SviCache : public Lab
{
protected:
    SviCache()
    {
        EXPECT_EQ(kov_api_init(), 1u);
        for (const uint32_t ifindex : {10u, 20u, 30u, 40u})
            platform.interfaces.add_vlan(ifindex, "vlan" + std::to_string(ifindex));
        debug_on();
        clear_traces();
    }

    // SVIs in the database and, by the server's acknowledgement, in the cache.
    void cache(std::initializer_list<kov_rdb_sviinfo_t> records)
    {
        for (const kov_rdb_sviinfo_t &record : records)
            publish(record);
        register_and_acknowledge({9});
        clear_traces();
    }
    static uint32_t apply(const kov_rdb_sviinfo_t &record)
    {
        return kov_cache_sviinfo(&record, record.svi_ifindex);
    }
    // A cached SVI as a lookup shows it.
    static fake::Bytes cached(uint32_t ifindex)
    {
        const Counters before = counters(2);
        kov_api.cache[2].cached = 1;
        kov_api.cache[2].updating = 0;
        fake::Bytes found = bytes_at(kov_get_sviinfo_from_rdb(ifindex, 0), sizeof(kov_rdb_sviinfo_t));
        kov_api.cache[2].cached = before.cached;
        kov_api.cache[2].updating = before.updating;
        kov_api.cache[2].cache_hits = before.cache_hits;
        return found;
    }
    static fake::Bytes copy() { return bytes_at(kov_api.fabric_ctrl_svi, sizeof(kov_rdb_sviinfo_t)); }
    static uint32_t general_svi() // the fabric control SVI in the cached general information
    {
        return static_cast<const kov_rdb_geninfo_t *>(kov_api.cache[1].data)->fabric_ctrl_svi;
    }

    // The type-2 row while nothing is read: so many entries, with or without the fabric control copy.
    static Counters holding(uint32_t entries, bool with_copy = false)
    {
        return {.allocs = entries + with_copy, .bytes = 16 * entries + (with_copy ? 138u : 0u), .data = true};
    }
};
