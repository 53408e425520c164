#include "fcodec_table.h"

// The rules of the tables that the process has; null when nobody brought any.
extern "C" [[gnu::weak]] const fcodec_rule kov_codec_rule_tbl[];

namespace kov_codec
{
namespace
{

bool is_usable_nested(const fcodec_table *t, const fcodec_row &row, uint32_t depth)
{
    const fcodec_rule *const rule = rule_of(t, row.id);
    return rule != nullptr && rule->nested != nullptr && rule->nested->size == row.width &&
           depth < max_depth && shape_of(rule->nested, depth + 1).usable;
}

// The length of a tail is a word, and is encoded before the tail.
bool has_length_before(const fcodec_table *t, const fcodec_row &tail, uint32_t length_id)
{
    for (const fcodec_row *row = first_row(t); row != &tail; ++row)
        if (row->id == length_id)
            return row->kind == FCODEC_KIND_PLAIN && row->width == sizeof(uint32_t);
    return false;
}

// Only the outermost record can have a tail: behind a nested one there is no room.
bool is_usable_string(const fcodec_table *t, const fcodec_row &row, uint32_t depth, Shape &shape)
{
    if (row.copy == nullptr)
        return true;
    const fcodec_rule *const rule = rule_of(t, row.id);
    if (row.data_size == nullptr || (rule != nullptr && rule->apply == nullptr))
        return false;
    if (!is_tail(rule))
        return true;
    if (depth > 1 || shape.tail != nullptr || !has_length_before(t, row, rule->tail_length_id))
        return false;
    shape.tail = rule;
    return true;
}

bool is_usable(const fcodec_table *t, const fcodec_row &row, uint32_t depth, Shape &shape)
{
    if (!fits(row, t->size))
        return false;
    switch (row.kind) {
    case FCODEC_KIND_PLAIN:
        return true;
    case FCODEC_KIND_STRING:
        return is_usable_string(t, row, depth, shape);
    case FCODEC_KIND_NESTED:
        return is_usable_nested(t, row, depth);
    default:
        return false;
    }
}

} // namespace

const fcodec_rule *rule_of(const fcodec_table *t, uint32_t field_id)
{
    if (kov_codec_rule_tbl == nullptr)
        return nullptr;
    for (const fcodec_rule *rule = kov_codec_rule_tbl; rule->table != nullptr; ++rule)
        if (rule->table == t && rule->field_id == field_id)
            return rule;
    return nullptr;
}

Shape special_shape_of(const fcodec_table *t, uint32_t depth)
{
    Shape shape = {false, false, nullptr};
    const fcodec_row *row = first_row(t);
    for (uint32_t i = 0; i <= max_rows; ++i, ++row) {
        if (is_end(*row)) {
            shape.usable = true;
            return shape;
        }
        if (!is_usable(t, *row, depth, shape))
            return shape;
    }
    return shape;
}

} // namespace kov_codec
