// kovctl as a shell: lines that a person types, with history and completion, or that stand in a file.
#pragma once

#include "session.h"

#include <functional>
#include <optional>
#include <string>

namespace kov_lab
{

// Runs a line that is kovctl's own; nothing for one that is for the other end.
using RunOwn = std::function<std::optional<int>(const std::string &line)>;

// On a terminal. The prompt names the process; its traces appear above the line that is being typed. Each
// line is kept in $XDG_STATE_HOME/kov/history, or ~/.local/state/kov/history, when that can be written. A
// process that has gone is looked for again by the next line. The exit code is that of the last line.
int type_lines(const Peer &peer, const RunOwn &own);

// From the standard input until that ends; each answer as JSON if wanted. The exit code is that of the last
// line.
int read_lines(const Peer &peer, const RunOwn &own, bool json);

} // namespace kov_lab
