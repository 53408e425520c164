// What an operator writes behind "set": FIELD=VALUE each, and "as=TYPE" to force the type of the message.
#pragma once

#include "fields.h"

#include <span>
#include <string>
#include <string_view>

namespace kov_lab
{

using Settings = std::span<const std::string_view>;

// Applies the settings to a record; all of them, or `why` (and then the record is in between: use a copy).
// `as` is the forced type, of those that `allowed` allows, or 0.
bool apply(std::span<const Field> fields, bool (*allowed)(std::uint32_t mtype), Settings settings,
           void *record, std::uint32_t &as, std::string &why);

// True when one of the settings is for this field.
bool names_field(Settings settings, std::string_view name);

// "vni 0 -> 10100, svi none -> vlan10", or "nothing changed".
std::string changes_text(std::span<const Field> fields, const void *before, const void *now);

} // namespace kov_lab
