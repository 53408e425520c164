#include "history.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace kov_lab
{
namespace
{

constexpr std::size_t most_lines = 1000;

// Empty when nobody's home is known.
std::filesystem::path history_file()
{
    const char *state = std::getenv("XDG_STATE_HOME");
    const char *home = std::getenv("HOME");
    if (state != nullptr && state[0] == '/')
        return std::filesystem::path(state) / "kov/history";
    if (home != nullptr && home[0] == '/')
        return std::filesystem::path(home) / ".local/state/kov/history";
    return {};
}

void write_lines(const std::filesystem::path &path, const std::string &text, int how)
{
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY | how, 0600);
    if (fd < 0)
        return;
    [[maybe_unused]] const ssize_t written =
        ::write(fd, text.data(), text.size()); // one, so lines stay whole
    ::close(fd);
}

} // namespace

std::vector<std::string> kept_lines()
{
    const std::filesystem::path path = history_file();
    std::error_code problem;
    if (!std::filesystem::is_regular_file(path, problem))
        return {};
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    if (lines.size() <= most_lines)
        return lines;
    const bool long_file = lines.size() > 2 * most_lines;
    lines.erase(lines.begin(), lines.end() - most_lines);
    std::string text;
    for (const std::string &line : lines)
        text += line + "\n";
    if (long_file)
        write_lines(path, text, O_TRUNC);
    return lines;
}

void keep_line(const std::string &line)
{
    const std::filesystem::path path = history_file();
    if (path.empty())
        return;
    std::error_code problem;
    std::filesystem::create_directories(path.parent_path(), problem);
    write_lines(path, line + "\n", O_APPEND);
}

} // namespace kov_lab
