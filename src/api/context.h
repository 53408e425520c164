// What the library knows: one context for the whole process.
//
// kov_api is the only mutable state that outlives a call, next to the decode buffer, the print buffers and
// the static answers that a query names. It is zero at load; kov_api_init fills it, every public call
// consults it. The hot tests of a query (initialised, registered, tracing) read it directly: it is hidden in
// the shared object, so that no indirection stands between a query and its answer.
//
// The host process's thread owns it. Nothing in it is protected.
#pragma once

#include "api/types.h"

#include <kov/kov_api.h>
#include <kov/platform/oak.h>
#include <kov/platform/rdb.h>

// One per record type: is it cached, who answered, what does it hold. Counters count for the library's life
// and wrap silently; allocs and bytes equal the live blocks.
struct kov_cache_desc {
    u32 cached;      // filled: lookups may answer from the cache
    u32 updating;    // an update is being applied: lookups go to the database
    u32 cache_hits;  // lookups and steps answered from the cache
    u32 update_hits; // those answered from the database because of `updating`
    u32 rdb_hits;    // lookups and steps answered from the database
    u32 allocs;
    u32 bytes;
    void *data; // the cache: the record of type 1, the tree's root of types 2, 3, 5 and 6
};
static_assert(sizeof(kov_cache_desc) == 28 + (sizeof(void *) == 8 ? 12 : 4));

namespace kov
{
class vrf_walk;
}

struct kov_context {
    u32 initialized;
    u32 word_2;        // set to 0 by initialisation, read by nothing
    u32 debug_enabled; // tested before anything is traced; initialisation leaves it
    s32 ipc_handle;    // the client's transport handle; -1: not attached
    s32 sap;
    u32 uuid;
    char client_name[KOV_CLIENT_NAME_SIZE];
    u32 registration_done;
    u32 ack_pending;
    u32 mtype_mask; // bit t: the client registered for message type t
    u32 cache_enabled;
    u8 profile_key_count;
    u32 profile_msg_len;
    u8 profile_key_read;
    void *profile_msg;
    kov_notify_callback notify_callback;
    kov_cache_desc cache[7];            // by record type; 0 is never used
    kov_rdb_sviinfo_t *fabric_ctrl_svi; // the SVI cache's full record of the fabric control segment's SVI
    oak_tree vrf_tree;
    u32 vrf_count;
    u32 vrf_bytes;
    u32 profile_test_uuid;
    u32 profile_cb_registered; // written, never read
    kov_profile_callback profile_resp_cb;
    kov_profile_callback profile_check_cb;
    kov_profile_callback profile_clear_cb;
    kov::vrf_walk *vrf_walks; // those under way; initialisation leaves them
};

extern kov_context kov_api;

// The open shared database; null until the first successful initialisation. It keeps pointing at the closed
// database after kov_api_close: the platform answers "none" for that one.
extern const osal_rdb_desc *kov_rdb_lib_handle;

// Where a record from the database is decoded to, whatever its type.
constexpr u32 kov_api_tlv_buf_size = 8192;
extern u8 kov_api_tlv_buf[kov_api_tlv_buf_size];
