#include "rdb_env.h"
#include "rdb_check.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

namespace kov_host
{
namespace
{

constexpr std::size_t map_size = std::size_t{1} << 30; // address space; the file grows as it is filled
constexpr unsigned max_readers = 1024;
constexpr mdb_mode_t file_mode = 0640;

std::map<std::string, std::weak_ptr<RdbEnv>> &open_environments()
{
    static auto *instance = new std::map<std::string, std::weak_ptr<RdbEnv>>;
    return *instance;
}

RdbState explain(int code, const std::string &path, std::string &why)
{
    why = "database " + path + ": " + mdb_strerror(code);
    const bool damaged = code == MDB_INVALID || code == MDB_CORRUPTED || code == MDB_PAGE_NOTFOUND ||
                         code == MDB_VERSION_MISMATCH || code == MDB_PANIC;
    return damaged ? RdbState::damaged : RdbState::error;
}

RdbState damaged(const std::string &path, const std::string &what, std::string &why)
{
    why = "database " + path + " " + what;
    return RdbState::damaged;
}

// Opens the file for looking, and looks at its first pages. A writer may find none.
RdbState look(const std::string &path, bool writable, Fd &file, std::string &why)
{
    file = Fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) {
        const int code = errno;
        if (code == ENOENT && writable)
            return RdbState::usable;
        why = code == ENOENT ? "database " + path + " does not exist"
                             : "cannot open database " + path + ": " + std::strerror(code);
        return code == ENOENT ? RdbState::absent : RdbState::error;
    }
    std::string what;
    return rdb_check_header(file.get(), what) ? RdbState::usable : damaged(path, what, why);
}

} // namespace

std::shared_ptr<RdbEnv> RdbEnv::open(const std::string &path, bool writable, RdbState &state,
                                     std::string &why)
{
    std::weak_ptr<RdbEnv> &known = open_environments()[path];
    auto env = known.lock();
    if (env != nullptr && env->current() && (env->writable() || !writable)) {
        state = RdbState::usable;
        return env;
    }
    env.reset();
    let_readers_go(path);
    if (!known.expired()) {
        state = RdbState::error;
        why = "database " + path + " is open in this process and was replaced";
        return nullptr;
    }
    Fd file;
    state = look(path, writable, file, why);
    if (state != RdbState::usable)
        return nullptr;
    env.reset(new RdbEnv(path, writable));
    if (const int code = env->start(); code != 0) {
        state = explain(code, path, why);
        return nullptr;
    }
    state = env->check(why);
    if (state != RdbState::usable)
        return nullptr;
    known = env;
    return env;
}

RdbEnv::RdbEnv(std::string path, bool writable)
    : path_(std::move(path)), writable_(writable), opener_(::getpid())
{
}

int RdbEnv::start()
{
    int code = mdb_env_create(&env_);
    if (code == 0)
        code = mdb_env_set_maxreaders(env_, max_readers);
    if (code == 0 && writable_)
        code = mdb_env_set_mapsize(env_, map_size);
    const unsigned flags = MDB_NOSUBDIR | MDB_NOTLS | (writable_ ? MDB_NOSYNC : MDB_RDONLY);
    if (code == 0)
        code = mdb_env_open(env_, path_.c_str(), flags, file_mode);
    int dead = 0;
    if (code == 0)
        code = mdb_reader_check(env_, &dead);
    return code;
}

// Looks through the newest commit while a read transaction pins it.
RdbState RdbEnv::check(std::string &why)
{
    file_ = Fd(::open(path_.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat info {
    };
    if (!file_ || ::fstat(file_.get(), &info) != 0)
        return explain(errno, path_, why);
    device_ = info.st_dev;
    inode_ = info.st_ino;
    checked_size_ = info.st_size;
    MDB_txn *txn = nullptr;
    int code = mdb_txn_begin(env_, nullptr, MDB_RDONLY, &txn);
    if (code != 0)
        return explain(code, path_, why);
    const RdbState state = check_pinned(txn, why);
    code = state == RdbState::usable ? mdb_dbi_open(txn, nullptr, 0, &records_) : 0;
    mdb_txn_abort(txn);
    return code == 0 ? state : explain(code, path_, why);
}

RdbState RdbEnv::check_pinned(MDB_txn *txn, std::string &why)
{
    std::string what;
    for (int attempt = 0; attempt < 100; ++attempt) {
        const RdbCheck found = rdb_check_trees(file_.get(), mdb_txn_id(txn), writable_, what);
        if (found == RdbCheck::sound)
            return RdbState::usable;
        if (found == RdbCheck::damaged)
            return damaged(path_, what, why);
        mdb_txn_reset(txn); // the server committed twice between the pin and the look
        if (const int code = mdb_txn_renew(txn); code != 0)
            return explain(code, path_, why);
    }
    return damaged(path_, "never shows the commit that it announces", why);
}

RdbEnv::~RdbEnv()
{
    if (env_ != nullptr && !inherited())
        mdb_env_close(env_);
}

bool RdbEnv::inherited() const { return ::getpid() != opener_; }

bool RdbEnv::current() const
{
    struct stat info {
    };
    return !inherited() && ::stat(path_.c_str(), &info) == 0 && info.st_dev == device_ &&
           info.st_ino == inode_ && info.st_size >= checked_size_;
}

RdbState rdb_inspect(const std::string &path, std::string &why)
{
    RdbState state = RdbState::error;
    return RdbEnv::open(path, false, state, why) == nullptr ? state : RdbState::usable;
}

} // namespace kov_host
