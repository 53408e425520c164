// The stream of every record with one byte damaged, at every place and in each of the 255 ways: what comes
// back is what the stream then says, or nothing at all.
//
// The bytes of a stream are dealt out to shares, so that several processes take their part of the work.
#include "families.h"

#include <algorithm>

namespace
{

using fake::Bytes;

constexpr uint8_t untouched = 0xEE;
constexpr uint32_t tail = 5; // of the record that has one
constexpr int not_there = 2, malformed = 74, too_small = 75;

// Of the places of a stream, those that leave the remainder `number` when divided by `of`.
struct Share {
    const Family *family;
    std::size_t number, of;
};

void PrintTo(const Share &share, std::ostream *out)
{
    *out << share.family->prefix << ' ' << share.number << '/' << share.of;
}

std::vector<Share> all_shares()
{
    std::vector<Share> shares;
    for (const Family &family : families) {
        const std::size_t of = 1 + family.record_size / 1000;
        for (std::size_t number = 0; number < of; ++number)
            shares.push_back({&family, number, of});
    }
    return shares;
}

class DamagedByte : public Lab, public testing::WithParamInterface<Share>
{
protected:
    DamagedByte() : record(Sample::random(codec, tail, 4)), out(codec, tail, untouched)
    {
        platform.calls.pause();
        tlv = record.stream();
        places.resize(tlv.size(), no_value);
        note_values(codec, tlv.data(), size(), 0);
    }
    ~DamagedByte() override { platform.calls.resume(); }

    uint32_t size() const { return static_cast<uint32_t>(tlv.size()); }
    int decode() { return codec.to_struct(tlv.data(), size(), out.data(), 0); }
    bool has_its_size() const
    {
        return codec.struct_sz(tlv.data()) == static_cast<int32_t>(out.bytes().size());
    }
    bool holds(const Bytes &bytes) const { return std::memcmp(out.data(), bytes.data(), bytes.size()) == 0; }

    // Notes which bytes of the stream are a value's, and which byte of the record each of them decides: of a
    // field that stands twice the last one does. The length of a tail is no value that can be anything.
    void note_values(const Family &family, const void *stream, uint32_t len, std::size_t record_at)
    {
        fcodec_field_itr walk;
        ASSERT_EQ(family.itr_init(&walk, stream, len, 0, 0), 0);
        for (fcodec_field field; family.get_next(&walk, &field) == 0;) {
            const auto at = static_cast<std::size_t>(static_cast<const uint8_t *>(field.value) - tlv.data());
            const std::size_t place = record_at + field.row->offset;
            if (const fcodec_table *const nested = nested_in(family.table, field.id))
                note_values(family_of(*nested), field.value, field.len, place);
            else if (!family.has_tail() || field.id != 8)
                note_value(at, field.len, family.has_tail() && field.id == 9 ? family.record_size : place);
        }
    }
    void note_value(std::size_t at, std::size_t len, std::size_t place)
    {
        for (std::size_t i = 0; i < len; ++i) {
            std::size_t &decider = deciders[place + i];
            if (decider != no_value)
                places[decider] = overwritten;
            decider = at + i;
            places[at + i] = place + i;
        }
    }

    // Runs `check` with every byte of the share that is a value's, or that is not, damaged in every way,
    // until it says that something is wrong.
    template <class Check>
    void damage(bool values, Check check)
    {
        for (std::size_t at = GetParam().number; at < tlv.size(); at += GetParam().of) {
            if ((places[at] != no_value) != values)
                continue;
            const uint8_t good = tlv[at];
            for (unsigned flip = 1; flip < 256; ++flip) {
                tlv[at] = static_cast<uint8_t>(good ^ flip);
                ASSERT_TRUE(check(at, static_cast<uint8_t>(flip))) << "byte " << at << " ^ " << flip;
            }
            tlv[at] = good;
        }
    }

    // What a refused stream must be to every call.
    void expect_refused(std::size_t at, int code)
    {
        EXPECT_TRUE(code == malformed || code == too_small) << code;
        EXPECT_TRUE(holds(all_untouched));
        EXPECT_EQ(platform.codec.errors.size(), 1u);
        fcodec_field_itr walk;
        EXPECT_EQ(codec.itr_init(&walk, tlv.data(), size(), 0, 0), code);
        uint8_t value = untouched;
        uint32_t room = 1;
        EXPECT_EQ(codec.get_field(tlv.data(), size(), codec.rows[0].id, &value, &room), code);
        EXPECT_EQ(value, untouched);
        const bool knows_its_length = at < 4 || at >= 8;
        EXPECT_TRUE(!knows_its_length || codec.struct_sz(tlv.data()) == -1);
        platform.codec.errors.clear();
    }

    // What a stream that was taken must be to every call; of the fields alone, to one of them each time.
    void expect_taken(std::size_t any)
    {
        for (const std::size_t at : local)
            if (out.bytes()[at] != untouched)
                ADD_FAILURE() << "byte " << at << " of the record is local and was written";
        EXPECT_TRUE(has_its_size());
        Sample walked(codec, tail, untouched);
        walked.take_walk(tlv, out);
        EXPECT_TRUE(holds(walked.bytes()));
        expect_field(codec.rows[any % codec.row_count].id);
        out.fill(untouched);
    }
    void expect_field(uint32_t id)
    {
        fcodec_field_itr walk;
        codec.itr_init(&walk, tlv.data(), size(), 0, 0);
        Bytes expected;
        int code = not_there;
        for (fcodec_field field; codec.get_next(&walk, &field) == 0;)
            if (field.id == id) {
                expected = bytes_at(field.value, field.len);
                code = 0;
            }
        Bytes value(tlv.size());
        uint32_t room = size();
        EXPECT_EQ(codec.get_field(tlv.data(), size(), id, value.data(), &room), code) << "field " << id;
        value.resize(code == 0 ? room : 0);
        EXPECT_EQ(value, expected) << "field " << id;
    }

    // The bytes of a stream that are headers, those of nested streams included.
    static std::size_t headers_of(const Family &family)
    {
        std::size_t bytes = 16;
        for (uint32_t i = 0; i < family.row_count; ++i) {
            const fcodec_table *const nested = nested_in(family.table, family.rows[i].id);
            bytes += 8 + (nested ? headers_of(family_of(*nested)) : 0);
        }
        return bytes;
    }

    const Family &codec = *GetParam().family;
    const std::vector<std::size_t> local = local_bytes(codec);
    const Sample record;
    Sample out;
    const Bytes all_untouched = out.bytes();
    Bytes tlv;
    static constexpr std::size_t no_value = ~std::size_t{0}, overwritten = no_value - 1;
    std::vector<std::size_t> places; // in the record, of the stream's bytes
    std::vector<std::size_t> deciders = std::vector<std::size_t>(record.bytes().size(), no_value); // reverse
};

INSTANTIATE_TEST_SUITE_P(Of, DamagedByte, testing::ValuesIn(all_shares()), [](const auto &row) {
    return std::string(row.param.family->prefix) + "_" + std::to_string(row.param.number);
});

TEST_P(DamagedByte, OfAValueComesBackInItsPlaceAndNowhereElse)
{
    ASSERT_EQ(decode(), 0);
    Bytes expected = out.bytes();
    damage(true, [&](std::size_t at, uint8_t flip) {
        uint8_t nowhere = 0;
        uint8_t &changed = places[at] == overwritten ? nowhere : expected[places[at]];
        changed ^= flip;
        const bool good = decode() == 0 && holds(expected) && has_its_size();
        changed ^= flip;
        return good;
    });
}

TEST_P(DamagedByte, BetweenTheValuesIsRefusedOrStaysInWhatTravels)
{
    damage(false, [this](std::size_t at, uint8_t flip) {
        if (const int code = decode(); code != 0)
            expect_refused(at, code);
        else
            expect_taken(at + flip);
        return !HasFailure();
    });
}

TEST_P(DamagedByte, IsAValuesUnlessItIsAHeadersOrOfTheLengthOfATail)
{
    const auto others = static_cast<std::size_t>(std::count(places.begin(), places.end(), no_value));
    EXPECT_EQ(others, headers_of(codec) + (codec.has_tail() ? 4 : 0));
}

} // namespace
