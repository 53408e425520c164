// Records as the server writes them, every field with a value of its own; and any record as bytes.
//
// Local bytes, which never travel, are zero, so that what comes back from the database compares whole.
#pragma once

#include "lab.h"

#include <kov/kov_records.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

// All bytes of a structure: compares and prints whole, and never binds a packed field.
template <class T>
fake::Bytes bytes_of(const T &record)
{
    fake::Bytes bytes(sizeof record);
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

inline fake::Bytes bytes_at(const void *at, std::size_t size)
{
    const auto *const first = static_cast<const uint8_t *>(at);
    return at ? fake::Bytes(first, first + size) : fake::Bytes();
}

// Expected bytes, grouped as a layout is.
inline fake::Bytes joined(std::initializer_list<fake::Bytes> groups)
{
    fake::Bytes all;
    for (const fake::Bytes &group : groups)
        all.insert(all.end(), group.begin(), group.end());
    return all;
}

// The record that holds nothing but defaults, field 7 included.
inline kov_rdb_geninfo_t default_general_info()
{
    kov_rdb_geninfo_t record = {};
    kov_rdb_geninfo_default_init(&record);
    return record;
}

// Differs from the defaults in every field; two different seeds differ from each other in every field.
inline kov_rdb_geninfo_t general_info(uint8_t seed)
{
    kov_rdb_geninfo_t record = {};
    record.fabric_id = 100u + seed;
    record.conv_learning = seed;
    std::memset(record.anycast_gw_mac, 0x10 + seed, sizeof record.anycast_gw_mac);
    record.switch_role = 1u << (seed & 3);
    record.fabric_ctrl_svi = 10u * seed;
    record.urib_conv_aging_timeout = 400u + seed;
    record.u6rib_conv_aging_timeout = 600u + seed;
    record.ferro_migration = seed;
    record.fwd_encap = seed & 1;
    std::memset(record.router_mac, 0x20 + seed, sizeof record.router_mac);
    std::memset(record.mobdom, 'a' + seed, 5);
    record.geninfo_word11 = 1100u + seed;
    record.geninfo_flag12 = seed;
    record.geninfo_word13 = 1300u + seed;
    return record;
}

// An ordinary SVI: up, not bound, not the fabric control segment's.
inline kov_rdb_sviinfo_t svi_in_mode(uint32_t ifindex, uint32_t mode)
{
    kov_rdb_sviinfo_t record = {};
    record.svi_ifindex = ifindex;
    record.vlan_id = ifindex + 1000;
    record.is_up = 1;
    record.v4_prefix = {0x0A000001 + (ifindex << 8), 24};
    std::memset(record.v6_prefix.addr, static_cast<int>(ifindex & 0xFF), sizeof record.v6_prefix.addr);
    record.v6_prefix.len = 64;
    std::memcpy(record.vrf_name, "red", 4);
    record.fwd_mode = mode;
    record.migration_enabled = ifindex + 1;
    std::memset(record.gw_mac, 0x66, sizeof record.gw_mac);
    record.suppress_arp = ifindex + 2;
    record.svi_word10 = 77;
    return record;
}

// The fabric control segment's SVI with its binding complete.
inline kov_rdb_sviinfo_t fabric_ctrl_svi(uint32_t ifindex, uint32_t mode = 0)
{
    kov_rdb_sviinfo_t record = svi_in_mode(ifindex, mode);
    record.is_fabric_ctrl_seg = 1;
    record.vaddr_bound = 1;
    return record;
}

// What a cached lookup makes of an SVI's entry: the four cached fields and the index, everything else zero.
inline kov_rdb_sviinfo_t expanded(const kov_rdb_sviinfo_t &full)
{
    kov_rdb_sviinfo_t record = {};
    record.svi_ifindex = full.svi_ifindex;
    record.vlan_id = full.vlan_id;
    record.fwd_mode = full.fwd_mode;
    record.migration_enabled = full.migration_enabled;
    record.suppress_arp = full.suppress_arp;
    return record;
}
