// What the caches still hold when the library is opened again. A client that filled a cache without being
// attached, or whose cache was refilled while it was being emptied, leaves blocks that the new context would
// forget.
//
// A walk that empties a cache lets other tasks run between its steps, and one of them may open the library
// again. That is no danger to a walk over a tree by number: it holds nothing across a yield, and goes on from
// its key in whatever tree there is then. A walk over the VRF contexts does hold one; it is told that its
// context goes, and goes on from that one's name.
#pragma once

namespace kov
{

// Frees every block of every cache, silently: no counters, no traces, no reads. The context is about to be
// reset.
void free_cache_leftovers();

} // namespace kov
