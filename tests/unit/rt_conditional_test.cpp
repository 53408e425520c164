// Whether a prefix lies inside an aggregate subnet prefix of its VRF: the walk, in the database and in the
// cache.
#include "aggr_cache.h"

#include <memory>

namespace
{

const std::string not_registered =
    "kov_is_rt_conditional(): Client  has not registered for mtype: 8, doing an RDB "
    "based lookup";
const std::string walking = ") kov_cache_iterator_get_next(): Walking Aggregate-subnet-pfx ";

std::string done(const std::string &vrf) { return "(" + vrf + ") Done Walking aggregate-subnet-prefixes"; }
std::string skipped(const std::string &vrf, const std::string &prefix, const std::string &family)
{
    return "(" + vrf + ") Skipping prefix " + prefix + " as the lookup is for " + family;
}
std::string matched(const std::string &vrf, const std::string &family, const std::string &prefix,
                    const std::string &outer)
{
    return "(" + vrf + ") [" + family + "] Aggregate-subnet-prefix lookup for " + prefix + " matched for " +
           outer;
}
std::string unmatched(const std::string &vrf, const std::string &family, const std::string &prefix)
{
    return "(" + vrf + ") [" + family + "] Aggregate-subnet-prefix lookup for " + prefix + " (didnt match)";
}

class RtConditional : public AggrCache
{
protected:
    static uint32_t ask(const std::string &vrf, const Prefix &prefix)
    {
        return kov_is_rt_conditional(vrf.c_str(), prefix.record.prefix, prefix.family);
    }
    static uint32_t ask(const std::string &vrf, const Prefix &prefix, uint32_t family)
    {
        return kov_is_rt_conditional(vrf.c_str(), prefix.record.prefix, family);
    }
    // In the order of the database: blue, then red's 10.1/16, 10.2/16, 2001:db8::/32 and 2001:db9::/32,
    // violet.
    void publish_all()
    {
        publish_prefix("blue", "10.9.0.0/16");
        for (const char *prefix : {"10.1.0.0/16", "10.2.0.0/16", "2001:db8::/32", "2001:db9::/32"})
            publish_prefix("red", prefix);
        publish_prefix("violet", "10.3.0.0/16");
        publish_prefix("violet", "2001:dba::/32");
    }
    void cache_all()
    {
        publish_all();
        register_and_acknowledge({8});
        platform.db.clear();
        clear_traces();
    }
};

// ------------------------------------------------------------------------------------------ what is refused

TEST_F(RtConditional, WithoutANameOrAPrefixIsNothing)
{
    const Prefix prefix = "10.1.0.0/16";
    kov_api_close();
    clear_traces();
    EXPECT_EQ(kov_is_rt_conditional(nullptr, prefix.record.prefix, 0), 0u);
    EXPECT_EQ(kov_is_rt_conditional("red", nullptr, 0), 0u);
    EXPECT_EQ(kov_is_rt_conditional(nullptr, nullptr, 1), 0u);
    expect_traces({"Invalid arg", "Invalid arg", "Invalid arg"});
    EXPECT_EQ(kov_api.initialized, 0u);
}

TEST_F(RtConditional, NothingIsWhileTheLibraryCannotBeInitialised)
{
    never_initialised();
    EXPECT_EQ(ask(std::string(40, 'v'), "10.1.0.0/16"), 0u);
    expect_traces({"API called even before KOV is enabled, ignore",
                   "kov_is_rt_conditional(): Not initialized with KOV Api"});
}

TEST_F(RtConditional, ANameOf34CharactersIsTooLongAndOneOf33IsNot)
{
    EXPECT_EQ(ask(std::string(34, 'v'), "10.1.0.0/16"), 0u);
    expect_traces({"vrf name too long in kov_is_rt_conditional"});
    expect({}, 0);
    clear_traces();
    const std::string longest(33, 'v');
    EXPECT_EQ(ask(longest, "10.1.0.0/16"), 0u);
    expect_traces({not_registered, unmatched(longest, "IPv4", "10.1.0.0/16")});
    expect({.rdb_hits = 1}, 0);
}

TEST_F(RtConditional, AnOverlongNameIsNotReadPastWhatMakesItTooLong)
{
    const std::unique_ptr<char[]> name(new char[34]); // a block that ends with the name, and no NUL
    std::memset(name.get(), 'v', 34);
    EXPECT_EQ(kov_is_rt_conditional(name.get(), Prefix("10.1.0.0/16").record.prefix, 0), 0u);
    expect_traces({"vrf name too long in kov_is_rt_conditional"});
}

// ---------------------------------------------------------------------------------------- in the database

TEST_F(RtConditional, InTheDatabaseThePrefixIsComparedWithEachOfItsVrfUntilOneHoldsIt)
{
    publish_all();
    EXPECT_EQ(ask("red", "10.2.3.4/32"), 1u);
    expect_traces({not_registered, matched("red", "IPv4", "10.2.3.4/32", "10.2.0.0/16")});
    expect({.rdb_hits = 2}, 0);
    EXPECT_EQ(ask("red", "10.1.0.0/16"), 1u);
    expect({.rdb_hits = 3}, 0);
    EXPECT_EQ(ask("red", "10.0.0.0/8"), 0u) << "a shorter one is not inside";
}

TEST_F(RtConditional, AnIpv6LookupPassesOverTheIpv4RecordsAndEndsAtTheNextVrf)
{
    publish_all();
    EXPECT_EQ(ask("red", "2001:dba::1/128"), 0u);
    expect_traces({not_registered, skipped("red", "10.1.0.0/16", "IPv6"),
                   skipped("red", "10.2.0.0/16", "IPv6"), done("red"),
                   unmatched("red", "IPv6", "2001:dba::1/128")});
    expect({.rdb_hits = 5}, 0);
    clear_traces();
    EXPECT_EQ(ask("red", "2001:db9::1/128"), 1u);
    expect_traces({not_registered, skipped("red", "10.1.0.0/16", "IPv6"),
                   skipped("red", "10.2.0.0/16", "IPv6"),
                   matched("red", "IPv6", "2001:db9::1/128", "2001:db9::/32")});
}

TEST_F(RtConditional, AnIpv4LookupPassesOverTheIpv6Records)
{
    publish_all();
    EXPECT_EQ(ask("red", "10.3.0.1/32"), 0u);
    expect_traces({not_registered, skipped("red", "2001:db8::/32", "IPv4"),
                   skipped("red", "2001:db9::/32", "IPv4"), done("red"),
                   unmatched("red", "IPv4", "10.3.0.1/32")});
}

TEST_F(RtConditional, ThereIsNoNextVrfAtTheEndOfTheDatabase)
{
    publish_all();
    EXPECT_EQ(ask("violet", "10.1.0.1/32"), 0u);
    expect_traces({not_registered, skipped("violet", "2001:dba::/32", "IPv4"),
                   unmatched("violet", "IPv4", "10.1.0.1/32")});
    clear_traces();
    EXPECT_EQ(ask("zone", "10.1.0.1/32"), 0u);
    expect_traces({not_registered, unmatched("zone", "IPv4", "10.1.0.1/32")});
    clear_traces();
    EXPECT_EQ(ask("green", "10.1.0.1/32"), 0u);
    expect_traces({not_registered, done("green"), unmatched("green", "IPv4", "10.1.0.1/32")});
}

TEST_F(RtConditional, ARecordOfAnotherTypeEndsTheWalkSilently)
{
    publish_prefix("red", "10.1.0.0/16");
    publish(3, kov_rdb_port_l2dci_t{8, {1}});
    EXPECT_EQ(ask("red", "10.2.0.1/32"), 0u);
    expect_traces({not_registered, unmatched("red", "IPv4", "10.2.0.1/32")});
}

TEST_F(RtConditional, OfNamesThatBeginAlikeOnlyTheSameIsMeant)
{
    publish_prefix("redder", "10.1.0.0/16");
    EXPECT_EQ(ask("red", "10.1.0.1/32"), 0u);
    EXPECT_EQ(ask("redde", "10.1.0.1/32"), 0u);
    EXPECT_EQ(ask("redder", "10.1.0.1/32"), 1u);
}

// The family is compared with the record's as it is given; every other than 0 prints and matches as IPv6.
TEST_F(RtConditional, AFamilyThatNoRecordHasFindsNothing)
{
    publish_prefix("red", "2001:db8::/32");
    for (const uint32_t family : {2u, 257u, UINT32_MAX}) {
        clear_traces();
        EXPECT_EQ(ask("red", "2001:db8::1/128", family), 0u);
        expect_traces({not_registered, skipped("red", "2001:db8::/32", "IPv6"),
                       unmatched("red", "IPv6", "2001:db8::1/128")});
    }
}

TEST_F(RtConditional, ANameOf33CharactersIsNoRecordsThoughOneMayLackItsNul)
{
    const std::string cut(32, 'v'), hostile(33, 'v');
    const Prefix prefix = "10.1.0.0/16";
    publish_prefix(cut, prefix);
    kov_rdb_key key = prefix_key(cut, 0, prefix.record);
    fake::Key at;
    std::memcpy(at.data(), &key, sizeof key);
    const fake::Bytes tlv = platform.db.records().at(at);
    withdraw(key);
    hostile.copy(key.of.vrf_name, 33);
    publish_bytes(key, tlv);
    EXPECT_EQ(ask(hostile, "10.1.0.1/32"), 0u);
    EXPECT_EQ(ask(cut, "10.1.0.1/32"), 0u);
    expect_traces({not_registered, done(hostile), unmatched(hostile, "IPv4", "10.1.0.1/32"), not_registered,
                   done(cut), unmatched(cut, "IPv4", "10.1.0.1/32")});
}

TEST_F(RtConditional, ADefaultAggregateHoldsEverything)
{
    publish_prefix("red", "0.0.0.0/0");
    publish_prefix("red", "::/0");
    EXPECT_EQ(ask("red", "200.1.2.3/32"), 1u);
    EXPECT_EQ(ask("red", "fe80::1/128"), 1u);
}

// Deliberate: a record that cannot be decoded reads as one of zeros, the default prefix, which holds
// everything.
TEST_F(RtConditional, ADamagedRecordHoldsEverything)
{
    publish_bytes(prefix_key("red", 0, Prefix("10.1.0.0/16").record), {1, 2, 3});
    publish_bytes(prefix_key("red", 1, Prefix("2001:db8::/32").record), {1, 2, 3});
    EXPECT_EQ(ask("red", "200.1.2.3/32"), 1u);
    EXPECT_EQ(ask("red", "fe80::1/128"), 1u);
    expect_traces({not_registered, matched("red", "IPv4", "200.1.2.3/32", "0.0.0.0/0"), not_registered,
                   skipped("red", "0.0.0.0/0", "IPv6"), matched("red", "IPv6", "fe80::1/128", "::/0")});
    EXPECT_EQ(ask("blue", "200.1.2.3/32"), 0u) << "of its own VRF only";
}

TEST_F(RtConditional, ADamagedRecordHoldsEverythingAlsoInTheCache)
{
    publish_bytes(prefix_key("red", 0, Prefix("10.1.0.0/16").record), {1, 2, 3});
    register_and_acknowledge({8});
    platform.db.clear();
    clear_traces();
    EXPECT_EQ(ask("red", "200.1.2.3/32"), 1u);
    expect_traces({"(red" + walking + "10.1.0.0/16", matched("red", "IPv4", "200.1.2.3/32", "0.0.0.0/0")});
    expect(holding(1, {.cached = 1, .cache_hits = 1, .rdb_hits = 2}), 1);
}

// The database orders by the prefix before the family: all zeros of IPv4 stand before all zeros of IPv6.
TEST_F(RtConditional, AnIpv6WalkBeginsBehindTheDefaultAggregateOfIpv4)
{
    publish_prefix("red", "0.0.0.0/0");
    publish_prefix("red", "::/0");
    clear_traces();
    EXPECT_EQ(ask("red", "fe80::1/128"), 1u);
    expect_traces({not_registered, matched("red", "IPv6", "fe80::1/128", "::/0")});
    expect({.rdb_hits = 1}, 0);
}

// Only 5 bytes of an IPv4 prefix, and 17 of an IPv6 prefix, are read.
TEST_F(RtConditional, APrefixMayEndWithItsLengthAtAnyAlignment)
{
    publish_all();
    const Prefix v4 = "10.1.2.3/32", v6 = "2001:db8::1/128";
    const fake::OddBlock short4({v4.record.prefix, 5}), short6({v6.record.prefix, 17});
    EXPECT_EQ(kov_is_rt_conditional("red", short4.data(), 0), 1u);
    EXPECT_EQ(kov_is_rt_conditional("red", short6.data(), 1), 1u);
}

// -------------------------------------------------------------------------------------------- in the cache

TEST_F(RtConditional, InTheCacheOneFamilyOfTheVrfIsWalked)
{
    cache_all();
    EXPECT_EQ(ask("red", "10.2.3.4/32"), 1u);
    expect_traces({"(red" + walking + "10.1.0.0/16", "(red" + walking + "10.2.0.0/16",
                   matched("red", "IPv4", "10.2.3.4/32", "10.2.0.0/16")});
    clear_traces();
    EXPECT_EQ(ask("red", "2001:dba::1/128"), 0u);
    expect_traces({"(red" + walking + "2001:db8::/32", "(red" + walking + "2001:db9::/32",
                   unmatched("red", "IPv6", "2001:dba::1/128")});
    expect(holding(7, {.cached = 1, .cache_hits = 5, .rdb_hits = 8}), 3);
    EXPECT_EQ(references("red"), 4);
}

TEST_F(RtConditional, InTheCacheAnUnknownVrfOrFamilyEndsAtOnce)
{
    cache_all();
    EXPECT_EQ(ask("green", "10.1.0.1/32"), 0u);
    EXPECT_EQ(ask("red", "2001:db8::1/128", 2), 0u);
    expect_traces({unmatched("green", "IPv4", "10.1.0.1/32"), unmatched("red", "IPv6", "2001:db8::1/128")});
}

TEST_F(RtConditional, InTheCacheANameOf33CharactersIsNotTheOneItBeginsWith)
{
    const std::string cut(32, 'v'), longest(33, 'v');
    apply(cut, "10.1.0.0/16");
    register_and_acknowledge({8});
    clear_traces();
    EXPECT_EQ(ask(longest, "10.1.0.1/32"), 0u);
    expect_traces(
        {"(" + cut + walking + "10.1.0.0/16", done(longest), unmatched(longest, "IPv4", "10.1.0.1/32")});
    EXPECT_EQ(ask(cut, "10.1.0.1/32"), 1u);
}

TEST_F(RtConditional, AClientOfOtherTypesReadsTheDatabaseThoughTheCacheIsFilled)
{
    publish_prefix("red", "10.1.0.0/16");
    register_and_acknowledge({9});
    fill_all();
    kov_api.cache[4].cached = 1;
    clear_traces();
    EXPECT_EQ(ask("red", "10.1.0.1/32"), 1u);
    expect_traces({"kov_is_rt_conditional(): Client unit has not registered for mtype: 8, doing an RDB based "
                   "lookup",
                   matched("red", "IPv4", "10.1.0.1/32", "10.1.0.0/16")});
    EXPECT_EQ(counters(4).cache_hits, 0u);
}

} // namespace
