// Texts from a peer or the database, for printing: such a text may lack its NUL.
#pragma once

#include "api/types.h"

#include <cstring>

namespace kov
{

// A copy of at most N characters, always terminated.
template <u32 N>
struct bounded_text {
    char text[N + 1];

    explicit bounded_text(const char *from)
    {
        std::memcpy(text, from, N);
        text[N] = '\0';
    }
};

} // namespace kov
