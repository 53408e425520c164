// An update message turned into refreshes of the cache, one for each record that the message names.
#pragma once

#include "api/types.h"

#include <kov/kov_messages.h>

// Applies a message in host order that holds the records it announces. 1 when every record was applied; 0 for
// a null message, a message type with no record type behind it, a type that is not cached, or a record whose
// key cannot be derived (the records before it stay applied).
u32 kov_update_cache_rdb_data(const kov_client_msg *msg);
