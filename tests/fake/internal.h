// What the sources of the fake share and no test needs.
#pragma once

#include "fake.h"

#include <cstdarg>

namespace fake
{

// Logs a call of the boundary; true: it has to fail now.
inline bool enter(Call call) { return platform().calls.enter(call); }

void count_allocations(); // from now on, starting at none
void forget_containers(); // all trees, nodes included
std::string format(const char *fmt, va_list args);
const char *rotate(const std::string &text); // in one of eight buffers, which is overwritten on reuse

} // namespace fake
