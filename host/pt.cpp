// A tree has keys of one width: 4 bytes until its first 16-byte key, which turns all of them into 16-byte
// keys with zeros behind. So each call works on one index, and the usual tree, keyed by 32-bit numbers, packs
// key and length into one 64-bit word.
//
// There is no call that destroys a tree: owners forget emptied ones. So a tree that loses its last element is
// freed there and then, and its owner is left with one empty tree that all share. The next element gets a
// tree of its own again. The list of all trees keeps those reachable that a process holds when it ends.
#include "pt_index.h"
#include "support.h"

#include <kov/platform/pt.h>

#include <bit>
#include <compare>
#include <cstring>
#include <memory>
#include <utility>

namespace
{

using kov_host::guarded;
using kov_host::PtIndex;

static_assert(std::endian::native == std::endian::little, "key bytes are swapped into numbers");

constexpr uint32_t narrow_bytes = 4;
constexpr uint32_t wide_bytes = 16;

constexpr uint64_t golden = 0x9E3779B97F4A7C15u;

// Spreads every bit of x over the upper bits of the result, which the table uses.
constexpr uint64_t mix(uint64_t x)
{
    x *= golden;
    return (x ^ x >> 32) * golden;
}

// The bytes as a number, above the length: the order of the words is the order of the keys.
struct NarrowKey {
    uint64_t word;

    static NarrowKey load(const void *bytes, uint32_t bits)
    {
        uint32_t number;
        std::memcpy(&number, bytes, sizeof number);
        return {uint64_t{__builtin_bswap32(number)} << 32 | bits};
    }
    uint32_t number() const { return static_cast<uint32_t>(word >> 32); }
    uint32_t bits() const { return static_cast<uint32_t>(word); }
    void store(void *bytes) const
    {
        const uint32_t swapped = __builtin_bswap32(number());
        std::memcpy(bytes, &swapped, sizeof swapped);
    }
    uint64_t hash() const { return mix(word); }
    auto operator<=>(const NarrowKey &) const = default;
};

struct WideKey {
    uint64_t high;
    uint64_t low;
    uint32_t length;

    static WideKey load(const void *bytes, uint32_t bits)
    {
        uint64_t halves[2];
        std::memcpy(halves, bytes, sizeof halves);
        return {__builtin_bswap64(halves[0]), __builtin_bswap64(halves[1]), bits};
    }
    static WideKey widen(NarrowKey key) { return {uint64_t{key.number()} << 32, 0, key.bits()}; }
    // Whether it is a 4-byte key with zeros behind it.
    bool is_narrow() const { return (high << 32) == 0 && low == 0 && length <= 8 * narrow_bytes; }
    NarrowKey narrowed() const { return {high | length}; }
    uint32_t bits() const { return length; }
    void store(void *bytes) const
    {
        const uint64_t halves[2] = {__builtin_bswap64(high), __builtin_bswap64(low)};
        std::memcpy(bytes, halves, sizeof halves);
    }
    uint64_t hash() const { return mix(high ^ mix(low + length)); }
    auto operator<=>(const WideKey &) const = default;
};

pt_tree *all_trees;

} // namespace

struct pt_tree {
    bool is_wide = false;
    PtIndex<NarrowKey> narrow;
    PtIndex<WideKey> wide;
    pt_tree *next_tree = nullptr;
    pt_tree **link = nullptr; // what points at this one in the list

    bool add(const void *key, uint32_t key_bytes, uint32_t bits, void *data);
    bool erase(const void *key, uint32_t key_bytes, uint32_t bits);

    bool empty() const { return narrow.size() == 0 && wide.size() == 0; }

private:
    bool add_first_wide(const WideKey &key, void *data);
};

namespace
{

pt_tree emptied;

void enlist(pt_tree *tree)
{
    tree->next_tree = all_trees;
    tree->link = &all_trees;
    if (all_trees != nullptr)
        all_trees->link = &tree->next_tree;
    all_trees = tree;
}

void discard(pt_tree *tree)
{
    *tree->link = tree->next_tree;
    if (tree->next_tree != nullptr)
        tree->next_tree->link = tree->link;
    delete tree;
}

WideKey wide_key(const void *key, uint32_t key_bytes, uint32_t bits)
{
    return key_bytes == wide_bytes ? WideKey::load(key, bits) : WideKey::widen(NarrowKey::load(key, bits));
}

bool is_key(const void *key, uint32_t key_bytes, uint32_t bits)
{
    return key != nullptr && (key_bytes == narrow_bytes || key_bytes == wide_bytes) && bits <= 8 * key_bytes;
}

// Hands a key found to the caller.
template <class Key>
pt_node *report(PtIndex<Key> &index, const Key *found, void *key_out, uint32_t *bits_out)
{
    if (found == nullptr)
        return nullptr;
    found->store(key_out);
    *bits_out = found->bits();
    return index.find(*found);
}

template <class Key>
pt_node *next(PtIndex<Key> &index, void *key_io, uint32_t *bits_io)
{
    return report(index, index.above(Key::load(key_io, *bits_io)), key_io, bits_io);
}

} // namespace

bool pt_tree::add(const void *key, uint32_t key_bytes, uint32_t bits, void *data)
{
    if (is_wide)
        return wide.add(wide_key(key, key_bytes, bits), data);
    if (key_bytes == wide_bytes)
        return add_first_wide(WideKey::load(key, bits), data);
    return narrow.add(NarrowKey::load(key, bits), data);
}

bool pt_tree::add_first_wide(const WideKey &key, void *data)
{
    if (key.is_narrow() && narrow.find(key.narrowed()) != nullptr)
        return false;
    PtIndex<WideKey> widened;
    widened.reserve(narrow.size() + 1);
    narrow.for_each([&](NarrowKey each, void *its_data) { widened.add(WideKey::widen(each), its_data); });
    widened.add(key, data);
    wide = std::move(widened);
    narrow = {};
    is_wide = true;
    return true;
}

bool pt_tree::erase(const void *key, uint32_t key_bytes, uint32_t bits)
{
    if (is_wide)
        return wide.erase(wide_key(key, key_bytes, bits));
    if (key_bytes == narrow_bytes)
        return narrow.erase(NarrowKey::load(key, bits));
    const WideKey asked = WideKey::load(key, bits);
    return asked.is_narrow() && narrow.erase(asked.narrowed());
}

extern "C" {

int pt_add(pt_tree **tree, const void *key, uint32_t key_bytes, uint32_t bits, void *data)
{
    if (tree == nullptr || data == nullptr || !is_key(key, key_bytes, bits))
        return 0;
    return guarded(0, [&] {
        if (*tree != nullptr && *tree != &emptied)
            return (*tree)->add(key, key_bytes, bits, data) ? 1 : 0;
        auto fresh = std::make_unique<pt_tree>();
        fresh->add(key, key_bytes, bits, data);
        *tree = fresh.release();
        enlist(*tree);
        return 1;
    });
}

int pt_delete(pt_tree **tree, const void *key, uint32_t key_bytes, uint32_t bits)
{
    if (tree == nullptr || *tree == nullptr || !is_key(key, key_bytes, bits))
        return 0;
    if (!(*tree)->erase(key, key_bytes, bits))
        return 0;
    if ((*tree)->empty())
        discard(std::exchange(*tree, &emptied));
    return 1;
}

pt_node *pt_lookup(pt_tree *tree, const void *key, uint32_t bits)
{
    if (tree == nullptr || key == nullptr)
        return nullptr;
    return tree->is_wide ? tree->wide.find(WideKey::load(key, bits))
                         : tree->narrow.find(NarrowKey::load(key, bits));
}

pt_node *pt_get_first_node(pt_tree *tree, void *key_out, uint32_t *bits_out)
{
    if (tree == nullptr || key_out == nullptr || bits_out == nullptr)
        return nullptr;
    return tree->is_wide ? report(tree->wide, tree->wide.first(), key_out, bits_out)
                         : report(tree->narrow, tree->narrow.first(), key_out, bits_out);
}

pt_node *pt_get_next_node(pt_tree *tree, void *key_io, uint32_t *bits_io)
{
    if (tree == nullptr || key_io == nullptr || bits_io == nullptr)
        return nullptr;
    if (*bits_io > 8 * (tree->is_wide ? wide_bytes : narrow_bytes))
        return nullptr;
    return tree->is_wide ? next(tree->wide, key_io, bits_io) : next(tree->narrow, key_io, bits_io);
}

} // extern "C"
