#include "cache/lookup.h"

#include "api/bytes.h"
#include "api/trace.h"
#include "cache/desc.h"
#include "cache/keys.h"
#include "cache/types.h"

#include <kov/kov_codec.h>

namespace
{

using to_struct_fn = int (*)(const void *tlv, u32 len, void *out);

template <class Record, int (*Decode)(const void *, u32, Record *)>
int decode_as(const void *tlv, u32 len, void *out)
{
    return Decode(tlv, len, static_cast<Record *>(out));
}

// clang-format off
constexpr to_struct_fn decoders[] = {
    nullptr,
    decode_as<kov_rdb_geninfo_t,         kov_ha_geninfo_to_struct>,
    decode_as<kov_rdb_sviinfo_t,         kov_ha_sviinfo_to_struct>,
    decode_as<kov_rdb_port_tracking_t,   kov_ha_port_tracking_to_struct>,
    decode_as<kov_rdb_aggr_sub_pfx_t,    kov_ha_aggr_sub_pfx_to_struct>,
    decode_as<kov_rdb_port_l2dci_t,      kov_ha_port_l2dci_to_struct>,
    decode_as<kov_rdb_l2rib_topo_info_t, kov_ha_l2rib_topo_info_to_struct>,
};
// clang-format on

// Only the low byte of a key's first word names the type.
u32 type_of(const kov_rdb_key &key) { return key.type & 0xFF; }

void count_database_hit(kov_cache_desc &desc)
{
    desc.rdb_hits += 1;
    if (desc.updating)
        desc.update_hits += 1;
}

void *decoded(const kov_rdb_key &key, const void *tlv, u32 tlv_len)
{
    void *record = nullptr;
    return kov_rdb_get_data_from_tlv(&key, tlv, tlv_len, &record) ? record : nullptr;
}

void *step_database(kov_rdb_iter &iter)
{
    const auto step = iter.first ? osal_rdb_get_first : osal_rdb_get_next;
    iter.first = 0;

    const void *found_key = nullptr;
    const void *tlv = nullptr;
    u32 tlv_len = 0;
    if (!step(kov_rdb_lib_handle, &iter.key, sizeof iter.key, &found_key, &tlv, &tlv_len))
        return nullptr;
    // Records are ordered by type: the first of another type ends the walk.
    if (kov::load<u32>(found_key) != type_of(iter.key))
        return nullptr;
    std::memcpy(&iter.key, found_key, sizeof iter.key);
    return decoded(iter.key, tlv, tlv_len);
}

} // namespace

u32 kov_rdb_get_data_from_tlv(const kov_rdb_key *key, const void *tlv, u32 tlv_len, void **out)
{
    if (!key || !tlv) {
        KOV_TRACE("Invalid key (or) tlv data in %s", __func__);
        return 0;
    }
    const u32 type = type_of(*key);
    if (!kov::is_rdb_type(type)) {
        KOV_TRACE("Invalid key type(%u) in %s", type, __func__);
        return 0;
    }
    if (!out) {
        KOV_TRACE("Invalid data ptr in %s", __func__);
        return 1; // Deliberate: a null output pointer is a success.
    }
    std::memset(kov_api_tlv_buf, 0, sizeof kov_api_tlv_buf);
    *out = kov_api_tlv_buf;
    // Deliberate: the codec's code is ignored; a damaged record reads as one of zeros.
    static_cast<void>(decoders[type](tlv, tlv_len, kov_api_tlv_buf));
    return 1;
}

void *kov_rdb_get_data_from_cache(const kov_rdb_key *key, u32 force_rdb)
{
    if (!key)
        return nullptr;
    const u32 type = type_of(*key);
    kov_cache_desc *desc = kov::descriptor(type);
    if (!desc)
        return nullptr;
    if (kov::answers_from_cache(*desc, type, force_rdb))
        return kov::cache_of(type).lookup(*key);
    return kov::read_record(*key);
}

void *kov::read_record(const kov_rdb_key &key)
{
    const u32 type = type_of(key);
    count_database_hit(kov_api.cache[type]);
    KOV_TRACE("Doing RDB based lookup for %d", static_cast<int>(type));
    const void *tlv = nullptr;
    u32 tlv_len = 0;
    if (!osal_rdb_read(kov_rdb_lib_handle, &key, sizeof key, &tlv, &tlv_len))
        return nullptr;
    return decoded(key, tlv, tlv_len);
}

u32 kov_rdb_iter_init(kov_rdb_iter *iter, const kov_rdb_key *key)
{
    if (!iter || !key)
        return 0;
    iter->key = *key;
    iter->first = 1;
    iter->force_rdb = 0;
    iter->cursor = 0;
    iter->vrf = nullptr;
    return 1;
}

void *kov_rdb_iter_get_next(kov_rdb_iter *iter)
{
    if (!iter)
        return nullptr;
    const u32 type = type_of(iter->key);
    kov_cache_desc *desc = kov::descriptor(type);
    if (!desc) {
        KOV_TRACE("%s(): KOV Cache %d RDB data info does not exist", "kov_cache_iterator_get_next",
                  static_cast<int>(type));
        return nullptr;
    }
    if (!iter->force_rdb && kov::usable(*desc)) {
        desc->cache_hits += 1;
        return kov::cache_of(type).step(*iter);
    }
    count_database_hit(*desc);
    return step_database(*iter);
}

bool kov::begin_fill(kov_rdb_iter &iter, u32 type, const char *caller)
{
    const kov_rdb_key key = number_key(type);
    if (!kov_rdb_iter_init(&iter, &key)) {
        KOV_TRACE("%s() Could not init iterator for key: %u", caller, type);
        return false;
    }
    iter.force_rdb = 1;
    return true;
}
