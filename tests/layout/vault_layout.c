/* The records of the persistent store: the bytes that are stored and replicated. */
#include <kov/kov_vault.h>

#include "layout.h"

SIZE_IS(kov_vault_init_state, 4);
FIELD_IS(kov_vault_init_state, state, 0, 4);

SIZE_IS(kov_vault_remote_host_val_t, 32);
FIELD_IS(kov_vault_remote_host_val_t, f0, 0, 20);
FIELD_IS(kov_vault_remote_host_val_t, f1, 20, 4);
FIELD_IS(kov_vault_remote_host_val_t, f2, 24, 4);
FIELD_IS(kov_vault_remote_host_val_t, f3, 28, 4);

SIZE_IS(kov_local_host_db, 164);
FIELD_IS(kov_local_host_db, local_0, 0, 24);
FIELD_IS(kov_local_host_db, f0, 24, 6);
FIELD_IS(kov_local_host_db, local_30, 30, 2);
FIELD_IS(kov_local_host_db, f1, 32, 4);
FIELD_IS(kov_local_host_db, local_36, 36, 4);
FIELD_IS(kov_local_host_db, f2, 40, 4);
FIELD_IS(kov_local_host_db, f3, 44, 4);
FIELD_IS(kov_local_host_db, local_48, 48, 116);

SIZE_IS(kov_vault_client_val_t, 24);
FIELD_IS(kov_vault_client_val_t, f0, 0, 4);
FIELD_IS(kov_vault_client_val_t, f1, 4, 4);
FIELD_IS(kov_vault_client_val_t, f2, 8, 4);
FIELD_IS(kov_vault_client_val_t, f3, 12, 4);
FIELD_IS(kov_vault_client_val_t, f4, 16, 4);
FIELD_IS(kov_vault_client_val_t, f5, 20, 4);

SIZE_IS(kov_profile_cmd_data_t, 68);
FIELD_IS(kov_profile_cmd_data_t, f0, 0, 2);
FIELD_IS(kov_profile_cmd_data_t, local_2, 2, 2);
FIELD_IS(kov_profile_cmd_data_t, f1, 4, 4);
FIELD_IS(kov_profile_cmd_data_t, f2, 8, 4);
FIELD_IS(kov_profile_cmd_data_t, f3, 12, 4);
FIELD_IS(kov_profile_cmd_data_t, f4, 16, 4);
FIELD_IS(kov_profile_cmd_data_t, f5, 20, 34);
FIELD_IS(kov_profile_cmd_data_t, local_54, 54, 2);
FIELD_IS(kov_profile_cmd_data_t, f6, 56, 4);
FIELD_IS(kov_profile_cmd_data_t, f7, 60, 4);
FIELD_IS(kov_profile_cmd_data_t, local_64, 64, 4);

SIZE_IS(kov_vault_auto_config_host_val_t, 5924);
FIELD_IS(kov_vault_auto_config_host_val_t, f0, 0, 129);
FIELD_IS(kov_vault_auto_config_host_val_t, local_129, 129, 1);
FIELD_IS(kov_vault_auto_config_host_val_t, f1, 130, 2);
FIELD_IS(kov_vault_auto_config_host_val_t, f2, 132, 1);
FIELD_IS(kov_vault_auto_config_host_val_t, local_133, 133, 3);
FIELD_IS(kov_vault_auto_config_host_val_t, f3, 136, 4);
FIELD_IS(kov_vault_auto_config_host_val_t, f5, 140, 4);
FIELD_IS(kov_vault_auto_config_host_val_t, cmd_data, 144, 68);
FIELD_IS(kov_vault_auto_config_host_val_t, f6, 212, 2);
FIELD_IS(kov_vault_auto_config_host_val_t, f7, 214, 2);
FIELD_IS(kov_vault_auto_config_host_val_t, parameter_len, 216, 4);
FIELD_IS(kov_vault_auto_config_host_val_t, parameters, 220, 4);
FIELD_IS(kov_vault_auto_config_host_val_t, f10, 224, 8);
FIELD_IS(kov_vault_auto_config_host_val_t, xvlan_data, 232, 140);
FIELD_IS(kov_vault_auto_config_host_val_t, f12, 372, 2);
FIELD_IS(kov_vault_auto_config_host_val_t, f13, 374, 128);
FIELD_IS(kov_vault_auto_config_host_val_t, f14, 502, 33);
FIELD_IS(kov_vault_auto_config_host_val_t, local_535, 535, 5);
FIELD_IS(kov_vault_auto_config_host_val_t, key, 540, 5374);
FIELD_IS(kov_vault_auto_config_host_val_t, local_5914, 5914, 2);
FIELD_IS(kov_vault_auto_config_host_val_t, f16, 5916, 4);
FIELD_IS(kov_vault_auto_config_host_val_t, f17, 5920, 2);
FIELD_IS(kov_vault_auto_config_host_val_t, f18, 5922, 2);

SIZE_IS(kov_vault_vdp_host_val_t, 316);
FIELD_IS(kov_vault_vdp_host_val_t, f0, 0, 4);
FIELD_IS(kov_vault_vdp_host_val_t, f1, 4, 129);
FIELD_IS(kov_vault_vdp_host_val_t, f2, 133, 100);
FIELD_IS(kov_vault_vdp_host_val_t, local_233, 233, 3);
FIELD_IS(kov_vault_vdp_host_val_t, f4, 236, 4);
FIELD_IS(kov_vault_vdp_host_val_t, f5, 240, 8);
FIELD_IS(kov_vault_vdp_host_val_t, cmd_data, 248, 68);

SIZE_IS(kov_loopback_vrf_t, 102);
FIELD_IS(kov_loopback_vrf_t, f0, 0, 34);
FIELD_IS(kov_loopback_vrf_t, f1, 34, 4);
FIELD_IS(kov_loopback_vrf_t, local_38, 38, 64);

LAYOUT_MAIN("the stored records")
