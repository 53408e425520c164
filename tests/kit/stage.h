// The world around the platform under test: who publishes records, and who listens. Whoever brings a platform
// to the kit also brings a source with these functions (stage_host.cpp, stage_fake.cpp).
#pragma once

#include <cstdint>

namespace kit
{

// Before each test that uses the rest: a database that is there, empty and closed under the URI that
// svcmgr_uri_complete gives for "kov_rdb_info"; transport and terminals as below. And after it.
void set_stage();
void clear_stage();

// What the server does: each call is committed when it returns.
void put_record(const void *key61, const void *tlv, uint32_t size);
void delete_record(const void *key61);

// A handle that is open, the SAP that it is bound to, and one on which somebody takes messages.
int32_t open_handle();
int32_t sap_of_open_handle();
uint32_t served_sap();

// A terminal that traces can go to.
const char *terminal();

} // namespace kit
