#include "stats_watch.h"

#include "pager.h"
#include "screen.h"
#include "stats.h"

#include <kov_host.h>

#include <cstdio>
#include <ctime>
#include <unistd.h>

namespace kov_lab
{
namespace
{

// The exit code, 0 with a look in `out`; nothing when the process is gone or a signal came.
std::optional<int> look_at(kov_host_session *session, std::optional<Stats> &out)
{
    std::string output;
    const std::optional<int> status = run_line(session, "stats --json", output);
    if (!status)
        return std::nullopt;
    out = parse_stats(output);
    if (*status == 0 && out)
        return 0;
    std::fputs(*status == 0 ? "kovctl: the answer is no stats\n" : output.c_str(), stderr);
    return *status == 0 ? 1 : exit_code(*status);
}

// Over what stands on the screen, line by line, so that nothing flickers, and no more than it has room for,
// so that nothing scrolls.
std::string in_place(const std::string &page)
{
    std::string text = "\033[H";
    for (const char c : cut_to(page, above_last_row(screen_now())))
        text += c == '\n' ? "\033[K\n" : std::string(1, c);
    return text + "\033[J";
}

class Pages
{
public:
    Pages(const StatsOptions &options, bool watching)
        : json_(options.json), watching_(watching),
          terminal_(watching && !json_ && isatty(STDOUT_FILENO) != 0)
    {
    }

    // What a terminal shows behind an interrupt begins on a line of its own.
    ~Pages()
    {
        if (terminal_ && stopped())
            std::puts("");
    }
    Pages(const Pages &) = delete;
    Pages &operator=(const Pages &) = delete;

    void show(const Stats &now)
    {
        const bool first = !before_;
        if (watching_ && first && !json_)
            before_ = now;
        const Stats *before = before_ ? &*before_ : nullptr;
        const std::string page = json_ ? stats_json(now, before) : stats_text(now, before);
        Pager pager(!watching_ && !json_ && terminal_rows() != 0);
        if (terminal_)
            pager.add(in_place(now.client + ", each second; Ctrl-C ends\n\n" + page));
        else
            pager.add((first || json_ ? "" : "\n") + page);
        pager.finish(stdout);
        std::fflush(stdout);
        before_ = now;
    }

private:
    bool json_;
    bool watching_;
    bool terminal_;
    std::optional<Stats> before_;
};

// A second, or until a signal comes.
void rest()
{
    const timespec second{1, 0};
    nanosleep(&second, nullptr);
}

} // namespace

int show_stats(const Peer &peer, const StatsOptions &options)
{
    const Session session = open_session(peer, 0);
    if (session == nullptr)
        return nobody(peer);
    stop_on_signals();
    const bool watching = options.watch || options.count != 0;
    Pages pages(options, watching);
    std::optional<Stats> now;
    for (unsigned shown = 0; !stopped(); rest()) {
        const std::optional<int> status = look_at(session.get(), now);
        if (!status)
            return stopped() ? 0 : gone(peer.name);
        if (*status != 0)
            return *status;
        pages.show(*now);
        if (!watching || ++shown == options.count)
            return 0;
    }
    return 0;
}

} // namespace kov_lab
