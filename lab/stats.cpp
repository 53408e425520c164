#include "stats.h"

#include <kov/kov_cache.h>
#include <kov_host.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace kov_lab
{
namespace
{

int print_report(void *cli, int, const char *const *, void *)
{
    kov_api_print_cache_stats(cli);
    return 0;
}

// A record type's row in the summary of the library's report, which is all that a process can see of the
// library's counters. False for any other line.
bool take_row(const std::string &line, std::array<RecordStats, KOV_RDB_L2RIB_TOPO_INFO> &records)
{
    RecordStats row;
    unsigned type = 0;
    char cached[4] = "";
    char updating[4] = "";
    if (std::sscanf(line.c_str(), " %u %3[YesNo]/%3[YesNo] %u/%u %*s %u/%u/%u", &type, cached, updating,
                    &row.blocks, &row.bytes, &row.cache_hits, &row.database_reads, &row.update_reads) != 8)
        return false;
    if (type < 1 || type > records.size())
        return false;
    row.cached = std::strcmp(cached, "Yes") == 0;
    row.updating = std::strcmp(updating, "Yes") == 0;
    records[type - 1] = row;
    return true;
}

void read_report(Stats &stats)
{
    std::istringstream lines(library_report());
    std::size_t rows = 0;
    for (std::string line; std::getline(lines, line);)
        rows += take_row(line, stats.records) ? 1 : 0;
    if (rows != stats.records.size())
        throw std::runtime_error("the library's report cannot be read");
}

// Which records a message type tells of; 0: of none.
std::size_t record_type_of(std::size_t mtype)
{
    switch (mtype) {
    case KOV_MTYPE_FABRIC_ID:
    case KOV_MTYPE_CONV_LEARNING:
    case KOV_MTYPE_SWITCH_ROLE:
    case KOV_MTYPE_ANYCAST_GW_MAC:
    case KOV_MTYPE_CONV_AGING_TIMEOUT:
    case KOV_MTYPE_FERRO_MIGRATION:
    case KOV_MTYPE_FWD_ENCAP:
    case KOV_MTYPE_SWITCH_ROLE_CHANGE:
        return KOV_RDB_GENINFO;
    case KOV_MTYPE_SVI_FWD_MODE:
    case KOV_MTYPE_FABRIC_CTRL_SEG:
    case KOV_MTYPE_SVI_MIGRATION:
    case KOV_MTYPE_SVI_FWD_MODE_CHANGE:
        return KOV_RDB_SVIINFO;
    case KOV_MTYPE_PORT_TRACKING:
        return KOV_RDB_PORT_TRACKING;
    case KOV_MTYPE_AGGR_SUB_PFX:
        return KOV_RDB_AGGR_SUB_PFX;
    case KOV_MTYPE_PORT_L2DCI:
        return KOV_RDB_PORT_L2DCI;
    case KOV_MTYPE_SUPPRESS_ARP_TOPO:
        return KOV_RDB_L2RIB_TOPO_INFO;
    default:
        return 0;
    }
}

void count_changes(Stats &stats)
{
    for (std::size_t mtype = 0; mtype < no_type; ++mtype) {
        const TypeCounts &counts = stats.messages[mtype];
        const std::size_t type = record_type_of(mtype);
        if (type == 0 || counts.told() == 0)
            continue;
        RecordStats &record = stats.records[type - 1];
        const std::uint64_t age = stats.at_ms - counts.last_ms;
        record.changes += counts.told();
        record.last_change = std::min(age, record.last_change.value_or(age));
    }
}

} // namespace

Age Stats::age_of(const TypeCounts &type) const
{
    return type.last_ms == 0 ? Age{} : Age{at_ms - type.last_ms};
}

std::string library_report(std::span<const char *const> words)
{
    const char *text =
        kov_host_command_text(print_report, static_cast<int>(words.size()), words.data(), nullptr);
    if (text == nullptr)
        throw std::runtime_error(kov_host_error());
    return text;
}

Stats look()
{
    Stats stats;
    kov_host_counters host;
    kov_host_counters_get(&host);
    stats.client = kov_host_name();
    stats.frames_refused = host.ipc_frames_refused;
    stats.messages = message_counts();
    stats.at_ms = now_ms();
    read_report(stats);
    count_changes(stats);
    return stats;
}

double rate(std::uint32_t before, std::uint32_t now, std::uint64_t ms)
{
    constexpr std::uint32_t half = std::uint32_t{1} << 31;
    const std::uint32_t came = now - before;
    return rate(std::uint64_t{0}, std::uint64_t{came < half ? came : now}, ms);
}

double rate(std::uint64_t before, std::uint64_t now, std::uint64_t ms)
{
    const std::uint64_t came = now < before ? now : now - before;
    return ms == 0 ? 0 : static_cast<double>(came) * 1000 / static_cast<double>(ms);
}

} // namespace kov_lab
