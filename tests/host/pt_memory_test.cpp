// What the host's prefix trees promise about memory: nothing has changed when it is out, lookups and walks
// need none, and an emptied tree has given it back.
#include <kov/platform/pt.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <new>
#include <vector>

namespace
{

struct Memory {
    long live = 0;
    long asked = 0;
    long fail_at = -1; // this request from now on fails, and all behind it; negative: none

    bool refuses()
    {
        ++asked;
        if (fail_at > 0)
            --fail_at;
        else if (fail_at == 0)
            return true;
        return false;
    }
};
Memory memory;

} // namespace

// The host's containers are made of these, also inside the shared library. Not inlined, since a compiler that
// sees a block go from new to free mistakes it for a slip.
#define KOV_NOT_INLINED __attribute__((noinline))

KOV_NOT_INLINED void *operator new(std::size_t size)
{
    if (memory.refuses())
        throw std::bad_alloc();
    void *const block = std::malloc(size);
    if (block == nullptr)
        throw std::bad_alloc();
    ++memory.live;
    return block;
}

KOV_NOT_INLINED void operator delete(void *block) noexcept
{
    if (block != nullptr)
        --memory.live;
    std::free(block);
}

KOV_NOT_INLINED void operator delete(void *block, std::size_t) noexcept { operator delete(block); }

namespace
{

class PrefixTreeMemory : public testing::Test
{
protected:
    ~PrefixTreeMemory() override { memory.fail_at = -1; }

    int add(uint32_t number)
    {
        const uint32_t key = __builtin_bswap32(number);
        return pt_add(&tree, &key, sizeof key, 32, &data);
    }

    int add_wide(uint8_t last)
    {
        const uint8_t key[16] = {0x20, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, last};
        return pt_add(&tree, key, sizeof key, 128, &data);
    }

    // Buffers are wide enough for either width.
    std::vector<std::vector<uint8_t>> keys()
    {
        std::vector<uint8_t> key(16);
        uint32_t bits = 0;
        std::vector<std::vector<uint8_t>> all;
        for (pt_node *node = pt_get_first_node(tree, key.data(), &bits); node != nullptr;
             node = pt_get_next_node(tree, key.data(), &bits))
            all.push_back(key);
        return all;
    }

    // Lets ever later requests fail until the change succeeds; each failure must leave the tree as it was.
    template <class Change>
    long failures_of(Change change)
    {
        const auto before = keys();
        for (long failing = 0;; ++failing) {
            const long live = memory.live;
            memory.fail_at = failing;
            const int done = change();
            memory.fail_at = -1;
            if (done != 0)
                return failing;
            EXPECT_LE(memory.live, live + 1) << failing; // a bigger table may have replaced the table
            EXPECT_EQ(keys(), before) << failing;
        }
    }

    pt_tree *tree = nullptr;
    int data = 0;
};

TEST_F(PrefixTreeMemory, AFirstAddWithoutMemoryMakesNoTree)
{
    const long live = memory.live;
    memory.fail_at = 0;
    EXPECT_EQ(add(1), 0);
    memory.fail_at = 1;
    EXPECT_EQ(add(1), 0);
    memory.fail_at = -1;
    EXPECT_EQ(tree, nullptr);
    EXPECT_EQ(memory.live, live);
    EXPECT_GT(failures_of([&] { return add(1); }), 1);
}

TEST_F(PrefixTreeMemory, AnAddWithoutMemoryChangesNothing)
{
    long failures = 0;
    for (uint32_t i = 0; i < 1000; ++i)
        failures += failures_of([&] { return add(i * 619 % 1000); });
    EXPECT_GT(failures, 10);
    EXPECT_EQ(keys().size(), 1000u);
}

TEST_F(PrefixTreeMemory, AFirstWideAddWithoutMemoryLeavesTheTreeNarrow)
{
    for (uint32_t i = 0; i < 300; ++i)
        ASSERT_EQ(add(i), 1);
    EXPECT_GT(failures_of([&] { return add_wide(1); }), 3);
    EXPECT_EQ(keys().size(), 301u);
}

TEST_F(PrefixTreeMemory, LookupsWalksAndDeletesNeedNone)
{
    for (uint32_t i = 0; i < 1000; ++i)
        ASSERT_EQ(add(i), 1);
    const long asked = memory.asked;
    uint32_t key = 0, bits = 0, seen = 0;
    for (pt_node *node = pt_get_first_node(tree, &key, &bits); node != nullptr;
         node = pt_get_next_node(tree, &key, &bits), ++seen) {
        ASSERT_EQ(pt_lookup(tree, &key, 32), node);
        ASSERT_EQ(pt_delete(&tree, &key, 4, 32), 1);
        ASSERT_EQ(pt_lookup(tree, &key, 32), nullptr);
    }
    EXPECT_EQ(seen, 1000u);
    EXPECT_EQ(memory.asked, asked);
}

TEST_F(PrefixTreeMemory, AnEmptiedTreeHasGivenAllBackAndCanBeFilledAgain)
{
    const long before = memory.live;
    for (uint32_t i = 0; i < 5000; ++i)
        ASSERT_EQ(add(i), 1);
    EXPECT_GT(memory.live, before + 10);
    for (uint32_t i = 0; i < 5000; ++i) {
        const uint32_t key = __builtin_bswap32(i);
        ASSERT_EQ(pt_delete(&tree, &key, 4, 32), 1);
    }
    EXPECT_EQ(memory.live, before);
    ASSERT_NE(tree, nullptr);
    EXPECT_TRUE(keys().empty());
    EXPECT_EQ(add_wide(1), 1);
    EXPECT_EQ(keys().size(), 1u);
}

// Whoever forgets an emptied tree loses nothing.
TEST_F(PrefixTreeMemory, AThousandEmptiedAndForgottenTreesCostNothing)
{
    const long before = memory.live;
    for (uint32_t i = 0; i < 1000; ++i) {
        tree = nullptr;
        const uint32_t key = 0;
        ASSERT_EQ(add(0), 1);
        ASSERT_EQ(pt_delete(&tree, &key, 4, 32), 1);
    }
    EXPECT_EQ(memory.live, before);
}

TEST_F(PrefixTreeMemory, ATreeThatShrinksKeepsFewBlocks)
{
    const long before = memory.live;
    for (uint32_t i = 0; i < 20000; ++i)
        ASSERT_EQ(add(i), 1);
    const long full = memory.live - before;
    for (uint32_t i = 0; i < 20000; ++i) {
        const uint32_t key = __builtin_bswap32(i);
        ASSERT_EQ(i % 100 == 0 || pt_delete(&tree, &key, 4, 32) == 1, true);
    }
    EXPECT_EQ(keys().size(), 200u);
    EXPECT_GT(full, 100);
    EXPECT_LT(memory.live - before, full / 10);
}

} // namespace
