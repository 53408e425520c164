#include "profiles.h"

#include "profile_messages.h"
#include "store.h"
#include "values.h"

#include <kov/kov_codec.h>
#include <kov/platform/rdb.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace kov_lab
{
namespace
{

using Record = kov_vault_auto_config_host_val_t;

kov_rdb_key key_of(std::uint32_t number)
{
    kov_rdb_key key{};
    key.of.number = number;
    return key;
}

// The client's name in the first field, and the host's key.
Record record_of(const std::string &client, const kov_uhost_key_t &key)
{
    Record record{};
    kov_vault_auto_config_host_default_init(&record);
    client.copy(reinterpret_cast<char *>(record.f0), sizeof record.f0 - 1);
    record.key = key;
    return record;
}

// Then the record fits into the structure. The size is believed, the length in the stream is not.
bool has_no_tail(const void *tlv, std::uint32_t size)
{
    std::uint32_t need = 0;
    return fcodec_table_get_struct_size_from_tlv(&need, tlv, size, &kov_vault_auto_config_host_tbl.head) ==
               FCODEC_OK &&
           need == sizeof(Record);
}

// A database of this process, open for reading as long as the object lives.
class Reading
{
public:
    explicit Reading(const std::string &path)
    {
        std::snprintf(database_.uri, sizeof database_.uri, "kov-host:%s", path.c_str());
        open_ = osal_rdb_open(database_.uri, 0) != 0;
    }
    ~Reading()
    {
        if (open_)
            osal_rdb_close(database_.uri);
    }
    Reading(const Reading &) = delete;
    Reading &operator=(const Reading &) = delete;

    explicit operator bool() const { return open_; }
    const osal_rdb_desc *database() const { return &database_; }

private:
    osal_rdb_desc database_{};
    bool open_ = false;
};

} // namespace

std::unique_ptr<Profiles> Profiles::open(const std::string &dir, bool replace, std::string &why)
{
    const std::string path = dir + "/kov_profile_info";
    auto store = open_store(path, replace, "forgotten which hosts have profiles", why);
    if (!store)
        return nullptr;
    auto profiles = std::unique_ptr<Profiles>(new Profiles(std::move(store)));
    return profiles->load(path, why) ? std::move(profiles) : nullptr;
}

bool Profiles::load(const std::string &path, std::string &why)
{
    const Reading reading(path);
    why = "cannot read " + path;
    if (!reading)
        return false;
    kov_rdb_key key{};
    const void *next = nullptr;
    const void *tlv = nullptr;
    std::uint32_t size = 0;
    auto *step = osal_rdb_get_first;
    while (step(reading.database(), &key, sizeof key, &next, &tlv, &size) != 0) {
        std::memcpy(&key, next, sizeof key);
        const std::uint32_t number = key.of.number;
        why = path + ": record " + std::to_string(number) + " is no host's";
        if (!take(number, tlv, size))
            return false;
        step = osal_rdb_get_next;
    }
    return true;
}

// A record without a tail, as this server writes them.
bool Profiles::take(std::uint32_t number, const void *tlv, std::uint32_t size)
{
    Record record{};
    if (size != kov_ha_auto_config_host_get_tlv_sz(&record) || !has_no_tail(tlv, size) ||
        kov_ha_auto_config_host_to_struct(tlv, size, &record) != 0)
        return false;
    all_[{bounded_text(record.f0, sizeof record.f0), host_of(record.key)}] = {number, record.key};
    last_number_ = std::max(last_number_, number);
    return true;
}

bool Profiles::keep(const std::string &client, const kov_uhost_key_t &key, std::string &why)
{
    const HostId id{client, host_of(key)};
    const auto known = all_.find(id);
    const std::uint32_t number = known != all_.end() ? known->second.number : last_number_ + 1;
    const Bytes tlv =
        encode(record_of(client, key), kov_ha_auto_config_host_get_tlv_sz, kov_ha_auto_config_host_to_tlv);
    if (!store_->begin() || !store_->put(bytes_of(key_of(number)), tlv) || !store_->commit()) {
        why = store_->error();
        store_->rollback();
        return false;
    }
    last_number_ = std::max(last_number_, number);
    all_[id] = {number, key};
    return true;
}

bool Profiles::forget(const HostId &id, std::string &why)
{
    const auto known = all_.find(id);
    if (known == all_.end())
        return true;
    if (!store_->begin() || !store_->erase(bytes_of(key_of(known->second.number))) || !store_->commit()) {
        why = store_->error();
        store_->rollback();
        return false;
    }
    all_.erase(known);
    return true;
}

const kov_uhost_key_t *Profiles::find(const HostId &id) const
{
    const auto known = all_.find(id);
    return known == all_.end() ? nullptr : &known->second.key;
}

} // namespace kov_lab
