// Prefix trees and ordered trees as sorted vectors: slow, and easy to believe.
//
// A prefix tree belongs to the fake and is never destroyed by its user. Its nodes are made anew at each add
// and delete, and the old ones poisoned, because a node holds no longer than that. An ordered tree's nodes
// are the user's; the fake keeps pointers to them beside the tree, whose root only says that there are some.
#include "internal.h"

#include <kov/platform/oak.h>
#include <kov/platform/pt.h>

#include <algorithm>
#include <cstring>

// ------------------------------------------------------------------------------------------- prefix trees

namespace
{

constexpr uint32_t narrow = 4, wide = 16;

struct PrefixKey {
    std::array<uint8_t, wide> bytes; // a 4-byte key has twelve zero bytes behind it
    uint32_t bits;
    auto operator<=>(const PrefixKey &) const = default;
};

PrefixKey prefix_key(const void *bytes, uint32_t width, uint32_t bits)
{
    PrefixKey key = {{}, bits};
    std::memcpy(key.bytes.data(), bytes, width);
    return key;
}

struct Element {
    PrefixKey key;
    std::unique_ptr<pt_node> node;
};

} // namespace

struct pt_tree {
    uint32_t width = narrow; // of the keys that lookups and walks read and write
    std::vector<Element> sorted;
    std::vector<std::unique_ptr<pt_node>> ended; // the nodes before the last change

    using At = std::vector<Element>::iterator;
    At first_not_below(const PrefixKey &key)
    {
        return std::partition_point(sorted.begin(), sorted.end(),
                                    [&](const Element &e) { return e.key < key; });
    }
    At find(const PrefixKey &key)
    {
        const At at = first_not_below(key);
        return at != sorted.end() && at->key == key ? at : sorted.end();
    }
    void renew_nodes();
};

void pt_tree::renew_nodes()
{
    ended.clear();
    for (Element &element : sorted) {
        auto fresh = std::make_unique<pt_node>(*element.node);
        std::memset(element.node.get(), 0xDD, sizeof *element.node);
        ended.push_back(std::exchange(element.node, std::move(fresh)));
    }
}

namespace
{

std::vector<std::unique_ptr<pt_tree>> prefix_trees;

// Logs a change of a tree and ends its nodes; true: go on with it.
bool begin_change(fake::Call call, pt_tree **tree, const void *key, uint32_t key_bytes, uint32_t bits)
{
    const bool fails = fake::enter(call);
    if (tree && *tree)
        (*tree)->renew_nodes();
    return !fails && tree && key && (key_bytes == narrow || key_bytes == wide) && bits <= 8 * key_bytes;
}

pt_node *report(pt_tree *tree, pt_tree::At at, void *key, uint32_t *bits)
{
    if (at == tree->sorted.end())
        return nullptr;
    std::memcpy(key, at->key.bytes.data(), tree->width);
    *bits = at->key.bits;
    return at->node.get();
}

} // namespace

using namespace fake;

int pt_add(pt_tree **tree, const void *key, uint32_t key_bytes, uint32_t bits, void *data)
{
    if (!begin_change(Call::pt_add, tree, key, key_bytes, bits) || !data)
        return 0;
    const PrefixKey wanted = prefix_key(key, key_bytes, bits);
    if (!*tree)
        *tree = prefix_trees.emplace_back(new pt_tree).get();
    pt_tree &t = **tree;
    if (t.find(wanted) != t.sorted.end())
        return 0;
    t.width = std::max(t.width, key_bytes);
    t.sorted.insert(t.first_not_below(wanted), {wanted, std::make_unique<pt_node>(pt_node{data})});
    return 1;
}

int pt_delete(pt_tree **tree, const void *key, uint32_t key_bytes, uint32_t bits)
{
    if (!begin_change(Call::pt_delete, tree, key, key_bytes, bits) || !*tree)
        return 0;
    pt_tree &t = **tree;
    const auto at = t.find(prefix_key(key, key_bytes, bits));
    if (at == t.sorted.end())
        return 0;
    at->node->data = reinterpret_cast<void *>(UINTPTR_MAX / 255 * 0xDD);
    t.ended.push_back(std::move(at->node));
    t.sorted.erase(at);
    return 1;
}

pt_node *pt_lookup(pt_tree *tree, const void *key, uint32_t bits)
{
    if (enter(Call::pt_lookup) || !tree || !key)
        return nullptr;
    const auto at = tree->find(prefix_key(key, tree->width, bits));
    return at == tree->sorted.end() ? nullptr : at->node.get();
}

pt_node *pt_get_first_node(pt_tree *tree, void *key_out, uint32_t *bits_out)
{
    enter(Call::pt_get_first_node);
    return tree && key_out && bits_out ? report(tree, tree->sorted.begin(), key_out, bits_out) : nullptr;
}

pt_node *pt_get_next_node(pt_tree *tree, void *key_io, uint32_t *bits_io)
{
    enter(Call::pt_get_next_node);
    if (!tree || !key_io || !bits_io || *bits_io > 8 * tree->width)
        return nullptr;
    const PrefixKey just_above = prefix_key(key_io, tree->width, *bits_io + 1);
    return report(tree, tree->first_not_below(just_above), key_io, bits_io);
}

// ------------------------------------------------------------------------------------------ ordered trees

namespace
{

using Nodes = std::vector<void *>;
std::map<const oak_tree *, Nodes> ordered_trees;

constexpr uint32_t least_key_offset = sizeof(oak_linkage);

// False for a null tree and one that was never told what a key is.
bool usable(const oak_tree *tree)
{
    return tree && tree->key_len != 0 && tree->key_len <= OAK_KEY_MAX && tree->key_off >= least_key_offset;
}

// A tree without a root is empty, whatever stood at its address before.
Nodes &nodes_of(const oak_tree *tree)
{
    Nodes &nodes = ordered_trees[tree];
    if (!tree->root)
        nodes.clear();
    return nodes;
}

void mark(oak_tree *tree, const Nodes &nodes) { tree->root = nodes.empty() ? nullptr : nodes[0]; }

const void *key_in(const oak_tree *tree, const void *node)
{
    return static_cast<const uint8_t *>(node) + tree->key_off;
}

int compare(const oak_tree *tree, const void *a, const void *b)
{
    if (tree->cmp)
        return tree->cmp(a, b);
    return std::strncmp(static_cast<const char *>(a), static_cast<const char *>(b), tree->key_len);
}

Nodes::iterator first_not_below(const oak_tree *tree, const void *key)
{
    Nodes &nodes = nodes_of(tree);
    return std::partition_point(nodes.begin(), nodes.end(),
                                [&](const void *node) { return compare(tree, key_in(tree, node), key) < 0; });
}

bool stands_at(const oak_tree *tree, Nodes::iterator at, const void *key)
{
    return at != nodes_of(tree).end() && compare(tree, key_in(tree, *at), key) == 0;
}

// A walk keeps the key of the node and not the node.
void *stand_at(const oak_tree *tree, oak_iter *iter, Nodes::iterator at)
{
    if (at == nodes_of(tree).end())
        return nullptr;
    const auto *const key = static_cast<const char *>(key_in(tree, *at));
    *iter = {};
    std::memcpy(iter->key, key, tree->cmp ? tree->key_len : strnlen(key, tree->key_len));
    iter->started = 1;
    return *at;
}

} // namespace

void oak_init_new(oak_tree *tree, oak_cmp cmp, uint32_t key_len, uint32_t key_off, uint32_t flags)
{
    enter(Call::oak_init_new);
    if (!tree)
        return;
    ordered_trees.erase(tree);
    *tree = {nullptr, cmp, key_len, key_off, flags};
}

int oak_insert(oak_tree *tree, void *node)
{
    if (enter(Call::oak_insert) || !usable(tree) || !node)
        return 0;
    const auto at = first_not_below(tree, key_in(tree, node));
    if (stands_at(tree, at, key_in(tree, node)))
        return 0;
    Nodes &nodes = nodes_of(tree);
    nodes.insert(at, node);
    mark(tree, nodes);
    return 1;
}

void *oak_lookup(oak_tree *tree, const void *key)
{
    if (enter(Call::oak_lookup) || !usable(tree) || !key)
        return nullptr;
    const auto at = first_not_below(tree, key);
    return stands_at(tree, at, key) ? *at : nullptr;
}

int oak_delete(oak_tree *tree, void *node)
{
    if (enter(Call::oak_delete) || !usable(tree))
        return 0;
    Nodes &nodes = nodes_of(tree);
    const auto at = std::find(nodes.begin(), nodes.end(), node);
    if (at == nodes.end())
        return 0;
    nodes.erase(at);
    mark(tree, nodes);
    return 1;
}

void *oak_get_first(oak_tree *tree, oak_iter *iter)
{
    enter(Call::oak_get_first);
    if (iter)
        *iter = {};
    return usable(tree) && iter ? stand_at(tree, iter, nodes_of(tree).begin()) : nullptr;
}

void *oak_get_next(oak_tree *tree, oak_iter *iter)
{
    enter(Call::oak_get_next);
    if (!usable(tree) || !iter)
        return nullptr;
    if (!iter->started)
        return stand_at(tree, iter, nodes_of(tree).begin());
    auto at = first_not_below(tree, iter->key);
    if (stands_at(tree, at, iter->key))
        ++at;
    return stand_at(tree, iter, at);
}

void oak_pre_sched_yield(oak_tree *, oak_iter *) { enter(Call::oak_pre_sched_yield); }

// ---------------------------------------------------------------------------------------------- for tests

std::size_t Containers::pt_nodes() const
{
    std::size_t sum = 0;
    for (const auto &tree : prefix_trees)
        sum += tree->sorted.size();
    return sum;
}

std::size_t Containers::oak_nodes() const
{
    std::size_t sum = 0;
    for (const auto &[tree, nodes] : ordered_trees)
        sum += nodes.size();
    return sum;
}

void fake::forget_containers()
{
    prefix_trees.clear();
    ordered_trees.clear();
}
