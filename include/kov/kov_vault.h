/*
 * The records that the KOV server and its clients keep in the platform's persistent store and replicate to a
 * standby: host tables, client registrations, auto-configuration state.
 *
 * Like the published records they are packed, in host order, described by an exported schema table
 * (kov_vault_<record>_tbl) and converted by the calls of kov_codec.h. Members named local_* belong to the
 * process that holds the record and never travel. Most fields mean something to the record's owner only and
 * are named by their number in the schema.
 *
 * Three more records are stored that kov_profile.h has: configuration profile data, profile options and user
 * host keys.
 */
#ifndef KOV_VAULT_H
#define KOV_VAULT_H

#include <kov/kov_base.h>
#include <kov/kov_profile.h>

KOV_BEGIN_DECLS

/* The server's initialisation state: 4 bytes. */
typedef struct KOV_PACKED kov_vault_init_state {
    uint32_t state; /* default 0 */
} kov_vault_init_state;

/* A host behind another switch: 32 bytes, default all zero. */
typedef struct KOV_PACKED kov_vault_remote_host_val_t {
    uint8_t f0[20];
    uint32_t f1;
    uint32_t f2;
    uint32_t f3;
} kov_vault_remote_host_val_t;

/* A host behind this switch: 164 bytes, of which the owner's bookkeeping is most. Default: the four stored
 * fields zero, the rest as found. */
typedef struct KOV_PACKED kov_local_host_db {
    uint8_t local_0[24];
    uint8_t f0[6];
    uint8_t local_30[2];
    uint32_t f1;
    uint8_t local_36[4];
    uint32_t f2;
    uint32_t f3;
    uint8_t local_48[116];
} kov_local_host_db;

/* A registered client: 24 bytes. */
typedef struct KOV_PACKED kov_vault_client_val_t {
    uint32_t f0; /* default 0xFFFFFFFF */
    uint32_t f1; /* default 0, as all that follow */
    uint32_t f2;
    uint32_t f3;
    uint32_t f4;
    uint32_t f5;
} kov_vault_client_val_t;

/* What a profile is to do: 68 bytes, default all zero. */
typedef struct KOV_PACKED kov_profile_cmd_data_t {
    uint16_t f0;
    uint8_t local_2[2];
    uint32_t f1;
    uint32_t f2;
    uint32_t f3;
    uint32_t f4;
    uint8_t f5[34];
    uint8_t local_54[2];
    uint32_t f6; /* stored twice */
    uint32_t f7;
    uint8_t local_64[4];
} kov_profile_cmd_data_t;

/* A host that is configured automatically: 5924 bytes and a tail of `parameter_len` bytes, the parameters.
 * Use the two accessors below for `parameters`. Default: 0, except where a field says otherwise. */
typedef struct KOV_PACKED kov_vault_auto_config_host_val_t {
    uint8_t f0[129]; /* the initialiser leaves the last byte as found */
    uint8_t local_129[1];
    uint16_t f1;
    uint8_t f2;
    uint8_t local_133[3];
    uint32_t f3;
    uint32_t f5;
    uint8_t cmd_data[68]; /* field 4, as large as kov_profile_cmd_data_t; left as found by the initialiser */
    uint16_t f6;
    uint16_t f7;
    uint32_t parameter_len; /* field 8: bytes of the tail */
    uint32_t parameters;    /* field 9: where the tail is */
    uint8_t f10[8];
    uint8_t xvlan_data[140]; /* field 11; left as found by the initialiser */
    uint16_t f12;            /* default 1 */
    uint8_t f13[128];
    uint8_t f14[33];
    uint8_t local_535[5];
    kov_uhost_key_t key; /* field 15; left as found by the initialiser */
    uint8_t local_5914[2];
    uint32_t f16;
    uint16_t f17;
    uint16_t f18;
} kov_vault_auto_config_host_val_t;

/* The tail of an auto-configuration host, null when there is none. `rec` must not be null.
 * With 32-bit pointers the field holds the pointer. With 64-bit ones it holds the signed distance from the
 * record's first byte, so that a record and a tail in one block may be moved together, and 0 for none. */
static inline void *kov_vault_auto_config_host_parameters(const kov_vault_auto_config_host_val_t *rec)
{
#if UINTPTR_MAX == UINT32_MAX
    return (void *)(uintptr_t)rec->parameters;
#else
    const char *const first = (const char *)rec;
    return rec->parameters == 0 ? (void *)0 : (void *)(first + (int32_t)rec->parameters);
#endif
}

/* Lets the record's tail be at `tail`, null for none; `parameter_len` is the caller's to set. 1, or 0 when
 * the place cannot be said in the field, which then keeps its value: with 64-bit pointers a place farther
 * than 2 GiB from the record, or the record itself. Put the tail behind the record, in one block. */
static inline uint32_t kov_vault_auto_config_host_set_parameters(kov_vault_auto_config_host_val_t *rec,
                                                                 const void *tail)
{
#if UINTPTR_MAX == UINT32_MAX
    rec->parameters = (uint32_t)(uintptr_t)tail;
#else
    const intptr_t distance = tail ? (intptr_t)((uintptr_t)tail - (uintptr_t)rec) : 0;
    if (distance != (int32_t)distance || (tail && distance == 0))
        return 0;
    rec->parameters = (uint32_t)(int32_t)distance;
#endif
    return 1;
}

/* A VDP host: 316 bytes. Default: the first three fields zero, the rest as found. */
typedef struct KOV_PACKED kov_vault_vdp_host_val_t {
    uint32_t f0;
    uint8_t f1[129];
    uint8_t f2[100];
    uint8_t local_233[3];
    uint32_t f4;
    uint8_t f5[8];
    kov_profile_cmd_data_t cmd_data; /* field 3 */
} kov_vault_vdp_host_val_t;

/* The VRF of a loopback interface: 102 bytes. It has no default. */
typedef struct KOV_PACKED kov_loopback_vrf_t {
    uint8_t f0[34];
    uint32_t f1;
    uint8_t local_38[64];
} kov_loopback_vrf_t;

/* Defaults. Each call writes the record's stated defaults and nothing else, does nothing with a null record,
 * and returns 0 always. */
KOV_EXPORT uint32_t kov_vault_init_state_default_init(kov_vault_init_state *rec);
KOV_EXPORT uint32_t kov_vault_remote_host_default_init(kov_vault_remote_host_val_t *rec);
KOV_EXPORT uint32_t kov_vault_local_host_default_init(kov_local_host_db *rec);
KOV_EXPORT uint32_t kov_vault_client_default_init(kov_vault_client_val_t *rec);
KOV_EXPORT uint32_t kov_vault_config_profile_data_default_init(kov_config_profile_data_t *rec);
KOV_EXPORT uint32_t kov_vault_profile_options_default_init(kov_profile_options_t *rec);
KOV_EXPORT uint32_t kov_vault_uhost_key_default_init(kov_uhost_key_t *rec);
KOV_EXPORT uint32_t kov_vault_auto_config_host_default_init(kov_vault_auto_config_host_val_t *rec);
KOV_EXPORT uint32_t kov_vault_profile_cmd_data_default_init(kov_profile_cmd_data_t *rec);
KOV_EXPORT uint32_t kov_vault_vdp_host_default_init(kov_vault_vdp_host_val_t *rec);

/*
 * The three parts of an auto-configuration host that have converters of their own, which the codec calls for
 * those fields. `rec` is a kov_vault_auto_config_host_val_t at any address.
 *
 * _struct_to_tlv gives a copy of the part in a block of fcodec_malloc, which the caller frees: its address in
 * `bytes`, its size in `len`, 1 in `owned`. Returns 0; 73 for any null pointer, or a null tail that has a
 * length; 1 when there is no memory. An empty tail is 0 with nothing allocated: null, 0 and 0. On an error
 * nothing is written. `unused` is ignored.
 * _tlv_to_struct takes the part from `data` into the record. Returns 0, or 73 for a null pointer. The
 * parameters go behind the record's 5924 bytes, as many as `parameter_len` says: the caller has that room
 * (kov_vault_auto_config_host_get_struct_sz), and the record's tail is then there.
 * _get_tlv_data_sz gives the part's bytes: of the parameters `parameter_len`, 0 for a null record; of the
 * command data 68 always; of the xvlan data 140, 0 for a null record.
 */
KOV_EXPORT int kov_vault_auto_config_parameters_struct_to_tlv(const void *rec, uint32_t unused, void **bytes,
                                                              uint32_t *len, uint32_t *owned);
KOV_EXPORT int kov_vault_auto_config_parameters_tlv_to_struct(void *rec, const void *data);
KOV_EXPORT uint32_t kov_vault_auto_config_parameters_get_tlv_data_sz(const void *rec);
KOV_EXPORT int kov_vault_auto_config_cmd_data_struct_to_tlv(const void *rec, uint32_t unused, void **bytes,
                                                            uint32_t *len, uint32_t *owned);
KOV_EXPORT int kov_vault_auto_config_cmd_data_tlv_to_struct(void *rec, const void *data);
KOV_EXPORT uint32_t kov_vault_auto_config_cmd_data_get_tlv_data_sz(const void *rec);
KOV_EXPORT int kov_vault_auto_config_xvlan_data_struct_to_tlv(const void *rec, uint32_t unused, void **bytes,
                                                              uint32_t *len, uint32_t *owned);
KOV_EXPORT int kov_vault_auto_config_xvlan_data_tlv_to_struct(void *rec, const void *data);
KOV_EXPORT uint32_t kov_vault_auto_config_xvlan_data_get_tlv_data_sz(const void *rec);

/* The bytes of each string field, whatever the record holds: strings travel at their full width. */
KOV_EXPORT uint32_t c_profile_name_get_data_sz(const void *rec);          /* 129 */
KOV_EXPORT uint32_t c_instance_name_get_data_sz(const void *rec);         /* 129 */
KOV_EXPORT uint32_t c_param_tlv_get_data_sz(const void *rec);             /* 2048 */
KOV_EXPORT uint32_t c_include_vrf_name_get_data_sz(const void *rec);      /* 34 */
KOV_EXPORT uint32_t c_include_profile_name_get_data_sz(const void *rec);  /* 129 */
KOV_EXPORT uint32_t c_include_instance_name_get_data_sz(const void *rec); /* 129 */
KOV_EXPORT uint32_t c_include_param_tlv_get_data_sz(const void *rec);     /* 2048 */
KOV_EXPORT uint32_t prof_opt_md_name_get_data_sz(const void *rec);        /* 129 */
KOV_EXPORT uint32_t prof_opt_host_id_get_data_sz(const void *rec);        /* 129 */
KOV_EXPORT uint32_t prof_opt_vrf_name_get_data_sz(const void *rec);       /* 34 */
KOV_EXPORT uint32_t prof_opt_user_data_get_data_sz(const void *rec);      /* 32 */
KOV_EXPORT uint32_t uhost_key_data_get_data_sz(const void *rec);          /* 45 */

KOV_END_DECLS

#endif
