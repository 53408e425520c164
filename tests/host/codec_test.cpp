// The host's own promises about its codec: the bytes that docs/codec.md fixes, and where error reports go.
#include "kov_host.h"

#include <kov/platform/fcodec.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<uint8_t>;

constexpr uint32_t ones = 0xFFFFFFFFu;

struct Table {
    fcodec_table head;
    fcodec_row rows[3];
};

constexpr fcodec_row row(uint32_t id, uint32_t offset, uint32_t width)
{
    return {id, width, offset, FCODEC_KIND_PLAIN, nullptr, nullptr, {0, 0}, 0, width, ones, 0};
}

constexpr fcodec_row end = {ones, ones, ones, 0, nullptr, nullptr, {0, 0}, ones, ones, ones, 0};

constexpr Table table = {{12, "example_t", {0, 0}}, {row(7, 8, 1), row(1, 0, 4), end}};

constexpr fcodec_row nested_row(uint32_t id, uint32_t offset, uint32_t width)
{
    fcodec_row nested = row(id, offset, width);
    nested.kind = FCODEC_KIND_NESTED;
    return nested;
}

constexpr Table inner_table = {{4, "inner_t", {0, 0}}, {row(1, 2, 2), end, {}}};
constexpr Table outer_table = {{6, "outer_t", {0, 0}}, {row(0, 0, 1), nested_row(5, 1, 4), end}};

// clang-format off
const Bytes example = {
    0x4B, 0x54, 0x4C, 0x56,  0x25, 0, 0, 0,  0x0C, 0, 0, 0,  2, 0, 0, 0,
    7, 0, 0, 0,  1, 0, 0, 0,  0xAB,
    1, 0, 0, 0,  4, 0, 0, 0,  0x44, 0x33, 0x22, 0x11,
};
const Bytes nested_example = {
    0x4B, 0x54, 0x4C, 0x56,  0x3B, 0, 0, 0,  6, 0, 0, 0,  2, 0, 0, 0,
    0, 0, 0, 0,  1, 0, 0, 0,  0xAB,
    5, 0, 0, 0,  0x1A, 0, 0, 0,
        0x4B, 0x54, 0x4C, 0x56,  0x1A, 0, 0, 0,  4, 0, 0, 0,  1, 0, 0, 0,
        1, 0, 0, 0,  2, 0, 0, 0,  0x22, 0x11,
};
// clang-format on

const Bytes record = {0x44, 0x33, 0x22, 0x11, 0, 0, 0, 0, 0xAB, 0, 0, 0};

} // namespace

extern "C" const fcodec_rule kov_codec_rule_tbl[] = {
    {&outer_table.head, 5, FCODEC_NO_TAIL, &inner_table.head, nullptr},
    {nullptr, 0, 0, nullptr, nullptr},
};

namespace
{

class CodecStream : public testing::Test
{
protected:
    int decode()
    {
        decoded.assign(12, 0);
        return fcodec_table_convert_tlv_to_struct(stream.data(), static_cast<uint32_t>(stream.size()),
                                                  decoded.data(), &table.head, 1);
    }
    void put_word(std::size_t at, uint32_t word) { std::memcpy(stream.data() + at, &word, sizeof word); }

    Bytes stream = example;
    Bytes decoded;
};

TEST_F(CodecStream, IsTheDocumentedOneByteForByte)
{
    Bytes encoded(fcodec_table_size(&table.head, record.data()));
    ASSERT_EQ(fcodec_table_convert_struct_to_tlv(encoded.data(), static_cast<uint32_t>(encoded.size()),
                                                 &table.head, record.data(), 0, 0, 1),
              FCODEC_OK);
    EXPECT_EQ(encoded, example);
    EXPECT_EQ(decode(), FCODEC_OK);
    EXPECT_EQ(decoded, record);
}

TEST_F(CodecStream, OfARecordInARecordIsTheDocumentedOneByteForByte)
{
    const Bytes outer = {0xAB, 0, 0, 0x22, 0x11, 0};
    Bytes encoded(fcodec_table_size(&outer_table.head, outer.data()));
    const auto size = static_cast<uint32_t>(encoded.size());
    ASSERT_EQ(
        fcodec_table_convert_struct_to_tlv(encoded.data(), size, &outer_table.head, outer.data(), 0, 0, 1),
        FCODEC_OK);
    EXPECT_EQ(encoded, nested_example);
    Bytes back(outer.size());
    EXPECT_EQ(
        fcodec_table_convert_tlv_to_struct(nested_example.data(), size, back.data(), &outer_table.head, 1),
        FCODEC_OK);
    EXPECT_EQ(back, outer);
}

TEST_F(CodecStream, WithAWrongHeaderWordIsMalformed)
{
    struct {
        std::size_t at;
        uint32_t word;
    } const cases[] = {{0, 0x564C544A}, {4, 0},  {4, 15}, {4, 36}, {4, 38}, {4, ones},
                       {8, 11},         {8, 13}, {12, 1}, {12, 3}, {12, 0}, {12, ones}};
    for (const auto &each : cases) {
        stream = example;
        put_word(each.at, each.word);
        EXPECT_EQ(decode(), FCODEC_MALFORMED) << each.at << ' ' << each.word;
        EXPECT_EQ(decoded, Bytes(12)) << each.at << ' ' << each.word;
    }
}

TEST_F(CodecStream, WithAWrongFieldLengthIsMalformed)
{
    for (const uint32_t len : {0u, 2u, 16u, 17u, 0xFFFFFFF7u, ones}) {
        stream = example;
        put_word(20, len);
        EXPECT_EQ(decode(), FCODEC_MALFORMED) << len;
        EXPECT_EQ(decoded, Bytes(12)) << len;
    }
}

TEST_F(CodecStream, OfMoreThan16MiBIsRefusedByItsLength)
{
    constexpr uint32_t cap = 16u << 20;
    stream.resize(cap + 1);
    put_word(12, 3);
    put_word(37, 99); // an unknown field takes what is left
    put_word(4, cap);
    put_word(41, cap - 45);
    EXPECT_EQ(decode(), FCODEC_OK);
    EXPECT_EQ(decoded, record);
    put_word(4, cap + 1);
    put_word(41, cap + 1 - 45);
    EXPECT_EQ(decode(), FCODEC_TOO_SMALL);
    EXPECT_EQ(decoded, Bytes(12));
    uint32_t size = 5;
    EXPECT_EQ(fcodec_table_get_struct_size_from_tlv(&size, stream.data(), 0, &table.head), FCODEC_TOO_SMALL);
    EXPECT_EQ(size, 5u);
}

TEST(CodecTable, WithoutAnEndRowIsRefused)
{
    struct Long {
        fcodec_table head;
        fcodec_row rows[1026];
    };
    static Long rows = {{4, "long_t", {0, 0}}, {}};
    for (fcodec_row &each : rows.rows)
        each = row(1, 0, 1);
    const uint32_t word = 0;
    rows.rows[1024] = end;
    EXPECT_EQ(fcodec_table_size(&rows.head, &word), 16u + 1024 * 9);
    rows.rows[1024] = row(1, 0, 1);
    rows.rows[1025] = end;
    EXPECT_EQ(fcodec_table_size(&rows.head, &word), 0u);
}

TEST(CodecErrors, GoToStderrToBeginWith)
{
    testing::internal::CaptureStderr();
    fcodec_error_print("%s: ERR 0x%x\n", "kov_vault_client_to_tlv", 74u);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "kov_vault_client_to_tlv: ERR 0x4a\n");
}

TEST(CodecErrors, GoToTheProcessesOwnFunctionUntilItIsTakenBack)
{
    std::vector<std::string> texts;
    kov_host_on_codec_error(
        [](const char *text, void *arg) { static_cast<std::vector<std::string> *>(arg)->push_back(text); },
        &texts);
    fcodec_error_print("%d", 1);
    fcodec_error_print("%s", std::string(600, 'x').c_str());
    kov_host_on_codec_error(nullptr, nullptr);
    testing::internal::CaptureStderr();
    fcodec_error_print("%d", 2);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "2");
    EXPECT_EQ(texts, (std::vector<std::string>{"1", std::string(511, 'x')}));
}

} // namespace
