#include "shell.h"

#include "history.h"
#include "typing.h"

#include <kov_host.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cwchar>
#include <histedit.h>
#include <iostream>
#include <optional>
#include <poll.h>
#include <span>
#include <sys/ioctl.h>
#include <unistd.h>

namespace kov_lab
{
namespace
{

// The session with the other end, opened when a line needs it.
class Conversation
{
public:
    Conversation(const Peer &peer, std::uint32_t rows, const RunOwn &own)
        : peer_(peer), rows_(rows), own_(own)
    {
    }

    bool open()
    {
        if (session_ == nullptr)
            session_ = open_session(peer_, rows_);
        return session_ != nullptr;
    }
    kov_host_session *get() const { return session_.get(); }
    const Peer &peer() const { return peer_; }
    void drop() { session_.reset(); }

    int run(const std::string &line)
    {
        if (const auto own = own_(line))
            return *own;
        if (!open())
            return nobody(peer_);
        const auto words = split_words(line);
        const bool json = std::find(words.begin(), words.end(), "--json") != words.end();
        const int code = run_and_show(session_.get(), line, json ? any_status : 0);
        if (code == exit_nobody)
            drop(); // a command that was interrupted ends with its session
        return code;
    }

private:
    Peer peer_;
    std::uint32_t rows_;
    RunOwn own_;
    Session session_;
};

// While it stands an interrupt comes only where it is waited for. At any other point it would be noted with
// nobody to look, until the next key.
class InterruptsHeld
{
public:
    InterruptsHeld()
    {
        sigset_t interrupts;
        sigemptyset(&interrupts);
        sigaddset(&interrupts, SIGINT);
        sigprocmask(SIG_BLOCK, &interrupts, &before_);
    }
    ~InterruptsHeld() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
    InterruptsHeld(const InterruptsHeld &) = delete;
    InterruptsHeld &operator=(const InterruptsHeld &) = delete;

    // The number of ready ones, or -1 for a signal.
    int wait(std::span<pollfd> asked) const { return ppoll(asked.data(), asked.size(), nullptr, &before_); }

private:
    sigset_t before_{};
};

bool is_farewell(const std::string &line) { return line == "exit" || line == "quit"; }

std::string without_blanks(std::string line)
{
    line.erase(line.find_last_not_of(" \t\r\n") + 1);
    line.erase(0, line.find_first_not_of(" \t"));
    return line;
}

class Shell
{
public:
    Shell(const Peer &peer, const RunOwn &own);
    ~Shell();
    Shell(const Shell &) = delete;
    Shell &operator=(const Shell &) = delete;

    int run();

private:
    static Shell &of(EditLine *line);
    static char *prompt(EditLine *line);
    static int read_key(EditLine *line, wchar_t *key);
    static unsigned char complete(EditLine *line, wint_t key);
    static unsigned char abandon(EditLine *line, wint_t key);

    bool next_line(std::string &out);
    bool wait_for_key();
    void show_what_came();
    void show_above(const std::string &text);
    void show_choice(const Candidates &candidates) const;
    void remember(const std::string &line);

    Conversation other_;
    EditLine *line_ = nullptr;
    History *history_ = nullptr;
    std::string prompt_;
    std::optional<InterruptsHeld> held_; // while a line is being typed
};

constexpr wchar_t abandon_key = 3;

Shell::Shell(const Peer &peer, const RunOwn &own)
    : other_(peer, terminal_rows(), own), line_(el_init("kovctl", stdin, stdout, stderr)),
      history_(history_init()), prompt_(peer.name + "> ")
{
    HistEvent event;
    history(history_, &event, H_SETSIZE, 1000);
    history(history_, &event, H_SETUNIQUE, 1);
    for (const std::string &line : kept_lines())
        history(history_, &event, H_ENTER, line.c_str());
    el_set(line_, EL_CLIENTDATA, this);
    el_set(line_, EL_PROMPT, prompt);
    el_set(line_, EL_EDITOR, "emacs");
    el_set(line_, EL_HIST, history, history_);
    el_set(line_, EL_GETCFN, read_key);
    // The editor keeps the texts: of narrow ones it would make wide copies that nobody frees.
    el_wset(line_, EL_ADDFN, L"kov-complete", L"finish the word", complete);
    el_wset(line_, EL_ADDFN, L"kov-abandon", L"begin a new line", abandon);
    el_set(line_, EL_BIND, "^I", "kov-complete", nullptr);
    el_set(line_, EL_BIND, "^C", "kov-abandon", nullptr);
    el_set(line_, EL_BIND, "^R", "em-inc-search-prev", nullptr);
}

Shell::~Shell()
{
    history_end(history_);
    el_end(line_);
}

Shell &Shell::of(EditLine *line)
{
    void *self = nullptr;
    el_get(line, EL_CLIENTDATA, &self);
    return *static_cast<Shell *>(self);
}

char *Shell::prompt(EditLine *line) { return of(line).prompt_.data(); }

// Over the line that is being typed, which then stands below.
void Shell::show_above(const std::string &text)
{
    std::fputs(("\r\033[K" + text).c_str(), stdout);
    std::fflush(stdout);
    el_set(line_, EL_REFRESH);
}

// Traces come while nobody runs a command. They stand above the line that is being typed.
void Shell::show_what_came()
{
    kov_host_cli_event event;
    int came = 0;
    std::string shown;
    while (other_.get() != nullptr && (came = kov_host_session_next(other_.get(), 0, &event)) == 1)
        if (event.kind == KOV_HOST_CLI_TRACE)
            shown += std::string(event.text) + "\n";
    if (came < 0) {
        shown += other_.peer().name + " is gone; the next command looks for it again\n";
        other_.drop();
    }
    if (!shown.empty())
        show_above(shown);
}

// False for an interrupt.
bool Shell::wait_for_key()
{
    for (;;) {
        const int session = other_.get() == nullptr ? -1 : kov_host_session_fd(other_.get());
        std::array<pollfd, 2> asked{{{STDIN_FILENO, POLLIN, 0}, {session, POLLIN, 0}}};
        const int ready = held_->wait(asked);
        if (take_interrupt())
            return false;
        if (ready > 0 && asked[1].revents != 0)
            show_what_came();
        if (ready > 0 && asked[0].revents != 0)
            return true;
    }
}

int Shell::read_key(EditLine *line, wchar_t *key)
{
    std::mbstate_t state{};
    for (;;) {
        if (!of(line).wait_for_key()) {
            *key = abandon_key;
            return 1;
        }
        char byte = 0;
        if (read(STDIN_FILENO, &byte, 1) != 1)
            return 0;
        const std::size_t size = std::mbrtowc(key, &byte, 1, &state);
        if (size == static_cast<std::size_t>(-1))
            state = {}; // no character: as if it had not been typed
        else if (size != static_cast<std::size_t>(-2))
            return 1;
    }
}

unsigned char Shell::abandon(EditLine *line, wint_t /*key*/)
{
    const LineInfo *info = el_line(line);
    el_cursor(line, static_cast<int>(info->lastchar - info->cursor));
    el_deletestr(line, static_cast<int>(info->lastchar - info->buffer));
    std::fputs("^C\n", stdout);
    el_set(line, EL_REFRESH);
    return CC_NORM;
}

// Under the line, in columns.
void Shell::show_choice(const Candidates &candidates) const
{
    constexpr std::size_t most = 100;
    std::size_t width = 1;
    for (const std::string &word : candidates)
        width = std::max(width, word.size() + 2);
    winsize size{};
    ioctl(STDOUT_FILENO, TIOCGWINSZ, &size);
    const std::size_t columns = std::max<std::size_t>(1, size.ws_col / width);
    const std::size_t shown = std::min(candidates.size(), most);
    std::fputs("\n", stdout);
    for (std::size_t i = 0; i < shown; ++i) {
        const bool last = i % columns == columns - 1 || i + 1 == shown;
        std::printf("%-*s%s", last ? 0 : static_cast<int>(width), candidates[i].c_str(), last ? "\n" : "");
    }
    if (candidates.size() > shown)
        std::printf("and %zu more\n", candidates.size() - shown);
    el_set(line_, EL_REFRESH);
    std::fflush(stdout);
}

std::string common_start(const Candidates &candidates)
{
    std::string start = candidates.front();
    for (const std::string &word : candidates)
        start.erase(std::mismatch(start.begin(), start.end(), word.begin(), word.end()).first, start.end());
    return start;
}

unsigned char Shell::complete(EditLine *line, wint_t /*key*/)
{
    Shell &self = of(line);
    const LineInfo *info = el_line(line);
    const std::string text(info->buffer, info->cursor);
    auto words = split_words(text);
    const bool begun = !text.empty() && text.back() != ' ' && text.back() != '\t';
    const std::string partial = begun ? words.back() : "";
    if (begun)
        words.pop_back();
    Typed typed = read_typed(words);
    if (!typed.of_client && self.other_.peer().name != server_name)
        typed.of_client = true;
    typed.peer = self.other_.peer();
    const Candidates candidates = completions(typed, partial);
    if (candidates.empty())
        return CC_REFRESH_BEEP;
    std::string more = common_start(candidates).substr(partial.size());
    const bool goes_on = std::string("=/,").find(candidates.front().back()) != std::string::npos;
    if (candidates.size() == 1 && !goes_on)
        more += ' ';
    if (!more.empty())
        el_insertstr(line, more.c_str());
    else
        self.show_choice(candidates);
    return CC_REFRESH;
}

bool Shell::next_line(std::string &out)
{
    note_interrupts();
    held_.emplace();
    el_resize(line_);
    el_set(line_, EL_PREP_TERM,
           1); // before the prompt: who answers it at once with Ctrl-D would else be ignored
    int size = 0;
    const char *text = el_gets(line_, &size);
    held_.reset();
    if (text == nullptr || size <= 0)
        return false;
    out = without_blanks({text, static_cast<std::size_t>(size)});
    return !is_farewell(out);
}

void Shell::remember(const std::string &line)
{
    HistEvent event;
    const bool same = history(history_, &event, H_FIRST) == 0 && without_blanks(event.str) == line;
    history(history_, &event, H_ENTER, line.c_str());
    if (!same)
        keep_line(line);
}

int Shell::run()
{
    if (!other_.open())
        return nobody(other_.peer());
    std::printf("%s: Tab proposes, help explains, exit leaves\n", other_.peer().name.c_str());
    int code = 0;
    std::string line;
    while (next_line(line)) {
        if (line.empty())
            continue;
        remember(line);
        code = other_.run(line);
        take_interrupt();
        std::fflush(stdout);
    }
    if (!is_farewell(line))
        std::fputs("\n", stdout);
    return code;
}

} // namespace

int type_lines(const Peer &peer, const RunOwn &own)
{
    std::setlocale(LC_CTYPE, "");
    return Shell(peer, own).run();
}

int read_lines(const Peer &peer, const RunOwn &own, bool json)
{
    Conversation other(peer, 0, own);
    if (!other.open())
        return nobody(peer);
    int code = 0;
    for (std::string line; std::getline(std::cin, line) && !is_farewell(without_blanks(line));)
        code = other.run(json ? line + " --json" : line);
    return code;
}

} // namespace kov_lab
