/*
 * Records to and from their stored form: the same calls for every record, stamped from one list.
 *
 * The stored form is a stream that the platform's codec reads and writes from the record's schema table. A
 * stream carries the fields that the table names, in the table's order; the record's local bytes never
 * travel. Decoding writes the fields that the stream carries and leaves every other byte as found; on an
 * error it writes nothing.
 *
 * With P the prefix and R the record:
 *
 *   int      P_R_to_tlv           (rec, buf, len, opt1, opt2, opt3)   encode into `buf` of `len` bytes
 *   int      P_R_to_struct        (tlv, len, out, flag)               decode
 *   int32_t  P_R_get_struct_sz    (tlv)                               bytes that decoding needs; -1 on error
 *   uint32_t P_R_get_tlv_sz       (rec)                               bytes that encoding writes; 0 on error
 *   int      P_R_field_itr_init   (itr, tlv, len, flags, start)       walk the fields of a stream
 *   int      P_R_field_get_next   (itr, out)                          0, or 2 at the end
 *   int      P_R_get_field        (tlv, len, id, out, inout_len)      one field; room in, size out
 *
 * Where nothing is said they return the codec's code, 0 for good. The first three report an error's code
 * through the platform's fcodec_error_print.
 *
 * P_R_get_struct_sz takes no length: it reads as far as the stream claims to reach. Of a stream that may be
 * damaged ask fcodec_table_get_struct_size_from_tlv, with its length and &P_R_tbl.head.
 *
 * Thirteen records have replication forms, without the prefix:
 *
 *   uint32_t kov_ha_R_to_tlv      (rec, buf, len, opt2)               1 good, 0 error: the other way round
 *   int      kov_ha_R_to_struct   (tlv, len, out)                     the codec's code, 0 good
 *   uint32_t kov_ha_R_get_tlv_sz  (rec)                               as above
 *
 * The profile options have the same three under the names kov_api_profile_options_struct_to_tlv,
 * _tlv_to_struct and _get_tlv_sz.
 *
 * An auto-configuration host has a tail: decode it into a block of P_R_get_struct_sz bytes (kov_vault.h).
 */
#ifndef KOV_CODEC_H
#define KOV_CODEC_H

#include <kov/kov_base.h>
#include <kov/kov_records.h>
#include <kov/kov_vault.h>
#include <kov/platform/fcodec.h>

KOV_BEGIN_DECLS

/* The records: prefix, name, structure, rows of the schema table. First those of the shared database, then
 * those of the persistent store. */
/* clang-format off */
#define KOV_RDB_RECORDS(RECORD) \
    RECORD(kov_rdb, geninfo,         kov_rdb_geninfo_t,         14) \
    RECORD(kov_rdb, sviinfo,         kov_rdb_sviinfo_t,         13) \
    RECORD(kov_rdb, l2rib_topo_info, kov_rdb_l2rib_topo_info_t, 5) \
    RECORD(kov_rdb, aggr_sub_pfx,    kov_rdb_aggr_sub_pfx_t,    1) \
    RECORD(kov_rdb, port_tracking,   kov_rdb_port_tracking_t,   2) \
    RECORD(kov_rdb, port_l2dci,      kov_rdb_port_l2dci_t,      2)
#define KOV_VAULT_REPLICATED_RECORDS(RECORD) \
    RECORD(kov_vault, init_state,          kov_vault_init_state,             1) \
    RECORD(kov_vault, remote_host,         kov_vault_remote_host_val_t,      4) \
    RECORD(kov_vault, local_host,          kov_local_host_db,                4) \
    RECORD(kov_vault, client,              kov_vault_client_val_t,           6) \
    RECORD(kov_vault, auto_config_host,    kov_vault_auto_config_host_val_t, 19) \
    RECORD(kov_vault, vdp_host,            kov_vault_vdp_host_val_t,         6) \
    RECORD(kov_vault, loopback_vrf,        kov_loopback_vrf_t,               2)
#define KOV_VAULT_OTHER_RECORDS(RECORD) \
    RECORD(kov_vault, config_profile_data, kov_config_profile_data_t,        11) \
    RECORD(kov_vault, profile_options,     kov_profile_options_t,            27) \
    RECORD(kov_vault, uhost_key,           kov_uhost_key_t,                  7) \
    RECORD(kov_vault, profile_cmd_data,    kov_profile_cmd_data_t,           9)
#define KOV_REPLICATED_RECORDS(RECORD) KOV_RDB_RECORDS(RECORD) KOV_VAULT_REPLICATED_RECORDS(RECORD)
#define KOV_ALL_RECORDS(RECORD) KOV_REPLICATED_RECORDS(RECORD) KOV_VAULT_OTHER_RECORDS(RECORD)
/* clang-format on */

#define KOV_DECLARE_CODEC(P, R, TYPE, ROWS)                                                                  \
    KOV_EXPORT int P##_##R##_to_tlv(const TYPE *rec, void *buf, uint32_t len, uint32_t opt1, uint32_t opt2,  \
                                    uint32_t opt3);                                                          \
    KOV_EXPORT int P##_##R##_to_struct(const void *tlv, uint32_t len, TYPE *out, uint32_t flag);             \
    KOV_EXPORT int32_t P##_##R##_get_struct_sz(const void *tlv);                                             \
    KOV_EXPORT uint32_t P##_##R##_get_tlv_sz(const TYPE *rec);                                               \
    KOV_EXPORT int P##_##R##_field_itr_init(fcodec_field_itr *itr, const void *tlv, uint32_t len,            \
                                            uint32_t flags, uint16_t start);                                 \
    KOV_EXPORT int P##_##R##_field_get_next(fcodec_field_itr *itr, fcodec_field *out);                       \
    KOV_EXPORT int P##_##R##_get_field(const void *tlv, uint32_t len, uint32_t field_id, void *out,          \
                                       uint32_t *inout_len);

#define KOV_DECLARE_REPLICATION(P, R, TYPE, ROWS)                                                            \
    KOV_EXPORT uint32_t kov_ha_##R##_to_tlv(const TYPE *rec, void *buf, uint32_t len, uint32_t opt2);        \
    KOV_EXPORT int kov_ha_##R##_to_struct(const void *tlv, uint32_t len, TYPE *out);                         \
    KOV_EXPORT uint32_t kov_ha_##R##_get_tlv_sz(const TYPE *rec);

KOV_ALL_RECORDS(KOV_DECLARE_CODEC)
KOV_REPLICATED_RECORDS(KOV_DECLARE_REPLICATION)

KOV_EXPORT uint32_t kov_api_profile_options_struct_to_tlv(const kov_profile_options_t *rec, void *buf,
                                                          uint32_t len, uint32_t opt2);
KOV_EXPORT int kov_api_profile_options_tlv_to_struct(const void *tlv, uint32_t len,
                                                     kov_profile_options_t *out);
KOV_EXPORT uint32_t kov_api_profile_options_get_tlv_sz(const kov_profile_options_t *rec);

#undef KOV_DECLARE_CODEC
#undef KOV_DECLARE_REPLICATION

/* The schema tables: a header, one row a field in encoding order, an end row. The codec takes the header. */
#define KOV_DECLARE_TABLE(P, R, TYPE, ROWS)                                                                  \
    typedef struct P##_##R##_schema {                                                                        \
        fcodec_table head;                                                                                   \
        fcodec_row rows[ROWS];                                                                               \
        fcodec_row end;                                                                                      \
    } P##_##R##_schema;                                                                                      \
    KOV_EXPORT extern const P##_##R##_schema P##_##R##_tbl;
KOV_ALL_RECORDS(KOV_DECLARE_TABLE)
#undef KOV_DECLARE_TABLE

/* What the tables' rows cannot say about nested records and variable fields (fcodec.h); the last rule has no
 * table. The codec reads it. */
#define KOV_CODEC_RULES 8
KOV_EXPORT extern const fcodec_rule kov_codec_rule_tbl[KOV_CODEC_RULES];

KOV_END_DECLS

#endif
