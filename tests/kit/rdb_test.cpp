// The shared database: exact reads, walks, their order, and how long results hold.
#include "stage.h"

#include <kov/platform/rdb.h>
#include <kov/platform/svcmgr.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace
{

constexpr uint32_t key_size = 61;
using Key = std::array<uint8_t, key_size>;
using Bytes = std::vector<uint8_t>;

Key key_of(uint32_t type, std::initializer_list<std::pair<std::size_t, uint8_t>> bytes = {})
{
    Key key{};
    std::memcpy(key.data(), &type, sizeof type);
    for (const auto &[at, byte] : bytes)
        key[at] = byte;
    return key;
}

Bytes text(const std::string &value) { return {value.begin(), value.end()}; }

// The order as rdb.h words it.
struct Order {
    bool operator()(const Key &a, const Key &b) const { return rank(a) < rank(b); }
    static Bytes rank(const Key &key)
    {
        Bytes rank{key[3], key[2], key[1], key[0]};
        rank.insert(rank.end(), &key[4], &key[37]);
        rank.insert(rank.end(), &key[41], key.data() + key_size);
        rank.insert(rank.end(), &key[37], &key[41]);
        return rank;
    }
};

struct Record {
    Key key;
    Bytes tlv;
    bool operator==(const Record &) const = default;
};

class Rdb : public testing::Test
{
protected:
    Rdb()
    {
        kit::set_stage();
        uri = svcmgr_uri_complete(svcmgr_running_cfg_uri_get(), 0, "kov_rdb_info");
        std::strcpy(desc.name, "kov_rdb_info");
        std::strcpy(desc.uri, uri.c_str());
        desc.mode = 2;
        opened = osal_rdb_open(uri.c_str(), 0);
    }
    ~Rdb() override
    {
        osal_rdb_close(uri.c_str());
        kit::clear_stage();
    }
    void SetUp() override { ASSERT_NE(opened, 0); }

    static void put(const Key &key, const Bytes &tlv)
    {
        kit::put_record(key.data(), tlv.data(), static_cast<uint32_t>(tlv.size()));
    }
    static void put(const Key &key, const std::string &value) { put(key, text(value)); }

    std::optional<Bytes> read(const Key &key) const
    {
        const void *tlv = nullptr;
        uint32_t size = 0;
        const int found = osal_rdb_read(&desc, key.data(), key_size, &tlv, &size);
        if (found == 0)
            return std::nullopt;
        EXPECT_EQ(found, 1);
        const auto *bytes = static_cast<const uint8_t *>(tlv);
        return Bytes(bytes, bytes + size);
    }

    using Step = decltype(osal_rdb_get_first);
    std::optional<Record> step(Step *call, const void *from) const
    {
        const void *key = nullptr;
        const void *tlv = nullptr;
        uint32_t size = 0;
        const int found = call(&desc, from, key_size, &key, &tlv, &size);
        if (found == 0)
            return std::nullopt;
        EXPECT_EQ(found, 1);
        Record record{};
        std::memcpy(record.key.data(), key, key_size);
        const auto *bytes = static_cast<const uint8_t *>(tlv);
        record.tlv.assign(bytes, bytes + size);
        return record;
    }
    std::optional<Record> first(const Key &from) const { return step(osal_rdb_get_first, from.data()); }
    std::optional<Record> next(const Key &after) const { return step(osal_rdb_get_next, after.data()); }

    std::vector<Key> walk() const
    {
        std::vector<Key> keys;
        for (auto record = first({}); record; record = next(record->key))
            keys.push_back(record->key);
        return keys;
    }

    std::string uri;
    osal_rdb_desc desc{};
    int opened = 0;
};

TEST_F(Rdb, ReadsARecordByItsWholeKey)
{
    put(key_of(2, {{4, 1}}), "one");
    EXPECT_EQ(read(key_of(2, {{4, 1}})), text("one"));
    EXPECT_EQ(read(key_of(2)), std::nullopt);
    EXPECT_EQ(read(key_of(3, {{4, 1}})), std::nullopt);
}

TEST_F(Rdb, EveryByteOfTheKeyCounts)
{
    const Key key = key_of(4, {{4, 'v'}, {37, 1}, {41, 10}});
    put(key, "it");
    for (std::size_t at = 0; at < key_size; ++at) {
        Key other = key;
        other[at] ^= 0x80;
        EXPECT_EQ(read(other), std::nullopt) << "byte " << at;
        put(other, "other");
        EXPECT_EQ(read(other), text("other")) << "byte " << at;
        EXPECT_EQ(read(key), text("it")) << "byte " << at;
    }
    EXPECT_EQ(walk().size(), key_size + 1u);
}

TEST_F(Rdb, SeesTheLatestCommit)
{
    const Key key = key_of(1);
    EXPECT_EQ(read(key), std::nullopt);
    put(key, "one");
    EXPECT_EQ(read(key), text("one"));
    put(key, "a longer one");
    EXPECT_EQ(read(key), text("a longer one"));
    kit::delete_record(key.data());
    EXPECT_EQ(read(key), std::nullopt);
    EXPECT_EQ(first(key), std::nullopt);
}

TEST_F(Rdb, RecordsMayBeLongAndHoldAnyByte)
{
    Bytes tlv(20000);
    std::mt19937 random(1);
    for (uint8_t &byte : tlv)
        byte = static_cast<uint8_t>(random());
    put(key_of(1), tlv);
    put(key_of(2), Bytes{0});
    EXPECT_EQ(read(key_of(1)), tlv);
    EXPECT_EQ(read(key_of(2)), Bytes{0});
    EXPECT_EQ(first(key_of(1)), (Record{key_of(1), tlv}));
}

TEST_F(Rdb, WalksInTheOrderOfTheHeader)
{
    // ascending, each differs from the one before it in what the order looks at next
    const std::vector<Key> ascending = {
        key_of(1),
        key_of(2),
        key_of(2, {{60, 1}}),
        key_of(2, {{36, 1}}),
        key_of(2, {{4, 1}}),
        key_of(4, {{4, 'a'}, {37, 0}, {41, 10}}),
        key_of(4, {{4, 'a'}, {37, 0}, {40, 1}, {41, 10}}),
        key_of(4, {{4, 'a'}, {37, 1}, {41, 10}}),          // the same prefix bytes, IPv6
        key_of(4, {{4, 'a'}, {37, 0}, {41, 10}, {45, 8}}), // a longer length goes after either family
        key_of(4, {{4, 'a'}, {37, 1}, {41, 0x20}}),
        key_of(4, {{4, 'a'}, {37, 0}, {41, 192}}), // IPv4 among the IPv6 records of the VRF
        key_of(4, {{4, 'b'}}),
        key_of(4, {{4, 0xff}}),
        key_of(5),
        key_of(0x100), // the type is a number, not bytes
        key_of(0x01000000),
        key_of(0xffffffff),
    };
    std::vector<Key> shuffled = ascending;
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(2));
    for (const Key &key : shuffled)
        put(key, "x");
    EXPECT_EQ(walk(), ascending);
}

TEST_F(Rdb, FirstFindsTheKeyItselfAndNextPassesIt)
{
    for (const uint8_t number : Bytes{10, 20, 30})
        put(key_of(2, {{4, number}}), std::string(number, 'x'));
    const struct {
        uint8_t from;
        std::optional<uint8_t> first, next;
    } rows[] = {
        {0, 10, 10},  {9, 10, 10},  {10, 10, 20}, {11, 20, 20},
        {20, 20, 30}, {29, 30, 30}, {30, 30, {}}, {31, {}, {}},
    };
    const auto number_of = [](const std::optional<Record> &record) {
        return record ? std::optional<uint8_t>(record->key[4]) : std::nullopt;
    };
    for (const auto &row : rows) {
        const Key from = key_of(2, {{4, row.from}});
        EXPECT_EQ(number_of(first(from)), row.first) << int{row.from};
        EXPECT_EQ(number_of(next(from)), row.next) << int{row.from};
        if (const auto record = first(from)) {
            EXPECT_EQ(record->tlv.size(), record->key[4]);
        }
    }
}

TEST_F(Rdb, AWalkCrossesFromOneTypeIntoTheNext)
{
    put(key_of(2), "two");
    put(key_of(3), "three");
    EXPECT_EQ(next(key_of(2)), (Record{key_of(3), text("three")}));
    EXPECT_EQ(first(key_of(2, {{4, 1}})), (Record{key_of(3), text("three")}));
}

TEST_F(Rdb, AStepMayStartFromTheKeyThatWasHandedOut)
{
    for (uint8_t number = 0; number < 100; ++number)
        put(key_of(2, {{4, number}}), std::string(1, static_cast<char>(number)));
    const Key from{};
    const void *key = from.data();
    const void *tlv = nullptr;
    uint32_t size = 0;
    int found = osal_rdb_get_first(&desc, key, key_size, &key, &tlv, &size);
    for (uint8_t number = 0; number < 100; ++number) {
        ASSERT_EQ(found, 1) << int{number};
        ASSERT_EQ(static_cast<const uint8_t *>(key)[4], number);
        ASSERT_EQ(size, 1u);
        ASSERT_EQ(*static_cast<const uint8_t *>(tlv), number);
        found = osal_rdb_get_next(&desc, key, key_size, &key, &tlv, &size);
    }
    EXPECT_EQ(found, 0);
}

TEST_F(Rdb, ReadsAndOtherWalksBetweenTwoStepsChangeNothing)
{
    for (uint8_t number = 0; number < 50; ++number)
        put(key_of(2, {{4, number}}), "x");
    auto forth = first({});
    auto back = first(key_of(2, {{4, 40}}));
    for (uint8_t number = 0; number < 50; ++number) {
        ASSERT_TRUE(forth);
        EXPECT_EQ(forth->key[4], number);
        read(key_of(2, {{4, 7}}));
        read(key_of(9));
        back = back ? next(back->key) : first({});
        forth = next(forth->key);
    }
    EXPECT_FALSE(forth);
}

TEST_F(Rdb, CommitsBetweenTwoStepsAreSeen)
{
    for (const uint8_t number : Bytes{1, 3, 5, 7})
        put(key_of(2, {{4, number}}), "x");
    auto at = first({});
    ASSERT_TRUE(at);
    put(key_of(2, {{4, 2}}), "new");
    kit::delete_record(key_of(2, {{4, 3}}).data());
    at = next(at->key);
    EXPECT_EQ(at, (Record{key_of(2, {{4, 2}}), text("new")}));
    kit::delete_record(key_of(2, {{4, 2}}).data()); // the one that the walk stands on
    put(key_of(2, {{4, 5}}), "changed");
    at = next(at->key);
    EXPECT_EQ(at, (Record{key_of(2, {{4, 5}}), text("changed")}));
    put(key_of(2, {{4, 1}}), "behind");
    kit::delete_record(key_of(2, {{4, 7}}).data());
    EXPECT_EQ(next(at->key), std::nullopt);
    put(key_of(2, {{4, 8}}), "late");
    EXPECT_EQ(next(at->key), (Record{key_of(2, {{4, 8}}), text("late")}));
}

TEST_F(Rdb, WhatWasHandedOutHoldsUntilTheNextCallWhateverIsCommitted)
{
    const Key key = key_of(2, {{4, 1}});
    const void *rkey = nullptr;
    const void *tlv = nullptr;
    uint32_t size = 0;
    put(key, std::string(300, 'a'));
    const Bytes before(300, 'a');
    ASSERT_EQ(osal_rdb_read(&desc, key.data(), key_size, &tlv, &size), 1);
    put(key, std::string(300, 'b'));
    EXPECT_EQ(Bytes(static_cast<const uint8_t *>(tlv), static_cast<const uint8_t *>(tlv) + size), before);
    put(key, std::string(300, 'a'));
    ASSERT_EQ(osal_rdb_get_first(&desc, key.data(), key_size, &rkey, &tlv, &size), 1);
    kit::delete_record(key.data());
    EXPECT_EQ(Bytes(static_cast<const uint8_t *>(tlv), static_cast<const uint8_t *>(tlv) + size), before);
    EXPECT_EQ(std::memcmp(rkey, key.data(), key_size), 0);
}

TEST_F(Rdb, AnswersNoneQuietlyForWhatIsNoQuestion)
{
    put(key_of(1), "one");
    const Key key = key_of(1);
    osal_rdb_desc unknown = desc;
    std::strcpy(unknown.uri, "elsewhere");
    const struct {
        const char *what;
        const osal_rdb_desc *db;
        const void *key;
        uint32_t key_len;
    } rows[] = {{"no database", nullptr, key.data(), key_size},
                {"a database never opened", &unknown, key.data(), key_size},
                {"no key", &desc, nullptr, key_size},
                {"a short key", &desc, key.data(), key_size - 1},
                {"no length", &desc, key.data(), 0}};
    for (const auto &row : rows) {
        const void *rkey = &rows;
        const void *tlv = &rows;
        uint32_t size = 77;
        EXPECT_EQ(osal_rdb_read(row.db, row.key, row.key_len, &tlv, &size), 0) << row.what;
        EXPECT_EQ(osal_rdb_get_first(row.db, row.key, row.key_len, &rkey, &tlv, &size), 0) << row.what;
        EXPECT_EQ(osal_rdb_get_next(row.db, row.key, row.key_len, &rkey, &tlv, &size), 0) << row.what;
        EXPECT_EQ(rkey, &rows) << row.what;
        EXPECT_EQ(tlv, &rows) << row.what;
        EXPECT_EQ(size, 77u) << row.what;
    }
}

TEST_F(Rdb, NoneLeavesTheResultsUntouched)
{
    const Key key = key_of(1);
    const void *rkey = &key;
    const void *tlv = &key;
    uint32_t size = 77;
    EXPECT_EQ(osal_rdb_read(&desc, key.data(), key_size, &tlv, &size), 0);
    EXPECT_EQ(osal_rdb_get_first(&desc, key.data(), key_size, &rkey, &tlv, &size), 0);
    EXPECT_EQ(osal_rdb_get_next(&desc, key.data(), key_size, &rkey, &tlv, &size), 0);
    EXPECT_EQ(rkey, &key);
    EXPECT_EQ(tlv, &key);
    EXPECT_EQ(size, 77u);
}

TEST_F(Rdb, AClosedDatabaseAnswersNoneAndOpensAgain)
{
    put(key_of(1), "one");
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(read(key_of(1)), text("one"));
        EXPECT_NE(osal_rdb_close(uri.c_str()), 0);
        EXPECT_EQ(read(key_of(1)), std::nullopt);
        EXPECT_EQ(first(key_of(1)), std::nullopt);
        EXPECT_EQ(next(key_of(0)), std::nullopt);
        EXPECT_EQ(osal_rdb_close(uri.c_str()), 0) << "it was not open";
        EXPECT_NE(osal_rdb_open(uri.c_str(), 0), 0);
    }
    EXPECT_NE(osal_rdb_open(uri.c_str(), 0), 0) << "open already";
    EXPECT_EQ(read(key_of(1)), text("one"));
    EXPECT_EQ(osal_rdb_open(nullptr, 0), 0);
}

TEST_F(Rdb, KeysMayStandAtAnyAddress)
{
    const Key key = key_of(4, {{4, 'v'}, {41, 10}});
    put(key, "it");
    for (std::size_t shift = 0; shift < 8; ++shift) {
        Bytes room(shift + key_size);
        std::copy(key.begin(), key.end(), room.begin() + static_cast<std::ptrdiff_t>(shift));
        const void *tlv = nullptr;
        uint32_t size = 0;
        EXPECT_EQ(osal_rdb_read(&desc, room.data() + shift, key_size, &tlv, &size), 1);
        EXPECT_TRUE(step(osal_rdb_get_first, room.data() + shift));
    }
}

// Random changes, reads and steps beside a std::map; the seed is fixed, every run is the same run.
TEST_F(Rdb, AgreesWithAMapOnEveryChangeReadAndStep)
{
    std::map<Key, Bytes, Order> model;
    std::mt19937 random(3);
    const auto pick = [&random](uint32_t below) { return static_cast<uint8_t>(random() % below); };
    const auto any_key = [&] {
        return key_of(1u + pick(6), {{4, pick(8)}, {20, pick(2)}, {37, pick(2)}, {41, pick(4)}});
    };
    const auto record_at = [&model](auto at) {
        return at == model.end() ? std::nullopt : std::optional(Record{at->first, at->second});
    };
    Key position{};
    for (int i = 0; i < 6000; ++i) {
        const Key key = any_key();
        switch (random() % 8) {
        case 0:
        case 1: {
            const Bytes tlv(1 + random() % 300, static_cast<uint8_t>(i));
            put(key, tlv);
            model[key] = tlv;
            break;
        }
        case 2:
            kit::delete_record(key.data());
            model.erase(key);
            break;
        case 3: {
            const auto at = model.find(key);
            ASSERT_EQ(read(key), at == model.end() ? std::nullopt : std::optional(at->second));
            break;
        }
        case 4:
            ASSERT_EQ(first(key), record_at(model.lower_bound(key)));
            position = key;
            break;
        default: { // a walk that changes may interrupt
            const auto found = next(position);
            ASSERT_EQ(found, record_at(model.upper_bound(position)));
            position = found ? found->key : Key{};
        }
        }
    }
    std::vector<Key> keys;
    for (const auto &[key, tlv] : model)
        keys.push_back(key);
    EXPECT_EQ(walk(), keys);
}

} // namespace
