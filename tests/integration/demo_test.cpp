// The demo: it shows what it says, notices when it does not, and leaves nothing behind.
#include "real_lab.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace
{

using namespace integration;

class Demo : public RealLab
{
protected:
    // What the demo starts and does not end becomes a child of this process, where it is seen.
    Demo()
    {
        prctl(PR_SET_CHILD_SUBREAPER, 1);
        std::filesystem::create_directory(path("tmp"));
    }

    std::unique_ptr<Process> demo(const std::vector<std::string> &words = {}) const
    {
        std::vector<std::string> argv{source("lab/demo")};
        argv.insert(argv.end(), words.begin(), words.end());
        return std::make_unique<Process>(
            argv, Process::Environment{{"KOV_BIN", KOV_BIN_DIR}, {"TMPDIR", path("tmp")}});
    }
    void expect_nothing_left() const
    {
        EXPECT_TRUE(std::filesystem::is_empty(path("tmp"))) << "files";
        EXPECT_TRUE(all_have_ended()) << "processes";
    }
    // Of an interrupted demo a signalled program may be a moment behind the script.
    static bool all_have_ended()
    {
        pid_t ended = 0;
        for (int tries = 0; tries < 500 && ended >= 0; ++tries)
            if ((ended = waitpid(-1, nullptr, WNOHANG)) == 0)
                poll(nullptr, 0, 10);
        return ended < 0 && errno == ECHILD;
    }
    static std::size_t count(const std::string &text, const std::string &what)
    {
        std::size_t number = 0;
        for (std::size_t at = text.find(what); at != text.npos; at = text.find(what, at + 1))
            ++number;
        return number;
    }
};

TEST_F(Demo, ShowsThirteenStepsAndLeavesNothingBehind)
{
    const auto run = demo();
    const Result &result = run->finish();
    EXPECT_EQ(result.status, 0) << result.out << result.err;
    EXPECT_EQ(count(result.out, "✓"), 29u) << result.out;
    EXPECT_EQ(count(result.out, "✗"), 0u);
    EXPECT_NE(result.out.find("\n13. "), std::string::npos);
    EXPECT_TRUE(result.out.ends_with("\nEvery answer was the expected one.\n"));
    expect_nothing_left();
}

TEST_F(Demo, FailsWhenAnAnswerIsNotTheExpectedOne)
{
    std::string scenario = read(leaf());
    const std::string id = "\"fabric_id\": 7";
    scenario.replace(scenario.find(id), id.size(), "\"fabric_id\": 8");
    const auto run = demo({"--scenario", write("other.json", scenario)});
    const Result &result = run->finish();
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("✗ kov_get_fabric_id() = 8, from cache\n"
                              "     expected: kov_get_fabric_id() = 7, from cache\n"),
              std::string::npos)
        << result.out;
    EXPECT_EQ(count(result.out, "✗"), 2u);
    EXPECT_TRUE(result.out.ends_with("\n2 of the answers above are not what was expected.\n"));
    expect_nothing_left();
}

TEST_F(Demo, EndsWithTheServersReasonWhenThatDoesNotStart)
{
    const auto run = demo({"--scenario", write("bad.json", "{\"svis\": 1}")});
    const Result &result = run->finish();
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("✗ kovd: " + path("bad.json") + ":1: svis: must be a list of SVIs"),
              std::string::npos)
        << result.out << result.err;
    expect_nothing_left();
}

TEST_F(Demo, InterruptedLeavesNothingBehind)
{
    // A scenario that never comes keeps the demo at its first step.
    ASSERT_EQ(mkfifo(path("never").c_str(), 0600), 0);
    const auto run = demo({"--scenario", path("never")});
    ASSERT_TRUE(run->says("1. The server starts"));
    run->signal_group(SIGINT);
    EXPECT_EQ(run->finish().status, 130);
    expect_nothing_left();
}

TEST_F(Demo, StaysWhenItIsAskedToAndSaysHowToStop)
{
    const auto run = demo({"--stay"});
    const Result &result = run->finish();
    ASSERT_EQ(result.status, 0) << result.out << result.err;
    const std::size_t at = result.out.find("    kill ");
    ASSERT_NE(at, std::string::npos) << result.out;
    int agent = 0;
    int server = 0;
    char place[200] = "";
    ASSERT_EQ(std::sscanf(result.out.c_str() + at, " kill %d %d; rm -r %199s", &agent, &server, place), 3);
    EXPECT_EQ(ask("-d " + std::string(place) + "/run -c arp get fabric-id"),
              "kov_get_fabric_id() = 42, from cache\n");
    kill(agent, SIGTERM);
    waitpid(agent, nullptr, 0);
    kill(server, SIGTERM);
    waitpid(server, nullptr, 0);
    std::filesystem::remove_all(place);
    expect_nothing_left();
}

TEST_F(Demo, RefusesWhatItDoesNotKnow)
{
    EXPECT_EQ(demo({"--speed"})->finish().status, 2);
    EXPECT_EQ(demo({"--help"})->finish().status, 0);
    expect_nothing_left();
}

} // namespace
