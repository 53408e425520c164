// A platform tree of nodes ordered by name, typed.
//
// A node begins with its `linkage` and has its key in `name`, a text that ends with a NUL inside its array.
// Nodes are the caller's; the tree holds no memory.
#pragma once

#include "api/types.h"

#include <kov/platform/oak.h>

#include <cstddef>

namespace kov
{

template <class Node>
class name_tree
{
public:
    explicit name_tree(oak_tree &tree) : tree_(tree) {}

    // Makes it an empty tree. Nodes that it had are forgotten.
    void init() { oak_init_new(&tree_, nullptr, sizeof(Node::name), offsetof(Node, name), 0); }

    Node *lookup(const char *name) const { return typed(oak_lookup(&tree_, name)); }

    // False when there is a node with this name already.
    bool insert(Node *node) { return oak_insert(&tree_, node) != 0; }

    // False when this very node is not in the tree.
    bool remove(Node *node) { return oak_delete(&tree_, node) != 0; }

    // A walk survives any change between two steps, if it is told before other tasks may run.
    Node *first(oak_iter &iter) const { return typed(oak_get_first(&tree_, &iter)); }
    Node *next(oak_iter &iter) const { return typed(oak_get_next(&tree_, &iter)); }
    void prepare_yield(oak_iter &iter) { oak_pre_sched_yield(&tree_, &iter); }

private:
    static Node *typed(void *node)
    {
        static_assert(offsetof(Node, linkage) == 0);
        return static_cast<Node *>(node);
    }

    oak_tree &tree_;
};

} // namespace kov
