// The command line on a socket: sessions, commands, the pager.
#include "host/host_test.h"
#include "host/raw_socket.h"

#include <kov/platform/cli.h>
#include <kov/platform/coop_sched.h>
#include <kov/platform/ipc.h>

#include <algorithm>
#include <cstring>
#include <sys/socket.h>
#include <vector>

namespace
{

using host_test::Child;
using Words = std::vector<std::string>;

// What the commands below were called with, and what they found.
struct Log {
    std::string command;
    Words words;
    bool detail = false;
    std::string terminal;
    int more = -1;
} last;

int record(void *cli, int argc, const char *const *argv, void *arg)
{
    last.command = static_cast<const char *>(arg);
    last.words.assign(argv, argv + argc);
    EXPECT_EQ(argv[argc], nullptr);
    last.detail = cli_is_set(cli, "detail") != 0;
    const char *terminal = nullptr;
    EXPECT_EQ(cli_get_string(cli, "_CLI_TTY_NAME_FIELD", &terminal), 0);
    last.terminal = terminal;
    return argc;
}

// Prints as many lines as its argument says and asks after each.
int count_lines(void *cli, int argc, const char *const *argv, void *)
{
    const int lines = argc > 0 ? std::atoi(argv[0]) : 0;
    for (int i = 1; i <= lines; ++i) {
        if (cli_cmd_printf(cli, "line %d\n", i) == 0)
            return 2;
        last.more = cli_more_output(cli);
        if (last.more == 0)
            return 1;
    }
    return 0;
}

int flood(void *cli, int, const char *const *, void *)
{
    const std::string part(100000, 'x');
    for (int i = 0; i < 50; ++i)
        if (cli_cmd_printf(cli, "%s", part.c_str()) == 0 || cli_more_output(cli) == 0)
            return 1;
    return 0;
}

// Prints without ever asking.
int babble(void *cli, int, const char *const *, void *)
{
    const std::string part(1000000, 'x');
    int printed = 0;
    while (printed < 100 && cli_cmd_printf(cli, "%s", part.c_str()) != 0)
        ++printed;
    last.more = printed;
    return 0;
}

int yields(void *cli, int, const char *const *, void *)
{
    coop_sched_yield();
    cli_cmd_printf(cli, "done\n");
    return 0;
}

class Session
{
public:
    Session(const char *dir, const char *name, std::uint32_t rows)
        : session_(kov_host_session_open(dir, name, rows))
    {
    }
    ~Session() { kov_host_session_close(session_); }
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
    kov_host_session *get() const { return session_; }
    std::string terminal() const { return kov_host_session_terminal(session_); }
    int command(const char *line) const { return kov_host_session_command(session_, line); }
    int answer(bool more) const { return kov_host_session_answer(session_, more ? 1 : 0); }
    void close() { kov_host_session_close(std::exchange(session_, nullptr)); }

    // The next event, while this same process serves the other end. Kind 0: gone.
    kov_host_cli_event next() const
    {
        kov_host_cli_event event{};
        for (;;) {
            while (kov_host_run_once(0) > 0) {
            }
            const int result = kov_host_session_next(session_, 0, &event);
            if (result == 1)
                return event;
            if (result < 0)
                return {};
        }
    }

    // Everything that a command prints; its status.
    struct Answer {
        std::string text;
        int status = -100;
        int questions = 0;
    };
    // The answers come while the loop runs, for a pager waits within it.
    Answer ask(const char *line, int pages = 1000)
    {
        EXPECT_EQ(command(line), 0);
        answer_ = {};
        pages_ = pages;
        const auto listen = [](int, std::uint32_t, void *self) { static_cast<Session *>(self)->listen(); };
        EXPECT_EQ(kov_host_fd_watch(kov_host_session_fd(session_), KOV_HOST_READ, listen, this), 0);
        EXPECT_EQ(kov_host_run(), 0);
        EXPECT_EQ(kov_host_fd_unwatch(kov_host_session_fd(session_)), 0);
        return answer_;
    }

private:
    void listen()
    {
        kov_host_cli_event event{};
        int result = 0;
        while ((result = kov_host_session_next(session_, 0, &event)) == 1) {
            if (event.kind == KOV_HOST_CLI_OUTPUT)
                answer_.text.append(event.text, event.size);
            else if (event.kind == KOV_HOST_CLI_MORE)
                answer(++answer_.questions < pages_);
            else if (event.kind == KOV_HOST_CLI_DONE) {
                answer_.status = event.status;
                kov_host_stop(0);
            }
        }
        if (result < 0)
            kov_host_stop(0);
    }

    kov_host_session *session_;
    Answer answer_;
    int pages_ = 0;
};

class Cli : public host_test::Host
{
protected:
    static void SetUpTestSuite()
    {
        static char show[] = "show";
        static char show_cache[] = "show cache";
        ASSERT_EQ(kov_host_command_add("show", "shows", record, show), 0);
        ASSERT_EQ(kov_host_command_add("show cache", "shows the cache", record, show_cache), 0);
        ASSERT_EQ(kov_host_command_add("count", "counts", count_lines, nullptr), 0);
        ASSERT_EQ(kov_host_command_add("flood", "prints 5 MB", flood, nullptr), 0);
        ASSERT_EQ(kov_host_command_add("babble", "prints 100 MB", babble, nullptr), 0);
        ASSERT_EQ(kov_host_command_add("yields", "lets others run", yields, nullptr), 0);
    }
    void SetUp() override
    {
        attach("arp");
        last = {};
    }
};

TEST_F(Cli, ALineRunsItsCommandWithItsArguments)
{
    Session session(dir(), "arp", 0);
    ASSERT_NE(session.get(), nullptr) << kov_host_error();
    const auto answer = session.ask("show svi vlan10  detail");
    EXPECT_EQ(answer.status, 3);
    EXPECT_EQ(last.command, "show");
    EXPECT_EQ(last.words, (Words{"svi", "vlan10", "detail"}));
    EXPECT_TRUE(last.detail);
}

TEST_F(Cli, TheLongestCommandThatBeginsTheLineIsRun)
{
    Session session(dir(), "arp", 0);
    session.ask("show cache");
    EXPECT_EQ(last.command, "show cache");
    EXPECT_TRUE(last.words.empty());
    EXPECT_FALSE(last.detail);
    session.ask("show caches");
    EXPECT_EQ(last.command, "show");
    EXPECT_EQ(last.words, Words{"caches"});
}

TEST_F(Cli, QuotesKeepBlanksInAWord)
{
    Session session(dir(), "arp", 0);
    session.ask("show \"a b\" c\"d e\"f \"\"");
    EXPECT_EQ(last.words, (Words{"a b", "cd ef", ""}));
    const auto open = session.ask("show \"a b");
    EXPECT_EQ(open.text, "a quote is not closed\n");
    EXPECT_EQ(open.status, -1);
}

TEST_F(Cli, AnUnknownCommandSaysSoAndAnEmptyLineDoesNothing)
{
    Session session(dir(), "arp", 0);
    const auto unknown = session.ask("frobnicate now");
    EXPECT_EQ(unknown.text, "unknown command 'frobnicate now'; help lists the commands\n");
    EXPECT_EQ(unknown.status, -1);
    const auto empty = session.ask("   ");
    EXPECT_EQ(empty.text, "");
    EXPECT_EQ(empty.status, 0);
}

TEST_F(Cli, HelpListsEveryCommandWithItsLine)
{
    Session session(dir(), "arp", 0);
    const auto help = session.ask("help");
    EXPECT_EQ(help.status, 0);
    for (const char *line :
         {"help                     [WORD...]: the commands of this process, or those that begin so\n",
          "show cache               shows the cache\n", "show host "})
        EXPECT_NE(help.text.find(line), std::string::npos) << line << "not in\n" << help.text;
}

TEST_F(Cli, ShowHostTellsNameDirectoryAndCounters)
{
    Session session(dir(), "arp", 0);
    const auto shown = session.ask("show host");
    EXPECT_NE(shown.text.find("Name                           : arp\n"), std::string::npos) << shown.text;
    EXPECT_NE(shown.text.find(std::string("Runtime directory              : ") + dir()), std::string::npos);
    EXPECT_NE(shown.text.find("Messages sent "), std::string::npos);
}

TEST_F(Cli, EachSessionIsATerminalOfItsOwn)
{
    Session first(dir(), "arp", 0);
    Session second(dir(), "arp", 0);
    first.ask("show");
    EXPECT_EQ(last.terminal, first.terminal());
    second.ask("show");
    EXPECT_EQ(last.terminal, second.terminal());
    EXPECT_FALSE(first.terminal().empty());
    EXPECT_NE(first.terminal(), second.terminal());
}

TEST_F(Cli, ACommandWithoutAFunctionOrWithATakenNameIsRefused)
{
    EXPECT_EQ(kov_host_command_add("show", "again", record, nullptr), -1);
    EXPECT_EQ(kov_host_command_add("help", "again", record, nullptr), -1);
    EXPECT_EQ(kov_host_command_add(" ", "blank", record, nullptr), -1);
    EXPECT_EQ(kov_host_command_add(nullptr, "null", record, nullptr), -1);
    EXPECT_EQ(kov_host_command_add("nothing", "null", nullptr, nullptr), -1);
}

TEST_F(Cli, ThePagerAsksWhenAScreenIsFull)
{
    Session session(dir(), "arp", 10);
    const auto all = session.ask("count 30");
    EXPECT_EQ(all.status, 0);
    EXPECT_EQ(all.questions, 3) << "9 lines a screen";
    EXPECT_EQ(std::count(all.text.begin(), all.text.end(), '\n'), 30);
}

TEST_F(Cli, NoIsAnAnswerToThePager)
{
    Session session(dir(), "arp", 10);
    const auto some = session.ask("count 30", 2);
    EXPECT_EQ(some.status, 1);
    EXPECT_EQ(last.more, 0);
    EXPECT_EQ(std::count(some.text.begin(), some.text.end(), '\n'), 18);
}

TEST_F(Cli, WithoutATerminalNobodyIsAsked)
{
    Session session(dir(), "arp", 0);
    const auto all = session.ask("count 5000");
    EXPECT_EQ(all.status, 0);
    EXPECT_EQ(all.questions, 0);
    EXPECT_EQ(std::count(all.text.begin(), all.text.end(), '\n'), 5000);
}

// The message is sent when the pager asks, and the answer given when the message has arrived.
TEST_F(Cli, WhileThePagerWaitsOthersRun)
{
    Session session(dir(), "arp", 5);
    kov_host_on_message([](const ipc_message *, void *arg) { static_cast<Session *>(arg)->answer(false); },
                        &session);
    ASSERT_EQ(session.command("count 10"), 0);
    const auto listen = [](int, std::uint32_t, void *arg) {
        kov_host_cli_event event{};
        while (kov_host_session_next(static_cast<Session *>(arg)->get(), 0, &event) == 1) {
            const auto self = static_cast<std::uint32_t>(ipc_sap_get(kov_host_ipc_handle()));
            if (event.kind == KOV_HOST_CLI_MORE) {
                EXPECT_EQ(ipc_send(kov_host_ipc_handle(), 0xfe000000u, self, 1, nullptr, 0, 0, 0, 0), 0);
            }
            if (event.kind == KOV_HOST_CLI_DONE)
                kov_host_stop(event.status);
        }
    };
    ASSERT_EQ(kov_host_fd_watch(kov_host_session_fd(session.get()), KOV_HOST_READ, listen, &session), 0);
    const std::uint64_t before = counters().ipc_receives;
    EXPECT_EQ(kov_host_run(), 1) << "the command was told to stop";
    EXPECT_EQ(counters().ipc_receives, before + 1);
    EXPECT_EQ(last.more, 0);
    EXPECT_EQ(kov_host_fd_unwatch(kov_host_session_fd(session.get())), 0);
}

TEST_F(Cli, ASessionThatLeavesWhileThePagerWaitsEndsItsCommand)
{
    Session session(dir(), "arp", 5);
    ASSERT_EQ(session.command("count 10"), 0);
    kov_host_timer_start(
        0, 1,
        [](int id, void *arg) {
            auto &leaving = *static_cast<Session *>(arg);
            kov_host_cli_event event{};
            while (leaving.get() != nullptr && kov_host_session_next(leaving.get(), 0, &event) == 1)
                if (event.kind == KOV_HOST_CLI_MORE)
                    leaving.close();
            if (leaving.get() == nullptr)
                kov_host_timer_stop(id);
        },
        &session);
    run_until([&] { return last.more == 0; });
    EXPECT_EQ(session.get(), nullptr);
    Session next(dir(), "arp", 0);
    EXPECT_EQ(next.ask("count 1").status, 0) << "the command line is still there";
}

TEST_F(Cli, StoppingTheLoopEndsAPagerThatWaits)
{
    Session session(dir(), "arp", 5);
    ASSERT_EQ(session.command("count 10"), 0);
    kov_host_timer_start(
        0, 1,
        [](int, void *arg) {
            kov_host_cli_event event{};
            while (kov_host_session_next(static_cast<Session *>(arg)->get(), 0, &event) == 1)
                if (event.kind == KOV_HOST_CLI_MORE)
                    kov_host_stop(3);
        },
        &session);
    EXPECT_EQ(kov_host_run(), 3);
    EXPECT_EQ(last.more, 0);
}

TEST_F(Cli, ManyMegabytesArriveWhole)
{
    // the reader is another process, since a reader in this one would wait for itself
    kov_host_detach();
    Child reader([where = directory.path()](const Child::Side &test) {
        test.hear();
        kov_host_session *session = kov_host_session_open(where.c_str(), "arp", 0);
        if (session == nullptr || kov_host_session_command(session, "flood") != 0)
            return 1;
        kov_host_cli_event event{};
        std::size_t size = 0;
        while (kov_host_session_next(session, -1, &event) == 1 && event.kind != KOV_HOST_CLI_DONE)
            size += static_cast<std::size_t>(std::count(event.text, event.text + event.size, 'x'));
        test.tell(static_cast<std::int64_t>(size));
        return event.kind == KOV_HOST_CLI_DONE && event.status == 0 ? 0 : 2;
    });
    attach("arp");
    reader.go();
    // run until the reader has told its size: its pipe is then readable
    struct Told {
        static void stop(int, std::uint32_t, void *) { kov_host_stop(0); }
    };
    ASSERT_EQ(kov_host_fd_watch(reader.from(), KOV_HOST_READ, Told::stop, nullptr), 0);
    EXPECT_EQ(kov_host_run(), 0);
    EXPECT_EQ(kov_host_fd_unwatch(reader.from()), 0);
    EXPECT_EQ(reader.next(), 5000000);
    EXPECT_EQ(reader.wait(), 0);
}

TEST_F(Cli, AReaderThatNeverReadsIsCutOffAndTheCommandEnds)
{
    Session session(dir(), "arp", 0);
    ASSERT_EQ(session.command("babble"), 0);
    run_until([&] { return last.more > 0; });
    EXPECT_LT(last.more, 100) << "printing said that the output is gone";
    EXPECT_GE(last.more, 16);
}

TEST_F(Cli, LinesTypedAheadRunInTheirOrder)
{
    Session session(dir(), "arp", 0);
    for (const char *line : {"count 1", "count 2", "yields", "frobnicate"})
        ASSERT_EQ(session.command(line), 0);
    std::string text;
    std::vector<int> statuses;
    while (statuses.size() < 4) {
        const kov_host_cli_event event = session.next();
        ASSERT_NE(event.kind, 0u);
        if (event.kind == KOV_HOST_CLI_OUTPUT)
            text.append(event.text, event.size);
        else
            statuses.push_back(event.status);
    }
    EXPECT_EQ(text, "line 1\nline 1\nline 2\ndone\nunknown command 'frobnicate'; help lists the commands\n");
    EXPECT_EQ(statuses, (std::vector<int>{0, 0, 0, -1}));
}

TEST_F(Cli, WhoDoesNotKeepToTheFramesIsCutOff)
{
    const std::string frames[] = {
        "x",                         // no such frame
        "chelp",                     // no hello first
        "h",                         // a hello without a body
        std::string("h\x02\0\0", 4), // another version
        std::string(40000, 'h'),     // longer than a frame
    };
    for (const std::string &frame : frames) {
        const auto peer = host_test::RawSocket::connected_to(directory / "cli/arp.sock");
        peer.send(frame);
        run_ready();
        char byte = 0;
        errno = 0;
        EXPECT_LE(::recv(peer.fd(), &byte, 1, MSG_DONTWAIT), 0);
        EXPECT_NE(errno, EAGAIN) << "still open after " << frame.substr(0, 10);
    }
}

TEST_F(Cli, ASessionWithNobodySaysSo)
{
    EXPECT_EQ(kov_host_session_open(dir(), "nobody", 0), nullptr);
    EXPECT_EQ(std::string(kov_host_error()), std::string("no process nobody is attached to ") + dir());
    EXPECT_EQ(kov_host_session_open(dir(), "../x", 0), nullptr);
    EXPECT_EQ(kov_host_session_open(dir(), nullptr, 0), nullptr);
    kov_host_session_close(nullptr);
    kov_host_cli_event event{};
    EXPECT_EQ(kov_host_session_next(nullptr, 0, &event), -1);
    EXPECT_EQ(kov_host_session_command(nullptr, "x"), -1);
    EXPECT_EQ(kov_host_session_fd(nullptr), -1);
}

TEST_F(Cli, ASessionLearnsThatItsProcessEnded)
{
    Session session(dir(), "arp", 0);
    session.ask("count 1");
    kov_host_detach();
    kov_host_cli_event event{};
    EXPECT_EQ(kov_host_session_next(session.get(), -1, &event), -1);
}

TEST_F(Cli, ALineTooLongForAFrameIsRefused)
{
    Session session(dir(), "arp", 0);
    EXPECT_EQ(session.command(std::string(40000, 'a').c_str()), -1);
    EXPECT_EQ(session.ask("count 1").status, 0);
}

TEST_F(Cli, ACommandRunFromWithinPrintsToStdout)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(kov_host_command_run("count 2"), 0);
    EXPECT_EQ(kov_host_command_run("frobnicate"), -1);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "line 1\nline 2\nunknown command 'frobnicate'; help lists the commands\n");
    EXPECT_EQ(kov_host_command_run("show"), 0);
    EXPECT_EQ(last.terminal, "stderr");
    EXPECT_EQ(kov_host_command_run(nullptr), -1);
}

int tell_all(void *cli, int argc, const char *const *argv, void *arg)
{
    const char *terminal = nullptr;
    EXPECT_EQ(argc, 0);
    EXPECT_EQ(argv[0], nullptr);
    EXPECT_EQ(cli_get_string(cli, "_CLI_TTY_NAME_FIELD", &terminal), 0);
    EXPECT_STREQ(terminal, "");
    EXPECT_EQ(cli_is_set(cli, "detail"), 0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(cli_cmd_printf(cli, "%s %d\n", static_cast<const char *>(arg), i), 1u);
        EXPECT_EQ(cli_more_output(cli), 1);
    }
    return 1;
}

TEST_F(Cli, ACommandsTextCanBeHadWithoutASession)
{
    char word[] = "line";
    const std::uint64_t commands = counters().commands;
    EXPECT_STREQ(kov_host_command_text(tell_all, 0, nullptr, word), "line 0\nline 1\nline 2\n");
    const auto say_nothing = [](void *, int, const char *const *, void *) { return 0; };
    EXPECT_STREQ(kov_host_command_text(say_nothing, 0, nullptr, nullptr), "");
    const auto repeat = [](void *cli, int argc, const char *const *argv, void *) {
        for (int i = 0; i < argc; ++i)
            cli_cmd_printf(cli, "%s %d\n", argv[i], cli_is_set(cli, argv[i]));
        return argv[argc] == nullptr ? 0 : 1;
    };
    const char *const words[] = {"detail", "all"};
    EXPECT_STREQ(kov_host_command_text(repeat, 2, words, nullptr), "detail 1\nall 1\n");
    EXPECT_STREQ(kov_host_command_text(repeat, 1, words, nullptr), "detail 1\n");
    EXPECT_EQ(counters().commands, commands) << "nobody typed it";
}

} // namespace
