// The server's commands that only look: lists, single records, its state.
#pragma once

#include "commands.h"
#include "server.h"

namespace kov_lab
{

inline Server &server_of(const Call &call) { return *static_cast<Server *>(call.arg); }

Reply list_svis(const Call &call);
Reply list_topologies(const Call &call);
Reply list_ports(const Call &call);
Reply list_prefixes(const Call &call);
Reply list_profiles(const Call &call);
Reply list_hosts(const Call &call);
Reply list_clients(const Call &call);
Reply show_geninfo(const Call &call);
Reply show_svi(const Call &call);
Reply show_topology(const Call &call);
Reply show_port(const Call &call);
Reply show_status(const Call &call);

// The names that stand in the lists.
void complete_svi(const Call &call, Candidates &out);
void complete_topology(const Call &call, Candidates &out);
void complete_port(const Call &call, Candidates &out); // all that the switch has
void complete_vrf(const Call &call, Candidates &out);
void complete_prefix(const Call &call, Candidates &out);  // VRF PREFIX
void complete_profile(const Call &call, Candidates &out); // CLIENT HOST

} // namespace kov_lab
