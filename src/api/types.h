// The short integer names that the whole library uses.
#pragma once

#include <cstdint>

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using s32 = std::int32_t;

#if __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error                                                                                                       \
    "records and messages are defined by their little-endian bytes; this library runs on such machines only"
#endif
