// Messages as they are told: for a person and for a program, record by record.
#include "message_json.h"

#include "interfaces.h"
#include "messages.h"
#include "profile_messages.h"
#include "reply.h"

#include <kov/kov_debug.h>
#include <kov/kov_enums.h>

namespace kov_lab
{
namespace
{

std::uint32_t word_at(const std::uint8_t *at) { return record_at<std::uint32_t>(at); }

// ---- One record as text ----------------------------------------------------------------------------------

std::string number_text(const std::uint8_t *at) { return std::to_string(word_at(at)); }

std::string on_off_text(const std::uint8_t *at) { return word_at(at) != 0 ? "on" : "off"; }

std::string role_text(const std::uint8_t *at) { return roles_text(word_at(at)); }

std::string role_change_text(const std::uint8_t *at) { return role_text(at) + ", was " + role_text(at + 4); }

std::string encapsulation_text(const std::uint8_t *at) { return kov_fwd_encap_str(word_at(at)); }

std::string interface_text(const std::uint8_t *at) { return kov_ifindex_name_str(word_at(at)); }

std::string gateway_mac_text(const std::uint8_t *at) { return mac_text(at); }

std::string aging_text(const std::uint8_t *at)
{
    const auto record = record_at<kov_conv_aging_update>(at);
    return (record.family == 2 ? "IPv6 " : "IPv4 ") + std::to_string(record.timeout) + " s";
}

std::string mode_change_text(const std::uint8_t *at)
{
    return interface_text(at) + " to " + kov_fwd_mode_str(word_at(at + 4));
}

std::string control_segment_text(const std::uint8_t *at)
{
    const auto record = record_at<kov_fabric_ctrl_seg_update>(at);
    return interface_text(at) + " (VLAN " + std::to_string(record.vlan_id) + "), " + v4_text(record.v4_addr) +
           ", " + v6_text(record.v6_addr) + ", gateway MAC " + mac_text(record.gw_mac);
}

// "10.1.0.0/16"
std::string prefix_of(const kov_aggr_sub_pfx_update &record)
{
    const bool v4 = record.family == 0;
    const unsigned length = record.prefix[v4 ? 4 : 16];
    return (v4 ? v4_text(word_at(record.prefix)) : v6_text(record.prefix)) + "/" + std::to_string(length);
}

std::string vrf_of(const kov_aggr_sub_pfx_update &record)
{
    return printable(record.vrf_name, sizeof record.vrf_name);
}

std::string aggregate_text(const std::uint8_t *at)
{
    const auto record = record_at<kov_aggr_sub_pfx_update>(at);
    return prefix_of(record) + " in VRF " + vrf_of(record);
}

std::string topology_text(const std::uint8_t *at)
{
    return "bridge domain " + number_text(at) + ", SVI " + interface_text(at + 16);
}

// ---- One record as JSON ----------------------------------------------------------------------------------

Json interface_json(const char *member, std::uint32_t ifindex)
{
    return {{member, name_of_interface(ifindex)}, {"ifindex", ifindex}};
}

Json fabric_id_json(const std::uint8_t *at) { return {{"fabric_id", word_at(at)}}; }

Json learning_json(const std::uint8_t *at) { return {{"conv_learning", word_at(at) != 0}}; }

Json role_json(const std::uint8_t *at) { return {{"switch_role", roles_text(word_at(at))}}; }

Json role_change_json(const std::uint8_t *at)
{
    return {{"switch_role", roles_text(word_at(at))}, {"before", roles_text(word_at(at + 4))}};
}

Json gateway_mac_json(const std::uint8_t *at) { return {{"anycast_gw_mac", mac_text(at)}}; }

Json aggregate_json(const std::uint8_t *at)
{
    const auto record = record_at<kov_aggr_sub_pfx_update>(at);
    return {{"vrf", vrf_of(record)}, {"prefix", prefix_of(record)}};
}

Json svi_json(const std::uint8_t *at) { return interface_json("svi", word_at(at)); }

Json svi_change_json(const std::uint8_t *at)
{
    Json object = svi_json(at);
    object["fwd_mode"] = word_of(fwd_mode_words, word_at(at + 4));
    return object;
}

Json port_json(const std::uint8_t *at) { return interface_json("port", word_at(at)); }

Json control_segment_json(const std::uint8_t *at)
{
    const auto record = record_at<kov_fabric_ctrl_seg_update>(at);
    Json object = svi_json(at);
    object.update(Json{{"vlan_id", std::uint32_t{record.vlan_id}},
                       {"v4_addr", v4_text(record.v4_addr)},
                       {"v6_addr", v6_text(record.v6_addr)},
                       {"gw_mac", mac_text(record.gw_mac)}});
    return object;
}

Json aging_json(const std::uint8_t *at)
{
    const auto record = record_at<kov_conv_aging_update>(at);
    return {{"family", record.family == 2 ? "ipv6" : "ipv4"}, {"seconds", std::uint32_t{record.timeout}}};
}

Json migration_json(const std::uint8_t *at) { return {{"ferro_migration", word_at(at) != 0}}; }

Json encapsulation_json(const std::uint8_t *at) { return {{"fwd_encap", word_of(encap_words, word_at(at))}}; }

Json topology_json(const std::uint8_t *at)
{
    return {{"bd", word_at(at)},
            {"vni", word_at(at + 4)},
            {"suppress_arp_enabled", word_at(at + 8) != 0},
            {"suppress_arp_mode", word_of(suppress_mode_words, word_at(at + 12))},
            {"svi", name_of_interface(word_at(at + 16))}};
}

// ---- The types that carry records ------------------------------------------------------------------------

struct RecordRow {
    std::uint32_t mtype;
    std::string (*text)(const std::uint8_t *at);
    Json (*json)(const std::uint8_t *at);
};

// clang-format off
constexpr RecordRow record_rows[] = {
    {KOV_MTYPE_FABRIC_ID,           number_text,          fabric_id_json},
    {KOV_MTYPE_CONV_LEARNING,       on_off_text,          learning_json},
    {KOV_MTYPE_SWITCH_ROLE,         role_text,            role_json},
    {KOV_MTYPE_ANYCAST_GW_MAC,      gateway_mac_text,     gateway_mac_json},
    {KOV_MTYPE_AGGR_SUB_PFX,        aggregate_text,       aggregate_json},
    {KOV_MTYPE_SVI_FWD_MODE,        interface_text,       svi_json},
    {KOV_MTYPE_PORT_TRACKING,       interface_text,       port_json},
    {KOV_MTYPE_FABRIC_CTRL_SEG,     control_segment_text, control_segment_json},
    {KOV_MTYPE_CONV_AGING_TIMEOUT,  aging_text,           aging_json},
    {KOV_MTYPE_FERRO_MIGRATION,     on_off_text,          migration_json},
    {KOV_MTYPE_SVI_MIGRATION,       interface_text,       svi_json},
    {KOV_MTYPE_FWD_ENCAP,           encapsulation_text,   encapsulation_json},
    {KOV_MTYPE_SWITCH_ROLE_CHANGE,  role_change_text,     role_change_json},
    {KOV_MTYPE_SVI_FWD_MODE_CHANGE, mode_change_text,     svi_change_json},
    {KOV_MTYPE_SUPPRESS_ARP_TOPO,   topology_text,        topology_json},
    {KOV_MTYPE_PORT_L2DCI,          interface_text,       port_json},
};
// clang-format on

const RecordRow *row_of(std::uint32_t mtype)
{
    for (const RecordRow &row : record_rows)
        if (row.mtype == mtype)
            return &row;
    return nullptr;
}

// Each record of a message in host order.
template <typename Take>
void for_each_record(const kov_client_msg &msg, const Take &take)
{
    const std::uint32_t size = kov_get_clients_msg_data_sz(msg.mtype);
    const auto *at = reinterpret_cast<const std::uint8_t *>(&msg) + sizeof msg;
    const RecordRow *row = row_of(msg.mtype);
    for (std::uint32_t i = 0; row != nullptr && i < msg.count; ++i, at += size)
        take(*row, at);
}

} // namespace

std::string describe_message(const kov_client_msg &msg)
{
    std::string text = "type " + std::to_string(msg.mtype) + ", " + mtype_name(msg.mtype);
    const char *before = ": ";
    for_each_record(msg, [&](const RecordRow &row, const std::uint8_t *at) {
        text += before + row.text(at);
        before = "; ";
    });
    return text;
}

std::string describe_sent(Bytes message)
{
    kov_clients_msg_convert_ntoh(message.data());
    const auto &header = *reinterpret_cast<const kov_client_msg *>(message.data());
    const bool profile = header.mtype == KOV_MTYPE_PROFILE_MGMT;
    return describe_message(header) + (profile ? ": " + describe_profile_answer(message) : "");
}

Json message_json(const kov_client_msg &msg)
{
    Json records = Json::array();
    for_each_record(msg,
                    [&](const RecordRow &row, const std::uint8_t *at) { records.push_back(row.json(at)); });
    return {{"type", std::uint32_t{msg.mtype}}, {"name", mtype_word(msg.mtype)}, {"records", records}};
}

} // namespace kov_lab
