// The fixture of the aggregate-prefix cache's tests: an open library that traces, prefixes by their text, and
// verbs.
#pragma once

#include "samples.h"

#include "cache/aggr.h"
#include "cache/vrf.h"

#include <arpa/inet.h>

#include <algorithm>
#include <stdexcept>

// "10.1.0.0/16" and "2001:db8::/32" as the records have them.
struct Prefix {
    uint8_t family = 0;
    kov_rdb_aggr_sub_pfx_t record = {};

    Prefix(const char *text) : Prefix(std::string(text)) {}
    Prefix(const std::string &text) : family(text.find(':') == std::string::npos ? 0 : 1)
    {
        const std::size_t slash = text.find('/');
        if (inet_pton(family ? AF_INET6 : AF_INET, text.substr(0, slash).c_str(), record.prefix) != 1)
            throw std::invalid_argument(text);
        if (!family)
            std::reverse(record.prefix, record.prefix + 4);
        record.prefix[family ? 16 : 4] = static_cast<uint8_t>(std::stoul(text.substr(slash + 1)));
    }
};

inline kov_aggr_prefix_key key_in(const std::string &vrf, const Prefix &prefix)
{
    kov_aggr_prefix_key key = {};
    vrf.copy(key.vrf_name, sizeof key.vrf_name); // 33 characters have no NUL behind them
    key.family = prefix.family;
    std::memcpy(key.prefix, prefix.record.prefix, sizeof key.prefix);
    return key;
}

// The traces, by the function or the event that they tell of.
inline std::string added(const std::string &vrf, const std::string &prefix)
{
    return "(" + vrf + ") Added " + prefix + " aggregate-subnet-pfx to Cache";
}
inline std::string deleted(const std::string &vrf, const std::string &prefix)
{
    return "(" + vrf + ") Deleted " + prefix + " aggregate-subnet-pfx from Cache";
}
inline std::string vrf_added(const std::string &vrf) { return "VRF context " + vrf + " is added in cache"; }
inline std::string vrf_deleted(const std::string &vrf)
{
    return "VRF context " + vrf + " is deleted from cache";
}
inline std::string refcount_is(const std::string &vrf, unsigned n)
{
    return "(" + vrf + ") refcount: " + std::to_string(n);
}
inline std::string filled(const std::string &what)
{
    return "KOV RDB " + what + " Aggregate-subnet-pfx is cached/Updated";
}
inline std::string cleared(const std::string &what)
{
    return "KOV RDB " + what + " Aggregate-subnet-pfx is deleted";
}
inline const std::string updated = "KOV RDB Aggregate-subnet-pfx info is cached/updated";
inline const std::string read_database = "Doing RDB based lookup for 4";
inline const std::string already_zero = "VRF refcount already 0, not decrementing";

class AggrCache : public Lab
{
protected:
    AggrCache()
    {
        EXPECT_EQ(kov_api_init(), 1u);
        debug_on();
        clear_traces();
    }

    void publish_prefix(const std::string &vrf, const Prefix &prefix)
    {
        publish(vrf, prefix.family, prefix.record);
    }
    void withdraw_prefix(const std::string &vrf, const Prefix &prefix)
    {
        EXPECT_TRUE(withdraw(prefix_key(vrf, prefix.family, prefix.record)));
    }
    // A record whose value is not the prefix that its key names.
    void publish_under(const std::string &vrf, const Prefix &key, const Prefix &value)
    {
        publish("elsewhere", value.family, value.record);
        const kov_rdb_key from = prefix_key("elsewhere", value.family, value.record);
        fake::Key at;
        std::memcpy(at.data(), &from, sizeof from);
        publish_bytes(prefix_key(vrf, key.family, key.record), platform.db.records().at(at));
        withdraw(from);
    }

    static uint32_t fill_all() { return kov_cache_rdb_aggr_subnet_pfx(1, nullptr); }
    static uint32_t clear_all() { return kov_clear_cache_rdb_aggr_subnet_pfx(1, nullptr); }
    static uint32_t fill_one(const std::string &vrf, const Prefix &prefix)
    {
        const kov_aggr_prefix_key key = key_in(vrf, prefix);
        return kov_cache_rdb_aggr_subnet_pfx(0, &key);
    }
    static uint32_t refresh(const std::string &vrf, const Prefix &prefix)
    {
        kov_api.cache[4].updating = 1;
        return fill_one(vrf, prefix);
    }
    static uint32_t clear_one(const std::string &vrf, const Prefix &prefix)
    {
        const kov_aggr_prefix_key key = key_in(vrf, prefix);
        return kov_clear_cache_rdb_aggr_subnet_pfx(0, &key);
    }
    static uint32_t apply(const std::string &vrf, const Prefix &prefix)
    {
        const kov_aggr_prefix_key key = key_in(vrf, prefix);
        return kov_cache_aggr_subnet_pfx(&prefix.record, &key);
    }
    static uint32_t remove(const std::string &vrf, const Prefix &prefix,
                           const kov_rdb_aggr_sub_pfx_t *entry = nullptr)
    {
        const kov_aggr_prefix_key key = key_in(vrf, prefix);
        return kov_clear_cache_aggr_subnet_pfx(entry, &key);
    }

    // What hangs in the tree, without a lookup's counting.
    static const kov_rdb_aggr_sub_pfx_t *entry(const std::string &vrf, const Prefix &prefix)
    {
        const kov_rdb_key key = prefix_key(vrf, prefix.family, prefix.record);
        return static_cast<const kov_rdb_aggr_sub_pfx_t *>(kov::lookup_aggr_subnet_pfx(key));
    }
    static fake::Bytes value(const std::string &vrf, const Prefix &prefix)
    {
        return bytes_at(entry(vrf, prefix), sizeof(kov_rdb_aggr_sub_pfx_t));
    }
    static fake::Bytes look_up(const std::string &vrf, const Prefix &prefix, uint32_t force_rdb = 0)
    {
        const kov_rdb_key key = prefix_key(vrf, prefix.family, prefix.record);
        return bytes_at(kov_rdb_get_data_from_cache(&key, force_rdb), sizeof(kov_rdb_aggr_sub_pfx_t));
    }

    // The counters of the type with so many prefixes, and of the VRF contexts. No other type has counted.
    static Counters holding(uint32_t prefixes, Counters counters = {})
    {
        counters.allocs = prefixes;
        counters.bytes = 20 * prefixes;
        return counters;
    }
    static void expect(const Counters &counters, uint32_t vrfs)
    {
        expect_all_counters({{4, counters}});
        EXPECT_EQ(kov_api.vrf_count, vrfs);
        EXPECT_EQ(kov_api.vrf_bytes, 64 * vrfs);
    }
    // The references of a VRF's context; -1: there is none.
    static int references(const std::string &vrf)
    {
        const kov_vrf_ctx *context = kov_vrf_ctx_lookup(vrf.c_str());
        return context ? static_cast<int>(context->refcount) : -1;
    }
    void never_initialised()
    {
        kov_api_close();
        kov_api_wait_for_init = 1;
        clear_traces();
    }
};
