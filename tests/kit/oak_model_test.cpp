// Random changes and walks of an ordered tree beside a std::map of the same nodes.
#include "oak_bench.h"

#include <map>

namespace
{

using kit::NameTree;
using kit::Node;

class OrderedTreeModel : public testing::TestWithParam<uint32_t>
{
protected:
    std::string draw()
    {
        std::string name = std::to_string(random.below(GetParam()));
        return random.one_in(8) ? name + std::string(kit::name_size - name.size(), '.') : name;
    }

    void insert(const std::string &name)
    {
        auto node = std::make_unique<Node>(name);
        const bool fresh = model.count(name) == 0;
        ASSERT_EQ(tree.insert(*node), fresh) << name;
        if (fresh)
            model[name] = std::move(node);
    }

    // The node is freed at once, so that a sanitizer sees whoever still looks at it.
    void remove(const std::string &name)
    {
        const auto at = model.find(name);
        if (at == model.end()) {
            Node stranger(name);
            ASSERT_FALSE(tree.remove(stranger)) << name;
            return;
        }
        ASSERT_TRUE(tree.remove(*at->second)) << name;
        model.erase(at);
    }

    void look_up(const std::string &name)
    {
        const auto at = model.find(name);
        ASSERT_EQ(tree.at(name), at == model.end() ? nullptr : at->second.get()) << name;
    }

    void walk_all()
    {
        std::vector<std::string> names;
        for (const auto &[name, node] : model)
            names.push_back(name);
        ASSERT_EQ(tree.names(), names);
    }

    void change()
    {
        const std::string name = draw();
        random.one_in(2) ? insert(name) : remove(name);
    }

    kit::Random random{5};
    std::map<std::string, std::unique_ptr<Node>> model;
    NameTree tree;
};

TEST_P(OrderedTreeModel, DoesWhatASortedMapDoes)
{
    for (int i = 0; i < 6000 && !HasFatalFailure(); ++i) {
        change();
        look_up(draw());
        if (i % 500 == 0)
            walk_all();
    }
    walk_all();
}

TEST_P(OrderedTreeModel, AWalkDuringWhichNodesComeAndGoIsThatOfASortedMap)
{
    for (uint32_t i = 0; i < GetParam(); ++i)
        insert(draw());
    for (int round = 0; round < 5; ++round) {
        std::string last;
        const Node *node = tree.first();
        auto expected = model.begin();
        while (expected != model.end() && !HasFatalFailure()) {
            ASSERT_EQ(node, expected->second.get());
            last = expected->first;
            for (uint32_t i = random.below(3); i > 0; --i)
                change();
            if (random.one_in(3))
                remove(last);
            oak_pre_sched_yield(&tree.tree, &tree.walk);
            node = tree.next();
            expected = model.upper_bound(last);
        }
        ASSERT_EQ(node, nullptr);
    }
}

INSTANTIATE_TEST_SUITE_P(Names, OrderedTreeModel, testing::Values(10u, 300u, 2000u),
                         [](const auto &each) { return std::to_string(each.param) + "_names"; });

TEST(OrderedTreeShape, ManyNodesInRisingOrderAreNoLongerAWayThanInAnyOther)
{
    constexpr uint32_t count = 1u << 13;
    static uint64_t comparisons;
    const oak_cmp counting = [](const void *a, const void *b) {
        ++comparisons;
        uint32_t x, y;
        std::memcpy(&x, a, sizeof x);
        std::memcpy(&y, b, sizeof y);
        return x < y ? -1 : x > y ? 1 : 0;
    };
    struct Numbered {
        oak_linkage linkage;
        uint32_t number;
    };
    oak_tree tree;
    oak_init_new(&tree, counting, sizeof(uint32_t), offsetof(Numbered, number), 0);
    std::vector<Numbered> nodes(count);
    for (uint32_t i = 0; i < count; ++i) {
        nodes[i].number = i;
        ASSERT_EQ(oak_insert(&tree, &nodes[i]), 1);
    }
    comparisons = 0;
    for (uint32_t i = 0; i < count; ++i)
        ASSERT_EQ(oak_lookup(&tree, &i), &nodes[i]);
    EXPECT_LT(comparisons / count, 4 * 13u);
}

} // namespace
