// The codec calls of every record: what each passes on, returns and reports.
#include "families.h"

#include <cstdio>

namespace
{

using fake::Bytes;
using fake::Call;

constexpr uint32_t tail = 7; // of the record that has one

// The platform's calls, less the memory of the codec's own.
std::vector<Call> codec_calls(const fake::Platform &platform)
{
    std::vector<Call> calls = platform.calls.log();
    std::erase_if(calls, [](Call call) { return call == Call::alloc || call == Call::release; });
    return calls;
}

// A record's stream as the platform's codec itself writes it: what the calls under test are compared with.
Bytes stream_of(const Family &codec, const Sample &record)
{
    const fake::Unlogged quiet(fake::platform().calls);
    Bytes tlv(fcodec_table_size(codec.table, record.data()));
    EXPECT_EQ(fcodec_table_convert_struct_to_tlv(tlv.data(), static_cast<uint32_t>(tlv.size()), codec.table,
                                                 record.data(), 0, 0, 0),
              0);
    return tlv;
}

class CodecFamily : public Lab, public testing::WithParamInterface<Family>
{
protected:
    Bytes stream() const { return stream_of(codec, record); }

    static uint32_t size(const Bytes &bytes) { return static_cast<uint32_t>(bytes.size()); }

    void expect_error(const std::string &call, const std::string &code)
    {
        EXPECT_EQ(platform.codec.errors,
                  (std::vector<std::string>{std::string(codec.prefix) + call + ": ERR 0x" + code + "\n"}));
        platform.codec.errors.clear();
    }
    void expect_no_error() { EXPECT_TRUE(platform.codec.errors.empty()); }

    // What a walk gives for a row, and a single field for its id.
    Bytes value_of(const fcodec_row &row) const
    {
        if (const fcodec_table *const nested = nested_in(codec.table, row.id))
            return stream_of(family_of(*nested), Sample(family_of(*nested), record.data() + row.offset));
        if (codec.has_tail() && row.id == 9)
            return Bytes(record.bytes().end() - tail, record.bytes().end());
        return bytes_at(record.data() + row.offset, row.width);
    }

    const Family &codec = GetParam();
    const Sample record = Sample::random(codec, tail, 1);
};

INSTANTIATE_TEST_SUITE_P(Of, CodecFamily, testing::ValuesIn(families),
                         [](const auto &row) { return std::string(row.param.prefix); });

TEST(CodecFamilies, AreSeventeenAndThirteenOfThemHaveReplicationForms)
{
    EXPECT_EQ(std::size(families), 17u);
    EXPECT_EQ(std::size(replications), 13u + 1); // the profile options' have names of their own
}

TEST_P(CodecFamily, EncodesAsTheTableSaysAndPassesTheThreeOptions)
{
    const Bytes expected = stream();
    Bytes tlv(expected.size());
    EXPECT_EQ(codec.to_tlv(record.data(), tlv.data(), size(tlv), 11, 22, 33), 0);
    EXPECT_EQ(tlv, expected);
    EXPECT_EQ(platform.codec.options, (std::array<uint32_t, 3>{11, 22, 33}));
    EXPECT_EQ(codec_calls(platform), (std::vector<Call>{Call::fcodec_table_convert_struct_to_tlv}));
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
    Sample out(codec, tail, 0xEE);
    EXPECT_EQ(codec.to_struct(tlv.data(), size(tlv), out.data(), 44), 0);
    EXPECT_EQ(out.bytes(), record.taken_by(out, 0xEE));
    EXPECT_EQ(platform.codec.flag, 44u);
    EXPECT_EQ(codec_calls(platform), (std::vector<Call>{Call::fcodec_table_convert_tlv_to_struct}));
}

TEST_P(CodecFamily, DecodesNothingFromADamagedStreamAndReportsIt)
{
    Bytes tlv = stream(), out(record.bytes().size(), 0xEE);
    EXPECT_EQ(codec.to_struct(tlv.data(), size(tlv) - 1, out.data(), 0), 74);
    expect_error("_to_struct", "4a");
    tlv[0] ^= 0xFF;
    EXPECT_EQ(codec.to_struct(tlv.data(), size(tlv), out.data(), 0), 74);
    expect_error("_to_struct", "4a");
    EXPECT_EQ(codec.to_struct(nullptr, 10, out.data(), 0), 73);
    expect_error("_to_struct", "49");
    EXPECT_EQ(out, Bytes(out.size(), 0xEE));
}

TEST_P(CodecFamily, TellsTheSizeOfTheRecordInAStreamThatSaysItsOwnLength)
{
    const Bytes tlv = stream();
    EXPECT_EQ(codec.struct_sz(tlv.data()), static_cast<int32_t>(record.bytes().size()));
    EXPECT_EQ(platform.codec.readable, 0u);
    EXPECT_EQ(codec_calls(platform), (std::vector<Call>{Call::fcodec_table_get_struct_size_from_tlv}));
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
    EXPECT_EQ(codec.tlv_sz(nullptr), 0u);
    EXPECT_EQ(codec_calls(platform), (std::vector<Call>(2, Call::fcodec_table_size)));
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
        EXPECT_EQ(bytes_at(field.value, field.len), value_of(row));
    }
    fcodec_field field = {};
    EXPECT_EQ(codec.get_next(&walk, &field), 2);
    EXPECT_EQ(codec.get_next(&walk, &field), 2);
    EXPECT_EQ(field.id, 0u);
    EXPECT_EQ(field.value, nullptr);
    expect_no_error();
}

TEST_P(CodecFamily, StartsAWalkAtAnyFieldAndPassesTheFlagsAndReportsNoFailureOfIt)
{
    const Bytes tlv = stream();
    const auto last = static_cast<uint16_t>(codec.row_count - 1);
    fcodec_field_itr walk;
    fcodec_field field = {};
    ASSERT_EQ(codec.itr_init(&walk, tlv.data(), size(tlv), 66, last), 0);
    EXPECT_EQ(platform.codec.flags, 66u);
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
        Bytes value(8000, 0xEE), expected = value_of(row);
        uint32_t room = size(value);
        EXPECT_EQ(codec.get_field(tlv.data(), size(tlv), row.id, value.data(), &room), 0);
        EXPECT_EQ(room, expected.size());
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

TEST_P(CodecFamily, PassesOnAnyCodeOfTheCodec)
{
    Bytes tlv = stream(), out(record.bytes().size());
    for (const int code : {1, 2, 73, 0x7FFFFFFF, -1}) {
        SCOPED_TRACE(code);
        platform.codec.code = code;
        char hex[16];
        std::snprintf(hex, sizeof hex, "%x", static_cast<unsigned>(code));
        platform.calls.fail(Call::fcodec_table_convert_struct_to_tlv);
        EXPECT_EQ(codec.to_tlv(record.data(), tlv.data(), size(tlv), 0, 0, 0), code);
        expect_error("_to_tlv", hex);
        platform.calls.fail(Call::fcodec_table_convert_tlv_to_struct);
        EXPECT_EQ(codec.to_struct(tlv.data(), size(tlv), out.data(), 0), code);
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
    const Bytes tlv = stream();
    Sample out(codec, tail);
    EXPECT_EQ(codec.to_struct(tlv.data(), size(tlv), out.data(), 0), 0);
    EXPECT_EQ(kov_api.initialized, 0u);
    EXPECT_EQ(platform.calls.count(Call::osal_rdb_open), 0u);
}

class ReplicationForms : public Lab, public testing::WithParamInterface<Replication>
{
protected:
    void expect_error(const std::string &call, const std::string &code)
    {
        EXPECT_EQ(platform.codec.errors, (std::vector<std::string>{std::string(forms.family->prefix) + call +
                                                                   ": ERR 0x" + code + "\n"}));
        platform.codec.errors.clear();
    }

    const Replication &forms = GetParam();
    const Sample record = Sample::random(*forms.family, tail, 2);
    const Bytes stream = stream_of(*forms.family, record);
    const uint32_t size = static_cast<uint32_t>(stream.size());
};

INSTANTIATE_TEST_SUITE_P(Of, ReplicationForms, testing::ValuesIn(replications),
                         [](const auto &row) { return std::string(row.param.name); });

// Deliberate: the replication form of encoding turns the result round, 1 for success; that of decoding does
// not.
TEST_P(ReplicationForms, OfEncodingTurnsTheResultRoundAndPasses0ItsOptionAnd1)
{
    Bytes tlv(size);
    EXPECT_EQ(forms.to_tlv(record.data(), tlv.data(), size, 55), 1u);
    EXPECT_EQ(tlv, stream);
    EXPECT_EQ(platform.codec.options, (std::array<uint32_t, 3>{0, 55, 1}));
    EXPECT_TRUE(platform.codec.errors.empty());

    EXPECT_EQ(forms.to_tlv(record.data(), tlv.data(), size - 1, 55), 0u);
    expect_error("_to_tlv", "4b"); // in the name of the form that it wraps
    platform.codec.code = 2;
    platform.calls.fail(Call::fcodec_table_convert_struct_to_tlv);
    EXPECT_EQ(forms.to_tlv(record.data(), tlv.data(), size, 55), 0u);
    expect_error("_to_tlv", "2");
}

TEST_P(ReplicationForms, OfDecodingDoesNotTurnTheResultRoundAndPasses1)
{
    Sample out(*forms.family, tail, 0xEE);
    EXPECT_EQ(forms.to_struct(stream.data(), size, out.data()), 0);
    EXPECT_EQ(out.bytes(), record.taken_by(out, 0xEE));
    EXPECT_EQ(platform.codec.flag, 1u);
    EXPECT_TRUE(platform.codec.errors.empty());

    EXPECT_EQ(forms.to_struct(stream.data(), 3, out.data()), 74);
    expect_error("_to_struct", "4a");
    platform.codec.code = -1;
    platform.calls.fail(Call::fcodec_table_convert_tlv_to_struct);
    EXPECT_EQ(forms.to_struct(stream.data(), size, out.data()), -1);
    expect_error("_to_struct", "ffffffff");
}

TEST_P(ReplicationForms, TellTheSizeOfAStreamWithoutAnyReport)
{
    EXPECT_EQ(forms.tlv_sz(record.data()), size);
    EXPECT_EQ(forms.tlv_sz(nullptr), 0u);
    EXPECT_EQ(codec_calls(platform), (std::vector<Call>(2, Call::fcodec_table_size)));
    EXPECT_TRUE(platform.codec.errors.empty());
}

} // namespace
