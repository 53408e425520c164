/*
 * Lists of SVIs: all that run in a ferro forwarding mode, for a client that programs the data plane.
 *
 *   dbly_linkage *list;
 *   if (kov_get_all_enhanced_fwd_mode_svis(&list)) {
 *       kov_svi_info_iter_t iter;
 *       kov_svi_info_iter_init(&iter, list);
 *       for (kov_svi_info_t *svi; (svi = kov_svi_info_iter_get_next(&iter)) != NULL;)
 *           program(svi->svi_ifindex, svi->fwd_mode);
 *       kov_free_svi_info_list(list);
 *   }
 *   list = NULL;
 *
 * The head is the caller's and needs no initial value. The elements are the library's until the caller frees
 * the whole list. Their order means nothing.
 */
#ifndef KOV_SVI_LIST_H
#define KOV_SVI_LIST_H

#include <kov/kov_base.h>
#include <kov/platform/dbly.h>

KOV_BEGIN_DECLS

/* One SVI of a list: 24 bytes in the 32-bit ABI, 32 in the 64-bit one. */
typedef struct kov_svi_info {
    uint32_t svi_ifindex;
    uint32_t vlan_id;
    uint32_t fwd_mode; /* enum kov_fwd_mode: 1 or 2 */
    uint32_t suppress_arp;
    dbly_linkage link;
} kov_svi_info_t;

typedef struct kov_svi_info_iter {
    dbly_linkage *head;
    kov_svi_info_t *current; /* last returned; null before the first step and after the end */
    uint32_t first;          /* 1 until the first step */
} kov_svi_info_iter_t;

/* Builds the list of all SVIs in modes 1 and 2; the second only of those that suppress ARP. The first walks
 * the cache when the client registered for message type 9 or 18, the second when it registered for 19 as
 * well; otherwise they walk the shared database. 1, also for an empty list (`*list` is then null). 0 when not
 * initialised or `list` is null (nothing is touched), and out of memory: then `*list` points at freed
 * memory, and the caller must reset it unread. What `*list` held before is overwritten, not freed. */
KOV_EXPORT uint32_t kov_get_all_enhanced_fwd_mode_svis(dbly_linkage **list);
KOV_EXPORT uint32_t kov_get_all_suppress_arp_ferro_svis(dbly_linkage **list);

/* Frees all elements, given the value of the head; null is ignored. The caller clears the head. */
KOV_EXPORT void kov_free_svi_info_list(dbly_linkage *list);

/* Starts at the first element of the list (null: an empty one). Returns the iterator; null for null. */
KOV_EXPORT kov_svi_info_iter_t *kov_svi_info_iter_init(kov_svi_info_iter_t *iter, dbly_linkage *list);

/* The next element, null at the end, at every step after it and for a null iterator. The element last
 * returned must still be in the list. */
KOV_EXPORT kov_svi_info_t *kov_svi_info_iter_get_next(kov_svi_info_iter_t *iter);

KOV_END_DECLS

#endif
