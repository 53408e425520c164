// The ring of print buffers behind the display helpers: the last eight results stay valid at once.
#pragma once

#include "api/types.h"

constexpr u32 kov_print_buffers = 8;
constexpr u32 kov_print_buffer_size = 1001;

extern char kov_print_buffer[kov_print_buffers][kov_print_buffer_size];
extern u32 kov_next_print_buffer;

namespace kov
{

// The next buffer of the ring, emptied.
char *next_print_buffer();

} // namespace kov
