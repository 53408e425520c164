// Commands as rows of a table: what they take, what they do, what may stand where in their line.
#pragma once

#include "reply.h"

#include <kov_host.h>

namespace kov_lab
{

// The words behind the command's own.
using Words = std::span<const char *const>;

struct Call {
    void *cli;
    Words words;
    void *arg; // what add_commands() was given
};

using Candidates = std::vector<std::string>;

// What may stand as the last of the words; the caller leaves out what does not fit the part that is typed.
// A kind like "<svi>" stands for the names that the server knows (docs/command-line.md).
using Complete = void (*)(const Call &call, Candidates &out);

constexpr std::size_t any_number = ~std::size_t{};

struct CommandRow {
    const char *name;
    const char *takes; // "NAME [FIELD=VALUE...]"; "": nothing
    const char *help;
    std::size_t least; // words that it takes
    std::size_t most;
    Reply (*run)(const Call &call);
    Complete complete = nullptr;
    bool json = true; // false: its output is text for people, or it prints nothing
};

// Registers them; the rows and `arg` outlive the process's commands. -1 with kov_host_error.
int add_commands(std::span<const CommandRow> rows, void *arg);

// ---- Completers that several commands share ---------------------------------------------------------------

// The place of the word in question, from 0, and the word.
inline std::size_t place_of(const Call &call) { return call.words.size() - 1; }
inline std::string_view partial_of(const Call &call) { return call.words.back(); }

// "<svi>" and the like, for a command whose only argument is one.
extern const char svi_kind[], port_kind[], topology_kind[], vrf_kind[];
template <const char *kind>
void complete_kind(const Call &call, Candidates &out)
{
    if (place_of(call) == 0)
        out.emplace_back(kind);
}

// FIELD=VALUE for each field, and as=TYPE for each type that is allowed (null: no such word).
void complete_settings(std::span<const Field> fields, bool (*allowed)(std::uint32_t mtype),
                       std::string_view partial, Candidates &out);

} // namespace kov_lab
