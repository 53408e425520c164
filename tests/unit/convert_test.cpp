// Record sizes and byte order of client messages, type by type.
//
// What is swapped is written out here as text, a letter a byte: "4444" is a 32-bit field and "22" a 16-bit
// one in network order, dots travel as they are.
#include <kov/kov_messages.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<uint8_t>;

constexpr std::size_t header_size = 161, mtype_at = 2, count_at = 20, length_at = 24;

std::string dots(std::size_t n) { return std::string(n, '.'); }

struct Format {
    uint16_t mtype;
    uint32_t size; // what kov_get_clients_msg_data_sz says
    std::string record;
};

// clang-format off
const Format formats[] = {
    {0, 0, ""},
    {1, 0, ""},
    {2, 0, ""},
    {3, 0, ""},
    {4, 4, "4444"},
    {5, 4, "4444"},
    {6, 4, "4444"},
    {7, 12, dots(12)},
    {8, 61, dots(33) + "4444" + dots(24)},
    {9, 4, "4444"},
    {10, 4, "4444"},
    {11, 36, std::string("44444444") + "22" + "4444" + dots(22)},
    {12, 0, ""},
    {13, 5, "4444."},
    {14, 4, "4444"},
    {15, 4, "4444"},
    {16, 4, "4444"},
    {17, 8, "44444444"},
    {18, 12, "444444444444"},
    {19, 24, "444444444444444444444444"},
    {20, 4, "4444"},
    {21, 0, ""},
    {22, 0, ""},
    {0x7FFF, 0, ""},
    {0xFFFF, 0, ""},
};
// clang-format on

void swap_field(uint8_t *at, std::size_t width) { std::reverse(at, at + width); }

// A record as its format says it looks in the other byte order.
Bytes swapped(Bytes record, const std::string &format)
{
    for (std::size_t at = 0; at < format.size();) {
        const std::size_t width = format[at] == '.' ? 1 : static_cast<std::size_t>(format[at] - '0');
        swap_field(&record[at], width);
        at += width;
    }
    return record;
}

class Conversion : public testing::Test
{
protected:
    // A message in host order at an odd address; every byte differs from its neighbours.
    static Bytes host_message(const Format &format, uint32_t count)
    {
        Bytes bytes(header_size + std::size_t{count} * format.size);
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<uint8_t>(i * 7 + 1);
        std::memcpy(&bytes[mtype_at], &format.mtype, sizeof format.mtype);
        std::memcpy(&bytes[count_at], &count, sizeof count);
        const auto length = static_cast<uint32_t>(bytes.size());
        std::memcpy(&bytes[length_at], &length, sizeof length);
        if (format.mtype == KOV_MTYPE_AGGR_SUB_PFX)
            for (uint32_t i = 0; i < count; ++i)
                set_family(bytes, i, 0);
        return bytes;
    }

    static void set_family(Bytes &message, uint32_t record, uint32_t family)
    {
        std::memcpy(&message[header_size + record * std::size_t{61} + 53], &family, sizeof family);
    }

    static Bytes network_message(Bytes bytes, const Format &format)
    {
        swap_field(&bytes[count_at], 4);
        swap_field(&bytes[length_at], 4);
        for (std::size_t at = header_size; format.size != 0 && at < bytes.size(); at += format.size) {
            const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(at);
            const Bytes record(first, first + static_cast<std::ptrdiff_t>(format.size));
            const Bytes other = swapped(record, format.record);
            std::copy(other.begin(), other.end(), first);
        }
        return bytes;
    }

    // The library converts at an odd address, in a block that ends with the message.
    static Bytes convert(void (*converter)(void *), const Bytes &bytes)
    {
        const std::unique_ptr<uint8_t[]> block(new uint8_t[bytes.size() + 1]);
        std::copy(bytes.begin(), bytes.end(), block.get() + 1);
        converter(block.get() + 1);
        return Bytes(block.get() + 1, block.get() + 1 + bytes.size());
    }
};

TEST_F(Conversion, EveryTypeHasItsRecordSizeAndTheOthersNone)
{
    for (const Format &format : formats) {
        EXPECT_EQ(kov_get_clients_msg_data_sz(format.mtype), format.size) << format.mtype;
        EXPECT_EQ(format.record.size(), format.size) << format.mtype;
    }
    for (const int32_t mtype : {-1, -4, -20, INT32_MIN, INT32_MAX, 0x10004})
        EXPECT_EQ(kov_get_clients_msg_data_sz(mtype), 0u) << mtype;
}

TEST_F(Conversion, AReceivedMessageIsConvertedFieldByField)
{
    for (const Format &format : formats)
        for (const uint32_t count : {0u, 1u, 2u, 3u, 260u}) {
            const Bytes host = host_message(format, count);
            EXPECT_EQ(convert(kov_clients_msg_convert_ntoh, network_message(host, format)), host)
                << format.mtype << " with " << count;
        }
}

TEST_F(Conversion, AMessageForSendingIsConvertedFieldByField)
{
    for (const Format &format : formats)
        for (const uint32_t count : {0u, 1u, 2u, 3u, 260u}) {
            const Bytes host = host_message(format, count);
            EXPECT_EQ(convert(kov_clients_msg_convert_hton, host), network_message(host, format))
                << format.mtype << " with " << count;
        }
}

TEST_F(Conversion, OnlyCountAndLengthOfTheHeaderAreConverted)
{
    const Bytes host = host_message(formats[9], 1);
    const Bytes network = convert(kov_clients_msg_convert_hton, host);
    EXPECT_EQ(Bytes(network.begin(), network.begin() + count_at),
              Bytes(host.begin(), host.begin() + count_at));
    EXPECT_EQ(Bytes(network.begin() + count_at, network.begin() + 28), (Bytes{0, 0, 0, 1, 0, 0, 0, 165}));
    EXPECT_EQ(Bytes(network.begin() + 28, network.begin() + header_size),
              Bytes(host.begin() + 28, host.begin() + header_size));
}

TEST_F(Conversion, ASecondConversionSwapsEverythingBack)
{
    for (const Format &format : formats) {
        const Bytes host = host_message(format, 3);
        const Bytes network = convert(kov_clients_msg_convert_hton, host);
        EXPECT_EQ(convert(kov_clients_msg_convert_ntoh, network), host) << format.mtype;
    }
}

TEST_F(Conversion, AnAggregatePrefixOfAnyFamilyButIpv4PassesUnchanged)
{
    for (const uint32_t family : {1u, 2u, 0x01000000u, 0x100u, UINT32_MAX}) {
        Bytes host = host_message(formats[8], 2);
        set_family(host, 0, family);
        set_family(host, 1, 0);
        Bytes network = network_message(host, formats[8]);
        swap_field(&network[header_size + 33], 4); // the first record's address is not converted
        EXPECT_EQ(convert(kov_clients_msg_convert_hton, host), network) << family;
        EXPECT_EQ(convert(kov_clients_msg_convert_ntoh, network), host) << family;
    }
}

// What the client does not interpret it does not look at either: the whole message is its header.
TEST_F(Conversion, AMessageWithoutConvertedRecordsIsNotReadBeyondItsHeader)
{
    for (const unsigned type : {0u, 1u, 2u, 3u, 7u, 12u, 21u, 500u}) {
        const auto mtype = static_cast<uint16_t>(type);
        Bytes bytes(header_size);
        std::memcpy(&bytes[mtype_at], &mtype, sizeof mtype);
        const Bytes count = {0xFF, 0xEE, 0xDD, 0xCC};
        std::copy(count.begin(), count.end(), bytes.begin() + count_at);
        Bytes expected = bytes;
        swap_field(&expected[count_at], 4);
        swap_field(&expected[length_at], 4);
        EXPECT_EQ(convert(kov_clients_msg_convert_ntoh, bytes), expected) << mtype;
        EXPECT_EQ(convert(kov_clients_msg_convert_hton, bytes), expected) << mtype;
    }
}

TEST_F(Conversion, ANullMessageIsIgnored)
{
    kov_clients_msg_convert_ntoh(nullptr);
    kov_clients_msg_convert_hton(nullptr);
}

} // namespace
