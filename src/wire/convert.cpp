#include "wire/convert.h"

#include "api/bytes.h"

#include <cstddef>

namespace
{

// A field to swap: its width in bytes and its offset in the record. Width 0 ends the list.
struct swapped_field {
    u8 width;
    u8 offset;
};

struct record_format {
    u8 size;
    swapped_field swapped[7];
};

// clang-format off
constexpr record_format formats[KOV_MTYPE_END] = {
    {},                                                                     // 0
    {},                                                                     // 1 register
    {},                                                                     // 2 acknowledgement
    {},                                                                     // 3 deregister
    {sizeof(kov_word_update),               {{4, 0}}},                      // 4 fabric id
    {sizeof(kov_word_update),               {{4, 0}}},                      // 5 conversational learning
    {sizeof(kov_word_update),               {{4, 0}}},                      // 6 switch role
    {sizeof(kov_anycast_gw_mac_update),     {}},                            // 7 anycast gateway MAC
    {sizeof(kov_aggr_sub_pfx_update),       {{4, 33}}},                     // 8 aggregate prefix (IPv4 only)
    {sizeof(kov_word_update),               {{4, 0}}},                      // 9 SVI forwarding mode
    {sizeof(kov_word_update),               {{4, 0}}},                      // 10 port tracking
    {sizeof(kov_fabric_ctrl_seg_update),    {{4, 0}, {4, 4}, {2, 8}, {4, 10}}}, // 11 fabric control segment
    {},                                                                     // 12 profile
    {sizeof(kov_conv_aging_update),         {{4, 0}}},                      // 13 aging timeout
    {sizeof(kov_word_update),               {{4, 0}}},                      // 14 fabric migration
    {sizeof(kov_word_update),               {{4, 0}}},                      // 15 SVI migration
    {sizeof(kov_word_update),               {{4, 0}}},                      // 16 forwarding encapsulation
    {sizeof(kov_switch_role_update),        {{4, 0}, {4, 4}}},              // 17 switch role
    {sizeof(kov_svi_fwd_mode_update),       {{4, 0}, {4, 4}, {4, 8}}},      // 18 SVI forwarding mode
    {sizeof(kov_suppress_arp_topo_update),  {{4, 0}, {4, 4}, {4, 8}, {4, 12}, {4, 16}, {4, 20}}}, // 19 topology
    {sizeof(kov_word_update),               {{4, 0}}},                      // 20 port L2DCI
};
// clang-format on

const record_format &format_of(u32 mtype) { return formats[mtype < KOV_MTYPE_END ? mtype : 0]; }

u32 mtype_of(const void *msg)
{
    return kov::load<u16>(static_cast<const u8 *>(msg) + offsetof(kov_client_msg, mtype));
}

// An aggregate prefix has an address to swap only when its family says IPv4.
bool is_swapped(u32 mtype, const u8 *record)
{
    return mtype != KOV_MTYPE_AGGR_SUB_PFX ||
           kov::load<u32>(record + offsetof(kov_aggr_sub_pfx_update, family)) == 0;
}

void swap_record(const record_format &format, u8 *record)
{
    for (const swapped_field &field : format.swapped) {
        if (field.width == sizeof(u32))
            kov::swap_at<u32>(record + field.offset);
        else if (field.width == sizeof(u16))
            kov::swap_at<u16>(record + field.offset);
        else
            break;
    }
}

} // namespace

u32 kov_get_clients_msg_data_sz(s32 mtype) { return format_of(static_cast<u32>(mtype)).size; }

void kov::swap_header(void *msg)
{
    u8 *bytes = static_cast<u8 *>(msg);
    swap_at<u32>(bytes + offsetof(kov_client_msg, count));
    swap_at<u32>(bytes + offsetof(kov_client_msg, length));
}

void kov::swap_records(void *msg)
{
    const u32 mtype = mtype_of(msg);
    const record_format &format = format_of(mtype);
    if (format.swapped[0].width == 0)
        return;
    u8 *bytes = static_cast<u8 *>(msg);
    const u32 count = load<u32>(bytes + offsetof(kov_client_msg, count));
    u8 *record = bytes + msg_header_size;
    for (u32 i = 0; i < count; ++i, record += format.size)
        if (is_swapped(mtype, record))
            swap_record(format, record);
}

void kov_clients_msg_convert_ntoh(void *msg)
{
    if (!msg)
        return;
    kov::swap_header(msg);
    kov::swap_records(msg);
}

void kov_clients_msg_convert_hton(void *msg)
{
    if (!msg)
        return;
    // The records first: they need the count in host order.
    kov::swap_records(msg);
    kov::swap_header(msg);
}
