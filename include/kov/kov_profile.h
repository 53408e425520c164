/*
 * Auto-configuration profiles: what a client tells the server about a host.
 *
 * All records are packed: they are copied byte for byte into messages and into the persistent store. Read and
 * write fields by value; never take the address of a field that is not an array of bytes. Integers are in
 * host order; strings end with a NUL inside their array. Fields that are named by their number are the
 * server's: the library carries them and does not read them.
 */
#ifndef KOV_PROFILE_H
#define KOV_PROFILE_H

#include <kov/kov_base.h>
#include <kov/kov_records.h>

KOV_BEGIN_DECLS

/* Sizes in characters, the terminating NUL included, where the field is a string. */
#define KOV_PROFILE_NAME_SIZE 129
#define KOV_PROFILE_VRF_NAME_SIZE 34
#define KOV_PROFILE_PARAM_SIZE 2048
#define KOV_PROFILE_USER_DATA_SIZE 32
#define KOV_UHOST_KEY_DATA_SIZE 45

/* Which configuration profile, with which parameters: 4656 bytes.
 * A parameter list is entries one behind the other, each a tag byte (0), a length byte and that many
 * characters without a NUL; the count says how many there are. */
typedef struct KOV_PACKED kov_config_profile_data_t {
    uint32_t cfg_f1;
    uint32_t cfg_f2;
    char c_profile_name[KOV_PROFILE_NAME_SIZE];
    char c_instance_name[KOV_PROFILE_NAME_SIZE];
    uint8_t param_count; /* entries in c_param_tlv */
    uint8_t c_param_tlv[KOV_PROFILE_PARAM_SIZE];
    char c_include_vrf_name[KOV_PROFILE_VRF_NAME_SIZE]; /* of the included profile, as all that follows */
    char c_include_profile_name[KOV_PROFILE_NAME_SIZE];
    char c_include_instance_name[KOV_PROFILE_NAME_SIZE];
    uint8_t include_param_count; /* entries in c_include_param_tlv */
    uint8_t c_include_param_tlv[KOV_PROFILE_PARAM_SIZE];
} kov_config_profile_data_t;

/* What a host is keyed on, and its profile: 5318 bytes. */
typedef struct KOV_PACKED kov_profile_options_t {
    uint8_t entity_id_type; /* enum kov_profile_entity */
    uint32_t vni;           /* of a host that is keyed on its segment: above 4095 */
    uint32_t vlan;          /* of a host that is keyed on its VLAN: 1 to 4095 */
    uint8_t mac[KOV_MAC_SIZE];
    char prof_opt_md_name[KOV_PROFILE_NAME_SIZE];
    uint16_t opt_f105;
    uint16_t opt_f106;
    char prof_opt_host_id[KOV_PROFILE_NAME_SIZE];
    char prof_opt_vrf_name[KOV_PROFILE_VRF_NAME_SIZE];
    uint32_t opt_f109;
    uint32_t opt_f110;
    uint32_t opt_f201;
    uint32_t opt_f202;
    uint32_t opt_f203;
    uint32_t opt_f204;
    uint32_t opt_f205;
    uint32_t opt_f206;
    uint32_t opt_f207;
    uint16_t opt_f208;
    uint32_t opt_f209;
    uint32_t opt_f210;
    uint32_t opt_f211;
    kov_config_profile_data_t config_profile;
    uint8_t prof_opt_user_data[KOV_PROFILE_USER_DATA_SIZE];
    uint32_t opt_f601;
    uint8_t reserved_5053[4]; /* zero; in messages, but not in the stored form */
    uint8_t opt_f602;
    uint32_t opt_f603;
    uint8_t reserved_5062[256]; /* zero; in messages, but not in the stored form */
} kov_profile_options_t;

/* kov_profile_options_t.entity_id_type */
enum kov_profile_entity {
    KOV_PROFILE_ENTITY_SEGMENT = 0,  /* vni counts */
    KOV_PROFILE_ENTITY_VLAN = 1,     /* vlan counts */
    KOV_PROFILE_ENTITY_VLAN_16 = 16, /* vlan counts */
    KOV_PROFILE_ENTITY_32 = 32,      /* the server's, as all that follow */
    KOV_PROFILE_ENTITY_33 = 33,
    KOV_PROFILE_ENTITY_49 = 49
};

/* One user host, as a profile key: 5374 bytes. */
typedef struct KOV_PACKED kov_uhost_key_t {
    uint8_t key_type;
    uint8_t op;
    uint32_t uuid;     /* of the requesting client */
    uint32_t host_ref; /* the client's own, returned unchanged */
    uint8_t key_len;   /* bytes that count in uhost_key_data */
    uint8_t uhost_key_data[KOV_UHOST_KEY_DATA_SIZE];
    kov_profile_options_t options; /* all zero unless a host is added */
} kov_uhost_key_t;

/* ----------------------------------------------------------------------------------------- the options */

/* Zeroes the whole record. 1; 0 for null. */
KOV_EXPORT uint32_t kov_profile_options_init(kov_profile_options_t *options);

/* Append a parameter text (say "vlan=7") to the list of the profile, or of the included one. 1; 0, and
 * nothing changes, when there is no room for it, when the list's count does not agree with its entries, or
 * for null. Room is needed for the whole text and two bytes, but a text of 256 characters or more is stored
 * modulo 256: 258 characters become 2. The count wraps at 256. */
KOV_EXPORT uint32_t kov_profile_options_add_param(kov_profile_options_t *options, const char *text);
KOV_EXPORT uint32_t kov_profile_options_add_include_param(kov_profile_options_t *options, const char *text);

/* Empty the list: the count becomes 0, and later appends overwrite the old bytes. 1 always, also for null. */
KOV_EXPORT uint32_t kov_profile_options_clear_param(kov_profile_options_t *options);
KOV_EXPORT uint32_t kov_profile_options_clear_include_param(kov_profile_options_t *options);

KOV_END_DECLS

#endif
