#include "cache/desc.h"

#include <cstdlib>

void *kov_cache_alloc(u32 size, u32 zero) { return zero ? std::calloc(1, size) : std::malloc(size); }

void kov_cache_free(void *block) { std::free(block); }
