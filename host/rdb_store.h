// The writing side of the shared database: how the server publishes records that osal_rdb_* reads.
//
// One writer at a time, any number of readers in other processes; a reader sees a commit as a whole or not
// at all, and its next read sees the latest one. The file is DIR/kov_rdb_info. Nothing is synced to the
// disk: the server can publish everything again, so only a crash of the machine can hurt the file, and
// then open() says that it is damaged.
//
// Every call returns true for success; else error() says why. Nothing throws. The store belongs to one
// thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace kov_host
{

constexpr std::size_t rdb_key_size = 61;
constexpr std::size_t rdb_max_record = std::size_t{16} << 20;

using RdbKey = std::span<const std::uint8_t, rdb_key_size>;
using RdbBytes = std::span<const std::uint8_t>;

// What stands in the way of opening a database file.
enum class RdbState {
    usable,
    absent,
    damaged, // not a database, truncated, or its pages contradict each other: rdb_remove it and publish again
    error    // not permitted, no memory, ...
};

// Looks at a file without changing it. `why` gets a sentence for every answer but `usable`.
RdbState rdb_inspect(const std::string &path, std::string &why);

// Removes a file and what belongs to it, also when it is damaged. Processes that have it open keep what they
// have until they open it again.
bool rdb_remove(const std::string &path, std::string &why);

class RdbStore
{
public:
    // Opens the file for reading and writing, creates it when absent (mode 0640, its directory must exist).
    // Null when it is damaged or cannot be had; `why` gets the reason. A damaged file is left as it is.
    static std::unique_ptr<RdbStore> open(const std::string &path, std::string &why);

    ~RdbStore();
    RdbStore(const RdbStore &) = delete;
    RdbStore &operator=(const RdbStore &) = delete;

    // A transaction: begin, any number of put, erase and clear, then commit. Readers see nothing before the
    // commit. A failed put, erase or clear leaves the transaction usable, except when error() speaks of a
    // full database: then only rollback() is left. begin() within a transaction fails.
    bool begin();
    bool commit();
    void rollback();

    // Inserts or replaces. `tlv` is at most rdb_max_record bytes, and not empty.
    bool put(RdbKey key, RdbBytes tlv);
    // True also when there was no such record; `existed`, when given, tells.
    bool erase(RdbKey key, bool *existed = nullptr);
    // Removes every record.
    bool clear();

    // Reads within the transaction, or from the latest commit when there is none. True and the bytes, or
    // false (with an empty error() for an absent record). The bytes are copied.
    bool get(RdbKey key, std::string &tlv);
    // The number of records.
    std::uint64_t count();

    const std::string &error() const;

private:
    struct Impl;
    explicit RdbStore(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> impl_;
};

} // namespace kov_host
