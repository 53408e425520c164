// Lists of the SVIs in a ferro forwarding mode. Two calls, one walk; what differs between them stands in one
// struct each.
#include "api/gate.h"
#include "api/trace.h"
#include "cache/keys.h"
#include "cache/lookup.h"
#include "platform/link_list.h"
#include "query/svi_gates.h"

#include <kov/kov_svi_list.h>

#include <cstdlib>

namespace
{

static_assert(sizeof(kov_svi_info_t) == 16 + 2 * sizeof(void *));

using svi_list = kov::link_list<kov_svi_info_t>;

struct all_ferro_svis {
    static constexpr const char *name = "kov_get_all_enhanced_fwd_mode_svis";

    static u32 gate() { return kov::fwd_mode_gate(name); }
    static bool wants(const kov_svi_info_t &svi)
    {
        KOV_TRACE("%s is in %s mode, adding to the list", kov_ifindex_name_str(svi.svi_ifindex),
                  kov_fwd_mode_str(svi.fwd_mode));
        return true;
    }
    static void trace_added(int count) { KOV_TRACE("Added Ferro svis: %d to the list\n", count); }
};

struct suppressing_ferro_svis {
    static constexpr const char *name = "kov_get_all_suppress_arp_ferro_svis";

    static u32 gate() { return kov::suppress_arp_gate(name); }
    static bool wants(const kov_svi_info_t &svi)
    {
        if (svi.suppress_arp)
            KOV_TRACE("%s is in %s mode (suppress arp), adding to the list",
                      kov_ifindex_name_str(svi.svi_ifindex), kov_fwd_mode_str(svi.fwd_mode));
        else
            KOV_TRACE("%s is in %s mode, no suppress arp...skipping it",
                      kov_ifindex_name_str(svi.svi_ifindex), kov_fwd_mode_str(svi.fwd_mode));
        return svi.suppress_arp != 0;
    }
    static void trace_added(int count)
    {
        KOV_TRACE("Added suppress arp Ferro svis: %d to the list\n", count);
    }
};

bool is_ferro(const kov_svi_info_t &svi)
{
    if (kov_is_ferro_fwd_mode(svi.fwd_mode))
        return true;
    KOV_TRACE("%s is in %s mode, not in ferro forwarding mode...skipping it",
              kov_ifindex_name_str(svi.svi_ifindex), kov_fwd_mode_str(svi.fwd_mode));
    return false;
}

// What the list keeps of a record, which is gone at the next step of the walk.
kov_svi_info_t info_of(const kov_rdb_sviinfo_t &rec)
{
    return {rec.svi_ifindex, rec.vlan_id, rec.fwd_mode, rec.suppress_arp, {}};
}

bool add_copy(dbly_linkage *&head, const kov_svi_info_t &svi)
{
    auto *element = static_cast<kov_svi_info_t *>(std::calloc(1, sizeof(kov_svi_info_t)));
    if (!element)
        return false;
    *element = svi;
    svi_list::add(head, *element);
    return true;
}

template <class Choice>
u32 build(dbly_linkage **list)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", Choice::name);
        return 0;
    }
    if (!list) {
        KOV_TRACE("Invalid svi_list ptr: %p", static_cast<void *>(list));
        return 0;
    }
    *list = nullptr;
    const kov_rdb_key key = kov::number_key(KOV_RDB_SVIINFO);
    kov_rdb_iter iter;
    if (!kov_rdb_iter_init(&iter, &key)) {
        KOV_TRACE("Could not init iterator for key: %u", key.type);
        return 0;
    }
    iter.force_rdb = Choice::gate();

    int count = 0;
    while (const auto *rec = static_cast<const kov_rdb_sviinfo_t *>(kov_rdb_iter_get_next(&iter))) {
        const kov_svi_info_t svi = info_of(*rec);
        if (!is_ferro(svi) || !Choice::wants(svi))
            continue;
        if (!add_copy(*list, svi)) {
            // Deliberate: the caller's head keeps pointing at what is freed here.
            kov_free_svi_info_list(*list);
            return 0;
        }
        ++count;
    }
    Choice::trace_added(count);
    return 1;
}

} // namespace

u32 kov_get_all_enhanced_fwd_mode_svis(dbly_linkage **list) { return build<all_ferro_svis>(list); }
u32 kov_get_all_suppress_arp_ferro_svis(dbly_linkage **list) { return build<suppressing_ferro_svis>(list); }

void kov_free_svi_info_list(dbly_linkage *list)
{
    if (!list) {
        KOV_TRACE("Could not free svi list as it is empty already");
        return;
    }
    int count = 0;
    for (kov_svi_info_t *svi = svi_list::element_of(list); svi; ++count) {
        kov_svi_info_t *next = svi_list::next(*svi);
        svi_list::take_out(*svi);
        KOV_TRACE("Freeing svi_info %s(%d), mode: %s from svi list", kov_ifindex_name_str(svi->svi_ifindex),
                  static_cast<int>(svi->vlan_id), kov_fwd_mode_str(svi->fwd_mode));
        std::free(svi);
        svi = next;
    }
    KOV_TRACE("Freed %d entries from svi_list", count);
}

kov_svi_info_iter_t *kov_svi_info_iter_init(kov_svi_info_iter_t *iter, dbly_linkage *list)
{
    if (iter)
        *iter = {list, nullptr, 1};
    return iter;
}

kov_svi_info_t *kov_svi_info_iter_get_next(kov_svi_info_iter_t *iter)
{
    if (!iter)
        return nullptr;
    if (iter->first)
        iter->current = svi_list::element_of(iter->head);
    else if (iter->current)
        iter->current = svi_list::next(*iter->current);
    iter->first = 0;
    return iter->current;
}
