// A report on terminals of many sizes: each line of it was on the screen, above a question.
#include "real_lab.h"
#include "terminal.h"

#include <csignal>
#include <memory>
#include <sched.h>
#include <sstream>

namespace
{

using namespace integration;
using Pages = std::vector<std::string>;

const std::string clear_question = "\r\033[K";

// As it was before the terminal made each newline two characters.
std::string plain(std::string text)
{
    std::erase(text, '\r');
    return text;
}

std::size_t rows_of(const std::string &text, std::size_t columns)
{
    std::istringstream lines(text);
    std::size_t rows = 0;
    for (std::string line; std::getline(lines, line);)
        rows += line.empty() ? 1 : (line.size() + columns - 1) / columns;
    return rows;
}

class Pager : public RealLab
{
protected:
    std::unique_ptr<Terminal> kovctl_at(unsigned short rows, unsigned short columns,
                                        const std::string &line = "-c arp show cache detail") const
    {
        std::vector<std::string> argv{std::string(KOV_BIN_DIR) + "/kovctl"};
        for (const std::string &word : words_of(line))
            argv.push_back(word);
        return std::make_unique<Terminal>(argv,
                                          std::map<std::string, std::string>{
                                              {"KOV_HOST_DIR", runtime()}, {"XDG_STATE_HOME", path("state")}},
                                          rows, columns);
    }
    // What is above the next question, or the end; false for that.
    static bool read_page(Terminal &terminal, std::string &page)
    {
        const std::string question = "--More--";
        page = terminal.read_to(question);
        const bool asked = page.ends_with(question);
        if (asked)
            page.resize(page.size() - question.size());
        if (const std::size_t at = page.find(clear_question); at != std::string::npos)
            page.erase(0, at + clear_question.size()); // the rest of the last question
        page = plain(page);
        return asked;
    }
    // All pages; the last has no question.
    static Pages read_pages(Terminal &terminal)
    {
        Pages pages(1);
        while (read_page(terminal, pages.back())) {
            terminal.type(" ");
            pages.emplace_back();
        }
        return pages;
    }
};

TEST_F(Pager, ShowsEachLineAboveSomeQuestion)
{
    serve();
    client("arp");
    const std::string report = ask("-c arp show cache detail");
    const struct {
        unsigned short rows;
        unsigned short columns;
    } screens[] = {{24, 80}, {12, 80}, {24, 40}, {12, 20}};
    for (const auto &screen : screens) {
        SCOPED_TRACE(std::to_string(screen.rows) + " rows of " + std::to_string(screen.columns));
        const std::size_t room = screen.rows - 1u;
        const auto terminal = kovctl_at(screen.rows, screen.columns);
        const Pages pages = read_pages(*terminal);
        EXPECT_EQ(terminal->status(), 0);
        ASSERT_GT(pages.size(), 10u);
        std::string all;
        for (std::size_t i = 0; i < pages.size(); ++i) {
            EXPECT_LE(rows_of(pages[i], screen.columns), room) << pages[i];
            all += pages[i];
            if (i + 1 == pages.size())
                break;
            const std::string next = pages[i + 1].substr(0, pages[i + 1].find('\n') + 1);
            EXPECT_GT(rows_of(pages[i] + next, screen.columns), room) << "it had room for the next line";
        }
        EXPECT_EQ(all, report);
    }
}

TEST_F(Pager, MeasuresTheScreenForEachPage)
{
    serve();
    client("arp");
    const std::string report = ask("-c arp show cache detail");
    const auto terminal = kovctl_at(24, 80);
    std::string pages[4];
    const unsigned short rows[] = {24, 12, 30, 5};
    for (std::size_t i = 0; i < 4; ++i) {
        ASSERT_TRUE(read_page(*terminal, pages[i]));
        EXPECT_EQ(rows_of(pages[i], 80), rows[i] - 1u) << pages[i];
        if (i < 3)
            terminal->resize(rows[i + 1], 80);
        terminal->type(i < 3 ? " " : "q");
    }
    EXPECT_TRUE(report.starts_with(pages[0] + pages[1] + pages[2] + pages[3]));
    EXPECT_TRUE(terminal->read_to("").ends_with(clear_question));
    EXPECT_EQ(terminal->status(), 0);
}

TEST_F(Pager, OfAShellFollowsItsScreen)
{
    serve();
    const auto terminal = kovctl_at(24, 200, "");
    terminal->read_to("kovd> ");
    terminal->resize(8, 200);
    terminal->type("list svis\n");
    terminal->read_to("list svis\r\n");
    std::string page;
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(read_page(*terminal, page));
        EXPECT_EQ(lines_in(page), 7u) << page;
        terminal->type(" ");
    }
    ASSERT_TRUE(read_page(*terminal, page));
    terminal->type("a");
    const std::string rest = terminal->read_to("kovd> ");
    EXPECT_NE(rest.find("vlan3900"), std::string::npos);
    EXPECT_EQ(rest.find("--More--"), std::string::npos);
    terminal->type("list svis\n");
    ASSERT_TRUE(read_page(*terminal, page)) << "\"all\" was said of one command";
    terminal->type("\003");
    EXPECT_TRUE(terminal->read_to("kovd> ").ends_with(clear_question + "kovd> "));
}

// What runs meanwhile takes turns on one processor: who has been woken goes first.
class OneProcessor
{
public:
    OneProcessor()
    {
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(static_cast<std::size_t>(sched_getcpu()), &one);
        sched_getaffinity(0, sizeof before_, &before_);
        sched_setaffinity(0, sizeof one, &one);
    }
    ~OneProcessor() { sched_setaffinity(0, sizeof before_, &before_); }
    OneProcessor(const OneProcessor &) = delete;
    OneProcessor &operator=(const OneProcessor &) = delete;

private:
    cpu_set_t before_{};
};

// A person may be quicker than a program: the key that is down when the question shows is its answer.
TEST_F(Pager, TakesAKeyFromTheMomentItAsks)
{
    serve();
    const OneProcessor shared;
    const auto terminal = kovctl_at(2, 200, "list svis");
    std::string page;
    for (int i = 0; i < 40; ++i) {
        ASSERT_TRUE(read_page(*terminal, page));
        ASSERT_TRUE(terminal->gives_keys()) << "at question " << i;
        terminal->type(" ");
    }
    EXPECT_FALSE(read_page(*terminal, page));
    EXPECT_EQ(terminal->status(), 0);
}

// The report is made page by page: what is behind the first question has not been looked at yet.
TEST_F(Pager, LetsTheClientGoOnBetweenTwoPages)
{
    serve();
    client("arp");
    ASSERT_EQ(ask("-c arp show cache detail").find("10.99.0.0"), std::string::npos);
    const auto terminal = kovctl_at(12, 80);
    std::string page;
    ASSERT_TRUE(read_page(*terminal, page));
    ask("set prefix red 10.99.0.0/16");
    ask("-c arp wait handled 1");
    terminal->type("a");
    const std::string rest = terminal->read_to("");
    EXPECT_NE(rest.find("10.99.0.0"), std::string::npos);
    EXPECT_EQ(terminal->status(), 0);
}

TEST_F(Pager, SaysOnALineOfItsOwnThatTheOtherEndIsGone)
{
    serve();
    for (const char *key : {" ", "a", "q"}) {
        SCOPED_TRACE(key);
        Process &arp = client("arp");
        const auto terminal = kovctl_at(5, 80);
        std::string page;
        ASSERT_TRUE(read_page(*terminal, page));
        arp.signal(SIGKILL);
        arp.finish();
        forget(arp);
        terminal->type(key);
        while (read_page(*terminal, page))
            terminal->type(key);
        const std::string message = "kovctl: the other end is gone before it has answered\n";
        EXPECT_TRUE(page == message || page.ends_with("\n" + message)) << page;
        EXPECT_EQ(terminal->status(), 3);
    }
}

TEST_F(Pager, AsksNobodyWhereNoPersonReads)
{
    serve();
    const std::string list = ask("list svis");
    EXPECT_EQ(lines_in(list), 41u);
    EXPECT_EQ(list.find("--More--"), std::string::npos);
}

} // namespace
