// Opening and closing the library.
#include "api/trace.h"
#include "cache/leftovers.h"
#include "cache/vrf.h"

#include <kov/platform/osal.h>
#include <kov/platform/svcmgr.h>

#include <cstddef>

namespace
{

constexpr const char *database_name = "kov_rdb_info";
osal_rdb_desc database;

void describe_database(const char *uri)
{
    osal_strcpy(database.name, database_name, sizeof database.name);
    osal_strcpy(database.uri, uri, sizeof database.uri);
    database.mode = 2;
    database.word[0] = database.word[1] = database.word[2] = 0;
    kov_rdb_lib_handle = &database;
}

// Debugging, the client's name, mask and access point, the VRF counters, the test id and the profile
// callbacks stay as they were.
void reset_context()
{
    kov_api.initialized = 0;
    kov_api.word_2 = 0;
    kov_api.ack_pending = 0;
    kov_api.registration_done = 0;
    kov_api.uuid = svcmgr_uuid_get();
    kov_api.ipc_handle = -1;
    kov_api.notify_callback = nullptr;
    kov_api.profile_key_read = 0;
    kov_api.profile_key_count = 0;
    kov_api.profile_msg_len = 0;
    kov_api.profile_msg = nullptr;
    kov_api.cache_enabled = 0;
    for (u32 type = KOV_RDB_GENINFO; type <= KOV_RDB_L2RIB_TOPO_INFO; ++type)
        kov_api.cache[type] = {};
    kov_api.fabric_ctrl_svi = nullptr;
}

} // namespace

// Deliberate: only the first use waits; a process that opens the library itself is not held back.
u32 kov_api_init(void)
{
    if (kov_api.initialized)
        return 1;

    const char *uri = svcmgr_uri_complete(svcmgr_running_cfg_uri_get(), 0, database_name);
    if (!uri) {
        KOV_TRACE("svcmgr_uri_complete failed");
        return 0;
    }
    if (!osal_rdb_open(uri, 0)) {
        KOV_TRACE("osal_rdb_open() failed for uri %s", uri);
        return 0;
    }
    describe_database(uri);

    // A cache that was filled without a registration is still there after a close. The reset forgets it.
    kov::free_cache_leftovers();
    reset_context();
    kov::init_vrf_tree();

    kov_api.initialized = 1;
    KOV_TRACE("KOV Api successfully initialized");
    return 1;
}

u32 kov_api_close(void)
{
    if (!kov_api.initialized)
        return 0;
    // Deliberate: the database goes first; the clears that follow still read it, and find nothing.
    osal_rdb_close(kov_rdb_lib_handle->uri);
    kov_api_disable_cache();
    kov_api.initialized = 0;
    KOV_TRACE("KOV Api successfully de-initialized");
    return 1;
}
