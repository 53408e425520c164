// The decoding of a database record into the one buffer, and what a damaged record reads as.
#include "samples.h"

#include "cache/lookup.h"

#include <kov/kov_codec.h>

namespace
{

using fake::Bytes;

class Decoding : public Lab
{
protected:
    Decoding()
    {
        EXPECT_EQ(kov_api_init(), 1u);
        kov_rdb_geninfo_t record = general_info(1);
        tlv.resize(kov_rdb_geninfo_get_tlv_sz(&record));
        EXPECT_EQ(kov_rdb_geninfo_to_tlv(&record, tlv.data(), size(), 0, 0, 0), 0);
        debug_on();
        clear_traces();
    }
    static Bytes find(const kov_rdb_key &wanted, std::size_t size)
    {
        return bytes_at(kov_rdb_get_data_from_cache(&wanted, 0), size);
    }
    uint32_t size() const { return static_cast<uint32_t>(tlv.size()); }

    kov_rdb_key key = key_of(KOV_RDB_GENINFO);
    Bytes tlv;
    void *out = this;
};

TEST_F(Decoding, ZeroesTheWholeBufferFirst)
{
    std::memset(kov_api_tlv_buf, 0xEE, kov_api_tlv_buf_size);
    EXPECT_EQ(kov_rdb_get_data_from_tlv(&key, tlv.data(), size(), &out), 1u);
    EXPECT_EQ(out, kov_api_tlv_buf);
    Bytes expected = bytes_of(general_info(1));
    expected.resize(8192);
    EXPECT_EQ(bytes_at(kov_api_tlv_buf, kov_api_tlv_buf_size), expected);
    expect_traces({});
}

TEST_F(Decoding, RefusesANullKeyOrRecord)
{
    const std::string text = "Invalid key (or) tlv data in kov_rdb_get_data_from_tlv";
    EXPECT_EQ(kov_rdb_get_data_from_tlv(nullptr, tlv.data(), size(), &out), 0u);
    expect_traces({text});
    EXPECT_EQ(kov_rdb_get_data_from_tlv(&key, nullptr, size(), &out), 0u);
    EXPECT_EQ(kov_rdb_get_data_from_tlv(nullptr, nullptr, 0, nullptr), 0u);
    expect_traces({text, text, text});
    EXPECT_EQ(out, this);
}

TEST_F(Decoding, RefusesATypeThatDoesNotExist)
{
    for (const uint32_t type : {0u, 7u, 0x200u, 0xFFu}) {
        clear_traces();
        key = key_of(type);
        EXPECT_EQ(kov_rdb_get_data_from_tlv(&key, tlv.data(), size(), &out), 0u);
        expect_traces({"Invalid key type(" + std::to_string(type & 0xFF) + ") in kov_rdb_get_data_from_tlv"});
        EXPECT_EQ(out, this);
    }
}

// Deliberate: a null output pointer is a success.
TEST_F(Decoding, IntoANullOutputPointerIsASuccess)
{
    std::memset(kov_api_tlv_buf, 0xEE, kov_api_tlv_buf_size);
    EXPECT_EQ(kov_rdb_get_data_from_tlv(&key, tlv.data(), size(), nullptr), 1u);
    expect_traces({"Invalid data ptr in kov_rdb_get_data_from_tlv"});
    EXPECT_EQ(bytes_at(kov_api_tlv_buf, kov_api_tlv_buf_size), Bytes(8192, 0xEE));
}

TEST_F(Decoding, TestsTheTypeBeforeTheOutputPointer)
{
    key = key_of(9);
    EXPECT_EQ(kov_rdb_get_data_from_tlv(&key, tlv.data(), size(), nullptr), 0u);
    expect_traces({"Invalid key type(9) in kov_rdb_get_data_from_tlv"});
}

TEST_F(Decoding, ExaminesOnlyTheLowByteOfTheType)
{
    key = key_of(0x77665501);
    EXPECT_EQ(kov_rdb_get_data_from_tlv(&key, tlv.data(), size(), &out), 1u);
    EXPECT_EQ(bytes_at(out, 181), bytes_of(general_info(1)));
}

// Deliberate: the codec's code is ignored; a damaged record reads as one of zeros.
TEST_F(Decoding, IgnoresTheCodecsCodeSoThatADamagedRecordReadsAsOneOfZeros)
{
    Bytes flipped = tlv;
    flipped[0] ^= 0xFF;
    const Bytes cut(tlv.begin(), tlv.end() - 1);
    for (const Bytes &damaged : {flipped, cut, Bytes{1, 2, 3}, Bytes(4000, 0xFF)}) {
        std::memset(kov_api_tlv_buf, 0xEE, kov_api_tlv_buf_size);
        EXPECT_EQ(
            kov_rdb_get_data_from_tlv(&key, damaged.data(), static_cast<uint32_t>(damaged.size()), &out), 1u);
        EXPECT_EQ(out, kov_api_tlv_buf);
        EXPECT_EQ(bytes_at(out, kov_api_tlv_buf_size), Bytes(8192));
    }
    EXPECT_EQ(platform.codec.errors, std::vector<std::string>(4, "kov_rdb_geninfo_to_struct: ERR 0x4a\n"));
    expect_traces({});
}

TEST_F(Decoding, OfEachTypeReportsAnErrorInItsOwnName)
{
    const char *const names[] = {"geninfo",      "sviinfo",    "port_tracking",
                                 "aggr_sub_pfx", "port_l2dci", "l2rib_topo_info"};
    for (uint32_t type = 1; type <= 6; ++type) {
        platform.codec.errors.clear();
        key = key_of(type);
        EXPECT_EQ(kov_rdb_get_data_from_tlv(&key, "?", 1, &out), 1u);
        EXPECT_EQ(platform.codec.errors, (std::vector<std::string>{std::string("kov_rdb_") + names[type - 1] +
                                                                   "_to_struct: ERR 0x4a\n"}));
        EXPECT_EQ(platform.codec.flag, 1u);
    }
}

TEST_F(Decoding, OfADamagedRecordInTheDatabaseIsALookupThatFindsZeros)
{
    for (uint32_t type = 1; type <= 6; ++type) {
        key = key_of(type);
        publish_bytes(key, {0xBA, 0xAD});
        EXPECT_EQ(find(key, 181), Bytes(181)) << type;
        expect_counters(type, {.rdb_hits = 1});
    }
}

TEST_F(Decoding, OfAnEmptyRecordInTheDatabaseIsALookupThatFindsZeros)
{
    publish_bytes(key, {});
    EXPECT_EQ(find(key, 181), Bytes(181));
}

} // namespace
