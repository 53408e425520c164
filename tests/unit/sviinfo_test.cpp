// The SVI cache: one record applied, one SVI removed, and what counts as a complete binding.
#include "svi_cache.h"

namespace
{

using fake::Bytes;
using fake::Call;

// ---- binding

struct Binding {
    const char *what;
    uint32_t is_up, vaddr_bound;
    uint8_t v6_first, v6_last;
    uint32_t v4, answer;
};

constexpr Binding bindings[] = {
    {"all there", 1, 1, 1, 1, 1, 1},
    {"down", 0, 1, 1, 1, 1, 0},
    {"not bound", 1, 0, 1, 1, 1, 0},
    {"IPv4 alone", 1, 1, 0, 0, 1, 1},
    {"IPv4 high bit", 1, 1, 0, 0, 1u << 31, 1},
    {"first IPv6 byte alone", 1, 1, 0x80, 0, 0, 1},
    {"last IPv6 byte alone", 1, 1, 0, 1, 0, 1},
    {"no address", 1, 1, 0, 0, 0, 0},
    {"other truths", 0x100, 0x80000000, 0, 1, 0, 1},
};

TEST_F(SviCache, ABindingIsCompleteWhenUpAndBoundAndWithAnAddress)
{
    for (const Binding &b : bindings) {
        kov_rdb_sviinfo_t record = {};
        record.is_up = b.is_up;
        record.vaddr_bound = b.vaddr_bound;
        record.v6_prefix.addr[0] = b.v6_first;
        record.v6_prefix.addr[15] = b.v6_last;
        record.v4_prefix.addr = b.v4;
        EXPECT_EQ(kov_is_vaddr_bind_complete(&record), b.answer) << b.what;
        std::memset(record.gw_mac, 0xFF, sizeof record.gw_mac); // not examined
        record.v4_prefix.len = 24;
        record.v6_prefix.len = 64;
        EXPECT_EQ(kov_is_vaddr_bind_complete(&record), b.answer) << b.what;
    }
    EXPECT_EQ(kov_is_vaddr_bind_complete(nullptr), 0u);
}

TEST_F(SviCache, ABindingIsJudgedWithoutAnOpenLibrary)
{
    kov_api_close();
    const kov_rdb_sviinfo_t record = fabric_ctrl_svi(10);
    EXPECT_EQ(kov_is_vaddr_bind_complete(&record), 1u);
    EXPECT_EQ(kov_api.initialized, 0u);
}

// ---- reading

TEST_F(SviCache, IsReadUnlessTheDatabaseIsForced)
{
    cache({svi_in_mode(10, 2)});
    publish(svi_in_mode(10, 1));
    EXPECT_EQ(bytes_at(kov_get_sviinfo_from_rdb(10, 0), 138), bytes_of(expanded(svi_in_mode(10, 2))));
    EXPECT_EQ(bytes_at(kov_get_sviinfo_from_rdb(10, 1), 138), bytes_of(svi_in_mode(10, 1)));
    EXPECT_EQ(kov_get_sviinfo_from_rdb(20, 0), nullptr);
    EXPECT_EQ(kov_get_sviinfo_from_rdb(20, 1), nullptr);
    expect_all_counters(
        {{2, {.cached = 1, .cache_hits = 2, .rdb_hits = 4, .allocs = 1, .bytes = 16, .data = true}}});
}

TEST_F(SviCache, IsNotReadWithoutAnInitialisedLibrary)
{
    kov_api_close();
    kov_api_wait_for_init = 1;
    clear_traces();
    EXPECT_EQ(kov_get_sviinfo_from_rdb(10, 1), nullptr);
    expect_traces({"API called even before KOV is enabled, ignore", "Not initialized with KOV Api"});
    expect_all_counters({});
}

// ---- applying one record

TEST_F(SviCache, KeepsFourFieldsOfAnSviInAFerroMode)
{
    EXPECT_EQ(apply(svi_in_mode(10, 1)), 1u);
    EXPECT_EQ(apply(svi_in_mode(20, 2)), 1u);
    EXPECT_EQ(cached(10), bytes_of(expanded(svi_in_mode(10, 1))));
    EXPECT_EQ(cached(20), bytes_of(expanded(svi_in_mode(20, 2))));
    expect_all_counters({{2, holding(2)}});
    EXPECT_EQ(platform.heap.live_blocks(), 2u);
    EXPECT_EQ(platform.heap.live_bytes(), 32u);
}

TEST_F(SviCache, TracesAnApply)
{
    EXPECT_EQ(apply(svi_in_mode(10, 2)), 1u);
    expect_traces(
        {"Not a Fabric Control SVI vlan10", "Created sviinfo for vlan10 from KOV RDB cache", applied});
    clear_traces();
    EXPECT_EQ(apply(svi_in_mode(10, 1)), 1u);
    expect_traces({"Not a Fabric Control SVI vlan10", applied});
    clear_traces();
    EXPECT_EQ(apply(svi_in_mode(10, 0)), 1u);
    expect_traces({"Not a Fabric Control SVI vlan10", // of the record
                   "Not a Fabric Control SVI vlan10", // of its removal
                   "Deleted sviinfo for vlan10 from KOV RDB cache", applied});
    clear_traces();
    EXPECT_EQ(apply(svi_in_mode(20, 0)), 1u);
    expect_traces({"Not a Fabric Control SVI vlan20", applied});
}

TEST_F(SviCache, AnSviInModeZeroOrThreeIsNeverCached)
{
    for (const uint32_t mode : {0u, 3u, 4u, 5u, 255u, 0x100u + 1, UINT32_MAX}) {
        EXPECT_EQ(apply(svi_in_mode(10, mode)), 1u) << mode;
        EXPECT_EQ(cached(10), Bytes()) << mode;
        expect_all_counters({});
    }
}

struct ModeChange {
    uint32_t from, to;
    uint32_t entries_before, entries_after;
};

constexpr ModeChange mode_changes[] = {
    {0, 0, 0, 0}, {0, 1, 0, 1}, {0, 2, 0, 1}, {0, 3, 0, 0}, {1, 0, 1, 0}, {1, 1, 1, 1},
    {1, 2, 1, 1}, {1, 3, 1, 0}, {2, 0, 1, 0}, {2, 1, 1, 1}, {2, 2, 1, 1}, {2, 3, 1, 0},
    {3, 0, 0, 0}, {3, 1, 0, 1}, {3, 2, 0, 1}, {2, 4, 1, 0},
};

TEST_F(SviCache, AnEntryComesAndGoesWithTheMode)
{
    apply(svi_in_mode(40, 2)); // another one, so that there is always a tree
    for (const ModeChange &c : mode_changes) {
        SCOPED_TRACE(testing::Message() << c.from << " to " << c.to);
        EXPECT_EQ(apply(svi_in_mode(10, c.from)), 1u);
        expect_all_counters({{2, holding(1 + c.entries_before)}});
        EXPECT_EQ(apply(svi_in_mode(10, c.to)), 1u);
        expect_all_counters({{2, holding(1 + c.entries_after)}});
        EXPECT_EQ(cached(10), c.entries_after ? bytes_of(expanded(svi_in_mode(10, c.to))) : Bytes());
        EXPECT_EQ(kov_cache_sviinfo(nullptr, 10), 1u);
        expect_all_counters({{2, holding(1)}});
    }
}

TEST_F(SviCache, AnApplyReplacesAllFourFieldsInPlace)
{
    kov_rdb_sviinfo_t record = svi_in_mode(10, 2);
    apply(record);
    record.vlan_id = 4;
    record.fwd_mode = 1;
    record.migration_enabled = 0;
    record.suppress_arp = 0;
    const unsigned allocations = platform.calls.count(Call::alloc);
    EXPECT_EQ(apply(record), 1u);
    EXPECT_EQ(platform.calls.count(Call::alloc), allocations);
    EXPECT_EQ(cached(10), bytes_of(expanded(record)));
    expect_all_counters({{2, holding(1)}});
}

TEST_F(SviCache, AnApplyEndsAnUpdate)
{
    for (const uint32_t mode : {0u, 2u, 3u}) {
        kov_api.cache[2].updating = 1;
        EXPECT_EQ(apply(svi_in_mode(10, mode)), 1u);
        EXPECT_EQ(kov_api.cache[2].updating, 0u) << mode;
    }
    kov_api.cache[2].updating = 1;
    EXPECT_EQ(kov_cache_sviinfo(nullptr, 10), 1u);
    EXPECT_EQ(kov_api.cache[2].updating, 0u);
}

TEST_F(SviCache, ARecordThatIsGoneRemovesItsSvi)
{
    apply(svi_in_mode(10, 2));
    clear_traces();
    EXPECT_EQ(kov_cache_sviinfo(nullptr, 10), 1u);
    expect_traces(
        {"Not a Fabric Control SVI vlan10", "Deleted sviinfo for vlan10 from KOV RDB cache", applied});
    expect_all_counters({{2, holding(0)}});
    EXPECT_EQ(platform.heap.live_blocks(), 0u);
    clear_traces();
    EXPECT_EQ(kov_cache_sviinfo(nullptr, 10), 1u);
    expect_traces({"Not a Fabric Control SVI vlan10", applied});
    expect_all_counters({{2, holding(0)}});
}

TEST_F(SviCache, AnApplyWithIndexZeroChangesNothing)
{
    kov_api.cache[2].updating = 1;
    const kov_rdb_sviinfo_t record = svi_in_mode(0, 2);
    EXPECT_EQ(kov_cache_sviinfo(&record, 0), 0u);
    EXPECT_EQ(kov_cache_sviinfo(nullptr, 0), 0u);
    expect_traces({"kov_cache_sviinfo(): Invalid svi ifindex", "kov_cache_sviinfo(): Invalid svi ifindex"});
    expect_all_counters({{2, {.updating = 1}}});
}

TEST_F(SviCache, IsNotChangedWithoutAnInitialisedLibrary)
{
    kov_api_close();
    kov_api_wait_for_init = 1;
    const std::string waiting = "API called even before KOV is enabled, ignore";
    const kov_rdb_sviinfo_t record = svi_in_mode(10, 2);
    const uint32_t index = 10;
    clear_traces();
    EXPECT_EQ(kov_cache_sviinfo(&record, 10), 0u);
    expect_traces({waiting, "kov_cache_sviinfo(): Not initialized with KOV Api"});
    clear_traces();
    EXPECT_EQ(kov_clear_cache_sviinfo(nullptr, 10), 0u);
    expect_traces({waiting, "kov_clear_cache_sviinfo(): Not initialized with KOV Api"});
    clear_traces();
    EXPECT_EQ(kov_cache_rdb_sviinfo(1, nullptr), 0u);
    EXPECT_EQ(kov_cache_rdb_sviinfo(0, &index), 0u);
    const std::string fill = "kov_cache_rdb_sviinfo(): Not initialized with KOV Api";
    expect_traces({waiting, fill, waiting, fill});
    clear_traces();
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(1, nullptr), 0u);
    EXPECT_EQ(kov_clear_cache_rdb_sviinfo(0, &index), 0u);
    const std::string clear = "kov_clear_cache_rdb_sviinfo(): Not initialized with KOV Api";
    expect_traces({waiting, clear, waiting, clear});
    // Index 0 is told first.
    clear_traces();
    EXPECT_EQ(kov_cache_sviinfo(&record, 0), 0u);
    EXPECT_EQ(kov_clear_cache_sviinfo(nullptr, 0), 0u);
    expect_traces(
        {"kov_cache_sviinfo(): Invalid svi ifindex", "kov_clear_cache_sviinfo(): Invalid svi ifindex"});
    expect_all_counters({});
}

TEST_F(SviCache, AnApplyThatGetsNoMemoryChangesNothing)
{
    kov_api.cache[2].updating = 1;
    platform.calls.fail(Call::alloc);
    EXPECT_EQ(apply(svi_in_mode(10, 2)), 0u);
    expect_traces({"Not a Fabric Control SVI vlan10"});
    expect_all_counters({{2, {.updating = 1}}});
}

TEST_F(SviCache, AnApplyThatTheTreeRefusesFreesItsEntry)
{
    kov_api.cache[2].updating = 1;
    platform.calls.fail(Call::pt_add);
    EXPECT_EQ(apply(svi_in_mode(10, 2)), 0u);
    expect_traces({"Not a Fabric Control SVI vlan10"});
    expect_all_counters({{2, {.updating = 1}}});
    EXPECT_TRUE(platform.leaks().none());
}

// ---- removing one SVI

TEST_F(SviCache, RemovingIndexZeroChangesNothing)
{
    EXPECT_EQ(kov_clear_cache_sviinfo(nullptr, 0), 0u);
    expect_traces({"kov_clear_cache_sviinfo(): Invalid svi ifindex"});
    expect_all_counters({});
}

TEST_F(SviCache, RemovingWithoutATreeHasNothingToDo)
{
    EXPECT_EQ(kov_clear_cache_sviinfo(nullptr, 10), 1u);
    expect_traces({"Not a Fabric Control SVI vlan10", "KOV RDB Sviinfo is not cached, nothing to do"});
    expect_all_counters({});
}

TEST_F(SviCache, RemovingAnSviThatIsNotThereIsDone)
{
    apply(svi_in_mode(20, 2));
    clear_traces();
    EXPECT_EQ(kov_clear_cache_sviinfo(nullptr, 10), 1u);
    expect_traces({"Not a Fabric Control SVI vlan10"});
    expect_all_counters({{2, holding(1)}});
}

TEST_F(SviCache, RemovingFindsTheEntryWhenNoneIsGiven)
{
    apply(svi_in_mode(10, 2));
    apply(svi_in_mode(20, 2));
    clear_traces();
    EXPECT_EQ(kov_clear_cache_sviinfo(nullptr, 10), 1u);
    expect_traces({"Not a Fabric Control SVI vlan10", "Deleted sviinfo for vlan10 from KOV RDB cache"});
    expect_all_counters({{2, holding(1)}});
    EXPECT_EQ(cached(10), Bytes());
    EXPECT_NE(cached(20), Bytes());
}

TEST_F(SviCache, RemovingWithAStaleEntryFreesNothingTwice)
{
    apply(svi_in_mode(10, 2));
    apply(svi_in_mode(20, 2));
    const kov_svi_cache_entry stale = {};
    EXPECT_EQ(kov_clear_cache_sviinfo(&stale, 10), 1u); // the entry in the tree goes, not this one
    expect_all_counters({{2, holding(1)}});
    clear_traces();
    EXPECT_EQ(kov_clear_cache_sviinfo(&stale, 10), 0u); // the tree has nothing to delete
    expect_traces({"Not a Fabric Control SVI vlan10"});
    expect_all_counters({{2, holding(1)}});
    EXPECT_EQ(platform.heap.live_blocks(), 1u);
}

TEST_F(SviCache, AnSviThatTheTreeRefusesToDeleteStays)
{
    apply(svi_in_mode(10, 2));
    clear_traces();
    platform.calls.fail(Call::pt_delete);
    EXPECT_EQ(kov_clear_cache_sviinfo(nullptr, 10), 0u);
    expect_traces({"Not a Fabric Control SVI vlan10"});
    expect_all_counters({{2, holding(1)}});
    EXPECT_EQ(cached(10), bytes_of(expanded(svi_in_mode(10, 2))));
}

TEST_F(SviCache, AnUpdateIsDoneAlsoWhenTheTreeRefusesToDelete)
{
    apply(svi_in_mode(10, 2));
    kov_api.cache[2].updating = 1;
    platform.calls.fail(Call::pt_delete, 1, 2);
    EXPECT_EQ(apply(svi_in_mode(10, 3)), 1u);
    EXPECT_EQ(kov_cache_sviinfo(nullptr, 10), 1u);
    expect_all_counters({{2, holding(1)}});
}

} // namespace
