// A look as a person reads it.
#include "messages.h"
#include "stats.h"
#include "text_line.h"

#include <cinttypes>

namespace kov_lab
{
namespace
{

std::string ago(const Age &age)
{
    if (!age)
        return "never";
    const std::uint64_t seconds = *age / 1000;
    if (seconds == 0)
        return "just now";
    constexpr std::uint64_t minute = 60;
    constexpr std::uint64_t hour = 60 * minute;
    // From two on, so that an older one never looks younger.
    if (seconds < 2 * minute)
        return line("%" PRIu64 " s ago", seconds);
    if (seconds < 2 * hour)
        return line("%" PRIu64 " min ago", seconds / minute);
    return line("%" PRIu64 " h ago", seconds / hour);
}

std::string rate_text(double rate)
{
    constexpr double widest = 99999.9;
    return line(rate < widest ? "%.1f" : "%.0f", rate);
}

// The column behind a counter; there is none in a single look.
class Rates
{
public:
    Rates(const Stats &now, const Stats *before)
        : there_(before != nullptr), ms_(there_ ? now.at_ms - before->at_ms : 0)
    {
    }
    std::string heading() const { return there_ ? line(" %7s", "/s") : ""; }
    template <typename Counter>
    std::string of(Counter before, Counter now) const
    {
        if (!there_)
            return "";
        return line(" %7s", ms_ == 0 ? "-" : rate_text(rate(before, now, ms_)).c_str());
    }

private:
    bool there_;
    std::uint64_t ms_;
};

const char *state_of(const RecordStats &record)
{
    if (record.updating)
        return "update";
    return record.cached ? "yes" : "no";
}

// ---- The tables, each at most 80 columns wide ------------------------------------------------------------

std::string lookups_row(std::size_t index, const RecordStats &now, const RecordStats &before,
                        const Rates &rates)
{
    return line("%-19s %10u", record_name(index + 1), now.cache_hits) +
           rates.of(before.cache_hits, now.cache_hits) + line(" %10u", now.database_reads) +
           rates.of(before.database_reads, now.database_reads) + line(" %10u", now.update_reads) +
           rates.of(before.update_reads, now.update_reads) + "\n";
}

std::string lookups_of(const Stats &now, const Stats &before, const Rates &rates)
{
    std::string text = line("%-19s %10s", "Lookups", "Hits") + rates.heading() + line(" %10s", "Reads") +
                       rates.heading() + line(" %10s", "Updating") + rates.heading() + "\n";
    for (std::size_t i = 0; i < now.records.size(); ++i)
        text += lookups_row(i, now.records[i], before.records[i], rates);
    return text;
}

std::string records_row(std::size_t index, const RecordStats &now, const RecordStats &before,
                        const Rates &rates)
{
    return line("%-19s %-6s %7u %10u %8" PRIu64, record_name(index + 1), state_of(now), now.blocks, now.bytes,
                now.changes) +
           rates.of(before.changes, now.changes) + line("  %s\n", ago(now.last_change).c_str());
}

std::string records_of(const Stats &now, const Stats &before, const Rates &rates)
{
    std::string text = line("%-19s %-6s %7s %10s %8s", "Records", "Cached", "Blocks", "Bytes", "Changes") +
                       rates.heading() + "  Changed\n";
    for (std::size_t i = 0; i < now.records.size(); ++i)
        text += records_row(i, now.records[i], before.records[i], rates);
    return text;
}

// "9 SVI forwarding mode"
std::string title_of(std::size_t mtype)
{
    return mtype == no_type ? " - without a type" : line("%2zu %s", mtype, message_name(mtype));
}

std::string row_of(std::size_t mtype, const Stats &now, const TypeCounts &before, const Rates &rates)
{
    const TypeCounts &counts = now.messages[mtype];
    if (counts.accepted() == 0 && counts.refused() == 0)
        return "";
    return line("%-33s %8" PRIu64, title_of(mtype).c_str(), counts.accepted()) +
           rates.of(before.accepted(), counts.accepted()) + line(" %8" PRIu64, counts.refused()) +
           rates.of(before.refused(), counts.refused()) + line("  %s\n", ago(now.age_of(counts)).c_str());
}

std::string messages_of(const Stats &now, const Stats &before, const Rates &rates)
{
    std::string rows;
    for (std::size_t mtype = 0; mtype < now.messages.size(); ++mtype)
        rows += row_of(mtype, now, before.messages[mtype], rates);
    if (rows.empty())
        return "no message yet\n";
    return line("%-33s %8s", "Messages", "Accepted") + rates.heading() + line(" %8s", "Refused") +
           rates.heading() + "  Last\n" + rows;
}

std::string causes_of(std::size_t mtype, const TypeCounts &counts)
{
    std::string text;
    for (std::size_t cause = first_refusal; cause < outcome_count; ++cause)
        if (counts.of[cause] != 0)
            text += line("%-33s %8" PRIu64 "  %s\n", title_of(mtype).c_str(), counts.of[cause],
                         outcome_text(static_cast<Outcome>(cause)));
    return text;
}

std::string refusals_of(const Stats &now)
{
    std::string rows;
    for (std::size_t mtype = 0; mtype < now.messages.size(); ++mtype)
        rows += causes_of(mtype, now.messages[mtype]);
    if (now.frames_refused != 0)
        rows += line("%-33s %8" PRIu64 "  damaged on the way\n", " - frames that are no message",
                     now.frames_refused);
    return rows.empty() ? "" : line("\n%-33s %8s  %s\n", "Refused", "Messages", "Because") + rows;
}

} // namespace

const char *record_name(std::size_t type)
{
    static constexpr const char *names[] = {
        "", "general information", "SVIs", "port tracking", "aggregate prefixes", "port L2DCI", "topologies"};
    return names[type];
}

const char *message_name(std::size_t mtype)
{
    return mtype == no_type ? "without a type" : mtype_name(static_cast<std::uint32_t>(mtype));
}

std::string stats_text(const Stats &now, const Stats *before)
{
    const Rates rates(now, before);
    const Stats &then = before == nullptr ? now : *before;
    return lookups_of(now, then, rates) + "\n" + records_of(now, then, rates) + "\n" +
           messages_of(now, then, rates) + refusals_of(now);
}

} // namespace kov_lab
