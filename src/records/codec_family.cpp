// The codec calls of every record, stamped from the list in kov_codec.h. All of them hand the record's own
// schema table to the platform's codec; what they add is the report of an error and the conventions of their
// results.
#include <kov/kov_codec.h>

#include "api/types.h"

namespace
{

// The codec's code, passed on; an error is reported in the caller's name.
int reported(int code, const char *caller)
{
    if (code != 0)
        fcodec_error_print("%s: ERR 0x%x\n", caller, static_cast<u32>(code));
    return code;
}

} // namespace

#define CODEC(P, R, TYPE, ROWS)                                                                              \
    int P##_##R##_to_tlv(const TYPE *rec, void *buf, u32 len, u32 opt1, u32 opt2, u32 opt3)                  \
    {                                                                                                        \
        return reported(                                                                                     \
            fcodec_table_convert_struct_to_tlv(buf, len, &P##_##R##_tbl.head, rec, opt1, opt2, opt3),        \
            __func__);                                                                                       \
    }                                                                                                        \
    int P##_##R##_to_struct(const void *tlv, u32 len, TYPE *out, u32 flag)                                   \
    {                                                                                                        \
        return reported(fcodec_table_convert_tlv_to_struct(tlv, len, out, &P##_##R##_tbl.head, flag),        \
                        __func__);                                                                           \
    }                                                                                                        \
    s32 P##_##R##_get_struct_sz(const void *tlv)                                                             \
    {                                                                                                        \
        u32 size = 0;                                                                                        \
        const int code = fcodec_table_get_struct_size_from_tlv(&size, tlv, 0, &P##_##R##_tbl.head);          \
        return reported(code, __func__) == 0 ? static_cast<s32>(size) : -1;                                  \
    }                                                                                                        \
    u32 P##_##R##_get_tlv_sz(const TYPE *rec) { return fcodec_table_size(&P##_##R##_tbl.head, rec); }        \
    int P##_##R##_field_itr_init(fcodec_field_itr *itr, const void *tlv, u32 len, u32 flags, u16 start)      \
    {                                                                                                        \
        return fcodec_field_itr_init(itr, tlv, len, &P##_##R##_tbl.head, flags, start);                      \
    }                                                                                                        \
    int P##_##R##_field_get_next(fcodec_field_itr *itr, fcodec_field *out)                                   \
    {                                                                                                        \
        return fcodec_field_itr_get_next(itr, out);                                                          \
    }                                                                                                        \
    int P##_##R##_get_field(const void *tlv, u32 len, u32 field_id, void *out, u32 *inout_len)               \
    {                                                                                                        \
        return fcodec_get_field(tlv, len, field_id, out, inout_len, &P##_##R##_tbl.head);                    \
    }

// Deliberate: the replication form of encoding turns the result round, 1 for success; that of decoding does
// not.
#define REPLICATION(P, R, TYPE, ROWS)                                                                        \
    u32 kov_ha_##R##_to_tlv(const TYPE *rec, void *buf, u32 len, u32 opt2)                                   \
    {                                                                                                        \
        return P##_##R##_to_tlv(rec, buf, len, 0, opt2, 1) == 0;                                             \
    }                                                                                                        \
    int kov_ha_##R##_to_struct(const void *tlv, u32 len, TYPE *out)                                          \
    {                                                                                                        \
        return P##_##R##_to_struct(tlv, len, out, 1);                                                        \
    }                                                                                                        \
    u32 kov_ha_##R##_get_tlv_sz(const TYPE *rec) { return P##_##R##_get_tlv_sz(rec); }

KOV_ALL_RECORDS(CODEC)
KOV_REPLICATED_RECORDS(REPLICATION)

// The replication forms of the profile options, under names of their own.
u32 kov_api_profile_options_struct_to_tlv(const kov_profile_options_t *rec, void *buf, u32 len, u32 opt2)
{
    return kov_vault_profile_options_to_tlv(rec, buf, len, 0, opt2, 1) == 0;
}

int kov_api_profile_options_tlv_to_struct(const void *tlv, u32 len, kov_profile_options_t *out)
{
    return kov_vault_profile_options_to_struct(tlv, len, out, 1);
}

u32 kov_api_profile_options_get_tlv_sz(const kov_profile_options_t *rec)
{
    return kov_vault_profile_options_get_tlv_sz(rec);
}
