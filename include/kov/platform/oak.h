/*
 * Ordered trees of the caller's own nodes, by a key inside the node.
 *
 * The tree is intrusive. A node begins with its linkage, 16 bytes in both ABIs, and the key stands at a fixed
 * offset behind it. The tree allocates nothing and holds no memory of its own: it lies in the caller's data
 * and may be forgotten, overwritten or initialised again at any time without leaking anything. Nodes stay the
 * caller's; one that is in a tree must keep its place and its key until it is deleted or the tree is
 * forgotten. The linkage of a node that is in no tree may hold anything.
 *
 * An all-zero oak_tree is an empty tree. It takes no node until oak_init_new has told it what a key is.
 * A null tree, node, key or iterator finds nothing and changes nothing. Nothing is thrown.
 */
#ifndef KOV_PLATFORM_OAK_H
#define KOV_PLATFORM_OAK_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The first member of every node. What it holds is the tree's business. */
typedef struct oak_linkage {
    uint8_t opaque[16];
} oak_linkage;

/* Compares two keys: negative, 0 or positive as `a` stands before, at or behind `b`. Must not change the
 * tree. */
typedef int (*oak_cmp)(const void *a, const void *b);

/* The longest key in bytes. A walk keeps a copy of the key at which it stands. */
#define OAK_KEY_MAX 64u

/* The caller embeds it by value; its members are the tree's business. */
typedef struct oak_tree {
    void *root;
    oak_cmp cmp;
    uint32_t key_len;
    uint32_t key_off;
    uint32_t flags;
} oak_tree;

/* A walk: the key last returned. Nothing to release; it may be forgotten at any time. All-zero: not begun. */
typedef struct oak_iter {
    uint8_t key[OAK_KEY_MAX];
    uint32_t started;
} oak_iter;

/* Makes `tree` an empty tree, whatever it held before: its nodes are forgotten, not touched. Keys are the
 * `key_len` bytes (1 to OAK_KEY_MAX) at `key_off` (16 or more) of a node. `cmp` null: they are strings, which
 * end at a NUL or after `key_len` bytes, and are ordered by unsigned bytes. `flags` is 0. Allocates nothing
 * and cannot fail; a tree with lengths out of range takes no node. */
void oak_init_new(oak_tree *tree, oak_cmp cmp, uint32_t key_len, uint32_t key_off, uint32_t flags);

/* 1: inserted. 0, and nothing has changed: a node with this key is there already. */
int oak_insert(oak_tree *tree, void *node);

/* The node with this key, or null. A string key is read up to its NUL, and no further than `key_len` bytes.
 */
void *oak_lookup(oak_tree *tree, const void *key);

/* 1: taken out. 0, and nothing has changed: this very node is not in the tree, even if another one with the
 * same key is. */
int oak_delete(oak_tree *tree, void *node);

/* The node with the least key, or null. The walk begins anew and stands there; in an empty tree it stands
 * before everything. */
void *oak_get_first(oak_tree *tree, oak_iter *iter);

/* The node with the least key above the one last returned, even if that node has been deleted and freed
 * since. Null when there is none; the walk then stays where it is, and goes on if a greater key is inserted.
 * A walk that has not begun begins. */
void *oak_get_next(oak_tree *tree, oak_iter *iter);

/* The owner of the walk is about to let other tasks run, which may change the tree: the walk must be able to
 * go on after that. A platform whose walks always are does nothing here. */
void oak_pre_sched_yield(oak_tree *tree, oak_iter *iter);

#ifdef __cplusplus
}
#endif

#endif
