#include "cache/aggr.h"

#include "api/gate.h"
#include "api/text.h"
#include "api/trace.h"
#include "cache/desc.h"
#include "cache/keys.h"
#include "cache/vrf.h"

namespace
{

// The characters of a VRF's name that count.
using vrf_text = kov::bounded_text<KOV_VRF_NAME_SIZE - 1>;

kov_cache_desc &desc() { return kov_api.cache[KOV_RDB_AGGR_SUB_PFX]; }

bool is_usable(const kov_aggr_prefix_key *key, const char *caller)
{
    if (!key) {
        KOV_TRACE("%s(): Invalid Aggregate-subnet-prefix", caller);
        return false;
    }
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", caller);
        return false;
    }
    return true;
}

// Deliberate: a context that was created for a prefix which then finds no room stays, without references.
kov::prefix_entry *create_entry(kov_vrf_ctx &vrf, const kov_aggr_prefix_key &key)
{
    auto *entry = static_cast<kov::prefix_entry *>(kov_cache_alloc(sizeof(kov::prefix_entry), 1));
    if (!entry)
        return nullptr;
    if (!kov::add_prefix(vrf, key.family, key.prefix, entry)) {
        kov_cache_free(entry);
        return nullptr;
    }
    kov::count_block(desc(), sizeof *entry);
    kov::hold(vrf);
    KOV_TRACE("(%s) Added %s aggregate-subnet-pfx to Cache", vrf.name,
              kov::prefix_text(key.family, key.prefix));
    return entry;
}

// The entry of a prefix, which is made when it is not there yet.
kov::prefix_entry *entry_for(const kov_aggr_prefix_key &key)
{
    kov_vrf_ctx *vrf = kov_vrf_ctx_lookup(key.vrf_name);
    if (vrf) {
        if (kov::prefix_entry *entry = kov::find_prefix(*vrf, key.family, key.prefix))
            return entry;
    } else {
        vrf = kov::create_vrf_ctx(key.vrf_name);
    }
    if (!vrf) {
        KOV_TRACE("Could not create vrf_ctx for %s", vrf_text(key.vrf_name).text);
        return nullptr;
    }
    return create_entry(*vrf, key);
}

// Deliberate: the counters go down also when the tree refuses. It then keeps the node, and with it the block,
// until its context goes; it is never freed under it.
void drop_entry(kov_vrf_ctx &vrf, const kov_aggr_prefix_key &key, kov::prefix_entry *entry)
{
    if (kov::remove_prefix(vrf, key.family, key.prefix))
        kov_cache_free(entry);
    kov::uncount_block(desc(), sizeof *entry);
}

// The key that a fill or a clear was given, for its own use: the caller's may stand in static storage. The
// texts of an absent one are empty.
class given_key
{
public:
    explicit given_key(const void *key) : given_(key != nullptr)
    {
        if (given_)
            key_ = kov::load<kov_aggr_prefix_key>(key);
        key_.vrf_name[KOV_VRF_NAME_SIZE - 1] = '\0';
    }
    explicit operator bool() const { return given_; }
    const kov_aggr_prefix_key &operator*() const { return key_; }

    const char *vrf() const { return key_.vrf_name; }
    const char *blank() const { return given_ ? " " : ""; }
    const char *prefix() const { return given_ ? kov::prefix_text(key_.family, key_.prefix) : ""; }

private:
    bool given_;
    kov_aggr_prefix_key key_ = {};
};

void fill_from(kov_rdb_iter &iter)
{
    while (const auto *rec = static_cast<const kov::prefix_entry *>(kov_rdb_iter_get_next(&iter))) {
        const auto *where = reinterpret_cast<const u8 *>(&iter.key) + offsetof(kov_rdb_key, of);
        const auto key = kov::load<kov_aggr_prefix_key>(where);
        kov_cache_aggr_subnet_pfx(rec, &key);
    }
}

void refresh(const kov_aggr_prefix_key &key)
{
    kov_rdb_key lookup;
    kov_rdb_aggr_key_init(&lookup, key.vrf_name, key.prefix, key.family);
    kov_cache_aggr_subnet_pfx(static_cast<const kov::prefix_entry *>(kov_rdb_get_data_from_cache(&lookup, 1)),
                              &key);
}

// Each delete may open the library and each yield may do anything, so both trees are entered anew for every
// prefix: by the VRF's name, and by the prefix that the tree reported last.
void clear_family(kov::vrf_walk &walk, u8 family)
{
    kov_aggr_prefix_key key = {};
    key.family = family;
    bool first = true;
    while (kov_vrf_ctx *vrf = walk.here()) {
        if (!kov::step_prefix(*vrf, family, first, key.prefix))
            return;
        first = false;
        std::memcpy(key.vrf_name, vrf->name, sizeof key.vrf_name);
        kov_clear_cache_aggr_subnet_pfx(nullptr, &key);
        walk.may_yield();
    }
}

void clear_all()
{
    kov::vrf_walk walk;
    for (bool more = walk.first(); more; more = walk.next()) {
        clear_family(walk, kov::family_v4);
        clear_family(walk, kov::family_v6);
    }
}

} // namespace

void *kov::lookup_aggr_subnet_pfx(const kov_rdb_key &key)
{
    kov_vrf_ctx *vrf = kov_vrf_ctx_lookup(key.of.vrf_name);
    return vrf ? find_prefix(*vrf, key.family, key.prefix) : nullptr;
}

void *kov::step_aggr_subnet_pfx(kov_rdb_iter &iter)
{
    kov_vrf_ctx *vrf = kov_vrf_ctx_lookup(iter.key.of.vrf_name);
    iter.vrf = vrf;
    if (!vrf)
        return nullptr;
    prefix_entry *entry = step_prefix(*vrf, iter.key.family, iter.first != 0, iter.key.prefix);
    iter.first = 0;
    if (entry)
        KOV_TRACE("(%s) %s(): Walking Aggregate-subnet-pfx %s", vrf->name, "kov_cache_iterator_get_next",
                  prefix_text(iter.key.family, iter.key.prefix));
    return entry;
}

u32 kov_cache_aggr_subnet_pfx(const kov_rdb_aggr_sub_pfx_t *rec, const kov_aggr_prefix_key *key)
{
    if (!is_usable(key, __func__))
        return 0;
    if (!rec) {
        kov_clear_cache_aggr_subnet_pfx(nullptr, key);
    } else {
        kov::prefix_entry *entry = entry_for(*key);
        if (!entry)
            return 0;
        *entry = *rec;
    }
    desc().updating = 0;
    KOV_TRACE("KOV RDB Aggregate-subnet-pfx info is cached/updated");
    return 1;
}

u32 kov_clear_cache_aggr_subnet_pfx(const kov_rdb_aggr_sub_pfx_t *entry, const kov_aggr_prefix_key *key)
{
    if (!is_usable(key, __func__))
        return 0;
    kov_vrf_ctx *vrf = kov_vrf_ctx_lookup(key->vrf_name);
    if (!vrf)
        return 1;
    // What hangs in the tree is freed, never the caller's pointer: that one may be stale.
    kov::prefix_entry *found = kov::find_prefix(*vrf, key->family, key->prefix);
    if (!found && (!entry || vrf->refcount != 0))
        return 1;
    if (found)
        drop_entry(*vrf, *key, found);
    kov::release(*vrf);
    kov_api_delete_vrf_ctx(nullptr, vrf);
    KOV_TRACE("(%s) Deleted %s aggregate-subnet-pfx from Cache", vrf_text(key->vrf_name).text,
              kov::prefix_text(key->family, key->prefix));
    return 1;
}

u32 kov_cache_rdb_aggr_subnet_pfx(s32 all, const void *key)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    if (kov::already_filled(desc())) {
        KOV_TRACE("KOV RDB Aggregate-subnet-pfx is already cached, nothing to do");
        return 1;
    }
    const given_key given(key);
    if (all) {
        kov_rdb_iter iter;
        if (!kov::begin_fill(iter, KOV_RDB_AGGR_SUB_PFX, __func__))
            return 0;
        fill_from(iter);
    } else if (given) {
        refresh(*given);
    }
    desc().updating = 0;
    KOV_TRACE("KOV RDB %s%s%s%s Aggregate-subnet-pfx is cached/Updated", kov::all_text(all), given.vrf(),
              given.blank(), given.prefix());
    return 1;
}

u32 kov_clear_cache_rdb_aggr_subnet_pfx(s32 all, const void *key)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    const given_key given(key);
    if (all)
        clear_all();
    else if (given)
        kov_clear_cache_aggr_subnet_pfx(nullptr, &*given);
    KOV_TRACE("KOV RDB %s%s%s%s Aggregate-subnet-pfx is deleted", kov::all_text(all), given.vrf(),
              given.blank(), given.prefix());
    return 1;
}
