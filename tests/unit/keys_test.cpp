// Which record a message type stands for, and how records are named to the database and to trees.
#include "samples.h"

#include "cache/desc.h"
#include "cache/keys.h"
#include "cache/types.h"

namespace
{

using fake::Bytes;
using fake::Call;

class Keys : public Lab
{
};

TEST_F(Keys, EachMessageTypeStandsForItsRecordTypeOrForNone)
{
    constexpr uint32_t expected[] = {
        7, 7, 7, 7,       // 0 to 3: none
        1, 1, 1, 1,       // 4 to 7: general information
        4,                // 8: aggregate prefixes
        2,                // 9: SVIs
        3,                // 10: port tracking
        2,                // 11: SVIs
        7,                // 12: none
        1, 1,             // 13, 14: general information
        2,                // 15: SVIs
        1, 1,             // 16, 17: general information
        2,                // 18: SVIs
        6,                // 19: topology
        5,                // 20: port L2DCI
        7, 7, 7, 7, 7, 7, // 21 and up: none
    };
    for (uint32_t mtype = 0; mtype < std::size(expected); ++mtype)
        EXPECT_EQ(kov_mtype_to_rdb_type(mtype), expected[mtype]) << mtype;
    for (const uint32_t mtype : {32u, 36u, 255u, 256u + 4u, 65536u + 9u, UINT32_MAX})
        EXPECT_EQ(kov_mtype_to_rdb_type(mtype), 7u) << mtype;
    EXPECT_TRUE(platform.calls.log().empty());
}

TEST_F(Keys, EachRecordTypeWithACacheHasItsFillFunction)
{
    EXPECT_EQ(kov_rdb_type_cache_fn(1), &kov_cache_rdb_geninfo);
    EXPECT_EQ(kov_rdb_type_cache_fn(2), &kov_cache_rdb_sviinfo);
    EXPECT_EQ(kov_rdb_type_cache_fn(4), &kov_cache_rdb_aggr_subnet_pfx);
    for (const uint32_t type : {0u, 7u, 8u, 256u + 1u, UINT32_MAX})
        EXPECT_EQ(kov_rdb_type_cache_fn(type), nullptr) << type;
}

TEST_F(Keys, AnIpv4AddressIsATreeKeyInNetworkOrder)
{
    const uint32_t address = 0x0A010203;
    EXPECT_EQ(bytes_at(kov_prefix_tree_key(0, &address), 4), (Bytes{10, 1, 2, 3}));
}

TEST_F(Keys, AnIpv6AddressIsATreeKeyAsItStands)
{
    Bytes address(16);
    for (uint8_t i = 0; i < 16; ++i)
        address[i] = static_cast<uint8_t>(0xF0 + i);
    const void *const key = kov_prefix_tree_key(1, address.data());
    EXPECT_NE(key, address.data());
    EXPECT_EQ(bytes_at(key, 16), address);
}

TEST_F(Keys, AnAddressMayStandAnywhere)
{
    const Bytes buffer = {0xEE, 3, 2, 1, 10, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    EXPECT_EQ(bytes_at(kov_prefix_tree_key(0, &buffer[1]), 4), (Bytes{10, 1, 2, 3}));
    EXPECT_EQ(bytes_at(kov_prefix_tree_key(1, &buffer[1]), 16), Bytes(buffer.begin() + 1, buffer.end()));
}

TEST_F(Keys, ATreeKeyStandsInStaticStorageUntilTheNextOfItsFamily)
{
    const uint32_t first = 0x01020304, second = 0x05060708;
    const uint8_t address6[16] = {0xFE};
    const void *const key = kov_prefix_tree_key(0, &first);
    kov_prefix_tree_key(1, address6);
    EXPECT_EQ(bytes_at(key, 4), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(kov_prefix_tree_key(0, &second), key);
    EXPECT_EQ(bytes_at(key, 4), (Bytes{5, 6, 7, 8}));
}

TEST_F(Keys, ThereIsNoTreeKeyForAnotherFamilyOrWithoutAnAddress)
{
    const uint8_t address[16] = {};
    EXPECT_EQ(kov_prefix_tree_key(2, address), nullptr);
    EXPECT_EQ(kov_prefix_tree_key(UINT32_MAX, address), nullptr);
    EXPECT_EQ(kov_prefix_tree_key(0, nullptr), nullptr);
    EXPECT_EQ(kov_prefix_tree_key(1, nullptr), nullptr);
    EXPECT_EQ(kov_prefix_tree_key(2, nullptr), nullptr);
}

class AggregateKey : public Lab
{
protected:
    AggregateKey()
    {
        std::memset(&key, 0xEE, sizeof key);
        for (uint8_t i = 0; i < 20; ++i)
            prefix[i] = static_cast<uint8_t>(0xC0 + i);
    }
    // 61 bytes, zero but for type, name, family and prefix.
    static Bytes expected(const std::string &name, uint8_t family, const Bytes &prefix20 = Bytes(20))
    {
        Bytes bytes(61);
        bytes[0] = 4;
        std::memcpy(&bytes[4], name.data(), name.size());
        bytes[37] = family;
        std::memcpy(&bytes[41], prefix20.data(), prefix20.size());
        return bytes;
    }

    kov_rdb_key key;
    Bytes prefix = Bytes(20);
};

TEST_F(AggregateKey, HoldsTypeNameFamilyAndPrefixAndIsZeroElsewhere)
{
    kov_rdb_aggr_key_init(&key, "red", prefix.data(), 1);
    EXPECT_EQ(bytes_of(key), expected("red", 1, prefix));
}

TEST_F(AggregateKey, LeavesZeroWhatIsNotGiven)
{
    kov_rdb_aggr_key_init(&key, nullptr, prefix.data(), 0);
    EXPECT_EQ(bytes_of(key), expected("", 0, prefix));
    std::memset(&key, 0xEE, sizeof key);
    kov_rdb_aggr_key_init(&key, "red", nullptr, 0);
    EXPECT_EQ(bytes_of(key), expected("red", 0));
    std::memset(&key, 0xEE, sizeof key);
    kov_rdb_aggr_key_init(&key, nullptr, nullptr, 0);
    EXPECT_EQ(bytes_of(key), expected("", 0));
}

TEST_F(AggregateKey, KeepsThirtyTwoCharactersOfAName)
{
    const std::string name = "abcdefghijklmnopqrstuvwxyz012345";
    ASSERT_EQ(name.size(), 32u);
    kov_rdb_aggr_key_init(&key, name.c_str(), prefix.data(), 0);
    EXPECT_EQ(bytes_of(key), expected(name, 0, prefix));
    kov_rdb_aggr_key_init(&key, (name + "6").c_str(), prefix.data(), 0);
    EXPECT_EQ(bytes_of(key), expected(name, 0, prefix));
}

TEST_F(AggregateKey, KeepsTheLowByteOfTheFamily)
{
    kov_rdb_aggr_key_init(&key, "red", nullptr, 7);
    EXPECT_EQ(bytes_of(key), expected("red", 7));
    kov_rdb_aggr_key_init(&key, "red", nullptr, 0x101);
    EXPECT_EQ(bytes_of(key), expected("red", 1));
}

class Blocks : public Lab
{
protected:
    static Bytes contents(void *block, std::size_t size) { return bytes_at(block, size); }
};

TEST_F(Blocks, AreClearedOnRequest)
{
    void *const cleared = kov_cache_alloc(40, 1);
    void *const also = kov_cache_alloc(40, UINT32_MAX);
    void *const plain = kov_cache_alloc(40, 0);
    EXPECT_EQ(contents(cleared, 40), Bytes(40));
    EXPECT_EQ(contents(also, 40), Bytes(40));
    EXPECT_EQ(contents(plain, 40), Bytes(40, 0xA5)); // what the fake's heap puts into fresh memory
    EXPECT_EQ(platform.heap.live_blocks(), 3u);
    EXPECT_EQ(platform.heap.live_bytes(), 120u);
    kov_cache_free(cleared);
    kov_cache_free(also);
    kov_cache_free(plain);
    EXPECT_EQ(platform.heap.live_blocks(), 0u);
}

TEST_F(Blocks, AreNullWhenMemoryIsOut)
{
    platform.calls.fail_always(Call::alloc);
    EXPECT_EQ(kov_cache_alloc(16, 1), nullptr);
    EXPECT_EQ(kov_cache_alloc(16, 0), nullptr);
}

TEST_F(Blocks, FreeingNullDoesNothing)
{
    kov_cache_free(nullptr);
    EXPECT_EQ(platform.calls.count(Call::release), 0u);
}

} // namespace
