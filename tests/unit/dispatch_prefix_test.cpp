// Aggregate prefixes that are not to be believed, on their way through the dispatcher and into no cache.
#include "hostile_lab.h"

#include <cstdio>

namespace
{

using fake::Bytes;

// 33, 34, 35, 36, a length, and nothing but 'n', as an IPv6 prefix.
std::string ipv6_of_ns(uint8_t length)
{
    char text[64];
    std::snprintf(text, sizeof text, "2122:2324:%x:6e6e:6e6e:6e6e:6e6e:6e6e/%u", length << 8 | 'n',
                  unsigned{length});
    return text;
}

struct PrefixCase {
    uint32_t family;
    bool swapped;
    const char *address; // as the refresh reads the family's first byte; behind an IPv6 one stand 'n's
};

// Of an aggregate prefix the dispatcher believes the family word only, and that only to be 0 or not; the
// refresh believes its first byte.
TEST_F(HostileMessage, APrefixIsHandedOverAsItCameButForAnIpv4Address)
{
    const PrefixCase cases[] = {
        {0, true, "33.34.35.36"},           {1, false, nullptr},
        {2, false, "36.35.34.33"},          {0x100, false, "36.35.34.33"},
        {0x01000000, false, "36.35.34.33"}, {two_31, false, "36.35.34.33"},
        {most, false, "36.35.34.33"},
    };
    const std::vector<uint32_t> before = holdings();
    debug_on();
    for (const PrefixCase &c : cases)
        for (const uint8_t length : Bytes{0, 32, 33, 128, 129, 255}) {
            SCOPED_TRACE(testing::Message() << c.family << ", " << unsigned{length});
            Bytes record(61, 'n'); // a name without an end
            std::memcpy(&record[53], &c.family, sizeof c.family);
            for (const std::size_t at : {33, 34, 35, 36})
                record[at] = static_cast<uint8_t>(at);
            record[37] = record[49] = length; // where the lengths of either family are
            Bytes message = filled(8, 1, 161 + 61, 161);
            message.insert(message.end(), record.begin(), record.end());
            const std::map<uint32_t, Counters> expected = after_a_refresh_of_a_prefix();
            clear_traces();
            expect_accepted(message);
            expect_traces(
                {received_type(8), reads_prefix, prefix_updated,
                 prefix_filled(std::string(32, 'n'),
                               c.address ? c.address + ("/" + std::to_string(length)) : ipv6_of_ns(length)),
                 no_profile});
            expect_all_counters(expected);
            if (c.swapped)
                std::reverse(&record[33], &record[37]);
            EXPECT_EQ(Bytes(received.back().bytes.begin() + 161, received.back().bytes.end()), record);
            EXPECT_EQ(holdings(), before);
        }
}

struct RefusedPrefix {
    uint8_t family;
    std::size_t length_at;
    uint8_t length;
    const char *text;
};

// Even when the database has it: the context of its VRF is made, and stays without a prefix or a reference.
TEST_F(HostileMessage, APrefixThatNoTreeTakesIsNotCachedThoughItIsInTheDatabase)
{
    const RefusedPrefix cases[] = {
        {0, 4, 33, "10.0.0.0/33"}, {0, 4, 128, "10.0.0.0/128"}, {0, 4, 255, "10.0.0.0/255"},
        {1, 16, 129, "0:a::/129"}, {1, 16, 255, "0:a::/255"},   {2, 4, 8, "10.0.0.0/8"},
        {255, 4, 8, "10.0.0.0/8"},
    };
    const std::vector<uint32_t> before = holdings();
    kov_aggr_sub_pfx_update named = {};
    std::memcpy(named.vrf_name, "blue", 5);
    debug_on();
    for (const RefusedPrefix &c : cases) {
        SCOPED_TRACE(c.text);
        kov_rdb_aggr_sub_pfx_t record = {};
        record.prefix[3] = 10;
        record.prefix[c.length_at] = c.length;
        publish("blue", c.family, record);
        std::memcpy(named.prefix, record.prefix, sizeof named.prefix);
        named.family = c.family;
        const std::map<uint32_t, Counters> expected = after_a_refresh_of_a_prefix();
        clear_traces();
        expect_accepted(message(8, named));
        expect_traces({received_type(8), reads_prefix, "VRF context blue is added in cache",
                       prefix_filled("blue", c.text), no_profile});
        expect_all_counters(expected);
        ASSERT_NE(kov_vrf_ctx_lookup("blue"), nullptr);
        EXPECT_EQ(kov_vrf_ctx_lookup("blue")->refcount, 0u);
        EXPECT_EQ(kov_api_delete_vrf_ctx("blue", nullptr), 1u);
        EXPECT_EQ(holdings(), before);
    }
    named.prefix[4] = 32;
    named.family = 0;
    kov_rdb_aggr_sub_pfx_t good = {};
    std::memcpy(good.prefix, named.prefix, sizeof good.prefix);
    publish("blue", 0, good);
    const uint32_t cached = counters(KOV_RDB_AGGR_SUB_PFX).allocs;
    expect_accepted(message(8, named));
    EXPECT_EQ(counters(KOV_RDB_AGGR_SUB_PFX).allocs, cached + 1);
    EXPECT_EQ(kov_vrf_ctx_lookup("blue")->refcount, 1u);
}

} // namespace
