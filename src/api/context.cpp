#include "api/context.h"

kov_context kov_api;
const osal_rdb_desc *kov_rdb_lib_handle;
alignas(8) u8 kov_api_tlv_buf[kov_api_tlv_buf_size];

// The host process's own: the library keeps them for it.
u32 kov_debug_log_to_file;
u32 kov_enable_log_to_file;
void *kov_vault_handle;
char filter_name1[50];
char filter_name2[50];
char filter_name3[50];
u32 ddb_ipcops_ix_t;
