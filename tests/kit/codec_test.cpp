#include "codec_bench.h"

namespace
{

using kit::Bytes;
using kit::counting;
using kit::decode;
using kit::Decoded;
using kit::encode;
using kit::Field;
using kit::ids_of;
using kit::mixed_table;
using kit::Table;
using kit::untouched;
using kit::walk;

TEST(SchemaTable, HasTheSizesOfItsWords)
{
    const bool pointers_are_words = sizeof(void *) == 4;
    EXPECT_EQ(sizeof(fcodec_table), pointers_are_words ? 16u : 24u);
    EXPECT_EQ(sizeof(fcodec_row), pointers_are_words ? 48u : 56u);
    EXPECT_EQ(offsetof(fcodec_row, copy), 16u);
    EXPECT_EQ(offsetof(fcodec_row, word_8), sizeof(fcodec_row) - 16u);
    EXPECT_EQ(offsetof(fcodec_table, type_name), sizeof(void *));
}

TEST(Codec, ARecordSurvivesTheRoundTripExceptForBytesThatNoRowCovers)
{
    const Table table = mixed_table();
    const Bytes record = counting(43);
    const Decoded back = decode(table, encode(table, record));
    ASSERT_EQ(back.code, FCODEC_OK);
    for (uint32_t at = 0; at < 43; ++at)
        EXPECT_EQ(back.record[at], table.covers(at) ? record[at] : untouched) << at;
}

TEST(Codec, RoundTripsRandomTables)
{
    kit::Random random(7);
    for (int round = 0; round < 300; ++round) {
        Table table(1 + random.below(300));
        const uint32_t rows = random.below(16);
        for (uint32_t id = 0; id < rows; ++id) {
            const uint32_t offset = random.below(table.record_size());
            const uint32_t width = 1 + random.below(table.record_size() - offset);
            table.row(id * 3, offset, width, random.one_in(2) ? 1 : 8);
        }
        Bytes record(table.record_size());
        for (uint8_t &byte : record)
            byte = static_cast<uint8_t>(random.word());
        const Decoded back = decode(table, encode(table, record));
        ASSERT_EQ(back.code, FCODEC_OK);
        for (uint32_t at = 0; at < table.record_size(); ++at)
            ASSERT_EQ(back.record[at], table.covers(at) ? record[at] : untouched) << at;
    }
}

TEST(Codec, FieldsStandInTableOrderNotInOffsetOrder)
{
    Table table(12);
    table.plain(3, 8, 4).plain(1, 0, 4).plain(2, 4, 4);
    const auto [code, fields] = walk(table, encode(table, counting(12)));
    EXPECT_EQ(code, FCODEC_END);
    EXPECT_EQ(ids_of(fields), (std::vector<uint32_t>{3, 1, 2}));
}

TEST(Codec, AnIdThatStandsInTwoRowsIsEncodedTwice)
{
    const Table table = mixed_table();
    const auto [code, fields] = walk(table, encode(table, counting(43)));
    EXPECT_EQ(code, FCODEC_END);
    EXPECT_EQ(ids_of(fields), (std::vector<uint32_t>{0, 7, 1, 2, 7, 603}));
}

TEST(Codec, FieldsAreAppliedInOrderSoThatOfARepeatedOneTheLastCounts)
{
    Table writer(8), reader(8);
    writer.plain(5, 0, 4).plain(6, 0, 2).plain(5, 4, 4);
    reader.plain(5, 0, 4);
    const Bytes stream = encode(writer, counting(8));
    const Decoded back = decode(reader, stream);
    ASSERT_EQ(back.code, FCODEC_OK);
    EXPECT_EQ(back.record, (Bytes{5, 6, 7, 8, untouched, untouched, untouched, untouched}));
    uint32_t size = 4;
    Bytes value(4);
    EXPECT_EQ(fcodec_get_field(stream.data(), static_cast<uint32_t>(stream.size()), 5, value.data(), &size,
                               reader.get()),
              FCODEC_OK);
    EXPECT_EQ(value, (Bytes{5, 6, 7, 8}));
}

TEST(Codec, FieldsWhoseIdNoRowHasAreSkipped)
{
    Table writer(8), reader(8);
    writer.plain(9, 0, 2).plain(1, 2, 2).plain(8, 4, 3).plain(2, 7, 1).plain(10, 0, 8);
    reader.plain(1, 2, 2).plain(2, 7, 1);
    const Bytes stream = encode(writer, counting(8));
    const Decoded back = decode(reader, stream);
    ASSERT_EQ(back.code, FCODEC_OK);
    EXPECT_EQ(back.record, (Bytes{untouched, untouched, 3, 4, untouched, untouched, untouched, 8}));
    EXPECT_EQ(ids_of(walk(reader, stream).second), (std::vector<uint32_t>{1, 2}));
}

TEST(Codec, RowsThatHaveNoFieldLeaveTheirBytesAsFound)
{
    Table writer(8), reader(8);
    writer.plain(2, 4, 2);
    reader.plain(1, 0, 4).plain(2, 4, 2).plain(3, 6, 2);
    const Decoded back = decode(reader, encode(writer, counting(8)));
    ASSERT_EQ(back.code, FCODEC_OK);
    EXPECT_EQ(back.record, (Bytes{untouched, untouched, untouched, untouched, 5, 6, untouched, untouched}));
}

TEST(Codec, FieldsInAnyOrderFindTheirRows)
{
    Table writer(8), reader(8);
    writer.plain(4, 6, 2).plain(1, 0, 2).plain(3, 4, 2).plain(2, 2, 2);
    reader.plain(1, 0, 2).plain(2, 2, 2).plain(3, 4, 2).plain(4, 6, 2);
    const Decoded back = decode(reader, encode(writer, counting(8)));
    ASSERT_EQ(back.code, FCODEC_OK);
    EXPECT_EQ(back.record, counting(8));
}

TEST(Codec, AFieldThatIsNotExactlyAsLongAsItsRowIsWideIsMalformed)
{
    for (const uint32_t width : {1u, 3u, 5u, 8u}) {
        Table writer(8), reader(8);
        writer.plain(1, 0, 2).plain(2, 0, 4);
        reader.plain(1, 2, 2).plain(2, 0, width);
        const Decoded back = decode(reader, encode(writer, counting(8)));
        EXPECT_EQ(back.code, FCODEC_MALFORMED) << width;
        EXPECT_EQ(back.record, Bytes(8, untouched)) << width;
    }
}

TEST(Codec, AStreamForAStructureOfAnotherSizeIsMalformed)
{
    Table writer(8), reader(9);
    writer.plain(1, 0, 4);
    reader.plain(1, 0, 4);
    const Decoded back = decode(reader, encode(writer, counting(8)));
    EXPECT_EQ(back.code, FCODEC_MALFORMED);
    EXPECT_EQ(back.record, Bytes(9, untouched));
}

TEST(Codec, StringsAlwaysTravelAtTheirFullWidth)
{
    Table table(9);
    table.string(1, 0, 8);
    for (const Bytes &text :
         {Bytes{0, 3, 'a', '=', '1', 0, 2, 'b', 99}, Bytes{'f', 'u', 'l', 'l', 'w', 'i', 'd', 'e', 99}}) {
        const Decoded back = decode(table, encode(table, text));
        ASSERT_EQ(back.code, FCODEC_OK);
        EXPECT_TRUE(std::equal(text.begin(), text.begin() + 8, back.record.begin()));
        EXPECT_EQ(back.record[8], untouched);
    }
}

TEST(Codec, ATableWithoutRowsMakesAStreamWithoutFields)
{
    const Table table(4);
    const Bytes stream = encode(table, counting(4));
    const Decoded back = decode(table, stream);
    EXPECT_EQ(back.code, FCODEC_OK);
    EXPECT_EQ(back.record, Bytes(4, untouched));
    EXPECT_EQ(walk(table, stream).first, FCODEC_END);
}

TEST(Codec, EncodingWritesExactlyTheSizeItSays)
{
    const Table table = mixed_table();
    const Bytes record = counting(43);
    const uint32_t size = fcodec_table_size(table.get(), record.data());
    Bytes buffer(size + 50, 0xAB);
    ASSERT_EQ(
        fcodec_table_convert_struct_to_tlv(buffer.data(), size + 50, table.get(), record.data(), 0, 0, 1),
        FCODEC_OK);
    EXPECT_EQ(Bytes(buffer.begin() + size, buffer.end()), Bytes(50, 0xAB));
    buffer.resize(size);
    EXPECT_EQ(buffer, encode(table, record));
}

TEST(Codec, EncodingIntoTooLittleRoomIsRefusedAndWritesNothing)
{
    const Table table = mixed_table();
    const Bytes record = counting(43);
    const uint32_t size = fcodec_table_size(table.get(), record.data());
    for (uint32_t room = 0; room < size; ++room) {
        kit::OddCopy buffer(Bytes(room, untouched));
        EXPECT_EQ(
            fcodec_table_convert_struct_to_tlv(buffer.data(), room, table.get(), record.data(), 0, 0, 1),
            FCODEC_TOO_SMALL)
            << room;
        EXPECT_EQ(Bytes(buffer.data(), buffer.data() + room), Bytes(room, untouched)) << room;
    }
}

TEST(Codec, NeitherOptionsNorFlagsChangeAStream)
{
    const Table table = mixed_table();
    const Bytes record = counting(43);
    const Bytes stream = encode(table, record);
    const auto size = static_cast<uint32_t>(stream.size());
    for (const uint32_t option : {0u, 1u, 2u, 0xFFFFFFFFu}) {
        Bytes other(size);
        EXPECT_EQ(fcodec_table_convert_struct_to_tlv(other.data(), size, table.get(), record.data(), option,
                                                     ~option, option),
                  FCODEC_OK);
        EXPECT_EQ(other, stream);
        Bytes back(43, untouched);
        EXPECT_EQ(fcodec_table_convert_tlv_to_struct(stream.data(), size, back.data(), table.get(), option),
                  FCODEC_OK);
        EXPECT_EQ(back, decode(table, stream).record);
    }
}

TEST(Codec, WhatFollowsAStreamIsNotLookedAt)
{
    const Table table = mixed_table();
    Bytes stream = encode(table, counting(43));
    const Decoded alone = decode(table, stream);
    stream.resize(stream.size() + 40, 0xFF);
    const Decoded followed = decode(table, stream);
    EXPECT_EQ(followed.code, FCODEC_OK);
    EXPECT_EQ(followed.record, alone.record);
}

TEST(Codec, SaysTheSizeOfTheStructureAStreamNeeds)
{
    const Table table = mixed_table();
    const Bytes stream = encode(table, counting(43));
    uint32_t size = 0;
    EXPECT_EQ(fcodec_table_get_struct_size_from_tlv(&size, stream.data(),
                                                    static_cast<uint32_t>(stream.size()), table.get()),
              FCODEC_OK);
    EXPECT_EQ(size, 43u);
}

TEST(Codec, Length0TrustsTheStreamsOwnLength)
{
    const Table table = mixed_table();
    kit::OddCopy stream(encode(table, counting(43)));
    uint32_t size = 0;
    EXPECT_EQ(fcodec_table_get_struct_size_from_tlv(&size, stream.data(), 0, table.get()), FCODEC_OK);
    EXPECT_EQ(size, 43u);
}

TEST(Codec, StreamsOfMoreThan16MiBAreNotMade)
{
    constexpr uint32_t cap = 16u << 20;
    Table table(cap);
    table.plain(0, 0, cap);
    const Bytes record(cap);
    EXPECT_EQ(fcodec_table_size(table.get(), record.data()), 0u);
    Bytes buffer(cap + 100, untouched);
    EXPECT_EQ(
        fcodec_table_convert_struct_to_tlv(buffer.data(), cap + 100, table.get(), record.data(), 0, 0, 1),
        FCODEC_TOO_SMALL);
    EXPECT_EQ(buffer, Bytes(cap + 100, untouched));
}

TEST(Codec, SumsOfWidthsDoNotWrapRound)
{
    constexpr uint32_t huge = 0x80000000u;
    Table table(huge);
    table.plain(0, 0, huge).plain(1, 0, huge);
    const uint8_t record = 0;
    EXPECT_EQ(fcodec_table_size(table.get(), &record), 0u);
    Bytes buffer(100, untouched);
    EXPECT_EQ(fcodec_table_convert_struct_to_tlv(buffer.data(), 100, table.get(), &record, 0, 0, 1),
              FCODEC_TOO_SMALL);
    EXPECT_EQ(buffer, Bytes(100, untouched));
}

// ---- Walks and single fields

TEST(CodecWalk, GivesTheFieldsThatDecodingApplies)
{
    const Table table = mixed_table();
    const Bytes stream = encode(table, counting(43));
    Bytes rebuilt(43, untouched);
    for (const Field &field : walk(table, stream).second) {
        ASSERT_NE(field.row, nullptr);
        EXPECT_EQ(field.row->id, field.id);
        ASSERT_EQ(field.row->width, field.value.size());
        std::copy(field.value.begin(), field.value.end(), rebuilt.begin() + field.row->offset);
    }
    EXPECT_EQ(rebuilt, decode(table, stream).record);
}

TEST(CodecWalk, PassesOverTheFirstFields)
{
    const Table table = mixed_table();
    const Bytes stream = encode(table, counting(43));
    const auto all = walk(table, stream).second;
    for (const unsigned start : {0u, 1u, 5u, 6u, 7u, 0xFFFFu}) {
        const auto [code, fields] = walk(table, stream, static_cast<uint16_t>(start));
        EXPECT_EQ(code, FCODEC_END);
        const auto from = all.begin() + std::min<std::ptrdiff_t>(start, std::ssize(all));
        EXPECT_EQ(fields, std::vector<Field>(from, all.end())) << start;
    }
}

TEST(CodecWalk, SaysTheEndAgainAndAgainAndLeavesTheOutputAlone)
{
    Table table(4);
    table.plain(1, 0, 4);
    const Bytes stream = encode(table, counting(4));
    fcodec_field_itr itr;
    fcodec_field field = {};
    ASSERT_EQ(
        fcodec_field_itr_init(&itr, stream.data(), static_cast<uint32_t>(stream.size()), table.get(), 0, 0),
        FCODEC_OK);
    ASSERT_EQ(fcodec_field_itr_get_next(&itr, &field), FCODEC_OK);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(fcodec_field_itr_get_next(&itr, &field), FCODEC_END);
        EXPECT_EQ(field.id, 1u);
        EXPECT_EQ(field.row, table.row_at(0));
    }
}

class CodecField : public testing::Test
{
protected:
    int get(uint32_t id, uint32_t room)
    {
        kit::OddCopy from(stream), to(Bytes(room, untouched));
        size = room;
        const int code = fcodec_get_field(from.data(), static_cast<uint32_t>(stream.size()), id, to.data(),
                                          &size, table.get());
        value = Bytes(to.data(), to.data() + room);
        return code;
    }

    const Table table = mixed_table();
    const Bytes stream = encode(table, counting(43));
    uint32_t size = 0;
    Bytes value;
};

TEST_F(CodecField, IsTheValueThatDecodingLeaves)
{
    const Bytes record = decode(table, stream).record;
    for (std::size_t i = 0; i < 6; ++i) {
        const fcodec_row &row = *table.row_at(i);
        ASSERT_EQ(get(row.id, row.width), FCODEC_OK) << row.id;
        EXPECT_EQ(size, row.width);
        const auto first = record.begin() + row.offset;
        EXPECT_EQ(value, Bytes(first, first + row.width)) << row.id;
    }
}

TEST_F(CodecField, MayHaveMoreRoomThanItNeeds)
{
    ASSERT_EQ(get(0, 6), FCODEC_OK);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(value, (Bytes{1, 2, 3, 4, untouched, untouched}));
}

TEST_F(CodecField, TooLittleRoomGetsTheSizeItWantsAndNothingElse)
{
    ASSERT_EQ(get(2, 16), FCODEC_TOO_SMALL);
    EXPECT_EQ(size, 17u);
    EXPECT_EQ(value, Bytes(16, untouched));
}

TEST_F(CodecField, AbsentFromTheStreamOrTheTableIsTheEnd)
{
    ASSERT_EQ(get(999, 8), FCODEC_END);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(value, Bytes(8, untouched));
    ASSERT_EQ(get(0xFFFFFFFFu, 8), FCODEC_END);
}

// ---- Refusals

TEST(CodecRefusal, NullPointersAreUnusableArguments)
{
    Table table(4);
    table.plain(1, 0, 4);
    const Bytes stream = encode(table, counting(4));
    const auto len = static_cast<uint32_t>(stream.size());
    Bytes room(len);
    Bytes record(4);
    uint32_t size = 4;
    fcodec_field_itr itr;
    fcodec_field field;
    EXPECT_EQ(fcodec_table_convert_struct_to_tlv(nullptr, len, table.get(), record.data(), 0, 0, 1),
              FCODEC_ARGUMENT);
    EXPECT_EQ(fcodec_table_convert_struct_to_tlv(room.data(), len, nullptr, record.data(), 0, 0, 1),
              FCODEC_ARGUMENT);
    EXPECT_EQ(fcodec_table_convert_struct_to_tlv(room.data(), len, table.get(), nullptr, 0, 0, 1),
              FCODEC_ARGUMENT);
    EXPECT_EQ(fcodec_table_convert_tlv_to_struct(nullptr, len, record.data(), table.get(), 1),
              FCODEC_ARGUMENT);
    EXPECT_EQ(fcodec_table_convert_tlv_to_struct(stream.data(), len, nullptr, table.get(), 1),
              FCODEC_ARGUMENT);
    EXPECT_EQ(fcodec_table_convert_tlv_to_struct(stream.data(), len, record.data(), nullptr, 1),
              FCODEC_ARGUMENT);
    EXPECT_EQ(fcodec_table_get_struct_size_from_tlv(nullptr, stream.data(), len, table.get()),
              FCODEC_ARGUMENT);
    EXPECT_EQ(fcodec_table_get_struct_size_from_tlv(&size, nullptr, len, table.get()), FCODEC_ARGUMENT);
    EXPECT_EQ(fcodec_table_get_struct_size_from_tlv(&size, stream.data(), len, nullptr), FCODEC_ARGUMENT);
    EXPECT_EQ(fcodec_table_size(nullptr, record.data()), 0u);
    EXPECT_EQ(fcodec_table_size(table.get(), nullptr), 0u);
    EXPECT_EQ(fcodec_field_itr_init(nullptr, stream.data(), len, table.get(), 0, 0), FCODEC_ARGUMENT);
    EXPECT_EQ(fcodec_field_itr_init(&itr, nullptr, len, table.get(), 0, 0), FCODEC_ARGUMENT);
    EXPECT_EQ(fcodec_field_itr_init(&itr, stream.data(), len, nullptr, 0, 0), FCODEC_ARGUMENT);
    ASSERT_EQ(fcodec_field_itr_init(&itr, stream.data(), len, table.get(), 0, 0), FCODEC_OK);
    EXPECT_EQ(fcodec_field_itr_get_next(nullptr, &field), FCODEC_ARGUMENT);
    EXPECT_EQ(fcodec_field_itr_get_next(&itr, nullptr), FCODEC_ARGUMENT);
    EXPECT_EQ(fcodec_get_field(nullptr, len, 1, record.data(), &size, table.get()), FCODEC_ARGUMENT);
    EXPECT_EQ(fcodec_get_field(stream.data(), len, 1, nullptr, &size, table.get()), FCODEC_ARGUMENT);
    EXPECT_EQ(fcodec_get_field(stream.data(), len, 1, record.data(), nullptr, table.get()), FCODEC_ARGUMENT);
    EXPECT_EQ(fcodec_get_field(stream.data(), len, 1, record.data(), &size, nullptr), FCODEC_ARGUMENT);
    EXPECT_EQ(record, Bytes(4));
    EXPECT_EQ(size, 4u);
}

int give_nothing(const void *, uint32_t, void **, uint32_t *, uint32_t *) { return FCODEC_OK; }

class CodecTableRefusal : public testing::TestWithParam<std::pair<const char *, Table>>
{
};

TEST_P(CodecTableRefusal, ATableThatCannotBeUsedIsRefusedEverywhereAndNothingIsWritten)
{
    const Table &table = GetParam().second;
    Table plain(8);
    plain.plain(1, 0, 4);
    const Bytes stream = encode(plain, counting(8));
    const auto len = static_cast<uint32_t>(stream.size());
    const Bytes record = counting(8);
    Bytes room(200, untouched);
    EXPECT_EQ(fcodec_table_size(table.get(), record.data()), 0u);
    EXPECT_EQ(fcodec_table_convert_struct_to_tlv(room.data(), 200, table.get(), record.data(), 0, 0, 1),
              FCODEC_ARGUMENT);
    EXPECT_EQ(room, Bytes(200, untouched));
    const Decoded back = decode(table, stream);
    EXPECT_EQ(back.code, FCODEC_ARGUMENT);
    EXPECT_EQ(back.record, Bytes(8, untouched));
    EXPECT_EQ(walk(table, stream).first, FCODEC_ARGUMENT);
    uint32_t size = 200;
    EXPECT_EQ(fcodec_get_field(stream.data(), len, 1, room.data(), &size, table.get()), FCODEC_ARGUMENT);
    EXPECT_EQ(fcodec_table_get_struct_size_from_tlv(&size, stream.data(), len, table.get()), FCODEC_ARGUMENT);
    EXPECT_EQ(size, 200u);
    EXPECT_EQ(room, Bytes(200, untouched));
}

INSTANTIATE_TEST_SUITE_P(
    Tables, CodecTableRefusal,
    testing::Values(std::pair("NestedRowWithoutARule", Table(8).plain(1, 0, 4).nested(2, 4, 4)),
                    std::pair("StringThatIsCopiedButHasNoSize",
                              Table(8).plain(1, 0, 4).routed(2, 4, 4, give_nothing, nullptr)),
                    std::pair("UnknownKind", Table(8).plain(1, 0, 4).row(2, 4, 4, 2)),
                    std::pair("RowPastTheRecord", Table(8).plain(1, 0, 4).plain(2, 5, 4)),
                    std::pair("OffsetPastTheRecord", Table(8).plain(1, 0, 4).plain(2, 9, 0)),
                    std::pair("OffsetAndWidthThatWrapRound",
                              Table(8).plain(1, 0, 4).plain(2, 0xFFFFFFF0u, 0x14))),
    [](const auto &each) { return each.param.first; });

TEST(CodecMalloc, GivesMemoryThatFreeTakes)
{
    void *const block = fcodec_malloc(64);
    ASSERT_NE(block, nullptr);
    std::memset(block, 0x5A, 64);
    std::free(block);
}

} // namespace
