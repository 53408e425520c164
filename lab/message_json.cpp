#include "message_json.h"

#include "interfaces.h"
#include "messages.h"

#include <kov/kov_enums.h>

namespace kov_lab
{
namespace
{

std::uint32_t word_at(const std::uint8_t *at) { return record_at<std::uint32_t>(at); }

Json interface(const char *member, std::uint32_t ifindex)
{
    return {{member, name_of_interface(ifindex)}, {"ifindex", ifindex}};
}

Json fabric_id(const std::uint8_t *at) { return {{"fabric_id", word_at(at)}}; }

Json learning(const std::uint8_t *at) { return {{"conv_learning", word_at(at) != 0}}; }

Json role(const std::uint8_t *at) { return {{"switch_role", roles_text(word_at(at))}}; }

Json role_change(const std::uint8_t *at)
{
    return {{"switch_role", roles_text(word_at(at))}, {"before", roles_text(word_at(at + 4))}};
}

Json gateway_mac(const std::uint8_t *at) { return {{"anycast_gw_mac", mac_text(at)}}; }

Json prefix(const std::uint8_t *at)
{
    const auto record = record_at<kov_aggr_sub_pfx_update>(at);
    const bool v4 = record.family == 0;
    const unsigned length = record.prefix[v4 ? 4 : 16];
    return {{"vrf", printable(record.vrf_name, sizeof record.vrf_name)},
            {"prefix",
             (v4 ? v4_text(word_at(record.prefix)) : v6_text(record.prefix)) + "/" + std::to_string(length)}};
}

Json svi(const std::uint8_t *at) { return interface("svi", word_at(at)); }

Json svi_change(const std::uint8_t *at)
{
    Json object = svi(at);
    object["fwd_mode"] = word_of(fwd_mode_words, word_at(at + 4));
    return object;
}

Json port(const std::uint8_t *at) { return interface("port", word_at(at)); }

Json control_segment(const std::uint8_t *at)
{
    const auto record = record_at<kov_fabric_ctrl_seg_update>(at);
    Json object = svi(at);
    object.update(Json{{"vlan_id", std::uint32_t{record.vlan_id}},
                       {"v4_addr", v4_text(record.v4_addr)},
                       {"v6_addr", v6_text(record.v6_addr)},
                       {"gw_mac", mac_text(record.gw_mac)}});
    return object;
}

Json aging(const std::uint8_t *at)
{
    const auto record = record_at<kov_conv_aging_update>(at);
    return {{"family", record.family == 2 ? "ipv6" : "ipv4"}, {"seconds", std::uint32_t{record.timeout}}};
}

Json migration(const std::uint8_t *at) { return {{"ferro_migration", word_at(at) != 0}}; }

Json encapsulation(const std::uint8_t *at) { return {{"fwd_encap", word_of(encap_words, word_at(at))}}; }

Json topology(const std::uint8_t *at)
{
    return {{"bd", word_at(at)},
            {"vni", word_at(at + 4)},
            {"suppress_arp_enabled", word_at(at + 8) != 0},
            {"suppress_arp_mode", word_of(suppress_mode_words, word_at(at + 12))},
            {"svi", name_of_interface(word_at(at + 16))}};
}

struct RecordRow {
    std::uint32_t mtype;
    Json (*object)(const std::uint8_t *at);
};

constexpr RecordRow record_rows[] = {
    {KOV_MTYPE_FABRIC_ID, fabric_id},
    {KOV_MTYPE_CONV_LEARNING, learning},
    {KOV_MTYPE_SWITCH_ROLE, role},
    {KOV_MTYPE_ANYCAST_GW_MAC, gateway_mac},
    {KOV_MTYPE_AGGR_SUB_PFX, prefix},
    {KOV_MTYPE_SVI_FWD_MODE, svi},
    {KOV_MTYPE_PORT_TRACKING, port},
    {KOV_MTYPE_FABRIC_CTRL_SEG, control_segment},
    {KOV_MTYPE_CONV_AGING_TIMEOUT, aging},
    {KOV_MTYPE_FERRO_MIGRATION, migration},
    {KOV_MTYPE_SVI_MIGRATION, svi},
    {KOV_MTYPE_FWD_ENCAP, encapsulation},
    {KOV_MTYPE_SWITCH_ROLE_CHANGE, role_change},
    {KOV_MTYPE_SVI_FWD_MODE_CHANGE, svi_change},
    {KOV_MTYPE_SUPPRESS_ARP_TOPO, topology},
    {KOV_MTYPE_PORT_L2DCI, port},
};

} // namespace

Json message_json(const kov_client_msg &msg)
{
    Json records = Json::array();
    const auto *first = reinterpret_cast<const std::uint8_t *>(&msg) + sizeof msg;
    const std::uint32_t size = kov_get_clients_msg_data_sz(msg.mtype);
    for (const RecordRow &row : record_rows)
        for (std::uint32_t i = 0; row.mtype == msg.mtype && i < msg.count; ++i)
            records.push_back(row.object(first + std::size_t{i} * size));
    return {{"type", std::uint32_t{msg.mtype}}, {"name", mtype_word(msg.mtype)}, {"records", records}};
}

} // namespace kov_lab
