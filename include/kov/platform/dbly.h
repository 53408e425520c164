/*
 * Doubly linked lists of the caller's own elements.
 *
 * An element embeds a linkage; a list is one pointer of the caller, the head, to the first linkage, null when
 * the list is empty. The list ends with null at both ends and owns nothing. Delinking knows no head: see
 * there. Null arguments do nothing. Nothing is allocated or thrown.
 */
#ifndef KOV_PLATFORM_DBLY_H
#define KOV_PLATFORM_DBLY_H

#ifdef __cplusplus
extern "C" {
#endif

typedef struct dbly_linkage {
    struct dbly_linkage *next; /* null for the last */
    struct dbly_linkage *prev; /* null for the first */
} dbly_linkage;

/* Makes a linkage that is in no list. Needed before dbly_linkage_link. */
void dbly_linkage_init(dbly_linkage *link);

/* Puts a linkage that is in no list at the front of the list: `*head` points at it now. */
void dbly_linkage_link(dbly_linkage **head, dbly_linkage *link);

/* Takes a linkage out: its neighbours are joined, its own pointers are null. Does nothing to one that is in
 * no list. The head is not told: whoever delinks the first element and goes on using the list must point the
 * head at the element's former next himself. */
void dbly_linkage_delink(dbly_linkage *link);

#ifdef __cplusplus
}
#endif

#endif
