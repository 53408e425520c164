// VRF contexts: who keeps them, when they go, and walks that stand on them.
#include "aggr_cache.h"

namespace
{

using fake::Call;

class Vrf : public AggrCache
{
protected:
    static std::string names()
    {
        std::string all;
        oak_iter iter;
        const auto *vrf = static_cast<const kov_vrf_ctx *>(oak_get_first(&kov_api.vrf_tree, &iter));
        for (; vrf; vrf = static_cast<const kov_vrf_ctx *>(oak_get_next(&kov_api.vrf_tree, &iter)))
            all += std::string(vrf->name) + " ";
        return all;
    }
};

TEST_F(Vrf, AContextIsOneBlockThatCounts64Bytes)
{
    EXPECT_NE(kov::create_vrf_ctx("red"), nullptr);
    EXPECT_EQ(platform.heap.size_of(kov_vrf_ctx_lookup("red")), sizeof(void *) == 8 ? 72u : 64u);
    expect({}, 1);
    expect_traces({vrf_added("red")});
    EXPECT_EQ(references("red"), 0);
}

TEST_F(Vrf, ContextsStandInTheOrderOfTheirNames)
{
    for (const char *name : {"red", "Zone", "blue", "redder", ""})
        EXPECT_NE(kov::create_vrf_ctx(name), nullptr);
    EXPECT_EQ(names(), " Zone blue red redder ");
    expect({}, 5);
    for (const char *name : {"red", "Zone", "blue", "redder", ""})
        EXPECT_EQ(kov_api_delete_vrf_ctx(name, nullptr), 1u);
    expect({}, 0);
}

TEST_F(Vrf, ANameHas32CharactersAndMayLackItsNul)
{
    const std::string longest(32, 'v');
    char unterminated[33];
    std::memset(unterminated, 'v', sizeof unterminated);
    kov_vrf_ctx *const vrf = kov::create_vrf_ctx(unterminated);
    ASSERT_NE(vrf, nullptr);
    EXPECT_EQ(vrf->name, longest);
    EXPECT_EQ(kov_vrf_ctx_lookup(unterminated), vrf);
    EXPECT_EQ(kov_vrf_ctx_lookup(longest.c_str()), vrf);
    EXPECT_EQ(kov_vrf_ctx_lookup(longest.substr(1).c_str()), nullptr);
    EXPECT_EQ(kov_api_delete_vrf_ctx(unterminated, nullptr), 1u);
    expect({}, 0);
}

TEST_F(Vrf, ASecondContextOfANameIsRefusedAndFreed)
{
    EXPECT_NE(kov::create_vrf_ctx("red"), nullptr);
    EXPECT_EQ(kov::create_vrf_ctx("red"), nullptr);
    expect({}, 1);
    EXPECT_EQ(platform.heap.live_blocks(), 1u);
}

TEST_F(Vrf, WithoutMemoryOrARoomInTheTreeThereIsNoContext)
{
    for (const Call call : {Call::alloc, Call::oak_insert}) {
        platform.calls.fail(call);
        EXPECT_EQ(kov::create_vrf_ctx("red"), nullptr);
        expect({}, 0);
        EXPECT_EQ(platform.heap.live_blocks(), 0u);
    }
    expect_traces({});
}

TEST_F(Vrf, DeletingNeitherAContextNorANameIsRefused)
{
    EXPECT_EQ(kov_api_delete_vrf_ctx(nullptr, nullptr), 0u);
    expect_traces({"kov_api_delete_vrf_ctx(): Invalid Args"});
}

TEST_F(Vrf, DeletingANameThatIsNotThereIsDone)
{
    EXPECT_EQ(kov_api_delete_vrf_ctx("red", nullptr), 1u);
    expect_traces({});
}

TEST_F(Vrf, AContextThatIsReferredToStays)
{
    kov_vrf_ctx *const vrf = kov::create_vrf_ctx("red");
    kov::hold(*vrf);
    kov::hold(*vrf);
    clear_traces();
    EXPECT_EQ(kov_api_delete_vrf_ctx("red", nullptr), 0u);
    EXPECT_EQ(kov_api_delete_vrf_ctx("blue", vrf), 0u); // the context, not the name
    expect_traces({refcount_is("red", 2), refcount_is("red", 2)});
    expect({}, 1);
    kov::release(*vrf);
    kov::release(*vrf);
    clear_traces();
    EXPECT_EQ(kov_api_delete_vrf_ctx(nullptr, vrf), 1u);
    expect_traces({vrf_deleted("red")});
    expect({}, 0);
}

TEST_F(Vrf, ACountOfZeroIsNotDecremented)
{
    kov_vrf_ctx *const vrf = kov::create_vrf_ctx("red");
    clear_traces();
    kov::release(*vrf);
    expect_traces({already_zero});
    EXPECT_EQ(references("red"), 0);
}

TEST_F(Vrf, AContextThatTheTreeDoesNotGiveUpStaysAndStaysCounted)
{
    EXPECT_NE(kov::create_vrf_ctx("red"), nullptr);
    clear_traces();
    platform.calls.fail(Call::oak_delete);
    EXPECT_EQ(kov_api_delete_vrf_ctx("red", nullptr), 0u);
    expect_traces({});
    expect({}, 1);
    EXPECT_EQ(names(), "red ");
}

TEST_F(Vrf, InitialisationMakesATreeOfNamesThatHas33BytesAtOffset16)
{
    EXPECT_EQ(kov_api.vrf_tree.key_len, 33u);
    EXPECT_EQ(kov_api.vrf_tree.key_off, 16u);
    EXPECT_EQ(kov_api.vrf_tree.cmp, nullptr);
    EXPECT_EQ(kov_api.vrf_tree.flags, 0u);
}

// -------------------------------------------------------------------------------------------------- walks

class VrfWalk : public Vrf
{
protected:
    VrfWalk()
    {
        for (const char *name : {"blue", "green", "red"})
            kov::hold(*kov::create_vrf_ctx(name));
        clear_traces();
    }
    ~VrfWalk() override { EXPECT_EQ(kov_api.vrf_walks, nullptr); }
    static std::string at(kov::vrf_walk &walk) { return walk.here() ? walk.here()->name : "nowhere"; }
    // As initialisation does with what it forgets.
    static void lose_all()
    {
        kov::free_vrf_contexts();
        kov_api.vrf_count = kov_api.vrf_bytes = 0;
        kov::init_vrf_tree();
    }
};

TEST_F(VrfWalk, RefersToTheContextOnWhichItStandsAndToNoOther)
{
    kov::vrf_walk walk;
    EXPECT_TRUE(walk.first());
    EXPECT_EQ(at(walk), "blue");
    EXPECT_EQ(references("blue"), 2);
    EXPECT_TRUE(walk.next());
    EXPECT_EQ(at(walk), "green");
    EXPECT_EQ(references("blue"), 1);
    EXPECT_EQ(references("green"), 2);
    EXPECT_TRUE(walk.next());
    EXPECT_FALSE(walk.next());
    EXPECT_EQ(references("red"), 1);
    expect_traces({refcount_is("blue", 1), refcount_is("green", 1), refcount_is("red", 1)});
}

TEST_F(VrfWalk, ThatLeavesAContextWithoutReferencesDeletesIt)
{
    kov::vrf_walk walk;
    walk.first();
    kov::release(*walk.here());
    EXPECT_EQ(kov_api_delete_vrf_ctx("blue", nullptr), 0u);
    EXPECT_TRUE(walk.next());
    expect_traces({refcount_is("blue", 1), vrf_deleted("blue")});
    EXPECT_EQ(names(), "green red ");
}

TEST_F(VrfWalk, ThatStopsGivesTheReferenceBackAndNoMore)
{
    {
        kov::vrf_walk walk;
        walk.first();
        kov::release(*walk.here());
        EXPECT_EQ(references("blue"), 1);
    }
    EXPECT_EQ(references("blue"), 0);
    expect_traces({});
}

TEST_F(VrfWalk, OfAnEmptyTreeEndsAtOnce)
{
    lose_all();
    kov::vrf_walk walk;
    EXPECT_FALSE(walk.first());
}

TEST_F(VrfWalk, WhoseContextIsGoneStandsOnTheNewOneOfTheSameName)
{
    kov::vrf_walk walk;
    walk.first();
    lose_all();
    EXPECT_EQ(at(walk), "nowhere");
    kov::create_vrf_ctx("blue");
    EXPECT_EQ(at(walk), "blue");
    EXPECT_EQ(references("blue"), 1);
    kov::create_vrf_ctx("black");
    kov::create_vrf_ctx("brown");
    EXPECT_TRUE(walk.next());
    EXPECT_EQ(at(walk), "brown");
    EXPECT_EQ(names(), "black brown ");
}

TEST_F(VrfWalk, WhoseContextIsGoneForGoodGoesOnFromItsName)
{
    kov::vrf_walk walk;
    walk.first();
    walk.next();
    lose_all();
    for (const char *name : {"blue", "red"})
        kov::create_vrf_ctx(name);
    clear_traces();
    EXPECT_TRUE(walk.next());
    EXPECT_EQ(at(walk), "red");
    expect_traces({});
}

TEST_F(VrfWalk, IsToldWhoeverElseWalksAndInWhateverOrderTheyEnd)
{
    auto first = std::make_unique<kov::vrf_walk>();
    auto second = std::make_unique<kov::vrf_walk>();
    kov::vrf_walk third;
    first->first();
    second->first();
    third.first();
    EXPECT_EQ(references("blue"), 4);
    second.reset();
    EXPECT_EQ(references("blue"), 3);
    lose_all();
    EXPECT_EQ(at(*first), "nowhere");
    EXPECT_EQ(at(third), "nowhere");
    first.reset();
    kov::create_vrf_ctx("blue");
    EXPECT_EQ(at(third), "blue");
}

TEST_F(VrfWalk, YieldsOnlyWhenItIsTimeAndPreparesTheTreeForIt)
{
    kov::vrf_walk walk;
    walk.first();
    platform.calls.clear();
    walk.may_yield();
    EXPECT_EQ(platform.calls.log(), (std::vector<Call>{Call::coop_should_sched_yield}));
    platform.sched.time_is_up = true;
    platform.calls.clear();
    walk.may_yield();
    EXPECT_EQ(platform.calls.log(), (std::vector<Call>{Call::coop_should_sched_yield,
                                                       Call::oak_pre_sched_yield, Call::coop_sched_yield}));
}

} // namespace
