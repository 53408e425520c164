#include "api/print_buffer.h"

#include <kov/kov_debug.h>
#include <kov/platform/interfaces.h>

char kov_print_buffer[kov_print_buffers][kov_print_buffer_size];
u32 kov_next_print_buffer;

char *kov::next_print_buffer()
{
    char *buffer = kov_print_buffer[++kov_next_print_buffer % kov_print_buffers];
    buffer[0] = '\0';
    return buffer;
}

const char *kov_ifindex_name_str(u32 ifindex)
{
    constexpr u32 name_capacity = 254;
    char *name = kov::next_print_buffer();
    im_get_ifindex_name(ifindex, name, name_capacity);
    return name[0] ? name : "-";
}
