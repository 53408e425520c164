// What a screen holds: texts in rows and columns.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kov_lab
{

struct Screen {
    unsigned rows = 0; // 0: there is none
    unsigned columns = 0;
};

// That of the standard output, as high and as wide as it is now.
Screen screen_now();

// What is left of it above its last row; at least one row.
Screen above_last_row(Screen screen);

// How many bytes of the text's start the page holds, where a line wider than the page takes several rows. It
// ends with a line, except within one that is longer than the page.
std::size_t page_size(std::string_view text, const Screen &page);

// The text's lines, cut to the page's width. When they are too many the last one tells how many are missing.
std::string cut_to(const std::string &text, const Screen &page);

} // namespace kov_lab
