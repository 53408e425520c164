// The stored fields that have routines of their own: how large a string is, and the three parts of an
// auto-configuration host that the codec does not copy by itself.
#include "api/types.h"

#include <kov/kov_vault.h>
#include <kov/platform/fcodec.h>

#include <cstddef>
#include <cstring>

namespace
{

using auto_host = kov_vault_auto_config_host_val_t;

// Where a codec wants a field's data.
struct output {
    void **bytes;
    u32 *len;
    u32 *owned;

    bool is_complete() const { return bytes && len && owned; }
};

int give_copy(const void *from, u32 size, const output &to)
{
    void *const block = fcodec_malloc(size);
    if (!block)
        return FCODEC_NO_MEMORY;
    std::memcpy(block, from, size);
    *to.bytes = block;
    *to.len = size;
    *to.owned = 1;
    return FCODEC_OK;
}

// A part that stands in the record itself.
template <std::size_t Offset, u32 Size>
int give_part(const void *rec, const output &to)
{
    if (!rec || !to.is_complete())
        return FCODEC_ARGUMENT;
    return give_copy(static_cast<const u8 *>(rec) + Offset, Size, to);
}

template <std::size_t Offset, u32 Size>
int take_part(void *rec, const void *data)
{
    if (!rec || !data)
        return FCODEC_ARGUMENT;
    std::memcpy(static_cast<u8 *>(rec) + Offset, data, Size);
    return FCODEC_OK;
}

constexpr std::size_t cmd_data_at = offsetof(auto_host, cmd_data);
constexpr u32 cmd_data_size = sizeof(auto_host::cmd_data);
static_assert(cmd_data_size == sizeof(kov_profile_cmd_data_t));

constexpr std::size_t xvlan_data_at = offsetof(auto_host, xvlan_data);
constexpr u32 xvlan_data_size = sizeof(auto_host::xvlan_data);

} // namespace

int kov_vault_auto_config_parameters_struct_to_tlv(const void *rec, u32, void **bytes, u32 *len, u32 *owned)
{
    const output to = {bytes, len, owned};
    if (!rec || !to.is_complete())
        return FCODEC_ARGUMENT;
    const auto *const host = static_cast<const auto_host *>(rec);
    if (host->parameter_len == 0) {
        *bytes = nullptr;
        *len = *owned = 0;
        return FCODEC_OK;
    }
    const void *const tail = kov_vault_auto_config_host_parameters(host);
    return tail ? give_copy(tail, host->parameter_len, to) : int{FCODEC_ARGUMENT};
}

int kov_vault_auto_config_parameters_tlv_to_struct(void *rec, const void *data)
{
    if (!rec || !data)
        return FCODEC_ARGUMENT;
    auto *const host = static_cast<auto_host *>(rec);
    u8 *const tail = static_cast<u8 *>(rec) + sizeof *host;
    kov_vault_auto_config_host_set_parameters(host, tail);
    std::memcpy(tail, data, host->parameter_len);
    return FCODEC_OK;
}

u32 kov_vault_auto_config_parameters_get_tlv_data_sz(const void *rec)
{
    return rec ? static_cast<const auto_host *>(rec)->parameter_len : 0;
}

int kov_vault_auto_config_cmd_data_struct_to_tlv(const void *rec, u32, void **bytes, u32 *len, u32 *owned)
{
    return give_part<cmd_data_at, cmd_data_size>(rec, {bytes, len, owned});
}

int kov_vault_auto_config_cmd_data_tlv_to_struct(void *rec, const void *data)
{
    return take_part<cmd_data_at, cmd_data_size>(rec, data);
}

// Deliberate: a null record has command data of the same size as any other; the other parts have none.
u32 kov_vault_auto_config_cmd_data_get_tlv_data_sz(const void *) { return cmd_data_size; }

int kov_vault_auto_config_xvlan_data_struct_to_tlv(const void *rec, u32, void **bytes, u32 *len, u32 *owned)
{
    return give_part<xvlan_data_at, xvlan_data_size>(rec, {bytes, len, owned});
}

int kov_vault_auto_config_xvlan_data_tlv_to_struct(void *rec, const void *data)
{
    return take_part<xvlan_data_at, xvlan_data_size>(rec, data);
}

u32 kov_vault_auto_config_xvlan_data_get_tlv_data_sz(const void *rec) { return rec ? xvlan_data_size : 0; }

#define STRING_SIZE(RECORD, FIELD)                                                                           \
    u32 FIELD##_get_data_sz(const void *) { return sizeof(RECORD::FIELD); }

STRING_SIZE(kov_config_profile_data_t, c_profile_name)
STRING_SIZE(kov_config_profile_data_t, c_instance_name)
STRING_SIZE(kov_config_profile_data_t, c_param_tlv)
STRING_SIZE(kov_config_profile_data_t, c_include_vrf_name)
STRING_SIZE(kov_config_profile_data_t, c_include_profile_name)
STRING_SIZE(kov_config_profile_data_t, c_include_instance_name)
STRING_SIZE(kov_config_profile_data_t, c_include_param_tlv)
STRING_SIZE(kov_profile_options_t, prof_opt_md_name)
STRING_SIZE(kov_profile_options_t, prof_opt_host_id)
STRING_SIZE(kov_profile_options_t, prof_opt_vrf_name)
STRING_SIZE(kov_profile_options_t, prof_opt_user_data)
STRING_SIZE(kov_uhost_key_t, uhost_key_data)
