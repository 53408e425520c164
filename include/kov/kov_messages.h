/*
 * The messages between a client and the KOV server, byte by byte.
 *
 * A message from the server is a header of 161 bytes with `count` records of the type's size behind it. It
 * travels in network byte order where a field says so; kov_dispatch converts a private copy before the
 * client's handler sees it, so a handler reads host order throughout. Requests to the server are in host
 * order.
 */
#ifndef KOV_MESSAGES_H
#define KOV_MESSAGES_H

#include <kov/kov_base.h>
#include <kov/kov_records.h>

KOV_BEGIN_DECLS

/* Where the server listens on the message transport, and the opcode both sides use. */
#define KOV_SERVER_NODE 0xFE000000u
#define KOV_SERVER_SAP 1248u
#define KOV_OPC_CLIENT 0x3D400u

/* What else goes to the server: one message each, without an answer (kov_events.h). */
#define KOV_OPC_GLEAN 0x3D404u
#define KOV_OPC_HOST_VERIFY 0x3D405u
#define KOV_OPC_ARP_VERIFIED 0x13C04u
#define KOV_OPC_ND_VERIFIED 0x14401u

/* The transport option that is set on KOV_OPC_CLIENT while a client is registered. */
#define KOV_OPC_CLIENT_OPTION 0x10u

/* The first field of every client message. */
#define KOV_MSG_MAJOR 53u

/* What a client message says; a client registers for those of 1 to 20 it wants to hear about. */
enum kov_mtype {
    KOV_MTYPE_REGISTER = 1,
    KOV_MTYPE_REGISTER_ACK = 2,
    KOV_MTYPE_DEREGISTER = 3,
    KOV_MTYPE_FABRIC_ID = 4,
    KOV_MTYPE_CONV_LEARNING = 5,
    KOV_MTYPE_SWITCH_ROLE = 6,
    KOV_MTYPE_ANYCAST_GW_MAC = 7,
    KOV_MTYPE_AGGR_SUB_PFX = 8,
    KOV_MTYPE_SVI_FWD_MODE = 9,
    KOV_MTYPE_PORT_TRACKING = 10,
    KOV_MTYPE_FABRIC_CTRL_SEG = 11,
    KOV_MTYPE_PROFILE_MGMT = 12,
    KOV_MTYPE_CONV_AGING_TIMEOUT = 13,
    KOV_MTYPE_FERRO_MIGRATION = 14,
    KOV_MTYPE_SVI_MIGRATION = 15,
    KOV_MTYPE_FWD_ENCAP = 16,
    KOV_MTYPE_SWITCH_ROLE_CHANGE = 17,
    KOV_MTYPE_SVI_FWD_MODE_CHANGE = 18,
    KOV_MTYPE_SUPPRESS_ARP_TOPO = 19,
    KOV_MTYPE_PORT_L2DCI = 20,
    KOV_MTYPE_END = 21
};

/* The list a client registers with always has this many entries. */
#define KOV_MTYPE_LIST_LENGTH 21

#define KOV_CLIENT_NAME_SIZE 129

/* Header of every message from the server: 161 bytes; the records follow. */
typedef struct KOV_PACKED kov_client_msg {
    uint16_t major; /* KOV_MSG_MAJOR; host order, never converted */
    uint16_t mtype; /* enum kov_mtype; host order, never converted */
    uint8_t unused_4[16];
    uint32_t count;  /* records that follow; network order on the wire */
    uint32_t length; /* bytes of the whole message, header included; network order on the wire */
    uint8_t unused_28[133];
} kov_client_msg;

/* Register (type 1) and deregister (type 3): 164 bytes, client to server, host order. */
typedef struct KOV_PACKED kov_registration_request {
    uint16_t major;
    uint16_t mtype;
    uint32_t pid;
    uint32_t epid;   /* the platform's endpoint id of the process */
    uint64_t mclock; /* monotonic clock at sending */
    uint32_t uuid;
    char client_name[KOV_CLIENT_NAME_SIZE];
    uint8_t padding[3];
    int32_t sap;         /* where the client listens */
    uint32_t mtype_mask; /* bit t for each wanted type t */
} kov_registration_request;

/* Types 4, 5, 6, 14 and 16 (some general information changed; the value says what the server likes) and types
 * 9, 15 (SVI interface index), 10, 20 (port interface index): 4 bytes. */
typedef struct KOV_PACKED kov_word_update {
    uint32_t value; /* network order on the wire */
} kov_word_update;

/* Type 7: 12 bytes, never converted. */
typedef struct KOV_PACKED kov_anycast_gw_mac_update {
    uint8_t bytes[12];
} kov_anycast_gw_mac_update;

/* Type 8: 61 bytes. An IPv4 address is in network order on the wire; IPv6 addresses, prefix lengths and the
 * family are never converted. Not the lookup key: that has the type first and the family before the prefix.
 */
typedef struct KOV_PACKED kov_aggr_sub_pfx_update {
    char vrf_name[KOV_VRF_NAME_SIZE];
    uint8_t prefix[20]; /* as in kov_rdb_aggr_sub_pfx_t */
    uint32_t family;    /* 0 IPv4, 1 IPv6 */
    uint8_t unused_57[4];
} kov_aggr_sub_pfx_update;

/* Type 11: 36 bytes; svi_ifindex, vlan_id, word_8 and v4_addr are in network order on the wire. */
typedef struct KOV_PACKED kov_fabric_ctrl_seg_update {
    uint32_t svi_ifindex;
    uint32_t vlan_id;
    uint16_t word_8;
    uint32_t v4_addr;
    uint8_t v6_addr[16];
    uint8_t gw_mac[KOV_MAC_SIZE];
} kov_fabric_ctrl_seg_update;

/* Type 13: 5 bytes; the timeout is in network order on the wire. */
typedef struct KOV_PACKED kov_conv_aging_update {
    uint32_t timeout;
    uint8_t family;
} kov_conv_aging_update;

/* Type 17: 8 bytes, both words in network order on the wire. */
typedef struct KOV_PACKED kov_switch_role_update {
    uint32_t words[2];
} kov_switch_role_update;

/* Type 18: 12 bytes, all words in network order on the wire. */
typedef struct KOV_PACKED kov_svi_fwd_mode_update {
    uint32_t svi_ifindex;
    uint32_t word_4;
    uint32_t word_8;
} kov_svi_fwd_mode_update;

/* Type 19: 24 bytes, all words in network order on the wire. */
typedef struct KOV_PACKED kov_suppress_arp_topo_update {
    uint32_t bd;
    uint32_t word_4;
    uint32_t word_8;
    uint32_t word_12;
    uint32_t svi_ifindex; /* 0: none */
    uint32_t word_20;
} kov_suppress_arp_topo_update;

/* KOV_OPC_HOST_VERIFY, client to server: 50 bytes. */
typedef struct KOV_PACKED kov_host_verify_msg {
    char vrf_name[KOV_VRF_NAME_SIZE]; /* zero-filled; a name of 33 characters has no NUL */
    uint8_t family;                   /* 1 IPv4, 0 IPv6 */
    uint8_t addr[16];                 /* IPv4: 4 bytes in network order, then zeros; IPv6: all zero */
} kov_host_verify_msg;

/* KOV_OPC_ND_VERIFIED, client to server: 44 bytes, host order. */
typedef struct KOV_PACKED kov_nd_verified_msg {
    uint16_t major; /* KOV_ND_MAJOR */
    uint16_t mtype; /* KOV_ND_MTYPE_VERIFIED */
    uint32_t pid;
    uint32_t epid;   /* the platform's endpoint id of the process */
    uint64_t mclock; /* monotonic clock at sending */
    uint8_t zero_20[2];
    uint8_t addr[16]; /* IPv6 */
    uint8_t zero_38[2];
    int32_t iod; /* local number of the probed interface */
} kov_nd_verified_msg;

#define KOV_ND_MAJOR 37u
#define KOV_ND_MTYPE_VERIFIED 30u

/* KOV_OPC_ARP_VERIFIED, client to server: 56 bytes, host order. */
typedef struct KOV_PACKED kov_arp_verified_msg {
    uint32_t one; /* 1 */
    uint32_t ifindex;
    int32_t iod;
    uint32_t phy_ifindex;
    int32_t phy_iod;
    uint8_t zero_20[8];
    uint32_t addr; /* IPv4 */
    uint8_t zero_32[18];
    uint16_t vlan; /* the low 16 bits */
    uint8_t zero_52[4];
} kov_arp_verified_msg;

/* KOV_OPC_GLEAN, client to server: 73 bytes, host order. Of an IPv4 address the first four bytes count, a
 * uint32_t; the twelve behind it are whatever the client handed in. */
typedef struct KOV_PACKED kov_glean_msg {
    uint8_t zero_0[24];
    uint8_t family; /* 1 IPv4, else IPv6; the low 8 bits of what the client gave */
    uint32_t vrf_id;
    uint32_t iif_ifindex; /* where the packet came in */
    uint32_t value;       /* the client's, passed through */
    uint32_t svi_ifindex; /* the source interface */
    uint8_t dst[16];
    uint8_t src[16];
} kov_glean_msg;

/* Bytes of one record of a message of type `mtype`; 0 for types 1, 2, 3, 12 and all outside 4 to 20. */
KOV_EXPORT uint32_t kov_get_clients_msg_data_sz(int32_t mtype);

/* Converts a whole message in place: ntoh a received one to host order, hton one in host order for sending.
 * Both trust the message's count: the memory behind `msg` must hold the records it announces. Each message is
 * converted exactly once; a second conversion swaps everything back. A null message is ignored. */
KOV_EXPORT void kov_clients_msg_convert_ntoh(void *msg);
KOV_EXPORT void kov_clients_msg_convert_hton(void *msg);

KOV_END_DECLS

#endif
