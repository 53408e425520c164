/*
 * Prefix trees: one pointer for each key of some leading bits.
 *
 * A key is 4 or 16 bytes and the number of leading bits that count, 0 to 32 or 0 to 128. The bytes are kept
 * and reported exactly as they were stored, those behind the bits too, and all of them tell keys apart:
 * 10.1.0.0/16 and 10.1.2.3/16 are two keys. Order: the bytes, compared as unsigned bytes, then the shorter
 * length first.
 *
 * Width: lookups and walks are not told how wide a key is. They read and write 4 bytes as long as the tree
 * has taken 4-byte keys only, and 16 bytes from its first 16-byte key on; the caller's buffers must have
 * them. In such a mixed tree a 4-byte key is the 16-byte key with twelve zero bytes behind it: it is reported
 * so, and the two are one and the same key.
 *
 * Ownership: the data is the caller's, never null, and the tree only keeps the pointer. A node belongs to the
 * tree and holds until the next pt_add or pt_delete on that tree, also one that fails. A tree comes into
 * being with its first add and is never destroyed by its owner, who forgets it when it is empty: a platform
 * may then have freed it. `*tree` of an emptied tree is not null and takes keys again; pt_add and pt_delete
 * may change it, so an owner keeps one copy of the pointer and reads it anew. A null tree has nothing in it;
 * any other null pointer is refused or finds nothing. Key bytes may stand at any alignment. Nothing is
 * thrown.
 */
#ifndef KOV_PLATFORM_PT_H
#define KOV_PLATFORM_PT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct pt_tree pt_tree;

/* What a lookup or a walk finds. */
typedef struct pt_node {
    void *data;
} pt_node;

/* Hangs `data` on the key of `key_bytes` bytes, which are copied. 1: added; when `*tree` was null it is the
 * new tree now. 0, and nothing has changed: the key is there already (its data stays), `key_bytes` is neither
 * 4 nor 16, there are more bits than the bytes have, a pointer is null, or memory is out. */
int pt_add(pt_tree **tree, const void *key, uint32_t key_bytes, uint32_t bits, void *data);

/* Takes the key out; its data is the caller's to free. 1: deleted. 0: it is not there, or is not a key.
 * `*tree` stays as it is, also when its last key goes. Needs no memory. */
int pt_delete(pt_tree **tree, const void *key, uint32_t key_bytes, uint32_t bits);

/* The node of exactly this key, bytes and bits; null when there is none. Each answer from a cache is one
 * call: it must cost a few nanoseconds, also with 64k keys. */
pt_node *pt_lookup(pt_tree *tree, const void *key, uint32_t bits);

/* The node of the least key; its bytes go to `key_out`, its length to `bits_out`. Null when there is none,
 * and then nothing is written. */
pt_node *pt_get_first_node(pt_tree *tree, void *key_out, uint32_t *bits_out);

/* The node of the least key that is strictly greater than the given one, whether or not that is in the tree:
 * a walk survives any change between two steps. The key found replaces the given one. Null when there is none
 * or when the given bits are more than such a key has (32 or 128), and then nothing is written. */
pt_node *pt_get_next_node(pt_tree *tree, void *key_io, uint32_t *bits_io);

#ifdef __cplusplus
}
#endif

#endif
