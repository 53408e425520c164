// Nodes and an ordered tree of them, with verbs.
#pragma once

#include "kit.h"

#include <kov/platform/oak.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace kit
{

constexpr uint32_t name_size = 33;

// What the library hangs into such a tree: 16 bytes of linkage, then the key. The linkage begins dirty.
struct Node {
    oak_linkage linkage;
    char name[name_size];

    explicit Node(const std::string &text)
    {
        std::memset(&linkage, 0xA5, sizeof linkage);
        std::memset(name, 0, sizeof name);
        std::memcpy(name, text.data(), std::min<std::size_t>(text.size(), sizeof name));
    }
};
static_assert(offsetof(Node, name) == 16);

class NameTree
{
public:
    NameTree() { oak_init_new(&tree, nullptr, name_size, offsetof(Node, name), 0); }

    bool insert(Node &node)
    {
        const int inserted = oak_insert(&tree, &node);
        EXPECT_TRUE(inserted == 0 || inserted == 1);
        return inserted != 0;
    }
    bool remove(Node &node)
    {
        const int deleted = oak_delete(&tree, &node);
        EXPECT_TRUE(deleted == 0 || deleted == 1);
        return deleted != 0;
    }
    // The key has a NUL and nothing behind it.
    Node *at(const std::string &name)
    {
        OddCopy key(Bytes(name.c_str(), name.c_str() + name.size() + 1));
        return static_cast<Node *>(oak_lookup(&tree, key.data()));
    }
    Node *first() { return static_cast<Node *>(oak_get_first(&tree, &walk)); }
    Node *next() { return static_cast<Node *>(oak_get_next(&tree, &walk)); }

    std::vector<std::string> names()
    {
        std::vector<std::string> all;
        oak_iter own;
        for (void *node = oak_get_first(&tree, &own); node != nullptr; node = oak_get_next(&tree, &own)) {
            const char *const name = static_cast<Node *>(node)->name;
            all.emplace_back(name, strnlen(name, name_size));
        }
        return all;
    }

    oak_tree tree;
    oak_iter walk = {};
};

} // namespace kit
