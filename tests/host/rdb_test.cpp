// The shared database on files: transactions, several processes, damaged and replaced files.
#include "host/host_test.h"
#include "rdb_store.h"

#include <kov/platform/rdb.h>
#include <kov/platform/svcmgr.h>

#include <array>
#include <cstring>
#include <fstream>
#include <vector>

namespace
{

using host_test::Child;
using kov_host::RdbState;
using kov_host::RdbStore;

using Key = std::array<std::uint8_t, kov_host::rdb_key_size>;

Key key_of(std::uint32_t type, std::uint32_t number)
{
    Key key{};
    std::memcpy(key.data(), &type, sizeof type);
    for (std::size_t i = 0; i < 4; ++i) // so that the order is that of the numbers
        key[4 + i] = static_cast<std::uint8_t>(number >> (24 - 8 * i));
    return key;
}

std::uint32_t number_in(const void *key)
{
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i)
        number = number << 8 | static_cast<const std::uint8_t *>(key)[4 + i];
    return number;
}

std::vector<std::uint8_t> text(const std::string &value) { return {value.begin(), value.end()}; }

// The reading side, as the library uses it.
class Reader
{
public:
    explicit Reader(const std::string &dir) : uri("kov-host:" + dir + "/kov_rdb_info")
    {
        std::strcpy(desc.name, "kov_rdb_info");
        std::strcpy(desc.uri, uri.c_str());
        desc.mode = 2;
    }
    int open() const { return osal_rdb_open(uri.c_str(), 0); }
    int close() const { return osal_rdb_close(uri.c_str()); }
    // "" for none.
    std::string read(const Key &key) const
    {
        const void *tlv = nullptr;
        std::uint32_t size = 0;
        if (osal_rdb_read(&desc, key.data(), static_cast<std::uint32_t>(key.size()), &tlv, &size) == 0)
            return "";
        return {static_cast<const char *>(tlv), size};
    }
    std::vector<std::uint32_t> walk() const
    {
        std::vector<std::uint32_t> numbers;
        Key at{};
        const void *key = nullptr;
        const void *tlv = nullptr;
        std::uint32_t size = 0;
        const auto length = static_cast<std::uint32_t>(at.size());
        int found = osal_rdb_get_first(&desc, at.data(), length, &key, &tlv, &size);
        while (found != 0) {
            numbers.push_back(number_in(key));
            found = osal_rdb_get_next(&desc, key, length, &key, &tlv, &size);
        }
        return numbers;
    }
    std::string uri;
    osal_rdb_desc desc{};
};

class Rdb : public host_test::Host
{
protected:
    Rdb() : reader(directory.path()) {}
    ~Rdb() override
    {
        store.reset();
        kov_host_detach();
    }

    std::string path() const { return directory / "kov_rdb_info"; }

    void open_store()
    {
        std::string why;
        store = RdbStore::open(path(), why);
        ASSERT_NE(store, nullptr) << why;
    }

    void put(std::uint32_t number, const std::string &value)
    {
        ASSERT_TRUE(store->begin()) << store->error();
        ASSERT_TRUE(store->put(key_of(2, number), text(value))) << store->error();
        ASSERT_TRUE(store->commit()) << store->error();
    }

    // Numbers 0 to count - 1 in one commit; the records are long enough for a tree of some depth.
    void publish(std::uint32_t count)
    {
        ASSERT_TRUE(store->begin()) << store->error();
        for (std::uint32_t i = 0; i < count; ++i)
            ASSERT_TRUE(store->put(key_of(2, i), text(std::string(200, 'r')))) << store->error();
        ASSERT_TRUE(store->commit()) << store->error();
    }

    std::string contents() const
    {
        std::ifstream in(path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    // A file of its own, so that nothing that this process mapped is touched.
    void write_contents(const std::string &bytes) const
    {
        std::filesystem::remove(path());
        std::ofstream(path(), std::ios::binary) << bytes;
    }

    // Forgets everything that is open.
    void close_all()
    {
        store.reset();
        kov_host_detach();
    }

    Reader reader;
    std::unique_ptr<RdbStore> store;
};

TEST_F(Rdb, ARecordIsSeenAfterItsCommitAndNotBefore)
{
    open_store();
    ASSERT_NE(reader.open(), 0) << kov_host_error();
    ASSERT_TRUE(store->begin());
    ASSERT_TRUE(store->put(key_of(2, 1), text("one")));
    EXPECT_EQ(reader.read(key_of(2, 1)), "");
    ASSERT_TRUE(store->commit());
    EXPECT_EQ(reader.read(key_of(2, 1)), "one");
    put(1, "uno");
    EXPECT_EQ(reader.read(key_of(2, 1)), "uno");
}

TEST_F(Rdb, ARollbackLeavesNothing)
{
    open_store();
    ASSERT_NE(reader.open(), 0);
    ASSERT_TRUE(store->begin());
    ASSERT_TRUE(store->put(key_of(2, 1), text("one")));
    store->rollback();
    store->rollback();
    EXPECT_EQ(reader.read(key_of(2, 1)), "");
    EXPECT_EQ(store->count(), 0u);
}

TEST_F(Rdb, TheWriterReadsItsOwnTransactionAndCounts)
{
    open_store();
    put(1, "one");
    std::string tlv;
    ASSERT_TRUE(store->begin());
    ASSERT_TRUE(store->put(key_of(2, 2), text("two")));
    EXPECT_TRUE(store->get(key_of(2, 2), tlv));
    EXPECT_EQ(tlv, "two");
    EXPECT_EQ(store->count(), 2u);
    bool existed = false;
    EXPECT_TRUE(store->erase(key_of(2, 1), &existed));
    EXPECT_TRUE(existed);
    EXPECT_TRUE(store->erase(key_of(2, 1), &existed));
    EXPECT_FALSE(existed);
    EXPECT_FALSE(store->get(key_of(2, 1), tlv));
    EXPECT_EQ(store->error(), "");
    ASSERT_TRUE(store->commit());
    ASSERT_NE(reader.open(), 0);
    EXPECT_EQ(reader.walk(), std::vector<std::uint32_t>{2});
    ASSERT_TRUE(store->begin());
    ASSERT_TRUE(store->clear());
    ASSERT_TRUE(store->commit());
    EXPECT_EQ(reader.walk(), std::vector<std::uint32_t>{});
    EXPECT_EQ(store->count(), 0u);
}

TEST_F(Rdb, WhatAWriterMayNotDoIsRefused)
{
    open_store();
    EXPECT_FALSE(store->put(key_of(2, 1), text("one")));
    EXPECT_EQ(store->error(), "no transaction was begun");
    EXPECT_FALSE(store->erase(key_of(2, 1)));
    EXPECT_FALSE(store->clear());
    EXPECT_FALSE(store->commit());
    ASSERT_TRUE(store->begin());
    EXPECT_FALSE(store->begin());
    EXPECT_EQ(store->error(), "a transaction was begun already");
    EXPECT_FALSE(store->put(key_of(2, 1), {}));
    EXPECT_EQ(store->error(), "a record of 0 bytes");
    EXPECT_TRUE(store->put(key_of(2, 1), text("one"))) << store->error();
    EXPECT_TRUE(store->commit());
}

TEST_F(Rdb, ARecordOfManyPagesComesBackWhole)
{
    open_store();
    const std::string value(100000, 'v');
    put(1, value);
    ASSERT_NE(reader.open(), 0);
    EXPECT_EQ(reader.read(key_of(2, 1)), value);
    close_all();
    ASSERT_NE(reader.open(), 0) << kov_host_error();
    EXPECT_EQ(reader.read(key_of(2, 1)), value);
}

TEST_F(Rdb, AWalkSeesEveryRecordOnceInOrder)
{
    open_store();
    publish(5000);
    ASSERT_NE(reader.open(), 0);
    const std::vector<std::uint32_t> walked = reader.walk();
    ASSERT_EQ(walked.size(), 5000u);
    for (std::uint32_t i = 0; i < 5000; ++i)
        ASSERT_EQ(walked[i], i);
}

TEST_F(Rdb, AWalkSeesWhatIsCommittedBetweenItsSteps)
{
    open_store();
    publish(100);
    ASSERT_NE(reader.open(), 0);
    const auto length = static_cast<std::uint32_t>(kov_host::rdb_key_size);
    const void *key = nullptr;
    const void *tlv = nullptr;
    std::uint32_t size = 0;
    Key at = key_of(2, 0);
    ASSERT_EQ(osal_rdb_get_first(&reader.desc, at.data(), length, &key, &tlv, &size), 1);
    ASSERT_EQ(number_in(key), 0u);
    ASSERT_TRUE(store->begin());
    ASSERT_TRUE(store->erase(key_of(2, 1)));
    ASSERT_TRUE(store->put(key_of(2, 2), text("changed")));
    ASSERT_TRUE(store->commit());
    ASSERT_EQ(osal_rdb_get_next(&reader.desc, key, length, &key, &tlv, &size), 1);
    EXPECT_EQ(number_in(key), 2u);
    EXPECT_EQ(std::string(static_cast<const char *>(tlv), size), "changed");
    // the record that the walk stands on may go too
    ASSERT_TRUE(store->begin());
    ASSERT_TRUE(store->erase(key_of(2, 2)));
    ASSERT_TRUE(store->commit());
    ASSERT_EQ(osal_rdb_get_next(&reader.desc, key, length, &key, &tlv, &size), 1);
    EXPECT_EQ(number_in(key), 3u);
    // and one may appear behind the last
    at = key_of(2, 99);
    EXPECT_EQ(osal_rdb_get_next(&reader.desc, at.data(), length, &key, &tlv, &size), 0);
    put(100, "new");
    EXPECT_EQ(osal_rdb_get_next(&reader.desc, at.data(), length, &key, &tlv, &size), 1);
    EXPECT_EQ(number_in(key), 100u);
}

TEST_F(Rdb, ReadsAndStepsOfAnOpenDatabaseAreCounted)
{
    open_store();
    publish(10);
    const kov_host_counters before = counters();
    reader.read(key_of(2, 1));
    EXPECT_EQ(counters().rdb_reads, before.rdb_reads) << "not open";
    ASSERT_NE(reader.open(), 0);
    reader.read(key_of(2, 1));
    reader.read(key_of(2, 77));
    EXPECT_EQ(reader.walk().size(), 10u);
    EXPECT_EQ(counters().rdb_opens, before.rdb_opens + 1);
    EXPECT_EQ(counters().rdb_reads, before.rdb_reads + 2);
    EXPECT_EQ(counters().rdb_steps, before.rdb_steps + 11) << "the ending step counts";
}

TEST_F(Rdb, OpeningAndClosingManyTimesLeavesNoDescriptorBehind)
{
    open_store();
    put(1, "one");
    const auto descriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    ASSERT_NE(reader.open(), 0);
    ASSERT_NE(reader.close(), 0);
    const auto before = descriptors();
    for (int i = 0; i < 10000; ++i) {
        ASSERT_NE(reader.open(), 0);
        ASSERT_EQ(reader.read(key_of(2, 1)), "one");
        ASSERT_NE(reader.close(), 0);
    }
    EXPECT_EQ(descriptors(), before);
    EXPECT_EQ(reader.read(key_of(2, 1)), "") << "closed is closed";
}

TEST_F(Rdb, AReaderThatCameFirstMakesWayForAWriterOfItsProcess)
{
    open_store();
    put(1, "one");
    store.reset();
    kov_host_detach();
    ASSERT_NE(reader.open(), 0);
    EXPECT_EQ(reader.read(key_of(2, 1)), "one");
    open_store();
    EXPECT_EQ(reader.read(key_of(2, 1)), "one");
    put(1, "uno");
    EXPECT_EQ(reader.read(key_of(2, 1)), "uno");
    store.reset();
    EXPECT_EQ(reader.read(key_of(2, 1)), "uno");
}

// ------------------------------------------------------------------------------------------ processes

TEST_F(Rdb, AnotherProcessSeesEachCommit)
{
    Child other([where = directory.path()](const Child::Side &test) {
        const Reader reads(where);
        test.hear();
        if (reads.open() == 0)
            return 1;
        for (int i = 0; i < 3; ++i) {
            test.tell(static_cast<std::int64_t>(reads.read(key_of(2, 1)).size()));
            test.hear();
        }
        test.tell(static_cast<std::int64_t>(reads.walk().size()));
        return 0;
    });
    open_store();
    put(1, "1");
    other.go();
    EXPECT_EQ(other.next(), 1);
    put(1, "12");
    other.go();
    EXPECT_EQ(other.next(), 2);
    put(1, "123");
    other.go();
    EXPECT_EQ(other.next(), 3);
    publish(1000);
    other.go();
    EXPECT_EQ(other.next(), 1000);
    EXPECT_EQ(other.wait(), 0);
}

TEST_F(Rdb, AWriterKilledInATransactionLeavesItsLastCommit)
{
    Child writer([file = path()](const Child::Side &test) {
        std::string why;
        const auto writes = RdbStore::open(file, why);
        if (writes == nullptr || !writes->begin() || !writes->put(key_of(2, 1), text("one")) ||
            !writes->commit() || !writes->begin() || !writes->put(key_of(2, 1), text("uno")))
            return 1;
        test.tell(0);
        test.hear();
        return 0;
    });
    ASSERT_EQ(writer.next(), 0);
    ASSERT_NE(reader.open(), 0) << kov_host_error();
    EXPECT_EQ(reader.read(key_of(2, 1)), "one");
    writer.kill();
    EXPECT_EQ(reader.read(key_of(2, 1)), "one");
    open_store();
    put(1, "two");
    EXPECT_EQ(reader.read(key_of(2, 1)), "two");
}

TEST_F(Rdb, ReadersThatWereKilledLeaveRoomForOthers)
{
    open_store();
    put(1, "one");
    close_all();
    for (int i = 0; i < 40; ++i) {
        Child killed([where = directory.path()](const Child::Side &test) {
            const Reader reads(where);
            test.tell(reads.open());
            test.hear();
            return 0;
        });
        ASSERT_EQ(killed.next(), 1);
        killed.kill();
    }
    ASSERT_NE(reader.open(), 0) << kov_host_error();
    EXPECT_EQ(reader.read(key_of(2, 1)), "one");
}

// Each commit empties the database and fills it again; nobody ever sees it empty or a record half written.
TEST_F(Rdb, ReadersSeeWholeCommitsWhileAnotherProcessWrites)
{
    Child writer([file = path()](const Child::Side &test) {
        std::string why;
        const auto writes = RdbStore::open(file, why);
        if (writes == nullptr)
            return 1;
        for (std::size_t i = 0; i < 3000; ++i) {
            const std::vector<std::uint8_t> value(1 + i % 300, static_cast<std::uint8_t>('a' + i % 26));
            if (!writes->begin() || !writes->clear())
                return 2;
            for (std::uint32_t number = 0; number < 20; ++number)
                if (!writes->put(key_of(2, number), value))
                    return 3;
            if (!writes->commit())
                return 4;
            if (i == 0)
                test.tell(0);
        }
        return 0;
    });
    ASSERT_EQ(writer.next(), 0);
    ASSERT_NE(reader.open(), 0) << kov_host_error();
    std::size_t reads = 0;
    while (!writer.ended() || reads == 0) {
        const std::string value = reader.read(key_of(2, static_cast<std::uint32_t>(reads++ % 20)));
        ASSERT_NE(value, "");
        ASSERT_EQ(value, std::string(value.size(), value.front()));
        ASSERT_EQ(reader.walk().size(), 20u);
    }
    EXPECT_EQ(writer.wait(), 0);
}

// ---------------------------------------------------------------------------------------- sick files

TEST_F(Rdb, AnAbsentDatabaseIsNotOpenedAndNotCreated)
{
    EXPECT_EQ(reader.open(), 0);
    EXPECT_EQ(std::string(kov_host_error()), "database " + path() + " does not exist");
    EXPECT_FALSE(exists(path()));
    std::string why;
    EXPECT_EQ(kov_host::rdb_inspect(path(), why), RdbState::absent);
    EXPECT_EQ(counters().rdb_open_failures, 1u);
}

TEST_F(Rdb, AUriOfAnotherHostIsRefused)
{
    for (const char *uri : {"", "kov_rdb_info", "other:/run/kov/kov_rdb_info"}) {
        EXPECT_EQ(osal_rdb_open(uri, 0), 0);
        EXPECT_NE(std::string(kov_host_error()).find("is no database URI of this host"), std::string::npos);
    }
    EXPECT_EQ(osal_rdb_open(nullptr, 0), 0);
    EXPECT_EQ(osal_rdb_close(nullptr), 0);
    EXPECT_EQ(osal_rdb_close("never opened"), 0);
}

TEST_F(Rdb, FilesThatAreNoDatabaseAreDamaged)
{
    const std::string files[] = {"", "x", std::string(100, '\0'), std::string(8192, '\0'),
                                 std::string(1 << 20, 'g')};
    for (const std::string &bytes : files) {
        write_contents(bytes);
        EXPECT_EQ(reader.open(), 0) << bytes.size();
        const std::string said = kov_host_error();
        EXPECT_TRUE(said.find("is empty") != std::string::npos || said.find("damaged") != std::string::npos)
            << said;
        std::string why;
        EXPECT_EQ(kov_host::rdb_inspect(path(), why), RdbState::damaged) << bytes.size();
        EXPECT_EQ(RdbStore::open(path(), why), nullptr) << bytes.size();
        EXPECT_EQ(contents(), bytes) << "left as it was";
    }
    std::string why;
    EXPECT_TRUE(kov_host::rdb_remove(path(), why)) << why;
    open_store();
    put(1, "one");
    ASSERT_NE(reader.open(), 0) << kov_host_error();
    EXPECT_EQ(reader.read(key_of(2, 1)), "one");
}

TEST_F(Rdb, AFileCutOffAnywhereIsRefusedOrWhole)
{
    open_store();
    publish(300);
    put(1000, std::string(20000, 'b')); // a record of several pages
    close_all();
    const std::string whole = contents();
    int refused = 0;
    for (std::size_t size = 0; size < whole.size(); size += 1024) {
        write_contents(whole.substr(0, size));
        if (reader.open() == 0) {
            ++refused;
            EXPECT_NE(std::string(kov_host_error()), "");
            continue;
        }
        EXPECT_EQ(reader.walk().size(), 301u) << "cut at " << size;
        EXPECT_EQ(reader.read(key_of(2, 1000)).size(), 20000u);
        reader.close();
        kov_host_detach();
    }
    EXPECT_GT(refused, 10);
}

// Every page's first bytes, its table of entries and the entries' heads, one flipped byte at a time.
TEST_F(Rdb, AFileWithAFlippedByteIsRefusedOrReadsWithoutHarm)
{
    open_store();
    publish(120);
    put(1000, std::string(9000, 'b'));
    ASSERT_TRUE(store->begin());
    for (std::uint32_t i = 0; i < 30; ++i)
        ASSERT_TRUE(store->erase(key_of(2, i)));
    ASSERT_TRUE(store->commit());
    close_all();
    const std::string whole = contents();
    constexpr std::size_t page = 4096;
    int refused = 0;
    int read = 0;
    for (std::size_t at = 0; at < whole.size(); at += (at % page < 160 ? 1 : 97)) {
        std::string flipped = whole;
        flipped[at] = static_cast<char>(flipped[at] ^ 0xff);
        write_contents(flipped);
        if (reader.open() == 0) {
            ++refused;
            continue;
        }
        ++read;
        EXPECT_LE(reader.walk().size(), 121u);
        reader.read(key_of(2, 50));
        reader.read(key_of(2, 1000));
        reader.close();
        kov_host_detach();
        std::filesystem::remove(path() + "-lock");
    }
    EXPECT_GT(refused, 50);
    EXPECT_GT(read, 100) << "bytes of records and free pages are nobody's business here";
}

// The child is forked with the database open: it opens its own and leaves its parent's alone.
TEST_F(Rdb, AReplacedDatabaseIsReadAfterItIsOpenedAgain)
{
    open_store();
    put(1, "old");
    close_all();
    ASSERT_NE(reader.open(), 0);
    EXPECT_EQ(reader.read(key_of(2, 1)), "old");
    Child replacer([file = path()](const Child::Side &) {
        std::string why;
        if (!kov_host::rdb_remove(file, why))
            return 1;
        const auto writes = RdbStore::open(file, why);
        return writes != nullptr && writes->begin() && writes->put(key_of(2, 1), text("new")) &&
                       writes->commit()
                   ? 0
                   : 2;
    });
    ASSERT_EQ(replacer.wait(), 0);
    EXPECT_EQ(reader.read(key_of(2, 1)), "old") << "what is open stays as it is";
    ASSERT_NE(reader.open(), 0) << kov_host_error();
    EXPECT_EQ(reader.read(key_of(2, 1)), "new");
}

// Root may read everything, so an ordinary user looks.
TEST_F(Rdb, ADatabaseWithoutPermissionSaysSo)
{
    open_store();
    put(1, "one");
    close_all();
    ASSERT_EQ(::chmod(path().c_str(), 0), 0);
    Child user([where = directory.path()](const Child::Side &test) {
        if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0))
            return 1;
        test.tell(Reader(where).open());
        return std::string(kov_host_error()).find("Permission denied") != std::string::npos ? 0 : 2;
    });
    EXPECT_EQ(user.next(), 0);
    EXPECT_EQ(user.wait(), 0);
}

} // namespace
