// The runtime directory: which one, whether it may be used, what stands where in it, and how a process claims
// a name in it.
//
// A claim is a lock file that its owner holds locked (flock) and that contains its pid. The kernel lets go of
// the lock when the process dies, however it dies; so a claim that can be locked is free, and a socket
// beside it is a leftover that the new owner removes.
#pragma once

#include "support.h"

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>

namespace kov_host
{

class RunDir
{
public:
    // The absolute path that `dir` (null: the environment) means. Nothing, with an error, when there is none.
    static std::optional<std::string> resolve(const char *dir);

    // Checks the directory and makes its parts; `create` makes the directory itself. Nothing, with an error,
    // when it cannot be used.
    static std::optional<RunDir> open(const std::string &path, bool create);

    const std::string &path() const { return path_; }
    std::string ipc_socket(std::uint32_t sap) const;
    std::string ipc_claim(std::uint32_t sap) const;
    std::string cli_claim(const std::string &name) const;

    static std::string cli_socket(const std::string &path, const std::string &name);
    static bool valid_name(const std::string &name);

private:
    explicit RunDir(std::string path) : path_(std::move(path)) {}
    std::string path_;
};

// Length without the NUL that a socket's path may have.
constexpr std::size_t max_socket_path = 107;

class Claim
{
public:
    enum class Outcome { taken_by_us, held_by_other, failed };

    // On held_by_other `holder` is the pid in the file (0: not written yet); on failed there is an error.
    static Outcome take(const std::string &path, Claim &claim, pid_t &holder);

    Claim() = default;
    Claim(Claim &&) noexcept = default;
    Claim &operator=(Claim &&other) noexcept;
    Claim(const Claim &) = delete;
    Claim &operator=(const Claim &) = delete;
    ~Claim() { release(); }
    void release();

private:
    Claim(std::string path, Fd fd) : path_(std::move(path)), fd_(std::move(fd)) {}
    std::string path_;
    Fd fd_;
};

// A listening or connecting SOCK_SEQPACKET socket, non-blocking. listen_at removes what stands at the path
// first (its claim must be held) and makes the socket 0660. Both return an empty Fd and leave errno.
Fd listen_at(const std::string &path);
Fd connect_to(const std::string &path);

} // namespace kov_host
