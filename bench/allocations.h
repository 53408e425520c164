// How often this process has allocated: the benchmark's own malloc, calloc and realloc count and pass on.
#pragma once

#include <cstdint>

namespace kov_bench
{

std::uint64_t allocations();

} // namespace kov_bench
