#include "transport.h"

#include <cerrno>
#include <cstring>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <utility>

namespace kov_host
{
namespace
{

constexpr int frames_per_turn = 16;
constexpr std::uint32_t greeting_opcode = 0;
constexpr std::uint64_t peer_retry_ns = 20'000'000;

// Why nobody serves a SAP, in the terms of connect(2).
bool absent(int code) { return code == ENOENT || code == ECONNREFUSED; }

// What a kept connection says once its other end is gone.
bool broken(int code) { return code == EPIPE || code == ECONNRESET || code == ENOTCONN; }

// A read of 0 bytes is the end of a connection that was hung up, else an empty packet.
bool hung_up(int fd)
{
    pollfd ask{fd, POLLIN, 0};
    return ::poll(&ask, 1, 0) == 1 && (ask.revents & (POLLHUP | POLLERR)) != 0;
}

// Whether the peer has read all that was sent to it so far.
bool all_read(int fd)
{
    int queued = 1;
    return ::ioctl(fd, SIOCOUTQ, &queued) == 0 && queued == 0;
}

// The error that stands on a connection, and takes it off.
int error_of(int fd)
{
    int code = 0;
    socklen_t size = sizeof code;
    ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &code, &size);
    return code;
}

int send_frame(int fd, const FrameHeader &header, std::span<const std::uint8_t> payload)
{
    // sendmsg takes pointers to what it only reads
    iovec parts[2] = {{const_cast<FrameHeader *>(&header), sizeof header},
                      {const_cast<std::uint8_t *>(payload.data()), payload.size()}};
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = payload.empty() ? 1 : 2;
    return ::sendmsg(fd, &message, MSG_DONTWAIT | MSG_NOSIGNAL) >= 0 ? 0 : errno;
}

} // namespace

Receiving::Receiving() : buffer(sizeof(FrameHeader) + KOV_HOST_MAX_MESSAGE) {}

std::unique_ptr<Endpoint> Endpoint::open(const RunDir &dir, std::uint32_t sap, Loop &loop,
                                         Receiving &receiving, std::int32_t handle, pid_t &holder)
{
    std::unique_ptr<Endpoint> endpoint(new Endpoint(dir, loop, receiving, handle));
    Claim::Outcome outcome = Claim::Outcome::held_by_other;
    if (sap != 0)
        outcome = endpoint->claim(sap, holder);
    for (std::uint32_t free = first_free_sap; sap == 0 && free <= last_free_sap; ++free) {
        outcome = endpoint->claim(free, holder);
        if (outcome != Claim::Outcome::held_by_other)
            break;
    }
    if (outcome == Claim::Outcome::held_by_other && sap == 0)
        set_error("no service access point is free: %u to %u are taken", first_free_sap, last_free_sap);
    else if (outcome == Claim::Outcome::held_by_other)
        set_error("service access point %u is taken by a running process (pid %d)", sap, holder);
    if (outcome != Claim::Outcome::taken_by_us || !endpoint->listen())
        return nullptr;
    return endpoint;
}

Claim::Outcome Endpoint::claim(std::uint32_t sap, pid_t &holder)
{
    sap_ = sap;
    return Claim::take(dir_.ipc_claim(sap), claim_, holder);
}

bool Endpoint::listen()
{
    listener_ = listen_at(dir_.ipc_socket(sap_));
    if (listener_)
        listener_watch_ = loop_.watch(listener_.get(), EPOLLIN, std::make_shared<Task>(),
                                      [this](std::uint32_t) { accept_all(); });
    if (listener_watch_ != 0)
        return true;
    set_error("cannot listen at %s: %s", dir_.ipc_socket(sap_).c_str(), std::strerror(errno));
    return false;
}

Endpoint::~Endpoint()
{
    loop_.unwatch(listener_watch_);
    for (const auto &[key, peer] : inbound_) {
        loop_.unwatch(peer->watch);
        peer->fd.reset(); // a callback may still hold the connection
    }
    for (const auto &[sap, peer] : outbound_)
        loop_.unwatch(peer.watch);
    for (const auto &[sap, peer] : watched_)
        loop_.timer_stop(peer.timer);
    if (listener_)
        remove_owned(dir_.ipc_socket(sap_));
}

void Endpoint::accept_all()
{
    while (inbound_.size() < max_connections && accept_one()) {
    }
    // Whoever is not accepted waits in the backlog with what it sent; nothing is turned away.
    if (inbound_.size() >= max_connections)
        loop_.set_enabled(listener_watch_, false);
}

bool Endpoint::accept_one()
{
    auto peer = std::make_shared<Inbound>();
    peer->fd = Fd(::accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!peer->fd) {
        if (out_of_descriptors(errno))
            loop_.rest(listener_watch_); // the connection keeps waiting
        return errno == EINTR || errno == ECONNABORTED;
    }
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (::getsockopt(peer->fd.get(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0) {
        peer->pid = credentials.pid;
        peer->uid = credentials.uid;
        peer->gid = credentials.gid;
    }
    peer->watch = loop_.watch(peer->fd.get(), EPOLLIN, receiving_.task,
                              [this, peer](std::uint32_t) { read_from(peer); });
    if (peer->watch == 0)
        return false;
    loop_.set_enabled(peer->watch, static_cast<bool>(receiving_.fn));
    send_frame(peer->fd.get(), {greeting_opcode, sap_, 0}, {}); // who is gone again needs none
    inbound_.emplace(peer.get(), peer);
    return true;
}

void Endpoint::update_reading()
{
    for (const auto &[key, peer] : inbound_)
        loop_.set_enabled(peer->watch, static_cast<bool>(receiving_.fn));
}

void Endpoint::drop_inbound(const std::shared_ptr<Inbound> &peer)
{
    loop_.unwatch(peer->watch);
    peer->fd.reset();
    inbound_.erase(peer.get());
    loop_.set_enabled(listener_watch_, true);
}

// The receiver may close this endpoint: after a delivery only `peer` is looked at, whose descriptor is then
// closed.
void Endpoint::read_from(const std::shared_ptr<Inbound> &peer)
{
    for (int i = 0; i < frames_per_turn && peer->fd; ++i)
        if (!read_frame(peer))
            return;
}

bool Endpoint::read_frame(const std::shared_ptr<Inbound> &peer)
{
    if (!receiving_.fn)
        return false;
    std::vector<std::uint8_t> &buffer = receiving_.buffer;
    const ssize_t size = ::recv(peer->fd.get(), buffer.data(), buffer.size(), MSG_DONTWAIT | MSG_TRUNC);
    // a reset is no end: the peer went away without reading its greeting, and what it sent is still there
    if (size < 0 && (errno == EAGAIN || errno == EINTR || errno == ECONNRESET))
        return false;
    if (size < 0 || (size == 0 && hung_up(peer->fd.get()))) {
        drop_inbound(peer);
        return false;
    }
    take_frame(*peer, static_cast<std::size_t>(size));
    return true;
}

void Endpoint::take_frame(const Inbound &peer, std::size_t size)
{
    const std::vector<std::uint8_t> &buffer = receiving_.buffer;
    FrameHeader header{};
    if (size < sizeof header || size > buffer.size()) {
        ++counters().ipc_frames_refused;
        return;
    }
    std::memcpy(&header, buffer.data(), sizeof header);
    if (header.length != size - sizeof header) {
        ++counters().ipc_frames_refused;
        return;
    }
    const void *payload = header.length == 0 ? nullptr : buffer.data() + sizeof header;
    const ipc_message message{header.opcode, header.length, payload,  header.source_sap,
                              peer.pid,      peer.uid,      peer.gid, handle_};
    ++counters().ipc_receives;
    const ReceiveFn receive = receiving_.fn; // the receiver may replace itself
    receive(message);
}

Endpoint::Outbound *Endpoint::outbound_to(std::uint32_t sap, int &code)
{
    const auto at = outbound_.find(sap);
    if (at != outbound_.end())
        return &at->second;
    Outbound fresh;
    fresh.fd = connect_to(dir_.ipc_socket(sap));
    if (!fresh.fd) {
        code = absent(errno) ? ECONNREFUSED : errno;
        return nullptr;
    }
    fresh.watch = loop_.watch(fresh.fd.get(), EPOLLIN, nullptr,
                              [this, sap](std::uint32_t events) { take_greeting(sap, events); });
    return &outbound_.emplace(sap, std::move(fresh)).first->second;
}

// What comes back on a connection that was made: the greeting, and the hang-up of a peer that went away.
void Endpoint::take_greeting(std::uint32_t sap, std::uint32_t events)
{
    Outbound &peer = outbound_.at(sap);
    FrameHeader greeting{};
    if ((events & (EPOLLHUP | EPOLLERR)) != 0)
        return drop_outbound(sap, error_of(peer.fd.get()));
    const ssize_t size = ::recv(peer.fd.get(), &greeting, sizeof greeting, MSG_DONTWAIT);
    if (size < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (size <= 0)
        return drop_outbound(sap, size < 0 ? errno : 0);
    peer.greeted = true;
    const auto watched = watched_.find(sap);
    if (watched == watched_.end() || watched->second.timer == 0)
        return;
    loop_.timer_stop(std::exchange(watched->second.timer, 0));
    look_after(sap, watched->second);
}

// `code` is what the broken connection said: a reset is the kernel's word for a peer that went away with
// messages in its queue.
void Endpoint::drop_outbound(std::uint32_t sap, int code)
{
    const auto at = outbound_.find(sap);
    if (at == outbound_.end())
        return;
    if (code == ECONNRESET)
        counters().ipc_peer_unread += at->second.unread;
    loop_.unwatch(at->second.watch);
    outbound_.erase(at);
    const auto watched = watched_.find(sap);
    if (watched == watched_.end())
        return;
    watched->second.lost = true;
    look_after(sap, watched->second);
}

void Endpoint::forget_peer(std::uint32_t sap)
{
    const auto at = watched_.find(sap);
    if (at == watched_.end())
        return;
    loop_.timer_stop(at->second.timer);
    watched_.erase(at);
}

void Endpoint::watch_peer(std::uint32_t sap, PeerFn fn)
{
    forget_peer(sap);
    if (!fn)
        return;
    WatchedPeer &peer = watched_[sap];
    peer.fn = std::move(fn);
    int code = 0;
    peer.present = outbound_to(sap, code) != nullptr;
    if (!peer.present)
        look_after(sap, peer);
}

// What there is to tell is told from a timer: a broken connection shows in the middle of a send, and there
// nobody may be called.
void Endpoint::look_after(std::uint32_t sap, WatchedPeer &peer)
{
    if (peer.timer == 0)
        peer.timer = loop_.timer_start(0, peer_retry_ns, [this, sap](int) { look_at_peer(sap); });
}

// One step: a peer that went away is told of, and one that was away is looked for. It is there when it
// greets: the socket of a process that is dying takes connections for a while. Who is called may send, watch
// anew or close this endpoint, so nothing is touched after the call.
void Endpoint::look_at_peer(std::uint32_t sap)
{
    WatchedPeer &peer = watched_.at(sap);
    const PeerFn fn = peer.fn;
    int code = 0;
    if (peer.present && peer.lost) {
        peer.present = peer.lost = false;
        ++counters().ipc_peer_losses;
        fn(false);
        return;
    }
    peer.lost = false;
    const Outbound *connection = outbound_to(sap, code);
    if (connection == nullptr || !connection->greeted)
        return;
    loop_.timer_stop(std::exchange(peer.timer, 0));
    peer.present = true;
    ++counters().ipc_peer_returns;
    fn(true);
}

// A kept connection may be to a process that is gone. Then nothing was sent, and the SAP gets one more try
// with a fresh connection: its next owner may be there already.
int Endpoint::send(std::uint32_t sap, std::uint32_t opcode, std::span<const std::uint8_t> payload)
{
    const FrameHeader header{opcode, sap_, static_cast<std::uint32_t>(payload.size())};
    int code = ECONNREFUSED;
    for (int attempt = 0; attempt < 2; ++attempt) {
        Outbound *peer = outbound_to(sap, code);
        if (peer == nullptr)
            return code;
        const bool read_up = all_read(peer->fd.get());
        code = send_frame(peer->fd.get(), header, payload);
        if (code == 0)
            peer->unread = read_up ? 1 : peer->unread + 1;
        if (code == EWOULDBLOCK || code == ENOBUFS)
            return EAGAIN;
        if (!broken(code))
            return code;
        drop_outbound(sap, code);
    }
    return ECONNREFUSED;
}

std::uint32_t Endpoint::option(std::uint32_t opcode) const
{
    const auto at = options_.find(opcode);
    return at == options_.end() ? 0 : at->second;
}

std::int32_t Transport::open(std::uint32_t sap, pid_t &holder)
{
    const std::int32_t handle = last_handle_ + 1;
    auto endpoint = Endpoint::open(dir_, sap, loop_, receiving_, handle, holder);
    if (endpoint == nullptr)
        return -1;
    last_handle_ = handle;
    endpoints_.emplace(handle, std::move(endpoint));
    return handle;
}

Endpoint *Transport::find(std::int32_t handle)
{
    const auto at = endpoints_.find(handle);
    return at == endpoints_.end() ? nullptr : at->second.get();
}

void Transport::set_receiver(ReceiveFn fn)
{
    receiving_.fn = std::move(fn);
    for (const auto &[handle, endpoint] : endpoints_)
        endpoint->update_reading();
}

} // namespace kov_host
