#include "events/cache_update.h"

#include "api/trace.h"
#include "cache/desc.h"
#include "cache/keys.h"
#include "cache/types.h"
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

refresh_key underivable(const u8 *, u32) { return {false, nullptr}; }

// clang-format off
constexpr derive_fn derivations[] = {
    underivable,
    no_key,      // general information: the one record is read again
    svi_key,     // SVI information
    underivable, // port tracking
    underivable, // aggregate prefixes
    underivable, // port L2DCI
    underivable, // L2RIB topology
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
