#include "cache/vrf.h"

#include "api/trace.h"
#include "cache/desc.h"
#include "cache/keys.h"
#include "platform/name_tree.h"
#include "platform/prefix_tree.h"

#include <kov/platform/coop_sched.h>
#include <kov/platform/osal.h>

namespace
{

constexpr u32 counted_bytes = 64; // of a context, in both ABIs

kov::name_tree<kov_vrf_ctx> contexts() { return kov::name_tree<kov_vrf_ctx>(kov_api.vrf_tree); }

kov::prefix_tree<kov::prefix_entry> prefixes(kov_vrf_ctx &vrf, u32 family)
{
    return {vrf.trees[family], kov::address_size(family)};
}

void free_context(kov_vrf_ctx *vrf)
{
    kov::vrf_walk::forget(*vrf);
    kov_cache_free(vrf);
}

// Takes out and frees the prefixes of one family.
void free_prefixes(kov_vrf_ctx &vrf, u32 family)
{
    kov::prefix_bytes at = {};
    for (auto *entry = kov::step_prefix(vrf, family, true, at); entry;
         entry = kov::step_prefix(vrf, family, false, at))
        if (kov::remove_prefix(vrf, family, at))
            kov_cache_free(entry);
}

// The tree's key of a position, and back. An IPv4 address turns round on the way.
void address_to_key(u32 family, const kov::prefix_bytes &prefix, u8 (&key)[16])
{
    std::memcpy(key, kov_prefix_tree_key(family, prefix), kov::address_size(family));
}

void key_to_prefix(u32 family, const u8 (&key)[16], u32 bits, kov::prefix_bytes &prefix)
{
    std::memset(prefix, 0, sizeof prefix);
    std::memcpy(prefix, key, kov::address_size(family));
    if (family == kov::family_v4)
        kov::swap_at<u32>(prefix);
    prefix[kov::address_size(family)] = static_cast<u8>(bits);
}

} // namespace

// ------------------------------------------------------------------------------------------------ contexts

kov_vrf_ctx *kov_vrf_ctx_lookup(const char *name)
{
    char key[KOV_VRF_NAME_SIZE] = {};
    osal_strcpy(key, name, sizeof key);
    return contexts().lookup(key);
}

kov_vrf_ctx *kov::create_vrf_ctx(const char *name)
{
    auto *vrf = static_cast<kov_vrf_ctx *>(kov_cache_alloc(sizeof(kov_vrf_ctx), 1));
    if (!vrf)
        return nullptr;
    osal_strcpy(vrf->name, name, sizeof vrf->name);
    if (!contexts().insert(vrf)) {
        kov_cache_free(vrf);
        return nullptr;
    }
    kov_api.vrf_count += 1;
    kov_api.vrf_bytes += counted_bytes;
    KOV_TRACE("VRF context %s is added in cache", vrf->name);
    return vrf;
}

u32 kov_api_delete_vrf_ctx(const char *name, kov_vrf_ctx *vrf)
{
    if (!name && !vrf) {
        KOV_TRACE("%s(): Invalid Args", __func__);
        return 0;
    }
    if (!vrf)
        vrf = kov_vrf_ctx_lookup(name);
    if (!vrf)
        return 1;
    if (vrf->refcount != 0) {
        KOV_TRACE("(%s) refcount: %lu", vrf->name, static_cast<unsigned long>(vrf->refcount));
        return 0;
    }
    // A tree that keeps the node keeps the context.
    if (!contexts().remove(vrf))
        return 0;
    KOV_TRACE("VRF context %s is deleted from cache", vrf->name);
    // Usually there are none. A tree that once refused to let a prefix go made the references too few.
    free_prefixes(*vrf, kov::family_v4);
    free_prefixes(*vrf, kov::family_v6);
    free_context(vrf);
    kov_api.vrf_count -= 1;
    kov_api.vrf_bytes -= counted_bytes;
    return 1;
}

void kov::hold(kov_vrf_ctx &vrf) { vrf.refcount += 1; }

void kov::release(kov_vrf_ctx &vrf)
{
    if (vrf.refcount != 0)
        vrf.refcount -= 1;
    else
        KOV_TRACE("VRF refcount already 0, not decrementing");
}

void kov::init_vrf_tree() { contexts().init(); }

void kov::free_vrf_contexts()
{
    oak_iter iter = {};
    for (kov_vrf_ctx *vrf = contexts().first(iter); vrf; vrf = contexts().next(iter)) {
        free_prefixes(*vrf, family_v4);
        free_prefixes(*vrf, family_v6);
        if (contexts().remove(vrf))
            free_context(vrf);
    }
}

// ------------------------------------------------------------------------------------------------ prefixes

kov::prefix_entry *kov::find_prefix(kov_vrf_ctx &vrf, u32 family, const prefix_bytes &prefix)
{
    if (family >= families)
        return nullptr;
    return prefixes(vrf, family).lookup(kov_prefix_tree_key(family, prefix), prefix_length(family, prefix));
}

bool kov::add_prefix(kov_vrf_ctx &vrf, u32 family, const prefix_bytes &prefix, prefix_entry *entry)
{
    if (family >= families)
        return false;
    const void *key = kov_prefix_tree_key(family, prefix);
    return prefixes(vrf, family).add(key, prefix_length(family, prefix), entry);
}

bool kov::remove_prefix(kov_vrf_ctx &vrf, u32 family, const prefix_bytes &prefix)
{
    if (family >= families)
        return false;
    return prefixes(vrf, family).remove(kov_prefix_tree_key(family, prefix), prefix_length(family, prefix));
}

kov::prefix_entry *kov::step_prefix(kov_vrf_ctx &vrf, u32 family, bool first, prefix_bytes &prefix)
{
    if (family >= families)
        return nullptr;
    u8 key[16];
    address_to_key(family, prefix, key);
    u32 bits = prefix_length(family, prefix);
    prefix_entry *entry =
        first ? prefixes(vrf, family).first(key, bits) : prefixes(vrf, family).next(key, bits);
    if (entry)
        key_to_prefix(family, key, bits, prefix);
    return entry;
}

// -------------------------------------------------------------------------------------------------- walks

kov::vrf_walk::vrf_walk() : others_(kov_api.vrf_walks) { kov_api.vrf_walks = this; }

kov::vrf_walk::~vrf_walk()
{
    if (vrf_)
        release(*vrf_);
    vrf_walk **link = &kov_api.vrf_walks;
    while (*link != this)
        link = &(*link)->others_;
    *link = others_;
}

void kov::vrf_walk::forget(const kov_vrf_ctx &vrf)
{
    for (vrf_walk *walk = kov_api.vrf_walks; walk; walk = walk->others_)
        if (walk->vrf_ == &vrf)
            walk->vrf_ = nullptr;
}

bool kov::vrf_walk::stand_on(kov_vrf_ctx *vrf)
{
    vrf_ = vrf;
    if (!vrf)
        return false;
    hold(*vrf);
    std::memcpy(name_, vrf->name, sizeof name_);
    return true;
}

bool kov::vrf_walk::first() { return stand_on(contexts().first(iter_)); }

bool kov::vrf_walk::next()
{
    kov_vrf_ctx *const left = vrf_;
    const bool more = stand_on(contexts().next(iter_));
    if (left) {
        release(*left);
        kov_api_delete_vrf_ctx(nullptr, left);
    }
    return more;
}

kov_vrf_ctx *kov::vrf_walk::here()
{
    if (!vrf_)
        stand_on(kov_vrf_ctx_lookup(name_));
    return vrf_;
}

void kov::vrf_walk::may_yield()
{
    if (!coop_should_sched_yield())
        return;
    contexts().prepare_yield(iter_);
    coop_sched_yield();
}
