// The faults that the fake puts before the codec and the bit sets that it shares with the host.
#include "fake/fake.h"

#include <kov/platform/bitfield.h>
#include <kov/platform/fcodec.h>

#include <gtest/gtest.h>

using fake::Call;

namespace
{

class FakeCodec : public testing::Test
{
protected:
    FakeCodec() { p.reset(); }
    ~FakeCodec() override { p.reset(); }

    struct Schema {
        fcodec_table head;
        fcodec_row rows[2];
    };
    static constexpr uint32_t ones = 0xFFFFFFFF;
    static constexpr Schema schema = {
        {4, "word", {0, 0}},
        {{1, 4, 0, FCODEC_KIND_PLAIN, nullptr, nullptr, {0, 0}, 0, 4, ones, 0},
         {ones, ones, ones, 0, nullptr, nullptr, {0, 0}, ones, ones, ones, 0}},
    };
    int encode() { return fcodec_table_convert_struct_to_tlv(tlv, size, &schema.head, &word, 0, 2, 1); }
    int decode() { return fcodec_table_convert_tlv_to_struct(tlv, size, &word, &schema.head, 1); }

    fake::Platform &p = fake::platform();
    uint32_t word = 0x12345678;
    uint32_t size = fcodec_table_size(&schema.head, &word);
    uint8_t tlv[64] = {};
};

TEST_F(FakeCodec, IsTheHostsOwn)
{
    ASSERT_GT(size, 4u);
    ASSERT_LE(size, sizeof tlv);
    ASSERT_EQ(encode(), 0);
    word = 0;
    ASSERT_EQ(decode(), 0);
    EXPECT_EQ(word, 0x12345678u);
    EXPECT_EQ(p.codec.options, (std::array<uint32_t, 3>{0, 2, 1}));
    EXPECT_EQ(p.codec.flag, 1u);
}

TEST_F(FakeCodec, FailsWithTheCodeThatTheTestChose)
{
    p.codec.code = 75;
    uint32_t bytes = 7;
    for (const Call call :
         {Call::fcodec_table_convert_struct_to_tlv, Call::fcodec_table_convert_tlv_to_struct,
          Call::fcodec_table_get_struct_size_from_tlv, Call::fcodec_table_size})
        p.calls.fail(call);
    EXPECT_EQ(encode(), 75);
    EXPECT_EQ(decode(), 75);
    EXPECT_EQ(fcodec_table_get_struct_size_from_tlv(&bytes, tlv, 0, &schema.head), 75);
    EXPECT_EQ(bytes, 7u);
    EXPECT_EQ(fcodec_table_size(&schema.head, &word), 0u);
    EXPECT_EQ(word, 0x12345678u);
    EXPECT_EQ(encode(), 0);
}

TEST_F(FakeCodec, RecordsTheErrorsThatAreReported)
{
    fcodec_error_print("%s: ERR 0x%x\n", "here", 0x4Au);
    EXPECT_EQ(p.codec.errors, std::vector<std::string>{"here: ERR 0x4a\n"});
}

TEST_F(FakeCodec, FailsBitSetsOnDemandAndCountsThem)
{
    bitfield *const set = bitfield_create(256);
    ASSERT_NE(set, nullptr);
    EXPECT_GT(p.leaks().blocks, 0u);
    p.calls.fail(Call::bitfield_create);
    EXPECT_EQ(bitfield_create(256), nullptr);
    const uint8_t bits[] = {0x21};
    p.calls.fail(Call::bitfield_copy_in);
    EXPECT_NE(bitfield_copy_in(set, 0, bits, 8), 0);
    EXPECT_EQ(bitfield_test(set, 5), 0);
    EXPECT_EQ(bitfield_copy_in(set, 0, bits, 8), 0);
    EXPECT_NE(bitfield_test(set, 5), 0);
    p.calls.fail(Call::bitfield_sprintf_to_buffer);
    EXPECT_EQ(bitfield_sprintf_to_buffer(set, ""), nullptr);
    char *const text = bitfield_sprintf_to_buffer(set, "> ");
    ASSERT_NE(text, nullptr);
    mtrack_free(text);
    bitfield_destroy(set);
    EXPECT_TRUE(p.leaks().none());
}

} // namespace
