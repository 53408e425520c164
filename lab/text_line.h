// Columns of text, as printf lays them out.
#pragma once

#include <cstdio>
#include <string>

namespace kov_lab
{

// At most 159 characters; what is longer is cut off.
template <typename... Columns>
std::string line(const char *form, Columns... columns)
{
    char text[160];
    std::snprintf(text, sizeof text, form, columns...);
    return text;
}

} // namespace kov_lab
