// What the command line makes of words that are not a command, or not yet one.
#include "cli_commands.h"

#include <algorithm>
#include <numeric>
#include <set>
#include <utility>

namespace kov_host
{
namespace
{

using Words = std::vector<std::string>;

constexpr std::size_t furthest = 2; // letters between what is typed and what was meant
constexpr std::size_t most = 5;     // commands that are proposed

// Letters to add, to take away, to replace, or to swap with their neighbour.
std::size_t distance(std::string_view left, std::string_view right)
{
    std::vector<std::size_t> before(right.size() + 1);
    std::vector<std::size_t> above(right.size() + 1);
    std::iota(above.begin(), above.end(), std::size_t{0});
    for (std::size_t i = 1; i <= left.size(); ++i) {
        std::vector<std::size_t> row(right.size() + 1, i);
        for (std::size_t j = 1; j <= right.size(); ++j) {
            row[j] = std::min(
                {above[j] + 1, row[j - 1] + 1, above[j - 1] + (left[i - 1] == right[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1])
                row[j] = std::min(row[j], before[j - 2] + 1);
        }
        before = std::exchange(above, std::move(row));
    }
    return above.back();
}

// Between the command and as many of the line's words as it has.
std::size_t distance(const Words &command, const Words &line)
{
    const auto count = static_cast<std::ptrdiff_t>(std::min(command.size(), line.size()));
    return distance(joined(command), joined(Words(line.begin(), line.begin() + count)));
}

} // namespace

std::string joined(const Words &words, const char *between)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : between) + word;
    return text;
}

std::vector<std::string> nearest(const CommandNames &commands, const Words &line)
{
    std::set<std::pair<std::size_t, std::string>> near;
    Words same_start;
    for (const Words &command : commands) {
        const std::size_t apart = distance(command, line);
        const std::string name = joined(command);
        if (apart <= furthest && apart < name.size() / 2)
            near.emplace(apart, name);
        if (command[0] == line[0])
            same_start.push_back(name);
    }
    if (near.empty())
        return same_start;
    Words names;
    for (const auto &[apart, name] : near)
        if (names.size() < most)
            names.push_back(name);
    return names;
}

std::vector<std::string> next_words(const CommandNames &commands, const Words &given,
                                    const std::string &partial)
{
    std::set<std::string> words;
    for (const Words &command : commands)
        if (command.size() > given.size() && std::equal(given.begin(), given.end(), command.begin()) &&
            command[given.size()].starts_with(partial))
            words.insert(command[given.size()]);
    return {words.begin(), words.end()};
}

bool may_become(const std::string &candidate, const std::string &partial)
{
    const std::size_t kind = candidate.find('<');
    return candidate.starts_with(partial) ||
           (kind != candidate.npos && partial.starts_with(candidate.substr(0, kind)));
}

} // namespace kov_host
