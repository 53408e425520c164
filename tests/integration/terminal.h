// A program on a terminal of its own: what a person would type, and would see.
#pragma once

#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace integration
{

class Terminal
{
public:
    // `rows` lines of `columns` characters. The environment is added to the test's own.
    Terminal(const std::vector<std::string> &argv, const std::map<std::string, std::string> &environment,
             unsigned short rows = 40, unsigned short columns = 100);
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    void resize(unsigned short rows, unsigned short columns) const;
    void type(const std::string &text) const;
    // Reads until the text is there, or to the end for an empty one; what was read, the text included. What
    // came before is not looked at again. Ends without the text when the program ends, or hangs.
    std::string read_to(const std::string &text);
    // Whether a key is read as it is typed, an interrupt's too: no Enter, no signal.
    bool gives_keys() const;
    // Waits for the end; the exit code, -1 for another end, or for none: then it is killed.
    int status();

private:
    bool read_some();

    int fd_ = -1;
    pid_t pid_ = -1;
    bool ended_ = false;
    std::string unread_;
};

} // namespace integration
