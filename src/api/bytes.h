// Bytes: unaligned access, byte order, and zeros. Records and messages are packed, so a 4-byte integer may
// stand at any address; every such access goes through here, and through memcpy.
#pragma once

#include "api/types.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace kov
{

template <class T>
T load(const void *at)
{
    static_assert(std::is_trivially_copyable_v<T>);
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

template <class T>
void store(void *at, T value)
{
    static_assert(std::is_trivially_copyable_v<T>);
    std::memcpy(at, &value, sizeof value);
}

inline u16 swap_bytes(u16 value) { return __builtin_bswap16(value); }
inline u32 swap_bytes(u32 value) { return __builtin_bswap32(value); }

// Swaps the integer at `at` between host and network order, in place.
template <class T>
void swap_at(void *at)
{
    store(at, swap_bytes(load<T>(at)));
}

template <std::size_t N>
void clear(u8 (&bytes)[N])
{
    std::memset(bytes, 0, N);
}

template <std::size_t N>
bool is_all_zero(const u8 (&bytes)[N])
{
    for (const u8 byte : bytes)
        if (byte != 0)
            return false;
    return true;
}

// The network-order form of a host-order number, and back.
inline u32 to_network(u32 host) { return swap_bytes(host); }
inline u32 to_host(u32 network) { return swap_bytes(network); }

} // namespace kov
