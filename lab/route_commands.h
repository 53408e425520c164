// The VRFs and routes of a client process, as commands. The library asks the platform about them; the host
// keeps them, and this module remembers their names and which there are.
//
// A process begins with none of either. Whoever knows them tells it: an operator, or `kovctl load` from a
// scenario.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace kov_lab
{

// Each runs one command. False: `text` says what is wrong, and nothing has changed.
bool set_vrf(std::span<const char *const> words, std::string &text);
bool set_route(std::span<const char *const> words, std::string &text);
bool del_route(std::span<const char *const> words, std::string &text);
bool list_vrfs(std::span<const char *const> words, std::string &text);
bool list_routes(std::span<const char *const> words, std::string &text);

// The id of a VRF that this process knows; nothing, with `why`, for any other name.
std::optional<std::uint32_t> vrf_id_of(const std::string &name, std::string &why);

} // namespace kov_lab
