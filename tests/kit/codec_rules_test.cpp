// Fields that a row alone does not describe: nested records, strings with routines, a tail behind the record.
// This program brings a list of rules of its own, as the library does.
#include "codec_bench.h"

#include <cstdlib>

namespace
{

using kit::Bytes;
using kit::Decoded;
using kit::Table;
using kit::untouched;

// What the routines of the tests are to do.
struct Routines {
    int copy_code = FCODEC_OK;
    uint32_t copies = 0;     // calls of the copy routines
    uint32_t fails_at = 0;   // the call that answers copy_code; 0 none
    uint32_t size_error = 0; // what the size routine says too much
};
Routines routines;

// A copy in the codec's memory of `size` bytes at `from`.
int give(const uint8_t *from, uint32_t size, void **bytes, uint32_t *len, uint32_t *owned)
{
    if (++routines.copies == routines.fails_at)
        return routines.copy_code;
    if (size == 0)
        return FCODEC_OK;
    *bytes = fcodec_malloc(size);
    std::memcpy(*bytes, from, size);
    *len = size;
    *owned = 1;
    return FCODEC_OK;
}

// The word at offset 4 of a record with an 8-byte head is its tail's length; the tail is at offset 8 at once.
uint32_t tail_size(const void *rec)
{
    uint32_t size;
    std::memcpy(&size, static_cast<const uint8_t *>(rec) + 4, sizeof size);
    return size + routines.size_error;
}
int give_tail(const void *rec, uint32_t, void **bytes, uint32_t *len, uint32_t *owned)
{
    const uint32_t said = tail_size(rec) - routines.size_error;
    return give(static_cast<const uint8_t *>(rec) + 8, said, bytes, len, owned);
}
int take_tail(void *rec, const void *data)
{
    std::memcpy(static_cast<uint8_t *>(rec) + 8, data, tail_size(rec));
    return FCODEC_OK;
}

// Two bytes at offset 2, turned round on their way in and back again.
uint32_t two(const void *) { return 2 + routines.size_error; }
int give_turned(const void *rec, uint32_t, void **bytes, uint32_t *len, uint32_t *owned)
{
    const auto *const at = static_cast<const uint8_t *>(rec) + 2;
    const uint8_t turned[] = {at[1], at[0]};
    return give(turned, 2, bytes, len, owned);
}
int take_turned(void *rec, const void *data)
{
    const auto *const from = static_cast<const uint8_t *>(data);
    auto *const at = static_cast<uint8_t *>(rec) + 2;
    at[0] = from[1];
    at[1] = from[0];
    return FCODEC_OK;
}

const Table innermost = Table(4).plain(1, 0, 2).routed(2, 2, 2, give_turned, two);
const Table third = Table(6).nested(1, 1, 4);
const Table second = Table(8).plain(2, 0, 1).nested(1, 1, 6);
const Table first = Table(10).nested(1, 1, 8).plain(3, 9, 1);
const Table too_deep = Table(12).nested(1, 1, 10);
const Table endless = Table(4).nested(1, 0, 4);
const Table narrow = Table(8).nested(1, 0, 3);
const Table with_tail = Table(8).plain(7, 4, 4).routed(9, 0, 4, give_tail, tail_size).plain(1, 0, 1);
const Table tail_first = Table(8).routed(9, 0, 4, give_tail, tail_size).plain(7, 4, 4);
const Table tail_of_a_byte = Table(8).plain(7, 4, 1).routed(9, 0, 4, give_tail, tail_size);
const Table two_tails =
    Table(8).plain(7, 4, 4).routed(9, 0, 4, give_tail, tail_size).routed(10, 0, 4, give_tail, tail_size);
const Table around_a_tail = Table(8).nested(1, 0, 8);
const Table no_apply = Table(4).routed(2, 2, 2, give_turned, two);
const Table no_rule = Table(4).plain(1, 0, 2).routed(5, 2, 2, give_turned, two);

} // namespace

constexpr uint32_t no = FCODEC_NO_TAIL;

extern "C" const fcodec_rule kov_codec_rule_tbl[] = {
    {innermost.get(), 2, no, nullptr, take_turned},
    {third.get(), 1, no, innermost.get(), nullptr},
    {second.get(), 1, no, third.get(), nullptr},
    {first.get(), 1, no, second.get(), nullptr},
    {too_deep.get(), 1, no, first.get(), nullptr},
    {endless.get(), 1, no, endless.get(), nullptr},
    {narrow.get(), 1, no, innermost.get(), nullptr},
    {with_tail.get(), 9, 7, nullptr, take_tail},
    {tail_first.get(), 9, 7, nullptr, take_tail},
    {tail_of_a_byte.get(), 9, 7, nullptr, take_tail},
    {two_tails.get(), 9, 7, nullptr, take_tail},
    {two_tails.get(), 10, 7, nullptr, take_tail},
    {around_a_tail.get(), 1, no, with_tail.get(), nullptr},
    {no_apply.get(), 2, no, nullptr, nullptr},
    {nullptr, 0, 0, nullptr, nullptr},
};

namespace
{

class CodecRules : public testing::Test
{
protected:
    CodecRules() { routines = {}; }
    ~CodecRules() override { routines = {}; }

    static int try_to_encode(const Table &table, const Bytes &record, Bytes &room)
    {
        return fcodec_table_convert_struct_to_tlv(room.data(), static_cast<uint32_t>(room.size()),
                                                  table.get(), record.data(), 0, 0, 1);
    }
    // A record whose tail holds `size` counting bytes.
    static Bytes tailed(uint8_t size)
    {
        Bytes record = {untouched, untouched, untouched, untouched, size, 0, 0, 0};
        const Bytes tail = kit::counting(size);
        record.insert(record.end(), tail.begin(), tail.end());
        return record;
    }
};

TEST_F(CodecRules, ARecordFourDeepComesBackInTheBytesThatItsInnerTablesCover)
{
    const Bytes record = kit::counting(10);
    const Decoded back = kit::decode(first, kit::encode(first, record));
    ASSERT_EQ(back.code, FCODEC_OK);
    // 0 local; 1 the second's plain field; 2 local to the second, 3 to the third; 4 to 7 the innermost
    EXPECT_EQ(back.record, (Bytes{untouched, 2, untouched, 4, 5, 6, 7, untouched, untouched, 10}));
}

TEST_F(CodecRules, ANestedFieldIsAStreamOfItsOwn)
{
    const Bytes record = kit::counting(6);
    const auto [code, fields] = kit::walk(third, kit::encode(third, record));
    EXPECT_EQ(code, FCODEC_END);
    ASSERT_EQ(fields.size(), 1u);
    EXPECT_EQ(fields[0].value, kit::encode(innermost, Bytes{2, 3, 4, 5}));
}

TEST_F(CodecRules, ARoutineMayChangeWhatIsStored)
{
    const Bytes stream = kit::encode(innermost, Bytes{1, 2, 3, 4});
    EXPECT_EQ(kit::walk(innermost, stream).second.at(1).value, (Bytes{4, 3}));
    EXPECT_EQ(kit::decode(innermost, stream).record, (Bytes{1, 2, 3, 4}));
}

TEST_F(CodecRules, AStringWithRoutinesAndNoRuleIsTakenBackAsItIs)
{
    const Bytes stream = kit::encode(no_rule, Bytes{1, 2, 3, 4});
    EXPECT_EQ(kit::decode(no_rule, stream).record, (Bytes{1, 2, 4, 3}));
}

TEST_F(CodecRules, EveryTruncationOfANestedStreamIsMalformed)
{
    const Bytes good = kit::encode(first, kit::counting(10));
    for (std::size_t length = 0; length < good.size(); ++length) {
        const Decoded back =
            kit::decode(first, Bytes(good.begin(), good.begin() + static_cast<long>(length)));
        EXPECT_EQ(back.code, FCODEC_MALFORMED);
        EXPECT_EQ(back.record, Bytes(10, untouched));
    }
}

TEST_F(CodecRules, DamageAnywhereInANestedStreamIsRefusedOrStaysInTheRecord)
{
    const Bytes good = kit::encode(first, kit::counting(10));
    for (std::size_t at = 0; at < good.size(); ++at)
        for (unsigned flip = 1; flip < 256; ++flip) {
            Bytes stream = good;
            stream[at] = static_cast<uint8_t>(stream[at] ^ flip);
            const Decoded back = kit::decode(first, stream);
            if (back.code != FCODEC_OK) {
                ASSERT_EQ(back.record, Bytes(10, untouched)) << at << ' ' << flip;
            }
            ASSERT_EQ(back.record[0], untouched);
            ASSERT_EQ(back.record[2], untouched);
            ASSERT_EQ(back.record[8], untouched);
        }
}

TEST_F(CodecRules, TablesThatTheRulesMakeUnusableAreRefusedAndNothingIsWritten)
{
    for (const Table *const table : {&too_deep, &endless, &narrow, &tail_first, &tail_of_a_byte, &two_tails,
                                     &around_a_tail, &no_apply}) {
        const Bytes record(20);
        Bytes room(300, untouched);
        EXPECT_EQ(fcodec_table_size(table->get(), record.data()), 0u);
        EXPECT_EQ(try_to_encode(*table, record, room), FCODEC_ARGUMENT);
        EXPECT_EQ(room, Bytes(300, untouched));
        EXPECT_EQ(kit::decode(*table, kit::encode(first, kit::counting(10))).code, FCODEC_ARGUMENT);
    }
}

TEST_F(CodecRules, ARoutineThatFailsLeavesTheRoomAloneAndItsCodeIsPassedOn)
{
    const Bytes record = kit::counting(10);
    routines.fails_at = 1;
    routines.copy_code = FCODEC_NO_MEMORY;
    Bytes room(300, untouched);
    EXPECT_EQ(try_to_encode(first, record, room), FCODEC_NO_MEMORY);
    EXPECT_EQ(room, Bytes(300, untouched));
}

TEST_F(CodecRules, ARoutineThatGivesAnotherSizeThanItSaysIsAnUnusableArgument)
{
    routines.size_error = 1;
    for (const Table *const table : {&innermost, &with_tail}) {
        Bytes room(300, untouched);
        EXPECT_EQ(try_to_encode(*table, tailed(5), room), FCODEC_ARGUMENT);
        EXPECT_EQ(room, Bytes(300, untouched));
    }
}

TEST_F(CodecRules, ATailTravelsWithItsRecordAndTheSizeCountsIt)
{
    for (const uint8_t size : {uint8_t{0}, uint8_t{1}, uint8_t{200}}) {
        const Bytes record = tailed(size), stream = kit::encode(with_tail, record);
        uint32_t wanted = 0;
        EXPECT_EQ(fcodec_table_get_struct_size_from_tlv(&wanted, stream.data(), 0, with_tail.get()),
                  FCODEC_OK);
        ASSERT_EQ(wanted, 8u + size);
        kit::OddCopy room(Bytes(wanted, untouched));
        EXPECT_EQ(fcodec_table_convert_tlv_to_struct(stream.data(), static_cast<uint32_t>(stream.size()),
                                                     room.data(), with_tail.get(), 1),
                  FCODEC_OK);
        EXPECT_EQ(Bytes(room.data(), room.data() + wanted), record);
    }
}

// The size that the stream wants is that of one tail, and each would be written.
TEST_F(CodecRules, AStreamWithASecondTailIsMalformedAndNothingIsWritten)
{
    for (const uint8_t before : {uint8_t{8}, uint8_t{3}}) {
        const uint8_t after = 3;
        Table twice(8); // a record that writes both lengths, each with as many bytes behind it
        twice.plain(7, 0, 4).plain(9, 0, before).plain(7, 4, 4).plain(9, 0, after);
        const Bytes stream = kit::encode(twice, {before, 0, 0, 0, after, 0, 0, 0});
        const auto size = static_cast<uint32_t>(stream.size());
        kit::OddCopy room(Bytes(16, untouched));
        EXPECT_EQ(fcodec_table_convert_tlv_to_struct(stream.data(), size, room.data(), with_tail.get(), 1),
                  FCODEC_MALFORMED);
        EXPECT_EQ(Bytes(room.data(), room.data() + 16), Bytes(16, untouched));
        uint32_t wanted = 77;
        EXPECT_EQ(fcodec_table_get_struct_size_from_tlv(&wanted, stream.data(), size, with_tail.get()),
                  FCODEC_MALFORMED);
        EXPECT_EQ(wanted, 77u);
    }
}

TEST_F(CodecRules, ATailThatWouldPass16MiBIsRefusedBeforeItIsCopied)
{
    Bytes record = tailed(1), room(300, untouched);
    record[7] = 0x01; // 16 MiB and a byte
    EXPECT_EQ(fcodec_table_size(with_tail.get(), record.data()), 0u);
    EXPECT_EQ(try_to_encode(with_tail, record, room), FCODEC_TOO_SMALL);
    EXPECT_EQ(routines.copies, 0u);
    EXPECT_EQ(room, Bytes(300, untouched));
}

} // namespace
