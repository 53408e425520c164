// VRF contexts: a node for each VRF that has cached prefixes, in a tree by name, with a prefix tree for each
// family.
//
// A context lives as long as it is referred to: once by each of its prefixes, and once by each walk that
// stands on it. It counts 64 bytes in the context's VRF counters, in both ABIs. A name has 32 characters;
// what comes behind them does not tell VRFs apart.
#pragma once

#include "cache/prefix.h"

#include "api/context.h"

#include <kov/platform/pt.h>

#include <cstddef>

struct kov_vrf_ctx {
    oak_linkage linkage;
    char name[KOV_VRF_NAME_SIZE];
    u32 refcount;
    pt_tree *trees[kov::families]; // the prefixes of each family
};
static_assert(offsetof(kov_vrf_ctx, name) == 16);
static_assert(sizeof(kov_vrf_ctx) == (sizeof(void *) == 8 ? 72 : 64));

// The context of a name, of which at most 32 characters are read; null when there is none.
kov_vrf_ctx *kov_vrf_ctx_lookup(const char *name);

// Deletes a context, given itself or by name, that nothing refers to. 1 when it is gone or was not there; 0
// when it is still referred to, when the tree refuses, or when neither is given.
u32 kov_api_delete_vrf_ctx(const char *name, kov_vrf_ctx *vrf);

namespace kov
{

// What hangs in the prefix trees: a copy of the record.
using prefix_entry = kov_rdb_aggr_sub_pfx_t;

// A new context in the tree, without references; null when memory or the tree refuses.
kov_vrf_ctx *create_vrf_ctx(const char *name);

void hold(kov_vrf_ctx &vrf);
void release(kov_vrf_ctx &vrf);

// The prefixes of one family, by the 20 bytes of a record. There are none in a family that does not exist. A
// prefix that is added or removed does not change the references.
prefix_entry *find_prefix(kov_vrf_ctx &vrf, u32 family, const prefix_bytes &prefix);
bool add_prefix(kov_vrf_ctx &vrf, u32 family, const prefix_bytes &prefix, prefix_entry *entry);
bool remove_prefix(kov_vrf_ctx &vrf, u32 family, const prefix_bytes &prefix);

// One step of a walk over a family: to the first prefix, else to the one after `prefix`, which moves there.
// Null at the end. The position is what the tree says, whatever the entry holds.
prefix_entry *step_prefix(kov_vrf_ctx &vrf, u32 family, bool first, prefix_bytes &prefix);

// Makes the tree of contexts empty; the library is being opened.
void init_vrf_tree();

// Frees all contexts and their prefixes, silently and without counting.
void free_vrf_contexts();

// A walk over all contexts, in the order of their names, that may let other tasks run while it stands on one.
//
// It refers to the context on which it stands. That keeps the context from going with its last prefix, but
// not from going when the library is opened again; every walk that stands on a context is told when it goes,
// and here() then looks for one of the same name.
class vrf_walk
{
public:
    vrf_walk();
    ~vrf_walk(); // gives the reference back, and no more
    vrf_walk(const vrf_walk &) = delete;
    vrf_walk &operator=(const vrf_walk &) = delete;

    // Begin, and go on: false at the end. The context that is left behind goes if nothing refers to it any
    // more.
    bool first();
    bool next();

    // The context on which the walk stands; null when it is gone. Ask again after any call that may open the
    // library or let other tasks run.
    kov_vrf_ctx *here();

    // Lets other tasks run if it is time to.
    void may_yield();

    // Tells all walks that this context is about to be freed.
    static void forget(const kov_vrf_ctx &vrf);

private:
    bool stand_on(kov_vrf_ctx *vrf);

    oak_iter iter_ = {};
    kov_vrf_ctx *vrf_ = nullptr;
    char name_[KOV_VRF_NAME_SIZE] = {};
    vrf_walk *others_; // that were begun before
};

} // namespace kov
