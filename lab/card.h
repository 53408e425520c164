// The card of a client's machine, which its library asks about capabilities. No laptop has one: an operator
// or a scenario says which it is to be.
#pragma once

#include "commands.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kov_lab
{

constexpr std::int32_t no_card = -1;

// A type as it is written, "0x2101" or "8449", or "none". Nothing, with `why`, for any other text.
std::optional<std::int32_t> parse_card(std::string_view text, std::string &why);

// "0x2101", "none"
std::string card_text(std::int32_t type);

// "set card TYPE|none": of this process, from the next question on.
Reply set_card(const Call &call);

} // namespace kov_lab
