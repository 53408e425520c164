// What an initialiser writes into a fresh record, byte for byte, and that it writes nothing else.
#pragma once

#include "samples.h"

#include <vector>

// Bytes that an initialiser writes.
struct Written {
    std::size_t offset;
    fake::Bytes bytes;
};

inline fake::Bytes zeros(std::size_t count) { return fake::Bytes(count); }

class Defaults : public Lab
{
protected:
    // The record stands at an odd address in a buffer filled with a pattern; nothing but `written` changes.
    template <class Record>
    static void expect_written(uint32_t (*init)(Record *), const std::vector<Written> &written)
    {
        constexpr std::size_t margin = 17;
        for (const uint8_t pattern : fake::Bytes{0x00, 0x5A, 0xFF}) {
            fake::Bytes buffer(margin + sizeof(Record) + margin, pattern), expected = buffer;
            for (const Written &w : written)
                std::memcpy(&expected[margin + w.offset], w.bytes.data(), w.bytes.size());
            EXPECT_EQ(init(reinterpret_cast<Record *>(&buffer[margin])), 0u);
            EXPECT_EQ(buffer, expected) << "pattern " << unsigned{pattern};
        }
        EXPECT_EQ(init(nullptr), 0u);
    }
};
