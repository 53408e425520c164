#include "allocations.h"

#include <cstddef>

namespace
{

std::uint64_t count;

} // namespace

std::uint64_t kov_bench::allocations() { return count; }

// The program's definitions go before the C library's for every shared object of the process.
extern "C" {

void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t n, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
void *malloc(std::size_t size) noexcept;
void *calloc(std::size_t n, std::size_t size) noexcept;
void *realloc(void *block, std::size_t size) noexcept;

void *malloc(std::size_t size) noexcept
{
    ++count;
    return __libc_malloc(size);
}

void *calloc(std::size_t n, std::size_t size) noexcept
{
    ++count;
    return __libc_calloc(n, size);
}

void *realloc(void *block, std::size_t size) noexcept
{
    ++count;
    return __libc_realloc(block, size);
}

} // extern "C"
