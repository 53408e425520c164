// The byte order of client messages.
//
// Header words and some fields of some records travel in network order. What is swapped is a table, a row a
// message type; the exported converters of kov_messages.h and the dispatcher's bounded one use the same.
#pragma once

#include "api/types.h"

#include <kov/kov_messages.h>

namespace kov
{

// Offset of the first record.
constexpr u32 msg_header_size = 161;
static_assert(sizeof(kov_client_msg) == msg_header_size);

// Swaps count and length of a header.
void swap_header(void *msg);

// Swaps the records of a message whose header is in host order, and which holds them all.
void swap_records(void *msg);

} // namespace kov
