// Records on their way into a database file of the server: how they are encoded, keyed and stored.
#pragma once

#include "messages.h"

#include <kov/kov_records.h>
#include <rdb_store.h>

#include <memory>
#include <string>

namespace kov_lab
{

// Opens a database file, and makes it when it is absent. A damaged file is an error unless `replace`, which
// removes it first; `remedy` is what the error says that starting so does. Null: `why` says why.
std::unique_ptr<kov_host::RdbStore> open_store(const std::string &path, bool replace, const char *remedy,
                                               std::string &why);

inline kov_host::RdbKey bytes_of(const kov_rdb_key &key)
{
    static_assert(sizeof key == kov_host::rdb_key_size);
    return kov_host::RdbKey{reinterpret_cast<const std::uint8_t *>(&key), sizeof key};
}

// The record in its stored form; empty, which the database refuses, when it cannot be encoded.
template <typename Record>
Bytes encode(const Record &record, std::uint32_t (*size_of)(const Record *),
             std::uint32_t (*to_tlv)(const Record *, void *, std::uint32_t, std::uint32_t))
{
    Bytes tlv(size_of(&record));
    if (tlv.empty() || to_tlv(&record, tlv.data(), static_cast<std::uint32_t>(tlv.size()), 0) != 1)
        return {};
    return tlv;
}

} // namespace kov_lab
