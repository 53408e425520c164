// Records into streams. docs/codec.md has the stream byte by byte.
//
// What a row's copy routine gives may be memory of its own and may fail, so all of it is collected before the
// first byte is written, and given back when encoding is over.
#include "fcodec_table.h"

#include <array>
#include <cstdlib>

namespace
{

using namespace kov_codec;

uint64_t stream_size(const fcodec_table *t, const uint8_t *record);

uint64_t value_size(const fcodec_table *t, const fcodec_row &row, const uint8_t *record)
{
    if (row.kind == FCODEC_KIND_PLAIN)
        return row.width;
    if (row.kind == FCODEC_KIND_NESTED)
        return stream_size(nested_table(t, row), record + row.offset);
    return has_routines(row) ? row.data_size(record) : row.width;
}

uint64_t stream_size(const fcodec_table *t, const uint8_t *record)
{
    uint64_t size = stream_header_size;
    for (const fcodec_row *row = first_row(t); !is_end(*row); ++row)
        size += field_header_size + value_size(t, *row, record);
    return size;
}

// What the copy routines of a record and of those nested in it gave, in the order of the stream.
class Values
{
public:
    Values() = default;
    ~Values()
    {
        for (uint32_t i = 0; i < count_; ++i)
            if (values_[i].owned != 0)
                std::free(values_[i].bytes);
    }
    Values(const Values &) = delete;
    Values &operator=(const Values &) = delete;

    int collect(const fcodec_table *t, const uint8_t *record)
    {
        int code = FCODEC_OK;
        for (const fcodec_row *row = first_row(t); code == FCODEC_OK && !is_end(*row); ++row)
            if (row->kind == FCODEC_KIND_NESTED)
                code = collect(nested_table(t, *row), record + row->offset);
            else if (has_routines(*row))
                code = take(t, *row, record);
        return code;
    }

    // Writes the next of them and returns where it ends.
    uint8_t *write(uint8_t *to, uint32_t id)
    {
        const Value &value = values_[written_++];
        const FieldHeader header = {id, value.len};
        std::memcpy(to, &header, sizeof header);
        if (value.len != 0)
            std::memcpy(to + sizeof header, value.bytes, value.len);
        return to + sizeof header + value.len;
    }

private:
    struct Value {
        void *bytes;
        uint32_t len;
        uint32_t owned;
    };

    int take(const fcodec_table *t, const fcodec_row &row, const uint8_t *record)
    {
        if (count_ == values_.size())
            return FCODEC_ARGUMENT;
        Value &value = values_[count_++];
        value = {};
        if (const int code = row.copy(record, 0, &value.bytes, &value.len, &value.owned); code != FCODEC_OK)
            return code;
        const uint32_t size = row.data_size(record);
        const bool is_as_said = value.len == size && (size == row.width || is_tail(rule_of(t, row.id)));
        return is_as_said ? int{FCODEC_OK} : int{FCODEC_ARGUMENT};
    }

    std::array<Value, 32> values_; // the first `count_` of them
    uint32_t count_ = 0;
    uint32_t written_ = 0;
};

// Each of these writes one thing and returns where it ends.
uint8_t *write_plain(uint8_t *to, const fcodec_row &row, const uint8_t *record)
{
    const FieldHeader header = {row.id, row.width};
    std::memcpy(to, &header, sizeof header);
    copy_value(to + sizeof header, record + row.offset, row.width);
    return to + sizeof header + row.width;
}

uint8_t *write_stream(uint8_t *to, const fcodec_table *t, const uint8_t *record, Values &values);

uint8_t *write_nested(uint8_t *to, const fcodec_table *t, const fcodec_row &row, const uint8_t *record,
                      Values &values)
{
    uint8_t *const value = to + field_header_size;
    uint8_t *const end = write_stream(value, nested_table(t, row), record + row.offset, values);
    const FieldHeader header = {row.id, static_cast<uint32_t>(end - value)};
    std::memcpy(to, &header, sizeof header);
    return end;
}

uint8_t *write_stream(uint8_t *to, const fcodec_table *t, const uint8_t *record, Values &values)
{
    uint8_t *at = to + stream_header_size;
    uint32_t fields = 0;
    for (const fcodec_row *row = first_row(t); !is_end(*row); ++row, ++fields)
        if (row->kind == FCODEC_KIND_NESTED)
            at = write_nested(at, t, *row, record, values);
        else
            at = has_routines(*row) ? values.write(at, row->id) : write_plain(at, *row, record);
    const StreamHeader header = {magic, static_cast<uint32_t>(at - to), t->size, fields};
    std::memcpy(to, &header, sizeof header);
    return at;
}

} // namespace

extern "C" {

int fcodec_table_convert_struct_to_tlv(void *buf, uint32_t len, const fcodec_table *t, const void *rec,
                                       uint32_t, uint32_t, uint32_t)
{
    if (buf == nullptr || rec == nullptr || t == nullptr)
        return FCODEC_ARGUMENT;
    const Shape shape = shape_of(t);
    if (!shape.usable)
        return FCODEC_ARGUMENT;
    const auto *const record = static_cast<const uint8_t *>(rec);
    const uint64_t size = stream_size(t, record);
    if (size > max_stream_size || size > len)
        return FCODEC_TOO_SMALL;
    Values values;
    if (!shape.plain)
        if (const int code = values.collect(t, record); code != FCODEC_OK)
            return code;
    write_stream(static_cast<uint8_t *>(buf), t, record, values);
    return FCODEC_OK;
}

uint32_t fcodec_table_size(const fcodec_table *t, const void *rec)
{
    if (t == nullptr || rec == nullptr || !shape_of(t).usable)
        return 0;
    const uint64_t size = stream_size(t, static_cast<const uint8_t *>(rec));
    return size > max_stream_size ? 0 : static_cast<uint32_t>(size);
}

void *fcodec_malloc(uint32_t size) { return std::malloc(size); }

} // extern "C"
