// What an answer, a fill and an update cost. A row a line of the table; see README.md.
#include "allocations.h"
#include "bare.h"
#include "fabric.h"
#include "table.h"

#include <kov_host.h>

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>

namespace
{

using namespace kov_bench;

struct Row {
    Line line;
    std::vector<std::uint32_t> mtypes; // what the client is registered for
    void (*measure)(benchmark::State &, Fabric &);
};

// Asks every question again and again.
template <class Question, class Ask>
void time_answers(benchmark::State &state, const std::vector<Question> &questions, Ask ask)
{
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(ask(questions[i]));
        if (++i == questions.size())
            i = 0;
    }
}

template <class Question, class Ask, class Expected>
void check_answers(const std::vector<Question> &questions, Ask ask, Expected expected)
{
    for (const Question &question : questions)
        if (ask(question) != expected(question))
            give_up("a wrong answer");
}

// Cached answers take nothing from the platform but `blocks` blocks of memory each: no read, no message, no
// yield, no trace.
template <class Question, class Ask>
void check_quiet(const std::vector<Question> &questions, Ask ask, std::uint64_t blocks)
{
    kov_host_counters before = {};
    kov_host_counters after = {};
    kov_host_counters_get(&before);
    const std::uint64_t allocated = allocations();
    for (const Question &question : questions)
        benchmark::DoNotOptimize(ask(question));
    if (allocations() - allocated != blocks * questions.size())
        give_up("a cached answer allocates what it should not");
    kov_host_counters_get(&after);
    if (std::memcmp(&before, &after, sizeof before) != 0)
        give_up("a cached answer asks the host");
}

// -------------------------------------------------------------------------------------------- one SVI

void bare_svi_lookup(benchmark::State &state, Fabric &fabric)
{
    BareTree tree(fabric.svis());
    time_answers(state, fabric.svis(), [&](std::uint32_t svi) { return tree.find(svi); });
}

void cached_mode(benchmark::State &state, Fabric &fabric)
{
    check_answers(fabric.svis(), kov_get_fwd_mode, Fabric::mode_of);
    check_quiet(fabric.svis(), kov_get_fwd_mode, 0);
    time_answers(state, fabric.svis(), kov_get_fwd_mode);
}

void svi_mode(benchmark::State &state, Fabric &fabric)
{
    check_answers(fabric.svis(), kov_get_fwd_mode, Fabric::mode_of);
    time_answers(state, fabric.svis(), kov_get_fwd_mode);
}

kov_rdb_key svi_key(std::uint32_t svi)
{
    kov_rdb_key key = {};
    key.type = KOV_RDB_SVIINFO;
    key.of.number = svi;
    return key;
}

void bare_svi_read(benchmark::State &state, Fabric &fabric)
{
    BareDatabase database(fabric.database());
    time_answers(state, fabric.svis(),
                 [&](std::uint32_t svi) { return database.read(BareDatabase::stored(svi_key(svi))); });
}

void bare_same_svi_read(benchmark::State &state, Fabric &fabric)
{
    BareDatabase database(fabric.database());
    const BareDatabase::StoredKey key = BareDatabase::stored(svi_key(fabric.svis().front()));
    for (auto _ : state)
        benchmark::DoNotOptimize(database.read(key));
}

// What stands between any read of the database and its record: the decode buffer is cleared.
void bare_clear(benchmark::State &state, Fabric &)
{
    static std::uint8_t buffer[8192];
    for (auto _ : state) {
        std::memset(buffer, 0, sizeof buffer);
        benchmark::ClobberMemory();
    }
}

// -------------------------------------------------------------------------------------------- fill, update

void bare_walk(benchmark::State &state, Fabric &fabric)
{
    BareDatabase database(fabric.database());
    const auto records = static_cast<std::uint32_t>(fabric.svis().size());
    const BareDatabase::StoredKey first = BareDatabase::stored(svi_key(0));
    for (auto _ : state)
        if (database.walk(first, UINT32_MAX) != records)
            give_up("the bare walk loses records");
    count_items(state, records);
}

void fill(benchmark::State &state, Fabric &fabric)
{
    for (auto _ : state) {
        state.PauseTiming();
        kov_api_disable_cache();
        state.ResumeTiming();
        kov_api_enable_cache();
    }
    check_answers(fabric.svis(), kov_get_fwd_mode, Fabric::mode_of);
    count_items(state, static_cast<std::uint32_t>(fabric.svis().size()));
}

// One message that names one SVI, dispatched again and again.
void update(benchmark::State &state, Fabric &fabric)
{
    const std::uint32_t named = __builtin_bswap32(fabric.svis().front());
    Bytes record(sizeof named);
    std::memcpy(record.data(), &named, sizeof named);
    fabric.with_message(message(KOV_MTYPE_SVI_FWD_MODE, record), [&](const ipc_message *msg) {
        for (auto _ : state)
            if (kov_dispatch(msg) != 1)
                give_up("an update is refused");
    });
}

// -------------------------------------------------------------------------------------------- one port

void bare_slot_lookup(benchmark::State &state, Fabric &fabric)
{
    std::vector<std::uint32_t> slots;
    for (std::uint32_t slot = 1; slot <= Fabric::slots; ++slot)
        slots.push_back(slot);
    BareTree tree(slots);
    time_answers(state, fabric.ports(), [&](std::uint32_t port) { return tree.find(Fabric::slot_of(port)); });
}

// The bit set that the answer is tested in is the platform's, and one block.
void cached_tracking(benchmark::State &state, Fabric &fabric)
{
    check_answers(fabric.ports(), kov_get_port_tracking, Fabric::tracking_of);
    check_quiet(fabric.ports(), kov_get_port_tracking, 1);
    time_answers(state, fabric.ports(), kov_get_port_tracking);
}

void tracking(benchmark::State &state, Fabric &fabric)
{
    check_answers(fabric.ports(), kov_get_port_tracking, Fabric::tracking_of);
    time_answers(state, fabric.ports(), kov_get_port_tracking);
}

kov_rdb_key slot_key(std::uint32_t slot)
{
    kov_rdb_key key = {};
    key.type = KOV_RDB_PORT_TRACKING;
    key.of.slot = static_cast<std::uint8_t>(slot);
    return key;
}

void bare_slot_read(benchmark::State &state, Fabric &fabric)
{
    BareDatabase database(fabric.database());
    time_answers(state, fabric.ports(), [&](std::uint32_t port) {
        return database.read(BareDatabase::stored(slot_key(Fabric::slot_of(port))));
    });
}

// ---------------------------------------------------------------------------- one conditional route

std::uint32_t ask_conditional(const Destination &host)
{
    return kov_is_rt_conditional(host.vrf_name, host.prefix, 0);
}

std::uint32_t always(const Destination &) { return 1; }

// A tree a VRF, of which as many entries are seen as the library has to test.
void bare_prefix_walk(benchmark::State &state, Fabric &fabric)
{
    std::vector<std::uint32_t> prefixes;
    for (std::uint32_t i = 0; i < Fabric::prefixes_a_vrf; ++i)
        prefixes.push_back(0x0A000000 | i << 16);
    std::vector<std::unique_ptr<BareTree>> vrfs;
    for (std::size_t i = 0; i < fabric.destinations().size(); i += prefixes.size())
        vrfs.push_back(std::make_unique<BareTree>(prefixes));
    time_answers(state, fabric.destinations(),
                 [&](const Destination &host) { return vrfs[host.vrf]->walk(host.place); });
}

void cached_conditional(benchmark::State &state, Fabric &fabric)
{
    check_answers(fabric.destinations(), ask_conditional, always);
    check_quiet(fabric.destinations(), ask_conditional, 0);
    time_answers(state, fabric.destinations(), ask_conditional);
}

void conditional(benchmark::State &state, Fabric &fabric)
{
    check_answers(fabric.destinations(), ask_conditional, always);
    time_answers(state, fabric.destinations(), ask_conditional);
}

void bare_prefix_read(benchmark::State &state, Fabric &fabric)
{
    BareDatabase database(fabric.database());
    time_answers(state, fabric.destinations(), [&](const Destination &host) {
        kov_rdb_key key = {};
        key.type = KOV_RDB_AGGR_SUB_PFX;
        std::memcpy(key.of.vrf_name, host.vrf_name, sizeof key.of.vrf_name);
        return database.walk(BareDatabase::stored(key), host.place);
    });
}

// -------------------------------------------------------------------------------------------- the table

constexpr const char *bare = "";
constexpr std::uint32_t svi_mtype = KOV_MTYPE_SVI_FWD_MODE, port_mtype = KOV_MTYPE_PORT_TRACKING,
                        prefix_mtype = KOV_MTYPE_AGGR_SUB_PFX;

// clang-format off
const std::vector<Row> rows = {
    {{"pt_lookup of an SVI, bare",                 bare},                            {},           bare_svi_lookup},
    {{"kov_get_fwd_mode, cached",                  "pt_lookup of an SVI, bare"},     {svi_mtype},  cached_mode},
    {{"mdb_get of an SVI, bare",                   bare},                            {},           bare_svi_read},
    {{"kov_get_fwd_mode, from the database",       "mdb_get of an SVI, bare"},       {port_mtype}, svi_mode},
    {{"clearing 8192 bytes, bare",                 bare},                            {},           bare_clear},
    {{"mdb_get of the same SVI, bare",             bare},                            {},           bare_same_svi_read},
    {{"update of the same SVI, a message",         "mdb_get of the same SVI, bare"}, {svi_mtype},  update},
    {{"cursor walk over the SVIs, bare, a record", bare},                            {},           bare_walk},
    {{"fill of the SVI cache, a record",           "cursor walk over the SVIs, bare, a record"}, {svi_mtype}, fill},
    {{"pt_lookup of a slot, bare",                 bare},                            {},           bare_slot_lookup},
    {{"kov_get_port_tracking, cached",             "pt_lookup of a slot, bare"},     {port_mtype}, cached_tracking},
    {{"mdb_get of a slot, bare",                   bare},                            {},           bare_slot_read},
    {{"kov_get_port_tracking, from the database",  "mdb_get of a slot, bare"},       {svi_mtype},  tracking},
    {{"tree walk over a VRF's prefixes, bare",     bare},                            {},           bare_prefix_walk},
    {{"kov_is_rt_conditional, cached",             "tree walk over a VRF's prefixes, bare"}, {prefix_mtype}, cached_conditional},
    {{"cursor walk over a VRF's prefixes, bare",   bare},                            {},           bare_prefix_read},
    {{"kov_is_rt_conditional, from the database",  "cursor walk over a VRF's prefixes, bare"}, {svi_mtype}, conditional},
};
// clang-format on

const std::vector<std::uint32_t> sizes = {1024, 4096, 65536};

// The fabric of one size at a time. It goes while the platform is still there: not a static.
class Stage
{
public:
    Fabric &of(std::uint32_t size)
    {
        if (fabric_ == nullptr || fabric_->svis().size() != size) {
            fabric_.reset();
            fabric_ = std::make_unique<Fabric>(size);
        }
        return *fabric_;
    }

private:
    std::unique_ptr<Fabric> fabric_;
};

void run(benchmark::State &state, const Row &row, std::uint32_t size, Stage *stage)
{
    Fabric &fabric = stage->of(size);
    if (!row.mtypes.empty())
        fabric.register_for(row.mtypes);
    row.measure(state, fabric);
}

void register_rows(Stage &stage)
{
    constexpr int repetitions = 5;
    constexpr double seconds = 0.2;
    for (const std::uint32_t size : sizes)
        for (const Row &row : rows)
            benchmark::RegisterBenchmark(Table::name(row.line.text, size).c_str(), run, row, size, &stage)
                ->Repetitions(repetitions)
                ->MinTime(seconds);
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    Stage stage;
    register_rows(stage);
    std::vector<Line> lines;
    lines.reserve(rows.size());
    for (const Row &row : rows)
        lines.push_back(row.line);
    Table table(lines, sizes);
    return benchmark::RunSpecifiedBenchmarks(&table) == 0 ? 1 : 0;
}
