// The nodes of a prefix tree by key: an open-addressing hash table for lookups, and the keys in order beside
// it.
//
// A lookup is one multiplication or two and, nearly always, one cache line; the tree-shaped part is only
// asked for walks. A node lies in the table and moves when a key is added or deleted. A slot without data is
// free, since no node has null data. Deleting closes the gap that it leaves, so that nothing wears out.
#pragma once

#include "pt_order.h"

#include <kov/platform/pt.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace kov_host
{

// Key: ordered, comparable, with a 64-bit hash().
template <class Key>
class PtIndex
{
public:
    bool empty() const { return count_ == 0; }
    std::size_t size() const { return count_; }

    pt_node *find(const Key &key)
    {
        if (count_ == 0)
            return nullptr;
        Slot &slot = slots_[slot_of(key)];
        return slot.node.data == nullptr ? nullptr : &slot.node;
    }

    // False when the key is there. Throws when memory is out, and then nothing has changed.
    bool add(const Key &key, void *data)
    {
        if (find(key) != nullptr)
            return false;
        reserve(count_ + 1);
        order_.insert(key);
        slots_[slot_of(key)] = {key, {data}};
        ++count_;
        return true;
    }

    // False when the key is not there.
    bool erase(const Key &key) noexcept
    {
        if (find(key) == nullptr)
            return false;
        order_.erase(key);
        close_gap(slot_of(key));
        if (--count_ == 0)
            *this = PtIndex();
        return true;
    }

    // Room for so many keys without another allocation of the table.
    void reserve(std::size_t count)
    {
        if (count * load_denominator <= capacity() * load_numerator)
            return;
        const std::size_t wanted = std::max(std::bit_ceil(count * load_denominator / load_numerator + 1),
                                            std::size_t{1} << least_bits);
        PtIndex grown;
        grown.slots_ = std::make_unique<Slot[]>(wanted);
        grown.bits_ = static_cast<unsigned>(std::countr_zero(wanted));
        for (std::size_t i = 0; i < capacity(); ++i)
            if (slots_[i].node.data != nullptr)
                grown.slots_[grown.slot_of(slots_[i].key)] = slots_[i];
        slots_ = std::move(grown.slots_);
        bits_ = grown.bits_;
    }

    const Key *first() const { return order_.first(); }
    const Key *above(const Key &key) const { return order_.above(key); }

    template <class Visit>
    void for_each(Visit &&visit)
    {
        order_.for_each([&](const Key &key) { visit(key, find(key)->data); });
    }

private:
    struct Slot {
        Key key;
        pt_node node;
    };

    static constexpr unsigned least_bits = 4;
    static constexpr std::size_t load_numerator = 2;
    static constexpr std::size_t load_denominator = 5;

    std::size_t capacity() const { return slots_ == nullptr ? 0 : std::size_t{1} << bits_; }
    std::size_t home_of(const Key &key) const { return static_cast<std::size_t>(key.hash() >> (64 - bits_)); }
    std::size_t behind(std::size_t slot) const { return (slot + 1) & (capacity() - 1); }

    // The slot of the key, or the free one where it belongs. The table is never full.
    std::size_t slot_of(const Key &key) const
    {
        std::size_t at = home_of(key);
        while (slots_[at].node.data != nullptr && !(slots_[at].key == key))
            at = behind(at);
        return at;
    }

    // Frees a slot, and moves up whatever could not be found any more across it.
    void close_gap(std::size_t gap) noexcept
    {
        for (std::size_t at = behind(gap); slots_[at].node.data != nullptr; at = behind(at)) {
            const std::size_t from_home = (at - home_of(slots_[at].key)) & (capacity() - 1);
            const std::size_t from_gap = (at - gap) & (capacity() - 1);
            if (from_home >= from_gap) {
                slots_[gap] = slots_[at];
                gap = at;
            }
        }
        slots_[gap].node.data = nullptr;
    }

    std::unique_ptr<Slot[]> slots_;
    unsigned bits_ = least_bits;
    std::size_t count_ = 0;
    PtOrder<Key> order_;
};

} // namespace kov_host
