#include "rdb_reader.h"

#include <algorithm>
#include <cstring>

namespace kov_host
{
namespace
{

constexpr std::size_t first_batch = 4; // a walk that goes on doubles it
constexpr std::size_t largest_batch = 256;
constexpr std::size_t batch_bytes = std::size_t{64} << 10;

MDB_val value_of(const RdbKeyBytes &stored)
{
    return {stored.size(), const_cast<std::uint8_t *>(stored.data())}; // LMDB reads only
}

} // namespace

// The latest commit, for the length of one call.
class RdbReader::Pinned
{
public:
    explicit Pinned(RdbReader &reader) : txn_(reader.txn_)
    {
        int code = mdb_txn_renew(txn_);
        if (code == MDB_MAP_RESIZED && mdb_env_set_mapsize(reader.env_->env(), 0) == 0)
            code = mdb_txn_renew(txn_);
        good_ = code == 0;
    }
    ~Pinned()
    {
        if (good_)
            mdb_txn_reset(txn_);
    }
    Pinned(const Pinned &) = delete;
    Pinned &operator=(const Pinned &) = delete;
    explicit operator bool() const { return good_; }

private:
    MDB_txn *txn_;
    bool good_ = false;
};

bool RdbReader::open(std::string &why)
{
    if (env_ != nullptr && env_->current())
        return true;
    let_go();
    RdbState state = RdbState::error;
    env_ = RdbEnv::open(path_, false, state, why);
    if (env_ == nullptr)
        return false;
    if (start())
        return true;
    why = "database " + path_ + ": no place for one more reader";
    let_go();
    return false;
}

bool RdbReader::start()
{
    int code = mdb_txn_begin(env_->env(), nullptr, MDB_RDONLY, &txn_);
    int dead = 0;
    if (code == MDB_READERS_FULL && mdb_reader_check(env_->env(), &dead) == 0)
        code = mdb_txn_begin(env_->env(), nullptr, MDB_RDONLY, &txn_);
    if (code != 0)
        return false;
    code = mdb_cursor_open(txn_, env_->records(), &cursor_);
    mdb_txn_reset(txn_);
    return code == 0;
}

void RdbReader::let_go()
{
    const bool ours = env_ != nullptr && !env_->inherited();
    if (ours && cursor_ != nullptr)
        mdb_cursor_close(cursor_);
    if (ours && txn_ != nullptr)
        mdb_txn_abort(txn_);
    cursor_ = nullptr;
    txn_ = nullptr;
    env_.reset();
    batch_.entries.clear();
}

// The environment went to a writer of this process, perhaps; then the reader comes back to it.
bool RdbReader::ready()
{
    std::string why;
    return env_ != nullptr || open(why);
}

bool RdbReader::read(const std::uint8_t *key, RdbRecord &record)
{
    if (!ready())
        return false;
    std::copy_n(key, rdb_key_bytes, read_key_.begin()); // `key` may stand in what is about to be overwritten
    RdbKeyBytes stored;
    rdb_store_key(key, stored.data());
    const Pinned pinned(*this);
    MDB_val wanted = value_of(stored);
    MDB_val found{};
    if (!pinned || mdb_get(txn_, env_->records(), &wanted, &found) != 0)
        return false;
    const auto *bytes = static_cast<const std::uint8_t *>(found.mv_data);
    value_.assign(bytes, bytes + found.mv_size);
    record = {read_key_.data(), value_.data(), static_cast<std::uint32_t>(value_.size())};
    return true;
}

bool RdbReader::first_from(const std::uint8_t *key, RdbRecord &record)
{
    if (!ready())
        return false;
    batch_limit_ = first_batch;
    return search(key, false, record);
}

bool RdbReader::next_after(const std::uint8_t *key, RdbRecord &record)
{
    if (!ready())
        return false;
    const bool follows = batch_.at < batch_.entries.size() &&
                         std::memcmp(batch_.entries[batch_.at].key.data(), key, rdb_key_bytes) == 0;
    if (follows) {
        const Pinned pinned(*this);
        const bool unchanged = pinned && mdb_txn_id(txn_) == batch_.txn;
        if (unchanged && batch_.at + 1 < batch_.entries.size())
            return hand_out(batch_.at + 1, record);
        if (unchanged && batch_.whole)
            return false;
    }
    batch_limit_ = follows ? std::min(largest_batch, 2 * batch_limit_) : first_batch;
    return search(key, true, record);
}

bool RdbReader::search(const std::uint8_t *key, bool strictly_after, RdbRecord &record)
{
    const Pinned pinned(*this);
    return pinned && fill(key, strictly_after) && hand_out(0, record);
}

bool RdbReader::fill(const std::uint8_t *key, bool strictly_after)
{
    RdbKeyBytes stored;
    rdb_store_key(key, stored.data()); // `key` may stand in the batch
    batch_.entries.clear();
    batch_.bytes.clear();
    batch_.txn = mdb_txn_id(txn_);
    batch_.whole = false;
    MDB_val at = value_of(stored);
    MDB_val tlv{};
    int code = mdb_cursor_renew(txn_, cursor_);
    if (code == 0)
        code = mdb_cursor_get(cursor_, &at, &tlv, MDB_SET_RANGE);
    if (code == 0 && strictly_after && std::memcmp(at.mv_data, stored.data(), stored.size()) == 0)
        code = mdb_cursor_get(cursor_, &at, &tlv, MDB_NEXT);
    while (code == 0) {
        add_entry(at, tlv);
        if (batch_.entries.size() >= batch_limit_ || batch_.bytes.size() >= batch_bytes)
            return true;
        code = mdb_cursor_get(cursor_, &at, &tlv, MDB_NEXT);
    }
    batch_.whole = code == MDB_NOTFOUND;
    return !batch_.entries.empty();
}

void RdbReader::add_entry(const MDB_val &key, const MDB_val &tlv)
{
    Entry entry{{}, batch_.bytes.size(), static_cast<std::uint32_t>(tlv.mv_size)};
    rdb_restore_key(static_cast<const std::uint8_t *>(key.mv_data), entry.key.data());
    const auto *bytes = static_cast<const std::uint8_t *>(tlv.mv_data);
    batch_.bytes.insert(batch_.bytes.end(), bytes, bytes + tlv.mv_size);
    batch_.entries.push_back(entry);
}

bool RdbReader::hand_out(std::size_t at, RdbRecord &record)
{
    const Entry &entry = batch_.entries[at];
    batch_.at = at;
    record = {entry.key.data(), batch_.bytes.data() + entry.offset, entry.size};
    return true;
}

} // namespace kov_host
