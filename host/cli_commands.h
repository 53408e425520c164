// The commands of a process, and one running command.
//
// The registry outlives attachments. A CliContext is what the platform's cli_* calls get as their `cli`; it
// lives as long as its command runs, and its Output as long as the session that the command came from.
#pragma once

#include "kov_host.h"

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

struct CliContext {
    Output &output;
    std::vector<std::string> words; // the arguments, without the command's own words
};

constexpr int unknown_command = -1;

// Runs a line; reports an unknown or malformed one on the output. An empty line does nothing.
int run_command(const std::string &line, Output &output);

int add_command(const char *name, const char *help, kov_host_command_fn fn, void *arg);

// The words of a line: separated by blanks, or between double quotes. False: a quote is not closed.
bool split_line(std::string_view line, std::vector<std::string> &words);

} // namespace kov_host
