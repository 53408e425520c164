// A treap whose priorities are not stored: a node's priority is a hash of its address, and a linkage is just
// two children. So it fits into 16 bytes in both ABIs, needs no parent, no colour and no memory, is as deep
// as a random tree (about 2 log2 n), and changes no more than the path that it walks.
//
// A walk keeps the key at which it stands and searches from the root at each step; there is nothing in it
// that a change of the tree could invalidate, and so nothing to do before a yield. Children are loaded and
// stored by memcpy: a node may stand at any address.
//
// The node that a lookup found last is remembered, and looked at first: whoever walks over what hangs from a
// node looks that node up at each step. A tree may be overwritten without a word, so the memory is of its
// root too: while that one is there, the nodes of the tree are.
#include <kov/platform/oak.h>

#include <cstddef>
#include <cstring>

namespace
{

struct Children {
    void *left;
    void *right;
};
static_assert(sizeof(Children) <= sizeof(oak_linkage));

// The address of a pointer to a node: a tree's root or one of a node's children.
using Slot = uint8_t *;

void *load(const uint8_t *slot)
{
    void *node;
    std::memcpy(&node, slot, sizeof node);
    return node;
}

void store(Slot slot, void *node) { std::memcpy(slot, &node, sizeof node); }

Slot root_of(oak_tree *tree) { return reinterpret_cast<Slot>(&tree->root); }

Slot left_of(void *node) { return static_cast<Slot>(node) + offsetof(Children, left); }

Slot right_of(void *node) { return static_cast<Slot>(node) + offsetof(Children, right); }

uint64_t priority(const void *node)
{
    uint64_t x = reinterpret_cast<uintptr_t>(node);
    x = (x ^ x >> 32) * 0x9E3779B97F4A7C15u;
    x = (x ^ x >> 29) * 0xBF58476D1CE4E5B9u;
    return x ^ x >> 32;
}

bool usable(const oak_tree *tree)
{
    return tree != nullptr && tree->key_len > 0 && tree->key_len <= OAK_KEY_MAX &&
           tree->key_off >= sizeof(oak_linkage);
}

const void *key_in(const oak_tree *tree, const void *node)
{
    return static_cast<const uint8_t *>(node) + tree->key_off;
}

int compare(const oak_tree *tree, const void *a, const void *b)
{
    if (tree->cmp != nullptr)
        return tree->cmp(a, b);
    return std::strncmp(static_cast<const char *>(a), static_cast<const char *>(b), tree->key_len);
}

// The slot that holds the node with this key, or null where it would be.
Slot find(oak_tree *tree, const void *key)
{
    Slot slot = root_of(tree);
    while (void *const node = load(slot)) {
        const int order = compare(tree, key, key_in(tree, node));
        if (order == 0)
            break;
        slot = order < 0 ? left_of(node) : right_of(node);
    }
    return slot;
}

struct Found {
    const oak_tree *tree;
    const void *root;
    void *node; // null: nothing is remembered
};
Found last_found;

void *find_again(const oak_tree *tree, const void *key)
{
    const bool there = last_found.node != nullptr && last_found.tree == tree && last_found.root == tree->root;
    return there && compare(tree, key, key_in(tree, last_found.node)) == 0 ? last_found.node : nullptr;
}

// Deals the nodes below `node` out: keys below `key` to the left slot, the others to the right one.
void split(const oak_tree *tree, void *node, const void *key, Slot left, Slot right)
{
    while (node != nullptr) {
        if (compare(tree, key_in(tree, node), key) < 0) {
            store(left, node);
            left = right_of(node);
            node = load(left);
        } else {
            store(right, node);
            right = left_of(node);
            node = load(right);
        }
    }
    store(left, nullptr);
    store(right, nullptr);
}

// Joins two trees, all of whose keys are below and above each other, in a slot.
void join(Slot slot, void *left, void *right)
{
    while (left != nullptr && right != nullptr) {
        if (priority(left) > priority(right)) {
            store(slot, left);
            slot = right_of(left);
            left = load(slot);
        } else {
            store(slot, right);
            slot = left_of(right);
            right = load(slot);
        }
    }
    store(slot, left != nullptr ? left : right);
}

void *least(const oak_tree *tree)
{
    void *found = nullptr;
    for (void *node = tree->root; node != nullptr; node = load(left_of(node)))
        found = node;
    return found;
}

void *least_above(const oak_tree *tree, const void *key)
{
    void *found = nullptr;
    for (void *node = tree->root; node != nullptr;) {
        const bool above = compare(tree, key, key_in(tree, node)) < 0;
        if (above)
            found = node;
        node = load(above ? left_of(node) : right_of(node));
    }
    return found;
}

void *stand_at(const oak_tree *tree, oak_iter *iter, void *node)
{
    if (node == nullptr)
        return nullptr;
    const auto *const key = static_cast<const char *>(key_in(tree, node));
    *iter = {};
    std::memcpy(iter->key, key, tree->cmp != nullptr ? tree->key_len : strnlen(key, tree->key_len));
    iter->started = 1;
    return node;
}

} // namespace

extern "C" {

void oak_init_new(oak_tree *tree, oak_cmp cmp, uint32_t key_len, uint32_t key_off, uint32_t flags)
{
    if (tree == nullptr)
        return;
    *tree = {nullptr, cmp, key_len, key_off, flags};
    if (last_found.tree == tree)
        last_found = {};
}

int oak_insert(oak_tree *tree, void *node)
{
    if (!usable(tree) || node == nullptr)
        return 0;
    const void *const key = key_in(tree, node);
    if (load(find(tree, key)) != nullptr)
        return 0;
    const uint64_t own = priority(node);
    Slot slot = root_of(tree);
    void *below = load(slot);
    while (below != nullptr && priority(below) > own) {
        slot = compare(tree, key, key_in(tree, below)) < 0 ? left_of(below) : right_of(below);
        below = load(slot);
    }
    split(tree, below, key, left_of(node), right_of(node));
    store(slot, node);
    return 1;
}

void *oak_lookup(oak_tree *tree, const void *key)
{
    if (!usable(tree) || key == nullptr)
        return nullptr;
    if (void *const node = find_again(tree, key))
        return node;
    void *const node = load(find(tree, key));
    if (node != nullptr)
        last_found = {tree, tree->root, node};
    return node;
}

int oak_delete(oak_tree *tree, void *node)
{
    if (!usable(tree) || node == nullptr)
        return 0;
    const Slot slot = find(tree, key_in(tree, node));
    if (load(slot) != node)
        return 0;
    join(slot, load(left_of(node)), load(right_of(node)));
    if (last_found.node == node)
        last_found = {};
    return 1;
}

void *oak_get_first(oak_tree *tree, oak_iter *iter)
{
    if (iter == nullptr)
        return nullptr;
    *iter = {};
    return usable(tree) ? stand_at(tree, iter, least(tree)) : nullptr;
}

void *oak_get_next(oak_tree *tree, oak_iter *iter)
{
    if (!usable(tree) || iter == nullptr)
        return nullptr;
    return stand_at(tree, iter, iter->started != 0 ? least_above(tree, iter->key) : least(tree));
}

void oak_pre_sched_yield(oak_tree *, oak_iter *) {}

} // extern "C"
