#include "events/cache_update.h"

#include "api/bytes.h"
#include "api/trace.h"
#include "cache/desc.h"
#include "cache/keys.h"
#include "cache/sviinfo.h"
#include "cache/types.h"
#include "platform/slot_port.h"
#include "wire/convert.h"

namespace
{

// A key derived from one record of a message; a null key names the only record of its type.
struct refresh_key {
    bool derived;
    const void *key;
};

using derive_fn = refresh_key (*)(const u8 *records, u32 index);

refresh_key no_key(const u8 *, u32) { return {true, nullptr}; }

// Deliberate: every SVI message is read with stride 4. Of a type-11 or type-18 message only the first record
// is read at its true place.
refresh_key svi_key(const u8 *records, u32 index) { return {true, records + sizeof(u32) * index}; }

// The slot of a port, counted from 1, in static storage.
refresh_key slot_key(const u8 *records, u32 index)
{
    static u8 slot;
    u8 port = 0;
    const auto ifindex = kov::load<u32>(records + sizeof(u32) * index);
    if (kov_ifindex_get_slot_port(ifindex, slot, port) != 0) {
        KOV_TRACE("kov_ifindex_get_slot_port failed with ifindex 0x%08x [slot/port: %d/%d]", ifindex,
                  int{slot}, int{port});
        return {false, nullptr};
    }
    ++slot;
    return {true, &slot};
}

// The record's fields in the order of the cache's key.
refresh_key prefix_key(const u8 *records, u32 index)
{
    static kov_aggr_prefix_key key;
    const auto rec = kov::load<kov_aggr_sub_pfx_update>(records + sizeof(kov_aggr_sub_pfx_update) * index);
    key = {};
    std::memcpy(key.vrf_name, rec.vrf_name, sizeof key.vrf_name);
    // The whole word: of it the cache looks at the first byte only.
    kov::store(reinterpret_cast<u8 *>(&key) + offsetof(kov_aggr_prefix_key, family), u32{rec.family});
    std::memcpy(key.prefix, rec.prefix, sizeof key.prefix);
    return {true, &key};
}

// A topology's record begins with its number, which is the key. What the topology says of ARP suppression is
// part of its SVI, so that one is read again first.
refresh_key topology_key(const u8 *records, u32 index)
{
    const u8 *record = records + sizeof(kov_suppress_arp_topo_update) * index;
    const auto svi = kov::load<u32>(record + offsetof(kov_suppress_arp_topo_update, svi_ifindex));
    if (svi && kov::reread_sviinfo(svi))
        KOV_TRACE("Reset Suppress ARP for Svi %s", kov_ifindex_name_str(svi));
    return {true, record};
}

// clang-format off
constexpr derive_fn derivations[] = {
    nullptr,      // there is no type 0
    no_key,       // general information: the one record is read again
    svi_key,      // SVI information
    slot_key,     // port tracking
    prefix_key,   // aggregate prefixes
    slot_key,     // port L2DCI
    topology_key, // L2RIB topology
};
// clang-format on

} // namespace

u32 kov_update_cache_rdb_data(const kov_client_msg *msg)
{
    if (!msg) {
        KOV_TRACE("%s(): Invalid msg", __func__);
        return 0;
    }
    const u32 type = kov_mtype_to_rdb_type(msg->mtype);
    kov_cache_desc *desc = kov::descriptor(type);
    if (!desc)
        return 0;
    if (!desc->cached) {
        KOV_TRACE("Updating cache not enabled for rdb_type %d", static_cast<int>(type));
        return 0;
    }
    const u8 *records = reinterpret_cast<const u8 *>(msg) + kov::msg_header_size;
    const u32 count = msg->count;
    for (u32 i = 0; i < count; ++i) {
        desc->updating = 1;
        const refresh_key refresh = derivations[type](records, i);
        if (!refresh.derived)
            return 0;
        if (!kov_rdb_type_cache_fn(type)(0, refresh.key))
            KOV_TRACE("Updating failed for rdb_type: %d", static_cast<int>(type));
    }
    return 1;
}
