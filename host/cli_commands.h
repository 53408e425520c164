// The commands of a process, and one running command.
//
// The registry outlives attachments. A CliContext is what the platform's cli_* calls get as their `cli`; it
// lives as long as its command runs, and its Output as long as the session that the command came from.
#pragma once

#include "kov_host.h"

#include <nlohmann/json_fwd.hpp>

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kov_host
{

// Where a command's output goes.
class Output
{
public:
    virtual ~Output() = default;
    // False once the reader is gone.
    virtual bool write(std::string_view text) = 0;
    // Whether to go on; may ask a person and run other callbacks meanwhile.
    virtual bool more() = 0;
    virtual const std::string &terminal() const = 0;
};

// Keeps what a command prints. Its terminal has no name, so that no trace can be switched on for it.
class Kept final : public Output
{
public:
    bool write(std::string_view text) override
    {
        text_ += text;
        return true;
    }
    bool more() override { return true; }
    const std::string &terminal() const override { return terminal_; }
    const std::string &text() const { return text_; }

private:
    std::string text_;
    std::string terminal_;
};

struct CliContext {
    Output &output;
    std::vector<std::string> words; // the arguments, without the command's own words
    bool json = false;              // the answer is for a program
};

constexpr int unknown_command = -1;

// Runs a line; reports an unknown or malformed one on the output. An empty line does nothing. A first or last
// word "--json" and a last word "--help" are taken off here, for all commands.
int run_command(const std::string &line, Output &output);

int add_command(const char *name, const char *help, kov_host_command_fn fn, void *arg);
int offer(const char *name, kov_host_complete_fn complete, bool json);

struct Command {
    std::string help;
    kov_host_command_fn fn;
    void *arg;
    kov_host_complete_fn complete = nullptr;
    bool json = false;
};

using CommandNames = std::vector<std::vector<std::string>>;

// By their words, so that the longest match can be looked up.
std::map<std::vector<std::string>, Command> &commands();
std::map<std::vector<std::string>, Command> built_in_commands();
CommandNames command_names();

// Takes the command's own words from the front of `words`. A copy: a command may add commands while it runs.
std::optional<Command> take_command(std::vector<std::string> &words);

// The texts, and the null behind them.
std::vector<const char *> argv_of(const std::vector<std::string> &words);

// A value as it is printed: whatever bytes a peer has named something with, the text is ASCII.
std::string json_text(const nlohmann::ordered_json &value);

// The words of a line: separated by blanks, or between double quotes. False: a quote is not closed.
bool split_line(std::string_view line, std::vector<std::string> &words);

// ---- For who types (cli_words.cpp) ------------------------------------------------------------------------

// The commands that a line nobody knows may have meant: those that differ in a letter or two; failing that
// those that begin with the same word.
std::vector<std::string> nearest(const CommandNames &commands, const std::vector<std::string> &line);

// The words that may follow `given` as the next of a command's own, those that begin with `partial`.
std::vector<std::string> next_words(const CommandNames &commands, const std::vector<std::string> &given,
                                    const std::string &partial);

// Whether what is typed may become the candidate. One like "iif=<svi>" stands for many.
bool may_become(const std::string &candidate, const std::string &partial);

std::string joined(const std::vector<std::string> &words, const char *between = " ");

} // namespace kov_host
