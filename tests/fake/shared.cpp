// What the fake shares with the host: the codec and the bit sets. The linker sends the library's calls of
// them here first, so that they too are logged and fail on demand; each wrapper goes on to the real one.
#include "internal.h"

#include <kov/platform/bitfield.h>
#include <kov/platform/fcodec.h>

using namespace fake;

// Declares the real function behind a wrapper of the same type.
#define KOV_REAL(name) extern "C" decltype(name) __real_##name

KOV_REAL(fcodec_table_convert_struct_to_tlv);
KOV_REAL(fcodec_table_convert_tlv_to_struct);
KOV_REAL(fcodec_table_get_struct_size_from_tlv);
KOV_REAL(fcodec_table_size);
KOV_REAL(fcodec_field_itr_init);
KOV_REAL(fcodec_get_field);
KOV_REAL(bitfield_create);
KOV_REAL(bitfield_copy_in);
KOV_REAL(bitfield_sprintf_to_buffer);

extern "C" {

int __wrap_fcodec_table_convert_struct_to_tlv(void *buf, uint32_t len, const fcodec_table *t, const void *rec,
                                              uint32_t opt1, uint32_t opt2, uint32_t opt3)
{
    platform().codec.options = {opt1, opt2, opt3};
    if (enter(Call::fcodec_table_convert_struct_to_tlv))
        return platform().codec.code;
    return __real_fcodec_table_convert_struct_to_tlv(buf, len, t, rec, opt1, opt2, opt3);
}

int __wrap_fcodec_table_convert_tlv_to_struct(const void *tlv, uint32_t len, void *out, const fcodec_table *t,
                                              uint32_t flag)
{
    platform().codec.flag = flag;
    if (enter(Call::fcodec_table_convert_tlv_to_struct))
        return platform().codec.code;
    return __real_fcodec_table_convert_tlv_to_struct(tlv, len, out, t, flag);
}

int __wrap_fcodec_table_get_struct_size_from_tlv(uint32_t *size, const void *tlv, uint32_t len,
                                                 const fcodec_table *t)
{
    platform().codec.readable = len;
    if (enter(Call::fcodec_table_get_struct_size_from_tlv))
        return platform().codec.code;
    return __real_fcodec_table_get_struct_size_from_tlv(size, tlv, len, t);
}

uint32_t __wrap_fcodec_table_size(const fcodec_table *t, const void *rec)
{
    return enter(Call::fcodec_table_size) ? 0 : __real_fcodec_table_size(t, rec);
}

int __wrap_fcodec_field_itr_init(fcodec_field_itr *itr, const void *tlv, uint32_t len, const fcodec_table *t,
                                 uint32_t flags, uint16_t start)
{
    platform().codec.flags = flags;
    if (enter(Call::fcodec_field_itr_init))
        return platform().codec.code;
    return __real_fcodec_field_itr_init(itr, tlv, len, t, flags, start);
}

int __wrap_fcodec_get_field(const void *tlv, uint32_t len, uint32_t field_id, void *out, uint32_t *inout_len,
                            const fcodec_table *t)
{
    if (enter(Call::fcodec_get_field))
        return platform().codec.code;
    return __real_fcodec_get_field(tlv, len, field_id, out, inout_len, t);
}

// The one call of the codec that is the platform's own.
void fcodec_error_print(const char *fmt, ...)
{
    enter(Call::fcodec_error_print);
    va_list args;
    va_start(args, fmt);
    platform().codec.errors.push_back(format(fmt, args));
    va_end(args);
}

bitfield *__wrap_bitfield_create(uint32_t bits)
{
    return enter(Call::bitfield_create) ? nullptr : __real_bitfield_create(bits);
}

int __wrap_bitfield_copy_in(bitfield *set, uint32_t from_bit, const void *bytes, uint32_t nbits)
{
    return enter(Call::bitfield_copy_in) ? -1 : __real_bitfield_copy_in(set, from_bit, bytes, nbits);
}

char *__wrap_bitfield_sprintf_to_buffer(const bitfield *set, const char *prefix)
{
    return enter(Call::bitfield_sprintf_to_buffer) ? nullptr : __real_bitfield_sprintf_to_buffer(set, prefix);
}

} // extern "C"
