// The key of a record and its stored form.
//
// The database compares stored keys byte by byte. The stored form is the 61 bytes put in the order in which
// they count: the type, most significant byte first; bytes 4 to 36 (a number or a VRF name); bytes 41 to 60
// (a prefix); bytes 37 to 40 (family and reserved).
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace kov_host
{

constexpr std::size_t rdb_key_bytes = 61;
using RdbKeyBytes = std::array<std::uint8_t, rdb_key_bytes>;

inline void rdb_store_key(const std::uint8_t *key, std::uint8_t *stored)
{
    for (std::size_t i = 0; i < 4; ++i)
        stored[i] = key[3 - i];
    std::copy_n(key + 4, 33, stored + 4);
    std::copy_n(key + 41, 20, stored + 37);
    std::copy_n(key + 37, 4, stored + 57);
}

inline void rdb_restore_key(const std::uint8_t *stored, std::uint8_t *key)
{
    for (std::size_t i = 0; i < 4; ++i)
        key[3 - i] = stored[i];
    std::copy_n(stored + 4, 33, key + 4);
    std::copy_n(stored + 37, 20, key + 41);
    std::copy_n(stored + 57, 4, key + 37);
}

} // namespace kov_host
