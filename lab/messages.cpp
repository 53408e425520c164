#include "messages.h"

#include <arpa/inet.h>
#include <cstring>

namespace kov_lab
{
namespace
{

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

std::string printable(const void *at, std::size_t width)
{
    std::string text = bounded_text(at, width);
    for (char &c : text)
        if (c < ' ' || c > '~')
            c = '?';
    return text;
}

} // namespace kov_lab
