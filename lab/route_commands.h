// The VRFs and routes of a client process, as commands. The library asks the platform about them; the host
// keeps them, and this module remembers their names and which there are.
//
// A process begins with none of either. Whoever knows them tells it: an operator, or `kovctl load` from a
// scenario.
#pragma once

#include "commands.h"

#include <cstdint>
#include <optional>
#include <string>

namespace kov_lab
{

// Each runs one command. What is refused changes nothing.
Reply set_vrf(const Call &call);
Reply set_route(const Call &call);
Reply del_route(const Call &call);
Reply list_vrfs(const Call &call);
Reply list_routes(const Call &call);

// VRF PREFIX of a route that is there, then its flags where a route is set.
void complete_route(const Call &call, Candidates &out);
void complete_known_vrf(const Call &call, Candidates &out);

// The id of a VRF that this process knows; nothing, with `why`, for any other name.
std::optional<std::uint32_t> vrf_id_of(const std::string &name, std::string &why);

} // namespace kov_lab
