// The traces of a client as people at several terminals see them, and a pager's session while things change.
#include "real_lab.h"

#include <kov_host.h>

#include <algorithm>
#include <csignal>
#include <utility>

namespace
{

using namespace integration;
using Lines = std::vector<std::string>;

// A person at a terminal: runs a line, and sees what is printed and traced meanwhile.
class Terminal
{
public:
    Terminal(const std::string &dir, const std::string &name, std::uint32_t rows = 0)
        : session_(kov_host_session_open(dir.c_str(), name.c_str(), rows))
    {
        EXPECT_NE(session_, nullptr) << kov_host_error();
    }
    ~Terminal() { leave(); }
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    void leave() { kov_host_session_close(std::exchange(session_, nullptr)); }

    // Until the command has ended, or the pager asks.
    void run(const std::string &line)
    {
        output = {};
        EXPECT_EQ(kov_host_session_command(session_, line.c_str()), 0);
        listen();
    }
    void answer(bool more)
    {
        EXPECT_EQ(kov_host_session_answer(session_, more ? 1 : 0), 0);
        listen();
    }
    // Everything that was traced until now: frames come in order, and a command ends behind them.
    Lines traces()
    {
        run("help");
        return std::exchange(traces_, {});
    }

    std::string output;
    bool asked = false;
    int status = -100;

private:
    void listen()
    {
        asked = false;
        status = -100;
        kov_host_cli_event event{};
        while (!asked && status == -100) {
            ASSERT_EQ(kov_host_session_next(session_, 60'000, &event), 1) << kov_host_error();
            if (event.kind == KOV_HOST_CLI_OUTPUT)
                output.append(event.text, event.size);
            else if (event.kind == KOV_HOST_CLI_TRACE)
                traces_.emplace_back(event.text, event.size);
            else if (event.kind == KOV_HOST_CLI_MORE)
                asked = true;
            else
                status = event.status;
        }
    }

    kov_host_session *session_;
    Lines traces_;
};

class Terminals : public RealLab
{
protected:
    // What the library traces when a registered client asks it.
    Lines traces_of_a_question()
    {
        ask("-c arp get fabric-id");
        return {prefix_ + "Doing Cache based lookup for 1", prefix_ + "Reading fabric id: 7 from RDB"};
    }
    void serve_and_register()
    {
        serve();
        const Process &arp = client("arp");
        prefix_ = "kov_api [" + std::to_string(arp.pid()) + " arp]: ";
    }
    static void debug(Terminal &terminal, const char *how)
    {
        terminal.run(std::string("debug ") + how);
        EXPECT_EQ(terminal.status, 0) << terminal.output;
    }
    // As the library's report says. A line that is run may overtake the end of another session; the next one
    // does not.
    static std::string library_switch(Terminal &terminal)
    {
        terminal.run("help");
        terminal.run("show cache");
        const std::string label = "Api Debug                      : ";
        const std::size_t at = terminal.output.find(label);
        const std::size_t begin = at == std::string::npos ? 0 : at + label.size();
        return terminal.output.substr(begin, terminal.output.find('\n', begin) - begin);
    }

private:
    std::string prefix_;
};

// ------------------------------------------------------------------------------------------------- traces

TEST_F(Terminals, HaveASwitchEachAndTracesGoToAllThatAreOn)
{
    serve_and_register();
    Terminal one(runtime(), "arp");
    Terminal two(runtime(), "arp");
    Terminal three(runtime(), "arp");
    traces_of_a_question();
    EXPECT_EQ(one.traces(), Lines{});

    debug(one, "on");
    Lines lines = traces_of_a_question();
    EXPECT_EQ(one.traces(), lines);
    EXPECT_EQ(two.traces(), Lines{});

    debug(two, "on");
    debug(two, "on"); // is on
    lines = traces_of_a_question();
    EXPECT_EQ(one.traces(), lines);
    EXPECT_EQ(two.traces(), lines) << "once";
    EXPECT_EQ(three.traces(), Lines{});
}

TEST_F(Terminals, SwitchedOffLeaveTheOthersOn)
{
    serve_and_register();
    Terminal one(runtime(), "arp");
    Terminal two(runtime(), "arp");
    Terminal three(runtime(), "arp");
    debug(one, "on");
    debug(two, "on");
    debug(three, "off"); // is off
    debug(one, "off");
    const Lines lines = traces_of_a_question();
    EXPECT_EQ(one.traces(), Lines{});
    EXPECT_EQ(two.traces(), lines);
    debug(two, "off");
    traces_of_a_question();
    EXPECT_EQ(two.traces(), Lines{});
    EXPECT_EQ(library_switch(two), "Off");
}

TEST_F(Terminals, ThatLeaveTakeTheirSwitchesWithThem)
{
    serve_and_register();
    Terminal one(runtime(), "arp");
    Terminal two(runtime(), "arp");
    debug(one, "on");
    debug(two, "on");
    one.leave();
    EXPECT_EQ(two.traces(), Lines{}) << "their going is no trace";
    const Lines lines = traces_of_a_question();
    EXPECT_EQ(two.traces(), lines);
    two.leave();
    Terminal three(runtime(), "arp");
    traces_of_a_question();
    EXPECT_EQ(three.traces(), Lines{}) << "nor does a new one find any";
    debug(three, "on");
    const Lines again = traces_of_a_question();
    EXPECT_EQ(three.traces(), again);
}

TEST_F(Terminals, ThatAreTheLastToLeaveSwitchTheLibraryOff)
{
    serve_and_register();
    Terminal looking(runtime(), "arp");
    Terminal one(runtime(), "arp");
    Terminal two(runtime(), "arp");
    EXPECT_EQ(library_switch(looking), "Off");
    debug(one, "on");
    debug(two, "on");
    one.leave();
    EXPECT_EQ(library_switch(looking), "On") << "the other still wants traces";
    two.leave();
    EXPECT_EQ(library_switch(looking), "Off");
}

TEST_F(Terminals, OfAKovctlThatIsKilledLeaveTheLibraryOff)
{
    serve_and_register();
    Terminal looking(runtime(), "arp");
    for (const int end : {SIGINT, SIGKILL}) {
        const auto tracing = start("kovctl", {"-c", "arp", "debug", "on"});
        ASSERT_TRUE(tracing->says("traces of arp; Ctrl-C ends"));
        EXPECT_EQ(library_switch(looking), "On");
        tracing->signal(end);
        EXPECT_EQ(tracing->finish().status, end == SIGKILL ? 128 + SIGKILL : 0);
        EXPECT_EQ(library_switch(looking), "Off");
    }
}

TEST_F(Terminals, OfKovctlShowTracesUntilTheirCommandEnds)
{
    serve_and_register();
    const auto one = start("kovctl", {"-c", "arp", "debug", "on"});
    const auto two = start("kovctl", {"-c", "arp", "debug", "on", "--count", "1"});
    ASSERT_TRUE(one->says("traces of arp; Ctrl-C ends"));
    ASSERT_TRUE(two->says("traces of arp; Ctrl-C ends"));
    const std::string trace = traces_of_a_question().front();
    EXPECT_EQ(two->finish().status, 0);
    EXPECT_TRUE(two->finish().out.ends_with(trace + "\n")) << two->finish().out;
    EXPECT_TRUE(one->says(trace));
    one->signal(SIGINT);
    EXPECT_EQ(one->finish().status, 0);
}

// -------------------------------------------------------------------------------------------------- pager

// The client's report, page by page, while the server changes what it tells of.
TEST_F(Terminals, OfAPagerSurviveEveryChangeBetweenTwoPages)
{
    serve_and_register();
    const char *changes[] = {
        "set geninfo fabric_id=42",
        "del svi vlan10",
        "set svi vlan10 fwd_mode=proxy-gateway",
        "del geninfo",
        "set port eth1/6 tracking=on",
        "del port eth1/6",
        "set prefix red 10.99.0.0/16",
        "del prefix red 10.99.0.0/16",
        "set topology 100 suppress_arp_mode=l2",
    };
    int handled_before = 0;
    Terminal pager(runtime(), "arp", 6);
    for (const char *change : changes) {
        pager.run("show cache detail");
        ASSERT_TRUE(pager.asked);
        while (pager.asked && std::count(pager.output.begin(), pager.output.end(), '\n') < 30)
            pager.answer(true);
        const Result told = kovctl(change);
        EXPECT_EQ(told.status, 0) << change << ": " << told.err;
        ask("-c arp wait handled " + std::to_string(++handled_before));
        while (pager.asked)
            pager.answer(true);
        EXPECT_EQ(pager.status, 0) << change;
        EXPECT_TRUE(pager.output.ends_with("=\n")) << change;
        EXPECT_NE(pager.output.find("RDB Type                       : 6\n"), std::string::npos) << change;
    }
    expect_agreement("arp");
}

TEST_F(Terminals, OfAPagerThatIsStoppedOrLeftKeepTheReferencesOfTheVrfs)
{
    serve_and_register();
    const auto whole = [this] { return ask("-c arp show cache detail"); };
    const auto references = [&] {
        std::string text = whole();
        return text.substr(text.find("Vrf name"), 400);
    };
    const std::string before = references();
    for (const bool leaves : {false, true}) {
        Terminal pager(runtime(), "arp", 4);
        pager.run("show cache detail");
        while (pager.asked && pager.output.find("Aggregate-subnet-prefix") == std::string::npos)
            pager.answer(true);
        ASSERT_TRUE(pager.asked);
        if (leaves) {
            pager.leave();
        } else {
            pager.answer(false);
            EXPECT_EQ(pager.status, 0);
        }
        EXPECT_EQ(references(), before);
    }
}

} // namespace
