#include "audit.h"

#include "database.h"

#include <kov/kov_api.h>
#include <kov_host.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <optional>

namespace kov_lab
{
namespace
{

bool registered(std::uint32_t mtype)
{
    return kov_is_client_registration_done() != 0 &&
           kov_is_mtype_not_registered(static_cast<std::int32_t>(mtype), nullptr) == 0;
}

bool registered_for_any(std::initializer_list<std::uint32_t> mtypes)
{
    for (const std::uint32_t mtype : mtypes)
        if (registered(mtype))
            return true;
    return false;
}

// A section without its comparison.
AuditSection section_of(const Database &database, kov_rdb_type type, const char *name, std::size_t good)
{
    AuditSection section;
    section.name = name;
    section.in_database = good;
    for (const BadRecord &record : database.bad)
        if (record.type == type) {
            ++section.in_database;
            section.undecodable.push_back({record.key, record.why});
        }
    return section;
}

// True when the question is answered without a read; else the section says that it is not compared.
template <typename Question>
bool answers_from_cache(AuditSection &section, Question question)
{
    const std::uint64_t before = database_reads();
    question();
    section.compared = database_reads() == before;
    if (!section.compared)
        section.why_not = "the library answers from the database";
    return section.compared;
}

void not_registered(AuditSection &section, const char *types)
{
    section.why_not = kov_is_client_registration_done() != 0
                          ? std::string("the client did not register for ") + types
                          : "the client is not registered, and caches nothing";
}

// Where the fields differ.
std::vector<Disagreement> disagreements(std::span<const Field> fields, const void *cache,
                                        const void *database)
{
    std::vector<Disagreement> found;
    for (const Field &field : fields)
        if (!same_field(field, cache, database))
            found.push_back({field.name, field_text(field, cache), field_text(field, database)});
    return found;
}

constexpr const char *the_record = "the record"; // of which there is one

// ---- General information ---------------------------------------------------------------------------------

// A field of the general information: what shows it, and to whom.
struct GeneralQuestion {
    const char *field;
    std::array<std::uint32_t, 2> mtypes;               // one of them
    void (*answer)(kov_rdb_geninfo_t &as_in_database); // replaces the field by the cache's
};

// A switch is shown as on or off; any value that is on agrees with any other.
std::uint32_t switch_value(std::uint32_t answer, std::uint32_t in_database)
{
    return (answer != 0) == (in_database != 0) ? in_database : answer;
}

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

bool is_control_segment(const kov_rdb_sviinfo_t &svi)
{
    return svi.is_fabric_ctrl_seg != 0 && kov_is_vaddr_bind_complete(&svi) != 0;
}

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

// ---- SVIs ------------------------------------------------------------------------------------------------

// What the queries show of the cached SVIs, each as a record with the other fields zero.
Svis cached_svis(AuditSection &section)
{
    Svis svis;
    answers_from_cache(section, [&] {
        dbly_linkage *list = nullptr;
        kov_svi_info_iter_t at;
        if (kov_get_all_enhanced_fwd_mode_svis(&list) == 0)
            return;
        kov_svi_info_iter_init(&at, list);
        while (const kov_svi_info_t *svi = kov_svi_info_iter_get_next(&at)) {
            kov_rdb_sviinfo_t &record = svis[svi->svi_ifindex];
            record.svi_ifindex = svi->svi_ifindex;
            record.vlan_id = svi->vlan_id;
            record.fwd_mode = svi->fwd_mode;
            record.suppress_arp = svi->suppress_arp;
        }
        kov_free_svi_info_list(list);
    });
    return svis;
}

// The record as the cache would show it: its own fields where the cache shows none.
kov_rdb_sviinfo_t shown(const kov_rdb_sviinfo_t &in_database, const kov_rdb_sviinfo_t &cached, bool migration)
{
    kov_rdb_sviinfo_t record = in_database;
    record.vlan_id = cached.vlan_id;
    record.fwd_mode = cached.fwd_mode;
    record.suppress_arp = cached.suppress_arp;
    if (migration)
        record.migration_enabled = switch_value(kov_check_ferro_migration(cached.svi_ifindex, nullptr),
                                                in_database.migration_enabled);
    return record;
}

void compare_svi(AuditSection &section, const kov_rdb_sviinfo_t &now, const Svis &cached, bool migration)
{
    const std::string name = name_of_interface(now.svi_ifindex);
    const auto found = cached.find(now.svi_ifindex);
    if (kov_is_ferro_fwd_mode(now.fwd_mode) == 0) {
        if (!is_control_segment(now))
            section.passed_over.push_back({name, "forwards as " +
                                                     std::string(kov_fwd_mode_str(now.fwd_mode)) +
                                                     ", a mode that is not cached"});
        if (found != cached.end())
            section.extra.push_back(name);
        return;
    }
    ++section.cacheable;
    if (found == cached.end()) {
        section.missing.push_back(name);
        return;
    }
    const kov_rdb_sviinfo_t as_cached = shown(now, found->second, migration);
    if (auto fields = disagreements(svi_fields(), &as_cached, &now); !fields.empty())
        section.different.push_back({name, std::move(fields)});
}

// The whole record of the fabric control segment, of which a query shows the binding.
void compare_control_segment(AuditSection &section, const Database &database)
{
    const std::uint32_t svi = kov_get_fabric_ctrl_seg();
    const auto found = database.records.svis.find(svi);
    const kov_fabric_ctrl_seg_info *info = kov_get_fabric_ctrl_seg_info();
    const std::string name = "the whole record of " + name_of_interface(svi);
    if (found == database.records.svis.end() || !is_control_segment(found->second)) {
        if (info != nullptr)
            section.extra.push_back(name);
        return;
    }
    if (info == nullptr) {
        section.missing.push_back(name);
        return;
    }
    kov_rdb_sviinfo_t as_cached = found->second;
    as_cached.vlan_id = info->vlan_id;
    as_cached.v4_prefix.addr = info->v4_addr;
    std::memcpy(as_cached.v6_prefix.addr, info->v6_addr, sizeof info->v6_addr);
    std::memcpy(as_cached.gw_mac, info->gw_mac, sizeof info->gw_mac);
    if (auto fields = disagreements(svi_fields(), &as_cached, &found->second); !fields.empty())
        section.different.push_back({name, std::move(fields)});
}

AuditSection audit_svis(const Database &database)
{
    AuditSection section = section_of(database, KOV_RDB_SVIINFO, "SVIs", database.records.svis.size());
    const bool listed = registered_for_any({KOV_MTYPE_SVI_FWD_MODE, KOV_MTYPE_SVI_FWD_MODE_CHANGE});
    const bool migration = listed && registered(KOV_MTYPE_SVI_MIGRATION);
    const bool control = registered(KOV_MTYPE_FABRIC_CTRL_SEG);
    not_registered(section, "type 9 or 18, and no other shows cached SVIs");
    const Svis cached = listed ? cached_svis(section) : Svis{};
    if (!section.compared)
        return section;
    if (!migration)
        section.unseen.push_back("migration_enabled");
    section.unseen.insert(section.unseen.end(),
                          {"is_up", "vrf_name", "is_fabric_ctrl_seg", "svi_word10", "vaddr_bound"});
    for (const auto &[ifindex, record] : database.records.svis)
        compare_svi(section, record, cached, migration);
    for (const auto &[ifindex, record] : cached)
        if (const std::string name = name_of_interface(ifindex);
            !database.records.svis.contains(ifindex) && !database.is_bad(KOV_RDB_SVIINFO, name))
            section.extra.push_back(name);
    if (control)
        compare_control_segment(section, database);
    else
        section.unseen.push_back("the whole record of the fabric control segment");
    return section;
}

// ---- Ports -----------------------------------------------------------------------------------------------

using PortQuery = std::uint32_t (*)(std::uint32_t port);
using Ports = std::array<bool, 256>;

// Every port that has a place in the slot's record; 0 for a bit without one.
std::uint32_t port_at(std::uint32_t slot, std::uint32_t port)
{
    if (port == 0)
        return 0;
    const std::string name =
        slot <= last_card_slot
            ? "eth" + std::to_string(slot) + "/" + std::to_string(port)
            : "po" + std::to_string((slot - last_card_slot - 1) * last_card_port + port - 1);
    return kov_host_ifindex_parse(name.c_str());
}

// As a query reads the record: bits behind the last valid one are off, and of a record with too many all are.
Ports ports_of(const SlotPorts &record)
{
    Ports ports{};
    for (std::uint32_t port = 1; port < ports.size(); ++port)
        ports[port] = record.num_bits <= ports.size() && port < record.num_bits &&
                      (record.port_bits[port / 8] >> port % 8 & 1) != 0;
    return ports;
}

Ports ask_ports(PortQuery query, std::uint32_t slot)
{
    Ports ports{};
    for (std::uint32_t port = 1; port < ports.size(); ++port)
        ports[port] = query(port_at(slot, port)) != 0;
    return ports;
}

std::vector<Disagreement> port_disagreements(std::uint32_t slot, const Ports &cached, const Ports &now)
{
    std::vector<Disagreement> found;
    for (std::uint32_t port = 1; port < now.size(); ++port)
        if (cached[port] != now[port])
            found.push_back({name_of_interface(port_at(slot, port)), cached[port] ? "on" : "off",
                             now[port] ? "on" : "off"});
    return found;
}

void compare_slot(AuditSection &section, const Slots &slots, std::uint32_t slot, const Ports &cached)
{
    const std::string name = "slot " + std::to_string(slot);
    const auto found = slots.find(static_cast<std::uint8_t>(slot));
    const Ports now = found == slots.end() ? Ports{} : ports_of(found->second);
    section.cacheable += found == slots.end() ? 0 : 1;
    if (cached == now)
        return;
    if (found == slots.end())
        section.extra.push_back(name);
    else if (cached == Ports{})
        section.missing.push_back(name);
    else
        section.different.push_back({name, port_disagreements(slot, cached, now)});
}

AuditSection audit_ports(const Database &database, kov_rdb_type type, const char *name, const Slots &slots,
                         std::uint32_t mtype, PortQuery query)
{
    AuditSection section = section_of(database, type, name, slots.size());
    const std::string wanted = "type " + std::to_string(mtype);
    not_registered(section, wanted.c_str());
    if (!registered(mtype) || !answers_from_cache(section, [&] { query(port_at(1, 1)); }))
        return section;
    section.unseen = {"num_bits", "bit 0", "slots without a port"};
    if (slots.contains(0))
        section.passed_over.push_back({"slot 0", "the library takes no slot 0"});
    for (std::uint32_t slot = 1; slot <= std::numeric_limits<std::uint8_t>::max(); ++slot)
        if (!database.is_bad(type, "slot " + std::to_string(slot)))
            compare_slot(section, slots, slot, ask_ports(query, slot));
    return section;
}

// ---- Prefixes --------------------------------------------------------------------------------------------

AuditSection audit_prefixes(const Database &database)
{
    AuditSection section =
        section_of(database, KOV_RDB_AGGR_SUB_PFX, "aggregate prefixes", database.records.prefixes.size());
    section.cacheable = database.records.prefixes.size();
    section.why_not = "no query shows cached prefixes";
    return section;
}

// ---- Topologies ------------------------------------------------------------------------------------------

void compare_topology(AuditSection &section, const Topologies &topologies, std::uint32_t bd)
{
    const std::string name = "bridge domain " + std::to_string(bd);
    const auto found = topologies.find(bd);
    const kov_rdb_l2rib_topo_info_t now = found == topologies.end() ? default_topology(bd) : found->second;
    kov_rdb_l2rib_topo_info_t cached = now;
    cached.suppress_arp_mode = kov_get_suppress_arp_mode(bd);
    section.cacheable += found == topologies.end() ? 0 : 1;
    auto fields = disagreements(topology_fields(), &cached, &now);
    if (fields.empty())
        return;
    if (found == topologies.end())
        section.extra.push_back(name);
    else if (cached.suppress_arp_mode == KOV_SUPPRESS_ARP_DISABLED)
        section.missing.push_back(name);
    else
        section.different.push_back({name, std::move(fields)});
}

AuditSection audit_topologies(const Database &database)
{
    const Topologies &topologies = database.records.topologies;
    AuditSection section = section_of(database, KOV_RDB_L2RIB_TOPO_INFO, "topologies", topologies.size());
    not_registered(section, "type 19");
    if (!registered(KOV_MTYPE_SUPPRESS_ARP_TOPO) ||
        !answers_from_cache(section, [] { kov_get_suppress_arp_mode(1); }))
        return section;
    section.unseen = {"vni", "suppress_arp_enabled", "svi", "topologies without a mode"};
    if (topologies.contains(0))
        section.passed_over.push_back({"bridge domain 0", "the library takes no bridge domain 0"});
    for (std::uint32_t bd = 1; bd <= last_bridge_domain; ++bd)
        if (!database.is_bad(KOV_RDB_L2RIB_TOPO_INFO, "bridge domain " + std::to_string(bd)))
            compare_topology(section, topologies, bd);
    for (auto at = topologies.upper_bound(last_bridge_domain); at != topologies.end(); ++at)
        compare_topology(section, topologies, at->first);
    return section;
}

} // namespace

std::size_t Audit::differences() const
{
    std::size_t count = 0;
    for (const AuditSection &section : sections)
        count += section.missing.size() + section.extra.size() + section.different.size() +
                 section.undecodable.size();
    return count;
}

Audit audit()
{
    const Database database = read_database();
    return {{audit_general(database), audit_svis(database),
             audit_ports(database, KOV_RDB_PORT_TRACKING, "port tracking", database.records.tracking,
                         KOV_MTYPE_PORT_TRACKING, kov_get_port_tracking),
             audit_prefixes(database),
             audit_ports(database, KOV_RDB_PORT_L2DCI, "port L2DCI", database.records.l2dci,
                         KOV_MTYPE_PORT_L2DCI, kov_get_port_l2dci),
             audit_topologies(database)}};
}

} // namespace kov_lab
