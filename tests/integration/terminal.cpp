#include "terminal.h"
#include "process.h"

#include <cstdlib>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>

namespace integration
{

Terminal::Terminal(const std::vector<std::string> &argv,
                   const std::map<std::string, std::string> &environment, unsigned short rows,
                   unsigned short columns)
{
    winsize size{rows, columns, 0, 0};
    pid_ = forkpty(&fd_, nullptr, nullptr, &size);
    if (pid_ < 0)
        throw std::runtime_error("no terminal");
    if (pid_ != 0)
        return;
    setenv("TERM", "xterm", 1);
    become(argv, environment);
}

Terminal::~Terminal()
{
    close(fd_);
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
}

void Terminal::resize(unsigned short rows, unsigned short columns) const
{
    const winsize size{rows, columns, 0, 0};
    if (ioctl(fd_, TIOCSWINSZ, &size) != 0)
        throw std::runtime_error("the terminal keeps its size");
}

void Terminal::type(const std::string &text) const
{
    if (write(fd_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        throw std::runtime_error("the terminal takes no more");
}

// A terminal's end is an error.
bool Terminal::read_some()
{
    pollfd asked{fd_, POLLIN, 0};
    char buffer[512];
    if (poll(&asked, 1, static_cast<int>(std::chrono::milliseconds(patience).count())) <= 0)
        return false;
    const ssize_t size = read(fd_, buffer, sizeof buffer);
    if (size > 0)
        unread_.append(buffer, static_cast<std::size_t>(size));
    ended_ = size <= 0;
    return size > 0;
}

std::string Terminal::read_to(const std::string &text)
{
    std::size_t at = std::string::npos;
    while ((at = text.empty() ? std::string::npos : unread_.find(text)) == std::string::npos && read_some()) {
    }
    const std::size_t end = at == std::string::npos ? unread_.size() : at + text.size();
    std::string taken = unread_.substr(0, end);
    unread_.erase(0, end);
    return taken;
}

bool Terminal::gives_keys() const
{
    termios mode{};
    if (tcgetattr(fd_, &mode) != 0)
        throw std::runtime_error("the terminal has no mode");
    return (mode.c_lflag & (ICANON | ISIG)) == 0;
}

int Terminal::status()
{
    while (!ended_ && read_some()) {
    }
    if (!ended_)
        kill(pid_, SIGKILL);
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace integration
