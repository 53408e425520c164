// A table with a few records' worth of verbs around it: encode, decode, walk.
#pragma once

#include "kit.h"

#include <gtest/gtest.h>

#include <utility>

namespace kit
{

constexpr uint8_t untouched = 0xEE;

// What decoding gave: the code, and the whole record, which held `untouched` before.
struct Decoded {
    int code;
    Bytes record;
};

inline Bytes encode(const Table &table, const Bytes &record)
{
    Bytes stream(fcodec_table_size(table.get(), record.data()));
    EXPECT_GT(stream.size(), 0u);
    EXPECT_EQ(fcodec_table_convert_struct_to_tlv(stream.data(), static_cast<uint32_t>(stream.size()),
                                                 table.get(), record.data(), 0, 0, 1),
              FCODEC_OK);
    return stream;
}

// The stream and the record stand at odd addresses in blocks that end with them.
inline Decoded decode(const Table &table, const Bytes &stream)
{
    OddCopy from(stream);
    OddCopy to(Bytes(table.record_size(), untouched));
    const int code = fcodec_table_convert_tlv_to_struct(from.data(), static_cast<uint32_t>(stream.size()),
                                                        to.data(), table.get(), 1);
    return {code, Bytes(to.data(), to.data() + table.record_size())};
}

// A field of a walk, with the value copied.
struct Field {
    uint32_t id;
    Bytes value;
    const fcodec_row *row;
    bool operator==(const Field &) const = default;
};

inline std::pair<int, std::vector<Field>> walk(const Table &table, const Bytes &stream, uint16_t start = 0)
{
    OddCopy from(stream);
    fcodec_field_itr itr;
    int code =
        fcodec_field_itr_init(&itr, from.data(), static_cast<uint32_t>(stream.size()), table.get(), 0, start);
    std::vector<Field> fields;
    while (code == FCODEC_OK) {
        fcodec_field field = {};
        code = fcodec_field_itr_get_next(&itr, &field);
        if (code == FCODEC_OK) {
            const auto *const value = static_cast<const uint8_t *>(field.value);
            fields.push_back({field.id, Bytes(value, value + field.len), field.row});
        }
    }
    return {code, fields};
}

inline std::vector<uint32_t> ids_of(const std::vector<Field> &fields)
{
    std::vector<uint32_t> ids;
    for (const Field &field : fields)
        ids.push_back(field.id);
    return ids;
}

// Odd offsets, bytes that no row covers (4, 11 to 13, 40 to 42), rows out of offset order, a string, and an
// id that stands twice: all that the published records have.
inline Table mixed_table()
{
    Table table(43);
    table.plain(0, 0, 4).plain(7, 14, 1).plain(1, 5, 6).string(2, 15, 17).plain(7, 14, 1).plain(603, 32, 8);
    return table;
}

} // namespace kit
