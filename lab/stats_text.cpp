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
    if (seconds < 100)
        return line("%" PRIu64 " s ago", seconds);
    if (seconds < 6000)
        return line("%" PRIu64 " min ago", seconds / 60);
    return line("%" PRIu64 " h ago", seconds / 3600);
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
        return ms_ == 0 ? line(" %7s", "-") : line(" %7.1f", rate(before, now, ms_));
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

std::string row_of(std::size_t index, const RecordStats &now, const RecordStats &before, const Rates &rates)
{
    return line("%-19s %-6s %8u", record_name(index + 1), state_of(now), now.cache_hits) +
           rates.of(before.cache_hits, now.cache_hits) + line(" %8u", now.database_reads) +
           rates.of(before.database_reads, now.database_reads) +
           line(" %8u %6u %7u  %s\n", now.update_reads, now.blocks, now.bytes, ago(now.last_change).c_str());
}

std::string records_of(const Stats &now, const Stats &before, const Rates &rates)
{
    std::string text = line("%-19s %-6s %8s", "Records", "Cached", "Hits") + rates.heading() +
                       line(" %8s", "Reads") + rates.heading() +
                       line(" %8s %6s %7s  %s\n", "Updating", "Blocks", "Bytes", "Changed");
    for (std::size_t i = 0; i < now.records.size(); ++i)
        text += row_of(i, now.records[i], before.records[i], rates);
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
           rates.of(before.accepted(), counts.accepted()) +
           line(" %8" PRIu64 "  %s\n", counts.refused(), ago(now.age_of(counts)).c_str());
}

std::string messages_of(const Stats &now, const Stats &before, const Rates &rates)
{
    std::string rows;
    for (std::size_t mtype = 0; mtype < now.messages.size(); ++mtype)
        rows += row_of(mtype, now, before.messages[mtype], rates);
    if (rows.empty())
        return "no message yet\n";
    return line("%-33s %8s", "Messages", "Accepted") + rates.heading() +
           line(" %8s  %s\n", "Refused", "Last") + rows;
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
    return records_of(now, then, rates) + "\n" + messages_of(now, then, rates) + refusals_of(now);
}

} // namespace kov_lab
