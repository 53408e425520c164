// How a schema table is written: one row a field, with offset and width taken from the structure by the
// compiler, and the proof that the rows and the named local ranges together are the record, every byte
// exactly once.
#pragma once

#include "api/types.h"

#include <kov/platform/fcodec.h>

#include <cstddef>
#include <initializer_list>

namespace kov
{

constexpr u32 all_ones = 0xFFFFFFFF;

constexpr fcodec_table table_head(u32 record_size, const char *type_name)
{
    return {record_size, type_name, {0, 0}};
}

// A field of plain bytes.
constexpr fcodec_row plain_row(u32 id, std::size_t width, std::size_t offset)
{
    fcodec_row row = {};
    row.id = id;
    row.width = static_cast<u32>(width);
    row.offset = static_cast<u32>(offset);
    row.kind = FCODEC_KIND_PLAIN;
    row.max_width = row.width;
    row.ones = all_ones;
    return row;
}

// A whole record that has a table of its own; which one, the list of rules says.
constexpr fcodec_row nested_row(u32 id, std::size_t width, std::size_t offset)
{
    fcodec_row row = plain_row(id, width, offset);
    row.kind = FCODEC_KIND_NESTED;
    return row;
}

// A string, or data that has routines of its own.
constexpr fcodec_row string_row(u32 id, std::size_t width, std::size_t offset, fcodec_copy copy,
                                fcodec_data_size data_size)
{
    fcodec_row row = plain_row(id, width, offset);
    row.kind = FCODEC_KIND_STRING;
    row.copy = copy;
    row.data_size = data_size;
    return row;
}

// The copy routine of a string: lends the whole field as it stands in the record, whatever is in it.
template <std::size_t Width, std::size_t Offset>
int lend(const void *rec, u32, void **bytes, u32 *len, u32 *owned)
{
    if (!rec || !bytes || !len || !owned)
        return FCODEC_ARGUMENT;
    // The codec does not write to what it does not own.
    *bytes = const_cast<u8 *>(static_cast<const u8 *>(rec) + Offset);
    *len = Width;
    *owned = 0;
    return FCODEC_OK;
}

constexpr fcodec_row end_row()
{
    fcodec_row row = {};
    row.id = row.width = row.offset = all_ones;
    row.word_8 = row.max_width = row.ones = all_ones;
    return row;
}

// Bytes of a record that belong to the process and never travel.
struct local_range {
    std::size_t offset;
    std::size_t width;
};

// Whether rows and local ranges cover the record, every byte exactly once. A row that stands twice in a table
// counts once.
template <class Schema>
consteval bool covers_exactly(const Schema &schema, std::initializer_list<local_range> locals = {})
{
    constexpr std::size_t largest_record = 6000;
    unsigned char times[largest_record] = {};
    const auto mark = [&times](std::size_t offset, std::size_t width) {
        for (std::size_t i = 0; i < width; ++i)
            ++times[offset + i];
    };
    const auto stands_before = [&schema](const fcodec_row &row) {
        for (const fcodec_row *before = schema.rows; before != &row; ++before)
            if (before->id == row.id && before->offset == row.offset && before->width == row.width)
                return true;
        return false;
    };
    for (const fcodec_row &row : schema.rows)
        if (!stands_before(row))
            mark(row.offset, row.width);
    for (const local_range &range : locals)
        mark(range.offset, range.width);
    for (std::size_t i = 0; i < schema.head.size; ++i)
        if (times[i] != 1)
            return false;
    return times[schema.head.size] == 0;
}

} // namespace kov

#define KOV_ROW(ID, RECORD, FIELD) kov::plain_row(ID, sizeof(RECORD::FIELD), offsetof(RECORD, FIELD))
#define KOV_NESTED_ROW(ID, RECORD, FIELD) kov::nested_row(ID, sizeof(RECORD::FIELD), offsetof(RECORD, FIELD))
#define KOV_STRING_ROW(ID, RECORD, FIELD)                                                                    \
    kov::string_row(ID, sizeof(RECORD::FIELD), offsetof(RECORD, FIELD),                                      \
                    kov::lend<sizeof(RECORD::FIELD), offsetof(RECORD, FIELD)>, FIELD##_get_data_sz)
#define KOV_LOCAL(RECORD, FIELD)                                                                             \
    kov::local_range { offsetof(RECORD, FIELD), sizeof(RECORD::FIELD) }
