// The counters of a client process at one moment, and what they did since an earlier one.
//
// A client looks at itself: the records' counters are those of the library's own report, the messages' those
// that kov_lab_dispatch counts. Looking counts nothing. As JSON a look travels to kovctl, which looks again
// and tells rates; as text it is a page of tables.
#pragma once

#include "message_counts.h"

#include <kov/kov_records.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace kov_lab
{

using Age = std::optional<std::uint64_t>; // milliseconds ago; nothing: never

struct RecordStats {
    bool cached = false;
    bool updating = false; // an update is being applied: lookups go to the database
    std::uint32_t cache_hits = 0;
    std::uint32_t database_reads = 0; // lookups and steps of walks
    std::uint32_t update_reads = 0;   // of these, the ones made because of `updating`
    std::uint32_t blocks = 0;
    std::uint32_t bytes = 0;
    std::uint64_t changes = 0; // messages that told of one
    Age last_change;
};

struct Stats {
    std::string client;
    std::uint64_t at_ms = 0;
    std::array<RecordStats, KOV_RDB_L2RIB_TOPO_INFO> records; // from type 1
    MessageCounts messages;
    std::uint64_t frames_refused = 0; // by the transport, before they were messages

    Age age_of(const TypeCounts &type) const;
};

Stats look();

// The library's report, as the words behind "show cache" ask for it.
std::string library_report(std::span<const char *const> words = {});

// "SVIs" for record type 2, "SVI forwarding mode" for message type 9.
const char *record_name(std::size_t type);
const char *message_name(std::size_t mtype);

// With `before`, an earlier look at the same process, also what happened a second since. A look before itself
// makes a page with the columns of rates, which are not known.
std::string stats_text(const Stats &now, const Stats *before = nullptr);
std::string stats_json(const Stats &now, const Stats *before = nullptr);

// Nothing for a text that stats_json did not write.
std::optional<Stats> parse_stats(const std::string &text);

// What happened a second of a counter that may have wrapped, or begun anew, between two looks.
double rate(std::uint32_t before, std::uint32_t now, std::uint64_t ms);
double rate(std::uint64_t before, std::uint64_t now, std::uint64_t ms);

} // namespace kov_lab
