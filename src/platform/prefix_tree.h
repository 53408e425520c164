// A platform tree keyed by address prefixes of one width (4 or 16 bytes), typed.
//
// The address bytes are in network order, so that the tree's order is the addresses' order, and the prefix
// length is the number of bits. The tree belongs to the platform, the entries to whoever added them. Nothing
// here is held between calls: a walk goes on from the key it stood at.
#pragma once

#include "api/types.h"

#include <kov/platform/pt.h>

namespace kov
{

template <class Entry>
class prefix_tree
{
public:
    prefix_tree(pt_tree *&root, u32 key_size) : root_(root), key_size_(key_size) {}

    Entry *lookup(const void *key, u32 bits) const { return entry_of(pt_lookup(root_, key, bits)); }

    // Hangs `entry` on the prefix; false when the tree refuses it.
    bool add(const void *key, u32 bits, Entry *entry)
    {
        return pt_add(&root_, key, key_size_, bits, entry) != 0;
    }

    // Takes the prefix out; the entry stays the caller's to free. False when the tree refuses.
    bool remove(const void *key, u32 bits) { return pt_delete(&root_, key, key_size_, bits) != 0; }

    // The entry with the least prefix, and the prefix; null when there is none.
    Entry *first(void *key, u32 &bits) const { return entry_of(pt_get_first_node(root_, key, &bits)); }

    // The entry with the least prefix above the given one, which moves there; null at the end.
    Entry *next(void *key, u32 &bits) const { return entry_of(pt_get_next_node(root_, key, &bits)); }

private:
    static Entry *entry_of(pt_node *node) { return node ? static_cast<Entry *>(node->data) : nullptr; }

    pt_tree *&root_;
    u32 key_size_;
};

} // namespace kov
