// A child process of a test: started with its output caught, waited for without sleeping, never left behind.
//
// Output is read when a test asks for it, from pipes; a wait for a text ends as soon as the text is there,
// and fails after a time that only a hang reaches. The destructor kills what still runs.
#pragma once

#include <chrono>
#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace integration
{

// Longer than anything takes that does not hang, on a loaded machine and under sanitizers.
constexpr std::chrono::seconds patience{40};

struct Result {
    int status = -1; // the exit code, or 128 + the signal
    std::string out;
    std::string err;
};

class Process
{
public:
    using Environment = std::map<std::string, std::string>;

    // argv[0] is a path. The child leads a process group of its own.
    explicit Process(const std::vector<std::string> &argv, const Environment &environment = {});
    ~Process();
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    pid_t pid() const { return pid_; }
    void signal(int number) const;
    void signal_group(int number) const;

    // True as soon as one of its outputs has the text; false when it ends or hangs without it.
    bool says(const std::string &text);
    // Reads until it ends, and takes its exit code.
    const Result &finish();
    // SIGTERM, and finish.
    const Result &stop();
    // What it has said so far.
    std::string output();

private:
    struct Pipe {
        int fd = -1;
        std::string *text = nullptr;
    };

    bool read_some(int timeout_ms);
    bool open() const { return pipes_[0].fd >= 0 || pipes_[1].fd >= 0; }

    pid_t pid_ = -1;
    bool finished_ = false;
    Pipe pipes_[2];
    Result result_;
};

Result run(const std::vector<std::string> &argv, const Process::Environment &environment = {});

// In a child: becomes the program argv[0], which dies with its parent.
[[noreturn]] void become(const std::vector<std::string> &argv, const Process::Environment &environment);

} // namespace integration
