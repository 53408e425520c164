// What reading and writing streams share: the words of a stream, and what a schema table says about its rows.
//
// A row alone tells how a plain field is carried. What it does not tell (the table of a nested record, the
// routine that takes a variable field back) stands in the list of rules, which whoever brings the tables
// exports. The reference to it is weak: a process without such tables has no list, and its codec knows plain
// fields and strings only.
#pragma once

#include <kov/platform/fcodec.h>

#include <bit>
#include <cstring>

namespace kov_codec
{

static_assert(std::endian::native == std::endian::little, "stream words are little-endian");

constexpr uint32_t magic = 0x564C544B; // "KTLV"
constexpr uint32_t max_stream_size = 16u << 20;
constexpr uint32_t max_rows = 1024; // a table that goes on behind them has no end row
constexpr uint32_t max_depth = 4;   // of records in records, the outermost included
constexpr uint32_t end_id = 0xFFFFFFFF;

struct StreamHeader {
    uint32_t magic;
    uint32_t total;
    uint32_t record_size;
    uint32_t fields;
};
constexpr uint32_t stream_header_size = 16;
static_assert(sizeof(StreamHeader) == stream_header_size);

struct FieldHeader {
    uint32_t id;
    uint32_t len;
};
constexpr uint32_t field_header_size = 8;
static_assert(sizeof(FieldHeader) == field_header_size);

inline const fcodec_row *first_row(const fcodec_table *t)
{
    return reinterpret_cast<const fcodec_row *>(t + 1);
}
inline bool is_end(const fcodec_row &row) { return row.id == end_id; }

// Most fields are words, and a copy of known size is no call.
inline void copy_value(uint8_t *to, const uint8_t *from, uint32_t size)
{
    if (size == sizeof(uint32_t))
        std::memcpy(to, from, sizeof(uint32_t));
    else
        std::memcpy(to, from, size);
}

// Whether a field's value comes from its copy routine.
inline bool has_routines(const fcodec_row &row)
{
    return row.kind == FCODEC_KIND_STRING && row.copy != nullptr;
}

// The rule of a field; null when it has none.
const fcodec_rule *rule_of(const fcodec_table *t, uint32_t field_id);

inline const fcodec_table *nested_table(const fcodec_table *t, const fcodec_row &row)
{
    return rule_of(t, row.id)->nested;
}

// A field whose data lies behind the record. Its length stands in another field of the record.
inline bool is_tail(const fcodec_rule *rule)
{
    return rule != nullptr && rule->tail_length_id != FCODEC_NO_TAIL;
}

inline bool fits(const fcodec_row &row, uint32_t record_size)
{
    return row.offset <= record_size && row.width <= record_size - row.offset;
}

// Whether a table can be used, whether it has plain rows only, and the rule of its tail if it has one.
struct Shape {
    bool usable = false;
    bool plain = true;
    const fcodec_rule *tail = nullptr;
};
Shape special_shape_of(const fcodec_table *t, uint32_t depth);

// Most tables have plain rows only, and are looked at in line.
inline Shape shape_of(const fcodec_table *t, uint32_t depth = 1)
{
    const fcodec_row *row = first_row(t);
    for (uint32_t i = 0; i <= max_rows; ++i, ++row) {
        if (is_end(*row))
            return {true, true, nullptr};
        if (row->kind != FCODEC_KIND_PLAIN)
            return special_shape_of(t, depth);
        if (!fits(*row, t->size))
            break;
    }
    return {};
}

} // namespace kov_codec
