// The SVI cache's copy of the fabric control SVI: when it is kept, taken over, dropped, and told of.
#include "svi_cache.h"

#include <functional>

namespace
{

using fake::Bytes;
using fake::Call;

TEST_F(SviCache, TheFabricControlSviIsKeptWholeWhateverItsMode)
{
    publish(general_info(1));
    EXPECT_EQ(apply(fabric_ctrl_svi(10, 0)), 1u);
    EXPECT_EQ(copy(), bytes_of(fabric_ctrl_svi(10, 0)));
    EXPECT_EQ(cached(10), bytes_of(fabric_ctrl_svi(10, 0)));
    EXPECT_EQ(general_svi(), 10u);
    expect_all_counters({
        {1, {.update_hits = 1, .rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true}},
        {2, {.allocs = 1, .bytes = 138}}, // no entry, and so no tree
    });
    EXPECT_EQ(apply(fabric_ctrl_svi(10, 2)), 1u);
    EXPECT_EQ(cached(10), bytes_of(fabric_ctrl_svi(10, 2)));
    expect_counters(2, holding(1, true));
    EXPECT_EQ(platform.heap.size_of(kov_api.fabric_ctrl_svi), 138u);
}

TEST_F(SviCache, TracesTheFabricControlSvi)
{
    publish(general_info(1));
    EXPECT_EQ(apply(fabric_ctrl_svi(20, 2)), 1u);
    expect_traces({"Doing RDB based lookup for 1", "Created/Allocated KOV RDB Geninfo cache info",
                   "KOV RDB Geninfo is cached/updated",
                   "Updating Cache Fabric Control Svi from vlan10 to vlan20",
                   "Created sviinfo for vlan20 from KOV RDB cache", applied});
    clear_traces();
    EXPECT_EQ(kov_cache_sviinfo(nullptr, 20), 1u);
    expect_traces({"Updating Cache Fabric Control Svi from vlan20 to -",
                   "Deleted sviinfo for vlan20 from KOV RDB cache", applied});
}

// The general information that the copy's hook reads takes over the decode buffer that the record stands in.
TEST_F(SviCache, ARecordInTheDecodeBufferSurvivesTheReadingOfGeneralInformation)
{
    publish(general_info(1));
    publish(fabric_ctrl_svi(10, 2));
    const uint32_t index = 10;
    EXPECT_EQ(kov_cache_rdb_sviinfo(0, &index), 1u);
    EXPECT_EQ(copy(), bytes_of(fabric_ctrl_svi(10, 2)));
    kov_api.fabric_ctrl_svi->svi_ifindex = 99; // lets the entry show
    EXPECT_EQ(cached(10), bytes_of(expanded(fabric_ctrl_svi(10, 2))));
    expect_all_counters({
        {1, {.update_hits = 1, .rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true}},
        {2, {.rdb_hits = 1, .allocs = 2, .bytes = 154, .data = true}},
    });
}

TEST_F(SviCache, TheCopyGoesWithItsSvi)
{
    publish(general_info(1));
    apply(fabric_ctrl_svi(10, 2));
    EXPECT_EQ(kov_clear_cache_sviinfo(nullptr, 10), 1u);
    EXPECT_EQ(copy(), Bytes());
    EXPECT_EQ(general_svi(), 0u);
    expect_counters(2, holding(0));
}

TEST_F(SviCache, TheCopyGoesWhenItsBindingBecomesIncomplete)
{
    publish(general_info(1));
    for (const auto &damage : std::vector<std::function<void(kov_rdb_sviinfo_t &)>>{
             [](kov_rdb_sviinfo_t &r) { r.is_up = 0; },
             [](kov_rdb_sviinfo_t &r) { r.vaddr_bound = 0; },
             [](kov_rdb_sviinfo_t &r) { r.v4_prefix = {}, r.v6_prefix = {}; },
         }) {
        EXPECT_EQ(apply(fabric_ctrl_svi(10, 2)), 1u);
        EXPECT_EQ(general_svi(), 10u);
        expect_counters(2, holding(1, true));
        kov_rdb_sviinfo_t record = fabric_ctrl_svi(10, 2);
        damage(record);
        EXPECT_EQ(apply(record), 1u);
        EXPECT_EQ(copy(), Bytes());
        EXPECT_EQ(general_svi(), 0u);
        EXPECT_EQ(cached(10), bytes_of(expanded(record)));
        expect_counters(2, holding(1));
    }
}

TEST_F(SviCache, AFabricControlSviWithAnIncompleteBindingHasNoCopy)
{
    publish(general_info(1));
    kov_rdb_sviinfo_t record = fabric_ctrl_svi(10, 0);
    record.vaddr_bound = 0;
    EXPECT_EQ(apply(record), 1u);
    expect_traces({applied});
    EXPECT_EQ(copy(), Bytes());
    expect_all_counters({});
}

// Deliberate: our SVI without its flag keeps or loses the copy by the binding rule alone.
TEST_F(SviCache, OurSviWithoutItsFlagKeepsOrLosesTheCopyByTheBindingRuleAlone)
{
    publish(general_info(1));
    apply(fabric_ctrl_svi(10, 2));
    kov_rdb_sviinfo_t record = fabric_ctrl_svi(10, 2);
    record.is_fabric_ctrl_seg = 0;
    record.vlan_id = 5;
    EXPECT_EQ(apply(record), 1u);
    EXPECT_EQ(copy(), bytes_of(record));
    EXPECT_EQ(general_svi(), 10u);
    expect_counters(2, holding(1, true));
    record.vaddr_bound = 0;
    EXPECT_EQ(apply(record), 1u);
    EXPECT_EQ(copy(), Bytes());
    EXPECT_EQ(general_svi(), 0u);
    expect_counters(2, holding(1));
}

TEST_F(SviCache, AnotherSviWithoutTheFlagLeavesTheCopyAlone)
{
    publish(general_info(1));
    apply(fabric_ctrl_svi(10, 2));
    clear_traces();
    kov_rdb_sviinfo_t other = fabric_ctrl_svi(20, 2);
    other.is_fabric_ctrl_seg = 0;
    EXPECT_EQ(apply(other), 1u);
    expect_traces(
        {"Not a Fabric Control SVI vlan20", "Created sviinfo for vlan20 from KOV RDB cache", applied});
    EXPECT_EQ(copy(), bytes_of(fabric_ctrl_svi(10, 2)));
    EXPECT_EQ(general_svi(), 10u);
    expect_counters(2, holding(2, true));
}

TEST_F(SviCache, RemovingAnotherSviLeavesTheCopyAlone)
{
    publish(general_info(1));
    apply(fabric_ctrl_svi(10, 0));
    apply(svi_in_mode(20, 2));
    EXPECT_EQ(kov_clear_cache_sviinfo(nullptr, 20), 1u);
    EXPECT_EQ(copy(), bytes_of(fabric_ctrl_svi(10, 0)));
    expect_counters(2, holding(0, true));
}

TEST_F(SviCache, AnotherSviThatIsBoundTakesTheCopyOver)
{
    publish(general_info(1));
    apply(fabric_ctrl_svi(10, 2));
    const void *const block = kov_api.fabric_ctrl_svi;
    clear_traces();
    EXPECT_EQ(apply(fabric_ctrl_svi(20, 1)), 1u);
    expect_traces({"Updating Cache Fabric Control Svi from vlan10 to vlan20",
                   "Created sviinfo for vlan20 from KOV RDB cache", applied});
    EXPECT_EQ(kov_api.fabric_ctrl_svi, block);
    EXPECT_EQ(copy(), bytes_of(fabric_ctrl_svi(20, 1)));
    EXPECT_EQ(general_svi(), 20u);
    EXPECT_EQ(cached(10), bytes_of(expanded(fabric_ctrl_svi(10, 2))));
    expect_counters(2, holding(2, true));
}

TEST_F(SviCache, AnotherFabricControlSviThatIsNotBoundFreesTheCopy)
{
    publish(general_info(1));
    apply(fabric_ctrl_svi(10, 2));
    kov_rdb_sviinfo_t other = fabric_ctrl_svi(20, 2);
    other.is_up = 0;
    EXPECT_EQ(apply(other), 1u);
    EXPECT_EQ(copy(), Bytes());
    EXPECT_EQ(general_svi(), 0u);
    expect_counters(2, holding(2));
}

TEST_F(SviCache, ACopyThatGetsNoMemoryLeavesTheRestOfTheApply)
{
    publish(general_info(1));
    platform.calls.fail(Call::alloc);
    EXPECT_EQ(apply(fabric_ctrl_svi(10, 2)), 1u);
    expect_traces({"Created sviinfo for vlan10 from KOV RDB cache", applied});
    EXPECT_EQ(copy(), Bytes());
    expect_all_counters({{2, holding(1)}});
}

TEST_F(SviCache, AnEntryThatGetsNoMemoryLeavesTheCopy)
{
    publish(general_info(1));
    kov_api.cache[2].updating = 1;
    platform.calls.fail(Call::alloc, 3); // copy, general information, entry
    EXPECT_EQ(apply(fabric_ctrl_svi(10, 2)), 0u);
    EXPECT_EQ(copy(), bytes_of(fabric_ctrl_svi(10, 2)));
    EXPECT_EQ(general_svi(), 10u);
    expect_counters(2, {.updating = 1, .allocs = 1, .bytes = 138});
}

TEST_F(SviCache, TheCopyIsKeptWithoutGeneralInformation)
{
    apply(fabric_ctrl_svi(10, 2));
    expect_traces({"Doing RDB based lookup for 1", "KOV RDB Geninfo is not cached, nothing to do",
                   "KOV RDB Geninfo is cached/updated", "KOV RDB Sviinfo is not cached, nothing to do",
                   "Created sviinfo for vlan10 from KOV RDB cache", applied});
    EXPECT_EQ(copy(), bytes_of(fabric_ctrl_svi(10, 2)));
    expect_all_counters({{1, {.update_hits = 1, .rdb_hits = 1}}, {2, holding(1, true)}});
}

TEST_F(SviCache, TheCopysIndexIsTheRecordsOwn)
{
    publish(general_info(1));
    const kov_rdb_sviinfo_t record = fabric_ctrl_svi(10, 0);
    kov_cache_fabric_ctrl_svi(&record, 20); // as told
    EXPECT_EQ(copy(), bytes_of(record));
    EXPECT_EQ(general_svi(), 20u);
    kov_cache_fabric_ctrl_svi(nullptr, 20);
    EXPECT_TRUE(traced("Not a Fabric Control SVI vlan20"));
    EXPECT_EQ(copy(), bytes_of(record));
    kov_cache_fabric_ctrl_svi(nullptr, 10);
    EXPECT_EQ(copy(), Bytes());
}

} // namespace
