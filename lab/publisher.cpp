#include "publisher.h"

#include <kov/kov_codec.h>

#include <vector>

namespace kov_lab
{
namespace
{

kov_rdb_key key_of(kov_rdb_type type, std::uint32_t number = 0)
{
    kov_rdb_key key{};
    key.type = type;
    key.of.number = number;
    return key;
}

kov_host::RdbKey bytes_of(const kov_rdb_key &key)
{
    static_assert(sizeof key == kov_host::rdb_key_size);
    return kov_host::RdbKey{reinterpret_cast<const std::uint8_t *>(&key), sizeof key};
}

// The record in its stored form; empty when it cannot be encoded.
template <typename Record>
std::vector<std::uint8_t> encode(const Record &record, std::uint32_t (*size_of)(const Record *),
                                 std::uint32_t (*to_tlv)(const Record *, void *, std::uint32_t,
                                                         std::uint32_t))
{
    std::vector<std::uint8_t> tlv(size_of(&record));
    if (tlv.empty() || to_tlv(&record, tlv.data(), static_cast<std::uint32_t>(tlv.size()), 0) != 1)
        return {};
    return tlv;
}

} // namespace

std::unique_ptr<Publisher> Publisher::open(const std::string &dir, bool replace, std::string &why)
{
    const std::string path = dir + "/kov_rdb_info";
    const kov_host::RdbState state = kov_host::rdb_inspect(path, why);
    if (state == kov_host::RdbState::damaged && !replace) {
        why = "the database is damaged: " + why + "; start with --replace to have it published anew";
        return nullptr;
    }
    if (state == kov_host::RdbState::damaged && !kov_host::rdb_remove(path, why))
        return nullptr;
    auto store = kov_host::RdbStore::open(path, why);
    return store ? std::unique_ptr<Publisher>(new Publisher(std::move(store))) : nullptr;
}

// Runs the change within a transaction.
template <typename Change>
bool Publisher::commit(Change change, std::string &why)
{
    if (store_->begin()) {
        if (change() && store_->commit())
            return true;
        why = store_->error();
        store_->rollback();
    } else {
        why = store_->error();
    }
    why = "the database refuses the change: " + why;
    return false;
}

bool Publisher::store(const kov_rdb_geninfo_t &record)
{
    const kov_rdb_key key = key_of(KOV_RDB_GENINFO);
    return store_->put(bytes_of(key), encode(record, kov_ha_geninfo_get_tlv_sz, kov_ha_geninfo_to_tlv));
}

bool Publisher::store(const kov_rdb_sviinfo_t &record)
{
    const kov_rdb_key key = key_of(KOV_RDB_SVIINFO, record.svi_ifindex);
    return store_->put(bytes_of(key), encode(record, kov_ha_sviinfo_get_tlv_sz, kov_ha_sviinfo_to_tlv));
}

bool Publisher::publish(const Scenario &scenario, std::string &why)
{
    const auto change = [&] {
        bool good = store_->clear();
        if (scenario.general)
            good = good && store(*scenario.general);
        for (const auto &[ifindex, record] : scenario.svis)
            good = good && store(record);
        return good;
    };
    if (!commit(change, why))
        return false;
    general_ = scenario.general;
    svis_ = scenario.svis;
    return true;
}

bool Publisher::put(const kov_rdb_geninfo_t &record, std::string &why)
{
    if (!commit([&] { return store(record); }, why))
        return false;
    general_ = record;
    return true;
}

bool Publisher::put(const kov_rdb_sviinfo_t &record, std::string &why)
{
    if (!commit([&] { return store(record); }, why))
        return false;
    svis_[record.svi_ifindex] = record;
    return true;
}

bool Publisher::erase_general(std::string &why)
{
    const kov_rdb_key key = key_of(KOV_RDB_GENINFO);
    if (!commit([&] { return store_->erase(bytes_of(key)); }, why))
        return false;
    general_.reset();
    return true;
}

bool Publisher::erase_svi(std::uint32_t ifindex, std::string &why)
{
    const kov_rdb_key key = key_of(KOV_RDB_SVIINFO, ifindex);
    if (!commit([&] { return store_->erase(bytes_of(key)); }, why))
        return false;
    svis_.erase(ifindex);
    return true;
}

} // namespace kov_lab
