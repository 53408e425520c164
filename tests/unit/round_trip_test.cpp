// Every record to its stream and back, with random contents, and from streams that were cut: what comes back
// is the record, or nothing at all.
#include "families.h"

namespace
{

using fake::Bytes;

constexpr uint8_t untouched = 0xEE;
constexpr uint32_t rounds = 40;

class RoundTrip : public Lab, public testing::WithParamInterface<Family>
{
protected:
    RoundTrip() { platform.calls.pause(); }
    ~RoundTrip() override { platform.calls.resume(); }

    static uint32_t size(const Bytes &bytes) { return static_cast<uint32_t>(bytes.size()); }

    // Decodes into a record that held `untouched` only. Says whether the stream was taken; either way nothing
    // changes that a stream does not carry.
    bool takes(const Bytes &tlv, uint32_t tail)
    {
        Sample out(codec, tail, untouched);
        const int code = codec.to_struct(tlv.data(), size(tlv), out.data(), 0);
        if (code != 0) {
            EXPECT_EQ(out.bytes(), Bytes(out.bytes().size(), untouched)) << "code " << code;
            EXPECT_EQ(platform.codec.errors.size(), 1u);
            platform.codec.errors.clear();
            return false;
        }
        for (const std::size_t at : local)
            if (out.bytes()[at] != untouched)
                ADD_FAILURE() << "byte " << at << " is local and was written";
        EXPECT_EQ(codec.struct_sz(tlv.data()), static_cast<int32_t>(out.bytes().size()));
        return true;
    }

    const Family &codec = GetParam();
    const std::vector<std::size_t> local = local_bytes(codec);
};

INSTANTIATE_TEST_SUITE_P(Of, RoundTrip, testing::ValuesIn(families),
                         [](const auto &row) { return std::string(row.param.prefix); });

TEST_P(RoundTrip, RandomRecordsComeBackInEveryByteThatTravelsAndInNoOther)
{
    for (uint32_t seed = 0; seed < rounds; ++seed) {
        const uint32_t tail = seed * 37 % 301; // the first has none
        const Sample record = Sample::random(codec, tail, seed);
        const Bytes tlv = record.stream();
        for (const uint8_t fill : Bytes{0x00, 0x5A, 0xFF}) {
            Sample out(codec, tail, fill);
            ASSERT_EQ(codec.to_struct(tlv.data(), size(tlv), out.data(), 0), 0);
            ASSERT_EQ(out.bytes(), record.taken_by(out, fill)) << "seed " << seed;
            ASSERT_TRUE(!codec.has_tail() || out.tail_is_behind());
            ASSERT_EQ(out.stream(), tlv);
        }
    }
}

TEST_P(RoundTrip, TheSizeCallsAgreeWithWhatIsWritten)
{
    for (uint32_t seed = 0; seed < rounds; ++seed) {
        const uint32_t tail = seed * 91 % 501;
        const Sample record = Sample::random(codec, tail, seed);
        const uint32_t wanted = codec.tlv_sz(record.data());
        Bytes tlv(wanted + 20, untouched);
        ASSERT_EQ(codec.to_tlv(record.data(), tlv.data(), size(tlv), 0, 0, 0), 0);
        EXPECT_EQ(Bytes(tlv.end() - 20, tlv.end()), Bytes(20, untouched));
        EXPECT_EQ(codec.struct_sz(tlv.data()), static_cast<int32_t>(record.bytes().size()));

        Bytes small(wanted - 1, untouched);
        EXPECT_EQ(codec.to_tlv(record.data(), small.data(), size(small), 0, 0, 0), 75);
        EXPECT_EQ(small, Bytes(small.size(), untouched));
        platform.codec.errors.clear();
    }
}

// A record that was put together from a walk, field by field, is the one that decoding makes.
TEST_P(RoundTrip, AWalkAndSingleFieldsAgreeWithTheDecoder)
{
    const uint32_t tail = 9;
    const Sample record = Sample::random(codec, tail, 77);
    const Bytes tlv = record.stream();
    Sample decoded(codec, tail, untouched);
    ASSERT_EQ(codec.to_struct(tlv.data(), size(tlv), decoded.data(), 0), 0);

    Sample built(codec, tail, untouched);
    built.take_walk(tlv, decoded);
    EXPECT_EQ(built.bytes(), decoded.bytes());

    fcodec_field_itr walk;
    ASSERT_EQ(codec.itr_init(&walk, tlv.data(), size(tlv), 0, 0), 0);
    for (fcodec_field field; codec.get_next(&walk, &field) == 0;) {
        Bytes alone(field.len);
        uint32_t room = field.len;
        EXPECT_EQ(codec.get_field(tlv.data(), size(tlv), field.id, alone.data(), &room), 0);
        EXPECT_EQ(alone, bytes_at(field.value, field.len)) << "field " << field.id;
    }
}

TEST_P(RoundTrip, EveryTruncatedStreamIsRefused)
{
    const uint32_t tail = 5;
    const Bytes tlv = Sample::random(codec, tail, 3).stream();
    for (std::size_t length = 0; length < tlv.size(); ++length)
        ASSERT_FALSE(takes(Bytes(tlv.begin(), tlv.begin() + static_cast<std::ptrdiff_t>(length)), tail))
            << length;
    EXPECT_TRUE(takes(tlv, tail));
}

// What an auto-configuration host has more: a tail, its length, and parts of fixed size.

class StoredHost : public Lab
{
protected:
    using Host = kov_vault_auto_config_host_val_t;
    static constexpr std::size_t host_size = 5924;
    static constexpr std::size_t field_header = 8;

    // A host whose tail is `text`, in one block.
    Bytes host_with(const std::string &text)
    {
        Bytes block(host_size + text.size());
        std::copy(text.begin(), text.end(), block.begin() + host_size);
        return block;
    }
    static Host *in(Bytes &block) { return reinterpret_cast<Host *>(block.data()); }

    Bytes encode(Bytes &block)
    {
        in(block)->parameter_len = static_cast<uint32_t>(block.size() - host_size);
        EXPECT_EQ(kov_vault_auto_config_host_set_parameters(in(block), block.data() + host_size), 1u);
        Bytes tlv(kov_vault_auto_config_host_get_tlv_sz(in(block)));
        EXPECT_EQ(kov_vault_auto_config_host_to_tlv(in(block), tlv.data(), size(tlv), 0, 0, 0), 0);
        return tlv;
    }
    int decode(const Bytes &tlv)
    {
        decoded.assign(host_size + 100, 0xEE);
        return kov_vault_auto_config_host_to_struct(tlv.data(), size(tlv), in(decoded), 0);
    }
    static uint32_t size(const Bytes &bytes) { return static_cast<uint32_t>(bytes.size()); }

    // Where a field's header stands in a stream.
    static std::size_t find(const Bytes &tlv, uint32_t id)
    {
        for (std::size_t at = 16; at < tlv.size();) {
            uint32_t words[2];
            std::memcpy(words, &tlv[at], sizeof words);
            if (words[0] == id)
                return at;
            at += field_header + words[1];
        }
        ADD_FAILURE() << "no field " << id;
        return 0;
    }
    static void put_word(Bytes &tlv, std::size_t at, uint32_t word)
    {
        std::memcpy(&tlv[at], &word, sizeof word);
    }
    static uint32_t word_at(const Bytes &bytes, std::size_t at)
    {
        uint32_t word;
        std::memcpy(&word, &bytes[at], sizeof word);
        return word;
    }
    // Takes a field out of the stream and gives it, header and value.
    static Bytes cut(Bytes &tlv, uint32_t id)
    {
        const std::size_t at = find(tlv, id), length = field_header + word_at(tlv, at + 4);
        const auto first = tlv.begin() + static_cast<std::ptrdiff_t>(at);
        const auto last = first + static_cast<std::ptrdiff_t>(length);
        Bytes field(first, last);
        tlv.erase(first, last);
        put_word(tlv, 4, size(tlv));
        put_word(tlv, 12, word_at(tlv, 12) - 1);
        return field;
    }
    static void append(Bytes &tlv, const Bytes &field)
    {
        tlv.insert(tlv.end(), field.begin(), field.end());
        put_word(tlv, 4, size(tlv));
        put_word(tlv, 12, word_at(tlv, 12) + 1);
    }
    void expect_malformed(const Bytes &tlv)
    {
        EXPECT_EQ(decode(tlv), 74);
        EXPECT_EQ(decoded, Bytes(decoded.size(), 0xEE));
        EXPECT_EQ(kov_vault_auto_config_host_get_struct_sz(tlv.data()), -1);
    }

    Bytes decoded;
};

TEST_F(StoredHost, WithAnEmptyTailEncodesNoParameterData)
{
    Bytes block = host_with("");
    const Bytes tlv = encode(block);
    EXPECT_EQ(word_at(tlv, find(tlv, 9) + 4), 0u);
    EXPECT_EQ(kov_vault_auto_config_host_get_struct_sz(tlv.data()), 5924);
    EXPECT_EQ(decode(tlv), 0);
    EXPECT_EQ(in(decoded)->parameter_len, 0u);
    EXPECT_EQ(decoded[host_size], 0xEE);
}

TEST_F(StoredHost, TheTailComesToStandRightBehindTheRecord)
{
    Bytes block = host_with("vlan=7");
    const Bytes tlv = encode(block);
    EXPECT_EQ(kov_vault_auto_config_host_get_struct_sz(tlv.data()), 5930);
    EXPECT_EQ(decode(tlv), 0);
    EXPECT_EQ(kov_vault_auto_config_host_parameters(in(decoded)), &decoded[host_size]);
    EXPECT_EQ(std::string(decoded.begin() + host_size, decoded.begin() + host_size + 6), "vlan=7");
    EXPECT_EQ(decoded[host_size + 6], 0xEE);
}

TEST_F(StoredHost, ATailThatIsNotThereIsAnUnusableArgumentAndNothingIsWritten)
{
    Bytes block(host_size);
    in(block)->parameter_len = 6;
    Bytes tlv(kov_vault_auto_config_host_get_tlv_sz(in(block)), 0xEE);
    EXPECT_EQ(kov_vault_auto_config_host_to_tlv(in(block), tlv.data(), size(tlv), 0, 0, 0), 73);
    EXPECT_EQ(tlv, Bytes(tlv.size(), 0xEE));
    EXPECT_EQ(platform.codec.errors,
              std::vector<std::string>{"kov_vault_auto_config_host_to_tlv: ERR 0x49\n"});
}

TEST_F(StoredHost, NoMemoryForAPartIsReportedAndNothingIsWrittenOrLost)
{
    Bytes block = host_with("vlan=7");
    const Bytes good = encode(block);
    for (const unsigned part : {1u, 2u, 3u}) {
        platform.codec.errors.clear();
        platform.calls.fail(fake::Call::alloc, part);
        Bytes tlv(good.size(), 0xEE);
        EXPECT_EQ(kov_vault_auto_config_host_to_tlv(in(block), tlv.data(), size(tlv), 0, 0, 0), 1);
        EXPECT_EQ(tlv, Bytes(tlv.size(), 0xEE));
        EXPECT_EQ(platform.codec.errors,
                  std::vector<std::string>{"kov_vault_auto_config_host_to_tlv: ERR 0x1\n"});
        EXPECT_EQ(platform.leaks().blocks, 0u);
    }
}

TEST_F(StoredHost, ATailLargerThanAnyStreamIsRefusedBeforeItIsRead)
{
    Bytes block = host_with("x");
    encode(block);
    in(block)->parameter_len = 0xFFFFFFFF;
    EXPECT_EQ(kov_vault_auto_config_host_get_tlv_sz(in(block)), 0u);
    Bytes tlv(8000, 0xEE);
    EXPECT_EQ(kov_vault_auto_config_host_to_tlv(in(block), tlv.data(), size(tlv), 0, 0, 0), 75);
    EXPECT_EQ(tlv, Bytes(8000, 0xEE));
    EXPECT_EQ(platform.calls.count(fake::Call::alloc), 3u); // the three of the good one
}

TEST_F(StoredHost, AStreamWhoseLengthDoesNotAgreeWithItsTailIsMalformed)
{
    Bytes block = host_with("vlan=7");
    const Bytes good = encode(block);
    for (const uint32_t length : {0u, 5u, 7u, 0xFFFFFFFFu}) {
        Bytes tlv = good;
        put_word(tlv, find(tlv, 8) + field_header, length);
        expect_malformed(tlv);
    }
}

TEST_F(StoredHost, AStreamWithTheTailBeforeItsLengthIsMalformed)
{
    Bytes block = host_with("vlan=7");
    Bytes tlv = encode(block);
    append(tlv, cut(tlv, 8));
    expect_malformed(tlv);
}

TEST_F(StoredHost, AStreamWithATailAndNoLengthOrALengthAndNoTailIsMalformed)
{
    Bytes block = host_with("vlan=7");
    for (const uint32_t missing : {8u, 9u}) {
        Bytes tlv = encode(block);
        cut(tlv, missing);
        expect_malformed(tlv);
    }
}

TEST_F(StoredHost, AStreamThatGivesItsLengthAgainMustStillAgree)
{
    Bytes block = host_with("vlan=7");
    Bytes tlv = encode(block);
    Bytes again = cut(tlv, 8);
    tlv = encode(block);
    append(tlv, again);
    EXPECT_EQ(decode(tlv), 0);
    put_word(again, field_header, 100);
    append(tlv, again);
    expect_malformed(tlv);
}

// The size that the stream wants is that of one tail, and each would be written.
TEST_F(StoredHost, AStreamWithASecondTailIsMalformedAlsoWhenBothAgreeWithTheirLengths)
{
    for (const std::size_t first : {100u, 6u}) {
        Bytes block = host_with(std::string(first, 'x'));
        Bytes tlv = encode(block);
        block = host_with("vlan=7");
        Bytes second = encode(block);
        append(tlv, cut(second, 8));
        append(tlv, cut(second, 9));
        expect_malformed(tlv);
    }
}

TEST_F(StoredHost, WithoutLengthAndTailKeepsBothAsFound)
{
    Bytes block = host_with("vlan=7");
    Bytes tlv = encode(block);
    cut(tlv, 9);
    cut(tlv, 8);
    EXPECT_EQ(kov_vault_auto_config_host_get_struct_sz(tlv.data()), 5924);
    EXPECT_EQ(decode(tlv), 0);
    EXPECT_EQ(in(decoded)->parameter_len, 0xEEEEEEEEu);
    EXPECT_EQ(in(decoded)->parameters, 0xEEEEEEEEu);
    EXPECT_EQ(decoded[host_size], 0xEE);
}

TEST_F(StoredHost, PartsOfAnotherSizeAreMalformed)
{
    Bytes block = host_with("");
    for (const uint32_t id : {4u, 11u}) {
        Bytes tlv = encode(block);
        Bytes field = cut(tlv, id);
        field.push_back(0);
        put_word(field, 4, size(field) - 8);
        append(tlv, field);
        expect_malformed(tlv);
    }
}

TEST_F(StoredHost, ANestedStreamWithAByteTooManyIsMalformed)
{
    Bytes block = host_with("");
    Bytes tlv = encode(block);
    Bytes field = cut(tlv, 15);
    field.push_back(0);
    put_word(field, 4, size(field) - 8);
    append(tlv, field);
    expect_malformed(tlv);
}

} // namespace
