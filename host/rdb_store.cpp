#include "rdb_store.h"
#include "rdb_env.h"
#include "rdb_key.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>
#include <utility>

namespace kov_host
{

static_assert(rdb_key_size == rdb_key_bytes);

struct RdbStore::Impl {
    std::shared_ptr<RdbEnv> env;
    MDB_txn *txn = nullptr;
    std::string error;

    bool report(int code, const char *what)
    {
        error = code == 0 ? "" : std::string(what) + ": " + mdb_strerror(code);
        if (code == MDB_MAP_FULL)
            error = std::string(what) + ": the database is full";
        return code == 0;
    }
    bool in_transaction()
    {
        error = txn == nullptr ? "no transaction was begun" : "";
        return txn != nullptr;
    }
};

namespace
{

MDB_val value_of(const RdbKeyBytes &stored)
{
    return {stored.size(), const_cast<std::uint8_t *>(stored.data())}; // LMDB reads only
}

RdbKeyBytes stored_form(RdbKey key)
{
    RdbKeyBytes stored;
    rdb_store_key(key.data(), stored.data());
    return stored;
}

// A read in the open transaction, else in one of its own.
class Reading
{
public:
    Reading(MDB_env *env, MDB_txn *open) : txn_(open), own_(open == nullptr)
    {
        if (own_)
            code_ = mdb_txn_begin(env, nullptr, MDB_RDONLY, &txn_);
    }
    ~Reading()
    {
        if (own_ && code_ == 0)
            mdb_txn_abort(txn_);
    }
    Reading(const Reading &) = delete;
    Reading &operator=(const Reading &) = delete;
    int code() const { return code_; }
    MDB_txn *txn() const { return txn_; }

private:
    MDB_txn *txn_;
    bool own_;
    int code_ = 0;
};

} // namespace

bool rdb_remove(const std::string &path, std::string &why)
{
    bool removed = true;
    for (const std::string &file : {path, path + "-lock"}) {
        if (::unlink(file.c_str()) == 0 || errno == ENOENT)
            continue;
        why = "cannot remove " + file + ": " + std::strerror(errno);
        removed = false;
    }
    return removed;
}

RdbStore::RdbStore(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

RdbStore::~RdbStore() { rollback(); }

std::unique_ptr<RdbStore> RdbStore::open(const std::string &path, std::string &why)
{
    auto impl = std::make_unique<Impl>();
    RdbState state = RdbState::error;
    impl->env = RdbEnv::open(path, true, state, why);
    if (impl->env == nullptr)
        return nullptr;
    return std::unique_ptr<RdbStore>(new RdbStore(std::move(impl)));
}

bool RdbStore::begin()
{
    if (impl_->txn != nullptr) {
        impl_->error = "a transaction was begun already";
        return false;
    }
    return impl_->report(mdb_txn_begin(impl_->env->env(), nullptr, 0, &impl_->txn), "begin");
}

bool RdbStore::commit()
{
    if (!impl_->in_transaction())
        return false;
    MDB_txn *txn = std::exchange(impl_->txn, nullptr); // gone, whatever comes of it
    return impl_->report(mdb_txn_commit(txn), "commit");
}

void RdbStore::rollback()
{
    MDB_txn *txn = std::exchange(impl_->txn, nullptr);
    if (txn != nullptr && !impl_->env->inherited())
        mdb_txn_abort(txn);
}

bool RdbStore::put(RdbKey key, RdbBytes tlv)
{
    if (!impl_->in_transaction())
        return false;
    if (tlv.empty() || tlv.size() > rdb_max_record) {
        impl_->error = "a record of " + std::to_string(tlv.size()) + " bytes";
        return false;
    }
    const RdbKeyBytes stored = stored_form(key);
    MDB_val at = value_of(stored);
    MDB_val value{tlv.size(), const_cast<std::uint8_t *>(tlv.data())}; // LMDB reads only
    return impl_->report(mdb_put(impl_->txn, impl_->env->records(), &at, &value, 0), "put");
}

bool RdbStore::erase(RdbKey key, bool *existed)
{
    if (!impl_->in_transaction())
        return false;
    const RdbKeyBytes stored = stored_form(key);
    MDB_val at = value_of(stored);
    const int code = mdb_del(impl_->txn, impl_->env->records(), &at, nullptr);
    if (existed != nullptr)
        *existed = code == 0;
    return impl_->report(code == MDB_NOTFOUND ? 0 : code, "erase");
}

bool RdbStore::clear()
{
    return impl_->in_transaction() && impl_->report(mdb_drop(impl_->txn, impl_->env->records(), 0), "clear");
}

bool RdbStore::get(RdbKey key, std::string &tlv)
{
    const Reading reading(impl_->env->env(), impl_->txn);
    if (!impl_->report(reading.code(), "read"))
        return false;
    const RdbKeyBytes stored = stored_form(key);
    MDB_val at = value_of(stored);
    MDB_val found{};
    const int code = mdb_get(reading.txn(), impl_->env->records(), &at, &found);
    if (code == 0)
        tlv.assign(static_cast<const char *>(found.mv_data), found.mv_size);
    impl_->report(code == MDB_NOTFOUND ? 0 : code, "read");
    return code == 0;
}

std::uint64_t RdbStore::count()
{
    const Reading reading(impl_->env->env(), impl_->txn);
    MDB_stat stat{};
    if (!impl_->report(reading.code(), "count") ||
        !impl_->report(mdb_stat(reading.txn(), impl_->env->records(), &stat), "count"))
        return 0;
    return stat.ms_entries;
}

const std::string &RdbStore::error() const { return impl_->error; }

} // namespace kov_host
