// General information: a field for each query.
#include "audit_section.h"

#include <kov/kov_api.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace kov_lab
{
namespace
{

constexpr const char *the_record = "the record"; // of which there is one

// A field of the general information: what shows it, and to whom.
struct GeneralQuestion {
    const char *field;
    std::array<std::uint32_t, 2> mtypes;               // one of them
    void (*answer)(kov_rdb_geninfo_t &as_in_database); // replaces the field by the cache's
};

void answer_router_mac(kov_rdb_geninfo_t &record)
{
    std::uint8_t mac[KOV_MAC_SIZE];
    kov_get_fwd_encap_type(mac);
    std::memcpy(record.router_mac, mac, sizeof mac);
}

void answer_gateway_mac(kov_rdb_geninfo_t &record)
{
    std::memcpy(record.anycast_gw_mac, kov_get_anycast_gateway_mac(), sizeof record.anycast_gw_mac);
}

void answer_migration(kov_rdb_geninfo_t &record)
{
    record.ferro_migration = switch_value(kov_check_ferro_migration(0, nullptr), record.ferro_migration);
}

// clang-format off
const GeneralQuestion general_questions[] = {
    {"fabric_id",                {4},     [](auto &r) { r.fabric_id = kov_get_fabric_id(); }},
    {"conv_learning",            {5},     [](auto &r) { r.conv_learning = kov_check_conditional_route(); }},
    {"switch_role",              {6, 17}, [](auto &r) { r.switch_role = kov_get_switch_role(); }},
    {"anycast_gw_mac",           {7},     answer_gateway_mac},
    {"fabric_ctrl_svi",          {11},    [](auto &r) { r.fabric_ctrl_svi = kov_get_fabric_ctrl_seg(); }},
    {"urib_conv_aging_timeout",  {13},    [](auto &r) { r.urib_conv_aging_timeout = kov_get_conv_aging_timeout(1); }},
    {"u6rib_conv_aging_timeout", {13},    [](auto &r) { r.u6rib_conv_aging_timeout = kov_get_conv_aging_timeout(2); }},
    {"ferro_migration",          {14},    answer_migration},
    {"fwd_encap",                {16},    [](auto &r) { r.fwd_encap = kov_get_fwd_encap_type(nullptr); }},
    {"router_mac",               {16},    answer_router_mac},
};
// clang-format on

// The SVI cache writes the control segment that it knows into the cached record. So what stands there may be
// the record's own, or an SVI that is the segment, or none when no SVI is.
bool is_control_svi(const Database &database, std::uint32_t svi)
{
    bool any = false;
    for (const auto &[ifindex, record] : database.records.svis) {
        if (is_control_segment(record) && ifindex == svi)
            return true;
        any = any || is_control_segment(record);
    }
    return svi == 0 && !any;
}

// Asks for every field that this client is told of. False: the cache did not answer.
bool ask_general(AuditSection &section, kov_rdb_geninfo_t &record)
{
    not_registered(section, "types 4 to 7, 11, 13, 14, 16 or 17");
    for (const GeneralQuestion &question : general_questions)
        if (!registered_for_any({question.mtypes[0], question.mtypes[1]}))
            section.unseen.push_back(question.field);
        else if (!answers_from_cache(section, [&] { question.answer(record); }))
            return false;
    return section.compared;
}

// Whether every field that a query shows has its default.
bool shows_defaults(const AuditSection &section, const kov_rdb_geninfo_t &record)
{
    const kov_rdb_geninfo_t defaults = default_geninfo();
    const auto fields = geninfo_fields();
    return std::all_of(fields.begin(), fields.end(), [&](const Field &field) {
        return same_field(field, &record, &defaults) ||
               std::count(section.unseen.begin(), section.unseen.end(), field.name) != 0;
    });
}

} // namespace

AuditSection audit_general(const Database &database)
{
    const bool there = database.records.general.has_value();
    AuditSection section = section_of(database, KOV_RDB_GENINFO, "general information", there ? 1 : 0);
    section.cacheable = there ? 1 : 0;
    section.unseen = {"mobdom", "geninfo_word11", "geninfo_flag12", "geninfo_word13"};
    const kov_rdb_geninfo_t now = database.records.general.value_or(default_geninfo());
    kov_rdb_geninfo_t cached = now;
    if (!ask_general(section, cached) || !section.undecodable.empty())
        return section;
    if (is_control_svi(database, cached.fabric_ctrl_svi))
        cached.fabric_ctrl_svi = now.fabric_ctrl_svi;
    auto fields = disagreements(geninfo_fields(), &cached, &now);
    if (fields.empty())
        return section;
    if (!there)
        section.extra.push_back(the_record);
    else if (shows_defaults(section, cached))
        section.missing.push_back(the_record);
    else
        section.different.push_back({the_record, std::move(fields)});
    return section;
}

} // namespace kov_lab
