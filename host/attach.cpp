// Attaching and detaching, and the calls of kov_host.h that go to the attached process's loop.
#include "attach.h"
#include "rdb_reader.h"
#include "terminals.h"

#include <cerrno>
#include <cstring>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace kov_host
{
namespace
{

std::unique_ptr<Attachment> &slot()
{
    static std::unique_ptr<Attachment> instance;
    return instance;
}

constexpr std::uint64_t ns_per_ms = 1'000'000;

std::uint32_t epoll_events_of(std::uint32_t events)
{
    return ((events & KOV_HOST_READ) != 0 ? EPOLLIN : 0u) | ((events & KOV_HOST_WRITE) != 0 ? EPOLLOUT : 0u);
}

std::uint32_t events_of(std::uint32_t epoll_events)
{
    std::uint32_t events = 0;
    if ((epoll_events & (EPOLLIN | EPOLLPRI)) != 0)
        events |= KOV_HOST_READ;
    if ((epoll_events & EPOLLOUT) != 0)
        events |= KOV_HOST_WRITE;
    if ((epoll_events & (EPOLLHUP | EPOLLERR)) != 0)
        events |= KOV_HOST_HANGUP;
    return events;
}

bool claim_name(Attachment &fresh)
{
    if (fresh.name.empty())
        return true;
    pid_t holder = 0;
    const auto outcome = Claim::take(fresh.dir.cli_claim(fresh.name), fresh.name_claim, holder);
    if (outcome == Claim::Outcome::held_by_other)
        set_error("the name %s is taken by a running process (pid %d)", fresh.name.c_str(), holder);
    return outcome == Claim::Outcome::taken_by_us;
}

bool serve_commands(Attachment &fresh)
{
    if (fresh.name.empty())
        return true;
    fresh.cli = CliServer::open(RunDir::cli_socket(fresh.dir.path(), fresh.name), fresh.loop);
    return fresh.cli != nullptr;
}

bool open_handle(Attachment &fresh, std::uint32_t sap)
{
    pid_t holder = 0;
    fresh.handle = fresh.transport.open(sap, holder);
    if (fresh.handle < 0 && holder != 0 && sap != 0)
        set_error("a server is already running in %s (pid %d)", fresh.dir.path().c_str(), holder);
    return fresh.handle > 0;
}

enum class Role { client, server, tool };

int attach(const char *dir, const char *name, std::uint32_t sap, Role role)
{
    const std::string wanted = name == nullptr ? "" : name;
    if (attachment() != nullptr)
        return fail("attached already, to %s", attachment()->dir.path().c_str());
    if (role != Role::tool && !RunDir::valid_name(wanted))
        return fail("'%s' is no name: 1 to 64 of A-Z a-z 0-9 . _ -, a letter or a digit first",
                    wanted.c_str());
    const auto path = RunDir::resolve(dir);
    if (!path)
        return -1;
    const std::string socket = RunDir::cli_socket(*path, wanted);
    if (socket.size() > max_socket_path)
        return fail("socket path %s is too long: %zu characters, at most %zu fit", socket.c_str(),
                    socket.size(), max_socket_path);
    const auto run_dir = RunDir::open(*path, role == Role::server);
    if (!run_dir)
        return -1;
    own_files();
    auto fresh = std::make_unique<Attachment>(*run_dir, wanted);
    if (!fresh->loop.usable())
        return fail("cannot create a loop: %s", std::strerror(errno));
    // the server's own access point first: "already running" is the better answer than "name taken"
    if (!open_handle(*fresh, sap) || !claim_name(*fresh) || !serve_commands(*fresh))
        return -1;
    slot() = std::move(fresh);
    set_trace_tag("[" + std::to_string(::getpid()) + (wanted.empty() ? "]" : " " + wanted + "]"));
    return 0;
}

Attachment *require_attachment()
{
    if (attachment() == nullptr)
        set_error("not attached");
    return attachment();
}

int stop_on_signals(Attachment &here)
{
    if (here.signals)
        return 0;
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, SIGINT);
    sigaddset(&mask, SIGTERM);
    Fd signals(::signalfd(-1, &mask, SFD_NONBLOCK | SFD_CLOEXEC));
    if (!signals)
        return fail("cannot watch signals: %s", std::strerror(errno));
    const int fd = signals.get();
    const WatchId watch = here.loop.watch(fd, EPOLLIN, nullptr, [&here, fd](std::uint32_t) {
        signalfd_siginfo info{};
        if (::read(fd, &info, sizeof info) == static_cast<ssize_t>(sizeof info))
            here.loop.stop(0);
    });
    if (watch == 0)
        return fail("cannot watch signals: %s", std::strerror(errno));
    sigprocmask(SIG_BLOCK, &mask, &here.former_mask);
    here.signals = std::move(signals);
    return 0;
}

int watch_fd(Attachment &here, int fd, std::uint32_t events, kov_host_fd_fn cb, void *arg)
{
    if (cb == nullptr)
        return fail("no callback to call for descriptor %d", fd);
    if (here.fd_watches.contains(fd))
        return fail("descriptor %d is watched already", fd);
    const WatchId id = here.loop.watch(fd, epoll_events_of(events), std::make_shared<Task>(),
                                       [fd, cb, arg](std::uint32_t ready) { cb(fd, events_of(ready), arg); });
    if (id == 0)
        return fail("cannot watch descriptor %d: %s", fd, std::strerror(errno));
    here.fd_watches.emplace(fd, id);
    return 0;
}

int unwatch_fd(Attachment &here, int fd)
{
    const auto at = here.fd_watches.find(fd);
    if (at == here.fd_watches.end())
        return fail("descriptor %d is not watched", fd);
    here.loop.unwatch(at->second);
    here.fd_watches.erase(at);
    return 0;
}

} // namespace

Attachment::Attachment(RunDir where, std::string name_taken)
    : dir(std::move(where)), name(std::move(name_taken)), transport(dir, loop)
{
}

Attachment::~Attachment()
{
    if (signals)
        sigprocmask(SIG_SETMASK, &former_mask, nullptr);
}

Attachment *attachment() { return slot().get(); }

} // namespace kov_host

using namespace kov_host;

extern "C" {

int kov_host_attach(const char *dir, const char *name)
{
    return guarded(-1, [&] { return attach(dir, name, 0, Role::client); });
}

int kov_host_attach_server(const char *dir, const char *name, uint32_t sap)
{
    return guarded(-1, [&] { return attach(dir, name, sap, Role::server); });
}

int kov_host_attach_tool(const char *dir)
{
    return guarded(-1, [&] { return attach(dir, nullptr, 0, Role::tool); });
}

void kov_host_detach(void)
{
    guarded(0, [&] {
        if (attachment() != nullptr && attachment()->loop.in_callback())
            return fail("cannot detach from within a callback");
        slot().reset();
        close_databases();
        return 0;
    });
}

int kov_host_attached(void) { return attachment() != nullptr ? 1 : 0; }

const char *kov_host_dir(void)
{
    return guarded<const char *>(nullptr, [&]() -> const char * {
        if (attachment() != nullptr)
            return attachment()->dir.path().c_str();
        static std::string resolved;
        const auto path = RunDir::resolve(nullptr);
        if (!path)
            return nullptr;
        resolved = *path;
        return resolved.c_str();
    });
}

const char *kov_host_name(void) { return attachment() == nullptr ? "" : attachment()->name.c_str(); }

int kov_host_run(void)
{
    return guarded(-1, [&] {
        if (require_attachment() == nullptr)
            return -1;
        if (attachment()->loop.in_callback())
            return fail("the loop is running already");
        return attachment()->loop.run();
    });
}

void kov_host_stop(int status)
{
    if (attachment() != nullptr)
        attachment()->loop.stop(status);
}

int kov_host_run_once(int timeout_ms)
{
    return guarded(-1, [&] {
        if (require_attachment() == nullptr)
            return -1;
        if (attachment()->loop.in_callback())
            return fail("the loop is running already");
        return attachment()->loop.run_once(timeout_ms);
    });
}

int kov_host_stop_on_signals(void)
{
    return guarded(-1, [&] { return require_attachment() == nullptr ? -1 : stop_on_signals(*attachment()); });
}

int kov_host_timer_start(uint32_t first_ms, uint32_t every_ms, kov_host_timer_fn cb, void *arg)
{
    return guarded(-1, [&] {
        if (require_attachment() == nullptr)
            return -1;
        if (cb == nullptr)
            return fail("no callback to call for the timer");
        return attachment()->loop.timer_start(first_ms * ns_per_ms, every_ms * ns_per_ms,
                                              [cb, arg](int id) { cb(id, arg); });
    });
}

int kov_host_timer_stop(int timer)
{
    return guarded(-1, [&] {
        if (require_attachment() == nullptr)
            return -1;
        return attachment()->loop.timer_stop(timer) ? 0 : fail("timer %d is not running", timer);
    });
}

int kov_host_fd_watch(int fd, uint32_t events, kov_host_fd_fn cb, void *arg)
{
    return guarded(-1, [&] {
        return require_attachment() == nullptr ? -1 : watch_fd(*attachment(), fd, events, cb, arg);
    });
}

int kov_host_fd_unwatch(int fd)
{
    return guarded(-1, [&] { return require_attachment() == nullptr ? -1 : unwatch_fd(*attachment(), fd); });
}

void kov_host_time_slice(uint32_t microseconds)
{
    if (attachment() != nullptr)
        attachment()->loop.set_slice(std::uint64_t{microseconds} * 1000);
}

} // extern "C"
