// The fixture of the tests of messages that are not to be believed: a client with a filled cache of every
// type, and what junk must leave of it.
#pragma once

#include "dispatch_lab.h"
#include "samples.h"

#include "cache/vrf.h"

inline constexpr uint8_t junk = 0xEE; // names no interface, bridge domain or VRF that there is

inline const char *const reads_prefix = "Doing RDB based lookup for 4";
inline const char *const prefix_updated = "KOV RDB Aggregate-subnet-pfx info is cached/updated";
inline const char *const no_profile = "Not KOV_MTYPE_PROFILE_MGMT message";

class HostileMessage : public DispatchLab
{
protected:
    // A client with a filled cache of every type.
    HostileMessage()
    {
        platform.interfaces.add_vlan(10, "vlan10");
        platform.interfaces.add_port(50, 0, 4, "eth1/5");
        kov_rdb_l2rib_topo_info_t topology = {};
        topology.bd = 10;
        topology.suppress_arp_l3_svi = 10;
        kov_rdb_aggr_sub_pfx_t prefix = {};
        prefix.prefix[0] = 10;
        prefix.prefix[4] = 8;
        publish(general_info(1));
        publish(svi_in_mode(10, KOV_FWD_MODE_ANYCAST_GATEWAY));
        publish(topology);
        publish(1, kov_rdb_port_tracking_t{.num_bits = 256, .port_bits = {0x10}});
        publish(1, kov_rdb_port_l2dci_t{.num_bits = 256, .port_bits = {0x10}});
        publish("red", 0, prefix);
        register_for_everything();
        for (uint32_t type = KOV_RDB_GENINFO; type <= KOV_RDB_L2RIB_TOPO_INFO; ++type)
            EXPECT_EQ(counters(type).allocs, counters(type).cached) << "one record in every cache";
        EXPECT_EQ(counters(KOV_RDB_SVIINFO).cached, 1u);
    }

    static std::vector<uint16_t> types_with_records()
    {
        std::vector<uint16_t> types;
        for (uint16_t mtype = 0; mtype < KOV_MTYPE_END; ++mtype)
            if (kov_get_clients_msg_data_sz(mtype) != 0)
                types.push_back(mtype);
        return types;
    }

    // A message whose header is in order, with junk for records.
    static fake::Bytes filled(uint16_t mtype, uint32_t count, uint32_t length, std::size_t size,
                              uint8_t fill = junk)
    {
        return raw(mtype, count, length, size, 53, fill);
    }
    static fake::Bytes whole(uint16_t mtype, uint32_t count, uint8_t fill = junk)
    {
        const uint32_t length = 161 + kov_get_clients_msg_data_sz(mtype) * count;
        return filled(mtype, count, length, length, fill);
    }

    // What the caches hold: blocks and bytes of every type, the VRF contexts, and red's references.
    static std::vector<uint32_t> holdings()
    {
        std::vector<uint32_t> all = {kov_api.vrf_count, kov_api.vrf_bytes,
                                     kov_vrf_ctx_lookup("red")->refcount};
        for (const kov_cache_desc &desc : kov_api.cache)
            all.insert(all.end(), {desc.cached, desc.allocs, desc.bytes});
        return all;
    }

    static std::map<uint32_t, Counters> all_counters()
    {
        std::map<uint32_t, Counters> all;
        for (uint32_t type = KOV_RDB_GENINFO; type <= KOV_RDB_L2RIB_TOPO_INFO; ++type)
            all[type] = counters(type);
        return all;
    }
    // One prefix more was read again from the database, and the refresh has ended.
    static std::map<uint32_t, Counters> after_a_refresh_of_a_prefix()
    {
        std::map<uint32_t, Counters> expected = all_counters();
        expected[KOV_RDB_AGGR_SUB_PFX].rdb_hits += 1;
        expected[KOV_RDB_AGGR_SUB_PFX].update_hits += 1;
        expected[KOV_RDB_AGGR_SUB_PFX].updating = 0;
        return expected;
    }
    static std::string prefix_filled(const std::string &vrf, const std::string &prefix)
    {
        return "KOV RDB " + vrf + " " + prefix + " Aggregate-subnet-pfx is cached/Updated";
    }
};
