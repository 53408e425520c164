// A platform tree keyed by a 32-bit number (interface index, slot, bridge domain), typed.
//
// The number is stored as 4 bytes in network order with 32 significant bits, so that the tree's order is the
// numbers' order. The tree belongs to the platform, the entries to whoever added them; the root stands in a
// cache descriptor as an untyped pointer, and this is the one place that casts it. Nothing here is held
// between calls: a walk goes on from the key it stood at, whatever happened to the tree meanwhile.
#pragma once

#include "api/bytes.h"

#include <kov/platform/pt.h>

namespace kov
{

template <class Entry>
class number_tree
{
public:
    explicit number_tree(void *&root) : root_(root) {}

    bool exists() const { return root_ != nullptr; }

    Entry *lookup(u32 number) const
    {
        const u32 key = to_network(number);
        return entry_of(pt_lookup(tree(), &key, key_bits));
    }

    // Hangs `entry` on `number`; false when the tree refuses it.
    bool add(u32 number, Entry *entry)
    {
        const u32 key = to_network(number);
        pt_tree *grown = tree();
        const bool added = pt_add(&grown, &key, sizeof key, key_bits, entry) != 0;
        root_ = grown;
        return added;
    }

    // Takes `number` out; the entry stays the caller's to free. False when the tree refuses.
    bool remove(u32 number)
    {
        const u32 key = to_network(number);
        pt_tree *shrunk = tree();
        const bool removed = pt_delete(&shrunk, &key, sizeof key, key_bits) != 0;
        root_ = shrunk;
        return removed;
    }

    // The entry with the least number, and the number; null when there is none.
    Entry *first(u32 &number) const
    {
        u32 key = 0;
        u32 bits = key_bits;
        pt_node *node = pt_get_first_node(tree(), &key, &bits);
        return at(node, key, number);
    }

    // The entry with the least number above `number`, which moves there; null at the end.
    Entry *next(u32 &number) const
    {
        u32 key = to_network(number);
        u32 bits = key_bits;
        pt_node *node = pt_get_next_node(tree(), &key, &bits);
        return at(node, key, number);
    }

private:
    static constexpr u32 key_bits = 32;

    pt_tree *tree() const { return static_cast<pt_tree *>(root_); }
    static Entry *entry_of(pt_node *node) { return node ? static_cast<Entry *>(node->data) : nullptr; }
    static Entry *at(pt_node *node, u32 key, u32 &number)
    {
        if (node)
            number = to_host(key);
        return entry_of(node);
    }

    void *&root_;
};

} // namespace kov
