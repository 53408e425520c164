// Traces: which terminal gets which library's.
#include "host/host_test.h"

#include <kov/platform/dbgw.h>

#include <vector>

namespace
{

constexpr std::uint32_t library = 33;
constexpr std::uint32_t level = 1;

class Debug : public host_test::Host
{
protected:
    void SetUp() override { attach("arp"); }
    ~Debug() override { dbgw_library_dbg_disable(library, level, "stderr"); }

    // A session that has its terminal's name.
    kov_host_session *open_session()
    {
        kov_host_session *session = kov_host_session_open(dir(), "arp", 0);
        EXPECT_NE(session, nullptr) << kov_host_error();
        kov_host_cli_event event{};
        while (std::string(kov_host_session_terminal(session)).empty()) {
            run_ready();
            EXPECT_EQ(kov_host_session_next(session, 0, &event), 0);
        }
        return session;
    }

    std::vector<std::string> traces(kov_host_session *session)
    {
        run_ready();
        std::vector<std::string> lines;
        kov_host_cli_event event{};
        while (kov_host_session_next(session, 0, &event) == 1) {
            EXPECT_EQ(event.kind, static_cast<std::uint32_t>(KOV_HOST_CLI_TRACE));
            lines.emplace_back(event.text, event.size);
        }
        return lines;
    }

    static void trace(const char *text, const char *prefix = "kov_api [1]")
    {
        tracef_func(static_cast<int>(level), dbgw_dbg_modname, prefix, 0, "%s", text);
    }

    using Lines = std::vector<std::string>;
};

TEST_F(Debug, TheLibrarysNameIsElement67)
{
    EXPECT_STREQ(dbgw_lib_id_and_names[67], "kov_api");
    for (int i = 0; i < 68; ++i)
        EXPECT_NE(dbgw_lib_id_and_names[i], nullptr);
    EXPECT_NE(dbgw_dbg_modname, nullptr);
    EXPECT_EQ(std::string(dbgw_library_dbg_pid_and_tag), "[" + std::to_string(::getpid()) + " arp]");
}

TEST_F(Debug, TracesGoToTheTerminalsThatHaveThemOn)
{
    kov_host_session *first = open_session();
    kov_host_session *second = open_session();
    EXPECT_EQ(dbgw_library_chk_int(library, level), 0);
    EXPECT_EQ(dbgw_library_dbg_enable(library, level, kov_host_session_terminal(first)), 0);
    EXPECT_NE(dbgw_library_chk_int(library, level), 0);
    trace("one");
    EXPECT_EQ(traces(first), Lines{"kov_api [1]: one"});
    EXPECT_EQ(traces(second), Lines{});
    EXPECT_EQ(dbgw_library_dbg_enable(library, level, kov_host_session_terminal(second)), 0);
    trace("two");
    EXPECT_EQ(traces(first), Lines{"kov_api [1]: two"});
    EXPECT_EQ(traces(second), Lines{"kov_api [1]: two"});
    EXPECT_EQ(dbgw_library_dbg_disable(library, level, kov_host_session_terminal(first)), 0);
    EXPECT_NE(dbgw_library_chk_int(library, level), 0) << "still on at the second";
    trace("three");
    EXPECT_EQ(traces(first), Lines{});
    EXPECT_EQ(traces(second), Lines{"kov_api [1]: three"});
    EXPECT_EQ(dbgw_library_dbg_disable(library, level, kov_host_session_terminal(second)), 0);
    EXPECT_EQ(dbgw_library_chk_int(library, level), 0);
    kov_host_session_close(first);
    kov_host_session_close(second);
}

TEST_F(Debug, ATraceThatIsLongerThanAFrameEndsWithASignOfThat)
{
    constexpr std::size_t most = 32767; // of text in a frame
    kov_host_session *session = open_session();
    ASSERT_EQ(dbgw_library_dbg_enable(library, level, kov_host_session_terminal(session)), 0);
    const std::string whole(most - std::string("kov_api [1]: ").size(), 'x');
    trace(whole.c_str());
    EXPECT_EQ(traces(session), Lines{"kov_api [1]: " + whole});
    trace((whole + "y").c_str());
    EXPECT_EQ(traces(session), Lines{"kov_api [1]: " + whole.substr(4) + " …"});
    kov_host_session_close(session);
}

TEST_F(Debug, ATerminalThatLeavesTakesItsSwitchesWithIt)
{
    kov_host_session *session = open_session();
    const std::string terminal = kov_host_session_terminal(session);
    ASSERT_EQ(dbgw_library_dbg_enable(library, level, terminal.c_str()), 0);
    kov_host_session_close(session);
    run_ready();
    EXPECT_EQ(dbgw_library_chk_int(library, level), 0);
    EXPECT_NE(dbgw_library_dbg_enable(library, level, terminal.c_str()), 0);
}

TEST_F(Debug, WhoeverAskedHearsOfASessionsEndWhenItsSwitchesAreGone)
{
    static Lines ended;
    ended.clear();
    kov_host_on_session_end(
        [](const char *terminal, void *arg) {
            EXPECT_EQ(arg, &ended);
            ended.emplace_back(terminal);
            EXPECT_NE(dbgw_library_dbg_enable(library, level, terminal), 0) << "its terminal is gone";
            ended.emplace_back(dbgw_library_chk_int(library, level) != 0 ? "on" : "off");
        },
        &ended);
    kov_host_session *first = open_session();
    kov_host_session *second = open_session();
    kov_host_session *third = open_session();
    kov_host_session *unheard = open_session();
    const std::string names[] = {kov_host_session_terminal(first), kov_host_session_terminal(second),
                                 kov_host_session_terminal(third)};
    for (const std::string &name : names)
        ASSERT_EQ(dbgw_library_dbg_enable(library, level, name.c_str()), 0);
    kov_host_session_close(first);
    run_ready();
    EXPECT_EQ(ended, (Lines{names[0], "on"}));
    kov_host_session_close(second);
    trace("one"); // finds out that it has left
    EXPECT_EQ(ended, (Lines{names[0], "on", names[1], "on"}));
    kov_host_session_close(third);
    run_ready();
    EXPECT_EQ(ended, (Lines{names[0], "on", names[1], "on", names[2], "off"})) << "each once";
    kov_host_on_session_end(nullptr, nullptr);
    kov_host_session_close(unheard);
    run_ready();
    EXPECT_EQ(ended.size(), 6u);
}

TEST_F(Debug, DetachingEndsTheSessions)
{
    static int ended;
    ended = 0;
    kov_host_on_session_end([](const char *, void *) { ++ended; }, nullptr);
    kov_host_session *first = open_session();
    kov_host_session *second = open_session();
    kov_host_detach();
    EXPECT_EQ(ended, 2);
    kov_host_on_session_end(nullptr, nullptr);
    kov_host_session_close(first);
    kov_host_session_close(second);
}

// Nobody has noticed yet that the first session left; the trace does.
TEST_F(Debug, ATraceToATerminalThatLeftReachesTheOthers)
{
    kov_host_session *first = open_session();
    kov_host_session *second = open_session();
    ASSERT_EQ(dbgw_library_dbg_enable(library, level, kov_host_session_terminal(first)), 0);
    ASSERT_EQ(dbgw_library_dbg_enable(library, level, kov_host_session_terminal(second)), 0);
    const kov_host_counters before = counters();
    kov_host_session_close(first);
    trace("one");
    EXPECT_EQ(traces(second), Lines{"kov_api [1]: one"});
    EXPECT_EQ(counters().traces, before.traces + 1);
    EXPECT_EQ(counters().traces_dropped, before.traces_dropped + 1);
    kov_host_session_close(second);
}

TEST_F(Debug, StandardErrorIsATerminalThatIsAlwaysThere)
{
    ASSERT_EQ(dbgw_library_dbg_enable(library, level, "stderr"), 0);
    testing::internal::CaptureStderr();
    trace("one\n");
    trace("two");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "kov_api [1]: one\nkov_api [1]: two\n");
    kov_host_detach();
    EXPECT_NE(dbgw_library_chk_int(library, level), 0) << "not bound to the runtime directory";
}

TEST_F(Debug, UnknownTerminalsLibrariesAndLevelsAreRefused)
{
    const struct {
        std::uint32_t library;
        std::uint32_t level;
        const char *terminal;
    } rows[] = {{library, level, "vty-99"},     {library, level, ""},          {library, level, nullptr},
                {34, level, "stderr"},          {0xffffffff, level, "stderr"}, {library, 8, "stderr"},
                {library, 0xffffffff, "stderr"}};
    for (const auto &row : rows) {
        EXPECT_NE(dbgw_library_dbg_enable(row.library, row.level, row.terminal), 0);
        EXPECT_NE(dbgw_library_dbg_disable(row.library, row.level, row.terminal), 0);
        EXPECT_EQ(dbgw_library_chk_int(row.library, row.level), 0);
    }
}

TEST_F(Debug, ATraceOfAnotherLibraryOrLevelStaysAway)
{
    ASSERT_EQ(dbgw_library_dbg_enable(library, level, "stderr"), 0);
    EXPECT_EQ(dbgw_library_chk_int(library, 2), 0);
    EXPECT_EQ(dbgw_library_chk_int(32, level), 0);
    testing::internal::CaptureStderr();
    tracef_func(2, "m", "kov_api [1]", 0, "%s", "another level");
    tracef_func(-1, "m", "kov_api [1]", 0, "%s", "no level");
    tracef_func(99, "m", "kov_api [1]", 0, "%s", "no level");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Debug, ALongTraceArrivesWhole)
{
    kov_host_session *session = open_session();
    ASSERT_EQ(dbgw_library_dbg_enable(library, level, kov_host_session_terminal(session)), 0);
    const std::string text(20000, 'y');
    trace(text.c_str());
    EXPECT_EQ(traces(session), Lines{"kov_api [1]: " + text});
    kov_host_session_close(session);
}

TEST_F(Debug, ATerminalThatIsTooSlowLosesTracesAndSaysHowMany)
{
    kov_host_session *session = open_session();
    ASSERT_EQ(dbgw_library_dbg_enable(library, level, kov_host_session_terminal(session)), 0);
    const std::string text(10000, 'y');
    const std::uint64_t before = counters().traces_dropped;
    int sent = 0;
    while (counters().traces_dropped < before + 3) {
        trace(text.c_str());
        ++sent;
    }
    Lines lines = traces(session);
    for (Lines more = traces(session); !more.empty(); more = traces(session))
        lines.insert(lines.end(), more.begin(), more.end());
    EXPECT_EQ(lines.size(), static_cast<std::size_t>(sent) - 3);
    trace("after");
    EXPECT_EQ(traces(session), (Lines{"3 traces dropped", "kov_api [1]: after"}));
    kov_host_session_close(session);
}

} // namespace
