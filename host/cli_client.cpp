// The other end of a command line: what kovctl is made of.
#include "cli_frame.h"
#include "rundir.h"
#include "support.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <poll.h>
#include <sys/socket.h>

struct kov_host_session {
    kov_host::Fd fd;
    std::string terminal;
    std::array<char, kov_host::cli_max_frame + 1> frame{}; // the last one, and a NUL
};

namespace kov_host
{
namespace
{

int send_frame(const kov_host_session &session, const std::string &frame)
{
    if (::send(session.fd.get(), frame.data(), frame.size(), MSG_NOSIGNAL) >= 0)
        return 0;
    return fail("the command line is gone: %s", std::strerror(errno));
}

std::string hello(std::uint32_t rows)
{
    const std::uint32_t sent = std::min(rows, 0xffffu);
    const char body[] = {static_cast<char>(cli_version), static_cast<char>(sent & 0xff),
                         static_cast<char>(sent >> 8)};
    return cli_frame(cli_hello, {body, sizeof body});
}

kov_host_session *open_session(const char *dir, const char *name, std::uint32_t rows)
{
    const std::string wanted = name == nullptr ? "" : name;
    const auto path = RunDir::resolve(dir);
    if (!path)
        return nullptr;
    if (!RunDir::valid_name(wanted)) {
        set_error("'%s' is not the name of a process", wanted.c_str());
        return nullptr;
    }
    auto session = std::make_unique<kov_host_session>();
    session->fd = connect_to(RunDir::cli_socket(*path, wanted));
    if (!session->fd) {
        if (errno == ENOENT || errno == ECONNREFUSED)
            set_error("no process %s is attached to %s", wanted.c_str(), path->c_str());
        else
            set_error("cannot reach process %s in %s: %s", wanted.c_str(), path->c_str(),
                      std::strerror(errno));
        return nullptr;
    }
    return send_frame(*session, hello(rows)) == 0 ? session.release() : nullptr;
}

// False for a frame that is not for the caller.
bool take_event(kov_host_session &session, std::size_t size, kov_host_cli_event &event)
{
    session.frame[size] = '\0';
    const char *body = session.frame.data() + 1;
    event = {0, 0, body, static_cast<std::uint32_t>(size - 1)};
    switch (session.frame[0]) {
    case cli_welcome:
        session.terminal = size > 1 ? std::string(body + 1, size - 2) : "";
        return false;
    case cli_output:
        event.kind = KOV_HOST_CLI_OUTPUT;
        return true;
    case cli_trace:
        event.kind = KOV_HOST_CLI_TRACE;
        return true;
    case cli_more:
        event.kind = KOV_HOST_CLI_MORE;
        return true;
    case cli_done:
        event.kind = KOV_HOST_CLI_DONE;
        if (size - 1 == sizeof event.status)
            std::memcpy(&event.status, body, sizeof event.status);
        event.text = "";
        event.size = 0;
        return true;
    default:
        return false;
    }
}

int next_event(kov_host_session &session, int timeout_ms, kov_host_cli_event &event)
{
    for (;;) {
        pollfd ask{session.fd.get(), POLLIN, 0};
        const int ready = ::poll(&ask, 1, timeout_ms);
        if (ready == 0 || (ready < 0 && errno == EINTR))
            return 0;
        const ssize_t size = ::recv(session.fd.get(), session.frame.data(), cli_max_frame, MSG_TRUNC);
        if (size <= 0 || static_cast<std::size_t>(size) > cli_max_frame)
            return fail("the command line is gone");
        if (take_event(session, static_cast<std::size_t>(size), event))
            return 1;
    }
}

} // namespace
} // namespace kov_host

using namespace kov_host;

extern "C" {

kov_host_session *kov_host_session_open(const char *dir, const char *name, uint32_t rows)
{
    return guarded<kov_host_session *>(nullptr, [&] { return open_session(dir, name, rows); });
}

void kov_host_session_close(kov_host_session *session) { delete session; }

int kov_host_session_command(kov_host_session *session, const char *line)
{
    return guarded(-1, [&] {
        if (session == nullptr || line == nullptr)
            return fail("no session, or no line");
        const std::string frame = cli_frame(cli_command, line);
        if (frame.size() > cli_max_frame)
            return fail("a line of %zu characters is too long: at most %zu", frame.size() - 1, cli_max_text);
        return send_frame(*session, frame);
    });
}

int kov_host_session_answer(kov_host_session *session, int more)
{
    return guarded(-1, [&] {
        return session == nullptr ? fail("no session")
                                  : send_frame(*session, cli_frame(cli_answer, {more != 0 ? "\1" : "\0", 1}));
    });
}

int kov_host_session_next(kov_host_session *session, int timeout_ms, kov_host_cli_event *event)
{
    return guarded(-1, [&] {
        return session == nullptr || event == nullptr ? fail("no session")
                                                      : next_event(*session, timeout_ms, *event);
    });
}

int kov_host_session_fd(const kov_host_session *session)
{
    return session == nullptr ? -1 : session->fd.get();
}

const char *kov_host_session_terminal(const kov_host_session *session)
{
    return session == nullptr ? "" : session->terminal.c_str();
}

} // extern "C"
