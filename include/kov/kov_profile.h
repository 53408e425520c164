/*
 * Auto-configuration profiles: what a client tells the server about a host, and what the server answers.
 *
 *   kov_profile_options_init(&options);                       // which host, which profile, which parameters
 *   kov_profile_options_add_param(&options, "vlan=7");
 *   kov_profile_register_callback(&callbacks);
 *   kov_profile_add_host(ref, sizeof key, key, &options);     // one message, at once
 *   ...kov_dispatch(msg) calls a callback, if the client registered for messages of type 12
 *
 * All records are packed: they are copied byte for byte into messages and into the persistent store. Read and
 * write fields by value; never take the address of a field that is not an array of bytes. Integers are in
 * host order; strings end with a NUL inside their array. Fields that are named by their number are the
 * server's: the library carries them and does not read them.
 */
#ifndef KOV_PROFILE_H
#define KOV_PROFILE_H

#include <kov/kov_base.h>
#include <kov/kov_messages.h>
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
    uint8_t key_type;  /* KOV_PROFILE_UHOST_KEY */
    uint8_t op;        /* enum kov_profile_op */
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

/* ------------------------------------------------------------------------------ questions about a host */

/* kov_uhost_key_t.op */
enum kov_profile_op { KOV_PROFILE_OP_ADD = 3, KOV_PROFILE_OP_DELETE = 4, KOV_PROFILE_OP_CHECK = 250 };

/*
 * Ask the server to apply the profile of a host, to remove it, or to check it. `key` is up to 45 bytes of the
 * client's own that name the host; `host_ref` is any number, and comes back in the answer. One message is
 * sent at once; the answer comes later, to the callbacks below. 1 when sent; 0 when the library is not
 * initialised, for more than 45 bytes or null bytes, and when sending fails or there is no memory. To add,
 * also 0 for null options, a VNI of 4095 or less where the entity is a segment, or a VLAN outside 1 to 4095
 * where it is one of the VLAN kinds; an entity that nobody knows is sent. No gate asks whether the client is
 * attached; a send without a handle fails.
 */
KOV_EXPORT uint32_t kov_profile_add_host(uint32_t host_ref, uint8_t key_len, const void *key,
                                         const kov_profile_options_t *options);
KOV_EXPORT uint32_t kov_profile_del_host(uint32_t host_ref, uint8_t key_len, const void *key);
KOV_EXPORT uint32_t kov_profile_check_host(uint32_t host_ref, uint8_t key_len, const void *key);

/* For tests: requests carry `uuid` in their key from now on, so that one process may speak for another
 * client; 0 the client's own again. 1 always. Needs no initialised library. */
KOV_EXPORT uint32_t kov_set_profile_test_uuid(uint32_t uuid);

/* Brackets around a group of host calls. Each call sends by itself, so that closing finds nothing to send and
 * gives 1. 0 when the library is not initialised, and when a call before it found no memory. */
KOV_EXPORT uint32_t kov_profile_host_api_open(void);
KOV_EXPORT uint32_t kov_profile_host_api_close(void);

/* ----------------------------------------------------------------------------------------- the answers */

/* What the server answers about a host, behind the host's key in the message: 20 bytes, host order. */
typedef struct KOV_PACKED kov_profile_reply {
    uint32_t code; /* kov_profile_data_value_to_string has its text */
    uint32_t vni;  /* segment */
    uint16_t bd;   /* bridge domain */
    uint8_t unused_10[2];
    uint32_t vlan;
    uint8_t word_16[4]; /* the server's */
} kov_profile_reply;

/*
 * One answer. `code` is what happened or what the server wants, `op` an enum kov_profile_op, `host_ref` the
 * client's own. The pointers go into the message and hold until the callback returns. The result is ignored.
 * A callback may query, send, register, deregister and close, but not dispatch another profile message.
 */
typedef uint32_t (*kov_profile_callback)(uint32_t code, uint32_t op, uint32_t host_ref, uint32_t key_len,
                                         const uint8_t *key_data, const kov_profile_reply *reply,
                                         const kov_profile_options_t *options);

typedef struct kov_profile_callbacks {
    kov_profile_callback profile_resp_cb;  /* any other code; `op` is the request's */
    kov_profile_callback profile_check_cb; /* code 3: check the host; `op` 250 */
    kov_profile_callback profile_clear_cb; /* codes 41 to 47: clear the host; `op` 4 */
} kov_profile_callbacks;

/* Replaces all three callbacks by those of the record, which is copied; each may be null, and then its
 * messages go to the client's handler. Null changes nothing. 1 always. Needs no initialised library. */
KOV_EXPORT uint32_t kov_profile_register_callback(const kov_profile_callbacks *callbacks);

/*
 * What kov_dispatch does with a profile message, converted to host order; a client does not need them. They
 * trust that the message is as long as its key and reply want.
 * validate: 1 when it is a profile message whose key is a user host's. handle: runs the callback for one key
 * and its reply, whose own code counts, not the argument; 0 when there is none, or for null. dispatch: both;
 * 1 when a callback has run.
 */
KOV_EXPORT int32_t kov_profile_validate_uhost(const kov_client_msg *msg);
KOV_EXPORT uint32_t kov_profile_handle_uhost_key(uint32_t code, const kov_uhost_key_t *key,
                                                 const kov_profile_reply *reply);
KOV_EXPORT int32_t kov_profile_dispatch_uhost(const kov_client_msg *msg);

/* ---------------------------------------------------------------------------------------- profile keys */

/* The first byte of a profile key. */
enum kov_profile_key_type {
    KOV_PROFILE_VLAN_KEY = 0,
    KOV_PROFILE_DHCP_KEY = 1,
    KOV_PROFILE_VDP_KEY = 2,
    KOV_PROFILE_VNSEG_KEY = 3,
    KOV_PROFILE_CLI_KEY = 4,
    KOV_PROFILE_BGP_KEY = 5,
    KOV_PROFILE_UHOST_KEY = 6, /* kov_uhost_key_t */
    KOV_PROFILE_KEY_END = 7
};

/* Bytes of a whole key, its type byte included; 0 for a CLI key and an unknown type. */
KOV_EXPORT uint32_t kov_profile_key_type_to_len(uint32_t type);
/* Bytes of the reply data behind a key: 16 for a VDP key, 20 for a user host's, 4 for any other number. */
KOV_EXPORT uint32_t kov_profile_key_type_to_data_len(uint32_t type);
/* The type's name for display; null for an unknown type. */
KOV_EXPORT const char *kov_profile_key_type_to_string(uint32_t type);
/* What a result code says: 1 to 3 good, 21 to 48 an error, of which 41 to 47 ask to clear; never null. */
KOV_EXPORT const char *kov_profile_data_value_to_string(uint32_t code);

/* Client to server: 172 bytes, host order; the key follows, and 4 zero bytes. */
typedef struct KOV_PACKED kov_profile_request {
    kov_registration_request client; /* of type 12; no mask */
    uint32_t key_count;              /* 1 */
    uint32_t key_len;                /* bytes of the key */
} kov_profile_request;

/* Sends one key of `len` bytes to the server. 1 when sent; 0 when sending fails, there is no memory, for a
 * negative length, and for a null key that has a length. After a want of memory the next message is as much
 * longer as that one would have been, with zeros; kov_profile_add_key_init prevents it. _close sends what is
 * pending, which is nothing outside kov_profile_add_key; 1 when there is nothing, 0 when a key found no
 * memory. _init gives 1. None of these needs an initialised library. */
KOV_EXPORT uint32_t kov_profile_add_key_init(void);
KOV_EXPORT uint32_t kov_profile_add_key(const uint8_t *key, int32_t len);
KOV_EXPORT uint32_t kov_profile_add_key_close(void);

/* Reads the key of a message: `key` becomes its address, and the reply data behind it is returned. A second
 * call without a new _init gives null, as for a null message. The message must be as long as its key wants.
 */
KOV_EXPORT uint32_t kov_profile_get_key_init(void);
KOV_EXPORT const uint8_t *kov_profile_get_key_data(const kov_client_msg *msg, const uint8_t **key);
KOV_EXPORT uint32_t kov_profile_get_key_close(void);

KOV_END_DECLS

#endif
