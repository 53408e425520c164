// Questions about one SVI: its forwarding mode.
#include "samples.h"

namespace
{

using fake::Bytes;
using fake::Call;

class FwdMode : public Lab
{
protected:
    FwdMode()
    {
        platform.interfaces.add_vlan(10, "vlan10");
        platform.interfaces.add_bdi(20, "bdi20");
        platform.interfaces.add_port(30, 1, 5, "eth1/5");
        platform.interfaces.add_channel(40, 20, "po20");
    }

    static std::string gate(uint32_t mtype)
    {
        return "kov_get_fwd_mode(): Client unit has not registered for mtype: " + std::to_string(mtype) +
               ", doing an RDB based lookup";
    }
    void start_over()
    {
        kov_deregister_client();
        kov_api_close();
        platform.db.clear();
    }
};

struct Gates {
    std::initializer_list<uint32_t> registered; // with 11, which fills the SVIs and is not asked for
    std::vector<uint32_t> refused;              // the gates that answer "not registered", in order
};

// The cache holds mode 2 when it holds anything, the database mode 1.
TEST_F(FwdMode, IsAnsweredByTheCacheWhenRegisteredFor9OrFor18AndFilledAndNotUpdating)
{
    const Gates gates[] = {{{11}, {9, 18}}, {{11, 9}, {}}, {{11, 18}, {9}}, {{11, 9, 18}, {}}};
    for (const Gates &g : gates)
        for (const int state : {0, 1, 2}) // not filled, filled, updating
            for (const bool in_cache : {false, true})
                for (const bool in_database : {false, true}) {
                    if (in_cache && state == 0)
                        continue;
                    SCOPED_TRACE(testing::Message() << &g - gates << state << in_cache << in_database);
                    if (in_cache)
                        publish(svi_in_mode(10, 2));
                    register_client(g.registered);
                    Counters row;
                    if (state != 0) {
                        acknowledge();
                        const uint32_t n = in_cache;
                        row = {
                            .cached = 1, .rdb_hits = 1 + n, .allocs = n, .bytes = 16 * n, .data = in_cache};
                    }
                    if (in_database)
                        publish(svi_in_mode(10, 1));
                    else
                        withdraw(key_of(KOV_RDB_SVIINFO, 10));
                    kov_api.cache[2].updating = row.updating = state == 2;
                    debug_on();
                    clear_traces();

                    const bool from_cache = g.refused.size() < 2 && state == 1;
                    const uint32_t mode = from_cache ? (in_cache ? 2 : 0) : in_database ? 1 : 0;
                    EXPECT_EQ(kov_get_fwd_mode(10), mode);

                    const char *const texts_of_modes[] = {"Standard", "Proxy Gateway", "Anycast Gateway"};
                    std::vector<std::string> texts = {"Reading Forwarding mode for key: vlan10  from RDB"};
                    for (const uint32_t mtype : g.refused)
                        texts.push_back(gate(mtype));
                    texts.push_back(from_cache ? "Doing Cache based lookup for 2"
                                               : "Doing RDB based lookup for 2");
                    texts.push_back(std::string("Reading Forwarding mode: ") + texts_of_modes[mode] +
                                    " from RDB");
                    expect_traces(texts);
                    row.cache_hits += from_cache;
                    row.rdb_hits += !from_cache;
                    row.update_hits += state == 2;
                    expect_all_counters({{2, row}});
                    start_over();
                }
}

TEST_F(FwdMode, IsGivenAsItStandsInTheRecord)
{
    for (const uint32_t mode : {0u, 1u, 2u, 3u, 4u, 5u, UINT32_MAX}) {
        publish(svi_in_mode(10, mode));
        EXPECT_EQ(kov_get_fwd_mode(10), mode);
    }
}

TEST_F(FwdMode, OfAnSviInModeThreeIsStandardInTheCache)
{
    publish(svi_in_mode(10, 3));
    register_and_acknowledge({9});
    EXPECT_EQ(kov_get_fwd_mode(10), 0u);
    expect_all_counters({{2, {.cached = 1, .cache_hits = 1, .rdb_hits = 2}}});
}

TEST_F(FwdMode, OfTheFabricControlSviIsItsRecordsWhateverTheMode)
{
    publish(fabric_ctrl_svi(10, 3));
    register_and_acknowledge({9});
    EXPECT_EQ(kov_get_fwd_mode(10), 3u);
}

TEST_F(FwdMode, OfABridgeDomainInterfaceIsAnswered)
{
    publish(svi_in_mode(20, 1));
    EXPECT_EQ(kov_get_fwd_mode(20), 1u);
}

TEST_F(FwdMode, OfAnythingThatIsNoSviIsStandardAndReadsNothing)
{
    struct NoSvi {
        uint32_t ifindex;
        const char *name;
    };
    EXPECT_EQ(kov_api_init(), 1u);
    debug_on();
    for (const NoSvi &c :
         std::initializer_list<NoSvi>{{30, "eth1/5"}, {40, "po20"}, {50, "-"}, {0, "-"}, {UINT32_MAX, "-"}}) {
        publish(svi_in_mode(c.ifindex, 2));
        clear_traces();
        EXPECT_EQ(kov_get_fwd_mode(c.ifindex), 0u);
        expect_traces({std::string(c.name) + " is not a vlan/bdi interface"});
    }
    expect_all_counters({});
}

// Index 0 is no interface, even if the platform should know one by that number.
TEST_F(FwdMode, OfIndexZeroIsStandard)
{
    platform.interfaces.add_vlan(0, "vlan0");
    EXPECT_EQ(kov_get_fwd_mode(0), 0u);
    EXPECT_EQ(platform.calls.count(Call::if_index_get_type), 0u);
    expect_all_counters({});
}

TEST_F(FwdMode, IsStandardWhenTheTypeCannotBeTold)
{
    publish(svi_in_mode(10, 2));
    platform.calls.fail(Call::if_index_get_type, 1, 2);
    EXPECT_EQ(kov_get_fwd_mode(10), 0u);
    expect_all_counters({});
}

// A VLAN interface, or else a bridge domain's: two questions, and one that fails is no answer to the other.
TEST_F(FwdMode, AsksForTheTypeOnceForEachOfTheTwo)
{
    for (const uint32_t svi : {10u, 20u})
        publish(svi_in_mode(svi, 2));
    platform.calls.fail(Call::if_index_get_type, 1, 1);
    EXPECT_EQ(kov_get_fwd_mode(20), 2u);
    platform.calls.fail(Call::if_index_get_type, 1, 1);
    EXPECT_EQ(kov_get_fwd_mode(10), 0u) << "the second question is whether it is a bridge domain's";
    platform.calls.clear();
    EXPECT_EQ(kov_get_fwd_mode(20), 2u);
    EXPECT_EQ(platform.calls.count(Call::if_index_get_type), 2u);
}

TEST_F(FwdMode, IsInvalidWhileTheProcessWaitsAndWhenTheDatabaseDoesNotOpen)
{
    kov_api_wait_for_init = 1;
    debug_on();
    EXPECT_EQ(kov_get_fwd_mode(10), 4u);
    EXPECT_EQ(kov_get_fwd_mode(30), 4u); // before it is asked what the interface is
    const std::string waiting = "API called even before KOV is enabled, ignore";
    const std::string mine = "kov_get_fwd_mode(): Not initialized with KOV Api";
    expect_traces({waiting, mine, waiting, mine});
    kov_api_wait_for_init = 0;
    platform.db.refuse_open = true;
    EXPECT_EQ(kov_get_fwd_mode(10), 4u);
    EXPECT_EQ(kov_api.initialized, 0u);
}

TEST_F(FwdMode, OpensTheLibraryWhenItIsTheFirstCall)
{
    publish(svi_in_mode(10, 2));
    EXPECT_EQ(kov_get_fwd_mode(10), 2u);
    EXPECT_EQ(kov_api.initialized, 1u);
}

TEST_F(FwdMode, OfADamagedRecordIsStandard)
{
    publish_bytes(key_of(KOV_RDB_SVIINFO, 10), {0xBA, 0xAD});
    EXPECT_EQ(kov_get_fwd_mode(10), 0u);
    expect_all_counters({{2, {.rdb_hits = 1}}});
}

TEST_F(FwdMode, InTheCacheAllocatesNothingAndAsksOnlyForTheTypeAndTheEntry)
{
    publish(svi_in_mode(10, 2));
    register_and_acknowledge({9});
    platform.calls.clear();
    EXPECT_EQ(kov_get_fwd_mode(10), 2u);
    EXPECT_EQ(platform.calls.log(), (std::vector<Call>{Call::if_index_get_type, Call::pt_lookup}));
}

TEST_F(FwdMode, FollowsTheServer)
{
    publish(svi_in_mode(10, 2));
    register_and_acknowledge({18});
    publish(svi_in_mode(10, 1));
    EXPECT_EQ(kov_get_fwd_mode(10), 2u);
    dispatch(9, kov_word_update{10});
    EXPECT_EQ(kov_get_fwd_mode(10), 1u);
    withdraw(key_of(KOV_RDB_SVIINFO, 10));
    dispatch(9, kov_word_update{10});
    EXPECT_EQ(kov_get_fwd_mode(10), 0u);
    expect_all_counters({{2, {.cached = 1, .cache_hits = 3, .update_hits = 2, .rdb_hits = 4, .data = true}}});
}

} // namespace
