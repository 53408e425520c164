// Whether migration to the ferro forwarding mode applies, to the fabric or to one SVI.
#include "fabric_lab.h"

namespace
{

class Migration : public FabricLab
{
protected:
    Migration() { std::memset(mac, '#', sizeof mac); }
    static kov_rdb_sviinfo_t svi(uint32_t mode, uint32_t migration)
    {
        kov_rdb_sviinfo_t record = svi_in_mode(10, mode);
        record.migration_enabled = migration;
        return record;
    }
    std::string given() const { return mac_text(mac); }

    uint8_t mac[6];
    const std::string untouched = "232323232323";
    const std::string absent =
        "kov_check_ferro_migration: svi_info 0x0000000a(vlan10) doesn't exist to check "
        "for migration";
};

struct SviGates {
    std::initializer_list<uint32_t> registered; // with 11, which fills the SVIs and is not asked for
    std::vector<uint32_t> gates;                // the gates that answer "not registered", in order
    bool from_cache;
};

TEST_F(Migration, OfAnSviAsksFor15AndThenFor9AndThenFor18)
{
    const SviGates gates[] = {
        {{11}, {15}, false},        {{11, 9}, {15}, false},      {{11, 18}, {15}, false},
        {{11, 9, 18}, {15}, false}, {{11, 15}, {9, 18}, false},  {{11, 15, 9}, {}, true},
        {{11, 15, 18}, {9}, true},  {{11, 15, 9, 18}, {}, true},
    };
    for (const SviGates &g : gates)
        for (const bool updating : {false, true})
            for (const bool in_cache : {false, true})
                for (const bool in_database : {false, true}) {
                    SCOPED_TRACE(testing::Message() << &g - gates << updating << in_cache << in_database);
                    if (in_cache)
                        publish(svi(2, 1));
                    register_client(g.registered);
                    acknowledge();
                    if (in_database)
                        publish(svi(1, 0)); // answers 0 from the database, 1 from the cache
                    else
                        withdraw(key_of(KOV_RDB_SVIINFO, 10));
                    kov_api.cache[2].updating = updating;
                    debug_on();
                    clear_traces();

                    const bool from_cache = g.from_cache && !updating;
                    EXPECT_EQ(kov_check_ferro_migration(10, nullptr), from_cache && in_cache ? 1u : 0u);

                    std::vector<std::string> texts;
                    for (const uint32_t mtype : g.gates)
                        texts.push_back(refused("kov_check_ferro_migration", mtype));
                    texts.push_back(from_cache ? "Doing Cache based lookup for 2"
                                               : "Doing RDB based lookup for 2");
                    if (!(from_cache ? in_cache : in_database))
                        texts.push_back(absent);
                    expect_traces(texts);
                    const uint32_t n = in_cache;
                    expect_all_counters({{2,
                                          {.cached = 1,
                                           .updating = updating,
                                           .cache_hits = from_cache,
                                           .update_hits = updating,
                                           .rdb_hits = 1u + n + !from_cache,
                                           .allocs = n,
                                           .bytes = 16 * n,
                                           .data = in_cache}}});
                    start_over();
                }
}

struct SviMigration {
    uint32_t mode, migration, answer;
};

TEST_F(Migration, OfAnSviAppliesInAFerroModeWithItsFlag)
{
    for (const SviMigration &c : std::initializer_list<SviMigration>{{0, 1, 0},
                                                                     {1, 1, 1},
                                                                     {2, 1, 1},
                                                                     {3, 1, 0},
                                                                     {4, 1, 0},
                                                                     {1, 0, 0},
                                                                     {2, 0, 0},
                                                                     {1, 2, 1},
                                                                     {2, 0x80000000, 1}}) {
        SCOPED_TRACE(testing::Message() << c.mode << " " << c.migration);
        publish(svi(c.mode, c.migration));
        publish(general_info(1));
        std::memset(mac, '#', sizeof mac);
        EXPECT_EQ(kov_check_ferro_migration(10, mac), c.answer);
        EXPECT_EQ(given(), c.answer ? "111111111111" : untouched);
    }
}

TEST_F(Migration, OfAnSviGivesTheGatewayMacThroughItsOwnGate)
{
    publish(svi(2, 1));
    publish(general_info(1));
    register_and_acknowledge({15, 9});
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_check_ferro_migration(10, mac), 1u);
    EXPECT_EQ(given(), "111111111111");
    expect_traces({"Doing Cache based lookup for 2",
                   "kov_get_anycast_gateway_mac(): Client unit has not registered for mtype: 7, doing an RDB "
                   "based lookup",
                   "Doing RDB based lookup for 1", "Reading Gateway mac: 1111.1111.1111 from RDB"});
    expect_all_counters(
        {{1, {.rdb_hits = 1}},
         {2, {.cached = 1, .cache_hits = 1, .rdb_hits = 2, .allocs = 1, .bytes = 16, .data = true}}});
}

TEST_F(Migration, OfTheFabricAppliesWithAnyNonZeroWord)
{
    kov_rdb_geninfo_t record = general_info(1);
    for (const uint32_t word : {0u, 1u, 2u, 0x80000000u}) {
        record.ferro_migration = word;
        publish(record);
        std::memset(mac, '#', sizeof mac);
        EXPECT_EQ(kov_check_ferro_migration(0, mac), word ? 1u : 0u);
        EXPECT_EQ(given(), word ? "111111111111" : untouched);
    }
}

TEST_F(Migration, OfTheFabricTracesNothingOfItsOwn)
{
    publish(general_info(1));
    register_and_acknowledge({14, 7});
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_check_ferro_migration(0, nullptr), 1u);
    EXPECT_EQ(kov_check_ferro_migration(0, mac), 1u);
    expect_traces({"Doing Cache based lookup for 1", "Doing Cache based lookup for 1",
                   "Doing Cache based lookup for 1", "Reading Gateway mac: 1111.1111.1111 from RDB"});
    expect_all_counters(
        {{1, {.cached = 1, .cache_hits = 3, .rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true}}});
}

TEST_F(Migration, LeavesTheMacUntouchedWithoutARecord)
{
    EXPECT_EQ(kov_check_ferro_migration(0, mac), 0u);
    EXPECT_EQ(kov_check_ferro_migration(10, mac), 0u);
    EXPECT_EQ(given(), untouched);
    expect_all_counters({{1, {.rdb_hits = 1}}, {2, {.rdb_hits = 1}}});
}

// Deliberate: no test for an initialised library; the gates make it.
TEST_F(Migration, MakesNoTestForAnInitialisedLibraryTheGatesMakeIt)
{
    kov_api_wait_for_init = 1;
    debug_on();
    EXPECT_EQ(kov_check_ferro_migration(10, mac), 0u);
    expect_traces({waiting, "kov_is_mtype_not_registered(): Not initialized with KOV Api", waiting,
                   "Not initialized with KOV Api", absent});
    EXPECT_EQ(given(), untouched);
}

} // namespace
