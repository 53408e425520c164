#include "real_lab.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace integration
{

RealLab::RealLab()
{
    std::string name = (std::filesystem::temp_directory_path() / "kov-test.XXXXXX").string();
    place_ = mkdtemp(name.data());
}

RealLab::~RealLab()
{
    processes_.clear();
    std::filesystem::remove_all(place_);
}

// Clients first: they have a server to take leave of.
void RealLab::TearDown()
{
    while (!processes_.empty()) {
        Process &process = *processes_.back();
        const Result &result = process.stop();
        EXPECT_EQ(result.status, 0) << "a process ended badly:\n" << result.out << result.err;
        processes_.pop_back();
    }
}

std::string RealLab::leaf() { return source("lab/scenarios/leaf.json"); }

std::string RealLab::source(const std::string &name) { return std::string(KOV_SOURCE_DIR) + "/" + name; }

std::string RealLab::write(const std::string &name, const std::string &text) const
{
    std::ofstream(path(name), std::ios::binary) << text;
    return path(name);
}

std::string RealLab::read(const std::string &file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::unique_ptr<Process> &RealLab::keep(std::unique_ptr<Process> process)
{
    processes_.push_back(std::move(process));
    return processes_.back();
}

Process &RealLab::serve(const std::string &scenario, const std::vector<std::string> &more)
{
    std::vector<std::string> words{"--scenario", scenario};
    words.insert(words.end(), more.begin(), more.end());
    Process &server = *keep(start("kovd", words));
    EXPECT_TRUE(server.says("serving")) << server.output();
    return server;
}

Process &RealLab::client(const std::string &name, const std::string &types)
{
    Process &agent = *keep(start("kov-agent", {"--name", name, "--types", types}));
    EXPECT_TRUE(agent.says("registered;")) << agent.output();
    return agent;
}

std::unique_ptr<Process> RealLab::frames() const
{
    auto terminal = start("kovctl", {"debug", "on"});
    EXPECT_TRUE(terminal->says("traces of kovd; Ctrl-C ends"));
    return terminal;
}

std::unique_ptr<Process> RealLab::start(const std::string &program,
                                        const std::vector<std::string> &words) const
{
    std::vector<std::string> argv{std::string(KOV_BIN_DIR) + "/" + program};
    argv.insert(argv.end(), words.begin(), words.end());
    return std::make_unique<Process>(argv, Process::Environment{{"KOV_HOST_DIR", runtime()}});
}

Result RealLab::run_lab(const std::string &program, const std::vector<std::string> &words) const
{
    return start(program, words)->finish();
}

Result RealLab::kovctl(const std::string &line) const { return run_lab("kovctl", words_of(line)); }

std::string RealLab::ask(const std::string &line) const
{
    const Result result = kovctl(line);
    EXPECT_EQ(result.status, 0) << "kovctl " << line << "\n" << result.out << result.err;
    return result.out;
}

void RealLab::handled(const std::string &client, int messages) const
{
    ask("-c " + client + " wait handled " + std::to_string(messages));
    expect_agreement(client);
}

void RealLab::expect_agreement(const std::string &client) const
{
    const Result audit = kovctl("audit -c " + client);
    EXPECT_EQ(audit.status, 0) << audit.out << audit.err;
}

std::string RealLab::status(const std::string &name, const std::string &of_client) const
{
    std::istringstream lines(ask(of_client.empty() ? "status" : "-c " + of_client + " status"));
    const std::string start = name + ": ";
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(start))
            return line.substr(start.size());
    return "(no " + name + ")";
}

void RealLab::forget(const Process &process)
{
    std::erase_if(processes_, [&](const auto &kept) { return kept.get() == &process; });
}

std::vector<std::string> words_of(const std::string &line)
{
    std::istringstream stream(line);
    return {std::istream_iterator<std::string>(stream), {}};
}

std::size_t lines_in(const std::string &text)
{
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

} // namespace integration
