// Update messages as the dispatcher hands them on: in host order, at an odd address.
#pragma once

#include "lab.h"

#include "events/cache_update.h"

#include <cstring>

// Applies a message of `mtype` that ends with its records, in a block that ends with it.
template <class... Records>
uint32_t apply_update(uint16_t mtype, const Records &...records)
{
    fake::Bytes bytes(161);
    const uint32_t count = sizeof...(records);
    std::memcpy(&bytes[2], &mtype, sizeof mtype);
    std::memcpy(&bytes[20], &count, sizeof count);
    (bytes.insert(bytes.end(), reinterpret_cast<const uint8_t *>(&records),
                  reinterpret_cast<const uint8_t *>(&records) + sizeof records),
     ...);
    const fake::OddBlock block(bytes);
    return kov_update_cache_rdb_data(reinterpret_cast<const kov_client_msg *>(block.data()));
}
