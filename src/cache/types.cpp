#include "cache/types.h"

#include "cache/aggr.h"
#include "cache/desc.h"
#include "cache/geninfo.h"
#include "cache/l2rib.h"
#include "cache/slots.h"
#include "cache/sviinfo.h"

namespace
{

void *nothing_to_find(const kov_rdb_key &) { return nullptr; }
void *nothing_to_walk(kov_rdb_iter &) { return nullptr; }

constexpr kov::cache_type no_cache = {nullptr, nullptr, nothing_to_find, nothing_to_walk};

// clang-format off
constexpr kov::cache_type cache_types[] = {
    no_cache,
    {kov_cache_rdb_geninfo,          kov_clear_cache_rdb_geninfo,
     kov::lookup_geninfo,            nothing_to_walk},
    {kov_cache_rdb_sviinfo,          kov_clear_cache_rdb_sviinfo,
     kov::lookup_sviinfo,            kov::step_sviinfo},
    {kov_cache_rdb_port_tracking,    kov_clear_cache_rdb_port_tracking,
     kov::lookup_port_tracking,      kov::step_port_tracking},
    {kov_cache_rdb_aggr_subnet_pfx,  kov_clear_cache_rdb_aggr_subnet_pfx,
     kov::lookup_aggr_subnet_pfx,    kov::step_aggr_subnet_pfx},
    {kov_cache_rdb_port_l2dci,       kov_clear_cache_rdb_port_l2dci,
     kov::lookup_port_l2dci,         kov::step_port_l2dci},
    {kov_cache_rdb_l2rib_topo_info,  kov_clear_cache_rdb_l2rib_topo_info,
     kov::lookup_l2rib_topo_info,    kov::step_l2rib_topo_info},
};
// clang-format on

} // namespace

const kov::cache_type &kov::cache_of(u32 type) { return cache_types[is_rdb_type(type) ? type : 0]; }

kov_rdb_cache_fn kov_rdb_type_cache_fn(u32 type) { return kov::cache_of(type).fill; }
