#include "publisher.h"

#include "store.h"

#include <kov/kov_codec.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace kov_lab
{
namespace
{

kov_rdb_key key_of(kov_rdb_type type, std::uint32_t number = 0)
{
    kov_rdb_key key{};
    key.type = type;
    key.of.number = number; // a slot is the number's first byte
    return key;
}

kov_rdb_key key_of(const Prefix &prefix)
{
    kov_rdb_key key = key_of(KOV_RDB_AGGR_SUB_PFX);
    prefix.vrf.copy(key.of.vrf_name, sizeof key.of.vrf_name - 1);
    key.family = prefix.network.family;
    std::memcpy(key.prefix, record_of(prefix.network).prefix, sizeof key.prefix);
    return key;
}

std::optional<Bytes> encode_slot(const SlotPorts &ports)
{
    if (is_empty(ports))
        return std::nullopt;
    return encode(ports, kov_ha_port_tracking_get_tlv_sz, kov_ha_port_tracking_to_tlv);
}

std::optional<Bytes> encode_l2dci_slot(const SlotPorts &ports)
{
    kov_rdb_port_l2dci_t record;
    static_assert(sizeof record == sizeof ports);
    std::memcpy(&record, &ports, sizeof record);
    if (is_empty(ports))
        return std::nullopt;
    return encode(record, kov_ha_port_l2dci_get_tlv_sz, kov_ha_port_l2dci_to_tlv);
}

void keep_slot(Slots &slots, std::uint8_t slot, const SlotPorts &ports)
{
    if (is_empty(ports))
        slots.erase(slot);
    else
        slots[slot] = ports;
}

std::vector<Edit> edits_of(const Scenario &scenario)
{
    std::vector<Edit> edits;
    if (scenario.general)
        edits.push_back(put(*scenario.general));
    for (const auto &[ifindex, record] : scenario.svis)
        edits.push_back(put(record));
    for (const auto &[slot, ports] : scenario.tracking)
        edits.push_back(put_tracking(slot, ports));
    for (const Prefix &prefix : scenario.prefixes)
        edits.push_back(put(prefix));
    for (const auto &[slot, ports] : scenario.l2dci)
        edits.push_back(put_l2dci(slot, ports));
    for (const auto &[bd, record] : scenario.topologies)
        edits.push_back(put(record));
    return edits;
}

} // namespace

// ---- Edits -----------------------------------------------------------------------------------------------

Edit put(const kov_rdb_geninfo_t &record)
{
    return {key_of(KOV_RDB_GENINFO), encode(record, kov_ha_geninfo_get_tlv_sz, kov_ha_geninfo_to_tlv),
            [record](Scenario &state) { state.general = record; }};
}

Edit put(const kov_rdb_sviinfo_t &record)
{
    return {key_of(KOV_RDB_SVIINFO, record.svi_ifindex),
            encode(record, kov_ha_sviinfo_get_tlv_sz, kov_ha_sviinfo_to_tlv),
            [record](Scenario &state) { state.svis[record.svi_ifindex] = record; }};
}

Edit put(const kov_rdb_l2rib_topo_info_t &record)
{
    return {key_of(KOV_RDB_L2RIB_TOPO_INFO, record.bd),
            encode(record, kov_ha_l2rib_topo_info_get_tlv_sz, kov_ha_l2rib_topo_info_to_tlv),
            [record](Scenario &state) { state.topologies[record.bd] = record; }};
}

Edit put(const Prefix &prefix)
{
    return {key_of(prefix),
            encode(record_of(prefix.network), kov_ha_aggr_sub_pfx_get_tlv_sz, kov_ha_aggr_sub_pfx_to_tlv),
            [prefix](Scenario &state) { state.prefixes.insert(prefix); }};
}

Edit put_tracking(std::uint8_t slot, const SlotPorts &ports)
{
    return {key_of(KOV_RDB_PORT_TRACKING, slot), encode_slot(ports),
            [slot, ports](Scenario &state) { keep_slot(state.tracking, slot, ports); }};
}

Edit put_l2dci(std::uint8_t slot, const SlotPorts &ports)
{
    return {key_of(KOV_RDB_PORT_L2DCI, slot), encode_l2dci_slot(ports),
            [slot, ports](Scenario &state) { keep_slot(state.l2dci, slot, ports); }};
}

Edit erase_general()
{
    return {key_of(KOV_RDB_GENINFO), std::nullopt, [](Scenario &state) { state.general.reset(); }};
}

Edit erase_svi(std::uint32_t ifindex)
{
    return {key_of(KOV_RDB_SVIINFO, ifindex), std::nullopt,
            [ifindex](Scenario &state) { state.svis.erase(ifindex); }};
}

Edit erase_topology(std::uint32_t bd)
{
    return {key_of(KOV_RDB_L2RIB_TOPO_INFO, bd), std::nullopt,
            [bd](Scenario &state) { state.topologies.erase(bd); }};
}

Edit erase(const Prefix &prefix)
{
    return {key_of(prefix), std::nullopt, [prefix](Scenario &state) { state.prefixes.erase(prefix); }};
}

// ---- The publisher ---------------------------------------------------------------------------------------

std::unique_ptr<Publisher> Publisher::open(const std::string &dir, bool replace, std::string &why)
{
    auto store = open_store(dir + "/kov_rdb_info", replace, "published anew", why);
    return store ? std::unique_ptr<Publisher>(new Publisher(std::move(store))) : nullptr;
}

bool Publisher::store(const Edit &edit)
{
    return edit.tlv ? store_->put(bytes_of(edit.key), *edit.tlv) : store_->erase(bytes_of(edit.key));
}

// All edits in one transaction; `afresh` takes away first what was there.
bool Publisher::commit(std::span<const Edit> edits, bool afresh, std::string &why)
{
    const auto good = [&](const Edit &edit) { return store(edit); };
    if (store_->begin()) {
        if ((!afresh || store_->clear()) && std::all_of(edits.begin(), edits.end(), good) && store_->commit())
            return true;
        why = store_->error();
        store_->rollback();
    } else {
        why = store_->error();
    }
    why = "the database refuses the change: " + why;
    return false;
}

bool Publisher::publish(const Scenario &scenario, std::string &why)
{
    if (!commit(edits_of(scenario), true, why))
        return false;
    state_ = scenario;
    return true;
}

bool Publisher::change(std::span<const Edit> edits, std::string &why)
{
    if (!commit(edits, false, why))
        return false;
    for (const Edit &edit : edits)
        edit.apply(state_);
    return true;
}

} // namespace kov_lab
