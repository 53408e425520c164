#include "announce.h"

#include "fields.h"

#include <algorithm>

namespace kov_lab
{
namespace
{

using Types = std::vector<std::uint32_t>;

const Types geninfo_types = {KOV_MTYPE_FABRIC_ID,          KOV_MTYPE_CONV_LEARNING,
                             KOV_MTYPE_SWITCH_ROLE,        KOV_MTYPE_ANYCAST_GW_MAC,
                             KOV_MTYPE_CONV_AGING_TIMEOUT, KOV_MTYPE_FERRO_MIGRATION,
                             KOV_MTYPE_FWD_ENCAP,          KOV_MTYPE_SWITCH_ROLE_CHANGE};
const Types svi_types = {KOV_MTYPE_SVI_FWD_MODE, KOV_MTYPE_SVI_FWD_MODE_CHANGE, KOV_MTYPE_SVI_MIGRATION,
                         KOV_MTYPE_FABRIC_CTRL_SEG};

bool contains(const Types &types, std::uint32_t mtype)
{
    return std::find(types.begin(), types.end(), mtype) != types.end();
}

// The types that the changed fields name, each once, in the order of the fields.
Types changed_types(std::span<const Field> fields, const void *before, const void *now)
{
    Types types;
    for (const Field &field : fields)
        if (!same_field(field, before, now) && !contains(types, field.mtype))
            types.push_back(field.mtype);
    return types;
}

// The fabric control segment is told as the SVI that became it, or stopped to be it.
Notice control_segment_notice(const kov_rdb_geninfo_t &before, const kov_rdb_geninfo_t &now, const Svis &svis)
{
    const std::uint32_t svi = now.fabric_ctrl_svi != 0 ? now.fabric_ctrl_svi : before.fabric_ctrl_svi;
    const auto found = svis.find(svi);
    const kov_rdb_sviinfo_t record = found != svis.end() ? found->second : default_svi(svi);
    return {{KOV_MTYPE_FABRIC_CTRL_SEG},
            [record](std::uint32_t mtype) { return svi_message(mtype, record); }};
}

} // namespace

std::vector<Notice> geninfo_notices(const kov_rdb_geninfo_t &before, const kov_rdb_geninfo_t &now,
                                    const Svis &svis, std::uint32_t as)
{
    const auto message = [before, now](std::uint32_t mtype) { return geninfo_message(mtype, before, now); };
    if (as != 0)
        return {{{as}, message}};
    const Types changed = changed_types(geninfo_fields(), &before, &now);
    std::vector<Notice> notices;
    for (const std::uint32_t mtype : changed)
        if (mtype == KOV_MTYPE_SWITCH_ROLE)
            notices.push_back({{KOV_MTYPE_SWITCH_ROLE, KOV_MTYPE_SWITCH_ROLE_CHANGE}, message});
        else if (mtype == KOV_MTYPE_FABRIC_CTRL_SEG)
            notices.push_back(control_segment_notice(before, now, svis));
        else if (mtype != 0)
            notices.push_back({{mtype}, message});
    // Some fields have no type of their own. Whoever keeps a copy of the record has to read it again.
    if (contains(changed, 0) || contains(changed, KOV_MTYPE_FABRIC_CTRL_SEG))
        notices.push_back({geninfo_types, message, true});
    return notices;
}

std::vector<Notice> svi_notices(const kov_rdb_sviinfo_t &before, const kov_rdb_sviinfo_t &now,
                                std::uint32_t as)
{
    const auto message = [now](std::uint32_t mtype) { return svi_message(mtype, now); };
    if (as != 0)
        return {{{as}, message}};
    const Types changed = changed_types(svi_fields(), &before, &now);
    Types types = svi_types;
    if (changed.size() == 1) {
        std::erase(types, changed.front());
        types.insert(types.begin(), changed.front());
    }
    return {{types, message}};
}

std::vector<Notice> topology_notices(const kov_rdb_l2rib_topo_info_t &topology,
                                     const std::vector<kov_rdb_sviinfo_t> &svis)
{
    std::vector<Notice> notices = {
        {{KOV_MTYPE_SUPPRESS_ARP_TOPO}, [topology](std::uint32_t) { return topology_message(topology); }}};
    for (const kov_rdb_sviinfo_t &svi : svis) {
        Notice notice{svi_types, [svi](std::uint32_t mtype) { return svi_message(mtype, svi); }};
        if (svi.svi_ifindex == topology.suppress_arp_l3_svi) {
            notice.types.push_back(KOV_MTYPE_SUPPRESS_ARP_TOPO);
            notice.unless_told = true;
        }
        notices.push_back(std::move(notice));
    }
    return notices;
}

std::vector<Notice> port_notices(std::uint32_t port, const PortBits &before, const PortBits &now,
                                 std::uint32_t as)
{
    std::vector<Notice> notices;
    const Types changed = as != 0 ? Types{as} : changed_types(port_fields(), &before, &now);
    for (const std::uint32_t mtype : changed)
        notices.push_back({{mtype}, [port](std::uint32_t type) { return port_message(type, port); }});
    return notices;
}

std::vector<Notice> prefix_notices(const Prefix &prefix)
{
    return {{{KOV_MTYPE_AGGR_SUB_PFX},
             [prefix](std::uint32_t) { return prefix_message(prefix.vrf, prefix.network); }}};
}

bool is_geninfo_type(std::uint32_t mtype) { return contains(geninfo_types, mtype); }

bool is_svi_type(std::uint32_t mtype) { return contains(svi_types, mtype); }

bool is_topology_type(std::uint32_t mtype) { return mtype == KOV_MTYPE_SUPPRESS_ARP_TOPO; }

bool is_port_type(std::uint32_t mtype)
{
    return mtype == KOV_MTYPE_PORT_TRACKING || mtype == KOV_MTYPE_PORT_L2DCI;
}

} // namespace kov_lab
