// The keys of a prefix tree in order: sorted blocks of keys, and a sorted directory of the blocks.
//
// A search is two binary searches in flat memory; an insertion moves part of one block. A walk that goes on
// from the key it was given last does not search at all. Blocks hold keys only: the nodes are found by hash
// (pt_index.h). What may run out of memory throws and has changed nothing; erasing never allocates.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace kov_host
{

template <class Key>
class PtOrder
{
public:
    // Of a key that is not there.
    void insert(const Key &key)
    {
        if (blocks_.empty()) {
            append_block_with(key);
            return;
        }
        std::size_t at = block_for(key);
        if (blocks_[at].keys->count == block_size) {
            // Keys that come in rising order leave full blocks behind.
            if (at + 1 == blocks_.size() && blocks_[at].keys->last() < key) {
                append_block_with(key);
                return;
            }
            split(at);
            at = block_for(key);
        }
        insert_in(blocks_[at], key);
    }

    // Of a key that is there.
    void erase(const Key &key) noexcept
    {
        const std::size_t at = block_for(key);
        Block &block = *blocks_[at].keys;
        Key *const position = std::lower_bound(block.begin(), block.end(), key);
        std::copy(position + 1, block.end(), position);
        --block.count;
        if (block.count == 0)
            blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(at));
        else
            blocks_[at].first = block.keys[0];
        if (!join_with_next(at) && at > 0)
            join_with_next(at - 1);
    }

    const Key *first() const { return blocks_.empty() ? nullptr : &blocks_.front().keys->keys[0]; }

    // The least key above `key`, whether or not that is there.
    const Key *above(const Key &key) const
    {
        if (blocks_.empty())
            return nullptr;
        if (!stands_at(key)) {
            last_block_ = block_for(key);
            const Block &block = *blocks_[last_block_].keys;
            const Key *const position = std::upper_bound(block.begin(), block.end(), key);
            last_position_ = static_cast<std::size_t>(position - block.begin());
        } else {
            ++last_position_;
        }
        if (last_position_ == blocks_[last_block_].keys->count) {
            if (last_block_ + 1 == blocks_.size())
                return nullptr;
            ++last_block_;
            last_position_ = 0;
        }
        return &blocks_[last_block_].keys->keys[last_position_];
    }

    template <class Visit>
    void for_each(Visit &&visit) const
    {
        for (const Entry &entry : blocks_)
            for (const Key &key : *entry.keys)
                visit(key);
    }

private:
    static constexpr std::size_t block_bytes = 1024;
    static constexpr std::size_t block_size = block_bytes / sizeof(Key);

    struct Block {
        std::size_t count = 0;
        Key keys[block_size];

        Key *begin() { return keys; }
        Key *end() { return keys + count; }
        const Key *begin() const { return keys; }
        const Key *end() const { return keys + count; }
        const Key &last() const { return keys[count - 1]; }
    };

    struct Entry {
        Key first;
        std::unique_ptr<Block> keys;
    };

    // The last block that begins at or below `key`, or the first block. There must be one.
    std::size_t block_for(const Key &key) const
    {
        const auto behind = std::upper_bound(blocks_.begin(), blocks_.end(), key,
                                             [](const Key &k, const Entry &e) { return k < e.first; });
        return behind == blocks_.begin() ? 0 : static_cast<std::size_t>(behind - blocks_.begin()) - 1;
    }

    bool stands_at(const Key &key) const
    {
        if (last_block_ >= blocks_.size())
            return false;
        const Block &block = *blocks_[last_block_].keys;
        return last_position_ < block.count && block.keys[last_position_] == key;
    }

    void append_block_with(const Key &key)
    {
        auto fresh = std::make_unique<Block>();
        fresh->keys[0] = key;
        fresh->count = 1;
        blocks_.push_back({key, std::move(fresh)});
    }

    void split(std::size_t at)
    {
        auto upper = std::make_unique<Block>();
        Block *const to = upper.get();
        const Key middle = blocks_[at].keys->keys[block_size / 2];
        blocks_.insert(blocks_.begin() + static_cast<std::ptrdiff_t>(at) + 1, {middle, std::move(upper)});
        Block &lower = *blocks_[at].keys;
        std::copy(lower.keys + block_size / 2, lower.end(), to->keys);
        to->count = lower.count - block_size / 2;
        lower.count = block_size / 2;
    }

    static void insert_in(Entry &entry, const Key &key) noexcept
    {
        Block &block = *entry.keys;
        Key *const position = std::lower_bound(block.begin(), block.end(), key);
        std::copy_backward(position, block.end(), block.end() + 1);
        *position = key;
        ++block.count;
        entry.first = block.keys[0];
    }

    // Joins two blocks that fill one of them only half, so that a tree that shrinks gives its memory back.
    bool join_with_next(std::size_t at) noexcept
    {
        if (at + 1 >= blocks_.size())
            return false;
        Block &block = *blocks_[at].keys;
        const Block &next = *blocks_[at + 1].keys;
        if (block.count + next.count > block_size / 2)
            return false;
        std::copy(next.begin(), next.end(), block.end());
        block.count += next.count;
        blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(at) + 1);
        return true;
    }

    std::vector<Entry> blocks_;
    // Where the last walk stood; believed only when its key is there.
    mutable std::size_t last_block_ = 0;
    mutable std::size_t last_position_ = 0;
};

} // namespace kov_host
