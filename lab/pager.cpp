#include "pager.h"

#include "screen.h"

#include <termios.h>
#include <unistd.h>

namespace kov_lab
{
namespace
{

constexpr char interrupt_key = 3;

// While it stands the terminal gives each key as it is typed, that of an interrupt too.
class KeysAsTyped
{
public:
    KeysAsTyped() : terminal_(tcgetattr(STDIN_FILENO, &before_) == 0)
    {
        termios keys = before_;
        keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ISIG);
        set(keys);
    }
    ~KeysAsTyped() { set(before_); }
    KeysAsTyped(const KeysAsTyped &) = delete;
    KeysAsTyped &operator=(const KeysAsTyped &) = delete;

private:
    void set(const termios &mode) const
    {
        if (terminal_)
            tcsetattr(STDIN_FILENO, TCSANOW, &mode);
    }

    termios before_{};
    bool terminal_;
};

// That of an interrupt when there will be none.
char read_key()
{
    char key = interrupt_key;
    return read(STDIN_FILENO, &key, 1) == 1 ? key : interrupt_key;
}

void show_now(const std::string &text)
{
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
}

} // namespace

void Pager::add(std::string_view output)
{
    if (!stopped_)
        held_ += output;
}

void Pager::add_trace(const std::string &line)
{
    if (asks_ && !stopped_)
        held_ += line + "\n";
    else
        std::printf("%s\n", line.c_str());
}

bool Pager::wants_more()
{
    show_full_pages(stdout);
    if (all_)
        put(held_.size(), stdout);
    return !stopped_;
}

void Pager::finish(std::FILE *to)
{
    if (isatty(fileno(to)) == 0)
        all_ = true;
    show_full_pages(to);
    put(held_.size(), to);
}

void Pager::show_full_pages(std::FILE *to)
{
    while (asks_ && !all_ && !stopped_) {
        const Screen page = above_last_row(screen_now());
        const std::size_t size = page_size(held_, page);
        if (size == held_.size())
            return;
        const bool within_a_line = held_[size - 1] != '\n';
        put(size, to);
        if (within_a_line)
            std::fputs("\n", to);
        ask(page.columns);
    }
}

void Pager::put(std::size_t size, std::FILE *to)
{
    std::fwrite(held_.data(), 1, size, to);
    held_.erase(0, size);
}

// In one row. Another message may follow at once, on the error output: the question makes room first.
void Pager::ask(unsigned columns)
{
    const std::string question = "--More-- (Space: go on, a: all, q: stop) ";
    const KeysAsTyped keys; // before a person can answer
    show_now(question.substr(0, columns - 1));
    const char key = read_key();
    show_now("\r\033[K");
    stopped_ = key == 'q' || key == interrupt_key;
    all_ = key == 'a';
    if (stopped_)
        held_.clear();
}

} // namespace kov_lab
