/*
 * The six records that the KOV server publishes in the shared database "kov_rdb_info", and the key that
 * finds them.
 *
 * All records are packed: what crosses the database are these bytes, so a field may start at an odd offset.
 * Read and write fields by value; never take a field's address. Integers are in host order, MAC addresses are
 * 6 raw bytes, strings end with a NUL inside their array (a string from the database may lack it: print and
 * compare it bounded). Members named local_* belong to the process that holds the record and never travel.
 *
 * Each record has an exported schema table (kov_rdb_<record>_tbl) that the codec family of kov_codec.h reads,
 * and an initialiser that writes the record's defaults.
 */
#ifndef KOV_RECORDS_H
#define KOV_RECORDS_H

#include <kov/kov_base.h>

KOV_BEGIN_DECLS

/* Which record: the first word of a key, and the index of the record's cache descriptor. */
enum kov_rdb_type {
    KOV_RDB_GENINFO = 1,         /* one record; no key */
    KOV_RDB_SVIINFO = 2,         /* by SVI interface index */
    KOV_RDB_PORT_TRACKING = 3,   /* by slot */
    KOV_RDB_AGGR_SUB_PFX = 4,    /* by VRF name, address family and prefix */
    KOV_RDB_PORT_L2DCI = 5,      /* by slot */
    KOV_RDB_L2RIB_TOPO_INFO = 6, /* by bridge domain */
    KOV_RDB_NO_TYPE = 7          /* a message type with no record behind it */
};

/* Sizes in characters, the terminating NUL included. */
#define KOV_VRF_NAME_SIZE 33
#define KOV_MOBDOM_SIZE 128
#define KOV_MAC_SIZE 6

/* An IPv4 prefix inside a record: 8 bytes. The address is in host order, the length in bits. */
typedef struct KOV_PACKED kov_v4_prefix {
    uint32_t addr;
    uint32_t len;
} kov_v4_prefix;

/* An IPv6 prefix inside a record: 17 bytes. The address is in network order, the length in bits. */
typedef struct KOV_PACKED kov_v6_prefix {
    uint8_t addr[16];
    uint8_t len;
} kov_v6_prefix;

/* General fabric information: 181 bytes, one record. */
typedef struct KOV_PACKED kov_rdb_geninfo_t {
    uint32_t fabric_id;                   /* default 0 */
    uint32_t conv_learning;               /* conversational learning: 0 off (default), else on */
    uint8_t anycast_gw_mac[KOV_MAC_SIZE]; /* default zero */
    uint32_t switch_role;                 /* enum kov_switch_role bits; default leaf */
    uint32_t fabric_ctrl_svi;             /* SVI of the fabric control segment; 0 not configured (default) */
    uint32_t urib_conv_aging_timeout;     /* IPv4, seconds; default 1800 */
    uint32_t u6rib_conv_aging_timeout;    /* IPv6, seconds; default 1800 */
    uint32_t ferro_migration; /* non-zero: migration to ferro mode; left as found by the initialiser */
    uint32_t fwd_encap;       /* enum kov_fwd_encap; default fabric */
    uint8_t router_mac[KOV_MAC_SIZE]; /* default zero */
    char mobdom[KOV_MOBDOM_SIZE];     /* global mobility domain; default "" */
    uint32_t geninfo_word11;          /* the server's; default 0 */
    uint8_t geninfo_flag12;           /* the server's; default 1 */
    uint32_t geninfo_word13;          /* the server's; default 0 */
} kov_rdb_geninfo_t;

/* One switched virtual interface: 138 bytes. */
typedef struct KOV_PACKED kov_rdb_sviinfo_t {
    uint32_t svi_ifindex; /* the key */
    uint32_t vlan_id;
    uint32_t is_up; /* non-zero: up */
    uint8_t local_12[4];
    kov_v4_prefix v4_prefix;
    kov_v6_prefix v6_prefix;
    char vrf_name[KOV_VRF_NAME_SIZE];
    uint32_t fwd_mode;           /* enum kov_fwd_mode; default standard */
    uint32_t is_fabric_ctrl_seg; /* non-zero: this is the fabric control segment's SVI */
    uint8_t local_82[12];
    uint32_t migration_enabled; /* non-zero: ferro migration on this SVI */
    uint8_t local_98[14];
    uint8_t gw_mac[KOV_MAC_SIZE]; /* gateway MAC bound to the virtual address */
    uint32_t suppress_arp;        /* non-zero: ARP suppression; left as found by the initialiser */
    uint32_t svi_word10;          /* the server's */
    uint32_t vaddr_bound;         /* non-zero once the server has bound the virtual address to gw_mac */
    uint8_t local_130[8];
} kov_rdb_sviinfo_t;

/* Layer-2 topology of one bridge domain: 52 bytes. */
typedef struct KOV_PACKED kov_rdb_l2rib_topo_info_t {
    uint32_t bd;  /* the key */
    uint32_t vni; /* VXLAN network identifier */
    uint8_t local_8[12];
    uint32_t suppress_arp_enabled;
    uint32_t suppress_arp_mode;   /* enum kov_suppress_arp_mode */
    uint32_t suppress_arp_l3_svi; /* SVI used for suppression; 0 none */
    uint8_t local_32[20];
} kov_rdb_l2rib_topo_info_t;

/* One aggregate subnet prefix: 20 bytes. IPv4: address (host order) at 0, length at 4. IPv6: address (network
 * order) at 0, length at 16. The length's slot is 4 bytes wide; only its first byte counts. */
typedef struct KOV_PACKED kov_rdb_aggr_sub_pfx_t {
    uint8_t prefix[20];
} kov_rdb_aggr_sub_pfx_t;

/* The ports of one slot, 35 bytes: bit n is byte n / 8, mask 1 << (n % 8), and stands for port n. */
typedef struct KOV_PACKED kov_rdb_port_tracking_t {
    uint16_t num_bits; /* bits in use; at most 256 */
    uint8_t port_bits[33];
} kov_rdb_port_tracking_t;

/* The same layout for the layer-2 DCI ports of one slot. */
typedef struct KOV_PACKED kov_rdb_port_l2dci_t {
    uint16_t num_bits;
    uint8_t port_bits[33];
} kov_rdb_port_l2dci_t;

/* The lookup key: 61 bytes, zero wherever the type does not use it. */
typedef struct KOV_PACKED kov_rdb_key {
    uint32_t type; /* enum kov_rdb_type; only the low byte is examined */
    union KOV_PACKED {
        uint32_t number;                  /* types 2 and 6: interface index, bridge domain */
        uint8_t slot;                     /* types 3 and 5 */
        char vrf_name[KOV_VRF_NAME_SIZE]; /* type 4 */
    } of;
    uint8_t family; /* type 4: 0 IPv4, 1 IPv6 */
    uint8_t reserved[3];
    uint8_t prefix[20]; /* type 4: as in kov_rdb_aggr_sub_pfx_t */
} kov_rdb_key;

/* The part of a type-4 lookup key behind its type: 57 bytes; names one aggregate subnet prefix to the cache.
 */
typedef struct KOV_PACKED kov_aggr_prefix_key {
    char vrf_name[KOV_VRF_NAME_SIZE]; /* 32 characters count; the NUL may be missing */
    uint8_t family;                   /* 0 IPv4, 1 IPv6 */
    uint8_t reserved[3];              /* ignored */
    uint8_t prefix[20];               /* as in kov_rdb_aggr_sub_pfx_t */
} kov_aggr_prefix_key;

/* Defaults. Each call writes the record's stated defaults and nothing else (local bytes, and the fields said
 * to be left as found, keep their contents), does nothing with a null record, and returns 0 always. */
KOV_EXPORT uint32_t kov_rdb_geninfo_default_init(kov_rdb_geninfo_t *rec);
KOV_EXPORT uint32_t kov_rdb_sviinfo_default_init(kov_rdb_sviinfo_t *rec);
KOV_EXPORT uint32_t kov_rdb_l2rib_topo_info_default_init(kov_rdb_l2rib_topo_info_t *rec);
KOV_EXPORT uint32_t kov_rdb_aggr_sub_pfx_default_init(kov_rdb_aggr_sub_pfx_t *rec);
KOV_EXPORT uint32_t kov_rdb_port_tracking_default_init(kov_rdb_port_tracking_t *rec);
KOV_EXPORT uint32_t kov_rdb_port_l2dci_default_init(kov_rdb_port_l2dci_t *rec);

/* 1 when the server has finished binding the SVI's virtual address to the gateway MAC: the SVI is up, bound,
 * and has an IPv6 or an IPv4 address. 0 otherwise and for a null record. Needs no initialised library. */
KOV_EXPORT uint32_t kov_is_vaddr_bind_complete(const kov_rdb_sviinfo_t *rec);

/* 1 when `inner` lies inside `outer`: it is as long or longer, and has outer's leading bits. Both are
 * prefixes as in kov_rdb_aggr_sub_pfx_t, of which 5 bytes are read for IPv4 (`family` 0, address in host
 * order) and 17 for IPv6 (`family` 1); the length is one byte. 0 otherwise, for any other family and for a
 * null pointer. An IPv4 length above 32 counts as 32; with an IPv6 outer length above 128 the addresses are
 * not compared, so that every inner prefix as long lies inside. Needs no initialised library. */
KOV_EXPORT uint32_t kov_pfx_subnet_match(uint32_t family, const void *inner, const void *outer);

KOV_END_DECLS

#endif
