/*
 * Records to and from their stored form: the same ten calls for every record, stamped from one list.
 *
 * The stored form is a stream that the platform's codec reads and writes from the record's schema table. A
 * stream carries the fields that the table names, in the table's order; the record's local bytes never
 * travel. Decoding writes the fields that the stream carries and leaves every other byte as found; on an
 * error it writes nothing.
 *
 *   int      P_R_to_tlv(rec, buf, len, opt1, opt2, opt3)   encode into `buf` of `len` bytes; the codec's
 * code, 0 good int      P_R_to_struct(tlv, len, out, flag)            decode; the codec's code, 0 good
 *   int32_t  P_R_get_struct_sz(tlv)                        bytes of the record that a stream holds; -1 on
 * error uint32_t P_R_get_tlv_sz(rec)                           bytes that encoding writes; 0 on error int
 * P_R_field_itr_init(itr, tlv, len, flags, start)   walk the fields of a stream int P_R_field_get_next(itr,
 * out)                      0, or 2 at the end int      P_R_get_field(tlv, len, field_id, out, inout_len) one
 * field; `inout_len` is its room, then its size
 *
 * with P the prefix and R the record. The first three report an error's code through the platform's
 * fcodec_error_print. The replication forms carry no prefix:
 *
 *   uint32_t kov_ha_R_to_tlv(rec, buf, len, opt2)          1 good, 0 error: the other way round
 *   int      kov_ha_R_to_struct(tlv, len, out)             the codec's code, 0 good
 *   uint32_t kov_ha_R_get_tlv_sz(rec)                      as above
 */
#ifndef KOV_CODEC_H
#define KOV_CODEC_H

#include <kov/kov_base.h>
#include <kov/kov_records.h>
#include <kov/platform/fcodec.h>

KOV_BEGIN_DECLS

/* The records: prefix, name, structure, rows of the schema table. */
/* clang-format off */
#define KOV_RDB_RECORDS(RECORD) \
    RECORD(kov_rdb, geninfo,         kov_rdb_geninfo_t,         14) \
    RECORD(kov_rdb, sviinfo,         kov_rdb_sviinfo_t,         13) \
    RECORD(kov_rdb, l2rib_topo_info, kov_rdb_l2rib_topo_info_t, 5) \
    RECORD(kov_rdb, aggr_sub_pfx,    kov_rdb_aggr_sub_pfx_t,    1) \
    RECORD(kov_rdb, port_tracking,   kov_rdb_port_tracking_t,   2) \
    RECORD(kov_rdb, port_l2dci,      kov_rdb_port_l2dci_t,      2)
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

KOV_RDB_RECORDS(KOV_DECLARE_CODEC)
KOV_RDB_RECORDS(KOV_DECLARE_REPLICATION)

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
KOV_RDB_RECORDS(KOV_DECLARE_TABLE)
#undef KOV_DECLARE_TABLE

KOV_END_DECLS

#endif
