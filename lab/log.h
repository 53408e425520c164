// What the server says while it runs: a line each on its error output.
#pragma once

namespace kov_lab
{

// Problems are always told; the frames that come in only when somebody asked for it (-v).
void log_frames(bool on);
void log_frame(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
void log_problem(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

} // namespace kov_lab
