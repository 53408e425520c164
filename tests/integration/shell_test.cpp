// kovctl on a terminal: a shell with history and completion, in which traces appear while one types.
#include "real_lab.h"
#include "terminal.h"

#include <csignal>
#include <memory>
#include <sys/stat.h>

namespace
{

using namespace integration;

class Shell : public RealLab
{
protected:
    std::unique_ptr<Terminal> shell(const std::string &line = "") const
    {
        std::vector<std::string> argv{std::string(KOV_BIN_DIR) + "/kovctl"};
        for (const std::string &word : words_of(line))
            argv.push_back(word);
        return std::make_unique<Terminal>(
            argv, std::map<std::string, std::string>{{"KOV_HOST_DIR", runtime()},
                                                     {"XDG_STATE_HOME", path("state")}});
    }
    static bool shows(Terminal &terminal, const std::string &text)
    {
        const std::string read = terminal.read_to(text);
        EXPECT_TRUE(read.ends_with(text)) << "wanted: " << text << "\nthere was: " << read;
        return read.ends_with(text);
    }
    // A line typed, its answer, and the next prompt.
    static void expect_answer(Terminal &terminal, const std::string &line, const std::string &answer,
                              const std::string &prompt = "kovd> ")
    {
        terminal.type(line + "\n");
        shows(terminal, answer);
        shows(terminal, prompt);
    }
    static constexpr const char *up = "\033[A";
};

TEST_F(Shell, RunsLinesInTheServerAndEndsWithTheLastCode)
{
    serve();
    const auto terminal = shell();
    shows(*terminal, "kovd> ");
    expect_answer(*terminal, "show port eth1/48", "l2dci                      on\r\n");
    expect_answer(*terminal, "del topology 999", "there is no topology 999; there are 10, 11");
    terminal->type("exit\n");
    terminal->read_to("");
    EXPECT_EQ(terminal->status(), 1);
}

TEST_F(Shell, RunsWhatIsKovctlsOwnHere)
{
    serve();
    client("arp");
    const auto terminal = shell();
    shows(*terminal, "kovd> ");
    expect_answer(*terminal, "get fwd-mode vlan10", "= Anycast Gateway, from database (1 read)\r\n");
    expect_answer(*terminal, "wait clients 1", "\r\n");
    expect_answer(*terminal, "watch --help", "types to register for");
    expect_answer(*terminal, "load x", "load needs -c NAME");
    const auto inside = shell("-c arp");
    shows(*inside, "arp> ");
    expect_answer(*inside, "get fwd-mode vlan10", "= Anycast Gateway, from cache\r\n", "arp> ");
    expect_answer(*inside, "audit", "no difference", "arp> ");
    inside->type("\004"); // the end of the input
    inside->read_to("");
    EXPECT_EQ(inside->status(), 0);
}

TEST_F(Shell, TabFinishesTheWordOrShowsTheChoice)
{
    serve();
    const auto terminal = shell();
    shows(*terminal, "kovd> ");
    expect_answer(*terminal, "sh\tsv\tvlan390\t", "gw_mac                     2020.0000.00aa");
    terminal->type("set svi vlan10 fwd_mode=\t");
    shows(*terminal, "fwd_mode=anycast-gateway");
    shows(*terminal, "fwd_mode=standard");
    terminal->type("sta\t\n");
    shows(*terminal, "fwd_mode anycast-gateway -> standard");
    shows(*terminal, "kovd> ");
}

TEST_F(Shell, UpRepeatsALineAlsoOfAnEarlierShell)
{
    serve();
    {
        const auto terminal = shell();
        shows(*terminal, "kovd> ");
        expect_answer(*terminal, "show port eth1/48", "l2dci                      on\r\n");
        terminal->type(std::string(up) + "\n");
        shows(*terminal, "show port eth1/48");
        shows(*terminal, "l2dci                      on\r\n");
        shows(*terminal, "kovd> ");
        terminal->type("exit\n");
        terminal->read_to("");
    }
    EXPECT_EQ(read(path("state/kov/history")), "show port eth1/48\n") << "a line repeated is kept once";
    struct stat file {
    };
    ASSERT_EQ(stat(path("state/kov/history").c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & 0777, 0600u);
    const auto later = shell();
    shows(*later, "kovd> ");
    later->type(std::string(up) + "\n");
    shows(*later, "show port eth1/48");
    shows(*later, "l2dci                      on\r\n");
}

TEST_F(Shell, DoesWithoutAHistoryThatCannotBeKept)
{
    serve();
    write("state", "a file where a folder belongs");
    const auto terminal = shell();
    shows(*terminal, "kovd> ");
    expect_answer(*terminal, "show port eth1/48", "l2dci                      on\r\n");
    terminal->type(std::string(up) + "\n");
    shows(*terminal, "l2dci                      on\r\n");
}

TEST_F(Shell, TracesAppearAboveTheLineThatIsBeingTyped)
{
    serve();
    client("arp");
    const auto first = shell("-c arp");
    const auto second = shell("-c arp");
    for (Terminal *terminal : {first.get(), second.get()}) {
        shows(*terminal, "arp> ");
        terminal->type("debug on\n");
        shows(*terminal, "debug on\r\n");
        shows(*terminal, "arp> ");
        terminal->type("get fabric");
        shows(*terminal, "get fabric");
    }
    ask("set prefix red 10.9.0.0/16");
    for (Terminal *terminal : {first.get(), second.get()}) {
        shows(*terminal, "VRF context red is added in cache\r\n");
        shows(*terminal, "arp> get fabric");
        terminal->type("-id\n");
        shows(*terminal, "kov_get_fabric_id() = 7, from cache\r\n");
        shows(*terminal, "arp> ");
    }
    first->type("debug off\n");
    shows(*first, "debug off\r\n");
    shows(*first, "arp> ");
    ask("del prefix red 10.9.0.0/16");
    shows(*second, "VRF context red is deleted from cache\r\n");
    first->type("get fabric-id\n");
    const std::string silent = first->read_to("from cache\r\n");
    EXPECT_EQ(silent.find("VRF context"), std::string::npos) << silent;
}

TEST_F(Shell, AnInterruptBeginsANewLine)
{
    serve();
    const auto terminal = shell();
    shows(*terminal, "kovd> ");
    terminal->type("del svi vlan10");
    shows(*terminal, "vlan10");
    terminal->type("\003");
    shows(*terminal, "^C\r\n");
    shows(*terminal, "kovd> ");
    expect_answer(*terminal, "show port eth1/48", "l2dci                      on\r\n");
    EXPECT_EQ(status("svis"), "40");
}

// A signal comes when it likes: while a key is waited for, and while the last one is still being shown.
TEST_F(Shell, NoInterruptIsMissed)
{
    serve();
    const auto terminal = shell();
    shows(*terminal, "kovd> ");
    for (int i = 0; i < 500; ++i) {
        SCOPED_TRACE(i);
        terminal->type("x");
        ASSERT_TRUE(shows(*terminal, "x"));
        terminal->type("\003");
        ASSERT_TRUE(shows(*terminal, "^C\r\n"));
        ASSERT_TRUE(shows(*terminal, "kovd> "));
    }
}

TEST_F(Shell, LooksForAProcessAgainThatHasGone)
{
    Process &first = serve();
    const auto terminal = shell();
    shows(*terminal, "kovd> ");
    first.stop();
    shows(*terminal, "kovd is gone; the next command looks for it again\r\n");
    shows(*terminal, "kovd> ");
    expect_answer(*terminal, "status", "no server in " + runtime() + ": start one with kovd");
    serve();
    expect_answer(*terminal, "show port eth1/48", "l2dci                      on\r\n");
}

TEST_F(Shell, ThePagersKeysNeedNoEnter)
{
    serve();
    const std::string kovctl = std::string(KOV_BIN_DIR) + "/kovctl";
    const std::string question = "--More-- (Space: go on, a: all, q: stop) ";
    Terminal stopped({kovctl, "list", "svis"}, {{"KOV_HOST_DIR", runtime()}}, 10);
    const std::size_t page = lines_in(stopped.read_to(question));
    EXPECT_GE(page, 5u);
    EXPECT_LT(page, 11u);
    stopped.type(" ");
    EXPECT_LT(lines_in(stopped.read_to(question)), 11u);
    stopped.type("q");
    EXPECT_LT(lines_in(stopped.read_to("")), 3u);
    EXPECT_EQ(stopped.status(), 0);
    Terminal all({kovctl, "list", "svis"}, {{"KOV_HOST_DIR", runtime()}}, 10);
    all.read_to(question);
    all.type("a");
    const std::string rest = all.read_to("");
    EXPECT_NE(rest.find("vlan3900"), std::string::npos);
    EXPECT_EQ(rest.find("--More--"), std::string::npos);
    EXPECT_EQ(all.status(), 0);
}

TEST_F(Shell, WithoutAServerThereIsNone)
{
    const auto terminal = shell();
    shows(*terminal, "start one with kovd --scenario FILE");
    EXPECT_EQ(terminal->status(), 3);
}

} // namespace
