// Clearing the aggregate-prefix cache: one, all, and what other tasks do while it yields.
#include "aggr_cache.h"

namespace
{

using fake::Call;

class AggrClear : public AggrCache
{
protected:
    // In the order of the walk: blue 10.9/16, then of red 10.1/16, 10.2/16 and 2001:db8::/32.
    AggrClear()
    {
        apply("red", "10.2.0.0/16");
        apply("red", "2001:db8::/32");
        apply("red", "10.1.0.0/16");
        apply("blue", "10.9.0.0/16");
        clear_traces();
    }
};

TEST_F(AggrClear, OfAllRemovesEveryPrefixAndEachContextAfterItsLast)
{
    kov_api.cache[4].cached = 1;
    kov_api.cache[4].updating = 1;
    EXPECT_EQ(clear_all(), 1u);
    expect_traces({
        refcount_is("blue", 1), // the walk's own
        deleted("blue", "10.9.0.0/16"),
        vrf_deleted("blue"),
        refcount_is("red", 3),
        deleted("red", "10.1.0.0/16"),
        refcount_is("red", 2),
        deleted("red", "10.2.0.0/16"),
        refcount_is("red", 1),
        deleted("red", "2001:db8::/32"),
        vrf_deleted("red"),
        cleared("All"),
    });
    expect({.cached = 1, .updating = 1}, 0);
    EXPECT_EQ(platform.heap.live_blocks(), 0u);
}

TEST_F(AggrClear, OfAllAsksAfterEachPrefixWhetherToYield)
{
    EXPECT_EQ(clear_all(), 1u);
    EXPECT_EQ(platform.calls.count(Call::coop_should_sched_yield), 4u);
    EXPECT_EQ(platform.sched.yields, 0u);
    EXPECT_EQ(platform.calls.count(Call::oak_pre_sched_yield), 0u);
}

TEST_F(AggrClear, OfAllPreparesTheTreeBeforeEachYield)
{
    platform.sched.time_is_up = true;
    platform.calls.clear();
    EXPECT_EQ(clear_all(), 1u);
    EXPECT_EQ(platform.sched.yields, 4u);
    const std::vector<Call> &log = platform.calls.log();
    unsigned prepared = 0;
    for (std::size_t i = 1; i < log.size(); ++i)
        if (log[i] == Call::coop_sched_yield)
            prepared += log[i - 1] == Call::oak_pre_sched_yield;
    EXPECT_EQ(prepared, 4u);
}

TEST_F(AggrClear, OfOneLeavesTheOthersAndDoesNotYield)
{
    EXPECT_EQ(clear_one("red", "10.2.0.0/16"), 1u);
    expect_traces({refcount_is("red", 2), deleted("red", "10.2.0.0/16"), cleared("red 10.2.0.0/16")});
    expect(holding(3), 2);
    EXPECT_EQ(platform.calls.count(Call::coop_should_sched_yield), 0u);
}

TEST_F(AggrClear, OfNothingOrOfWhatIsNotThereClearsNothing)
{
    EXPECT_EQ(kov_clear_cache_rdb_aggr_subnet_pfx(0, nullptr), 1u);
    EXPECT_EQ(clear_one("green", "10.2.0.0/16"), 1u);
    EXPECT_EQ(clear_one("red", "2001:db8::/33"), 1u);
    expect_traces({cleared(""), cleared("green 10.2.0.0/16"), cleared("red 2001:db8::/33")});
    expect(holding(4), 2);
}

TEST_F(AggrClear, OfAllPrintsTheKeyThatItWasGivenAllTheSame)
{
    const kov_aggr_prefix_key key = key_in("red", "2001:db8::/32");
    EXPECT_EQ(kov_clear_cache_rdb_aggr_subnet_pfx(1, &key), 1u);
    EXPECT_EQ(traces().back(), cleared("Allred 2001:db8::/32"));
    expect({}, 0);
}

TEST_F(AggrClear, OfAnEmptyCacheIsDoneAndCanBeRepeated)
{
    EXPECT_EQ(clear_all(), 1u);
    clear_traces();
    EXPECT_EQ(clear_all(), 1u);
    expect_traces({cleared("All")});
    apply("red", "10.1.0.0/16");
    expect(holding(1), 1);
}

TEST_F(AggrClear, OfAllTakesTheEmptyContextsToo)
{
    platform.calls.fail(Call::pt_add);
    EXPECT_EQ(apply("empty", "10.1.0.0/16"), 0u);
    expect(holding(4), 3);
    EXPECT_EQ(clear_all(), 1u);
    expect({}, 0);
}

TEST_F(AggrClear, OfAllRemovesAlsoWhatHangsUnderAnotherPrefixThanItsRecordSays)
{
    publish_under("red", "10.3.0.0/16", "10.1.0.0/16");
    publish_under("red", "10.4.0.0/16", "255.255.255.255/32");
    EXPECT_EQ(fill_all(), 1u);
    expect(holding(6, {.rdb_hits = 3}), 2);
    EXPECT_EQ(clear_all(), 1u);
    expect({.rdb_hits = 3}, 0);
}

TEST_F(AggrClear, OfAllGoesPastThePrefixThatTheTreeDoesNotGiveUp)
{
    platform.calls.fail(Call::pt_delete, 2);
    EXPECT_EQ(clear_all(), 1u);
    EXPECT_TRUE(traced(vrf_deleted("red")));
    expect({}, 0);
    EXPECT_EQ(platform.heap.live_blocks(), 0u) << "it goes with its context";
}

// ------------------------------------------------------------------------ other tasks at a clear's yields

class AggrClearYields : public AggrClear
{
protected:
    AggrClearYields() { platform.sched.time_is_up = true; }
    // At the n-th yield: the first is after blue's prefix, the others after red's in their order.
    void at_yield(unsigned n, const std::function<void()> &task) { platform.sched.at_yield[n] = task; }
    void expect_yields(unsigned n) const { EXPECT_EQ(platform.sched.yields, n); }
    static void open_again()
    {
        EXPECT_EQ(kov_api_close(), 1u);
        EXPECT_EQ(kov_api_init(), 1u);
    }
};

TEST_F(AggrClearYields, ToATaskThatRemovesAllThatIsLeftOfTheVrfWhoseContextTheWalkKeeps)
{
    at_yield(2, [] {
        remove("red", "10.2.0.0/16");
        remove("red", "2001:db8::/32");
        EXPECT_EQ(references("red"), 1);
    });
    EXPECT_EQ(clear_all(), 1u);
    expect_yields(2);
    expect({}, 0);
}

TEST_F(AggrClearYields, ToATaskThatRemovesTheVrfAhead)
{
    at_yield(1, [] {
        for (const char *prefix : {"10.1.0.0/16", "10.2.0.0/16", "2001:db8::/32"})
            remove("red", prefix);
        EXPECT_EQ(references("red"), -1);
    });
    EXPECT_EQ(clear_all(), 1u);
    expect_yields(1);
    expect({}, 0);
}

TEST_F(AggrClearYields, ToATaskThatAddsPrefixesAheadWhichGoTooAndBehindWhichStay)
{
    at_yield(2, [] {
        apply("red", "10.1.200.0/24"); // ahead
        apply("red", "10.0.0.0/8");    // behind
        apply("black", "10.1.0.0/16"); // behind
        apply("violet", "::/0");       // ahead
    });
    EXPECT_EQ(clear_all(), 1u);
    expect_yields(6);
    EXPECT_NE(entry("red", "10.0.0.0/8"), nullptr);
    EXPECT_NE(entry("black", "10.1.0.0/16"), nullptr);
    EXPECT_EQ(references("red"), 1);
    expect(holding(2), 2);
}

TEST_F(AggrClearYields, ToATaskThatReplacesAPrefixAheadAndAddsTheDeletedOneAgain)
{
    at_yield(2, [] {
        remove("red", "10.2.0.0/16");
        apply("red", "10.2.0.0/16");
        apply("red", "10.1.0.0/16");
    });
    EXPECT_EQ(clear_all(), 1u);
    expect_yields(4);
    EXPECT_NE(entry("red", "10.1.0.0/16"), nullptr);
    expect(holding(1), 1);
    EXPECT_EQ(references("red"), 1);
}

TEST_F(AggrClearYields, ToATaskThatClearsAllItself)
{
    for (unsigned n = 1; n <= 4; ++n) {
        SCOPED_TRACE(n);
        platform.sched.yields = 0;
        platform.sched.at_yield = {{n, [] { EXPECT_EQ(clear_all(), 1u); }}};
        EXPECT_EQ(clear_all(), 1u);
        expect_yields(4);
        expect({}, 0);
        for (const char *prefix : {"10.1.0.0/16", "10.2.0.0/16", "2001:db8::/32"})
            apply("red", prefix);
        apply("blue", "10.9.0.0/16");
    }
}

TEST_F(AggrClearYields, ToATaskThatClosesTheLibraryAndTheRestWaitsForTheNextOpening)
{
    at_yield(2, [] {
        EXPECT_EQ(kov_api_close(), 1u);
        kov_api_wait_for_init = 1;
    });
    EXPECT_EQ(clear_all(), 1u);
    expect_yields(4);
    EXPECT_EQ(kov_api.initialized, 0u);
    expect(holding(2), 1);
    EXPECT_EQ(references("red"), 2);
}

// Initialisation leaves the VRF counters, so what it frees stays in them.
TEST_F(AggrClearYields, ToATaskThatClosesAndReopensTheLibraryAndNothingIsLost)
{
    for (unsigned n = 1; n <= 4; ++n) {
        SCOPED_TRACE(n);
        platform.sched.yields = 0;
        platform.sched.at_yield = {{n, open_again}};
        EXPECT_EQ(clear_all(), 1u);
        expect_yields(n);
        expect_all_counters({});
        EXPECT_EQ(platform.heap.live_blocks(), 0u);
        kov_api.vrf_count = kov_api.vrf_bytes = 0;
        for (const char *prefix : {"10.1.0.0/16", "10.2.0.0/16", "2001:db8::/32"})
            apply("red", prefix);
        apply("blue", "10.9.0.0/16");
    }
}

TEST_F(AggrClearYields, ToATaskThatOnlyClosesSoThatTheNextDeleteReopens)
{
    at_yield(2, [] { EXPECT_EQ(kov_api_close(), 1u); });
    EXPECT_EQ(clear_all(), 1u);
    expect_yields(3);
    EXPECT_EQ(kov_api.initialized, 1u);
    expect_all_counters({});
    EXPECT_EQ(platform.heap.live_blocks(), 0u);
    kov_api.vrf_count = kov_api.vrf_bytes = 0;
}

TEST_F(AggrClearYields, ToATaskThatReopensAndFillsAndTheWalkGoesOnByNameAndPrefix)
{
    at_yield(2, [] {
        open_again();
        kov_api.vrf_count = kov_api.vrf_bytes = 0;
        for (const char *prefix : {"10.0.0.0/8", "10.1.0.0/16", "10.2.0.0/16", "::/0"})
            apply("red", prefix);
        apply("violet", "10.1.0.0/16");
        apply("black", "10.1.0.0/16");
    });
    EXPECT_EQ(clear_all(), 1u);
    expect_yields(5);
    EXPECT_NE(entry("red", "10.0.0.0/8"), nullptr);
    EXPECT_NE(entry("red", "10.1.0.0/16"), nullptr);
    EXPECT_NE(entry("black", "10.1.0.0/16"), nullptr);
    EXPECT_EQ(references("red"), 2);
    expect(holding(3), 2);
}

TEST_F(AggrClearYields, ToATaskThatReopensAndFillsAnotherVrfOnly)
{
    at_yield(2, [] {
        open_again();
        kov_api.vrf_count = kov_api.vrf_bytes = 0;
        apply("violet", "10.1.0.0/16");
        apply("pink", "10.1.0.0/16");
    });
    EXPECT_EQ(clear_all(), 1u);
    expect_yields(3);
    EXPECT_EQ(references("pink"), 1);
    EXPECT_EQ(references("violet"), -1);
    expect(holding(1), 1);
}

// The refused prefix is counted down twice, and the context goes while the first walk stands on it.
TEST_F(AggrClearYields, ToATaskThatClearsAllAfterATreeHasRefusedAndNothingIsTouchedThatIsGone)
{
    platform.calls.fail(Call::pt_delete, 2);
    at_yield(2, [] { EXPECT_EQ(clear_all(), 1u); });
    EXPECT_EQ(clear_all(), 1u);
    EXPECT_EQ(references("red"), -1);
    EXPECT_EQ(platform.heap.live_blocks(), 0u);
    EXPECT_EQ(kov_api.vrf_count, 0u);
    expect_stale_counters();
}

} // namespace
