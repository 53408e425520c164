// Reading the database: exact look-ups and walks, always in the latest commit.
//
// A read transaction is renewed for each call and reset before it returns, so none is ever held and the
// writer can reuse what it freed. What a call hands out is therefore a copy, which holds until the next call.
//
// A walk reads ahead: one search fetches a batch of records into the copy. A step that continues where the
// last one stopped is served from there, but only when the renewed transaction shows that nothing was
// committed since. Every other step is a search for the key it is given.
#pragma once

#include "rdb_env.h"
#include "rdb_key.h"

#include <cstdint>
#include <lmdb.h>
#include <memory>
#include <string>
#include <vector>

namespace kov_host
{

struct RdbRecord {
    const std::uint8_t *key; // 61 bytes
    const void *tlv;
    std::uint32_t tlv_size;
};

class RdbReader
{
public:
    explicit RdbReader(std::string path) : path_(std::move(path)) {}
    ~RdbReader() { let_go(); }
    RdbReader(const RdbReader &) = delete;
    RdbReader &operator=(const RdbReader &) = delete;

    // Makes sure that the file is there and sound; cheap when it is the same as before.
    bool open(std::string &why);
    void let_go();

    bool read(const std::uint8_t *key, RdbRecord &record);
    bool first_from(const std::uint8_t *key, RdbRecord &record);
    bool next_after(const std::uint8_t *key, RdbRecord &record);

    const std::string &path() const { return path_; }

private:
    struct Entry {
        RdbKeyBytes key;
        std::size_t offset; // of the TLV bytes in Batch::bytes
        std::uint32_t size;
    };
    struct Batch {
        std::vector<Entry> entries;
        std::vector<std::uint8_t> bytes;
        std::size_t at = 0; // the entry handed out last
        std::uint64_t txn = 0;
        bool whole = false; // nothing follows the last entry
    };
    class Pinned;

    bool ready();
    bool start();
    bool search(const std::uint8_t *key, bool strictly_after, RdbRecord &record);
    bool fill(const std::uint8_t *key, bool strictly_after);
    void add_entry(const MDB_val &key, const MDB_val &tlv);
    bool hand_out(std::size_t at, RdbRecord &record);

    std::string path_;
    std::shared_ptr<RdbEnv> env_;
    MDB_txn *txn_ = nullptr;
    MDB_cursor *cursor_ = nullptr;
    std::vector<std::uint8_t> value_; // of the last read
    RdbKeyBytes read_key_{};
    Batch batch_;
    std::size_t batch_limit_ = 0;
};

// Closes what osal_rdb_open opened, for good.
void close_databases();

} // namespace kov_host
