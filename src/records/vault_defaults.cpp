// The values that fresh stored records take. Each initialiser writes what its record lists and nothing else;
// local bytes, and the fields said to be left as found, keep their contents.
#include "api/bytes.h"

#include <kov/kov_vault.h>

#include <cstring>

namespace
{

using kov::clear;

template <class Record>
u32 clear_all(Record *rec)
{
    if (rec)
        std::memset(rec, 0, sizeof *rec);
    return 0;
}

} // namespace

u32 kov_vault_init_state_default_init(kov_vault_init_state *rec) { return clear_all(rec); }
u32 kov_vault_remote_host_default_init(kov_vault_remote_host_val_t *rec) { return clear_all(rec); }
u32 kov_vault_config_profile_data_default_init(kov_config_profile_data_t *rec) { return clear_all(rec); }
u32 kov_vault_profile_options_default_init(kov_profile_options_t *rec) { return clear_all(rec); }
u32 kov_vault_uhost_key_default_init(kov_uhost_key_t *rec) { return clear_all(rec); }
u32 kov_vault_profile_cmd_data_default_init(kov_profile_cmd_data_t *rec) { return clear_all(rec); }

u32 kov_vault_client_default_init(kov_vault_client_val_t *rec)
{
    clear_all(rec);
    if (rec)
        rec->f0 = 0xFFFFFFFF;
    return 0;
}

// The owner's bookkeeping stays.
u32 kov_vault_local_host_default_init(kov_local_host_db *rec)
{
    if (!rec)
        return 0;
    clear(rec->f0);
    rec->f1 = 0;
    rec->f2 = 0;
    rec->f3 = 0;
    return 0;
}

u32 kov_vault_auto_config_host_default_init(kov_vault_auto_config_host_val_t *rec)
{
    if (!rec)
        return 0;
    // Deliberate: the last byte of field 0 keeps what it held.
    std::memset(rec->f0, 0, sizeof rec->f0 - 1);
    rec->f1 = 0;
    rec->f2 = 0;
    rec->f3 = 0;
    rec->f5 = 0;
    rec->f6 = 0;
    rec->f7 = 0;
    rec->parameter_len = 0;
    rec->parameters = 0;
    clear(rec->f10);
    rec->f12 = 1;
    clear(rec->f13);
    clear(rec->f14);
    rec->f16 = 0;
    rec->f17 = 0;
    rec->f18 = 0;
    // Deliberate: command data, xvlan data and the key keep what they held.
    return 0;
}

// Deliberate: only the first three fields; the rest keeps what it held.
u32 kov_vault_vdp_host_default_init(kov_vault_vdp_host_val_t *rec)
{
    if (!rec)
        return 0;
    rec->f0 = 0;
    clear(rec->f1);
    clear(rec->f2);
    return 0;
}
