// The fake's database: the order of records, walks by key, short loans.
#include "fake/fake.h"

#include <kov/platform/rdb.h>

#include <gtest/gtest.h>

#include <cstring>

using fake::Bytes;

namespace
{

class FakeDatabase : public testing::Test
{
protected:
    FakeDatabase()
    {
        p.reset();
        std::strcpy(desc.uri, fake::System::uri("test").c_str());
        EXPECT_NE(osal_rdb_open(desc.uri, 0), 0);
    }
    ~FakeDatabase() override { p.reset(); }

    static fake::Key key(uint32_t type, const char *name, uint8_t prefix = 0, uint8_t family = 0)
    {
        fake::Key k = {};
        std::memcpy(k.data(), &type, sizeof type);
        std::strcpy(reinterpret_cast<char *>(&k[4]), name);
        k[37] = family;
        k[41] = prefix;
        return k;
    }
    void put(const fake::Key &k, uint8_t content) { p.db.put(k.data(), Bytes{content}); }
    int read(const fake::Key &k) { return osal_rdb_read(&desc, k.data(), 61, &tlv, &tlv_len); }
    int first(const fake::Key &k) { return osal_rdb_get_first(&desc, k.data(), 61, &rkey, &tlv, &tlv_len); }
    int next(const void *k) { return osal_rdb_get_next(&desc, k, 61, &rkey, &tlv, &tlv_len); }
    uint8_t content() const { return *static_cast<const uint8_t *>(tlv); }
    Bytes walk(const fake::Key &from)
    {
        Bytes seen;
        for (int found = first(from); found; found = next(rkey))
            seen.push_back(content());
        return seen;
    }

    fake::Platform &p = fake::platform();
    osal_rdb_desc desc = {};
    const void *rkey = nullptr, *tlv = nullptr;
    uint32_t tlv_len = 0;
};

TEST_F(FakeDatabase, OrdersByTypeThenNameThenPrefixThenFamily)
{
    put(key(256, "", 0, 0), 6); // above 4 as a number, below it as bytes
    put(key(4, "b", 1, 0), 5);
    put(key(4, "a", 2, 0), 4);
    put(key(4, "a", 1, 1), 3);
    put(key(4, "a", 1, 0), 2);
    put(key(3, "z", 9, 1), 1);
    EXPECT_EQ(walk(key(0, "")), (Bytes{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(walk(key(4, "a", 1, 1)), (Bytes{3, 4, 5, 6}));
    EXPECT_EQ(p.db.steps(), 6u + 1 + 4 + 1);
}

TEST_F(FakeDatabase, ReadsByAllBytesOfTheKey)
{
    put(key(4, "a", 1, 0), 1);
    put(key(4, "a", 1, 1), 2);
    EXPECT_EQ(read(key(4, "a", 1, 1)), 1);
    EXPECT_EQ(content(), 2);
    EXPECT_EQ(tlv_len, 1u);
    EXPECT_EQ(read(key(4, "a", 1, 2)), 0);
    EXPECT_EQ(p.db.reads(), 2u);
}

TEST_F(FakeDatabase, StepsOnFromAKeyThatHasGone)
{
    put(key(2, "a"), 1);
    put(key(2, "b"), 2);
    put(key(2, "c"), 3);
    EXPECT_EQ(first(key(2, "b")), 1);
    EXPECT_TRUE(p.db.erase(key(2, "b").data()));
    EXPECT_EQ(next(key(2, "b").data()), 1);
    EXPECT_EQ(content(), 3);
    EXPECT_FALSE(p.db.erase(key(2, "b").data()));
}

TEST_F(FakeDatabase, AnswersNoneWhenClosedOrAskedForNonsense)
{
    const fake::Key k = key(2, "a");
    put(k, 1);
    EXPECT_EQ(osal_rdb_read(nullptr, k.data(), 61, &tlv, &tlv_len), 0);
    EXPECT_EQ(osal_rdb_read(&desc, k.data(), 57, &tlv, &tlv_len), 0);
    EXPECT_EQ(osal_rdb_read(&desc, nullptr, 61, &tlv, &tlv_len), 0);
    EXPECT_NE(osal_rdb_close(desc.uri), 0);
    EXPECT_EQ(read(k), 0);
    EXPECT_EQ(first(k), 0);
    EXPECT_EQ(next(k.data()), 0);
    EXPECT_EQ(tlv, nullptr);
    EXPECT_EQ(osal_rdb_close(desc.uri), 0);
}

TEST_F(FakeDatabase, RefusesToOpenWhenToldSo)
{
    p.db.close_all();
    p.db.refuse_open = true;
    EXPECT_EQ(osal_rdb_open(desc.uri, 0), 0);
    EXPECT_FALSE(p.db.is_open());
    EXPECT_EQ(osal_rdb_open(nullptr, 0), 0);
}

TEST_F(FakeDatabase, OverwritesWhatItLentAtTheNextCall)
{
    put(key(2, "a"), 1);
    put(key(2, "b"), 2);
    ASSERT_EQ(first(key(2, "a")), 1);
    const void *const old_key = rkey, *const old_tlv = tlv;
    ASSERT_EQ(next(rkey), 1); // the lent key itself is a good argument
    EXPECT_EQ(content(), 2);
    EXPECT_EQ(*static_cast<const uint8_t *>(old_key), 0xDD);
    EXPECT_EQ(*static_cast<const uint8_t *>(old_tlv), 0xDD);
}

TEST_F(FakeDatabase, LendsRecordsAtOddAddresses)
{
    put(key(2, "a"), 1);
    ASSERT_EQ(first(key(2, "a")), 1);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(rkey) % 2, 1u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(tlv) % 2, 1u);
}

} // namespace
