// Allocations of the code under test, counted and failed on demand.
//
// The linker sends every malloc, calloc, realloc and free of the objects in a test executable here. Shared
// libraries are not touched, and operator new lives in one, so C++ objects of tests and of googletest stay
// out of it. Before the first reset (and in a sanitizer's start-up) everything passes straight through.
#include "fake.h"

#include <cerrno>
#include <cstring>
#include <unordered_map>

extern "C" {
void *__real_malloc(std::size_t size);
void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);
void __real_free(void *block);
}

namespace fake
{
namespace
{

using Blocks = std::unordered_map<const void *, std::size_t>;
Blocks *blocks; // null until the first reset: not counting; then it lives as long as the process

constexpr int fresh = 0xA5, gone = 0xDD;

void *counted(void *block, std::size_t size)
{
    if (block)
        (*blocks)[block] = size;
    return block;
}

} // namespace

// Blocks that are still held leave the books, but not the sight of a leak checker: a test that leaks on
// purpose has said so, and any other has failed already.
void count_allocations()
{
    static auto &forgotten = *new std::vector<const void *>; // outlives the checker's look
    if (!blocks)
        blocks = new Blocks; // by way of libstdc++.so: not itself counted
    for (const auto &[block, size] : *blocks)
        forgotten.push_back(block);
    blocks->clear();
}

std::size_t Heap::live_blocks() const { return blocks ? blocks->size() : 0; }

std::size_t Heap::live_bytes() const
{
    std::size_t sum = 0;
    if (blocks)
        for (const auto &[block, size] : *blocks)
            sum += size;
    return sum;
}

std::size_t Heap::size_of(const void *block) const
{
    const auto at = blocks ? blocks->find(block) : Blocks::iterator();
    return blocks && at != blocks->end() ? at->second : 0;
}

} // namespace fake

using fake::Call;

// A sanitizer's runtime may allocate through these before its shadow memory exists.
#define KOV_UNCHECKED __attribute__((no_sanitize("address", "undefined"), noinline))

namespace
{

// Whether this allocation is told to fail, as the real ones do: with ENOMEM.
bool out_of_memory()
{
    if (!fake::platform().calls.enter(Call::alloc))
        return false;
    errno = ENOMEM;
    return true;
}

void *malloc_counted(std::size_t size)
{
    if (out_of_memory())
        return nullptr;
    void *const block = __real_malloc(size);
    if (block)
        std::memset(block, fake::fresh, size);
    return fake::counted(block, size);
}

void *calloc_counted(std::size_t count, std::size_t size)
{
    if (out_of_memory())
        return nullptr;
    return fake::counted(__real_calloc(count, size), count * size);
}

void *realloc_counted(void *block, std::size_t size)
{
    if (out_of_memory())
        return nullptr;
    void *const moved = __real_realloc(block, size);
    if (moved)
        fake::blocks->erase(block);
    return fake::counted(moved, size);
}

void free_counted(void *block)
{
    fake::platform().calls.enter(Call::release);
    if (const auto at = fake::blocks->find(block); at != fake::blocks->end()) {
        std::memset(block, fake::gone, at->second);
        fake::blocks->erase(at);
    }
    __real_free(block);
}

} // namespace

extern "C" {

KOV_UNCHECKED void *__wrap_malloc(std::size_t size)
{
    return fake::blocks ? malloc_counted(size) : __real_malloc(size);
}

KOV_UNCHECKED void *__wrap_calloc(std::size_t count, std::size_t size)
{
    return fake::blocks ? calloc_counted(count, size) : __real_calloc(count, size);
}

KOV_UNCHECKED void *__wrap_realloc(void *block, std::size_t size)
{
    return fake::blocks ? realloc_counted(block, size) : __real_realloc(block, size);
}

KOV_UNCHECKED void __wrap_free(void *block)
{
    if (fake::blocks && block)
        free_counted(block);
    else
        __real_free(block);
}

} // extern "C"
