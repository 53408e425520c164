// Addresses: their texts and masks.
#include <kov/platform/address.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{

// Some bytes at an odd address, and not one more.
class Odd
{
public:
    Odd(std::initializer_list<uint8_t> bytes) : bytes_(bytes) { bytes_.insert(bytes_.begin(), 0xA5); }
    const uint8_t *at() const { return bytes_.data() + 1; }

private:
    std::vector<uint8_t> bytes_;
};

TEST(Addresses, PrintAsPeopleWriteThem)
{
    EXPECT_STREQ(im_print_mac_addr(Odd{0x00, 0x11, 0x22, 0xAA, 0xBB, 0xCC}.at()), "0011.22aa.bbcc");
    EXPECT_STREQ(ip_print_addr(0x0A010203), "10.1.2.3");
    EXPECT_STREQ(ip_print_addr(0), "0.0.0.0");
    EXPECT_STREQ(ip_print_addr(0xFFFFFFFF), "255.255.255.255");
    EXPECT_STREQ(ipv6_print_addr(Odd{0x20, 1, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}.at()),
                 "2001:db8::1");
}

TEST(Addresses, NullPrintsAsZero)
{
    EXPECT_STREQ(im_print_mac_addr(nullptr), "0000.0000.0000");
    EXPECT_STREQ(ipv6_print_addr(nullptr), "::");
}

TEST(Prefixes, OfIpv4PrintTheAddressInHostOrderAndOneLengthByte)
{
    EXPECT_STREQ(ip_print_prefix(Odd{0, 0, 1, 10, 16}.at()), "10.1.0.0/16");
    EXPECT_STREQ(ip_print_prefix(Odd{3, 2, 1, 10, 8}.at()), "10.1.2.3/8");
    EXPECT_STREQ(ip_print_prefix(Odd{0, 0, 0, 0, 0}.at()), "0.0.0.0/0");
    EXPECT_STREQ(ip_print_prefix(Odd{255, 255, 255, 255, 255}.at()), "255.255.255.255/255");
}

TEST(Prefixes, OfIpv6PrintWithOrWithoutTheirLengthByte)
{
    const Odd whole{0x20, 1, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 32};
    EXPECT_STREQ(ipv6_print_prefix(whole.at(), 1), "2001:db8::/32");
    EXPECT_STREQ(ipv6_print_prefix(whole.at(), 0), "2001:db8::");
    const Odd address_alone{0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9};
    EXPECT_STREQ(ipv6_print_prefix(address_alone.at(), 0), "fe80::9");
    const Odd longest{255, 254, 255, 254, 255, 254, 255, 254, 255, 254, 255, 254, 255, 254, 255, 254, 255};
    EXPECT_STREQ(ipv6_print_prefix(longest.at(), 7), "fffe:fffe:fffe:fffe:fffe:fffe:fffe:fffe/255");
}

TEST(Texts, EightOfThemHoldAtOnce)
{
    const Odd v4{0, 0, 1, 10, 16};
    const Odd v6{0x20, 1, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 32};
    const char *const texts[] = {
        ip_print_prefix(v4.at()),   ipv6_print_prefix(v6.at(), 1), ip_print_addr(1), ipv6_print_addr(v6.at()),
        im_print_mac_addr(nullptr), ipv6_print_prefix(v6.at(), 0), ip_print_addr(2), ip_print_addr(3)};
    const char *const expected[] = {"10.1.0.0/16",    "2001:db8::/32", "0.0.0.1", "2001:db8::",
                                    "0000.0000.0000", "2001:db8::",    "0.0.0.2", "0.0.0.3"};
    for (std::size_t i = 0; i < std::size(texts); ++i)
        EXPECT_STREQ(texts[i], expected[i]);
}

TEST(Masks, HaveAsManyLeadingOnesAsTheLengthSaysAndThirtyTwoAtMost)
{
    uint32_t mask = 0;
    for (uint32_t bits = 0; bits <= 32; ++bits) {
        EXPECT_EQ(ip_bits2mask(bits), mask) << bits;
        mask = mask >> 1 | 0x80000000u;
    }
    for (const uint32_t bits : {33u, 64u, 255u, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_EQ(ip_bits2mask(bits), 0xFFFFFFFFu) << bits;
}

} // namespace
