#include "bare.h"

#include <rdb_key.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kov_bench
{
namespace
{

void check(int code, const char *what)
{
    if (code != 0)
        give_up(std::string(what) + ": " + mdb_strerror(code));
}

MDB_val value_of(const BareDatabase::StoredKey &key)
{
    return {key.size(), const_cast<std::uint8_t *>(key.data())}; // LMDB's type has no const; it only reads
}

// A record that is only found has not been read yet.
void look_at(const MDB_val &value)
{
    benchmark::DoNotOptimize(*static_cast<const volatile std::uint8_t *>(value.mv_data));
}

bool has_type(const MDB_val &stored_key, const BareDatabase::StoredKey &of)
{
    return std::memcmp(stored_key.mv_data, of.data(), sizeof(std::uint32_t)) == 0;
}

} // namespace

void give_up(const std::string &why)
{
    std::fprintf(stderr, "kov_bench: %s\n", why.c_str());
    std::exit(1);
}

// Filled in rising order, as a walk over the database fills the library's.
BareTree::BareTree(const std::vector<std::uint32_t> &numbers) : numbers_(numbers)
{
    std::sort(numbers_.begin(), numbers_.end());
    for (const std::uint32_t number : numbers_) {
        entries_.push_back(std::make_unique<Entry>(Entry{number}));
        const std::uint32_t key = __builtin_bswap32(number);
        if (pt_add(&tree_, &key, sizeof key, 32, entries_.back().get()) == 0)
            give_up("cannot add a key to the bare tree");
    }
}

BareTree::~BareTree()
{
    for (const std::uint32_t number : numbers_) {
        const std::uint32_t key = __builtin_bswap32(number);
        pt_delete(&tree_, &key, sizeof key, 32);
    }
}

std::uint32_t BareTree::walk(std::uint32_t steps)
{
    std::uint32_t key = 0;
    std::uint32_t bits = 32;
    std::uint32_t sum = 0;
    const pt_node *node = pt_get_first_node(tree_, &key, &bits);
    for (; node != nullptr && steps > 0; --steps) {
        sum += *static_cast<const std::uint32_t *>(node->data);
        node = steps > 1 ? pt_get_next_node(tree_, &key, &bits) : nullptr;
    }
    return sum;
}

BareDatabase::BareDatabase(const std::string &path)
{
    check(mdb_env_create(&env_), "mdb_env_create");
    check(mdb_env_open(env_, path.c_str(), MDB_NOSUBDIR | MDB_NOTLS | MDB_RDONLY | MDB_NOLOCK, 0),
          path.c_str());
    check(mdb_txn_begin(env_, nullptr, MDB_RDONLY, &txn_), "mdb_txn_begin");
    check(mdb_dbi_open(txn_, nullptr, 0, &records_), "mdb_dbi_open");
    check(mdb_cursor_open(txn_, records_, &cursor_), "mdb_cursor_open");
    mdb_txn_reset(txn_);
}

BareDatabase::~BareDatabase()
{
    mdb_cursor_close(cursor_);
    mdb_txn_abort(txn_);
    mdb_env_close(env_);
}

BareDatabase::StoredKey BareDatabase::stored(const kov_rdb_key &key)
{
    StoredKey stored;
    kov_host::rdb_store_key(reinterpret_cast<const std::uint8_t *>(&key), stored.data());
    return stored;
}

std::size_t BareDatabase::read(const StoredKey &key)
{
    MDB_val at = value_of(key);
    MDB_val value = {};
    check(mdb_txn_renew(txn_), "mdb_txn_renew");
    if (mdb_get(txn_, records_, &at, &value) == 0)
        look_at(value);
    mdb_txn_reset(txn_);
    return value.mv_size;
}

std::uint32_t BareDatabase::walk(const StoredKey &from, std::uint32_t most)
{
    MDB_val key = value_of(from);
    MDB_val value = {};
    check(mdb_txn_renew(txn_), "mdb_txn_renew");
    check(mdb_cursor_renew(txn_, cursor_), "mdb_cursor_renew");
    std::uint32_t steps = 0;
    int code = mdb_cursor_get(cursor_, &key, &value, MDB_SET_RANGE);
    while (code == 0 && has_type(key, from)) {
        look_at(value);
        if (++steps == most)
            break;
        code = mdb_cursor_get(cursor_, &key, &value, MDB_NEXT);
    }
    mdb_txn_reset(txn_);
    return steps;
}

} // namespace kov_bench
