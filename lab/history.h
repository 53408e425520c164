// The lines typed so far, in a file that several terminals may append to at once.
//
// The file has mode 0600 and is never needed: a line that cannot be kept is forgotten.
#pragma once

#include <string>
#include <vector>

namespace kov_lab
{

// The latest lines, the oldest first. A file that has grown long is cut.
std::vector<std::string> kept_lines();
void keep_line(const std::string &line);

} // namespace kov_lab
