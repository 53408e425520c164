// The per-slot caches: filling, one slot, clearing, and what memory or the tree refuse.
#include "slot_kinds.h"

using namespace slot_cache;

namespace
{

TYPED_TEST_SUITE(SlotCache, Kinds, KindNames);

// ------------------------------------------------------------------------------------- the life of a cache

TYPED_TEST(SlotCache, CountsEveryStepOfItsLife)
{
    this->publish_slots({1, 3, 156, 157});
    EXPECT_EQ(kov_api_close(), 1u);
    this->register_and_acknowledge({TypeParam::mtype});
    this->expect(this->holding(4, {.cached = 1, .rdb_hits = 5}));

    EXPECT_EQ(this->look_up(3), this->bytes_of(this->record(3)));
    this->expect(this->holding(4, {.cached = 1, .cache_hits = 1, .rdb_hits = 5}));
    EXPECT_EQ(this->look_up(2), fake::Bytes());
    this->expect(this->holding(4, {.cached = 1, .cache_hits = 2, .rdb_hits = 5}));
    EXPECT_EQ(this->look_up(3, 1), this->bytes_of(this->record(3)));
    this->expect(this->holding(4, {.cached = 1, .cache_hits = 2, .rdb_hits = 6}));

    kov_api.cache[TypeParam::type].updating = 1;
    EXPECT_EQ(this->look_up(3), this->bytes_of(this->record(3)));
    this->expect(
        this->holding(4, {.cached = 1, .updating = 1, .cache_hits = 2, .update_hits = 1, .rdb_hits = 7}));
    this->publish(3, this->record(3, 1));
    EXPECT_EQ(this->refresh(3), 1u);
    this->expect(this->holding(4, {.cached = 1, .cache_hits = 2, .update_hits = 2, .rdb_hits = 8}));
    EXPECT_EQ(this->look_up(3), this->bytes_of(this->record(3, 1)));
    this->expect(this->holding(4, {.cached = 1, .cache_hits = 3, .update_hits = 2, .rdb_hits = 8}));

    this->withdraw_slot(1);
    EXPECT_EQ(this->refresh(1), 1u);
    this->expect(this->holding(3, {.cached = 1, .cache_hits = 3, .update_hits = 3, .rdb_hits = 9}));
    const uint8_t slot = 156;
    EXPECT_EQ(TypeParam::clear(0, &slot), 1u);
    this->expect(this->holding(2, {.cached = 1, .cache_hits = 3, .update_hits = 3, .rdb_hits = 9}));

    EXPECT_EQ(kov_api_disable_cache(), 1u);
    this->expect(this->holding(0, {.cache_hits = 3, .update_hits = 3, .rdb_hits = 9}));
    EXPECT_EQ(this->look_up(3), this->bytes_of(this->record(3, 1)));
    this->expect(this->holding(0, {.cache_hits = 3, .update_hits = 3, .rdb_hits = 10}));
}

TYPED_TEST(SlotCache, KeepsTheWholeRecordOfThirtyFiveBytes)
{
    this->apply(7);
    EXPECT_EQ(this->platform.heap.live_bytes(), 35u);
    ASSERT_NE(this->entry(7), nullptr);
    EXPECT_EQ(this->platform.heap.size_of(this->entry(7)), 35u);
    EXPECT_EQ(this->bytes_of(*this->entry(7)), this->bytes_of(this->record(7)));
}

TYPED_TEST(SlotCache, HoldsEverySlotFromOneTo255)
{
    for (unsigned slot = 1; slot <= 255; ++slot)
        this->publish(static_cast<uint8_t>(slot), this->record(static_cast<uint8_t>(slot)));
    EXPECT_EQ(this->fill_all(), 1u);
    this->expect(this->holding(255, {.rdb_hits = 256}));
    for (unsigned slot = 1; slot <= 255; ++slot) {
        ASSERT_NE(this->entry(static_cast<uint8_t>(slot)), nullptr) << slot;
        EXPECT_EQ(this->bytes_of(*this->entry(static_cast<uint8_t>(slot))),
                  this->bytes_of(this->record(static_cast<uint8_t>(slot))))
            << slot;
    }
}

// ------------------------------------------------------------------------------------------------- filling

TYPED_TEST(SlotCache, AFillOfAllTracesEachSlotAndItsEnd)
{
    this->publish_slots({9, 4});
    EXPECT_EQ(this->fill_all(), 1u);
    this->expect_traces(
        {created(4), TypeParam::updated, created(9), TypeParam::updated, TypeParam::filled_all});
    this->expect(this->holding(2, {.rdb_hits = 3}));
    EXPECT_EQ(this->platform.sched.yields, 0u);
}

TYPED_TEST(SlotCache, AFillOfAllPrintsTheSlotThatItWasGivenAllTheSame)
{
    const uint8_t slot = 3;
    EXPECT_EQ(TypeParam::fill(1, &slot), 1u);
    this->expect_traces({TypeParam::filled_all_3});
    this->expect({.rdb_hits = 1});
}

TYPED_TEST(SlotCache, AFillOfAllReadsTheDatabaseAlsoWhenTheTypeIsCached)
{
    this->publish_slots({4});
    kov_api.cache[TypeParam::type].cached = 1;
    kov_api.cache[TypeParam::type].updating = 1;
    EXPECT_EQ(this->fill_all(), 1u);
    // The first record's update ends the updating; the walk goes on in the database nevertheless.
    this->expect(this->holding(1, {.cached = 1, .update_hits = 1, .rdb_hits = 2}));
}

TYPED_TEST(SlotCache, AFillDoesNothingWhenTheTypeIsCachedAndNotBeingUpdated)
{
    this->publish_slots({4});
    kov_api.cache[TypeParam::type].cached = 1;
    const uint8_t slot = 4;
    EXPECT_EQ(TypeParam::fill(1, nullptr), 1u);
    EXPECT_EQ(TypeParam::fill(0, &slot), 1u);
    this->expect_traces({TypeParam::already, TypeParam::already});
    this->expect({.cached = 1});
}

TYPED_TEST(SlotCache, ARefreshReadsOneSlotFromTheDatabase)
{
    this->publish_slots({3, 4});
    const uint8_t slot = 3;
    EXPECT_EQ(TypeParam::fill(0, &slot), 1u);
    this->expect_traces({"Doing RDB based lookup for " + std::to_string(TypeParam::type), created(3),
                         TypeParam::updated, TypeParam::filled_3});
    this->expect(this->holding(1, {.rdb_hits = 1}));
    EXPECT_EQ(this->slots(), (typename TestFixture::Slots{3}));
}

TYPED_TEST(SlotCache, ARefreshReplacesTheRecordAndKeepsTheCounters)
{
    this->apply(3);
    const void *const before = this->entry(3);
    this->publish(3, this->record(3, 5));
    this->clear_traces();
    EXPECT_EQ(this->refresh(3), 1u);
    this->expect_traces({"Doing RDB based lookup for " + std::to_string(TypeParam::type), TypeParam::updated,
                         TypeParam::filled_3});
    EXPECT_EQ(this->entry(3), before);
    EXPECT_EQ(this->bytes_of(*this->entry(3)), this->bytes_of(this->record(3, 5)));
    this->expect(this->holding(1, {.update_hits = 1, .rdb_hits = 1}));
}

TYPED_TEST(SlotCache, RefreshingASlotWhoseRecordHasLeftTheDatabaseRemovesTheEntryAndReturnsOne)
{
    this->apply(3);
    this->clear_traces();
    EXPECT_EQ(this->refresh(3), 1u);
    this->expect_traces({"Doing RDB based lookup for " + std::to_string(TypeParam::type), deleted(3),
                         TypeParam::updated, TypeParam::filled_3});
    this->expect(this->holding(0, {.update_hits = 1, .rdb_hits = 1}));
    EXPECT_EQ(this->platform.heap.live_blocks(), 0u);
}

TYPED_TEST(SlotCache, RefreshingASlotThatIsNowhereLeavesEverythingAsItIs)
{
    EXPECT_EQ(this->refresh(3), 1u);
    this->expect_traces({"Doing RDB based lookup for " + std::to_string(TypeParam::type),
                         TypeParam::not_cached, TypeParam::updated, TypeParam::filled_3});
    this->expect({.update_hits = 1, .rdb_hits = 1});
}

TYPED_TEST(SlotCache, AFillOfNothingPrintsMinusOneAndEndsTheUpdating)
{
    kov_api.cache[TypeParam::type].updating = 1;
    EXPECT_EQ(TypeParam::fill(0, nullptr), 1u);
    this->expect_traces({TypeParam::filled_none});
    this->expect({});
}

TYPED_TEST(SlotCache, ARefreshOfSlotZeroIsRefusedInsideAndDoneOutside)
{
    this->publish(0, this->record(1));
    EXPECT_EQ(this->refresh(0), 1u);
    this->expect_traces({"Doing RDB based lookup for " + std::to_string(TypeParam::type),
                         invalid_slot(TypeParam::update_name), TypeParam::filled_0});
    this->expect({.update_hits = 1, .rdb_hits = 1});
}

TYPED_TEST(SlotCache, AFillSkipsSlotZero)
{
    this->publish(0, this->record(1));
    this->publish_slots({2});
    EXPECT_EQ(this->fill_all(), 1u);
    this->expect_traces(
        {invalid_slot(TypeParam::update_name), created(2), TypeParam::updated, TypeParam::filled_all});
    this->expect(this->holding(1, {.rdb_hits = 3}));
}

TYPED_TEST(SlotCache, ADamagedRecordIsCachedAsOneOfZeros)
{
    this->publish_bytes(this->slot_key(TypeParam::type, 3), {1, 2, 3});
    EXPECT_EQ(this->fill_all(), 1u);
    ASSERT_NE(this->entry(3), nullptr);
    EXPECT_EQ(this->bytes_of(*this->entry(3)), fake::Bytes(35, 0));
    this->expect(this->holding(1, {.rdb_hits = 2}));
}

TYPED_TEST(SlotCache, AFillKeepsTheEntriesThatTheDatabaseNoLongerHas)
{
    this->apply(5);
    this->publish_slots({6});
    EXPECT_EQ(this->fill_all(), 1u);
    EXPECT_EQ(this->slots(), (typename TestFixture::Slots{5, 6}));
    this->expect(this->holding(2, {.rdb_hits = 2}));
}

// ------------------------------------------------------------------------------------------------ one slot

TYPED_TEST(SlotCache, AnUpdateEndsTheUpdating)
{
    kov_api.cache[TypeParam::type].updating = 1;
    EXPECT_EQ(this->apply(3), 1u);
    this->expect(this->holding(1));
    kov_api.cache[TypeParam::type].updating = 1;
    EXPECT_EQ(TypeParam::update(nullptr, 3), 1u);
    this->expect(this->holding(0));
    this->expect_traces({created(3), TypeParam::updated, deleted(3), TypeParam::updated});
}

TYPED_TEST(SlotCache, SlotZeroIsRefusedByTheUpdateAndTheDelete)
{
    const auto rec = this->record(1);
    kov_api.cache[TypeParam::type].updating = 1;
    EXPECT_EQ(TypeParam::update(&rec, 0), 0u);
    EXPECT_EQ(TypeParam::update(nullptr, 0), 0u);
    EXPECT_EQ(TypeParam::remove(nullptr, 0), 0u);
    EXPECT_EQ(TypeParam::remove(&rec, 0), 0u);
    this->expect_traces({invalid_slot(TypeParam::update_name), invalid_slot(TypeParam::update_name),
                         invalid_slot(TypeParam::remove_name), invalid_slot(TypeParam::remove_name)});
    this->expect({.updating = 1});
}

TYPED_TEST(SlotCache, ADeleteWithoutATreeHasNothingToDo)
{
    EXPECT_EQ(TypeParam::remove(nullptr, 3), 1u);
    this->expect_traces({TypeParam::not_cached});
    this->expect({});
}

TYPED_TEST(SlotCache, ADeleteOfASlotThatIsNotThereIsDoneSilently)
{
    this->apply(3);
    this->clear_traces();
    EXPECT_EQ(TypeParam::remove(nullptr, 4), 1u);
    this->expect_traces({});
    this->expect(this->holding(1));
}

TYPED_TEST(SlotCache, AStaleEntryIsNeverFreedTwice)
{
    this->apply(3);
    this->apply(4);
    const auto *const stale = this->entry(3);
    EXPECT_EQ(TypeParam::remove(stale, 3), 1u);
    this->expect(this->holding(1));
    this->clear_traces();
    EXPECT_EQ(TypeParam::remove(stale, 3), 0u);
    this->expect_traces({});
    this->expect(this->holding(1));
    EXPECT_EQ(this->slots(), (typename TestFixture::Slots{4}));
}

TYPED_TEST(SlotCache, AnotherSlotsEntryIsNotFreedInItsPlace)
{
    this->apply(3);
    this->apply(4);
    EXPECT_EQ(TypeParam::remove(this->entry(3), 4), 1u);
    EXPECT_EQ(this->slots(), (typename TestFixture::Slots{3}));
    EXPECT_EQ(this->bytes_of(*this->entry(3)), this->bytes_of(this->record(3)));
    this->expect(this->holding(1));
}

// ------------------------------------------------------------------------------------------------ clearing

TYPED_TEST(SlotCache, AClearOfAllRemovesEverySlotAndYieldsAfterEach)
{
    for (const uint8_t slot : Slots8{30, 10, 20})
        this->apply(slot);
    kov_api.cache[TypeParam::type].cached = 1;
    kov_api.cache[TypeParam::type].updating = 1;
    this->clear_traces();
    EXPECT_EQ(this->clear_all(), 1u);
    this->expect_traces({deleted(10), deleted(20), deleted(30), TypeParam::cleared_all});
    EXPECT_EQ(this->platform.calls.count(Call::coop_sched_may_yield), 3u);
    this->expect(this->holding(0, {.cached = 1, .updating = 1}));
    EXPECT_EQ(this->platform.heap.live_blocks(), 0u);
}

TYPED_TEST(SlotCache, AClearOfOneSlotLeavesTheOthersAndDoesNotYield)
{
    this->apply(3);
    this->apply(4);
    this->clear_traces();
    const uint8_t slot = 3;
    EXPECT_EQ(TypeParam::clear(0, &slot), 1u);
    this->expect_traces({deleted(3), TypeParam::cleared_3});
    EXPECT_EQ(this->slots(), (typename TestFixture::Slots{4}));
    this->expect(this->holding(1));
    EXPECT_EQ(this->platform.sched.yields, 0u);
}

TYPED_TEST(SlotCache, AClearOfNothingOrOfSlotZeroClearsNothing)
{
    this->apply(3);
    this->clear_traces();
    const uint8_t zero = 0;
    EXPECT_EQ(TypeParam::clear(0, nullptr), 1u);
    EXPECT_EQ(TypeParam::clear(0, &zero), 1u);
    this->expect_traces(
        {TypeParam::cleared_none, invalid_slot(TypeParam::remove_name), TypeParam::cleared_0});
    this->expect(this->holding(1));
}

TYPED_TEST(SlotCache, AClearWithoutATreeHasNothingToDo)
{
    const uint8_t slot = 3;
    EXPECT_EQ(this->clear_all(), 1u);
    EXPECT_EQ(TypeParam::clear(0, &slot), 1u);
    this->expect_traces({TypeParam::not_cached, TypeParam::not_cached});
    this->expect({});
}

TYPED_TEST(SlotCache, AnEmptiedTreeStaysAndTakesSlotsAgain)
{
    this->apply(3);
    this->clear_all();
    const void *const root = kov_api.cache[TypeParam::type].data;
    this->clear_traces();
    EXPECT_EQ(this->clear_all(), 1u);
    this->expect_traces({TypeParam::cleared_all});
    this->apply(3);
    EXPECT_EQ(kov_api.cache[TypeParam::type].data, root);
    this->expect(this->holding(1));
}

// ------------------------------------------------------------------------------------- no library, no memory

TYPED_TEST(SlotCache, NothingWorksWithoutAnInitialisedLibrary)
{
    this->never_initialised();
    const auto rec = this->record(3);
    const uint8_t slot = 3;
    EXPECT_EQ(TypeParam::fill(1, nullptr), 0u);
    EXPECT_EQ(TypeParam::fill(0, &slot), 0u);
    EXPECT_EQ(TypeParam::clear(1, nullptr), 0u);
    EXPECT_EQ(TypeParam::update(&rec, 3), 0u);
    EXPECT_EQ(TypeParam::remove(nullptr, 3), 0u);
    EXPECT_EQ(TypeParam::update(&rec, 0), 0u); // the slot is looked at first
    this->expect_traces(
        {ignored, not_initialized(TypeParam::fill_name), ignored, not_initialized(TypeParam::fill_name),
         ignored, not_initialized(TypeParam::clear_name), ignored, not_initialized(TypeParam::update_name),
         ignored, not_initialized(TypeParam::remove_name), invalid_slot(TypeParam::update_name)});
    EXPECT_EQ(kov_api.initialized, 0u);
}

TYPED_TEST(SlotCache, AFillSkipsTheSlotThatMemoryOrTheTreeRefuse)
{
    this->publish_slots({10, 20, 30});
    for (const Call call : {Call::alloc, Call::pt_add}) {
        for (unsigned nth = 1; nth <= 3; ++nth) {
            SCOPED_TRACE(std::string(fake::name_of(call)) + " " + std::to_string(nth));
            kov_api_close();
            kov_api_init();
            this->platform.calls.fail(call, nth);
            EXPECT_EQ(this->fill_all(), 1u);
            typename TestFixture::Slots expected = {10, 20, 30};
            expected.erase(expected.begin() + nth - 1);
            EXPECT_EQ(this->slots(), expected);
            this->expect(this->holding(2, {.rdb_hits = 4}));
            this->expect_counters_equal_live_blocks();
        }
    }
}

TYPED_TEST(SlotCache, AnUpdateThatMemoryOrTheTreeRefusesFailsSilentlyAndIsStillUpdating)
{
    for (const Call call : {Call::alloc, Call::pt_add}) {
        SCOPED_TRACE(fake::name_of(call));
        kov_api.cache[TypeParam::type].updating = 1;
        this->platform.calls.fail(call);
        EXPECT_EQ(this->apply(3), 0u);
        this->expect_traces({});
        this->expect({.updating = 1});
        EXPECT_EQ(this->platform.heap.live_blocks(), 0u);
    }
}

TYPED_TEST(SlotCache, AnUpdateOfAnEntryThatIsThereNeedsNoMemory)
{
    this->apply(3);
    this->platform.calls.fail_always(Call::alloc);
    this->platform.calls.fail_always(Call::pt_add);
    EXPECT_EQ(this->apply(3, 9), 1u);
    EXPECT_EQ(this->bytes_of(*this->entry(3)), this->bytes_of(this->record(3, 9)));
}

TYPED_TEST(SlotCache, ADeleteThatTheTreeRefusesKeepsTheEntryAndTheCounters)
{
    this->apply(3);
    this->clear_traces();
    this->platform.calls.fail(Call::pt_delete);
    EXPECT_EQ(TypeParam::remove(nullptr, 3), 0u);
    this->expect_traces({});
    EXPECT_EQ(this->bytes_of(*this->entry(3)), this->bytes_of(this->record(3)));
    this->expect(this->holding(1));
}

TYPED_TEST(SlotCache, AClearOfAllGoesPastTheSlotThatTheTreeRefusesToDelete)
{
    for (const uint8_t slot : Slots8{10, 20, 30})
        this->apply(slot);
    this->clear_traces();
    this->platform.calls.fail(Call::pt_delete, 2);
    EXPECT_EQ(this->clear_all(), 1u);
    this->expect_traces({deleted(10), deleted(30), TypeParam::cleared_all});
    EXPECT_EQ(this->slots(), (typename TestFixture::Slots{20}));
    this->expect(this->holding(1));
    EXPECT_EQ(this->platform.sched.yields, 3u);
}

// Two caches, one source: neither may touch the other's.
TEST_F(Lab, TheTwoSlotCachesShareNothing)
{
    kov_rdb_port_tracking_t tracking = {};
    tracking.num_bits = 1;
    kov_rdb_port_l2dci_t l2dci = {};
    l2dci.num_bits = 2;
    publish(3, tracking);
    publish(3, l2dci);
    register_and_acknowledge({10, 20});
    const Counters one = {.cached = 1, .rdb_hits = 2, .allocs = 1, .bytes = 35, .data = true};
    expect_all_counters({{3, one}, {5, one}});
    EXPECT_EQ(kov_clear_cache_rdb_port_tracking(1, nullptr), 1u);
    Counters emptied = one;
    emptied.allocs = emptied.bytes = 0;
    expect_all_counters({{3, emptied}, {5, one}});
    const kov_rdb_key key = slot_key(5, 3);
    const auto *rec = static_cast<const kov_rdb_port_l2dci_t *>(kov_rdb_get_data_from_cache(&key, 0));
    ASSERT_NE(rec, nullptr);
    EXPECT_EQ(uint16_t{rec->num_bits}, 2u);
}

} // namespace
