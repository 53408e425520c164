#include "cache/leftovers.h"

#include "cache/desc.h"
#include "cache/vrf.h"
#include "platform/number_tree.h"

#include <initializer_list>

namespace
{

// Empties a tree by number, freeing what hangs on it.
void free_entries(u32 type)
{
    kov::number_tree<void> tree(kov_api.cache[type].data);
    u32 number = 0;
    for (void *entry = tree.first(number); entry; entry = tree.next(number))
        if (tree.remove(number))
            kov_cache_free(entry);
}

} // namespace

void kov::free_cache_leftovers()
{
    kov_cache_free(kov_api.cache[KOV_RDB_GENINFO].data);
    for (const u32 type :
         {KOV_RDB_SVIINFO, KOV_RDB_PORT_TRACKING, KOV_RDB_PORT_L2DCI, KOV_RDB_L2RIB_TOPO_INFO})
        free_entries(type);
    kov_cache_free(kov_api.fabric_ctrl_svi);
    free_vrf_contexts();
}
