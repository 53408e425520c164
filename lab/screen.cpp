#include "screen.h"

#include <algorithm>
#include <limits>
#include <sstream>
#include <sys/ioctl.h>
#include <unistd.h>

namespace kov_lab
{
namespace
{

// Of a character behind `column` others in its row. Only the first byte of a character counts, and a tab goes
// no further than to the end of the row.
unsigned width_of(char c, unsigned column, unsigned columns)
{
    if ((static_cast<unsigned char>(c) & 0xc0) == 0x80)
        return 0;
    return c == '\t' ? std::min(8 - column % 8, columns - column) : 1;
}

} // namespace

Screen screen_now()
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0)
        return {};
    return {size.ws_row, size.ws_col == 0 ? std::numeric_limits<unsigned>::max() : size.ws_col};
}

Screen above_last_row(Screen screen) { return {std::max(screen.rows, 2u) - 1, screen.columns}; }

std::size_t page_size(std::string_view text, const Screen &page)
{
    unsigned row = 1;
    unsigned column = 0;
    std::size_t line = 0; // where the last one begins
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool ends = text[at] == '\n';
        const unsigned width = ends ? 0 : width_of(text[at], column, page.columns);
        if (!ends && width <= page.columns - column) {
            column += width;
            continue;
        }
        if (row == page.rows && ends)
            return at + 1;
        if (row == page.rows)
            return line != 0 ? line : at;
        ++row;
        column = width;
        line = ends ? at + 1 : line;
    }
    return text.size();
}

std::string cut_to(const std::string &text, const Screen &page)
{
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    const std::size_t whole = lines <= page.rows ? lines : page.rows - 1;
    std::istringstream stream(text);
    std::string cut;
    std::string line;
    for (std::size_t i = 0; i < whole && std::getline(stream, line); ++i)
        cut += line.substr(0, page.columns) + "\n";
    if (whole < lines)
        cut += (std::to_string(lines - whole) + " more lines").substr(0, page.columns) + "\n";
    return cut;
}

} // namespace kov_lab
