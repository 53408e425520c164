// Which messages tell clients of a change.
//
// A change becomes notices, in order. Of each notice a client gets one message: that of the first of its
// types for which the client registered; none when it registered for none of them. So a client that waits
// for an SVI's mode by type 18 only is told by 18, and nobody is told the same thing twice.
#pragma once

#include "messages.h"
#include "scenario.h"

#include <functional>

namespace kov_lab
{

struct Notice {
    std::vector<std::uint32_t> types;                  // in order of preference
    std::function<Bytes(std::uint32_t mtype)> message; // holds copies of what it tells
    bool unless_told = false; // not for clients that an earlier notice of the change told by one of `types`
};

// Each changed field chooses its type. `as` forces one type instead (0: none). Empty when nothing changed.
std::vector<Notice> geninfo_notices(const kov_rdb_geninfo_t &before, const kov_rdb_geninfo_t &now,
                                    const Svis &svis, std::uint32_t as = 0);

// Type 9, or 15 or 11 when only fields changed that those stand for.
std::vector<Notice> svi_notices(const kov_rdb_sviinfo_t &before, const kov_rdb_sviinfo_t &now,
                                std::uint32_t as = 0);

// Type 19. `svis` are those that this has changed, now; the topology's own is read again by whoever gets type
// 19, and told as an SVI to everybody else.
std::vector<Notice> topology_notices(const kov_rdb_l2rib_topo_info_t &topology,
                                     const std::vector<kov_rdb_sviinfo_t> &svis);

// Type 10, 20 or both. `as` forces one type.
std::vector<Notice> port_notices(std::uint32_t port, const PortBits &before, const PortBits &now,
                                 std::uint32_t as = 0);

// Type 8, whether the prefix has come or gone.
std::vector<Notice> prefix_notices(const Prefix &prefix);

bool is_geninfo_type(std::uint32_t mtype);
bool is_svi_type(std::uint32_t mtype);
bool is_topology_type(std::uint32_t mtype);
bool is_port_type(std::uint32_t mtype);

} // namespace kov_lab
