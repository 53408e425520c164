#include "cli_server.h"
#include "cli_frame.h"
#include "rundir.h"
#include "terminals.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kov_host
{
namespace
{

constexpr std::size_t max_sessions = 32;
constexpr std::size_t max_lines = 64;                     // typed ahead
constexpr std::size_t max_unsent = std::size_t{16} << 20; // a reader this far behind is cut off
constexpr std::size_t calm_unsent = std::size_t{256} << 10;
constexpr std::size_t max_unsent_for_traces = std::size_t{1} << 20;

// A line that is longer than a frame ends with a sign of that.
std::string trace_frame(std::string_view line)
{
    constexpr std::string_view cut = " …";
    if (line.size() <= cli_max_text)
        return cli_frame(cli_trace, line);
    return cli_frame(cli_trace, line.substr(0, cli_max_text - cut.size())).append(cut);
}

struct {
    kov_host_session_end_fn cb;
    void *arg;
} on_session_end;

std::string status_frame(int status)
{
    std::array<char, 4> bytes{};
    std::memcpy(bytes.data(), &status, bytes.size());
    return cli_frame(cli_done, {bytes.data(), bytes.size()});
}

} // namespace

CliSession::CliSession(Fd fd, std::string terminal, Loop &loop)
    : fd_(std::move(fd)), terminal_(std::move(terminal)), loop_(loop)
{
    add_terminal(terminal_, [this](std::string_view line) { return trace(line); });
}

CliSession::~CliSession() { close(); }

void CliSession::close()
{
    if (closed())
        return;
    remove_terminal(terminal_);
    loop_.unwatch(watch_);
    fd_.reset();
    unsent_.clear();
    unsent_bytes_ = 0;
    if (on_session_end.cb != nullptr)
        on_session_end.cb(terminal_.c_str(), on_session_end.arg);
}

void CliSession::on_ready(std::uint32_t events)
{
    if ((events & EPOLLOUT) != 0)
        flush();
    if ((events & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0)
        read_frames();
    run_commands();
}

void CliSession::read_frames()
{
    std::array<char, cli_max_frame> frame{};
    while (!closed()) {
        const ssize_t size = ::recv(fd_.get(), frame.data(), frame.size(), MSG_DONTWAIT | MSG_TRUNC);
        if (size < 0 && (errno == EAGAIN || errno == EINTR))
            return;
        if (size <= 0 || static_cast<std::size_t>(size) > frame.size()) {
            close();
            return;
        }
        take_frame({frame.data(), static_cast<std::size_t>(size)});
    }
}

// A peer that does not keep to the frames is cut off; there is nobody to explain it to.
void CliSession::take_frame(std::string_view frame)
{
    const std::string_view body = frame.substr(1);
    if (frame.front() == cli_hello && !greeted_)
        greet(body);
    else if (frame.front() == cli_command && greeted_ && lines_.size() < max_lines)
        lines_.emplace_back(body);
    else if (frame.front() == cli_answer && greeted_ && body.size() == 1)
        answer_ = body.front() != 0;
    else
        close();
}

void CliSession::greet(std::string_view hello)
{
    if (hello.size() != 3 || static_cast<std::uint8_t>(hello[0]) != cli_version) {
        close();
        return;
    }
    rows_ = static_cast<std::uint8_t>(hello[1]) |
            static_cast<std::uint32_t>(static_cast<std::uint8_t>(hello[2])) << 8;
    greeted_ = true;
    send(cli_frame(cli_welcome, std::string(1, static_cast<char>(cli_version)) + terminal_));
}

void CliSession::run_commands()
{
    while (!running_ && !closed() && !lines_.empty()) {
        const std::string line = std::move(lines_.front());
        lines_.pop_front();
        running_ = true;
        rows_printed_ = 0;
        const int status = guarded(-1, [&] { return run_command(line, *this); });
        running_ = false;
        send(status_frame(status));
    }
}

void CliSession::send(std::string frame)
{
    if (closed())
        return;
    if (unsent_bytes_ + frame.size() > max_unsent) {
        close();
        return;
    }
    unsent_bytes_ += frame.size();
    unsent_.push_back(std::move(frame));
    flush();
}

void CliSession::flush()
{
    while (!closed() && !unsent_.empty()) {
        const std::string &frame = unsent_.front();
        if (::send(fd_.get(), frame.data(), frame.size(), MSG_DONTWAIT | MSG_NOSIGNAL) < 0) {
            if (errno != EAGAIN && errno != EINTR && errno != ENOBUFS) {
                close();
                return;
            }
            break;
        }
        unsent_bytes_ -= frame.size();
        unsent_.pop_front();
    }
    if (!closed())
        loop_.set_events(watch_, unsent_.empty() ? EPOLLIN : EPOLLIN | EPOLLOUT);
}

bool CliSession::write(std::string_view text)
{
    rows_printed_ += static_cast<std::uint32_t>(std::count(text.begin(), text.end(), '\n'));
    while (!text.empty() && !closed()) {
        const std::string_view part = text.substr(0, cli_max_text);
        send(cli_frame(cli_output, part));
        text.remove_prefix(part.size());
    }
    return !closed();
}

bool CliSession::trace(std::string_view line)
{
    if (closed() || unsent_bytes_ > max_unsent_for_traces) {
        ++traces_dropped_;
        return false;
    }
    if (traces_dropped_ > 0)
        send(cli_frame(cli_trace, std::to_string(traces_dropped_) + " traces dropped"));
    traces_dropped_ = 0;
    send(trace_frame(line));
    return !closed();
}

bool CliSession::ask()
{
    answer_.reset();
    send(cli_frame(cli_more, {}));
    loop_.run_until([this] { return closed() || answer_.has_value(); });
    rows_printed_ = 0;
    return answer_.value_or(false);
}

bool CliSession::more()
{
    if (unsent_bytes_ > calm_unsent)
        loop_.run_until([this] { return closed() || unsent_bytes_ <= calm_unsent; });
    if (closed())
        return false;
    return rows_ == 0 || rows_printed_ + 1 < rows_ || ask();
}

std::unique_ptr<CliServer> CliServer::open(const std::string &socket, Loop &loop)
{
    std::unique_ptr<CliServer> server(new CliServer(socket, loop));
    server->listener_ = listen_at(socket);
    if (server->listener_) {
        CliServer *self = server.get();
        server->watch_ = loop.watch(server->listener_.get(), EPOLLIN, std::make_shared<Task>(),
                                    [self](std::uint32_t) { self->accept_all(); });
    }
    if (server->watch_ != 0)
        return server;
    set_error("cannot listen at %s: %s", socket.c_str(), std::strerror(errno));
    return nullptr;
}

CliServer::~CliServer()
{
    loop_.unwatch(watch_);
    for (const auto &[terminal, session] : sessions_)
        session->close();
    if (listener_)
        remove_owned(socket_);
}

void CliServer::accept_all()
{
    // a session that has gone while its command was running stays until the command returned
    std::erase_if(sessions_,
                  [](const auto &entry) { return entry.second->closed() && !entry.second->running(); });
    for (;;) {
        Fd fd(::accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (!fd) {
            if (out_of_descriptors(errno))
                loop_.rest(watch_);
            return;
        }
        if (sessions_.size() < max_sessions)
            add_session(std::move(fd));
    }
}

void CliServer::add_session(Fd fd)
{
    const std::string terminal = "vty-" + std::to_string(++last_terminal_);
    const int number = fd.get();
    auto session = std::make_shared<CliSession>(std::move(fd), terminal, loop_);
    const WatchId watch =
        loop_.watch(number, EPOLLIN, nullptr, [session](std::uint32_t events) { session->on_ready(events); });
    if (watch == 0)
        return;
    session->set_watch(watch);
    sessions_.emplace(terminal, std::move(session));
}

} // namespace kov_host

extern "C" void kov_host_on_session_end(kov_host_session_end_fn cb, void *arg)
{
    kov_host::on_session_end = {cb, arg};
}
