// A look as a program reads it, and as it travels to kovctl.
#include "stats.h"

#include <nlohmann/json.hpp>

#include <exception>

namespace kov_lab
{
namespace
{

using nlohmann::json;

json json_of(const Age &age) { return age ? json(*age) : json(nullptr); }

Age age_from(const json &value) { return value.is_null() ? Age{} : Age{value.get<std::uint64_t>()}; }

json object_of(std::size_t index, const RecordStats &record)
{
    return {{"type", index + 1},
            {"name", record_name(index + 1)},
            {"cached", record.cached},
            {"updating", record.updating},
            {"cache_hits", record.cache_hits},
            {"database_reads", record.database_reads},
            {"update_reads", record.update_reads},
            {"blocks", record.blocks},
            {"bytes", record.bytes},
            {"changes", record.changes},
            {"last_change_ms", json_of(record.last_change)}};
}

RecordStats record_from(const json &object)
{
    RecordStats record;
    record.cached = object.at("cached");
    record.updating = object.at("updating");
    record.cache_hits = object.at("cache_hits");
    record.database_reads = object.at("database_reads");
    record.update_reads = object.at("update_reads");
    record.blocks = object.at("blocks");
    record.bytes = object.at("bytes");
    record.changes = object.at("changes");
    record.last_change = age_from(object.at("last_change_ms"));
    return record;
}

json object_of(std::size_t mtype, const TypeCounts &counts, const Age &age)
{
    json outcomes = json::object();
    for (std::size_t i = 0; i < outcome_count; ++i)
        outcomes[outcome_key(static_cast<Outcome>(i))] = counts.of[i];
    return {{"type", mtype == no_type ? json(nullptr) : json(mtype)},
            {"name", message_name(mtype)},
            {"accepted", counts.accepted()},
            {"refused", counts.refused()},
            {"outcomes", outcomes},
            {"last_ms", json_of(age)}};
}

TypeCounts counts_from(const json &object, std::uint64_t at_ms)
{
    TypeCounts counts;
    for (std::size_t i = 0; i < outcome_count; ++i)
        counts.of[i] = object.at("outcomes").at(outcome_key(static_cast<Outcome>(i)));
    if (const Age age = age_from(object.at("last_ms")))
        counts.last_ms = at_ms - *age;
    return counts;
}

json rates_of(const RecordStats &before, const RecordStats &now, std::uint64_t ms)
{
    return {{"cache_hits", rate(before.cache_hits, now.cache_hits, ms)},
            {"database_reads", rate(before.database_reads, now.database_reads, ms)},
            {"update_reads", rate(before.update_reads, now.update_reads, ms)},
            {"changes", rate(before.changes, now.changes, ms)}};
}

json rates_of(const TypeCounts &before, const TypeCounts &now, std::uint64_t ms)
{
    return {{"accepted", rate(before.accepted(), now.accepted(), ms)},
            {"refused", rate(before.refused(), now.refused(), ms)}};
}

Stats stats_from(const json &object)
{
    Stats stats;
    stats.client = object.at("client");
    stats.at_ms = object.at("at_ms");
    stats.frames_refused = object.at("frames_refused");
    for (std::size_t i = 0; i < stats.records.size(); ++i)
        stats.records[i] = record_from(object.at("records").at(i));
    for (std::size_t i = 0; i < stats.messages.size(); ++i)
        stats.messages[i] = counts_from(object.at("messages").at(i), stats.at_ms);
    return stats;
}

} // namespace

std::string stats_json(const Stats &now, const Stats *before)
{
    const std::uint64_t ms = before == nullptr ? 0 : now.at_ms - before->at_ms;
    json records = json::array();
    for (std::size_t i = 0; i < now.records.size(); ++i) {
        records.push_back(object_of(i, now.records[i]));
        if (before != nullptr)
            records.back()["per_second"] = rates_of(before->records[i], now.records[i], ms);
    }
    json messages = json::array();
    for (std::size_t i = 0; i < now.messages.size(); ++i) {
        messages.push_back(object_of(i, now.messages[i], now.age_of(now.messages[i])));
        if (before != nullptr)
            messages.back()["per_second"] = rates_of(before->messages[i], now.messages[i], ms);
    }
    const json object = {{"client", now.client},
                         {"at_ms", now.at_ms},
                         {"frames_refused", now.frames_refused},
                         {"records", records},
                         {"messages", messages}};
    return object.dump(-1, ' ', true, json::error_handler_t::replace) + "\n";
}

std::optional<Stats> parse_stats(const std::string &text)
{
    try {
        return stats_from(json::parse(text));
    } catch (const std::exception &) {
        return std::nullopt;
    }
}

} // namespace kov_lab
