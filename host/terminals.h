// Terminals that traces can go to. "stderr" is always there; a command-line session adds itself while it
// lasts. A terminal that goes takes its debug switches with it.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace kov_host
{

// Gets one line without its newline. False: the terminal was too slow and the line is dropped.
using TraceFn = std::function<bool(std::string_view line)>;

void add_terminal(const std::string &name, TraceFn fn);
void remove_terminal(const std::string &name);

// What dbgw_library_dbg_pid_and_tag says.
void set_trace_tag(const std::string &tag);

} // namespace kov_host
