// The fixture of the topology cache's tests: an open library that traces, known SVIs, and verbs.
#pragma once

#include "samples.h"

#include "cache/l2rib.h"

class TopologyCache : public Lab
{
protected:
    TopologyCache()
    {
        EXPECT_EQ(kov_api_init(), 1u);
        for (const uint32_t ifindex : {10u, 20u})
            platform.interfaces.add_vlan(ifindex, "vlan" + std::to_string(ifindex));
        debug_on();
        clear_traces();
    }

    // Every field has a value of its own; the local bytes are not zero, and must not reach the cache.
    static kov_rdb_l2rib_topo_info_t topology(uint32_t bd, uint32_t svi = 0, uint32_t seed = 0)
    {
        kov_rdb_l2rib_topo_info_t record;
        std::memset(&record, 0xEE, sizeof record);
        record.bd = bd;
        record.vni = 10000 + bd + seed;
        record.suppress_arp_enabled = 1 + seed;
        record.suppress_arp_mode = seed % 3;
        record.suppress_arp_l3_svi = svi;
        return record;
    }
    // The same as it comes from a cache or from the database.
    static fake::Bytes stored(kov_rdb_l2rib_topo_info_t record)
    {
        std::memset(record.local_8, 0, sizeof record.local_8);
        std::memset(record.local_32, 0, sizeof record.local_32);
        return bytes_of(record);
    }

    static uint32_t fill_all() { return kov_cache_rdb_l2rib_topo_info(1, nullptr); }
    static uint32_t clear_all() { return kov_clear_cache_rdb_l2rib_topo_info(1, nullptr); }
    static uint32_t clear(uint32_t bd) { return kov_clear_cache_rdb_l2rib_topo_info(0, &bd); }
    static uint32_t refresh(uint32_t bd)
    {
        kov_api.cache[KOV_RDB_L2RIB_TOPO_INFO].updating = 1;
        return kov_cache_rdb_l2rib_topo_info(0, &bd);
    }
    static uint32_t apply(const kov_rdb_l2rib_topo_info_t &record)
    {
        return kov_cache_l2rib_topo_info(&record, record.bd);
    }

    // What hangs in the tree, without a lookup's counting; empty: nothing.
    static fake::Bytes entry(uint32_t bd)
    {
        return bytes_at(kov::lookup_l2rib_topo_info(key_of(KOV_RDB_L2RIB_TOPO_INFO, bd)),
                        sizeof(kov_rdb_l2rib_topo_info_t));
    }

    // The type's row while it holds so many topologies.
    static Counters holding(uint32_t n, Counters counters = {})
    {
        counters.allocs = n;
        counters.bytes = 52 * n;
        counters.data = true;
        return counters;
    }
    // Only this type has counted anything.
    static void expect(const Counters &row) { expect_all_counters({{KOV_RDB_L2RIB_TOPO_INFO, row}}); }
};
