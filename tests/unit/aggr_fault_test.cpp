// The aggregate-prefix cache when memory is out, a tree refuses, or a record is not what it should be.
#include "aggr_cache.h"

namespace
{

using fake::Bytes;
using fake::Call;

class AggrFault : public AggrCache
{
protected:
    const Prefix prefix = "10.1.0.0/16";
};

TEST_F(AggrFault, WithoutARoomForTheContextNothingIsAddedAndItIsStillUpdating)
{
    for (const Call call : {Call::alloc, Call::oak_insert}) {
        SCOPED_TRACE(fake::name_of(call));
        kov_api.cache[4].updating = 1;
        clear_traces();
        platform.calls.fail(call);
        EXPECT_EQ(apply("red", prefix), 0u);
        expect_traces({"Could not create vrf_ctx for red"});
        expect({.updating = 1}, 0);
        EXPECT_EQ(platform.heap.live_blocks(), 0u);
    }
}

// Deliberate: a context that was created for a prefix which then finds no room stays, without references.
TEST_F(AggrFault, WithoutARoomForThePrefixItsNewContextStaysEmpty)
{
    struct {
        Call call;
        unsigned nth;
    } const faults[] = {{Call::alloc, 2}, {Call::pt_add, 1}};
    for (const auto &fault : faults) {
        SCOPED_TRACE(fake::name_of(fault.call));
        kov_api.cache[4].updating = 1;
        clear_traces();
        platform.calls.fail(fault.call, fault.nth);
        EXPECT_EQ(apply("red", prefix), 0u);
        expect_traces({vrf_added("red")});
        expect({.updating = 1}, 1);
        EXPECT_EQ(references("red"), 0);
        EXPECT_EQ(platform.heap.live_blocks(), 1u);
        EXPECT_EQ(clear_all(), 1u);
        expect({.updating = 1}, 0);
    }
}

TEST_F(AggrFault, ThePrefixFindsTheEmptyContextWhenItComesAgain)
{
    platform.calls.fail(Call::pt_add);
    EXPECT_EQ(apply("red", prefix), 0u);
    clear_traces();
    EXPECT_EQ(apply("red", prefix), 1u);
    expect_traces({added("red", "10.1.0.0/16"), updated});
    expect(holding(1), 1);
    EXPECT_EQ(references("red"), 1);
}

TEST_F(AggrFault, AFamilyThatDoesNotExistIsRefusedAfterItsContextIsThere)
{
    Prefix strange = prefix;
    strange.family = 2;
    EXPECT_EQ(apply("red", strange), 0u);
    expect_traces({vrf_added("red")});
    EXPECT_EQ(apply("red", strange), 0u);
    expect_traces({vrf_added("red")});
    expect({}, 1);
    EXPECT_EQ(platform.heap.live_blocks(), 1u);
}

TEST_F(AggrFault, AnUpdateOfAnEntryThatIsThereNeedsNoMemory)
{
    apply("red", prefix);
    platform.calls.fail_always(Call::alloc);
    platform.calls.fail_always(Call::pt_add);
    platform.calls.fail_always(Call::oak_insert);
    EXPECT_EQ(apply("red", prefix), 1u);
    expect(holding(1), 1);
}

TEST_F(AggrFault, AFillSkipsThePrefixThatIsRefusedAndTakesTheOthers)
{
    const char *const prefixes[] = {"10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16"};
    for (const char *p : prefixes)
        publish_prefix("red", p);
    for (unsigned nth = 1; nth <= 3; ++nth) {
        for (const Call call : {Call::alloc, Call::pt_add}) {
            SCOPED_TRACE(std::string(fake::name_of(call)) + " " + std::to_string(nth));
            clear_all();
            kov_api_close();
            kov_api_init();
            platform.calls.fail(call, call == Call::alloc ? nth + 1 : nth); // the first is the context's
            EXPECT_EQ(fill_all(), 1u);
            for (unsigned i = 0; i < 3; ++i)
                EXPECT_EQ(entry("red", prefixes[i]) != nullptr, i + 1 != nth) << prefixes[i];
            expect(holding(2, {.rdb_hits = 4}), 1);
            EXPECT_EQ(references("red"), 2);
            expect_counters_equal_live_blocks();
        }
    }
}

// Deliberate: the counters go down also when the tree refuses. It then keeps the node, and with it the block,
// until the context goes.
TEST_F(AggrFault, APrefixThatTheTreeDoesNotGiveUpIsNoLongerCountedAndIsNotFreed)
{
    apply("red", prefix);
    apply("red", "10.2.0.0/16");
    clear_traces();
    platform.calls.fail(Call::pt_delete);
    EXPECT_EQ(remove("red", prefix), 1u);
    expect_traces({refcount_is("red", 1), deleted("red", "10.1.0.0/16")});
    expect(holding(1), 1);
    EXPECT_EQ(value("red", prefix), bytes_of(prefix.record));
    EXPECT_EQ(platform.heap.live_blocks(), 3u);
    expect_stale_counters();
}

TEST_F(AggrFault, ThatPrefixGoesWithItsContext)
{
    apply("red", prefix);
    clear_traces();
    platform.calls.fail(Call::pt_delete);
    EXPECT_EQ(remove("red", prefix), 1u);
    expect_traces({vrf_deleted("red"), deleted("red", "10.1.0.0/16")});
    expect({}, 0);
    EXPECT_EQ(entry("red", prefix), nullptr);
    EXPECT_EQ(platform.heap.live_blocks(), 0u);
}

// Removed once more, it is counted once more: the context goes, and takes the other prefix with it.
TEST_F(AggrFault, ThatPrefixRemovedAgainTakesTheContextAndNothingIsLost)
{
    apply("red", prefix);
    apply("red", "10.2.0.0/16");
    platform.calls.fail(Call::pt_delete);
    EXPECT_EQ(remove("red", prefix), 1u);
    EXPECT_EQ(remove("red", prefix), 1u);
    expect({}, 0);
    EXPECT_EQ(platform.heap.live_blocks(), 0u);
    EXPECT_EQ(platform.containers.pt_nodes(), 0u);
}

TEST_F(AggrFault, AContextThatTheTreeDoesNotGiveUpStaysWithoutItsPrefix)
{
    apply("red", prefix);
    clear_traces();
    platform.calls.fail(Call::oak_delete);
    EXPECT_EQ(remove("red", prefix), 1u);
    expect_traces({deleted("red", "10.1.0.0/16")});
    expect({}, 1);
    EXPECT_EQ(references("red"), 0);
}

TEST_F(AggrFault, EveryFailureOnTheWayIsSurvivedAndCounted)
{
    const unsigned failures = sweep([&] {
        for (const char *p : {"10.1.0.0/16", "10.2.0.0/16", "2001:db8::/32"}) {
            publish_prefix("red", p);
            publish_prefix("blue", p);
        }
        register_client({8});
        dispatch(2);
        publish_prefix("green", prefix);
        kov_aggr_sub_pfx_update changed = {};
        std::memcpy(changed.vrf_name, "green", 5);
        std::memcpy(changed.prefix, prefix.record.prefix, sizeof changed.prefix);
        dispatch(8, changed, changed);
        look_up("green", prefix);
        look_up("red", "2001:db8::/32");
    });
    EXPECT_GT(failures, 20u);
}

// --------------------------------------------------------------------------------------------- odd records

TEST_F(AggrFault, OfAFamilyOrALengthOnlyTheFirstByteCounts)
{
    kov_aggr_prefix_key key = key_in("red", prefix);
    std::memset(key.reserved, 0xEE, sizeof key.reserved);
    std::memset(key.prefix + 5, 0xEE, sizeof key.prefix - 5);
    EXPECT_EQ(kov_cache_aggr_subnet_pfx(&prefix.record, &key), 1u);
    EXPECT_NE(entry("red", "10.1.0.0/16"), nullptr);
    EXPECT_EQ(kov_clear_cache_aggr_subnet_pfx(nullptr, &key), 1u);
    expect({}, 0);
}

TEST_F(AggrFault, ADamagedRecordIsCachedAsOneOfZerosUnderItsOwnPrefix)
{
    publish_bytes(prefix_key("red", 0, prefix.record), {1, 2, 3});
    EXPECT_EQ(fill_all(), 1u);
    EXPECT_EQ(value("red", prefix), Bytes(20));
    expect(holding(1, {.rdb_hits = 2}), 1);
}

TEST_F(AggrFault, ANameWithoutItsNulIsCutTo32CharactersWhereverItGoes)
{
    const std::string hostile(33, 'v'), name(32, 'v');
    kov_rdb_key in_database = prefix_key("", 0, prefix.record);
    hostile.copy(in_database.of.vrf_name, 33);
    publish_prefix("elsewhere", prefix);
    const kov_rdb_key sane = prefix_key("elsewhere", 0, prefix.record);
    fake::Key at;
    std::memcpy(at.data(), &sane, sizeof sane);
    publish_bytes(in_database, platform.db.records().at(at));
    withdraw(sane);

    EXPECT_EQ(fill_all(), 1u);
    expect_traces({vrf_added(name), added(name, "10.1.0.0/16"), updated, filled("All")});
    EXPECT_EQ(value(name, prefix), bytes_of(prefix.record));
    clear_traces();
    EXPECT_EQ(clear_one(hostile, prefix), 1u);
    expect_traces({vrf_deleted(name), deleted(name, "10.1.0.0/16"), cleared(name + " 10.1.0.0/16")});
    expect({.rdb_hits = 2}, 0);

    clear_traces();
    platform.calls.fail(Call::alloc);
    EXPECT_EQ(apply(hostile, prefix), 0u);
    EXPECT_EQ(refresh(hostile, prefix), 1u);
    expect_traces(
        {"Could not create vrf_ctx for " + name, read_database, updated, filled(name + " 10.1.0.0/16")});
}

TEST_F(AggrFault, AnEmptyNameIsAName)
{
    EXPECT_EQ(apply("", "10.1.0.0/16"), 1u);
    expect_traces({vrf_added(""), added("", "10.1.0.0/16"), updated});
    EXPECT_EQ(references(""), 1);
}

} // namespace
