// What became of the messages that this process received: by message type, and by cause when one was refused.
//
// The library says only whether it took a message. Why it did not is found out afterwards, from the message
// and from what the library tells anybody who asks; so a cause is the first of the list below that is true.
#pragma once

#include <kov/kov_messages.h>
#include <kov/platform/ipc.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace kov_lab
{

enum class Outcome {
    handled,         // kov_dispatch took it
    acknowledged,    // an acknowledgement, which completes the registration and is handed to nobody
    foreign_opcode,  // from here on refused: no client message of KOV's
    too_short,       // without a whole header
    unknown_kind,    // of another version, or of no known type
    wrong_length,    // its length is not that of its records, or more than came
    not_registered,  // the client has no registration
    type_not_wanted, // the client did not register for the type; a filled cache is refreshed all the same
    by_library,      // none of these: the library had no memory, or its registration was never sent
    end
};
constexpr std::size_t outcome_count = static_cast<std::size_t>(Outcome::end);
constexpr std::size_t first_refusal = static_cast<std::size_t>(Outcome::foreign_opcode);

// "wrong length" for a person, "wrong_length" for a program.
const char *outcome_text(Outcome outcome);
const char *outcome_key(Outcome outcome);

struct TypeCounts {
    std::array<std::uint64_t, outcome_count> of{};
    std::uint64_t last_ms = 0; // when the last one came that was not in vain, by now_ms; 0: never

    std::uint64_t count(Outcome outcome) const { return of[static_cast<std::size_t>(outcome)]; }
    std::uint64_t accepted() const { return count(Outcome::handled) + count(Outcome::acknowledged); }
    std::uint64_t refused() const;
    // What tells a cache that records have changed: all that is well formed, in a registered client.
    std::uint64_t told() const { return count(Outcome::handled) + count(Outcome::type_not_wanted); }
};

// Behind the known types, 0 to 20, those messages whose type cannot be told.
constexpr std::size_t no_type = KOV_MTYPE_END;
using MessageCounts = std::array<TypeCounts, no_type + 1>;

// Of this process, since it started.
const MessageCounts &message_counts();
std::uint64_t handled_messages();

// Milliseconds, monotonic, never 0.
std::uint64_t now_ms();

// Why kov_dispatch gave `taken`, and the type of the message. To be asked right after.
struct Verdict {
    Outcome outcome;
    std::size_t type;
};
Verdict judge(const ipc_message &msg, bool taken);

} // namespace kov_lab
