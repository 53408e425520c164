// Lists of the SVIs in a ferro forwarding mode: one suite for both calls, then the list itself.
#include "samples.h"

#include <kov/kov_svi_list.h>

#include <set>

namespace
{

using fake::Call;
using Texts = std::vector<std::string>;

class SviLists : public Lab
{
protected:
    SviLists()
    {
        for (const uint32_t ifindex : {10u, 20u, 30u, 40u, 50u})
            platform.interfaces.add_vlan(ifindex, "vlan" + std::to_string(ifindex));
        EXPECT_EQ(kov_api_init(), 1u);
        debug_on();
        clear_traces();
    }

    static kov_rdb_sviinfo_t svi(uint32_t ifindex, uint32_t mode, uint32_t suppress_arp)
    {
        kov_rdb_sviinfo_t record = svi_in_mode(ifindex, mode);
        record.suppress_arp = suppress_arp;
        return record;
    }
    // Every mode, with and without suppression where that matters.
    void publish_five()
    {
        publish(svi(10, 0, 1));
        publish(svi(20, 1, 1));
        publish(svi(30, 2, 0));
        publish(svi(40, 3, 1));
        publish(svi(50, 2, 7));
    }

    using Row = std::array<uint32_t, 4>; // index, VLAN, mode, suppression
    static std::set<Row> rows(dbly_linkage *list)
    {
        std::set<Row> found;
        kov_svi_info_iter_t iter;
        EXPECT_EQ(kov_svi_info_iter_init(&iter, list), &iter);
        while (const kov_svi_info_t *info = kov_svi_info_iter_get_next(&iter))
            found.insert({info->svi_ifindex, info->vlan_id, info->fwd_mode, info->suppress_arp});
        return found;
    }

    dbly_linkage *list = nullptr;
};

constexpr auto all_svis = kov_get_all_enhanced_fwd_mode_svis;
constexpr auto suppressing_svis = kov_get_all_suppress_arp_ferro_svis;
const char *const all_name = "kov_get_all_enhanced_fwd_mode_svis";
const char *const suppressing_name = "kov_get_all_suppress_arp_ferro_svis";

// ------------------------------------------------------------------------------------------- what is listed

TEST_F(SviLists, HoldTheSvisInModesOneAndTwo)
{
    publish_five();
    EXPECT_EQ(all_svis(&list), 1u);
    EXPECT_EQ(rows(list), (std::set<Row>{{20, 1020, 1, 1}, {30, 1030, 2, 0}, {50, 1050, 2, 7}}));
    expect_all_counters({{KOV_RDB_SVIINFO, {.rdb_hits = 6}}});
    kov_free_svi_info_list(list);
}

TEST_F(SviLists, HoldOnlyTheSuppressingOnesWhenAskedForThem)
{
    publish_five();
    EXPECT_EQ(suppressing_svis(&list), 1u);
    EXPECT_EQ(rows(list), (std::set<Row>{{20, 1020, 1, 1}, {50, 1050, 2, 7}}));
    kov_free_svi_info_list(list);
}

TEST_F(SviLists, TraceEachSviAndTheirNumber)
{
    publish_five();
    register_and_acknowledge({11}); // neither 9 nor 18: the database is walked
    clear_traces();
    EXPECT_EQ(all_svis(&list), 1u);
    const auto gate = [](const char *call, const char *mtype) {
        return std::string(call) + "(): Client unit has not registered for mtype: " + mtype +
               ", doing an RDB based lookup";
    };
    expect_traces({gate(all_name, "9"), gate(all_name, "18"),
                   "vlan10 is in Standard mode, not in ferro forwarding mode...skipping it",
                   "vlan20 is in Proxy Gateway mode, adding to the list",
                   "vlan30 is in Anycast Gateway mode, adding to the list",
                   "vlan40 is in Conditional Proxy Gateway mode, not in ferro forwarding mode...skipping it",
                   "vlan50 is in Anycast Gateway mode, adding to the list",
                   "Added Ferro svis: 3 to the list\n"});
    kov_free_svi_info_list(list);
    clear_traces();
    EXPECT_EQ(suppressing_svis(&list), 1u);
    expect_traces({gate(suppressing_name, "9"), gate(suppressing_name, "18"),
                   "vlan10 is in Standard mode, not in ferro forwarding mode...skipping it",
                   "vlan20 is in Proxy Gateway mode (suppress arp), adding to the list",
                   "vlan30 is in Anycast Gateway mode, no suppress arp...skipping it",
                   "vlan40 is in Conditional Proxy Gateway mode, not in ferro forwarding mode...skipping it",
                   "vlan50 is in Anycast Gateway mode (suppress arp), adding to the list",
                   "Added suppress arp Ferro svis: 2 to the list\n"});
    kov_free_svi_info_list(list);
}

TEST_F(SviLists, AreEmptyWithoutRecords)
{
    list = reinterpret_cast<dbly_linkage *>(this);
    EXPECT_EQ(all_svis(&list), 1u);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(traces().back(), "Added Ferro svis: 0 to the list\n");
    list = reinterpret_cast<dbly_linkage *>(this);
    EXPECT_EQ(suppressing_svis(&list), 1u);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(traces().back(), "Added suppress arp Ferro svis: 0 to the list\n");
}

// ------------------------------------------------------------------------------------------------ the source

struct Source {
    std::initializer_list<uint32_t> registered;
    bool all_from_cache, suppressing_from_cache;
};

TEST_F(SviLists, WalkTheCacheWhenTheClientRegisteredForTheMessagesBehindThem)
{
    const Source sources[] = {
        {{11}, false, false},   {{9}, true, false},    {{18}, true, false},    {{11, 19}, false, false},
        {{9, 18}, true, false}, {{9, 19}, true, true}, {{18, 19}, true, true}, {{9, 18, 19}, true, true},
    };
    for (const Source &source : sources)
        for (const bool is_updating : {false, true}) {
            SCOPED_TRACE(testing::Message() << &source - sources << is_updating);
            publish(svi(20, 1, 1)); // cached, then withdrawn
            register_and_acknowledge(source.registered);
            withdraw(key_of(KOV_RDB_SVIINFO, 20));
            publish(svi(30, 2, 1)); // in the database only
            kov_api.cache[KOV_RDB_SVIINFO].updating = is_updating;
            for (const bool all : {true, false}) {
                const bool cache =
                    (all ? source.all_from_cache : source.suppressing_from_cache) && !is_updating;
                Counters row = counters(KOV_RDB_SVIINFO);
                (cache ? row.cache_hits : row.rdb_hits) += 2;
                row.update_hits += is_updating ? 2 : 0;
                EXPECT_EQ((all ? all_svis : suppressing_svis)(&list), 1u);
                EXPECT_EQ(rows(list), (std::set<Row>{cache ? Row{20, 1020, 1, 1} : Row{30, 1030, 2, 1}}));
                EXPECT_EQ(counters(KOV_RDB_SVIINFO), row);
                kov_free_svi_info_list(list);
            }
            kov_api.cache[KOV_RDB_SVIINFO].updating = 0;
            kov_deregister_client();
            platform.db.clear();
        }
}

TEST_F(SviLists, AskTheGatesInOrder)
{
    register_and_acknowledge({18, 19});
    clear_traces();
    suppressing_svis(&list);
    expect_traces({std::string(suppressing_name) +
                       "(): Client unit has not registered for mtype: 9, doing an RDB based lookup",
                   "Added suppress arp Ferro svis: 0 to the list\n"});
}

// ----------------------------------------------------------------------------------------------- refusals

TEST_F(SviLists, AreRefusedWhileTheLibraryIsNotReadyAndTheHeadIsUntouched)
{
    kov_api_close();
    kov_api_wait_for_init = 1;
    clear_traces();
    auto *const before = reinterpret_cast<dbly_linkage *>(this);
    list = before;
    EXPECT_EQ(all_svis(&list), 0u);
    EXPECT_EQ(suppressing_svis(&list), 0u);
    EXPECT_EQ(list, before);
    const std::string waiting = "API called even before KOV is enabled, ignore";
    const std::string refused = "(): Not initialized with KOV Api";
    expect_traces({waiting, all_name + refused, waiting, suppressing_name + refused});
}

TEST_F(SviLists, WithoutAHeadAskFirstWhetherTheLibraryIsReady)
{
    kov_api_close();
    kov_api_wait_for_init = 1;
    clear_traces();
    EXPECT_EQ(all_svis(nullptr), 0u);
    expect_traces({"API called even before KOV is enabled, ignore",
                   std::string(all_name) + "(): Not initialized with KOV Api"});
}

TEST_F(SviLists, AreRefusedWithoutAHead)
{
    EXPECT_EQ(all_svis(nullptr), 0u);
    EXPECT_EQ(suppressing_svis(nullptr), 0u);
    expect_traces({"Invalid svi_list ptr: (nil)", "Invalid svi_list ptr: (nil)"});
    expect_all_counters({});
}

// Deliberate: the caller's head keeps pointing at what is freed here.
TEST_F(SviLists, AreFreedWhenMemoryRunsOutAndTheHeadStaysStale)
{
    publish_five();
    for (unsigned nth = 1; nth <= 3; ++nth) {
        platform.calls.fail(Call::alloc, nth);
        clear_traces();
        EXPECT_EQ(all_svis(&list), 0u);
        EXPECT_EQ(list == nullptr, nth == 1);
        EXPECT_EQ(platform.heap.live_blocks(), 0u);
        EXPECT_EQ(traces().back(), nth == 1 ? "Could not free svi list as it is empty already"
                                            : "Freed " + std::to_string(nth - 1) + " entries from svi_list");
    }
    platform.calls.fail(Call::alloc, 2);
    EXPECT_EQ(suppressing_svis(&list), 0u);
    EXPECT_EQ(platform.heap.live_blocks(), 0u);
}

// ------------------------------------------------------------------------------------------- the list itself

TEST_F(SviLists, HaveElementsOfFourWordsAndTwoPointers)
{
    publish(svi(20, 1, 1));
    EXPECT_EQ(all_svis(&list), 1u);
    EXPECT_EQ(platform.heap.live_bytes(), 16 + 2 * sizeof(void *));
    kov_free_svi_info_list(list);
}

TEST_F(SviLists, FreeingTracesEachElementAndTheirNumber)
{
    publish(svi(20, 1, 1));
    publish(svi(30, 2, 1));
    publish(svi(50, 1, 1));
    EXPECT_EQ(all_svis(&list), 1u);
    clear_traces();
    kov_free_svi_info_list(list);
    Texts texts = traces();
    ASSERT_EQ(texts.size(), 4u);
    EXPECT_EQ(texts.back(), "Freed 3 entries from svi_list");
    texts.pop_back();
    EXPECT_EQ(std::set<std::string>(texts.begin(), texts.end()),
              (std::set<std::string>{
                  "Freeing svi_info vlan20(1020), mode: Proxy Gateway from svi list",
                  "Freeing svi_info vlan30(1030), mode: Anycast Gateway from svi list",
                  "Freeing svi_info vlan50(1050), mode: Proxy Gateway from svi list",
              }));
    EXPECT_EQ(platform.heap.live_blocks(), 0u);
}

TEST_F(SviLists, FreeingNothingSaysSo)
{
    kov_free_svi_info_list(nullptr);
    expect_traces({"Could not free svi list as it is empty already"});
}

TEST_F(SviLists, FreeingNeedsNoLibrary)
{
    publish(svi(20, 1, 1));
    EXPECT_EQ(all_svis(&list), 1u);
    kov_api_close();
    kov_free_svi_info_list(list);
    EXPECT_EQ(platform.heap.live_blocks(), 0u);
}

TEST_F(SviLists, AnIteratorStartsAtTheHeadAndStaysAtTheEnd)
{
    publish(svi(20, 1, 1));
    publish(svi(30, 2, 1));
    EXPECT_EQ(all_svis(&list), 1u);
    kov_svi_info_iter_t iter;
    std::memset(&iter, 0xEE, sizeof iter);
    EXPECT_EQ(kov_svi_info_iter_init(&iter, list), &iter);
    EXPECT_EQ(iter.head, list);
    EXPECT_EQ(iter.current, nullptr);
    EXPECT_EQ(iter.first, 1u);
    const kov_svi_info_t *first = kov_svi_info_iter_get_next(&iter);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(&first->link, list);
    EXPECT_EQ(iter.current, first);
    EXPECT_EQ(iter.first, 0u);
    const kov_svi_info_t *second = kov_svi_info_iter_get_next(&iter);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(&second->link, list->next);
    for (int step = 0; step < 2; ++step) {
        EXPECT_EQ(kov_svi_info_iter_get_next(&iter), nullptr);
        EXPECT_EQ(iter.current, nullptr);
    }
    kov_free_svi_info_list(list);
}

TEST_F(SviLists, AnIteratorOverNothingEndsAtOnce)
{
    kov_svi_info_iter_t iter;
    kov_svi_info_iter_init(&iter, nullptr);
    EXPECT_EQ(kov_svi_info_iter_get_next(&iter), nullptr);
    EXPECT_EQ(iter.first, 0u);
    EXPECT_EQ(kov_svi_info_iter_init(nullptr, nullptr), nullptr);
    EXPECT_EQ(kov_svi_info_iter_get_next(nullptr), nullptr);
}

} // namespace
