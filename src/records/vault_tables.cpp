// The schema tables of the stored records, and the rules of their nested and variable fields. The rows stand
// in encoding order, which is part of the schema.
#include "records/schema.h"

#include <kov/kov_codec.h>

using init_state = kov_vault_init_state;
using remote_host = kov_vault_remote_host_val_t;
using local_host = kov_local_host_db;
using client = kov_vault_client_val_t;
using config = kov_config_profile_data_t;
using options = kov_profile_options_t;
using uhost_key = kov_uhost_key_t;
using auto_host = kov_vault_auto_config_host_val_t;
using cmd_data = kov_profile_cmd_data_t;
using vdp_host = kov_vault_vdp_host_val_t;
using loopback = kov_loopback_vrf_t;

// A part of the auto-configuration host that has converters of its own.
#define PART_ROW(ID, FIELD, NAME)                                                                            \
    kov::string_row(ID, sizeof(auto_host::FIELD), offsetof(auto_host, FIELD),                                \
                    kov_vault_auto_config_##NAME##_struct_to_tlv,                                            \
                    kov_vault_auto_config_##NAME##_get_tlv_data_sz)

// clang-format off

constexpr kov_vault_init_state_schema kov_vault_init_state_tbl = {
    kov::table_head(sizeof(init_state), "kov_vault_init_state"),
    {
        KOV_ROW(0, init_state, state),
    },
    kov::end_row(),
};
static_assert(kov::covers_exactly(kov_vault_init_state_tbl));

constexpr kov_vault_remote_host_schema kov_vault_remote_host_tbl = {
    kov::table_head(sizeof(remote_host), "kov_vault_remote_host_val_t"),
    {
        KOV_ROW(0, remote_host, f0),
        KOV_ROW(1, remote_host, f1),
        KOV_ROW(2, remote_host, f2),
        KOV_ROW(3, remote_host, f3),
    },
    kov::end_row(),
};
static_assert(kov::covers_exactly(kov_vault_remote_host_tbl));

constexpr kov_vault_local_host_schema kov_vault_local_host_tbl = {
    kov::table_head(sizeof(local_host), "kov_local_host_db"),
    {
        KOV_ROW(0, local_host, f0),
        KOV_ROW(1, local_host, f1),
        KOV_ROW(2, local_host, f2),
        KOV_ROW(3, local_host, f3),
    },
    kov::end_row(),
};
static_assert(kov::covers_exactly(kov_vault_local_host_tbl, {
    KOV_LOCAL(local_host, local_0), KOV_LOCAL(local_host, local_30),
    KOV_LOCAL(local_host, local_36), KOV_LOCAL(local_host, local_48)}));

constexpr kov_vault_client_schema kov_vault_client_tbl = {
    kov::table_head(sizeof(client), "kov_vault_client_val_t"),
    {
        KOV_ROW(0, client, f0),
        KOV_ROW(1, client, f1),
        KOV_ROW(2, client, f2),
        KOV_ROW(3, client, f3),
        KOV_ROW(4, client, f4),
        KOV_ROW(5, client, f5),
    },
    kov::end_row(),
};
static_assert(kov::covers_exactly(kov_vault_client_tbl));

constexpr kov_vault_config_profile_data_schema kov_vault_config_profile_data_tbl = {
    kov::table_head(sizeof(config), "kov_config_profile_data_t"),
    {
        KOV_ROW       ( 1, config, cfg_f1),
        KOV_ROW       ( 2, config, cfg_f2),
        KOV_STRING_ROW( 3, config, c_profile_name),
        KOV_STRING_ROW( 4, config, c_instance_name),
        KOV_ROW       ( 5, config, param_count),
        KOV_STRING_ROW( 6, config, c_param_tlv),
        KOV_STRING_ROW( 7, config, c_include_vrf_name),
        KOV_STRING_ROW( 8, config, c_include_profile_name),
        KOV_STRING_ROW( 9, config, c_include_instance_name),
        KOV_ROW       (10, config, include_param_count),
        KOV_STRING_ROW(11, config, c_include_param_tlv),
    },
    kov::end_row(),
};
static_assert(kov::covers_exactly(kov_vault_config_profile_data_tbl));

constexpr kov_vault_profile_options_schema kov_vault_profile_options_tbl = {
    kov::table_head(sizeof(options), "kov_profile_options_t"),
    {
        KOV_ROW       (  1, options, entity_id_type),
        KOV_ROW       (101, options, vni),
        KOV_ROW       (102, options, vlan),
        KOV_ROW       (103, options, mac),
        KOV_STRING_ROW(104, options, prof_opt_md_name),
        KOV_ROW       (105, options, opt_f105),
        KOV_ROW       (106, options, opt_f106),
        KOV_STRING_ROW(107, options, prof_opt_host_id),
        KOV_STRING_ROW(108, options, prof_opt_vrf_name),
        KOV_ROW       (109, options, opt_f109),
        KOV_ROW       (110, options, opt_f110),
        KOV_ROW       (201, options, opt_f201),
        KOV_ROW       (202, options, opt_f202),
        KOV_ROW       (203, options, opt_f203),
        KOV_ROW       (204, options, opt_f204),
        KOV_ROW       (205, options, opt_f205),
        KOV_ROW       (206, options, opt_f206),
        KOV_ROW       (207, options, opt_f207),
        KOV_ROW       (208, options, opt_f208),
        KOV_ROW       (209, options, opt_f209),
        KOV_ROW       (210, options, opt_f210),
        KOV_ROW       (211, options, opt_f211),
        KOV_NESTED_ROW(212, options, config_profile),
        KOV_STRING_ROW(501, options, prof_opt_user_data),
        KOV_ROW       (601, options, opt_f601),
        KOV_ROW       (602, options, opt_f602),
        KOV_ROW       (603, options, opt_f603),
    },
    kov::end_row(),
};
static_assert(kov::covers_exactly(kov_vault_profile_options_tbl, {
    KOV_LOCAL(options, reserved_5053), KOV_LOCAL(options, reserved_5062)}));

constexpr kov_vault_uhost_key_schema kov_vault_uhost_key_tbl = {
    kov::table_head(sizeof(uhost_key), "kov_uhost_key_t"),
    {
        KOV_ROW       (0, uhost_key, key_type),
        KOV_ROW       (1, uhost_key, op),
        KOV_ROW       (2, uhost_key, uuid),
        KOV_ROW       (3, uhost_key, host_ref),
        KOV_ROW       (4, uhost_key, key_len),
        KOV_STRING_ROW(5, uhost_key, uhost_key_data),
        KOV_NESTED_ROW(6, uhost_key, options),
    },
    kov::end_row(),
};
static_assert(kov::covers_exactly(kov_vault_uhost_key_tbl));

// Deliberate: field 5 is encoded before field 4.
constexpr kov_vault_auto_config_host_schema kov_vault_auto_config_host_tbl = {
    kov::table_head(sizeof(auto_host), "kov_vault_auto_config_host_val_t"),
    {
        KOV_ROW       ( 0, auto_host, f0),
        KOV_ROW       ( 1, auto_host, f1),
        KOV_ROW       ( 2, auto_host, f2),
        KOV_ROW       ( 3, auto_host, f3),
        KOV_ROW       ( 5, auto_host, f5),
        PART_ROW      ( 4, cmd_data, cmd_data),
        KOV_ROW       ( 6, auto_host, f6),
        KOV_ROW       ( 7, auto_host, f7),
        KOV_ROW       ( 8, auto_host, parameter_len),
        PART_ROW      ( 9, parameters, parameters),
        KOV_ROW       (10, auto_host, f10),
        PART_ROW      (11, xvlan_data, xvlan_data),
        KOV_ROW       (12, auto_host, f12),
        KOV_ROW       (13, auto_host, f13),
        KOV_ROW       (14, auto_host, f14),
        KOV_NESTED_ROW(15, auto_host, key),
        KOV_ROW       (16, auto_host, f16),
        KOV_ROW       (17, auto_host, f17),
        KOV_ROW       (18, auto_host, f18),
    },
    kov::end_row(),
};
static_assert(kov::covers_exactly(kov_vault_auto_config_host_tbl, {
    KOV_LOCAL(auto_host, local_129), KOV_LOCAL(auto_host, local_133),
    KOV_LOCAL(auto_host, local_535), KOV_LOCAL(auto_host, local_5914)}));

// Deliberate: field 6 stands twice, before and after field 5, and is stored twice.
constexpr kov_vault_profile_cmd_data_schema kov_vault_profile_cmd_data_tbl = {
    kov::table_head(sizeof(cmd_data), "kov_profile_cmd_data_t"),
    {
        KOV_ROW(0, cmd_data, f0),
        KOV_ROW(1, cmd_data, f1),
        KOV_ROW(2, cmd_data, f2),
        KOV_ROW(3, cmd_data, f3),
        KOV_ROW(4, cmd_data, f4),
        KOV_ROW(6, cmd_data, f6),
        KOV_ROW(5, cmd_data, f5),
        KOV_ROW(6, cmd_data, f6),
        KOV_ROW(7, cmd_data, f7),
    },
    kov::end_row(),
};
static_assert(kov::covers_exactly(kov_vault_profile_cmd_data_tbl, {
    KOV_LOCAL(cmd_data, local_2), KOV_LOCAL(cmd_data, local_54), KOV_LOCAL(cmd_data, local_64)}));

// Deliberate: field 3 is encoded last.
constexpr kov_vault_vdp_host_schema kov_vault_vdp_host_tbl = {
    kov::table_head(sizeof(vdp_host), "kov_vault_vdp_host_val_t"),
    {
        KOV_ROW       (0, vdp_host, f0),
        KOV_ROW       (1, vdp_host, f1),
        KOV_ROW       (2, vdp_host, f2),
        KOV_ROW       (4, vdp_host, f4),
        KOV_ROW       (5, vdp_host, f5),
        KOV_NESTED_ROW(3, vdp_host, cmd_data),
    },
    kov::end_row(),
};
static_assert(kov::covers_exactly(kov_vault_vdp_host_tbl, {KOV_LOCAL(vdp_host, local_233)}));

constexpr kov_vault_loopback_vrf_schema kov_vault_loopback_vrf_tbl = {
    kov::table_head(sizeof(loopback), "kov_loopback_vrf_t"),
    {
        KOV_ROW(0, loopback, f0),
        KOV_ROW(1, loopback, f1),
    },
    kov::end_row(),
};
static_assert(kov::covers_exactly(kov_vault_loopback_vrf_tbl, {KOV_LOCAL(loopback, local_38)}));

#define NESTED(RECORD, ID, INNER)                                                                            \
    {&kov_vault_##RECORD##_tbl.head, ID, FCODEC_NO_TAIL, &kov_vault_##INNER##_tbl.head, nullptr}
#define PART(ID, TAIL_LENGTH, NAME)                                                                          \
    {&kov_vault_auto_config_host_tbl.head, ID, TAIL_LENGTH, nullptr,                                         \
     kov_vault_auto_config_##NAME##_tlv_to_struct}

constexpr fcodec_rule kov_codec_rule_tbl[KOV_CODEC_RULES] = {
    NESTED(profile_options,  212, config_profile_data),
    NESTED(uhost_key,        6,   profile_options),
    NESTED(auto_config_host, 15,  uhost_key),
    NESTED(vdp_host,         3,   profile_cmd_data),
    PART(4,  FCODEC_NO_TAIL, cmd_data),
    PART(9,  8,              parameters),
    PART(11, FCODEC_NO_TAIL, xvlan_data),
    {},
};

// clang-format on
