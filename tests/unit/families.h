// All seventeen records with their codec calls, the records' types taken off, so that one test runs over them
// all; and samples of the records, which know their tail.
#pragma once

#include "samples.h"

#include <kov/kov_codec.h>

#include <cstring>
#include <ostream>
#include <random>
#include <string>
#include <vector>

struct Family {
    const char *prefix; // of the calls' names
    std::size_t record_size;
    const fcodec_table *table;
    const fcodec_row *rows;
    uint32_t row_count;
    int (*to_tlv)(const void *, void *, uint32_t, uint32_t, uint32_t, uint32_t);
    int (*to_struct)(const void *, uint32_t, void *, uint32_t);
    int32_t (*struct_sz)(const void *);
    uint32_t (*tlv_sz)(const void *);
    int (*itr_init)(fcodec_field_itr *, const void *, uint32_t, uint32_t, uint16_t);
    int (*get_next)(fcodec_field_itr *, fcodec_field *);
    int (*get_field)(const void *, uint32_t, uint32_t, void *, uint32_t *);

    bool has_tail() const { return table == &kov_vault_auto_config_host_tbl.head; }
};

inline void PrintTo(const Family &family, std::ostream *out) { *out << family.prefix; }

// The replication forms of a record: the same for thirteen records, and for one under names of their own.
struct Replication {
    const Family *family;
    const char *name; // of the forms' record
    uint32_t (*to_tlv)(const void *, void *, uint32_t, uint32_t);
    int (*to_struct)(const void *, uint32_t, void *);
    uint32_t (*tlv_sz)(const void *);
};

inline void PrintTo(const Replication &forms, std::ostream *out) { *out << forms.name; }

#define KOV_FAMILY(P, R, TYPE, ROWS)                                                                         \
    Family{                                                                                                  \
        #P "_" #R,                                                                                           \
        sizeof(TYPE),                                                                                        \
        &P##_##R##_tbl.head,                                                                                 \
        P##_##R##_tbl.rows,                                                                                  \
        ROWS,                                                                                                \
        [](const void *rec, void *buf, uint32_t len, uint32_t a, uint32_t b, uint32_t c) {                   \
            return P##_##R##_to_tlv(static_cast<const TYPE *>(rec), buf, len, a, b, c);                      \
        },                                                                                                   \
        [](const void *tlv, uint32_t len, void *out, uint32_t flag) {                                        \
            return P##_##R##_to_struct(tlv, len, static_cast<TYPE *>(out), flag);                            \
        },                                                                                                   \
        P##_##R##_get_struct_sz,                                                                             \
        [](const void *rec) { return P##_##R##_get_tlv_sz(static_cast<const TYPE *>(rec)); },                \
        P##_##R##_field_itr_init,                                                                            \
        P##_##R##_field_get_next,                                                                            \
        P##_##R##_get_field,                                                                                 \
    },

inline const Family families[] = {KOV_ALL_RECORDS(KOV_FAMILY)};

inline const Family &family_of(const fcodec_table &table)
{
    for (const Family &family : families)
        if (family.table == &table)
            return family;
    return families[0];
}

#define KOV_REPLICATION(P, R, TYPE, ROWS) KOV_REPLICATION_FORMS(P, R, TYPE, ha_##R, to_tlv, to_struct)
#define KOV_REPLICATION_FORMS(P, R, TYPE, NAME, TO_TLV, TO_STRUCT)                                           \
    Replication{                                                                                             \
        &family_of(P##_##R##_tbl.head),                                                                      \
        #NAME,                                                                                               \
        [](const void *rec, void *buf, uint32_t len, uint32_t option) {                                      \
            return kov_##NAME##_##TO_TLV(static_cast<const TYPE *>(rec), buf, len, option);                  \
        },                                                                                                   \
        [](const void *tlv, uint32_t len, void *out) {                                                       \
            return kov_##NAME##_##TO_STRUCT(tlv, len, static_cast<TYPE *>(out));                             \
        },                                                                                                   \
        [](const void *rec) { return kov_##NAME##_get_tlv_sz(static_cast<const TYPE *>(rec)); },             \
    },

inline const Replication replications[] = {KOV_REPLICATED_RECORDS(KOV_REPLICATION) KOV_REPLICATION_FORMS(
    kov_vault, profile_options, kov_profile_options_t, api_profile_options, struct_to_tlv, tlv_to_struct)};

// The table of the record that is nested in a field; null for any other field.
inline const fcodec_table *nested_in(const fcodec_table *table, uint32_t field_id)
{
    for (const fcodec_rule &rule : kov_codec_rule_tbl)
        if (rule.table == table && rule.field_id == field_id)
            return rule.nested;
    return nullptr;
}

// The bytes of a record that a stream carries as they are, those of nested records included: not the word
// that says where a tail is.
inline void mark_carried(const Family &family, std::size_t from, std::vector<bool> &carried)
{
    for (uint32_t i = 0; i < family.row_count; ++i) {
        const fcodec_row &row = family.rows[i];
        if (const fcodec_table *const nested = nested_in(family.table, row.id))
            mark_carried(family_of(*nested), from + row.offset, carried);
        else if (!family.has_tail() || row.id != 9)
            std::fill_n(carried.begin() + static_cast<std::ptrdiff_t>(from + row.offset), row.width, true);
    }
}

// The places of the bytes that no stream writes.
inline std::vector<std::size_t> local_bytes(const Family &family)
{
    std::vector<bool> carried(family.record_size);
    mark_carried(family, 0, carried);
    if (family.has_tail()) // where the tail is
        std::fill_n(carried.begin() + 220, 4, true);
    std::vector<std::size_t> places;
    for (std::size_t at = 0; at < carried.size(); ++at)
        if (!carried[at])
            places.push_back(at);
    return places;
}

// One record in a block that ends with it and its tail.
class Sample
{
public:
    Sample(const Family &family, uint32_t tail, uint8_t fill = 0)
        : family_(&family), tail_(family.has_tail() ? tail : 0), bytes_(family.record_size + tail_, fill)
    {
    }

    // A copy of a record without a tail that stands anywhere.
    Sample(const Family &family, const uint8_t *at)
        : family_(&family), tail_(0), bytes_(at, at + family.record_size)
    {
    }

    // Every byte at random.
    static Sample random(const Family &family, uint32_t tail, uint32_t seed)
    {
        Sample sample(family, tail);
        std::mt19937 engine(seed);
        for (uint8_t &byte : sample.bytes_)
            byte = static_cast<uint8_t>(engine());
        sample.seat();
        return sample;
    }

    // Lets the record say where its tail is, and how long.
    void seat()
    {
        if (!family_->has_tail())
            return;
        auto *const host = reinterpret_cast<kov_vault_auto_config_host_val_t *>(bytes_.data());
        host->parameter_len = tail_;
        EXPECT_EQ(kov_vault_auto_config_host_set_parameters(host, bytes_.data() + family_->record_size), 1u);
    }

    uint8_t *data() { return bytes_.data(); }
    const uint8_t *data() const { return bytes_.data(); }
    const fake::Bytes &bytes() const { return bytes_; }
    void fill(uint8_t value) { std::memset(bytes_.data(), value, bytes_.size()); }

    // The record's stream, in a block that ends with it.
    fake::Bytes stream() const
    {
        fake::Bytes tlv(family_->tlv_sz(data()));
        EXPECT_GT(tlv.size(), 0u);
        EXPECT_EQ(family_->to_tlv(data(), tlv.data(), static_cast<uint32_t>(tlv.size()), 0, 0, 0), 0);
        return tlv;
    }

    // Puts a record together from a walk over a stream, field by field, beside what decoding made of it.
    void take_walk(const fake::Bytes &tlv, const Sample &decoded)
    {
        fcodec_field_itr walk;
        ASSERT_EQ(family_->itr_init(&walk, tlv.data(), static_cast<uint32_t>(tlv.size()), 0, 0), 0);
        for (fcodec_field field; family_->get_next(&walk, &field) == 0;) {
            uint8_t *const to = data() + field.row->offset;
            if (const fcodec_table *const nested = nested_in(family_->table, field.id)) {
                ASSERT_EQ(family_of(*nested).to_struct(field.value, field.len, to, 0), 0);
            } else if (family_->has_tail() && field.id == 9) {
                ASSERT_EQ(field.len, tail_);
                std::memcpy(data() + family_->record_size, field.value, field.len);
                std::memcpy(to, decoded.data() + field.row->offset, field.row->width); // where it is
            } else {
                ASSERT_EQ(field.len, field.row->width);
                std::memcpy(to, field.value, field.len);
            }
        }
    }

    // What a record of the same size that held nothing but `fill` is after it took this one's stream.
    fake::Bytes taken_by(const Sample &other, uint8_t fill) const
    {
        std::vector<bool> carried(family_->record_size);
        mark_carried(*family_, 0, carried);
        fake::Bytes expected(bytes_.size(), fill);
        for (std::size_t i = 0; i < bytes_.size(); ++i)
            if (i >= carried.size() || carried[i])
                expected[i] = bytes_[i];
        if (family_->has_tail()) // the word that says where: it is at the other's own end
            std::memcpy(&expected[220], other.data() + 220, 4);
        return expected;
    }

    // Whether the record says that its tail is right behind it.
    bool tail_is_behind() const
    {
        const auto *const host = reinterpret_cast<const kov_vault_auto_config_host_val_t *>(bytes_.data());
        return kov_vault_auto_config_host_parameters(host) == bytes_.data() + family_->record_size;
    }

private:
    const Family *family_;
    uint32_t tail_;
    fake::Bytes bytes_;
};
