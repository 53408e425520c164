// What a cache holds is never lost: opening the library again frees what its context would forget, also when
// that happens in the middle of a walk that empties a cache.
#include "lab.h"

#include <array>

namespace
{

// A cache that is filled and emptied here without a registration, so that closing the library leaves it
// alone.
struct Cache {
    const char *name;
    uint32_t type;
    uint32_t (*fill)(int32_t all, const void *key);
    uint32_t (*clear)(int32_t all, const void *key);
    unsigned blocks; // that a fill makes
};

std::ostream &operator<<(std::ostream &out, const Cache &cache) { return out << cache.name; }

class Leftovers : public Lab, public testing::WithParamInterface<Cache>
{
protected:
    static constexpr std::array<uint32_t, 3> numbers = {10, 20, 30};

    Leftovers()
    {
        EXPECT_EQ(kov_api_init(), 1u);
        for (const uint32_t number : numbers)
            publish_all(number);
    }

    // One record of each type that has many.
    void publish_all(uint32_t number)
    {
        kov_rdb_sviinfo_t svi = {};
        svi.svi_ifindex = number;
        svi.fwd_mode = KOV_FWD_MODE_ANYCAST_GATEWAY;
        publish(svi);
        publish(static_cast<uint8_t>(number), kov_rdb_port_tracking_t{});
        publish(static_cast<uint8_t>(number), kov_rdb_port_l2dci_t{});
        // Its number reads the same forwards and backwards, so that a clear of all removes it.
        kov_rdb_l2rib_topo_info_t topology = {};
        topology.bd = number * 0x01000001;
        publish(topology);
    }

    static void fill() { EXPECT_EQ(GetParam().fill(1, nullptr), 1u); }
    static void clear() { EXPECT_EQ(GetParam().clear(1, nullptr), 1u); }
    static void open_again()
    {
        EXPECT_EQ(kov_api_close(), 1u);
        EXPECT_EQ(kov_api_init(), 1u);
    }
    void expect_blocks(unsigned n) const { EXPECT_EQ(platform.heap.live_blocks(), n); }
};

TEST_P(Leftovers, AreFreedSilentlyWhenTheLibraryIsOpenedAgain)
{
    fill();
    expect_blocks(GetParam().blocks);
    EXPECT_EQ(kov_api_close(), 1u);
    expect_blocks(GetParam().blocks);
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_api_init(), 1u);
    expect_traces({"KOV Api successfully initialized"});
    expect_all_counters({});
    expect_blocks(0);
}

TEST_P(Leftovers, AreFreedWhenAnotherTaskOpensTheLibraryAgainAtAYield)
{
    for (unsigned at = 1; at <= numbers.size(); ++at) {
        SCOPED_TRACE(at);
        fill();
        platform.sched.yields = 0;
        platform.sched.at_yield = {{at, open_again}};
        clear();
        EXPECT_EQ(platform.sched.yields, at);
        expect_blocks(0);
        expect_all_counters({});
    }
}

TEST_P(Leftovers, AreFreedWhenTheOtherTaskFillsTheNewContextToo)
{
    fill();
    platform.sched.at_yield[1] = [] { open_again(), fill(); };
    clear();
    // The walk goes on in the new tree, behind what it had removed from the old one.
    EXPECT_EQ(platform.sched.yields, numbers.size());
    expect_blocks(1);
    EXPECT_EQ(kov_api.cache[GetParam().type].allocs, 1u);
}

// clang-format off
constexpr Cache caches[] = {
    {"Svis",         KOV_RDB_SVIINFO,       kov_cache_rdb_sviinfo,       kov_clear_cache_rdb_sviinfo,       3},
    {"PortTracking", KOV_RDB_PORT_TRACKING, kov_cache_rdb_port_tracking, kov_clear_cache_rdb_port_tracking, 3},
    {"PortL2dci",    KOV_RDB_PORT_L2DCI,    kov_cache_rdb_port_l2dci,    kov_clear_cache_rdb_port_l2dci,    3},
    {"Topologies",   KOV_RDB_L2RIB_TOPO_INFO, kov_cache_rdb_l2rib_topo_info,
                                            kov_clear_cache_rdb_l2rib_topo_info,                            3},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(OfEachCache, Leftovers, testing::ValuesIn(caches),
                         [](const auto &cache) { return std::string(cache.param.name); });

// Initialisation leaves the VRF counters, so what it frees stays in them.
TEST_F(Lab, OpeningAgainFreesThePrefixesAndTheirVrfsAndLeavesTheVrfCounters)
{
    kov_rdb_aggr_sub_pfx_t prefix = {{0, 0, 1, 10, 16}};
    for (const char *vrf : {"red", "blue"}) {
        publish(vrf, 0, prefix);
        publish(vrf, 1, prefix);
    }
    EXPECT_EQ(kov_cache_rdb_aggr_subnet_pfx(1, nullptr), 1u);
    EXPECT_EQ(platform.heap.live_blocks(), 6u);
    EXPECT_EQ(kov_api_close(), 1u);
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_api_init(), 1u);
    expect_traces({"KOV Api successfully initialized"});
    EXPECT_TRUE(platform.leaks().none());
    expect_all_counters({});
    EXPECT_EQ(kov_api.vrf_count, 2u);
    EXPECT_EQ(kov_api.vrf_bytes, 128u);
    expect_stale_counters();
}

TEST_F(Lab, OpeningAgainFreesTheGeneralInformationAndTheFabricControlCopy)
{
    kov_rdb_geninfo_t general = {};
    general.fabric_id = 7;
    publish(general);
    kov_rdb_sviinfo_t svi = {};
    svi.svi_ifindex = 10;
    svi.is_up = svi.vaddr_bound = svi.is_fabric_ctrl_seg = 1;
    svi.v4_prefix.addr = 1;
    publish(svi);
    EXPECT_EQ(kov_cache_rdb_sviinfo(1, nullptr), 1u);
    EXPECT_EQ(platform.heap.live_bytes(), 181u + 138u);
    EXPECT_EQ(kov_api_close(), 1u);
    EXPECT_EQ(kov_api_init(), 1u);
    EXPECT_EQ(platform.heap.live_blocks(), 0u);
}

} // namespace
