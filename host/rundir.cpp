#include "rundir.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace kov_host
{
namespace
{

// Where a socket's name is longest, apart from the names of processes.
constexpr std::uint32_t longest_sap = 0xffffffffu;

bool given(const char *text) { return text != nullptr && text[0] != '\0'; }

bool make_directory(const std::string &path) { return ::mkdir(path.c_str(), 0750) == 0 || errno == EEXIST; }

bool check_owner_and_mode(const std::string &path, const struct stat &info)
{
    if (!S_ISDIR(info.st_mode)) {
        set_error("%s is not a directory", path.c_str());
        return false;
    }
    if (info.st_uid != ::geteuid()) {
        set_error("runtime directory %s belongs to another user (uid %u, not %u)", path.c_str(), info.st_uid,
                  ::geteuid());
        return false;
    }
    if ((info.st_mode & S_IWOTH) != 0) {
        set_error("runtime directory %s may be written by every user (mode %04o)", path.c_str(),
                  info.st_mode & 07777u);
        return false;
    }
    return true;
}

bool check_writable(const std::string &path)
{
    if (::faccessat(AT_FDCWD, path.c_str(), W_OK | X_OK, AT_EACCESS) == 0)
        return true;
    set_error("runtime directory %s is not writable: %s", path.c_str(), std::strerror(errno));
    return false;
}

bool make_parts(const std::string &path)
{
    for (const char *part : {"/ipc", "/cli"}) {
        if (make_directory(path + part))
            continue;
        set_error("cannot create %s%s: %s", path.c_str(), part, std::strerror(errno));
        return false;
    }
    return true;
}

bool check_socket_path(const std::string &socket)
{
    if (socket.size() <= max_socket_path)
        return true;
    set_error("socket path %s is too long: %zu characters, at most %zu fit", socket.c_str(), socket.size(),
              max_socket_path);
    return false;
}

bool same_file(int fd, const std::string &path)
{
    struct stat held {
    };
    struct stat named {
    };
    return ::fstat(fd, &held) == 0 && ::stat(path.c_str(), &named) == 0 && held.st_ino == named.st_ino &&
           held.st_dev == named.st_dev;
}

pid_t read_pid(int fd)
{
    std::array<char, 16> text{};
    const ssize_t size = ::pread(fd, text.data(), text.size() - 1, 0);
    return size <= 0 ? 0 : static_cast<pid_t>(std::strtol(text.data(), nullptr, 10));
}

void write_pid(int fd)
{
    const std::string text = std::to_string(::getpid()) + "\n";
    if (::ftruncate(fd, 0) != 0 || ::pwrite(fd, text.data(), text.size(), 0) < 0)
        set_error("cannot write a pid: %s", std::strerror(errno)); // the claim holds without it
}

bool fill_address(sockaddr_un &address, const std::string &path)
{
    address.sun_family = AF_UNIX;
    if (path.size() > max_socket_path) {
        errno = ENAMETOOLONG;
        return false;
    }
    std::copy(path.begin(), path.end(), address.sun_path);
    return true;
}

Fd seqpacket_socket() { return Fd(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)); }

const sockaddr *generic(const sockaddr_un &address) { return reinterpret_cast<const sockaddr *>(&address); }

} // namespace

std::optional<std::string> RunDir::resolve(const char *dir)
{
    const char *runtime = std::getenv("XDG_RUNTIME_DIR");
    std::string path;
    if (given(dir))
        path = dir;
    else if (given(std::getenv("KOV_HOST_DIR")))
        path = std::getenv("KOV_HOST_DIR");
    else if (::geteuid() == 0)
        path = "/run/kov";
    else if (given(runtime))
        path = std::string(runtime) + "/kov";
    if (path.empty()) {
        set_error("no runtime directory: set KOV_HOST_DIR or XDG_RUNTIME_DIR");
        return std::nullopt;
    }
    path = std::filesystem::absolute(path).lexically_normal().string();
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

std::optional<RunDir> RunDir::open(const std::string &path, bool create)
{
    RunDir dir(path);
    if (!check_socket_path(dir.ipc_socket(longest_sap)))
        return std::nullopt;
    if (create && !make_directory(path)) {
        set_error("cannot create runtime directory %s: %s", path.c_str(), std::strerror(errno));
        return std::nullopt;
    }
    struct stat info {
    };
    if (::stat(path.c_str(), &info) != 0) {
        if (errno == ENOENT)
            set_error("runtime directory %s does not exist: start the server first", path.c_str());
        else
            set_error("cannot use runtime directory %s: %s", path.c_str(), std::strerror(errno));
        return std::nullopt;
    }
    if (!check_owner_and_mode(path, info) || !check_writable(path) || !make_parts(path))
        return std::nullopt;
    return dir;
}

std::string RunDir::ipc_socket(std::uint32_t sap) const { return path_ + "/ipc/sap-" + std::to_string(sap); }

std::string RunDir::ipc_claim(std::uint32_t sap) const { return ipc_socket(sap) + ".lock"; }

std::string RunDir::cli_claim(const std::string &name) const { return path_ + "/cli/" + name + ".lock"; }

std::string RunDir::cli_socket(const std::string &path, const std::string &name)
{
    return path + "/cli/" + name + ".sock";
}

bool RunDir::valid_name(const std::string &name)
{
    const auto plain = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    };
    const auto allowed = [plain](char c) { return plain(c) || c == '.' || c == '_' || c == '-'; };
    return !name.empty() && name.size() <= 64 && plain(name.front()) &&
           std::all_of(name.begin(), name.end(), allowed);
}

// A holder that lets go removes the file, so whoever locked it must see that the name still means this file.
Claim::Outcome Claim::take(const std::string &path, Claim &claim, pid_t &holder)
{
    holder = 0;
    for (;;) {
        Fd fd(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0640));
        if (!fd) {
            set_error("cannot create %s: %s", path.c_str(), std::strerror(errno));
            return Outcome::failed;
        }
        if (::flock(fd.get(), LOCK_EX | LOCK_NB) != 0) {
            const bool held = errno == EWOULDBLOCK;
            if (held)
                holder = read_pid(fd.get());
            else
                set_error("cannot lock %s: %s", path.c_str(), std::strerror(errno));
            return held ? Outcome::held_by_other : Outcome::failed;
        }
        if (!same_file(fd.get(), path))
            continue;
        write_pid(fd.get());
        claim = Claim(path, std::move(fd));
        return Outcome::taken_by_us;
    }
}

Claim &Claim::operator=(Claim &&other) noexcept
{
    if (this != &other) {
        release();
        path_ = std::move(other.path_);
        fd_ = std::move(other.fd_);
    }
    return *this;
}

void Claim::release()
{
    if (!fd_)
        return;
    remove_owned(path_);
    fd_.reset();
}

Fd listen_at(const std::string &path)
{
    sockaddr_un address{};
    if (!fill_address(address, path))
        return Fd();
    ::unlink(path.c_str());
    Fd fd = seqpacket_socket();
    if (!fd || ::bind(fd.get(), generic(address), sizeof address) != 0 || ::chmod(path.c_str(), 0660) != 0 ||
        ::listen(fd.get(), SOMAXCONN) != 0)
        return Fd();
    return fd;
}

Fd connect_to(const std::string &path)
{
    sockaddr_un address{};
    if (!fill_address(address, path))
        return Fd();
    Fd fd = seqpacket_socket();
    if (!fd || ::connect(fd.get(), generic(address), sizeof address) != 0) {
        const int saved = errno;
        fd.reset();
        errno = saved;
    }
    return fd;
}

} // namespace kov_host
