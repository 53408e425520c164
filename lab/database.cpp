#include "database.h"

#include "reply.h"

#include <kov/kov_codec.h>
#include <kov/platform/rdb.h>
#include <kov/platform/svcmgr.h>
#include <kov_host.h>

#include <algorithm>
#include <cstring>

namespace kov_lab
{
namespace
{

struct Stored {
    kov_rdb_key key;
    const void *tlv;
    std::uint32_t size;
};

// The record in its decoded form; false, with the codec's code, when there is none in the bytes.
template <typename Record>
bool decode(const Stored &stored, int (*to_struct)(const void *, std::uint32_t, Record *), Record &out,
            std::string &why)
{
    out = {};
    const int code = to_struct(stored.tlv, stored.size, &out);
    why = "its bytes are no record (code " + std::to_string(code) + ")";
    return code == 0;
}

// Types 2 and 6 hold their key in the record as well, and the library's fill believes the record.
bool agree(std::uint32_t key, std::uint32_t record, std::string &why)
{
    why = "its record is that of another key";
    return key == record;
}

// The other way round of record_of().
Network network_of(std::uint8_t family, const std::uint8_t (&prefix)[20])
{
    Network network;
    network.family = family;
    network.length = prefix[family == 0 ? 4 : 16];
    if (family == 0)
        std::reverse_copy(prefix, prefix + 4, network.address.begin()); // from host order
    else
        std::copy_n(prefix, network.address.size(), network.address.begin());
    return network;
}

class Reader
{
public:
    explicit Reader(Database &out) : out_(out) {}

    void take(const Stored &stored)
    {
        switch (stored.key.type) {
        case KOV_RDB_GENINFO:
            return take_general(stored);
        case KOV_RDB_SVIINFO:
            return take_svi(stored);
        case KOV_RDB_PORT_TRACKING:
            return take_slot(stored, kov_ha_port_tracking_to_struct, out_.records.tracking);
        case KOV_RDB_AGGR_SUB_PFX:
            return take_prefix(stored);
        case KOV_RDB_PORT_L2DCI:
            return take_slot(stored, kov_ha_port_l2dci_to_struct, out_.records.l2dci);
        case KOV_RDB_L2RIB_TOPO_INFO:
            return take_topology(stored);
        default:
            break; // no record of this service
        }
    }

private:
    void bad(const Stored &stored, const std::string &key, const std::string &why)
    {
        out_.bad.push_back({static_cast<kov_rdb_type>(stored.key.type), key, why});
    }

    void take_general(const Stored &stored)
    {
        std::string why;
        kov_rdb_geninfo_t record;
        if (decode(stored, kov_ha_geninfo_to_struct, record, why))
            out_.records.general = record;
        else
            bad(stored, "the record", why);
    }

    void take_svi(const Stored &stored)
    {
        std::string why;
        kov_rdb_sviinfo_t record;
        const std::uint32_t svi = stored.key.of.number;
        if (decode(stored, kov_ha_sviinfo_to_struct, record, why) && agree(svi, record.svi_ifindex, why))
            out_.records.svis[svi] = record;
        else
            bad(stored, name_of_interface(svi), why);
    }

    template <typename Record>
    void take_slot(const Stored &stored, int (*to_struct)(const void *, std::uint32_t, Record *),
                   Slots &slots)
    {
        std::string why;
        Record record;
        if (decode(stored, to_struct, record, why))
            std::memcpy(&slots[stored.key.of.slot], &record, sizeof record);
        else
            bad(stored, "slot " + std::to_string(stored.key.of.slot), why);
    }

    void take_prefix(const Stored &stored)
    {
        std::string why;
        kov_rdb_aggr_sub_pfx_t record;
        const std::uint8_t family = stored.key.family;
        const std::string vrf = bounded_text(stored.key.of.vrf_name, sizeof stored.key.of.vrf_name);
        const Prefix prefix{vrf, network_of(family, stored.key.prefix)};
        if (family > 1)
            bad(stored, "a prefix in VRF " + vrf, "its family is " + std::to_string(family));
        else if (prefix.network.length > (family == 0 ? 32 : 128))
            bad(stored, text_of(prefix), "its length is too long");
        else if (!decode(stored, kov_ha_aggr_sub_pfx_to_struct, record, why))
            bad(stored, text_of(prefix), why);
        else if (network_of(family, record.prefix) != prefix.network)
            bad(stored, text_of(prefix), "its record is that of another key");
        else
            out_.records.prefixes.insert(prefix);
    }

    void take_topology(const Stored &stored)
    {
        std::string why;
        kov_rdb_l2rib_topo_info_t record;
        const std::uint32_t bd = stored.key.of.number;
        if (decode(stored, kov_ha_l2rib_topo_info_to_struct, record, why) && agree(bd, record.bd, why))
            out_.records.topologies[bd] = record;
        else
            bad(stored, "bridge domain " + std::to_string(bd), why);
    }

    Database &out_;
};

osal_rdb_desc database_of_this_host()
{
    osal_rdb_desc db{};
    const char *uri = svcmgr_uri_complete(svcmgr_running_cfg_uri_get(), 0, "kov_rdb_info");
    if (uri != nullptr)
        std::string_view(uri).copy(db.uri, sizeof db.uri - 1);
    return db;
}

} // namespace

bool Database::is_bad(kov_rdb_type type, const std::string &key) const
{
    return std::any_of(bad.begin(), bad.end(),
                       [&](const BadRecord &record) { return record.type == type && record.key == key; });
}

Database read_database()
{
    Database out;
    Reader reader(out);
    const osal_rdb_desc db = database_of_this_host();
    Stored stored{};
    const void *key = nullptr;
    auto step = osal_rdb_get_first;
    while (step(&db, &stored.key, sizeof stored.key, &key, &stored.tlv, &stored.size) != 0) {
        std::memcpy(&stored.key, key, sizeof stored.key);
        reader.take(stored);
        step = osal_rdb_get_next;
    }
    return out;
}

std::uint64_t database_reads()
{
    kov_host_counters counters;
    kov_host_counters_get(&counters);
    return counters.rdb_reads + counters.rdb_steps;
}

Json source_json(std::uint64_t before)
{
    const std::uint64_t reads = database_reads() - before;
    return {{"answered_from", reads == 0 ? "cache" : "database"}, {"database_reads", reads}};
}

std::string source_since(std::uint64_t before)
{
    const std::uint64_t reads = database_reads() - before;
    if (reads == 0)
        return "from cache";
    return "from database (" + std::to_string(reads) + (reads == 1 ? " read)" : " reads)");
}

} // namespace kov_lab
