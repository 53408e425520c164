// Update messages turned into refreshes of aggregate subnet prefixes.
#include "aggr_cache.h"
#include "update_message.h"

namespace
{

using fake::Bytes;
using fake::Call;

class PrefixUpdate : public AggrCache
{
protected:
    static kov_aggr_sub_pfx_update record(const std::string &vrf, const Prefix &prefix)
    {
        kov_aggr_sub_pfx_update update = {};
        vrf.copy(update.vrf_name, sizeof update.vrf_name);
        std::memcpy(update.prefix, prefix.record.prefix, sizeof update.prefix);
        update.family = prefix.family;
        std::memset(update.unused_57, 0xEE, sizeof update.unused_57);
        return update;
    }
    template <class... Records>
    static uint32_t update(const Records &...records)
    {
        return apply_update(KOV_MTYPE_AGGR_SUB_PFX, records...);
    }
    // From here on the cache is on, filled from what is published.
    void cache()
    {
        register_and_acknowledge({8});
        clear_traces();
    }
};

TEST_F(PrefixUpdate, ReadsThePrefixAgainThatTheRecordNames)
{
    cache();
    publish_prefix("red", "10.1.0.0/16");
    publish_prefix("red", "10.2.0.0/16");
    EXPECT_EQ(update(record("red", "10.1.0.0/16")), 1u);
    expect_traces(
        {read_database, vrf_added("red"), added("red", "10.1.0.0/16"), updated, filled("red 10.1.0.0/16")});
    EXPECT_EQ(look_up("red", "10.2.0.0/16"), Bytes()) << "published, but not announced";
    withdraw_prefix("red", "10.1.0.0/16");
    EXPECT_NE(look_up("red", "10.1.0.0/16"), Bytes()) << "withdrawn, but not announced";
    EXPECT_EQ(update(record("red", "10.1.0.0/16")), 1u);
    EXPECT_EQ(look_up("red", "10.1.0.0/16"), Bytes());
    expect({.cached = 1, .cache_hits = 3, .update_hits = 2, .rdb_hits = 3}, 0);
}

TEST_F(PrefixUpdate, AppliesEachRecordAtItsPlace)
{
    cache();
    publish_prefix("red", "10.1.0.0/16");
    publish_prefix("blue", "2001:db8::/32");
    publish_prefix(std::string(32, 'v'), "10.3.0.0/16");
    EXPECT_EQ(update(record("red", "10.1.0.0/16"), record("blue", "2001:db8::/32"),
                     record(std::string(32, 'v'), "10.3.0.0/16")),
              1u);
    expect(holding(3, {.cached = 1, .update_hits = 3, .rdb_hits = 4}), 3);
}

TEST_F(PrefixUpdate, ArrivesInEitherFamilyThroughTheDispatcher)
{
    cache();
    publish_prefix("red", "10.1.0.0/16");
    publish_prefix("red", "2001:db8::/32");
    on_message = [](const Received &) {
        EXPECT_NE(entry("red", "10.1.0.0/16"), nullptr) << "the handler sees the refreshed cache";
    };
    EXPECT_EQ(dispatch(8, record("red", "10.1.0.0/16"), record("red", "2001:db8::/32")), 1u);
    EXPECT_EQ(received.size(), 1u);
    expect(holding(2, {.cached = 1, .update_hits = 2, .rdb_hits = 3}), 1);
}

TEST_F(PrefixUpdate, OfTheFamilyWordTheCacheLooksAtTheFirstByteOnly)
{
    cache();
    publish_prefix("red", "10.1.0.0/16");
    kov_aggr_sub_pfx_update odd = record("red", "10.1.0.0/16");
    odd.family = 0xABCDEF00;
    EXPECT_EQ(update(odd), 1u);
    EXPECT_EQ(references("red"), 1);
    expect(holding(1, {.cached = 1, .update_hits = 1, .rdb_hits = 2}), 1);
}

TEST_F(PrefixUpdate, OfAFamilyThatDoesNotExistChangesNothing)
{
    publish_prefix("red", "10.1.0.0/16");
    cache();
    kov_aggr_sub_pfx_update odd = record("red", "10.1.0.0/16");
    odd.family = 2;
    EXPECT_EQ(update(odd), 1u);
    expect_traces({read_database, updated, filled("red 10.1.0.0/16")});
    expect(holding(1, {.cached = 1, .update_hits = 1, .rdb_hits = 3}), 1);
}

TEST_F(PrefixUpdate, OfANameWithoutItsNulIsCutTo32Characters)
{
    cache();
    publish_prefix(std::string(32, 'v'), "10.1.0.0/16");
    EXPECT_EQ(update(record(std::string(33, 'v'), "10.1.0.0/16")), 1u);
    EXPECT_EQ(references(std::string(32, 'v')), 1);
}

TEST_F(PrefixUpdate, ThatFindsNoMemoryIsSkippedAndTheNextIsApplied)
{
    cache();
    publish_prefix("red", "10.1.0.0/16");
    publish_prefix("blue", "10.2.0.0/16");
    for (const Call call : {Call::alloc, Call::pt_add, Call::oak_insert}) {
        SCOPED_TRACE(fake::name_of(call));
        platform.calls.fail(call);
        EXPECT_EQ(update(record("red", "10.1.0.0/16"), record("blue", "10.2.0.0/16")), 1u);
        EXPECT_EQ(entry("red", "10.1.0.0/16"), nullptr);
        EXPECT_NE(entry("blue", "10.2.0.0/16"), nullptr);
        EXPECT_EQ(counters(4).updating, 0u);
        EXPECT_FALSE(traced("Updating failed for rdb_type: 4"));
        clear_all();
    }
}

TEST_F(PrefixUpdate, ThatTheLibraryCannotApplyIsTracedForEachRecord)
{
    never_initialised();
    kov_api.cache[4].cached = 1;
    EXPECT_EQ(update(record("red", "10.1.0.0/16"), record("red", "10.2.0.0/16")), 1u);
    const std::string ignored = "API called even before KOV is enabled, ignore";
    const std::string closed = "kov_cache_rdb_aggr_subnet_pfx(): Not initialized with KOV Api";
    const std::string failed = "Updating failed for rdb_type: 4";
    expect_traces({ignored, closed, failed, ignored, closed, failed});
    EXPECT_EQ(counters(4).updating, 1u);
}

} // namespace
