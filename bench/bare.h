// What the library stands on, without the library: a prefix tree of the platform, and the database file
// through LMDB itself.
#pragma once

#include <kov/kov_records.h>
#include <kov/platform/pt.h>

#include <lmdb.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kov_bench
{

// A failure that leaves nothing to measure: says why and ends the process.
[[noreturn]] void give_up(const std::string &why);

// A tree by number, keyed as the library keys its own, with an entry of 16 bytes at each node, as that of an
// SVI.
class BareTree
{
public:
    explicit BareTree(const std::vector<std::uint32_t> &numbers);
    ~BareTree();
    BareTree(const BareTree &) = delete;
    BareTree &operator=(const BareTree &) = delete;

    // The first word of the entry: one that is only found has not been read yet.
    std::uint32_t find(std::uint32_t number)
    {
        const std::uint32_t key = __builtin_bswap32(number);
        const pt_node *node = pt_lookup(tree_, &key, 32);
        return node == nullptr ? 0 : *static_cast<const std::uint32_t *>(node->data);
    }

    // The first words of the first `steps` entries, added up.
    std::uint32_t walk(std::uint32_t steps);

private:
    using Entry = std::array<std::uint32_t, 4>;
    pt_tree *tree_ = nullptr;
    std::vector<std::uint32_t> numbers_;
    std::vector<std::unique_ptr<Entry>> entries_;
};

// A second view of the database file that the host has open, without locks: nobody writes meanwhile.
class BareDatabase
{
public:
    using StoredKey = std::array<std::uint8_t, 61>;

    explicit BareDatabase(const std::string &path);
    ~BareDatabase();
    BareDatabase(const BareDatabase &) = delete;
    BareDatabase &operator=(const BareDatabase &) = delete;

    static StoredKey stored(const kov_rdb_key &key);

    // The size of the record under a key, 0 when there is none. In the latest commit, as the host reads it: a
    // transaction is renewed before and reset after.
    std::size_t read(const StoredKey &key);

    // Steps over the records of a type, from the key on, looking at the first byte of each; the number of
    // steps, at most `most`.
    std::uint32_t walk(const StoredKey &from, std::uint32_t most);

private:
    MDB_env *env_ = nullptr;
    MDB_txn *txn_ = nullptr;
    MDB_dbi records_ = 0;
    MDB_cursor *cursor_ = nullptr;
};

} // namespace kov_bench
