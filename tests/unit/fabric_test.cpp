// Questions about the fabric: who may answer from the cache, what is answered, traced and counted.
#include "fabric_lab.h"

#include <functional>
#include <ostream>
#include <set>

namespace
{

using fake::Call;

// ---- the gates of every query, state by state
//
// The cache holds seed 1 when it holds anything, the database seed 2, so that the answer tells its source.

struct Answer {
    const char *value;
    std::vector<std::string> traces; // after those of the gates and of the lookup
};

struct Query {
    const char *name;
    std::function<std::string()> ask;
    std::vector<uint32_t> gates; // the message types asked for, in this order, until one is registered
    uint32_t other;              // a type of the same record that the query does not ask for
    Answer cached, database, absent, not_initialised;
    bool asks_initialised = true; // whether it traces in its own name that the library is not initialised
};

void PrintTo(const Query &query, std::ostream *out) { *out << query.name; }

std::string encap_with_mac()
{
    uint8_t mac[6] = {9, 9, 9, 9, 9, 9};
    const uint32_t encap = kov_get_fwd_encap_type(mac);
    return std::to_string(encap) + " " + mac_text(mac);
}

// clang-format off
const Query queries[] = {
    {"kov_get_fabric_id", [] { return std::to_string(kov_get_fabric_id()); }, {4}, 13,
     {"101", {"Reading fabric id: 101 from RDB"}},
     {"102", {"Reading fabric id: 102 from RDB"}},
     {"0",   {"Reading fabric id: 0 from RDB"}},
     {"0",   {}}},
    {"kov_check_conditional_route", [] { return std::to_string(kov_check_conditional_route()); }, {5}, 4,
     {"1", {"Reading Conversational Learning: True from RDB"}},
     {"2", {"Reading Conversational Learning: True from RDB"}},
     {"0", {"Reading Conversational Learning: False from RDB"}},
     {"0", {}}},
    {"kov_get_switch_role", [] { return std::to_string(kov_get_switch_role()); }, {6, 17}, 4,
     {"2", {"Reading switch role: border  from RDB"}},
     {"4", {"Reading switch role: spine  from RDB"}},
     {"1", {"Reading switch role: leaf  from RDB"}},
     {"0", {}}},
    {"kov_get_anycast_gateway_mac", [] { return mac_text(kov_get_anycast_gateway_mac()); }, {7}, 4,
     {"111111111111", {"Reading Gateway mac: 1111.1111.1111 from RDB"}},
     {"121212121212", {"Reading Gateway mac: 1212.1212.1212 from RDB"}},
     {"000000000000", {"Reading Gateway mac: 0000.0000.0000 from RDB"}},
     {"000000000000", {}}},
    {"kov_get_conv_aging_timeout", [] { return std::to_string(kov_get_conv_aging_timeout(1)); }, {13}, 4,
     {"401",  {"[IPv4] Reading Conversational aging timeout: 401 from RDB"}},
     {"402",  {"[IPv4] Reading Conversational aging timeout: 402 from RDB"}},
     {"1800", {"[IPv4] Reading Conversational aging timeout: 1800 from RDB"}},
     {"1800", {}}},
    {"kov_get_conv_aging_timeout", [] { return std::to_string(kov_get_conv_aging_timeout(2)); }, {13}, 4,
     {"601",  {"[IPv6] Reading Conversational aging timeout: 601 from RDB"}},
     {"602",  {"[IPv6] Reading Conversational aging timeout: 602 from RDB"}},
     {"1800", {"[IPv6] Reading Conversational aging timeout: 1800 from RDB"}},
     {"1800", {}}},
    {"kov_get_fwd_encap_type", encap_with_mac, {16}, 4,
     {"1 212121212121", {"Reading Forwarding encap: Vxlan, mac 2121.2121.2121 from RDB"}},
     {"0 222222222222", {"Reading Forwarding encap: Fabric, mac 2222.2222.2222 from RDB"}},
     {"0 000000000000", {"Reading Forwarding encap: Fabric, mac 0000.0000.0000 from RDB"}},
     {"0 000000000000", {}}},
    {"kov_get_fwd_encap_type", [] { return std::to_string(kov_get_fwd_encap_type(nullptr)); }, {16}, 4,
     {"1", {"Reading Forwarding encap: Vxlan, mac n/a from RDB"}},
     {"0", {"Reading Forwarding encap: Fabric, mac n/a from RDB"}},
     {"0", {"Reading Forwarding encap: Fabric, mac n/a from RDB"}},
     {"0", {}}},
    {"kov_get_fabric_ctrl_seg", [] { return std::to_string(kov_get_fabric_ctrl_seg()); }, {11}, 4,
     {"10", {"Fabric control segment svi: vlan10"}},
     {"20", {"Fabric control segment svi: vlan20"}},
     {"0",  {"Could not find geninfo in KOV RDB"}},
     {"0",  {}}},
    {"kov_check_ferro_migration", [] { return std::to_string(kov_check_ferro_migration(0, nullptr)); }, {14}, 4,
     {"1", {}},
     {"1", {}},
     {"0", {}},
     {"0", {waiting, "Not initialized with KOV Api"}}, false},
};
// clang-format on

enum class CacheState { not_filled, filled, updating };

class FabricQuery : public FabricLab, public testing::WithParamInterface<Query>
{
protected:
    // Registers for the query's types as the bits of `subset` say, and for the other one always.
    std::set<uint32_t> registration(unsigned subset) const
    {
        std::set<uint32_t> mtypes = {query.other};
        for (std::size_t i = 0; i < query.gates.size(); ++i)
            if (subset >> i & 1)
                mtypes.insert(query.gates[i]);
        return mtypes;
    }
    void register_for(const std::set<uint32_t> &mtypes)
    {
        uint32_t list[KOV_MTYPE_LIST_LENGTH] = {};
        std::copy(mtypes.begin(), mtypes.end(), list);
        EXPECT_EQ(kov_register_client(fake::Transport::handle, "unit", list, handler), 1u);
    }
    std::vector<std::string> refusals(const std::set<uint32_t> &registered) const
    {
        std::vector<std::string> texts;
        for (const uint32_t mtype : query.gates) {
            if (registered.count(mtype))
                break;
            texts.push_back(refused(query.name, mtype));
        }
        return texts;
    }
    static void append(std::vector<std::string> &to, const std::vector<std::string> &texts)
    {
        to.insert(to.end(), texts.begin(), texts.end());
    }
    void expect_answer(unsigned subset, CacheState state, bool in_cache, bool in_database);

    const Query &query = GetParam();
};

void FabricQuery::expect_answer(unsigned subset, CacheState state, bool in_cache, bool in_database)
{
    const std::set<uint32_t> registered = registration(subset);
    Counters general;
    std::map<uint32_t, Counters> rows;
    if (in_cache)
        publish(general_info(1));
    register_for(registered);
    if (state != CacheState::not_filled) {
        acknowledge();
        general = {
            .cached = 1, .rdb_hits = 1, .allocs = in_cache, .bytes = in_cache ? 181u : 0, .data = in_cache};
        if (registered.count(11)) // which fills the SVIs, and finds none
            rows[2] = {.cached = 1, .rdb_hits = 1};
    }
    if (in_database)
        publish(general_info(2));
    else
        withdraw(key_of(KOV_RDB_GENINFO));
    if (state == CacheState::updating)
        kov_api.cache[1].updating = general.updating = 1;
    debug_on();
    clear_traces();

    const bool from_cache = subset != 0 && state == CacheState::filled;
    const Answer &expected =
        from_cache ? (in_cache ? query.cached : query.absent) : (in_database ? query.database : query.absent);
    EXPECT_EQ(query.ask(), expected.value);

    std::vector<std::string> texts = refusals(registered);
    texts.push_back(from_cache ? "Doing Cache based lookup for 1" : "Doing RDB based lookup for 1");
    append(texts, expected.traces);
    expect_traces(texts);

    general.cache_hits += from_cache;
    general.rdb_hits += !from_cache;
    general.update_hits += !from_cache && state == CacheState::updating;
    rows[1] = general;
    expect_all_counters(rows);
}

INSTANTIATE_TEST_SUITE_P(Of, FabricQuery, testing::ValuesIn(queries), [](const auto &row) {
    return std::string(row.param.name) + "_" + std::to_string(row.index);
});

TEST_P(FabricQuery, IsAnsweredByTheCacheWhenRegisteredForAndFilledAndNotUpdating)
{
    for (unsigned subset = 0; subset < 1u << query.gates.size(); ++subset)
        for (const CacheState state : {CacheState::not_filled, CacheState::filled, CacheState::updating})
            for (const bool in_cache : {false, true})
                for (const bool in_database : {false, true}) {
                    if (in_cache && state == CacheState::not_filled)
                        continue;
                    SCOPED_TRACE(testing::Message()
                                 << "registered " << subset << " state " << int(state) << " in cache "
                                 << in_cache << " in database " << in_database);
                    expect_answer(subset, state, in_cache, in_database);
                    start_over();
                }
}

TEST_P(FabricQuery, OpensTheLibraryWhenItIsTheFirstCall)
{
    publish(general_info(2));
    EXPECT_EQ(query.ask(), query.database.value);
    EXPECT_EQ(platform.calls.count(Call::osal_rdb_open), 1u);
    expect_counters(1, {.rdb_hits = 1});
}

TEST_P(FabricQuery, GivesItsDefaultWhileTheProcessWaits)
{
    publish(general_info(2));
    kov_api_wait_for_init = 1;
    debug_on();
    EXPECT_EQ(query.ask(), query.not_initialised.value);
    const std::string who = query.asks_initialised ? query.name : "kov_is_mtype_not_registered";
    std::vector<std::string> texts = {waiting, who + "(): Not initialized with KOV Api"};
    append(texts, query.not_initialised.traces);
    expect_traces(texts);
    EXPECT_EQ(kov_api.initialized, 0u);
    expect_all_counters({});
}

TEST_P(FabricQuery, GivesItsDefaultWhenTheDatabaseDoesNotOpen)
{
    platform.db.refuse_open = true;
    EXPECT_EQ(query.ask(), query.not_initialised.value);
    EXPECT_EQ(kov_api.initialized, 0u);
    expect_all_counters({});
}

TEST_P(FabricQuery, GivesTheDefaultOfAnAbsentRecordWhenTheDatabaseIsGone)
{
    publish(general_info(2));
    EXPECT_EQ(kov_api_init(), 1u);
    platform.db.close_all();
    EXPECT_EQ(query.ask(), query.absent.value);
}

TEST_P(FabricQuery, AllocatesNothingAndCallsNothingWhenAnsweredByTheCache)
{
    publish(general_info(1));
    std::set<uint32_t> all = registration(~0u);
    register_for(all);
    acknowledge();
    platform.calls.clear();
    EXPECT_EQ(query.ask(), query.cached.value);
    EXPECT_TRUE(platform.calls.log().empty());
}

} // namespace
