// Walks over the per-slot caches: the clear that lets other tasks run at every step, and the iterator.
#include "slot_kinds.h"

using namespace slot_cache;

namespace
{

fake::Bytes key_bytes(const kov_rdb_key &key)
{
    const auto *bytes = reinterpret_cast<const uint8_t *>(&key);
    return {bytes, bytes + sizeof key};
}

// ------------------------------------------------------------------------ other tasks at a clear's yields

template <class Kind>
class SlotClearYields : public SlotCache<Kind>
{
protected:
    SlotClearYields()
    {
        for (const uint8_t slot : Slots8{10, 20, 30})
            this->apply(slot);
    }
    void at_yield(unsigned n, const std::function<void()> &task) { this->platform.sched.at_yield[n] = task; }
    void expect_yields(unsigned n) const { EXPECT_EQ(this->platform.sched.yields, n); }
};
TYPED_TEST_SUITE(SlotClearYields, Kinds, KindNames);

TYPED_TEST(SlotClearYields, ToATaskThatRemovesTheSlotsAhead)
{
    this->at_yield(1, [] { TypeParam::remove(nullptr, 30), TypeParam::remove(nullptr, 20); });
    EXPECT_EQ(this->clear_all(), 1u);
    this->expect_yields(1);
    this->expect(this->holding(0));
}

TYPED_TEST(SlotClearYields, ToATaskThatAddsASlotAheadWhichGoesTooAndOneBehindWhichStays)
{
    this->at_yield(1, [] { TestFixture::apply(25), TestFixture::apply(5), TestFixture::apply(10, 1); });
    EXPECT_EQ(this->clear_all(), 1u);
    this->expect_yields(4);
    EXPECT_EQ(this->slots(), (typename TestFixture::Slots{5, 10}));
    this->expect(this->holding(2));
}

TYPED_TEST(SlotClearYields, ToATaskThatReplacesARecordAhead)
{
    this->at_yield(1, [] { TypeParam::remove(nullptr, 20), TestFixture::apply(20, 3); });
    EXPECT_EQ(this->clear_all(), 1u);
    this->expect_yields(3);
    this->expect(this->holding(0));
}

TYPED_TEST(SlotClearYields, ToATaskThatClearsAllItself)
{
    this->at_yield(1, [] { EXPECT_EQ(TestFixture::clear_all(), 1u); });
    EXPECT_EQ(this->clear_all(), 1u);
    this->expect_yields(3);
    this->expect(this->holding(0));
}

TYPED_TEST(SlotClearYields, ToATaskThatClosesTheLibraryAndTheRestWaitsForTheNextOpening)
{
    this->at_yield(1, [] {
        EXPECT_EQ(kov_api_close(), 1u);
        kov_api_wait_for_init = 1;
    });
    EXPECT_EQ(this->clear_all(), 1u);
    this->expect_yields(3);
    EXPECT_EQ(kov_api.initialized, 0u);
    this->expect(this->holding(2));
}

TYPED_TEST(SlotClearYields, ToATaskThatClosesAndReopensTheLibraryAndNothingIsLost)
{
    this->at_yield(1, [] {
        EXPECT_EQ(kov_api_close(), 1u);
        EXPECT_EQ(kov_api_init(), 1u);
        TestFixture::apply(5), TestFixture::apply(20), TestFixture::apply(40);
    });
    EXPECT_EQ(this->clear_all(), 1u);
    this->expect_yields(3);
    EXPECT_EQ(this->slots(), (typename TestFixture::Slots{5}));
    this->expect(this->holding(1));
    EXPECT_EQ(this->platform.heap.live_blocks(), 1u);
}

// -------------------------------------------------------------------------------------- walks over the cache

template <class Kind>
class SlotWalk : public SlotCache<Kind>
{
protected:
    SlotWalk()
    {
        kov_api.cache[Kind::type].cached = 1;
        const kov_rdb_key key = this->slot_key(Kind::type, 0);
        EXPECT_EQ(kov_rdb_iter_init(&iter, &key), 1u);
    }
    fake::Bytes step()
    {
        const auto *rec = static_cast<const typename Kind::Record *>(kov_rdb_iter_get_next(&iter));
        return rec ? this->bytes_of(*rec) : fake::Bytes();
    }
    kov_rdb_iter iter;
};
TYPED_TEST_SUITE(SlotWalk, Kinds, KindNames);

std::string walking(unsigned slot)
{
    return "kov_cache_iterator_get_next(): Walking port info for Slot: " + std::to_string(slot);
}

TYPED_TEST(SlotWalk, GivesTheSlotsInOrderAndTheirKeys)
{
    for (const uint8_t slot : Slots8{200, 3, 157})
        this->apply(slot);
    this->clear_traces();
    for (const uint8_t slot : Slots8{3, 157, 200}) {
        EXPECT_EQ(this->step(), this->bytes_of(this->record(slot)));
        EXPECT_EQ(this->iter.cursor, slot);
        EXPECT_EQ(this->iter.first, 0u);
        const kov_rdb_key key = this->slot_key(TypeParam::type, slot);
        EXPECT_EQ(key_bytes(this->iter.key), key_bytes(key));
    }
    EXPECT_EQ(this->step(), fake::Bytes());
    EXPECT_EQ(this->step(), fake::Bytes());
    this->expect_traces({walking(3), walking(157), walking(200)});
    this->expect(this->holding(3, {.cached = 1, .cache_hits = 5}));
}

TYPED_TEST(SlotWalk, OfAnEmptyCacheEndsAtOnceAndCountsTheEndingStep)
{
    EXPECT_EQ(this->step(), fake::Bytes());
    this->expect_traces({});
    this->expect({.cached = 1, .cache_hits = 1});
}

TYPED_TEST(SlotWalk, WritesTheSlotsByteAndZerosBehindIt)
{
    this->apply(3);
    this->iter.key.of.number = 0xA5A5A5A5;
    this->step();
    EXPECT_EQ(this->iter.key.of.number, 3u);
}

TYPED_TEST(SlotWalk, GoesOnInTheDatabaseWhileTheTypeIsBeingUpdatedAndInTheCacheAfterIt)
{
    for (const uint8_t slot : Slots8{10, 20, 30}) {
        this->apply(slot);
        this->publish(slot, this->record(slot, 1));
    }
    EXPECT_EQ(this->step(), this->bytes_of(this->record(10)));
    kov_api.cache[TypeParam::type].updating = 1;
    EXPECT_EQ(this->step(), this->bytes_of(this->record(20, 1)));
    this->expect(
        this->holding(3, {.cached = 1, .updating = 1, .cache_hits = 1, .update_hits = 1, .rdb_hits = 1}));
}

TYPED_TEST(SlotWalk, StopsInTheDatabaseAtTheFirstRecordOfTheNextType)
{
    this->publish_slots({10});
    kov_rdb_sviinfo_t svi = {};
    svi.svi_ifindex = 1;
    this->publish(svi);
    kov_rdb_l2rib_topo_info_t topology = {};
    topology.bd = 1;
    this->publish(topology);
    this->iter.force_rdb = 1;
    EXPECT_EQ(this->step(), this->bytes_of(this->record(10)));
    EXPECT_EQ(this->step(), fake::Bytes());
    this->expect({.cached = 1, .rdb_hits = 2});
}

} // namespace
