#include "message_counts.h"

#include "client_commands.h"
#include "messages.h"

#include <kov/kov_api.h>

#include <chrono>
#include <cstring>
#include <numeric>

namespace kov_lab
{
namespace
{

MessageCounts counts;

struct OutcomeNames {
    const char *key;
    const char *text;
};

// clang-format off
constexpr OutcomeNames names[outcome_count] = {
    {"handled",         "handled"},
    {"acknowledged",    "acknowledged"},
    {"foreign_opcode",  "not KOV's opcode"},
    {"too_short",       "too short"},
    {"unknown_kind",    "unknown version or type"},
    {"wrong_length",    "wrong length"},
    {"not_registered",  "the client is not registered"},
    {"type_not_wanted", "type not registered for"},
    {"by_library",      "refused by the library"},
};
// clang-format on

// What is wrong with the message itself; `handled` when nothing is.
Outcome flaw_of(const ipc_message &msg, kov_client_msg &header)
{
    const void *payload = ipc_payload_get(&msg);
    const std::uint32_t size = ipc_payload_size(&msg);
    if (ipc_opc_get(&msg) != KOV_OPC_CLIENT)
        return Outcome::foreign_opcode;
    if (payload == nullptr || size < sizeof header)
        return Outcome::too_short;
    std::memcpy(&header, payload, sizeof header);
    if (header.major != KOV_MSG_MAJOR || header.mtype >= KOV_MTYPE_END)
        return Outcome::unknown_kind;
    return has_its_length(header, size) ? Outcome::handled : Outcome::wrong_length;
}

// What kept a message that is well formed from being taken.
Outcome refusal_of(std::uint32_t mtype)
{
    if (kov_is_client_attached() == 0)
        return Outcome::not_registered;
    if (mtype == KOV_MTYPE_REGISTER_ACK && kov_is_client_registration_done() != 0)
        return Outcome::acknowledged;
    if (kov_is_mtype_not_registered(static_cast<std::int32_t>(mtype), nullptr) != 0)
        return Outcome::type_not_wanted;
    return Outcome::by_library;
}

} // namespace

const char *outcome_text(Outcome outcome) { return names[static_cast<std::size_t>(outcome)].text; }
const char *outcome_key(Outcome outcome) { return names[static_cast<std::size_t>(outcome)].key; }

std::uint64_t TypeCounts::refused() const
{
    return std::accumulate(of.begin() + first_refusal, of.end(), std::uint64_t{0});
}

const MessageCounts &message_counts() { return counts; }

std::uint64_t handled_messages()
{
    return std::accumulate(
        counts.begin(), counts.end(), std::uint64_t{0},
        [](std::uint64_t sum, const TypeCounts &type) { return sum + type.count(Outcome::handled); });
}

std::uint64_t now_ms()
{
    using namespace std::chrono;
    return static_cast<std::uint64_t>(
               duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count()) +
           1;
}

Verdict judge(const ipc_message &msg, bool taken)
{
    kov_client_msg header{};
    const Outcome flaw = flaw_of(msg, header);
    const bool typed = flaw == Outcome::handled || flaw == Outcome::wrong_length;
    const std::size_t type = typed ? header.mtype : no_type;
    if (taken || flaw != Outcome::handled)
        return {taken ? Outcome::handled : flaw, type};
    return {refusal_of(header.mtype), type};
}

} // namespace kov_lab

using namespace kov_lab;

extern "C" uint32_t kov_lab_dispatch(const ipc_message *msg)
{
    const std::uint32_t taken = kov_dispatch(msg);
    if (msg == nullptr)
        return taken;
    const Verdict verdict = judge(*msg, taken != 0);
    TypeCounts &type = counts[verdict.type];
    ++type.of[static_cast<std::size_t>(verdict.outcome)];
    if (verdict.outcome < Outcome::foreign_opcode || verdict.outcome == Outcome::type_not_wanted)
        type.last_ms = now_ms();
    return taken;
}
