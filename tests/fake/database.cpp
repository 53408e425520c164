// The shared database: a map in key order. Records are lent to the reader until the next call.
#include "internal.h"

#include <kov/platform/rdb.h>

#include <cstring>

namespace fake
{
namespace
{

uint32_t type_of(const Key &key)
{
    uint32_t type;
    std::memcpy(&type, key.data(), sizeof type);
    return type;
}

Key key_at(const void *key61)
{
    Key key;
    std::memcpy(key.data(), key61, key.size());
    return key;
}

std::span<const uint8_t> bytes_of(const Key &key) { return key; }

} // namespace

bool KeyOrder::operator()(const Key &a, const Key &b) const
{
    if (type_of(a) != type_of(b))
        return type_of(a) < type_of(b);
    if (const int names = std::memcmp(&a[4], &b[4], 33))
        return names < 0;
    if (const int prefixes = std::memcmp(&a[41], &b[41], 20))
        return prefixes < 0;
    return std::memcmp(&a[37], &b[37], 4) < 0;
}

void Database::put(const void *key61, std::span<const uint8_t> tlv)
{
    records_[key_at(key61)] = Bytes(tlv.begin(), tlv.end());
}

bool Database::erase(const void *key61) { return records_.erase(key_at(key61)) != 0; }

unsigned Database::reads() const { return platform().calls.count(Call::osal_rdb_read); }

unsigned Database::steps() const
{
    return platform().calls.count(Call::osal_rdb_get_first) + platform().calls.count(Call::osal_rdb_get_next);
}

bool Database::open(const char *uri)
{
    if (refuse_open)
        return false;
    open_.insert(uri);
    return true;
}

bool Database::close(const char *uri)
{
    const auto at = open_.find(uri);
    if (at == open_.end())
        return false;
    open_.erase(at);
    return true;
}

// Ended loans stay mapped for one more call, so that a late reader sees 0xDD.
void Database::end_loans()
{
    ended_ = std::move(lent_);
    lent_.clear();
    for (OddBlock &block : ended_)
        block.scribble();
}

const void *Database::lend(std::span<const uint8_t> bytes) { return lent_.emplace_back(bytes).data(); }

} // namespace fake

using namespace fake;

namespace
{

// The caller's key may be one that was lent: copy it before the loans end.
std::optional<Key> start_read(Call call, const osal_rdb_desc *db, const void *key, uint32_t key_len)
{
    Database &database = platform().db;
    std::optional<Key> wanted;
    if (!enter(call) && db && database.opened(db->uri) && key && key_len == sizeof(Key))
        wanted = key_at(key);
    database.end_loans();
    return wanted;
}

int hand_out(Database::Records::const_iterator record, const void **rkey, const void **tlv, uint32_t *tlv_len)
{
    Database &database = platform().db;
    if (record == database.records().end())
        return 0;
    if (rkey)
        *rkey = database.lend(bytes_of(record->first));
    *tlv = database.lend(record->second);
    *tlv_len = static_cast<uint32_t>(record->second.size());
    return 1;
}

} // namespace

int osal_rdb_open(const char *uri, uint32_t)
{
    const bool fails = enter(Call::osal_rdb_open);
    platform().db.end_loans();
    return !fails && uri && platform().db.open(uri);
}

int osal_rdb_close(const char *uri)
{
    const bool fails = enter(Call::osal_rdb_close);
    platform().db.end_loans();
    return !fails && uri && platform().db.close(uri);
}

int osal_rdb_read(const osal_rdb_desc *db, const void *key, uint32_t key_len, const void **tlv,
                  uint32_t *tlv_len)
{
    const auto wanted = start_read(Call::osal_rdb_read, db, key, key_len);
    return wanted ? hand_out(platform().db.records().find(*wanted), nullptr, tlv, tlv_len) : 0;
}

int osal_rdb_get_first(const osal_rdb_desc *db, const void *key, uint32_t key_len, const void **rkey,
                       const void **tlv, uint32_t *tlv_len)
{
    const auto from = start_read(Call::osal_rdb_get_first, db, key, key_len);
    return from ? hand_out(platform().db.records().lower_bound(*from), rkey, tlv, tlv_len) : 0;
}

int osal_rdb_get_next(const osal_rdb_desc *db, const void *key, uint32_t key_len, const void **rkey,
                      const void **tlv, uint32_t *tlv_len)
{
    const auto after = start_read(Call::osal_rdb_get_next, db, key, key_len);
    return after ? hand_out(platform().db.records().upper_bound(*after), rkey, tlv, tlv_len) : 0;
}
