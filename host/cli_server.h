// The command line of a process, on a socket: sessions, their terminals, their pagers.
//
// A session reads frames whenever they come, also while its own command waits for a pager's answer; commands
// that come meanwhile stand in line. What it writes and the socket does not take waits in the session, so
// that printing never waits; a command that asks whether to go on waits until most of that is gone.
#pragma once

#include "cli_commands.h"
#include "loop.h"

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace kov_host
{

class CliSession final : public Output
{
public:
    CliSession(Fd fd, std::string terminal, Loop &loop);
    ~CliSession() override;
    CliSession(const CliSession &) = delete;
    CliSession &operator=(const CliSession &) = delete;

    // Reads what came and runs commands. May be entered again while one of them runs.
    void on_ready(std::uint32_t events);
    void close();
    bool closed() const { return !fd_; }
    bool running() const { return running_; }
    void set_watch(WatchId watch) { watch_ = watch; }

    bool write(std::string_view text) override;
    bool more() override;
    const std::string &terminal() const override { return terminal_; }

private:
    void read_frames();
    void take_frame(std::string_view frame);
    void greet(std::string_view hello);
    void run_commands();
    void send(std::string frame);
    void flush();
    bool trace(std::string_view line);
    bool ask();

    Fd fd_;
    std::string terminal_;
    Loop &loop_;
    WatchId watch_ = 0;
    std::deque<std::string> lines_;
    std::deque<std::string> unsent_;
    std::size_t unsent_bytes_ = 0;
    std::size_t traces_dropped_ = 0;
    bool greeted_ = false;
    bool running_ = false;
    std::uint32_t rows_ = 0;
    std::uint32_t rows_printed_ = 0; // since the last question
    std::optional<bool> answer_;
};

class CliServer
{
public:
    // Null with an error. The name of the process must be claimed.
    static std::unique_ptr<CliServer> open(const std::string &socket, Loop &loop);
    ~CliServer();
    CliServer(const CliServer &) = delete;
    CliServer &operator=(const CliServer &) = delete;

private:
    CliServer(std::string socket, Loop &loop) : socket_(std::move(socket)), loop_(loop) {}
    void accept_all();
    void add_session(Fd fd);

    std::string socket_;
    Loop &loop_;
    Fd listener_;
    WatchId watch_ = 0;
    std::map<std::string, std::shared_ptr<CliSession>> sessions_; // by terminal
    unsigned last_terminal_ = 0;
};

} // namespace kov_host
