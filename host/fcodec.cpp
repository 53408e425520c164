// The record codec: plain fields, and strings at their full width. docs/codec.md has the stream byte by byte.
//
// What it cannot do yet: nested records and fields of variable size. A table with such a row is refused,
// because a row names neither the nested table nor the third routine of a variable field. Options and flags
// it has none.
//
// Reading has one routine, `step`, which goes from field to field and trusts nothing: the check before a
// decode, the decode, the walk and the single field all are loops over it, and so cannot disagree. Whoever
// writes to a caller's memory has run `open_checked` first, which steps through the whole stream.
//
// Rows are searched from behind the row of the field before. Streams are in table order, so the search
// normally ends at once, and a row that stands twice in a table gets its two fields in turn.
//
// Nothing here depends on the operating system or the ABI, allocates for itself or keeps state; the fake
// platform of the unit tests uses it as it is.
#include <kov/platform/fcodec.h>

#include <bit>
#include <cstdlib>
#include <cstring>

namespace
{

static_assert(std::endian::native == std::endian::little, "stream words are little-endian");

constexpr uint32_t magic = 0x564C544B; // "KTLV"
constexpr uint32_t max_stream_size = 16u << 20;
constexpr uint32_t max_rows = 1024; // a table that goes on behind them has no end row
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

template <class Header>
Header load(const uint8_t *from)
{
    Header header;
    std::memcpy(&header, from, sizeof header);
    return header;
}

template <class Header>
uint8_t *store(uint8_t *to, const Header &header)
{
    std::memcpy(to, &header, sizeof header);
    return to + sizeof header;
}

const fcodec_row *first_row(const fcodec_table *t) { return reinterpret_cast<const fcodec_row *>(t + 1); }

// Most fields are words, and a copy of known size is no call.
void copy_value(uint8_t *to, const uint8_t *from, uint32_t size)
{
    if (size == sizeof(uint32_t))
        std::memcpy(to, from, sizeof(uint32_t));
    else
        std::memcpy(to, from, size);
}

bool is_end(const fcodec_row &row) { return row.id == end_id; }

bool has_fixed_width(const fcodec_row &row)
{
    return row.kind == FCODEC_KIND_PLAIN || (row.kind == FCODEC_KIND_STRING && row.copy == nullptr);
}

bool fits(const fcodec_row &row, uint32_t record_size)
{
    return row.offset <= record_size && row.width <= record_size - row.offset;
}

bool usable(const fcodec_table *t)
{
    const fcodec_row *row = first_row(t);
    for (uint32_t i = 0; i <= max_rows; ++i, ++row) {
        if (is_end(*row))
            return true;
        if (!has_fixed_width(*row) || !fits(*row, t->size))
            return false;
    }
    return false;
}

const fcodec_row *find_row(const fcodec_table *t, const fcodec_row *from, uint32_t id)
{
    for (const fcodec_row *row = from; !is_end(*row); ++row)
        if (row->id == id)
            return row;
    for (const fcodec_row *row = first_row(t); row != from; ++row)
        if (row->id == id)
            return row;
    return nullptr;
}

// The next field that has a row. Inlined, its state lives in registers, which halves the time of a decode.
[[gnu::always_inline]] inline int step(fcodec_field_itr &at, fcodec_field &out)
{
    while (at.left > 0) {
        const uint32_t readable = at.stream_len - at.at;
        if (readable < field_header_size)
            return FCODEC_MALFORMED;
        const auto field = load<FieldHeader>(at.stream + at.at);
        if (field.len > readable - field_header_size)
            return FCODEC_MALFORMED;
        const uint8_t *const value = at.stream + at.at + field_header_size;
        at.at += field_header_size + field.len;
        --at.left;
        const fcodec_row *const row = find_row(at.table, at.row, field.id);
        if (row == nullptr)
            continue;
        if (row->width != field.len)
            return FCODEC_MALFORMED;
        at.row = row + 1;
        out = {field.id, field.len, value, row};
        return FCODEC_OK;
    }
    return at.at == at.stream_len ? FCODEC_END : FCODEC_MALFORMED;
}

// Stands at the first field of a stream of which `len` bytes can be read.
int open(fcodec_field_itr &at, const void *tlv, uint32_t len, const fcodec_table *t)
{
    if (tlv == nullptr || t == nullptr || !usable(t))
        return FCODEC_ARGUMENT;
    if (len < stream_header_size)
        return FCODEC_MALFORMED;
    const auto *const stream = static_cast<const uint8_t *>(tlv);
    const auto header = load<StreamHeader>(stream);
    if (header.magic != magic || header.total < stream_header_size || header.total > len)
        return FCODEC_MALFORMED;
    if (header.total > max_stream_size)
        return FCODEC_TOO_SMALL;
    if (header.record_size != t->size)
        return FCODEC_MALFORMED;
    at = {stream, header.total, stream_header_size, header.fields, 0, t, first_row(t)};
    return FCODEC_OK;
}

// The same, for a stream that is good to its end.
int open_checked(fcodec_field_itr &at, const void *tlv, uint32_t len, const fcodec_table *t)
{
    if (const int code = open(at, tlv, len, t); code != FCODEC_OK)
        return code;
    fcodec_field_itr ahead = at;
    fcodec_field field;
    int code = FCODEC_OK;
    while (code == FCODEC_OK)
        code = step(ahead, field);
    return code == FCODEC_END ? FCODEC_OK : code;
}

struct Measure {
    uint64_t size = stream_header_size;
    uint32_t fields = 0;
};

Measure measure(const fcodec_table *t)
{
    Measure sum;
    for (const fcodec_row *row = first_row(t); !is_end(*row); ++row) {
        sum.size += uint64_t{field_header_size} + row->width;
        ++sum.fields;
    }
    return sum;
}

} // namespace

extern "C" {

int fcodec_table_convert_struct_to_tlv(void *buf, uint32_t len, const fcodec_table *t, const void *rec,
                                       uint32_t, uint32_t, uint32_t)
{
    if (buf == nullptr || rec == nullptr || t == nullptr || !usable(t))
        return FCODEC_ARGUMENT;
    const Measure sum = measure(t);
    if (sum.size > max_stream_size || sum.size > len)
        return FCODEC_TOO_SMALL;
    const auto *const record = static_cast<const uint8_t *>(rec);
    uint8_t *at = store(static_cast<uint8_t *>(buf),
                        StreamHeader{magic, static_cast<uint32_t>(sum.size), t->size, sum.fields});
    for (const fcodec_row *row = first_row(t); !is_end(*row); ++row) {
        at = store(at, FieldHeader{row->id, row->width});
        copy_value(at, record + row->offset, row->width);
        at += row->width;
    }
    return FCODEC_OK;
}

int fcodec_table_convert_tlv_to_struct(const void *tlv, uint32_t len, void *out, const fcodec_table *t,
                                       uint32_t)
{
    if (out == nullptr)
        return FCODEC_ARGUMENT;
    fcodec_field_itr at;
    if (const int code = open_checked(at, tlv, len, t); code != FCODEC_OK)
        return code;
    fcodec_field field;
    while (step(at, field) == FCODEC_OK)
        copy_value(static_cast<uint8_t *>(out) + field.row->offset, static_cast<const uint8_t *>(field.value),
                   field.len);
    return FCODEC_OK;
}

int fcodec_table_get_struct_size_from_tlv(uint32_t *size, const void *tlv, uint32_t len,
                                          const fcodec_table *t)
{
    if (size == nullptr)
        return FCODEC_ARGUMENT;
    fcodec_field_itr at;
    if (const int code = open_checked(at, tlv, len == 0 ? UINT32_MAX : len, t); code != FCODEC_OK)
        return code;
    *size = t->size;
    return FCODEC_OK;
}

uint32_t fcodec_table_size(const fcodec_table *t, const void *rec)
{
    if (t == nullptr || rec == nullptr || !usable(t))
        return 0;
    const uint64_t size = measure(t).size;
    return size > max_stream_size ? 0 : static_cast<uint32_t>(size);
}

int fcodec_field_itr_init(fcodec_field_itr *itr, const void *tlv, uint32_t len, const fcodec_table *t,
                          uint32_t, uint16_t start)
{
    if (itr == nullptr)
        return FCODEC_ARGUMENT;
    fcodec_field_itr at;
    if (const int code = open_checked(at, tlv, len, t); code != FCODEC_OK)
        return code;
    fcodec_field passed;
    for (uint32_t i = 0; i < start && step(at, passed) == FCODEC_OK; ++i) {
    }
    *itr = at;
    return FCODEC_OK;
}

int fcodec_field_itr_get_next(fcodec_field_itr *itr, fcodec_field *out)
{
    return itr == nullptr || out == nullptr ? int{FCODEC_ARGUMENT} : step(*itr, *out);
}

int fcodec_get_field(const void *tlv, uint32_t len, uint32_t field_id, void *out, uint32_t *inout_len,
                     const fcodec_table *t)
{
    if (out == nullptr || inout_len == nullptr)
        return FCODEC_ARGUMENT;
    fcodec_field_itr at;
    if (const int code = open_checked(at, tlv, len, t); code != FCODEC_OK)
        return code;
    fcodec_field field;
    fcodec_field last = {};
    while (step(at, field) == FCODEC_OK)
        if (field.id == field_id)
            last = field;
    if (last.row == nullptr)
        return FCODEC_END;
    const uint32_t room = *inout_len;
    *inout_len = last.len;
    if (room < last.len)
        return FCODEC_TOO_SMALL;
    std::memcpy(out, last.value, last.len);
    return FCODEC_OK;
}

void *fcodec_malloc(uint32_t size) { return std::malloc(size); }

} // extern "C"
