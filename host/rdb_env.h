// One opened database file.
//
// LMDB allows a process to have a file open once only. So the environments of a process are shared by path:
// a reader takes whichever is open; a writer needs one that can write, and readers that hold a read-only one
// let it go first and come back to the writer's.
#pragma once

#include "rdb_store.h"
#include "support.h"

#include <lmdb.h>
#include <memory>
#include <string>
#include <sys/types.h>

namespace kov_host
{

class RdbEnv
{
public:
    // Null with the reason; `state` says what kind of reason. Checks the whole file when it opens it.
    static std::shared_ptr<RdbEnv> open(const std::string &path, bool writable, RdbState &state,
                                        std::string &why);
    ~RdbEnv();
    RdbEnv(const RdbEnv &) = delete;
    RdbEnv &operator=(const RdbEnv &) = delete;

    MDB_env *env() const { return env_; }
    MDB_dbi records() const { return records_; }
    bool writable() const { return writable_; }
    // The path still names this file, it has not shrunk, and it was opened by this very process.
    bool current() const;
    // LMDB's objects do not survive a fork: the child must not even close them, since their places in the
    // lock file are its parent's.
    bool inherited() const;

private:
    RdbEnv(std::string path, bool writable);
    int start();
    RdbState check(std::string &why);
    RdbState check_pinned(MDB_txn *txn, std::string &why);

    std::string path_;
    bool writable_;
    MDB_env *env_ = nullptr;
    MDB_dbi records_ = 0;
    pid_t opener_;
    Fd file_; // for looking only
    dev_t device_ = 0;
    ino_t inode_ = 0;
    off_t checked_size_ = 0;
};

// Makes every reader of this process let go of `path` (in rdb_reader.cpp).
void let_readers_go(const std::string &path);

} // namespace kov_host
