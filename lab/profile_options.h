// What a client says of a host's profile, as a person writes it: "vni=5000 profile=web param=mtu=9000".
#pragma once

#include "fields.h"
#include "json.h"

#include <kov/kov_profile.h>

#include <span>
#include <string>

namespace kov_lab
{

// NAME=VALUE each, "param=" and "include_param=" any number of times. A host is keyed on its VLAN when a VLAN
// is all that is said of its segment, unless "entity=" says otherwise. False: `why` says what is wrong.
bool parse_options(std::span<const char *const> words, kov_profile_options_t &out, std::string &why);

// What the options hold beside zeros, in words that parse_options() takes; printable whatever they hold.
std::string options_text(const kov_profile_options_t &options);

// The same for a program: a member for each, "param" and "include_param" as arrays.
Json options_json(const kov_profile_options_t &options);

// The names that parse_options() knows, "entity, vni, ...".
std::string option_names();

// What complete_settings() takes: all but the two lists.
std::span<const Field> option_fields();

} // namespace kov_lab
