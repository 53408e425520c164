#include "process.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace integration
{

void become(const std::vector<std::string> &argv, const Process::Environment &environment)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (const auto &[name, value] : environment)
        setenv(name.c_str(), value.c_str(), 1);
    std::vector<char *> words;
    for (const std::string &word : argv)
        words.push_back(const_cast<char *>(word.c_str()));
    words.push_back(nullptr);
    execv(words[0], words.data());
    _exit(127);
}

Process::Process(const std::vector<std::string> &argv, const Environment &environment)
{
    int out[2];
    int err[2];
    if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    pid_ = fork();
    if (pid_ == 0) {
        setpgid(0, 0);
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        become(argv, environment);
    }
    setpgid(pid_, pid_); // here too: a signal to the group may come before the child has run
    close(out[1]);
    close(err[1]);
    pipes_[0] = {out[0], &result_.out};
    pipes_[1] = {err[0], &result_.err};
}

Process::~Process()
{
    if (!finished_) {
        signal_group(SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    for (const Pipe &pipe : pipes_)
        if (pipe.fd >= 0)
            close(pipe.fd);
}

void Process::signal(int number) const
{
    if (!finished_)
        kill(pid_, number);
}

void Process::signal_group(int number) const
{
    if (!finished_)
        kill(-pid_, number);
}

// Takes what is there, or waits for something. False when nothing came.
bool Process::read_some(int timeout_ms)
{
    std::array<pollfd, 2> asked{{{pipes_[0].fd, POLLIN, 0}, {pipes_[1].fd, POLLIN, 0}}};
    if (poll(asked.data(), asked.size(), timeout_ms) <= 0)
        return false;
    for (std::size_t i = 0; i < asked.size(); ++i) {
        if (asked[i].revents == 0)
            continue;
        char buffer[4096];
        const ssize_t size = read(pipes_[i].fd, buffer, sizeof buffer);
        if (size > 0) {
            pipes_[i].text->append(buffer, static_cast<std::size_t>(size));
        } else {
            close(pipes_[i].fd);
            pipes_[i].fd = -1;
        }
    }
    return true;
}

bool Process::says(const std::string &text)
{
    const auto there = [&] {
        return result_.out.find(text) != std::string::npos || result_.err.find(text) != std::string::npos;
    };
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!there() && open() && std::chrono::steady_clock::now() < end)
        read_some(1000);
    return there();
}

const Result &Process::finish()
{
    if (finished_)
        return result_;
    const auto end = std::chrono::steady_clock::now() + patience;
    while (open() && std::chrono::steady_clock::now() < end)
        read_some(1000);
    if (open()) {
        result_.err += "(killed: it did not end)\n";
        signal_group(SIGKILL);
    }
    int status = 0;
    waitpid(pid_, &status, 0);
    finished_ = true;
    result_.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result_;
}

const Result &Process::stop()
{
    signal(SIGTERM);
    return finish();
}

std::string Process::output()
{
    while (open() && read_some(0))
        ;
    return result_.out + result_.err;
}

Result run(const std::vector<std::string> &argv, const Process::Environment &environment)
{
    Process process(argv, environment);
    return process.finish();
}

} // namespace integration
