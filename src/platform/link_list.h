// A platform list of elements that embed their linkage, typed. The head belongs to the caller; the elements
// to whoever allocated them.
#pragma once

#include "api/types.h"

#include <kov/platform/dbly.h>

#include <cstddef>

namespace kov
{

template <class Element>
struct link_list {
    // The element that a linkage is part of; null for null.
    static Element *element_of(dbly_linkage *link)
    {
        return link ? reinterpret_cast<Element *>(reinterpret_cast<u8 *>(link) - offsetof(Element, link))
                    : nullptr;
    }

    // Puts an element that is in no list where the platform puts new ones.
    static void add(dbly_linkage *&head, Element &element)
    {
        dbly_linkage_init(&element.link);
        dbly_linkage_link(&head, &element.link);
    }

    static Element *next(const Element &element) { return element_of(element.link.next); }
    static void take_out(Element &element) { dbly_linkage_delink(&element.link); }
};

} // namespace kov
