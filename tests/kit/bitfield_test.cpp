#include "kit.h"

#include <kov/platform/bitfield.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace
{

struct Destroy {
    void operator()(bitfield *set) const { bitfield_destroy(set); }
};
using Set = std::unique_ptr<bitfield, Destroy>;

Set make_set(uint32_t bits) { return Set(bitfield_create(bits)); }

Set set_of(uint32_t bits, const kit::Bytes &bytes)
{
    Set set = make_set(bits);
    EXPECT_EQ(bitfield_copy_in(set.get(), 0, bytes.data(), bits), 0);
    return set;
}

Set with_bits(uint32_t size, std::initializer_list<uint32_t> bits)
{
    kit::Bytes bytes((size + 7) / 8);
    for (const uint32_t bit : bits)
        bytes[bit / 8] = static_cast<uint8_t>(bytes[bit / 8] | 1u << (bit % 8));
    return set_of(size, bytes);
}

std::string lines_of(const bitfield *set, const char *prefix)
{
    char *const text = bitfield_sprintf_to_buffer(set, prefix);
    EXPECT_NE(text, nullptr);
    std::string copy = text == nullptr ? "" : text;
    mtrack_free(text);
    return copy;
}

TEST(BitSet, IsAllClearWhenCreated)
{
    const Set set = make_set(256);
    ASSERT_NE(set, nullptr);
    for (uint32_t bit = 0; bit < 256; ++bit)
        EXPECT_EQ(bitfield_test(set.get(), bit), 0) << bit;
}

TEST(BitSet, BitNIsByteNDividedBy8AtMask1ShiftedByTheRest)
{
    kit::Bytes bytes(32);
    bytes[0] = 0x01;
    bytes[1] = 0x82;
    bytes[31] = 0x80;
    const Set set = set_of(256, bytes);
    for (uint32_t bit = 0; bit < 256; ++bit)
        EXPECT_EQ(bitfield_test(set.get(), bit) != 0, bit == 0 || bit == 9 || bit == 15 || bit == 255) << bit;
}

TEST(BitSet, TestIs0PastTheEnd)
{
    const Set set = set_of(10, {0xFF, 0xFF});
    EXPECT_NE(bitfield_test(set.get(), 9), 0);
    for (const uint32_t bit : {10u, 15u, 16u, 1000000u, 0xFFFFFFFFu})
        EXPECT_EQ(bitfield_test(set.get(), bit), 0) << bit;
}

TEST(BitSet, CopyInLeavesTheBitsAroundAsTheyAre)
{
    for (uint32_t from = 0; from <= 24; ++from)
        for (uint32_t count = 0; from + count <= 24; ++count) {
            const Set ones = set_of(24, {0xFF, 0xFF, 0xFF});
            EXPECT_EQ(bitfield_copy_in(ones.get(), from, "\0\0\0", count), 0);
            const Set zeros = make_set(24);
            EXPECT_EQ(bitfield_copy_in(zeros.get(), from, "\xFF\xFF\xFF", count), 0);
            for (uint32_t bit = 0; bit < 24; ++bit) {
                const bool inside = bit >= from && bit - from < count;
                EXPECT_EQ(bitfield_test(ones.get(), bit) == 0, inside) << from << '+' << count << ' ' << bit;
                EXPECT_EQ(bitfield_test(zeros.get(), bit) != 0, inside) << from << '+' << count << ' ' << bit;
            }
        }
}

TEST(BitSet, CopyInTakesTheSourcesBitsFrom0Wherever)
{
    const Set set = make_set(64);
    EXPECT_EQ(bitfield_copy_in(set.get(), 3, "\x05\x80", 16), 0);
    for (uint32_t bit = 0; bit < 64; ++bit)
        EXPECT_EQ(bitfield_test(set.get(), bit) != 0, bit == 3 || bit == 5 || bit == 18) << bit;
}

TEST(BitSet, CopyInReadsNoByteBehindTheLastBit)
{
    for (uint32_t count : {1u, 8u, 9u, 16u, 33u}) {
        kit::OddCopy bytes(kit::Bytes((count + 7) / 8, 0xFF));
        const Set set = make_set(256);
        EXPECT_EQ(bitfield_copy_in(set.get(), 0, bytes.data(), count), 0);
        EXPECT_NE(bitfield_test(set.get(), count - 1), 0);
        EXPECT_EQ(bitfield_test(set.get(), count), 0);
    }
}

TEST(BitSet, MoreBitsThanFitAreRefusedAndNothingChanges)
{
    struct {
        uint32_t from, count;
    } const cases[] = {{0, 257}, {1, 256}, {256, 1}, {257, 0}, {0xFFFFFFFF, 2}, {2, 0xFFFFFFFF}};
    const kit::Bytes ones(64, 0xFF);
    const Set set = make_set(256);
    for (const auto &each : cases) {
        EXPECT_NE(bitfield_copy_in(set.get(), each.from, ones.data(), each.count), 0) << each.from;
        EXPECT_STREQ(bitfield_sprintf(set.get()), "none") << each.from;
    }
    EXPECT_EQ(bitfield_copy_in(set.get(), 0, ones.data(), 256), 0);
    EXPECT_EQ(bitfield_copy_in(set.get(), 256, ones.data(), 0), 0);
}

TEST(BitSet, OfNoBitsTakesNone)
{
    const Set set = make_set(0);
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(bitfield_copy_in(set.get(), 0, nullptr, 0), 0);
    EXPECT_NE(bitfield_copy_in(set.get(), 0, "\xFF", 1), 0);
    EXPECT_EQ(bitfield_test(set.get(), 0), 0);
    EXPECT_STREQ(bitfield_sprintf(set.get()), "none");
}

TEST(BitSet, NullSetsHaveNoBits)
{
    EXPECT_NE(bitfield_copy_in(nullptr, 0, "\xFF", 1), 0);
    EXPECT_EQ(bitfield_test(nullptr, 0), 0);
    EXPECT_STREQ(bitfield_sprintf(nullptr), "none");
    EXPECT_EQ(lines_of(nullptr, "> "), "> none\n");
    bitfield_destroy(nullptr);
    mtrack_free(nullptr);
}

TEST(BitSet, NullBytesAreRefusedUnlessNoneAreNeeded)
{
    const Set set = make_set(8);
    EXPECT_NE(bitfield_copy_in(set.get(), 0, nullptr, 1), 0);
    EXPECT_EQ(bitfield_copy_in(set.get(), 0, nullptr, 0), 0);
}

TEST(BitSetText, NamesBitsInRisingOrderAndRunsAsRanges)
{
    struct {
        std::initializer_list<uint32_t> bits;
        const char *text;
    } const cases[] = {
        {{}, "none"},    {{0}, "0"},
        {{0, 1}, "0-1"}, {{0, 3, 4, 5, 6, 7, 12}, "0,3-7,12"},
        {{7, 8}, "7-8"}, {{254, 255}, "254-255"},
    };
    for (const auto &each : cases)
        EXPECT_STREQ(bitfield_sprintf(with_bits(256, each.bits).get()), each.text);
}

TEST(BitSetText, HoldsEveryTextOf256Bits)
{
    const Set set = set_of(256, kit::Bytes(32, 0x55));
    std::string expected;
    for (uint32_t bit = 0; bit < 256; bit += 2)
        expected += (bit == 0 ? "" : ",") + std::to_string(bit);
    EXPECT_EQ(bitfield_sprintf(set.get()), expected);
}

TEST(BitSetText, IsCutBehindACommaWhenItIsLongerThan1023Characters)
{
    for (uint32_t bits = 500; bits < 700; ++bits) {
        const Set set = set_of(bits, kit::Bytes((bits + 7) / 8, 0x55));
        std::string whole;
        for (uint32_t bit = 0; bit < bits; bit += 2)
            whole += (bit == 0 ? "" : ",") + std::to_string(bit);
        const std::string text = bitfield_sprintf(set.get());
        if (whole.size() <= 1023) {
            EXPECT_EQ(text, whole) << bits;
            continue;
        }
        ASSERT_LE(text.size(), 1023u) << bits;
        ASSERT_GT(text.size(), 1010u) << bits;
        ASSERT_EQ(text.substr(text.size() - 4), ",...") << bits;
        EXPECT_EQ(whole.substr(0, text.size() - 3), text.substr(0, text.size() - 3)) << bits;
    }
}

TEST(BitSetText, StandsInStaticStorageThatTheNextCallReuses)
{
    const char *const first = bitfield_sprintf(with_bits(16, {1}).get());
    const char *const second = bitfield_sprintf(with_bits(16, {2}).get());
    EXPECT_EQ(first, second);
    EXPECT_STREQ(second, "2");
}

TEST(BitSetLines, ArePrefixedAndEnded)
{
    EXPECT_EQ(lines_of(with_bits(256, {1, 2, 9}).get(), "    "), "    1-2,9\n");
    EXPECT_EQ(lines_of(with_bits(256, {}).get(), "    "), "    none\n");
    EXPECT_EQ(lines_of(with_bits(256, {1}).get(), ""), "1\n");
    EXPECT_EQ(lines_of(with_bits(256, {1}).get(), nullptr), "1\n");
}

TEST(BitSetLines, HaveAtMost60CharactersBehindThePrefixAndNameEveryBit)
{
    const Set set = set_of(2000, kit::Bytes(250, 0x55));
    const std::string text = lines_of(set.get(), "bits: ");
    uint32_t bit = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find('\n', at);
        ASSERT_NE(end, std::string::npos);
        ASSERT_EQ(text.substr(at, 6), "bits: ");
        const std::string line = text.substr(at + 6, end - at - 6);
        EXPECT_LE(line.size(), 60u);
        for (std::size_t item = 0; item < line.size(); bit += 2) {
            const std::size_t comma = std::min(line.find(',', item), line.size());
            EXPECT_EQ(line.substr(item, comma - item), std::to_string(bit));
            item = comma + 1;
        }
        at = end + 1;
    }
    EXPECT_EQ(bit, 2000u);
}

} // namespace
