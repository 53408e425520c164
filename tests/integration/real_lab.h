// The fixture of the integration tests: a runtime directory of its own, real processes in it, and verbs.
//
//     serve();                                   // kovd with the leaf scenario
//     Process &arp = client("arp");              // kov-agent, registered
//     EXPECT_EQ(kovctl("-c arp get fabric-id").out, "kov_get_fabric_id() = 7, from cache\n");
//
// Tear-down stops every process, demands that each ended well, and removes the directory.
#pragma once

#include "process.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace integration
{

class RealLab : public testing::Test
{
protected:
    RealLab();
    ~RealLab() override;
    void TearDown() override;

    // A file or a directory in the test's own directory.
    std::string path(const std::string &name) const { return (place_ / name).string(); }
    std::string runtime() const { return path("run"); }
    static std::string leaf();
    static std::string source(const std::string &name); // of the tree
    std::string write(const std::string &name, const std::string &text) const;
    static std::string read(const std::string &file);

    // kovd, ready. More options may follow.
    Process &serve(const std::string &scenario = leaf(), const std::vector<std::string> &more = {});
    // kov-agent, registered.
    Process &client(const std::string &name, const std::string &types = "4-20");
    // The server's frames at a terminal, from here on.
    std::unique_ptr<Process> frames() const;
    // A program of the lab with these words, started or run to its end.
    std::unique_ptr<Process> start(const std::string &program, const std::vector<std::string> &words) const;
    Result run_lab(const std::string &program, const std::vector<std::string> &words) const;
    // kovctl with a line of words.
    Result kovctl(const std::string &line) const;
    // As kovctl, and it must succeed; its output.
    std::string ask(const std::string &line) const;
    // Demands that the client's cache says what the database says.
    void expect_agreement(const std::string &client) const;
    // Waits until the client has handled so many messages, and demands the same.
    void handled(const std::string &client, int messages) const;
    // One "name: value" of a status.
    std::string status(const std::string &name, const std::string &of_client = "") const;

    // Forgets a process that has ended, however it did.
    void forget(const Process &process);

private:
    std::unique_ptr<Process> &keep(std::unique_ptr<Process> process);

    std::filesystem::path place_;
    std::vector<std::unique_ptr<Process>> processes_; // the server first
};

std::vector<std::string> words_of(const std::string &line);
std::size_t lines_in(const std::string &text);

} // namespace integration
