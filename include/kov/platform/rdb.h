/*
 * Shared database: read access to the records that the server publishes.
 *
 * A record is a 61-byte key and a stream of bytes (its TLV form). The library opens the database by its
 * URI, reads one record by exact key, and walks records in key order. It never writes.
 *
 * Key: the record type is a 32-bit number at offset 0 in host order; bytes 4 to 36 hold a number or a VRF
 * name, byte 37 the address family, 38 to 40 are reserved, 41 to 60 hold a prefix. All 61 bytes identify
 * the record.
 * Order: the type as a number, then bytes 4 to 36, then bytes 41 to 60, then bytes 37 to 40, each compared
 * as unsigned bytes. So a type is contiguous, the records of a VRF stand together, and a walk that starts
 * at an IPv6 prefix of a VRF passes over the IPv4 records behind it.
 *
 * Ownership: the key and the TLV bytes that a call hands out belong to the platform and hold until the next
 * osal_rdb_* call of the process. They may stand at any alignment.
 */
#ifndef KOV_PLATFORM_RDB_H
#define KOV_PLATFORM_RDB_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Names the database a call means. The library fills name, uri and mode (2: read only) and passes the
 * descriptor to every read; a platform finds the open database by `uri`. 308 bytes in every ABI. */
typedef struct osal_rdb_desc {
    char unset;
    char name[32]; /* NUL-terminated */
    char uri[256]; /* NUL-terminated */
    uint32_t mode;
    uint32_t word[3];
} osal_rdb_desc;

/* Opens the database for reading. `uri` comes from svcmgr_uri_complete; `flags` is 0. Non-zero: open, also
 * when it was open already. 0: absent, damaged, not permitted, or a null URI. Called often: a process that
 * asks one question and never registers opens and closes for each question, so both must be cheap. */
int osal_rdb_open(const char *uri, uint32_t flags);

/* Closes what osal_rdb_open opened. Non-zero: closed; 0: it was not open. */
int osal_rdb_close(const char *uri);

/* Reads the record with exactly this key in its latest committed state. 1: found, `*tlv` and `*tlv_len` are
 * set; 0: none, both are untouched. A null or closed database, a null key and a length other than 61 answer
 * 0 and are no error: the library closes the database before it empties its caches, and those still read. */
int osal_rdb_read(const osal_rdb_desc *db, const void *key, uint32_t key_len, const void **tlv,
                  uint32_t *tlv_len);

/*
 * A walk. get_first hands out the first record at or after `key`, get_next the first record strictly after
 * it, whether or not a record with that key exists or ever existed. Both are addressed by the key alone:
 * other reads, other walks, and commits of the server may come between two steps. 1: found, `*rkey` is the
 * record's 61-byte key; 0: none, for the same reasons as above, and the out-pointers are untouched. `key`
 * may be the very key that the step before handed out. Walks cross from one type into the next; the caller
 * stops.
 */
int osal_rdb_get_first(const osal_rdb_desc *db, const void *key, uint32_t key_len, const void **rkey,
                       const void **tlv, uint32_t *tlv_len);
int osal_rdb_get_next(const osal_rdb_desc *db, const void *key, uint32_t key_len, const void **rkey,
                      const void **tlv, uint32_t *tlv_len);

#ifdef __cplusplus
}
#endif

#endif
