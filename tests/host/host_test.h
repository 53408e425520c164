// The fixture of the host's tests: a runtime directory for each test, and processes beside it.
#pragma once

#include <kov_host.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace host_test
{

inline std::string make_directory()
{
    const char *base = std::getenv("TMPDIR");
    std::string path = std::string(base == nullptr ? "/tmp" : base) + "/kov-host-XXXXXX";
    return ::mkdtemp(path.data()) == nullptr ? std::string() : path;
}

// A directory that goes with its owner.
class Directory
{
public:
    Directory() : path_(make_directory()) {}
    ~Directory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    Directory(const Directory &) = delete;
    Directory &operator=(const Directory &) = delete;
    const std::string &path() const { return path_; }
    std::string operator/(const std::string &name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// A process that runs `body` and then ends with the status that it returns. It and its test take turns over
// two pipes: tell/hear on the child's side, next/go on the test's. Fork it before attaching.
class Child
{
public:
    class Side
    {
    public:
        Side(int in, int out) : in_(in), out_(out) {}
        void tell(std::int64_t value) const
        {
            if (::write(out_, &value, sizeof value) != static_cast<ssize_t>(sizeof value))
                ::_exit(99);
        }
        // Waits for go(). When the test has ended, so does the child.
        void hear() const
        {
            char byte = 0;
            if (::read(in_, &byte, 1) != 1)
                ::_exit(98);
        }

    private:
        int in_;
        int out_;
    };

    explicit Child(const std::function<int(const Side &)> &body)
    {
        int down[2];
        int up[2];
        if (::pipe(down) != 0 || ::pipe(up) != 0)
            std::abort();
        pid_ = ::fork();
        if (pid_ == 0) {
            ::close(down[1]);
            ::close(up[0]);
            ::_exit(body(Side(down[0], up[1])));
        }
        ::close(down[0]);
        ::close(up[1]);
        to_ = down[1];
        from_ = up[0];
    }
    ~Child()
    {
        ::close(to_);
        ::close(from_);
        kill();
    }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    pid_t pid() const { return pid_; }
    int from() const { return from_; } // readable when next() would not wait
    void go() const { EXPECT_EQ(::write(to_, "g", 1), 1); }
    // What the child tells next; -1000 when it has ended instead.
    std::int64_t next() const
    {
        std::int64_t value = 0;
        return ::read(from_, &value, sizeof value) == static_cast<ssize_t>(sizeof value) ? value : -1000;
    }
    bool ended() const
    {
        siginfo_t info{};
        return ::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               info.si_pid == pid_;
    }
    // Its exit status.
    int wait()
    {
        int status = 0;
        if (pid_ <= 0 || ::waitpid(std::exchange(pid_, 0), &status, 0) <= 0)
            return -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    void kill()
    {
        if (pid_ <= 0)
            return;
        ::kill(pid_, SIGKILL);
        wait();
    }

private:
    pid_t pid_ = 0;
    int to_ = -1;
    int from_ = -1;
};

class Host : public testing::Test
{
protected:
    ~Host() override { kov_host_detach(); }

    const char *dir() const { return directory.path().c_str(); }

    void attach(const char *name = "test")
    {
        ASSERT_EQ(kov_host_attach(dir(), name), 0) << kov_host_error();
        handle = kov_host_ipc_handle();
    }

    // Runs the loop until `done`, which some callback must bring about.
    template <typename Done>
    void run_until(Done &&done)
    {
        while (!done())
            ASSERT_GE(kov_host_run_once(-1), 0) << kov_host_error();
    }

    // Runs what is ready now and what becomes ready by it.
    void run_ready()
    {
        while (kov_host_run_once(0) > 0) {
        }
    }

    static kov_host_counters counters()
    {
        kov_host_counters now{};
        kov_host_counters_get(&now);
        return now;
    }

    static bool exists(const std::string &path) { return ::access(path.c_str(), F_OK) == 0; }

    static mode_t mode_of(const std::string &path)
    {
        struct stat info {
        };
        return ::stat(path.c_str(), &info) == 0 ? info.st_mode & 07777u : 0;
    }

    Directory directory;
    std::int32_t handle = 0;
};

} // namespace host_test
