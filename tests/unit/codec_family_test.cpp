// The ten codec calls of every published record: what each passes on, returns and reports.
#include "samples.h"

#include <kov/kov_codec.h>

#include <cstdio>
#include <ostream>
#include <string>

namespace
{

using fake::Bytes;
using fake::Call;

// One record's calls with the record's type taken off, so that one table holds them all.
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
    uint32_t (*ha_to_tlv)(const void *, void *, uint32_t, uint32_t);
    int (*ha_to_struct)(const void *, uint32_t, void *);
    uint32_t (*ha_tlv_sz)(const void *);
};

void PrintTo(const Family &family, std::ostream *out) { *out << family.prefix; }

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
        [](const void *rec, void *buf, uint32_t len, uint32_t option) {                                      \
            return kov_ha_##R##_to_tlv(static_cast<const TYPE *>(rec), buf, len, option);                    \
        },                                                                                                   \
        [](const void *tlv, uint32_t len, void *out) {                                                       \
            return kov_ha_##R##_to_struct(tlv, len, static_cast<TYPE *>(out));                               \
        },                                                                                                   \
        [](const void *rec) { return kov_ha_##R##_get_tlv_sz(static_cast<const TYPE *>(rec)); },             \
    },

const Family families[] = {KOV_RDB_RECORDS(KOV_FAMILY)};

class CodecFamily : public Lab, public testing::WithParamInterface<Family>
{
protected:
    CodecFamily() : record(codec.record_size)
    {
        for (std::size_t i = 0; i < record.size(); ++i)
            record[i] = static_cast<uint8_t>(0x80 + i);
    }

    // The record as the platform's codec itself writes it: what the calls under test are compared with.
    Bytes stream()
    {
        const fake::Unlogged quiet(platform.calls);
        Bytes tlv(fcodec_table_size(codec.table, record.data()));
        EXPECT_EQ(
            fcodec_table_convert_struct_to_tlv(tlv.data(), size(tlv), codec.table, record.data(), 0, 0, 0),
            0);
        return tlv;
    }

    // The record's bytes where a row covers them, `fill` everywhere else.
    Bytes covered(uint8_t fill) const
    {
        Bytes bytes(record.size(), fill);
        for (uint32_t i = 0; i < codec.row_count; ++i)
            std::memcpy(&bytes[codec.rows[i].offset], &record[codec.rows[i].offset], codec.rows[i].width);
        return bytes;
    }

    static uint32_t size(const Bytes &bytes) { return static_cast<uint32_t>(bytes.size()); }

    void expect_error(const std::string &call, const std::string &code)
    {
        EXPECT_EQ(platform.codec.errors,
                  (std::vector<std::string>{std::string(codec.prefix) + call + ": ERR 0x" + code + "\n"}));
        platform.codec.errors.clear();
    }
    void expect_no_error() { EXPECT_TRUE(platform.codec.errors.empty()); }

    const Family &codec = GetParam();
    Bytes record;
};

INSTANTIATE_TEST_SUITE_P(Of, CodecFamily, testing::ValuesIn(families),
                         [](const auto &row) { return std::string(row.param.prefix); });

TEST(CodecFamilies, AreSixForTheSharedDatabase) { EXPECT_EQ(std::size(families), 6u); }

TEST_P(CodecFamily, EncodesAsTheTableSaysAndPassesTheThreeOptions)
{
    const Bytes expected = stream();
    Bytes tlv(expected.size());
    EXPECT_EQ(codec.to_tlv(record.data(), tlv.data(), size(tlv), 11, 22, 33), 0);
    EXPECT_EQ(tlv, expected);
    EXPECT_EQ(platform.codec.options, (std::array<uint32_t, 3>{11, 22, 33}));
    EXPECT_EQ(platform.calls.log(), (std::vector<Call>{Call::fcodec_table_convert_struct_to_tlv}));
}

TEST_P(CodecFamily, EncodesNothingIntoTooLittleRoomAndReportsIt)
{
    Bytes tlv(stream().size() - 1, 0xEE);
    EXPECT_EQ(codec.to_tlv(record.data(), tlv.data(), size(tlv), 0, 0, 0), 75);
    EXPECT_EQ(tlv, Bytes(tlv.size(), 0xEE));
    expect_error("_to_tlv", "4b");
}

TEST_P(CodecFamily, DecodesWhatRowsCoverAndPassesTheFlag)
{
    const Bytes tlv = stream();
    Bytes out(record.size(), 0xEE);
    EXPECT_EQ(codec.to_struct(tlv.data(), size(tlv), out.data(), 44), 0);
    EXPECT_EQ(out, covered(0xEE));
    EXPECT_EQ(platform.codec.flag, 44u);
    EXPECT_EQ(platform.calls.log(), (std::vector<Call>{Call::fcodec_table_convert_tlv_to_struct}));
}

TEST_P(CodecFamily, DecodesNothingFromADamagedStreamAndReportsIt)
{
    Bytes tlv = stream(), out(record.size(), 0xEE);
    EXPECT_EQ(codec.to_struct(tlv.data(), size(tlv) - 1, out.data(), 0), 74);
    expect_error("_to_struct", "4a");
    tlv[0] ^= 0xFF;
    EXPECT_EQ(codec.to_struct(tlv.data(), size(tlv), out.data(), 0), 74);
    expect_error("_to_struct", "4a");
    EXPECT_EQ(codec.to_struct(nullptr, 10, out.data(), 0), 73);
    expect_error("_to_struct", "49");
    EXPECT_EQ(out, Bytes(record.size(), 0xEE));
}

TEST_P(CodecFamily, TellsTheSizeOfTheRecordInAStream)
{
    const Bytes tlv = stream();
    EXPECT_EQ(codec.struct_sz(tlv.data()), static_cast<int32_t>(codec.record_size));
    EXPECT_EQ(platform.calls.log(), (std::vector<Call>{Call::fcodec_table_get_struct_size_from_tlv}));
    expect_no_error();
}

TEST_P(CodecFamily, TellsTheSizeMinus1OfADamagedStreamAndReportsIt)
{
    Bytes tlv = stream();
    tlv[0] ^= 0xFF;
    EXPECT_EQ(codec.struct_sz(tlv.data()), -1);
    expect_error("_get_struct_sz", "4a");
    EXPECT_EQ(codec.struct_sz(nullptr), -1);
    expect_error("_get_struct_sz", "49");
}

TEST_P(CodecFamily, TellsTheSizeOfAStreamWithoutAnyReport)
{
    EXPECT_EQ(codec.tlv_sz(record.data()), stream().size());
    EXPECT_EQ(codec.ha_tlv_sz(record.data()), stream().size());
    EXPECT_EQ(codec.tlv_sz(nullptr), 0u);
    EXPECT_EQ(codec.ha_tlv_sz(nullptr), 0u);
    EXPECT_EQ(platform.calls.log(), (std::vector<Call>(4, Call::fcodec_table_size)));
    expect_no_error();
}

TEST_P(CodecFamily, WalksTheFieldsInTableOrder)
{
    const Bytes tlv = stream();
    fcodec_field_itr walk;
    ASSERT_EQ(codec.itr_init(&walk, tlv.data(), size(tlv), 0, 0), 0);
    for (uint32_t i = 0; i < codec.row_count; ++i) {
        const fcodec_row &row = codec.rows[i];
        fcodec_field field = {};
        ASSERT_EQ(codec.get_next(&walk, &field), 0);
        EXPECT_EQ(field.id, row.id);
        EXPECT_EQ(field.row, &row) << "another record's table";
        EXPECT_EQ(bytes_at(field.value, field.len), bytes_at(&record[row.offset], row.width));
    }
    fcodec_field field = {};
    EXPECT_EQ(codec.get_next(&walk, &field), 2);
    EXPECT_EQ(codec.get_next(&walk, &field), 2);
    EXPECT_EQ(field.id, 0u);
    EXPECT_EQ(field.value, nullptr);
    expect_no_error();
}

TEST_P(CodecFamily, StartsAWalkAtAnyFieldAndReportsNoFailureOfIt)
{
    const Bytes tlv = stream();
    const auto last = static_cast<uint16_t>(codec.row_count - 1);
    fcodec_field_itr walk;
    fcodec_field field = {};
    ASSERT_EQ(codec.itr_init(&walk, tlv.data(), size(tlv), 0, last), 0);
    ASSERT_EQ(codec.get_next(&walk, &field), 0);
    EXPECT_EQ(field.id, codec.rows[last].id);
    EXPECT_EQ(codec.get_next(&walk, &field), 2);
    EXPECT_EQ(codec.itr_init(&walk, tlv.data(), size(tlv) - 1, 0, 0), 74);
    EXPECT_EQ(codec.itr_init(nullptr, tlv.data(), size(tlv), 0, 0), 73);
    expect_no_error();
}

TEST_P(CodecFamily, ReadsEveryFieldAloneAndReportsNoFailureOfIt)
{
    const Bytes tlv = stream();
    for (uint32_t i = 0; i < codec.row_count; ++i) {
        const fcodec_row &row = codec.rows[i];
        Bytes value(200, 0xEE);
        uint32_t room = size(value);
        EXPECT_EQ(codec.get_field(tlv.data(), size(tlv), row.id, value.data(), &room), 0);
        EXPECT_EQ(room, row.width);
        Bytes expected = bytes_at(&record[row.offset], row.width);
        expected.resize(value.size(), 0xEE);
        EXPECT_EQ(value, expected);
    }
    uint8_t byte = 0xEE;
    uint32_t room = 1;
    EXPECT_EQ(codec.get_field(tlv.data(), size(tlv), 99, &byte, &room), 2);
    EXPECT_EQ(codec.get_field(tlv.data(), size(tlv) - 1, 0, &byte, &room), 74);
    EXPECT_EQ(byte, 0xEE);
    expect_no_error();
}

// Deliberate: the replication form of encoding turns the result round, 1 for success; that of decoding does
// not.
TEST_P(CodecFamily, TheReplicationFormOfEncodingTurnsTheResultRoundAndPasses0ItsOptionAnd1)
{
    const Bytes expected = stream();
    Bytes tlv(expected.size());
    EXPECT_EQ(codec.ha_to_tlv(record.data(), tlv.data(), size(tlv), 55), 1u);
    EXPECT_EQ(tlv, expected);
    EXPECT_EQ(platform.codec.options, (std::array<uint32_t, 3>{0, 55, 1}));
    expect_no_error();

    EXPECT_EQ(codec.ha_to_tlv(record.data(), tlv.data(), size(tlv) - 1, 55), 0u);
    expect_error("_to_tlv", "4b"); // in the name of the form that it wraps
}

TEST_P(CodecFamily, TheReplicationFormOfDecodingDoesNotTurnTheResultRoundAndPasses1)
{
    const Bytes tlv = stream();
    Bytes out(record.size(), 0xEE);
    EXPECT_EQ(codec.ha_to_struct(tlv.data(), size(tlv), out.data()), 0);
    EXPECT_EQ(out, covered(0xEE));
    EXPECT_EQ(platform.codec.flag, 1u);
    expect_no_error();

    EXPECT_EQ(codec.ha_to_struct(tlv.data(), 3, out.data()), 74);
    expect_error("_to_struct", "4a");
}

TEST_P(CodecFamily, PassesOnAnyCodeOfTheCodec)
{
    Bytes tlv = stream(), out(record.size());
    for (const int code : {1, 2, 73, 0x7FFFFFFF, -1}) {
        SCOPED_TRACE(code);
        platform.codec.code = code;
        char hex[16];
        std::snprintf(hex, sizeof hex, "%x", static_cast<unsigned>(code));
        platform.calls.fail(Call::fcodec_table_convert_struct_to_tlv);
        EXPECT_EQ(codec.to_tlv(record.data(), tlv.data(), size(tlv), 0, 0, 0), code);
        expect_error("_to_tlv", hex);
        platform.calls.fail(Call::fcodec_table_convert_struct_to_tlv);
        EXPECT_EQ(codec.ha_to_tlv(record.data(), tlv.data(), size(tlv), 0), 0u);
        expect_error("_to_tlv", hex);
        platform.calls.fail(Call::fcodec_table_convert_tlv_to_struct);
        EXPECT_EQ(codec.to_struct(tlv.data(), size(tlv), out.data(), 0), code);
        expect_error("_to_struct", hex);
        platform.calls.fail(Call::fcodec_table_convert_tlv_to_struct);
        EXPECT_EQ(codec.ha_to_struct(tlv.data(), size(tlv), out.data()), code);
        expect_error("_to_struct", hex);
        platform.calls.fail(Call::fcodec_table_get_struct_size_from_tlv);
        EXPECT_EQ(codec.struct_sz(tlv.data()), -1);
        expect_error("_get_struct_sz", hex);
        platform.calls.fail(Call::fcodec_field_itr_init);
        fcodec_field_itr walk;
        EXPECT_EQ(codec.itr_init(&walk, tlv.data(), size(tlv), 0, 0), code);
        platform.calls.fail(Call::fcodec_get_field);
        uint32_t room = 0;
        EXPECT_EQ(codec.get_field(tlv.data(), size(tlv), 0, nullptr, &room), code);
        expect_no_error();
    }
}

TEST_P(CodecFamily, NeedsNoOpenLibrary)
{
    Bytes tlv = stream();
    codec.to_struct(tlv.data(), size(tlv), record.data(), 0);
    EXPECT_EQ(kov_api.initialized, 0u);
    EXPECT_EQ(platform.calls.count(Call::osal_rdb_open), 0u);
}

} // namespace
