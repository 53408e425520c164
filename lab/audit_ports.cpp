// Ports: every port of every slot.
#include "audit_section.h"

#include <kov/kov_api.h>
#include <kov_host.h>

#include <array>
#include <limits>

namespace kov_lab
{
namespace
{

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
    not_registered(section, "type " + std::to_string(mtype));
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

} // namespace

AuditSection audit_tracking(const Database &database)
{
    return audit_ports(database, KOV_RDB_PORT_TRACKING, "port tracking", database.records.tracking,
                       KOV_MTYPE_PORT_TRACKING, kov_get_port_tracking);
}

AuditSection audit_l2dci(const Database &database)
{
    return audit_ports(database, KOV_RDB_PORT_L2DCI, "port L2DCI", database.records.l2dci,
                       KOV_MTYPE_PORT_L2DCI, kov_get_port_l2dci);
}

} // namespace kov_lab
