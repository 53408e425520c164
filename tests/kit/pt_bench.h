// A prefix tree with verbs, and the keys that tests put into it.
#pragma once

#include "kit.h"

#include <kov/platform/pt.h>

#include <gtest/gtest.h>

#include <compare>
#include <optional>
#include <ostream>
#include <string>

namespace kit
{

// A key as the tree sees it: a 4-byte key has twelve zero bytes behind it, `width` is how it is handed over.
struct Prefix {
    std::array<uint8_t, 16> bytes;
    uint32_t bits;
    uint32_t width;

    bool operator==(const Prefix &other) const { return bytes == other.bytes && bits == other.bits; }
    std::strong_ordering operator<=>(const Prefix &other) const
    {
        const auto order = bytes <=> other.bytes;
        return order != 0 ? order : bits <=> other.bits;
    }
    friend std::ostream &operator<<(std::ostream &out, const Prefix &prefix)
    {
        for (uint32_t i = 0; i < prefix.width; ++i)
            out << +prefix.bytes[i] << '.';
        return out << '/' << prefix.bits;
    }
};

inline Prefix v4(uint8_t a, uint8_t b, uint8_t c, uint8_t d, uint32_t bits = 32)
{
    return {{a, b, c, d}, bits, 4};
}

inline Prefix v6(const std::array<uint8_t, 16> &bytes, uint32_t bits = 128) { return {bytes, bits, 16}; }

inline Prefix number(uint32_t n, uint32_t bits = 32)
{
    return v4(static_cast<uint8_t>(n >> 24), static_cast<uint8_t>(n >> 16), static_cast<uint8_t>(n >> 8),
              static_cast<uint8_t>(n), bits);
}

// What stands at a key: the address of an int of the test.
using Data = int *;

struct Found {
    Prefix key;
    void *data;
    bool operator==(const Found &) const = default;
};

class PrefixTree
{
public:
    ~PrefixTree() { empty(); }

    bool add(const Prefix &key, void *data)
    {
        OddCopy bytes(Bytes(key.bytes.begin(), key.bytes.begin() + key.width));
        const int added = pt_add(&tree, bytes.data(), key.width, key.bits, data);
        EXPECT_TRUE(added == 0 || added == 1);
        if (added != 0 && key.width == 16)
            width_ = 16;
        return added != 0;
    }

    bool remove(const Prefix &key)
    {
        OddCopy bytes(Bytes(key.bytes.begin(), key.bytes.begin() + key.width));
        const int deleted = pt_delete(&tree, bytes.data(), key.width, key.bits);
        EXPECT_TRUE(deleted == 0 || deleted == 1);
        return deleted != 0;
    }

    void *at(const Prefix &key)
    {
        OddCopy bytes = buffer_of(key);
        const pt_node *const node = pt_lookup(tree, bytes.data(), key.bits);
        return node == nullptr ? nullptr : node->data;
    }

    std::optional<Found> first()
    {
        const Prefix nothing = {{0xA5, 0xA5, 0xA5, 0xA5}, 999, width_};
        return step(nothing, pt_get_first_node);
    }

    std::optional<Found> above(const Prefix &key) { return step(key, pt_get_next_node); }

    std::vector<Prefix> keys()
    {
        std::vector<Prefix> all;
        for (auto each = first(); each; each = above(each->key))
            all.push_back(each->key);
        return all;
    }

    void empty()
    {
        for (auto each = first(); each; each = first())
            ASSERT_TRUE(remove(each->key));
    }

    pt_tree *tree = nullptr;

private:
    // The buffers have exactly as many bytes as the tree may touch.
    OddCopy buffer_of(const Prefix &key) const
    {
        return OddCopy(Bytes(key.bytes.begin(), key.bytes.begin() + width_));
    }

    template <class Call>
    std::optional<Found> step(const Prefix &from, Call call)
    {
        OddCopy bytes = buffer_of(from);
        uint32_t bits = from.bits;
        const pt_node *const node = call(tree, bytes.data(), &bits);
        Prefix key = {{}, bits, width_};
        std::memcpy(key.bytes.data(), bytes.data(), width_);
        if (node != nullptr)
            return Found{key, node->data};
        EXPECT_EQ(std::memcmp(key.bytes.data(), from.bytes.data(), width_), 0) << "written without a node";
        EXPECT_EQ(bits, from.bits) << "written without a node";
        return std::nullopt;
    }

    uint32_t width_ = 4;
};

} // namespace kit
