// Caching on and off: what is filled and in which order, what is emptied and what that sets off.
#include "samples.h"

#include "cache/types.h"

#include <algorithm>

namespace
{

using fake::Bytes;
using fake::Call;

class CacheControl : public Lab
{
protected:
    CacheControl()
    {
        platform.interfaces.add_vlan(10, "vlan10");
        platform.interfaces.add_vlan(20, "vlan20");
    }

    // Registered, not acknowledged: attached, and caching is off.
    void attach(std::initializer_list<uint32_t> mtypes)
    {
        EXPECT_EQ(register_client(mtypes), 1u);
        debug_on();
        clear_traces();
    }

    // Those of the traces that are among `texts`, in the order in which they came.
    std::vector<std::string> traces_among(const std::vector<std::string> &texts) const
    {
        std::vector<std::string> found;
        for (const std::string &text : traces())
            if (std::find(texts.begin(), texts.end(), text) != texts.end())
                found.push_back(text);
        return found;
    }
};

// ---- enabling

TEST_F(CacheControl, IsNotEnabledForAClientThatIsNotAttached)
{
    publish(general_info(1));
    EXPECT_EQ(kov_api_init(), 1u);
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_api_enable_cache(), 0);
    expect_traces({"kov_api_enable_cache(): Not registered with KOV api"});
    EXPECT_EQ(kov_api.cache_enabled, 0u);
    expect_all_counters({});
}

TEST_F(CacheControl, IsNotEnabledWhileTheProcessWaits)
{
    debug_on();
    kov_api_wait_for_init = 1;
    EXPECT_EQ(kov_api_enable_cache(), 0);
    expect_traces({"API called even before KOV is enabled, ignore",
                   "kov_api_enable_cache(): Not registered with KOV api"});
    EXPECT_EQ(kov_api.initialized, 0u);
}

TEST_F(CacheControl, FillsATypeOnceForEachMessageTypeAndTheRepeatsReturnAtOnce)
{
    publish(general_info(1));
    attach({4, 5, 17});
    EXPECT_EQ(kov_api_enable_cache(), 1);
    expect_traces({
        "Enabling caching of unit interested KOV data (0x00020030)",
        "Doing RDB based lookup for 1",
        "Created/Allocated KOV RDB Geninfo cache info",
        "KOV RDB Geninfo is cached/updated",
        "KOV RDB Geninfo is already cached, nothing to do",
        "KOV RDB Geninfo is already cached, nothing to do",
        "Cached, unit interested KOV data (0x00020030)",
    });
    expect_all_counters({{1, {.cached = 1, .rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true}}});
    EXPECT_EQ(kov_api.cache_enabled, 1u);
}

TEST_F(CacheControl, HasNothingToDoWhenItIsEnabledAlready)
{
    publish(general_info(1));
    attach({4});
    EXPECT_EQ(kov_api_enable_cache(), 1);
    publish(general_info(2));
    clear_traces();
    EXPECT_EQ(kov_api_enable_cache(), 1);
    expect_traces({"KOV caching is already enabled, nothing to do"});
    expect_all_counters({{1, {.cached = 1, .rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true}}});
}

// SVIs (9) come before the general information (13): the fabric control SVI fills that one first.
TEST_F(CacheControl, FillsInTheOrderOfTheMessageTypes)
{
    publish(general_info(1));
    publish(fabric_ctrl_svi(20, 2));
    attach({13, 9});
    EXPECT_EQ(kov_api_enable_cache(), 1);
    expect_traces({
        "Enabling caching of unit interested KOV data (0x00002200)",
        "Doing RDB based lookup for 1", // by way of the fabric control SVI
        "Created/Allocated KOV RDB Geninfo cache info",
        "KOV RDB Geninfo is cached/updated",
        "Updating Cache Fabric Control Svi from vlan10 to vlan20",
        "Created sviinfo for vlan20 from KOV RDB cache",
        "KOV RDB Sviinfo is cached/updated",
        "KOV RDB All Sviinfo is cached/Updated",
        "Doing RDB based lookup for 1", // not marked as cached before
        "KOV RDB Geninfo is cached/updated",
        "Cached, unit interested KOV data (0x00002200)",
    });
    expect_all_counters({
        {1, {.cached = 1, .update_hits = 1, .rdb_hits = 2, .allocs = 1, .bytes = 181, .data = true}},
        {2, {.cached = 1, .rdb_hits = 2, .allocs = 2, .bytes = 154, .data = true}},
    });
}

TEST_F(CacheControl, FillsTheTypesOfInterestOnly)
{
    publish(general_info(1));
    publish(svi_in_mode(10, 2));
    attach({18});
    EXPECT_EQ(kov_api_enable_cache(), 1);
    expect_all_counters({{2, {.cached = 1, .rdb_hits = 2, .allocs = 1, .bytes = 16, .data = true}}});
}

TEST_F(CacheControl, FillsNothingForMessageTypesWithoutARecord)
{
    publish(general_info(1));
    attach({1, 2, 3, 12});
    kov_api.mtype_mask |= 0xFFE00001; // 0 and above 20: no message types
    EXPECT_EQ(kov_api_enable_cache(), 1);
    expect_traces({"Enabling caching of unit interested KOV data (0xffe0100f)",
                   "Cached, unit interested KOV data (0xffe0100f)"});
    expect_all_counters({});
    EXPECT_EQ(kov_api.cache_enabled, 1u);
}

TEST_F(CacheControl, MarksATypeAsCachedAlsoWhenTheDatabaseHasNoRecordOfIt)
{
    attach({4, 9});
    EXPECT_EQ(kov_api_enable_cache(), 1);
    expect_all_counters({{1, {.cached = 1, .rdb_hits = 1}}, {2, {.cached = 1, .rdb_hits = 1}}});
}

TEST_F(CacheControl, LeavesATypeWhoseFillFailedOnTheDatabase)
{
    publish(general_info(1));
    attach({4});
    platform.calls.fail(Call::alloc);
    EXPECT_EQ(kov_api_enable_cache(), 1);
    expect_traces({
        "Enabling caching of unit interested KOV data (0x00000010)",
        "Doing RDB based lookup for 1",
        "Caching failed for Mtype: 4",
        "Cached, unit interested KOV data (0x00000010)",
    });
    expect_all_counters({{1, {.rdb_hits = 1}}});
    EXPECT_EQ(kov_api.cache_enabled, 1u);
    EXPECT_EQ(kov_get_fabric_id(), 101u);
    expect_all_counters({{1, {.rdb_hits = 2}}});
}

TEST_F(CacheControl, TriesAgainForTheNextMessageTypeOfATypeWhoseFillFailed)
{
    publish(general_info(1));
    attach({4, 5});
    platform.calls.fail(Call::alloc);
    EXPECT_EQ(kov_api_enable_cache(), 1);
    EXPECT_TRUE(traced("Caching failed for Mtype: 4"));
    EXPECT_FALSE(traced("Caching failed for Mtype: 5"));
    expect_all_counters({{1, {.cached = 1, .rdb_hits = 2, .allocs = 1, .bytes = 181, .data = true}}});
}

TEST_F(CacheControl, IsEnabledByTheServersAcknowledgement)
{
    publish(general_info(1));
    register_client({4});
    EXPECT_EQ(kov_api.cache_enabled, 0u);
    acknowledge();
    EXPECT_EQ(kov_api.cache_enabled, 1u);
    expect_all_counters({{1, {.cached = 1, .rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true}}});
}

// ---- disabling

TEST_F(CacheControl, IsNotDisabledForAClientThatIsNotAttached)
{
    EXPECT_EQ(kov_api_init(), 1u);
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_api_disable_cache(), 1u);
    expect_traces({"kov_api_disable_cache(): Not registered with KOV api"});
}

TEST_F(CacheControl, IsNotDisabledWhileTheProcessWaits)
{
    debug_on();
    kov_api_wait_for_init = 1;
    EXPECT_EQ(kov_api_disable_cache(), 1u);
    expect_traces({"API called even before KOV is enabled, ignore",
                   "kov_api_disable_cache(): Not registered with KOV api"});
}

TEST_F(CacheControl, HasNothingToDoWhenItIsDisabledAlready)
{
    publish(general_info(1));
    attach({4});
    EXPECT_EQ(kov_cache_rdb_geninfo(1, nullptr), 1u);
    clear_traces();
    EXPECT_EQ(kov_api_disable_cache(), 1u);
    expect_traces({"KOV caching not enabled, nothing to do"});
    expect_all_counters({{1, {.rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true}}});
}

TEST_F(CacheControl, EmptiesEveryTypeAndUnmarksIt)
{
    publish(general_info(1));
    publish(svi_in_mode(10, 2));
    publish(svi_in_mode(20, 1));
    attach({4, 9});
    EXPECT_EQ(kov_api_enable_cache(), 1);
    clear_traces();
    EXPECT_EQ(kov_api_disable_cache(), 1u);
    expect_all_counters({{1, {.rdb_hits = 1}}, {2, {.rdb_hits = 3, .data = true}}}); // an empty tree stays
    EXPECT_EQ(kov_api.cache_enabled, 0u);
    EXPECT_TRUE(platform.leaks().none());
    EXPECT_EQ(traces().front(), "Disabling caching of unit interested KOV data");
    EXPECT_EQ(traces().back(), "Removed caching of unit interested KOV data");
    const std::vector<std::string> in_order = {
        "Cleared KOV RDB Geninfo cache info",
        "Not a Fabric Control SVI vlan10",
        "Deleted sviinfo for vlan10 from KOV RDB cache",
        "Not a Fabric Control SVI vlan20",
        "Deleted sviinfo for vlan20 from KOV RDB cache",
        "KOV RDB All Sviinfo is cleared",
    };
    EXPECT_EQ(traces_among(in_order), in_order);
    EXPECT_EQ(platform.sched.yields, 2u);
}

TEST_F(CacheControl, EmptiesATypeThatWasNeverMarkedAsCached)
{
    publish(svi_in_mode(10, 2));
    attach({12});
    EXPECT_EQ(kov_api_enable_cache(), 1);
    EXPECT_EQ(kov_cache_rdb_sviinfo(1, nullptr), 1u);
    expect_all_counters({{2, {.rdb_hits = 2, .allocs = 1, .bytes = 16, .data = true}}});
    clear_traces();
    EXPECT_EQ(kov_api_disable_cache(), 1u);
    expect_all_counters({{2, {.rdb_hits = 2, .data = true}}});
    EXPECT_TRUE(traced("KOV RDB Geninfo is not cached, nothing to do"));
    EXPECT_TRUE(traced("Deleted sviinfo for vlan10 from KOV RDB cache"));
}

// The general information goes first. Then the SVIs' clear drops the fabric control copy, which has to be
// told to the general information, which is read again for that, and stays.
TEST_F(CacheControl, KeepsGeneralInformationThatTheFabricControlSviBroughtBack)
{
    publish(general_info(1));
    publish(fabric_ctrl_svi(20, 2));
    attach({4, 9});
    EXPECT_EQ(kov_api_enable_cache(), 1);
    expect_all_counters({
        {1, {.cached = 1, .rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true}},
        {2, {.cached = 1, .rdb_hits = 2, .allocs = 2, .bytes = 154, .data = true}},
    });
    clear_traces();
    EXPECT_EQ(kov_api_disable_cache(), 1u);
    const std::vector<std::string> in_order = {
        "Disabling caching of unit interested KOV data",
        "Cleared KOV RDB Geninfo cache info",
        "Doing RDB based lookup for 1",
        "Created/Allocated KOV RDB Geninfo cache info",
        "KOV RDB Geninfo is cached/updated",
        "Updating Cache Fabric Control Svi from vlan10 to -",
        "Not a Fabric Control SVI vlan20",
        "Deleted sviinfo for vlan20 from KOV RDB cache",
        "KOV RDB All Sviinfo is cleared",
        "Removed caching of unit interested KOV data",
    };
    EXPECT_EQ(traces_among(in_order), in_order);
    expect_all_counters({
        {1, {.update_hits = 1, .rdb_hits = 2, .allocs = 1, .bytes = 181, .data = true}},
        {2, {.rdb_hits = 2, .data = true}},
    });
    kov_rdb_geninfo_t left = general_info(1);
    left.fabric_ctrl_svi = 0;
    EXPECT_EQ(bytes_at(kov_api.cache[1].data, sizeof left), bytes_of(left));
    // Not marked as cached: nobody is answered from it.
    EXPECT_EQ(kov_get_fabric_ctrl_seg(), 10u);
}

TEST_F(CacheControl, DropsWhatTheFabricControlSviBroughtBackWhenItHoldsNothingButDefaults)
{
    kov_rdb_geninfo_t general = default_general_info();
    general.fabric_ctrl_svi = 20;
    publish(general);
    publish(fabric_ctrl_svi(20));
    publish(svi_in_mode(10, 2));
    attach({4, 9});
    EXPECT_EQ(kov_api_enable_cache(), 1);
    EXPECT_EQ(kov_api_disable_cache(), 1u);
    expect_all_counters({{1, {.update_hits = 1, .rdb_hits = 2}}, {2, {.rdb_hits = 3, .data = true}}});
    EXPECT_TRUE(platform.leaks().none());
}

// The database goes first on closing: the same clears find nothing to bring back.
TEST_F(CacheControl, BringsNothingBackWhenTheLibraryIsClosed)
{
    publish(general_info(1));
    publish(fabric_ctrl_svi(20, 2));
    attach({4, 9});
    EXPECT_EQ(kov_api_enable_cache(), 1);
    clear_traces();
    EXPECT_EQ(kov_api_close(), 1u);
    const std::vector<std::string> in_order = {
        "Disabling caching of unit interested KOV data",
        "Cleared KOV RDB Geninfo cache info",
        "Doing RDB based lookup for 1",
        "KOV RDB Geninfo is not cached, nothing to do",
        "KOV RDB Geninfo is cached/updated",
        "KOV RDB Sviinfo is not cached, nothing to do",
        "Not a Fabric Control SVI vlan20",
        "Deleted sviinfo for vlan20 from KOV RDB cache",
        "KOV RDB All Sviinfo is cleared",
        "Removed caching of unit interested KOV data",
        "KOV Api successfully de-initialized",
    };
    EXPECT_EQ(traces_among(in_order), in_order);
    expect_all_counters({{1, {.update_hits = 1, .rdb_hits = 2}}, {2, {.rdb_hits = 2, .data = true}}});
    EXPECT_TRUE(platform.leaks().none());
}

TEST_F(CacheControl, LeavesQueriesOnTheDatabaseOnceItIsDisabled)
{
    publish(general_info(1));
    attach({4});
    EXPECT_EQ(kov_api_enable_cache(), 1);
    EXPECT_EQ(kov_api_disable_cache(), 1u);
    publish(general_info(2));
    EXPECT_EQ(kov_get_fabric_id(), 102u);
    expect_all_counters({{1, {.rdb_hits = 2}}});
}

TEST_F(CacheControl, CanBeEnabledAgain)
{
    publish(general_info(1));
    publish(svi_in_mode(10, 2));
    attach({4, 9});
    for (uint32_t round = 1; round <= 3; ++round) {
        EXPECT_EQ(kov_api_enable_cache(), 1);
        expect_all_counters({
            {1, {.cached = 1, .rdb_hits = round, .allocs = 1, .bytes = 181, .data = true}},
            {2, {.cached = 1, .rdb_hits = 2 * round, .allocs = 1, .bytes = 16, .data = true}},
        });
        EXPECT_EQ(kov_api_disable_cache(), 1u);
    }
}

TEST_F(CacheControl, IsDisabledByDeregistering)
{
    publish(general_info(1));
    attach({4});
    EXPECT_EQ(kov_api_enable_cache(), 1);
    EXPECT_EQ(kov_deregister_client(), 1u);
    EXPECT_EQ(kov_api.cache_enabled, 0u);
    expect_all_counters({{1, {.rdb_hits = 1}}});
}

// Another task closes the library for good while the SVIs are being emptied. That task finishes the work;
// what is still to be cleared here fails, each type with its trace.
TEST_F(CacheControl, SurvivesAnotherTaskThatClosesTheLibraryAtAYield)
{
    publish(general_info(1));
    for (const uint32_t ifindex : {10u, 20u, 30u})
        publish(svi_in_mode(ifindex, 2));
    attach({4, 9});
    EXPECT_EQ(kov_api_enable_cache(), 1);
    platform.sched.at_yield[1] = [] {
        kov_api_wait_for_init = 1;
        EXPECT_EQ(kov_api_close(), 1u);
    };
    EXPECT_EQ(kov_api_disable_cache(), 1u);
    EXPECT_EQ(platform.sched.yields, 3u);
    EXPECT_EQ(kov_api.cache_enabled, 0u);
    expect_all_counters({{1, {.rdb_hits = 1}}, {2, {.rdb_hits = 4, .data = true}}});
    EXPECT_TRUE(platform.leaks().none());
    for (uint32_t type = 1; type <= 6; ++type)
        EXPECT_EQ(traced("De-Caching failed for rdb_type: " + std::to_string(type)),
                  type > 2 && kov_rdb_type_cache_fn(type))
            << type;
}

TEST_F(CacheControl, SurvivesAnotherTaskThatOpensTheLibraryAnewAtAYield)
{
    for (const uint32_t ifindex : {10u, 20u, 30u})
        publish(svi_in_mode(ifindex, 2));
    attach({9});
    EXPECT_EQ(kov_api_enable_cache(), 1);
    platform.sched.at_yield[1] = [&] {
        EXPECT_EQ(kov_api_close(), 1u);
        EXPECT_EQ(kov_api_init(), 1u);
        register_and_acknowledge({9});
    };
    EXPECT_EQ(kov_api_disable_cache(), 1u);
    // What the other task has filled meanwhile is emptied from where the walk stood: after 10.
    expect_all_counters({{2, {.rdb_hits = 4, .allocs = 1, .bytes = 16, .data = true}}});
    EXPECT_EQ(kov_api.cache_enabled, 0u);
}

} // namespace
