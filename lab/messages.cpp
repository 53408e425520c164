#include "messages.h"

#include "profile_messages.h"

#include <kov/kov_debug.h>
#include <kov/kov_enums.h>

#include <arpa/inet.h>
#include <cstring>

namespace kov_lab
{
namespace
{

std::uint32_t word_at(const std::uint8_t *at) { return record_at<std::uint32_t>(at); }

// ---- One record as text ------------------------------------------------------------------------------

using DescribeRecord = std::string (*)(const std::uint8_t *at);

std::string number(const std::uint8_t *at) { return std::to_string(word_at(at)); }

std::string on_off(const std::uint8_t *at) { return word_at(at) != 0 ? "on" : "off"; }

std::string role(const std::uint8_t *at) { return roles_text(word_at(at)); }

std::string role_change(const std::uint8_t *at) { return role(at) + ", was " + role(at + 4); }

std::string encapsulation(const std::uint8_t *at) { return kov_fwd_encap_str(word_at(at)); }

std::string interface(const std::uint8_t *at) { return kov_ifindex_name_str(word_at(at)); }

std::string mac(const std::uint8_t *at) { return mac_text(at); }

std::string aging(const std::uint8_t *at)
{
    const auto record = record_at<kov_conv_aging_update>(at);
    return (record.family == 2 ? "IPv6 " : "IPv4 ") + std::to_string(record.timeout) + " s";
}

std::string mode_change(const std::uint8_t *at)
{
    return interface(at) + " to " + kov_fwd_mode_str(word_at(at + 4));
}

std::string control_segment(const std::uint8_t *at)
{
    const auto record = record_at<kov_fabric_ctrl_seg_update>(at);
    return interface(at) + " (VLAN " + std::to_string(record.vlan_id) + "), " + v4_text(record.v4_addr) +
           ", " + v6_text(record.v6_addr) + ", gateway MAC " + mac_text(record.gw_mac);
}

std::string aggregate(const std::uint8_t *at)
{
    const auto record = record_at<kov_aggr_sub_pfx_update>(at);
    const bool v4 = record.family == 0;
    const std::string address = v4 ? v4_text(word_at(record.prefix)) : v6_text(record.prefix);
    const unsigned length = record.prefix[v4 ? 4 : 16];
    return address + "/" + std::to_string(length) + " in VRF " +
           printable(record.vrf_name, sizeof record.vrf_name);
}

std::string topology(const std::uint8_t *at)
{
    return "bridge domain " + number(at) + ", SVI " + interface(at + 16);
}

struct RecordRow {
    std::uint32_t mtype;
    DescribeRecord describe;
};

// The types that carry records.
// clang-format off
constexpr RecordRow record_rows[] = {
    {KOV_MTYPE_FABRIC_ID,           number},
    {KOV_MTYPE_CONV_LEARNING,       on_off},
    {KOV_MTYPE_SWITCH_ROLE,         role},
    {KOV_MTYPE_ANYCAST_GW_MAC,      mac},
    {KOV_MTYPE_AGGR_SUB_PFX,        aggregate},
    {KOV_MTYPE_SVI_FWD_MODE,        interface},
    {KOV_MTYPE_PORT_TRACKING,       interface},
    {KOV_MTYPE_FABRIC_CTRL_SEG,     control_segment},
    {KOV_MTYPE_CONV_AGING_TIMEOUT,  aging},
    {KOV_MTYPE_FERRO_MIGRATION,     on_off},
    {KOV_MTYPE_SVI_MIGRATION,       interface},
    {KOV_MTYPE_FWD_ENCAP,           encapsulation},
    {KOV_MTYPE_SWITCH_ROLE_CHANGE,  role_change},
    {KOV_MTYPE_SVI_FWD_MODE_CHANGE, mode_change},
    {KOV_MTYPE_SUPPRESS_ARP_TOPO,   topology},
    {KOV_MTYPE_PORT_L2DCI,          interface},
};
// clang-format on

DescribeRecord describer_of(std::uint32_t mtype)
{
    for (const RecordRow &row : record_rows)
        if (row.mtype == mtype)
            return row.describe;
    return nullptr;
}

// ---- Building ------------------------------------------------------------------------------------------

template <typename Record>
void append(Bytes &records, const Record &record)
{
    const auto *from = reinterpret_cast<const std::uint8_t *>(&record);
    records.insert(records.end(), from, from + sizeof record);
}

void append_word(Bytes &records, std::uint32_t word) { append(records, word); }

// One record for each family whose timeout changed; the IPv4 one when neither did.
void append_aging(Bytes &records, const kov_rdb_geninfo_t &before, const kov_rdb_geninfo_t &now)
{
    const bool v6 = before.u6rib_conv_aging_timeout != now.u6rib_conv_aging_timeout;
    const bool v4 = !v6 || before.urib_conv_aging_timeout != now.urib_conv_aging_timeout;
    if (v4)
        append(records, kov_conv_aging_update{now.urib_conv_aging_timeout, 1});
    if (v6)
        append(records, kov_conv_aging_update{now.u6rib_conv_aging_timeout, 2});
}

kov_fabric_ctrl_seg_update binding_of(const kov_rdb_sviinfo_t &svi)
{
    kov_fabric_ctrl_seg_update record{};
    record.svi_ifindex = svi.svi_ifindex;
    record.vlan_id = svi.vlan_id;
    record.v4_addr = svi.v4_prefix.addr;
    std::memcpy(record.v6_addr, svi.v6_prefix.addr, sizeof record.v6_addr);
    std::memcpy(record.gw_mac, svi.gw_mac, sizeof record.gw_mac);
    return record;
}

} // namespace

// A type without a size of its records has one or none.
Bytes make_message(std::uint32_t mtype, std::span<const std::uint8_t> records)
{
    kov_client_msg header{};
    const std::uint32_t size = kov_get_clients_msg_data_sz(static_cast<std::int32_t>(mtype));
    header.major = KOV_MSG_MAJOR;
    header.mtype = static_cast<std::uint16_t>(mtype);
    header.count = size != 0 ? static_cast<std::uint32_t>(records.size()) / size : records.empty() ? 0 : 1;
    header.length = static_cast<std::uint32_t>(sizeof header + records.size());
    Bytes message;
    append(message, header);
    message.insert(message.end(), records.begin(), records.end());
    kov_clients_msg_convert_hton(message.data());
    return message;
}

Bytes acknowledgement() { return make_message(KOV_MTYPE_REGISTER_ACK); }

Bytes geninfo_message(std::uint32_t mtype, const kov_rdb_geninfo_t &before, const kov_rdb_geninfo_t &now)
{
    Bytes records;
    kov_anycast_gw_mac_update gateway{};
    switch (mtype) {
    case KOV_MTYPE_FABRIC_ID:
        append_word(records, now.fabric_id);
        break;
    case KOV_MTYPE_CONV_LEARNING:
        append_word(records, now.conv_learning);
        break;
    case KOV_MTYPE_SWITCH_ROLE:
        append_word(records, now.switch_role);
        break;
    case KOV_MTYPE_SWITCH_ROLE_CHANGE:
        append(records, kov_switch_role_update{{now.switch_role, before.switch_role}});
        break;
    case KOV_MTYPE_ANYCAST_GW_MAC:
        std::memcpy(gateway.bytes, now.anycast_gw_mac, sizeof now.anycast_gw_mac);
        append(records, gateway);
        break;
    case KOV_MTYPE_CONV_AGING_TIMEOUT:
        append_aging(records, before, now);
        break;
    case KOV_MTYPE_FERRO_MIGRATION:
        append_word(records, now.ferro_migration);
        break;
    case KOV_MTYPE_FWD_ENCAP:
        append_word(records, now.fwd_encap);
        break;
    default:
        break;
    }
    return make_message(mtype, records);
}

Bytes svi_message(std::uint32_t mtype, const kov_rdb_sviinfo_t &now)
{
    Bytes records;
    if (mtype == KOV_MTYPE_FABRIC_CTRL_SEG)
        append(records, binding_of(now));
    else if (mtype == KOV_MTYPE_SVI_FWD_MODE_CHANGE)
        append(records, kov_svi_fwd_mode_update{now.svi_ifindex, now.fwd_mode, 0});
    else
        append_word(records, now.svi_ifindex);
    return make_message(mtype, records);
}

Bytes topology_message(const kov_rdb_l2rib_topo_info_t &now)
{
    Bytes records;
    append(records, kov_suppress_arp_topo_update{now.bd, now.vni, now.suppress_arp_enabled,
                                                 now.suppress_arp_mode, now.suppress_arp_l3_svi, 0});
    return make_message(KOV_MTYPE_SUPPRESS_ARP_TOPO, records);
}

Bytes port_message(std::uint32_t mtype, std::uint32_t port)
{
    Bytes records;
    append_word(records, port);
    return make_message(mtype, records);
}

Bytes prefix_message(const std::string &vrf, const Network &network)
{
    Bytes records;
    kov_aggr_sub_pfx_update record{};
    vrf.copy(record.vrf_name, sizeof record.vrf_name - 1);
    std::memcpy(record.prefix, record_of(network).prefix, sizeof record.prefix);
    record.family = network.family;
    append(records, record);
    return make_message(KOV_MTYPE_AGGR_SUB_PFX, records);
}

std::string describe_message(const kov_client_msg &msg)
{
    const DescribeRecord describe = describer_of(msg.mtype);
    std::string text = "type " + std::to_string(msg.mtype) + ", " + mtype_name(msg.mtype);
    if (describe == nullptr)
        return text;
    const std::uint32_t size = kov_get_clients_msg_data_sz(msg.mtype);
    const auto *at = reinterpret_cast<const std::uint8_t *>(&msg) + sizeof msg;
    for (std::uint32_t i = 0; i < msg.count; ++i, at += size)
        text += (i == 0 ? ": " : "; ") + describe(at);
    return text;
}

bool has_its_length(const kov_client_msg &header, std::size_t size)
{
    if (header.mtype == KOV_MTYPE_PROFILE_MGMT)
        return true;
    const std::uint64_t record = kov_get_clients_msg_data_sz(header.mtype);
    const std::uint32_t length = ntohl(header.length);
    return length == sizeof header + record * ntohl(header.count) && length <= size;
}

bool is_whole(std::span<const std::uint8_t> message)
{
    if (message.size() < sizeof(kov_client_msg))
        return false;
    const auto header = record_at<kov_client_msg>(message.data());
    return header.major == KOV_MSG_MAJOR && has_its_length(header, message.size());
}

std::string describe_sent(Bytes message)
{
    kov_clients_msg_convert_ntoh(message.data());
    const auto &header = *reinterpret_cast<const kov_client_msg *>(message.data());
    const bool profile = header.mtype == KOV_MTYPE_PROFILE_MGMT;
    return describe_message(header) + (profile ? ": " + describe_profile_answer(message) : "");
}

std::string printable(const void *at, std::size_t width)
{
    std::string text = bounded_text(at, width);
    for (char &c : text)
        if (c < ' ' || c > '~')
            c = '?';
    return text;
}

} // namespace kov_lab
