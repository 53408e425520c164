// What the command line makes of words: completion, --json, --help, and commands that nobody knows.
#include <kov/platform/cli.h>
#include <kov_host.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <string>

namespace
{

using nlohmann::json;

struct Ran {
    int status;
    std::string text;
};

Ran run(const std::string &line)
{
    testing::internal::CaptureStdout();
    const int status = kov_host_command_run(line.c_str());
    std::fflush(stdout);
    return {status, testing::internal::GetCapturedStdout()};
}

std::string candidates(const std::string &line) { return run("complete " + line).text; }

int tell(void *cli, int argc, const char *const *, void *)
{
    cli_cmd_printf(cli, kov_host_cli_json(cli) != 0 ? "{\"words\": %d}\n" : "%d words\n", argc);
    return 0;
}

// Offers what a command with a name, an interface and a setting would.
void offer(void *cli, int argc, const char *const *argv, void *arg)
{
    EXPECT_EQ(argv[argc], nullptr);
    EXPECT_STREQ(static_cast<const char *>(arg), "paint");
    cli_cmd_printf(cli, argc == 1 ? "red\ngreen\ngrey\n" : "size=\nsize=small\nsize=large\nin=<svi>\n");
}

class CliWords : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        static char name[] = "paint";
        ASSERT_EQ(kov_host_command_add("paint wall", "COLOUR [SETTING...]: paints", tell, name), 0);
        ASSERT_EQ(kov_host_command_add("paint door", "paints another", tell, nullptr), 0);
        ASSERT_EQ(kov_host_command_offer("paint wall", offer, 1), 0);
    }
};

TEST_F(CliWords, ACommandsOwnWordsAreCompletedOneByOne)
{
    EXPECT_EQ(candidates("pai"), "paint\n");
    EXPECT_EQ(candidates("paint \"\""), "door\nwall\n");
    EXPECT_EQ(candidates("paint w"), "wall\n");
    EXPECT_EQ(candidates("paint x"), "");
    EXPECT_EQ(candidates("sh"), "show\n");
    EXPECT_NE(candidates("\"\"").find("help\n"), std::string::npos);
    EXPECT_NE(candidates("").find("paint\n"), std::string::npos) << "no word is a word not begun";
}

TEST_F(CliWords, TheArgumentsAreTheCommandsOwnBusiness)
{
    EXPECT_EQ(candidates("paint wall \"\""), "red\ngreen\ngrey\n");
    EXPECT_EQ(candidates("paint wall gr"), "green\ngrey\n");
    EXPECT_EQ(candidates("paint wall red size=s"), "size=small\n");
    EXPECT_EQ(candidates("paint wall red in=vl"), "in=<svi>\n") << "a kind is for the asker to resolve";
    EXPECT_EQ(candidates("paint wall --"), "--help\n--json\n");
    EXPECT_EQ(candidates("paint door --"), "--help\n") << "it offered no JSON";
    EXPECT_EQ(candidates("paint door \"\""), "") << "it offered no completion";
    EXPECT_EQ(candidates("nothing of this"), "");
}

TEST_F(CliWords, JsonIsAskedForInFrontOrBehind)
{
    EXPECT_EQ(run("paint wall red").text, "1 words\n");
    EXPECT_EQ(run("paint wall red --json").text, "{\"words\": 1}\n");
    EXPECT_EQ(run("--json paint wall red").text, "{\"words\": 1}\n");
    EXPECT_EQ(run("paint wall --json red").text, "2 words\n") << "in the middle it is a word like any other";
}

TEST_F(CliWords, JsonIsRefusedByACommandThatHasNone)
{
    const Ran refused = run("paint door --json");
    EXPECT_EQ(refused.status, -1);
    EXPECT_EQ(json::parse(refused.text)["error"],
              "'paint door' takes no --json: it prints text for people only");
    EXPECT_EQ(json::parse(run("frobnicate --json").text)["error"],
              "unknown command 'frobnicate'; help lists the commands");
}

TEST_F(CliWords, HelpIsGivenForACommandAndForItsBeginning)
{
    EXPECT_EQ(run("help paint").text, "paint door               paints another\n"
                                      "paint wall               COLOUR [SETTING...]: paints\n");
    EXPECT_EQ(run("paint wall red --help").text, "paint wall               COLOUR [SETTING...]: paints\n");
    EXPECT_EQ(run("paint --help").text, run("help paint").text);
    const Ran none = run("help dance");
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(none.text, "no command begins with 'dance'; help lists them all\n");
    const json list = json::parse(run("help paint --json").text)["commands"];
    EXPECT_EQ(list, json::parse(R"([{"command": "paint door", "help": "paints another"},
                                    {"command": "paint wall", "help": "COLOUR [SETTING...]: paints"}])"));
}

TEST_F(CliWords, AnUnknownCommandIsToldTheNearestOnes)
{
    EXPECT_EQ(run("piant wall").text,
              "unknown command 'piant wall'; did you mean paint wall? help lists the commands\n");
    EXPECT_EQ(run("paint dor red").text,
              "unknown command 'paint dor red'; did you mean paint door? help lists the commands\n");
    EXPECT_EQ(run("paint").text,
              "unknown command 'paint'; did you mean paint door, paint wall? help lists the commands\n");
    EXPECT_EQ(
        run("paint ceiling").text,
        "unknown command 'paint ceiling'; did you mean paint door, paint wall? help lists the commands\n");
    EXPECT_EQ(run("hlep").text, "unknown command 'hlep'; did you mean help? help lists the commands\n");
    EXPECT_EQ(run("x").text, "unknown command 'x'; help lists the commands\n");
}

TEST_F(CliWords, ShowHostIsForProgramsToo)
{
    const json shown = json::parse(run("show host --json").text);
    EXPECT_EQ(shown["name"], "");
    kov_host_counters now;
    kov_host_counters_get(&now);
    EXPECT_EQ(shown["commands"], now.commands);
    EXPECT_EQ(shown["ipc_sends"], now.ipc_sends);
    EXPECT_EQ(shown.size(), 19u);
}

TEST_F(CliWords, OnlyWhatIsThereCanOffer)
{
    EXPECT_EQ(kov_host_command_offer("dance", offer, 1), -1);
    EXPECT_STREQ(kov_host_error(), "there is no command 'dance'");
    EXPECT_EQ(kov_host_command_offer(nullptr, offer, 1), -1);
    EXPECT_EQ(kov_host_cli_json(nullptr), 0);
}

} // namespace
