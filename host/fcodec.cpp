// Reading streams: whole records, single fields, walks. docs/codec.md has the stream byte by byte; options
// and flags it has none.
//
// Reading has one routine, `step`, which goes from field to field and trusts nothing: the check before a
// decode, the decode, the walk and the single field all are loops over it, and so cannot disagree. Whoever
// writes to a caller's memory has run `open_checked` first, which steps through the whole stream and through
// those nested in it. How deep it goes, the tables say, never the stream.
//
// Rows are searched from behind the row of the field before. Streams are in table order, so the search
// normally ends at once, and a row that stands twice in a table gets its two fields in turn.
//
// Nothing here depends on the operating system or the ABI, allocates or keeps state; the fake platform of the
// unit tests uses it as it is.
#include "fcodec_table.h"

namespace
{

using namespace kov_codec;

template <class Header>
Header load(const uint8_t *from)
{
    Header header;
    std::memcpy(&header, from, sizeof header);
    return header;
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

// Nested records have the length of their streams, a tail that of its data; all else is as wide as its row.
[[gnu::noinline]] bool may_have_any_length(const fcodec_table *t, const fcodec_row &row)
{
    return row.kind == FCODEC_KIND_NESTED || (has_routines(row) && is_tail(rule_of(t, row.id)));
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
        if (row->width != field.len && !may_have_any_length(at.table, *row))
            return FCODEC_MALFORMED;
        at.row = row + 1;
        out = {field.id, field.len, value, row};
        return FCODEC_OK;
    }
    return at.at == at.stream_len ? FCODEC_END : FCODEC_MALFORMED;
}

// A stream that was opened, at its first field, and what its table is like.
struct Opened {
    fcodec_field_itr at;
    Shape shape;
    uint32_t tail_len; // once the stream is checked
};

// Of the stream `len` bytes can be read, and the table can be used.
int open(Opened &opened, const void *tlv, uint32_t len, const fcodec_table *t, const Shape &shape)
{
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
    opened = {{stream, header.total, stream_header_size, header.fields, 0, t, first_row(t)}, shape, 0};
    return FCODEC_OK;
}

// There is at most one tail: the room behind the record is for one. It has the length that the field before
// it says, and the record keeps no other length than that.
bool has_its_tail(Opened &opened)
{
    uint32_t said = 0;
    bool is_said = false;
    bool is_there = false;
    fcodec_field_itr at = opened.at;
    for (fcodec_field field; step(at, field) == FCODEC_OK;)
        if (field.id == opened.shape.tail->tail_length_id) {
            said = load<uint32_t>(static_cast<const uint8_t *>(field.value));
            is_said = true;
        } else if (field.id == opened.shape.tail->field_id) {
            if (!is_said || is_there || field.len != said)
                return false;
            is_there = true;
            opened.tail_len = field.len;
        }
    return said == opened.tail_len;
}

int open_whole(Opened &opened, const void *tlv, uint32_t len, const fcodec_table *t, const Shape &shape);

// A nested record's value is one good stream and nothing else. Its table was looked at with the outermost
// one, and has no tail.
bool holds_one_stream(const fcodec_table *t, const fcodec_field &field)
{
    constexpr Shape shape = {true, false, nullptr};
    Opened nested;
    return open_whole(nested, field.value, field.len, nested_table(t, *field.row), shape) == FCODEC_OK &&
           nested.at.stream_len == field.len;
}

// Steps through the whole stream, and through those nested in it.
int open_whole(Opened &opened, const void *tlv, uint32_t len, const fcodec_table *t, const Shape &shape)
{
    if (const int code = open(opened, tlv, len, t, shape); code != FCODEC_OK)
        return code;
    fcodec_field_itr ahead = opened.at;
    fcodec_field field;
    int code = FCODEC_OK;
    while ((code = step(ahead, field)) == FCODEC_OK)
        if (!opened.shape.plain && field.row->kind == FCODEC_KIND_NESTED && !holds_one_stream(t, field))
            return FCODEC_MALFORMED;
    if (code != FCODEC_END)
        return code;
    return opened.shape.tail == nullptr || has_its_tail(opened) ? int{FCODEC_OK} : int{FCODEC_MALFORMED};
}

// Opens a stream that is good to its end, with a table that can be used.
int open_checked(Opened &opened, const void *tlv, uint32_t len, const fcodec_table *t)
{
    if (tlv == nullptr || t == nullptr)
        return FCODEC_ARGUMENT;
    const Shape shape = shape_of(t);
    return shape.usable ? open_whole(opened, tlv, len, t, shape) : int{FCODEC_ARGUMENT};
}

void apply(fcodec_field_itr at, uint8_t *out);

// A field that is not just bytes of the record.
[[gnu::noinline]] void apply_special(const fcodec_table *t, const fcodec_field &field, uint8_t *out)
{
    const auto *const value = static_cast<const uint8_t *>(field.value);
    const fcodec_rule *const rule = rule_of(t, field.id);
    if (field.row->kind == FCODEC_KIND_NESTED) {
        const auto header = load<StreamHeader>(value);
        apply({value, header.total, stream_header_size, header.fields, 0, rule->nested,
               first_row(rule->nested)},
              out + field.row->offset);
    } else if (rule != nullptr && has_routines(*field.row)) {
        rule->apply(out, value); // cannot fail: both are there
    } else {
        copy_value(out + field.row->offset, value, field.len);
    }
}

// Writes the fields of a stream that was checked.
void apply(fcodec_field_itr at, uint8_t *out)
{
    fcodec_field field;
    while (step(at, field) == FCODEC_OK)
        if (field.row->kind == FCODEC_KIND_PLAIN)
            copy_value(out + field.row->offset, static_cast<const uint8_t *>(field.value), field.len);
        else
            apply_special(at.table, field, out);
}

} // namespace

extern "C" {

int fcodec_table_convert_tlv_to_struct(const void *tlv, uint32_t len, void *out, const fcodec_table *t,
                                       uint32_t)
{
    if (out == nullptr)
        return FCODEC_ARGUMENT;
    Opened opened;
    if (const int code = open_checked(opened, tlv, len, t); code != FCODEC_OK)
        return code;
    apply(opened.at, static_cast<uint8_t *>(out));
    return FCODEC_OK;
}

int fcodec_table_get_struct_size_from_tlv(uint32_t *size, const void *tlv, uint32_t len,
                                          const fcodec_table *t)
{
    if (size == nullptr)
        return FCODEC_ARGUMENT;
    Opened opened;
    if (const int code = open_checked(opened, tlv, len == 0 ? UINT32_MAX : len, t); code != FCODEC_OK)
        return code;
    if (opened.tail_len > UINT32_MAX - t->size)
        return FCODEC_TOO_SMALL;
    *size = t->size + opened.tail_len;
    return FCODEC_OK;
}

int fcodec_field_itr_init(fcodec_field_itr *itr, const void *tlv, uint32_t len, const fcodec_table *t,
                          uint32_t, uint16_t start)
{
    if (itr == nullptr)
        return FCODEC_ARGUMENT;
    Opened opened;
    if (const int code = open_checked(opened, tlv, len, t); code != FCODEC_OK)
        return code;
    fcodec_field passed;
    for (uint32_t i = 0; i < start && step(opened.at, passed) == FCODEC_OK; ++i) {
    }
    *itr = opened.at;
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
    Opened opened;
    if (const int code = open_checked(opened, tlv, len, t); code != FCODEC_OK)
        return code;
    fcodec_field field;
    fcodec_field last = {};
    while (step(opened.at, field) == FCODEC_OK)
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

} // extern "C"
