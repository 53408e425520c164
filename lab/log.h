// What the server says while it runs, a line each: on its error output, and on the terminals that asked for
// it.
#pragma once

#include <string>

namespace kov_lab
{

// Problems are always told on the error output; the frames that come in and go out only when somebody asked
// for it (-v). A terminal that asked ("debug on") is told both.
void log_frames(bool on);
bool frames_are_logged();
void log_frame(const std::string &line);
void log_problem(const std::string &line);

} // namespace kov_lab
