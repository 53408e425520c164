/* The records of the auto-configuration profiles: what stands in messages and in the persistent store. */
#include <kov/kov_profile.h>

#include "layout.h"

SIZE_IS(kov_config_profile_data_t, 4656);
FIELD_IS(kov_config_profile_data_t, cfg_f1, 0, 4);
FIELD_IS(kov_config_profile_data_t, cfg_f2, 4, 4);
FIELD_IS(kov_config_profile_data_t, c_profile_name, 8, 129);
FIELD_IS(kov_config_profile_data_t, c_instance_name, 137, 129);
FIELD_IS(kov_config_profile_data_t, param_count, 266, 1);
FIELD_IS(kov_config_profile_data_t, c_param_tlv, 267, 2048);
FIELD_IS(kov_config_profile_data_t, c_include_vrf_name, 2315, 34);
FIELD_IS(kov_config_profile_data_t, c_include_profile_name, 2349, 129);
FIELD_IS(kov_config_profile_data_t, c_include_instance_name, 2478, 129);
FIELD_IS(kov_config_profile_data_t, include_param_count, 2607, 1);
FIELD_IS(kov_config_profile_data_t, c_include_param_tlv, 2608, 2048);

SIZE_IS(kov_profile_options_t, 5318);
FIELD_IS(kov_profile_options_t, entity_id_type, 0, 1);
FIELD_IS(kov_profile_options_t, vni, 1, 4);
FIELD_IS(kov_profile_options_t, vlan, 5, 4);
FIELD_IS(kov_profile_options_t, mac, 9, 6);
FIELD_IS(kov_profile_options_t, prof_opt_md_name, 15, 129);
FIELD_IS(kov_profile_options_t, opt_f105, 144, 2);
FIELD_IS(kov_profile_options_t, opt_f106, 146, 2);
FIELD_IS(kov_profile_options_t, prof_opt_host_id, 148, 129);
FIELD_IS(kov_profile_options_t, prof_opt_vrf_name, 277, 34);
FIELD_IS(kov_profile_options_t, opt_f109, 311, 4);
FIELD_IS(kov_profile_options_t, opt_f110, 315, 4);
FIELD_IS(kov_profile_options_t, opt_f201, 319, 4);
FIELD_IS(kov_profile_options_t, opt_f202, 323, 4);
FIELD_IS(kov_profile_options_t, opt_f203, 327, 4);
FIELD_IS(kov_profile_options_t, opt_f204, 331, 4);
FIELD_IS(kov_profile_options_t, opt_f205, 335, 4);
FIELD_IS(kov_profile_options_t, opt_f206, 339, 4);
FIELD_IS(kov_profile_options_t, opt_f207, 343, 4);
FIELD_IS(kov_profile_options_t, opt_f208, 347, 2);
FIELD_IS(kov_profile_options_t, opt_f209, 349, 4);
FIELD_IS(kov_profile_options_t, opt_f210, 353, 4);
FIELD_IS(kov_profile_options_t, opt_f211, 357, 4);
FIELD_IS(kov_profile_options_t, config_profile, 361, 4656);
FIELD_IS(kov_profile_options_t, prof_opt_user_data, 5017, 32);
FIELD_IS(kov_profile_options_t, opt_f601, 5049, 4);
FIELD_IS(kov_profile_options_t, reserved_5053, 5053, 4);
FIELD_IS(kov_profile_options_t, opt_f602, 5057, 1);
FIELD_IS(kov_profile_options_t, opt_f603, 5058, 4);
FIELD_IS(kov_profile_options_t, reserved_5062, 5062, 256);

SIZE_IS(kov_uhost_key_t, 5374);
FIELD_IS(kov_uhost_key_t, key_type, 0, 1);
FIELD_IS(kov_uhost_key_t, op, 1, 1);
FIELD_IS(kov_uhost_key_t, uuid, 2, 4);
FIELD_IS(kov_uhost_key_t, host_ref, 6, 4);
FIELD_IS(kov_uhost_key_t, key_len, 10, 1);
FIELD_IS(kov_uhost_key_t, uhost_key_data, 11, 45);
FIELD_IS(kov_uhost_key_t, options, 56, 5318);

SIZE_IS(kov_profile_reply, 20);
FIELD_IS(kov_profile_reply, code, 0, 4);
FIELD_IS(kov_profile_reply, vni, 4, 4);
FIELD_IS(kov_profile_reply, bd, 8, 2);
FIELD_IS(kov_profile_reply, unused_10, 10, 2);
FIELD_IS(kov_profile_reply, vlan, 12, 4);
FIELD_IS(kov_profile_reply, word_16, 16, 4);

/* The key of a request follows at 172. */
SIZE_IS(kov_profile_request, 172);
FIELD_IS(kov_profile_request, client, 0, 164);
FIELD_IS(kov_profile_request, key_count, 164, 4);
FIELD_IS(kov_profile_request, key_len, 168, 4);

SIZE_BY_ABI(kov_profile_callbacks, 24, 12);
FIELD_BY_ABI(kov_profile_callbacks, profile_resp_cb, 0, 8, 0, 4);
FIELD_BY_ABI(kov_profile_callbacks, profile_check_cb, 8, 8, 4, 4);
FIELD_BY_ABI(kov_profile_callbacks, profile_clear_cb, 16, 8, 8, 4);

LAYOUT_MAIN("the profiles' records")
