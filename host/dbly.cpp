#include <kov/platform/dbly.h>

extern "C" {

void dbly_linkage_init(dbly_linkage *link)
{
    if (link != nullptr)
        *link = {nullptr, nullptr};
}

void dbly_linkage_link(dbly_linkage **head, dbly_linkage *link)
{
    if (head == nullptr || link == nullptr)
        return;
    *link = {*head, nullptr};
    if (*head != nullptr)
        (*head)->prev = link;
    *head = link;
}

void dbly_linkage_delink(dbly_linkage *link)
{
    if (link == nullptr)
        return;
    if (link->prev != nullptr)
        link->prev->next = link->next;
    if (link->next != nullptr)
        link->next->prev = link->prev;
    *link = {nullptr, nullptr};
}

} // extern "C"
