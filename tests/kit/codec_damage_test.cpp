// Streams that were cut, damaged or made up: refused with everything untouched, or decoded without leaving
// the record's own fields. Nothing is said about which damage must be noticed, since that is the platform's
// format.
#include "codec_bench.h"

namespace
{

using kit::Bytes;
using kit::Decoded;
using kit::mixed_table;
using kit::Table;
using kit::untouched;

bool is_refusal(int code) { return code == FCODEC_MALFORMED || code == FCODEC_TOO_SMALL; }

// Decodes, walks, and asks for the structure's size; all three must agree about what the stream is.
int judge(const Table &table, const Bytes &stream)
{
    const Decoded back = kit::decode(table, stream);
    const auto [walk_code, fields] = kit::walk(table, stream);
    uint32_t size = 77;
    kit::OddCopy copy(stream);
    int size_code = back.code;
    if (!stream.empty()) // length 0 would trust the length that a stream says itself
        size_code = fcodec_table_get_struct_size_from_tlv(&size, copy.data(),
                                                          static_cast<uint32_t>(stream.size()), table.get());

    Bytes expected(table.record_size(), untouched);
    if (back.code == FCODEC_OK) {
        for (const kit::Field &field : fields)
            std::copy(field.value.begin(), field.value.end(), expected.begin() + field.row->offset);
        EXPECT_EQ(walk_code, FCODEC_END);
        EXPECT_EQ(size, table.record_size());
    } else {
        EXPECT_TRUE(is_refusal(back.code)) << back.code;
        EXPECT_EQ(walk_code, back.code);
        EXPECT_EQ(size, 77u);
    }
    EXPECT_EQ(size_code, back.code);
    EXPECT_EQ(back.record, expected);
    for (uint32_t at = 0; at < table.record_size(); ++at)
        EXPECT_TRUE(table.covers(at) || back.record[at] == untouched) << at;
    return back.code;
}

class DamagedStream : public testing::Test
{
protected:
    const Table table = mixed_table();
    const Bytes good = kit::encode(table, kit::counting(43, 0x21));
};

TEST_F(DamagedStream, EveryTruncationIsRefused)
{
    for (std::size_t size = 0; size < good.size(); ++size)
        EXPECT_EQ(judge(table, Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size))),
                  FCODEC_MALFORMED)
            << size;
    EXPECT_EQ(judge(table, good), FCODEC_OK);
}

TEST_F(DamagedStream, EverySingleByteDamageIsRefusedOrStaysInTheRecord)
{
    unsigned refused = 0;
    for (std::size_t at = 0; at < good.size(); ++at)
        for (unsigned flip = 1; flip < 256; ++flip) {
            Bytes stream = good;
            stream[at] = static_cast<uint8_t>(stream[at] ^ flip);
            refused += judge(table, stream) != FCODEC_OK;
            ASSERT_FALSE(HasFailure()) << at << ' ' << flip;
        }
    EXPECT_GT(refused, 0u);
}

TEST_F(DamagedStream, ManyDamagedBytesAreRefusedOrStayInTheRecord)
{
    kit::Random random(11);
    for (int round = 0; round < 20000 && !HasFailure(); ++round) {
        Bytes stream = good;
        for (uint32_t i = 0; i < 2 + random.below(6); ++i)
            stream[random.below(static_cast<uint32_t>(stream.size()))] =
                static_cast<uint8_t>(random.one_in(2) ? random.below(24) : random.word());
        judge(table, stream);
    }
}

TEST_F(DamagedStream, NoiseIsRefusedOrStaysInTheRecord)
{
    kit::Random random(12);
    for (int round = 0; round < 5000 && !HasFailure(); ++round) {
        Bytes noise(random.below(200));
        for (uint8_t &byte : noise)
            byte = static_cast<uint8_t>(random.word());
        judge(table, noise);
    }
}

TEST_F(DamagedStream, StreamsSplicedFromTwoAreRefusedOrStayInTheRecord)
{
    Table other(43);
    other.plain(0, 0, 4).plain(700, 0, 43).plain(2, 15, 17);
    const Bytes foreign = kit::encode(other, kit::counting(43));
    for (std::size_t cut = 0; cut < good.size(); ++cut)
        for (std::size_t from = 0; from < foreign.size(); ++from) {
            Bytes stream(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(cut));
            stream.insert(stream.end(), foreign.begin() + static_cast<std::ptrdiff_t>(from), foreign.end());
            judge(table, stream);
            ASSERT_FALSE(HasFailure()) << cut << ' ' << from;
        }
}

TEST_F(DamagedStream, ARefusedFieldLeavesItsRoomAlone)
{
    for (std::size_t size = 0; size < good.size(); ++size) {
        uint32_t len = 4;
        Bytes value(4, untouched);
        kit::OddCopy cut(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size)));
        EXPECT_EQ(
            fcodec_get_field(cut.data(), static_cast<uint32_t>(size), 0, value.data(), &len, table.get()),
            FCODEC_MALFORMED);
        EXPECT_EQ(value, Bytes(4, untouched));
        EXPECT_EQ(len, 4u);
    }
}

} // namespace
