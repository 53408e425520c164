// Prefixes: which lies inside which, and how they print.
#include "aggr_cache.h"

#include <random>

namespace
{

using fake::Bytes;

uint32_t match(const Prefix &inner, const Prefix &outer)
{
    return kov_pfx_subnet_match(outer.family, inner.record.prefix, outer.record.prefix);
}

struct MatchCase {
    const char *inner, *outer;
    uint32_t inside;
};

TEST(PrefixMatch, AnswersAsTheTableSays)
{
    const MatchCase cases[] = {
        {"10.1.2.0/24", "10.1.0.0/16", 1},
        {"10.0.0.0/8", "10.1.0.0/16", 0}, // the inner one is shorter
        {"10.1.0.0/16", "10.1.0.0/16", 1},
        {"10.1.255.255/16", "10.1.0.0/16", 1}, // bits behind the length do not count
        {"10.2.0.0/16", "10.1.0.0/16", 0},
        {"10.1.2.3/32", "10.1.2.3/32", 1},
        {"10.1.2.2/32", "10.1.2.3/32", 0},
        {"200.1.2.3/32", "0.0.0.0/0", 1},
        {"0.0.0.0/0", "128.0.0.0/0", 1},
        {"128.0.0.0/1", "0.0.0.0/1", 0},
        {"10.1.2.3/200", "10.1.2.3/40", 1}, // above 32 all bits count
        {"10.1.2.3/200", "10.1.2.2/40", 0},
        {"2001:db8::/32", "2001:db8::/32", 1},
        {"2001:db8:1::/48", "2001:db8::/32", 1},
        {"2001:db8::/32", "2001:db8:1::/48", 0},
        {"2001:db9::/48", "2001:db8::/31", 1},
        {"2001:db9::/48", "2001:db8::/32", 0},
        {"::1/128", "::1/128", 1},
        {"::1/128", "::2/128", 0},
        {"::1/128", "ff::/0", 1},
        {"::1/129", "::1/128", 1},
        {"::1/255", "::3/128", 0},
    };
    for (const MatchCase &c : cases)
        EXPECT_EQ(match(c.inner, c.outer), c.inside) << c.inner << " in " << c.outer;
}

// Deliberate: with more than 128 bits nothing is masked, and two empty prefixes are equal.
TEST(PrefixMatch, AnIpv6OuterLengthAbove128HoldsEveryInnerPrefixAsLong)
{
    EXPECT_EQ(match("::1/129", "ff::/129"), 1u);
    EXPECT_EQ(match("::1/255", "ff::/200"), 1u);
    EXPECT_EQ(match("::1/200", "::1/201"), 0u);
    EXPECT_EQ(match("::1/128", "::1/129"), 0u);
}

TEST(PrefixMatch, ThereIsNoneWithoutAPrefixOrInAnotherFamily)
{
    const Prefix prefix = "10.0.0.0/8";
    for (const uint32_t family : {0u, 1u}) {
        EXPECT_EQ(kov_pfx_subnet_match(family, nullptr, prefix.record.prefix), 0u);
        EXPECT_EQ(kov_pfx_subnet_match(family, prefix.record.prefix, nullptr), 0u);
        EXPECT_EQ(kov_pfx_subnet_match(family, nullptr, nullptr), 0u);
        EXPECT_EQ(kov_pfx_subnet_match(family, prefix.record.prefix, prefix.record.prefix), 1u);
    }
    for (const uint32_t family : {2u, 255u, 256u, 257u, UINT32_MAX})
        EXPECT_EQ(kov_pfx_subnet_match(family, prefix.record.prefix, prefix.record.prefix), 0u) << family;
}

TEST(PrefixMatch, OfTheLengthOnlyTheFirstByteCounts)
{
    Prefix inner = "10.1.2.0/24", outer = "10.1.0.0/16";
    outer.record.prefix[5] = 1;
    EXPECT_EQ(match(inner, outer), 1u);
    Prefix inner6 = "2001:db8:1::/48", outer6 = "2001:db8::/32";
    outer6.record.prefix[17] = 1;
    EXPECT_EQ(match(inner6, outer6), 1u);
}

// A prefix of either family as bit after bit, with nothing behind it, at an odd address.
struct Bits {
    std::size_t width; // of the address, in bits
    std::vector<bool> bits;

    Bits(std::size_t w, std::mt19937 &random) : width(w), bits(w)
    {
        for (std::size_t i = 0; i < w; ++i)
            bits[i] = random() & 1;
    }
    fake::OddBlock prefix(unsigned length) const
    {
        Bytes bytes(width / 8);
        for (std::size_t i = 0; i < width; ++i)
            if (bits[i])
                bytes[i / 8] = static_cast<uint8_t>(bytes[i / 8] | 0x80 >> i % 8);
        if (width == 32)
            std::reverse(bytes.begin(), bytes.end());
        bytes.push_back(static_cast<uint8_t>(length));
        return fake::OddBlock(bytes);
    }
};

// Bit by bit: what the library computes with masks and bytes.
uint32_t expected(const Bits &inner, unsigned inner_length, const Bits &outer, unsigned outer_length)
{
    if (inner_length < outer_length)
        return 0;
    if (outer.width == 128 && outer_length > 128)
        return 1;
    for (std::size_t i = 0; i < std::min<std::size_t>(outer_length, outer.width); ++i)
        if (inner.bits[i] != outer.bits[i])
            return 0;
    return 1;
}

class EveryPairOfLengths : public testing::TestWithParam<uint32_t>
{
protected:
    // All that the family has, and some above.
    static std::vector<unsigned> lengths(unsigned width)
    {
        std::vector<unsigned> all;
        for (unsigned length = 0; length <= width + 2; ++length)
            all.push_back(length);
        all.insert(all.end(), {width + 32, 200, 254, 255});
        return all;
    }
};

// For each pair the same address, one that differs in a bit about the outer length, and a foreign one.
TEST_P(EveryPairOfLengths, AgreesWithABitByBitComparison)
{
    const uint32_t family = GetParam();
    const unsigned width = family ? 128 : 32;
    std::mt19937 random(20 + family);
    const fake::Unlogged quiet(fake::platform().calls);
    unsigned insides = 0, outsides = 0;
    for (const unsigned outer_length : lengths(width)) {
        for (const unsigned inner_length : lengths(width)) {
            const Bits outer(width, random);
            Bits near = outer;
            near.bits[(outer_length + random() % 3 + width - 2) % width].flip();
            for (const Bits &inner : {outer, near, Bits(width, random)}) {
                const fake::OddBlock a = inner.prefix(inner_length), b = outer.prefix(outer_length);
                const uint32_t inside = expected(inner, inner_length, outer, outer_length);
                ASSERT_EQ(kov_pfx_subnet_match(family, a.data(), b.data()), inside)
                    << inner_length << " in " << outer_length;
                ++(inside ? insides : outsides);
            }
        }
    }
    const std::size_t pairs = lengths(width).size() * lengths(width).size();
    EXPECT_GT(insides, pairs / 2) << "each outer prefix holds itself, with any longer length";
    EXPECT_GT(outsides, pairs);
}

INSTANTIATE_TEST_SUITE_P(OfEachFamily, EveryPairOfLengths, testing::Values(0u, 1u),
                         [](const auto &family) { return family.param ? "Ipv6" : "Ipv4"; });

TEST(PrefixText, PrintsEachFamilyInItsOwnForm)
{
    EXPECT_STREQ(kov::prefix_text(0, Prefix("10.1.0.0/16").record.prefix), "10.1.0.0/16");
    EXPECT_STREQ(kov::prefix_text(1, Prefix("2001:db8::/32").record.prefix), "2001:db8::/32");
    EXPECT_STREQ(kov::prefix_text(2, Prefix("10.1.0.0/16").record.prefix), "10.1.0.0/16");
}

// Deliberate: no IPv4 prefix prints with a length of 24.
TEST(PrefixText, NoPrefixPrintsWithAnIpv4LengthOf24)
{
    EXPECT_STREQ(kov::prefix_text(0, nullptr), "0.0.0.0/24");
    EXPECT_STREQ(kov::prefix_text(7, nullptr), "0.0.0.0/24");
    EXPECT_STREQ(kov::prefix_text(1, nullptr), "0::/0");
}

} // namespace
