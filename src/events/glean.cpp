// Gleans: a packet to a destination without a resolved adjacency. The server learns of the conversation when
// only a conditional route leads there, or would: one that stands for a whole aggregate subnet prefix of the
// fabric.
#include "api/bytes.h"
#include "api/gate.h"
#include "api/send.h"
#include "api/trace.h"
#include "cache/keys.h"
#include "cache/lookup.h"
#include "cache/prefix.h"

#include <kov/platform/address.h>
#include <kov/platform/routes.h>

#include <cstdlib>

namespace
{

constexpr u32 longest_name = KOV_VRF_NAME_SIZE;
constexpr s32 glean_v4 = 1; // the family of a glean; every other value means IPv6

const char *family_text(u32 family) { return family == kov::family_v4 ? "IPv4" : "IPv6"; }

// Whether a record belongs to the VRF. A name of 33 characters is no record's, though a record may lack its
// NUL.
bool is_of_vrf(const kov_rdb_key &key, const char *vrf_name)
{
    return strnlen(vrf_name, KOV_VRF_NAME_SIZE) < KOV_VRF_NAME_SIZE &&
           strncmp(key.of.vrf_name, vrf_name, KOV_VRF_NAME_SIZE) == 0;
}

// What is looked for: a prefix that holds this one.
struct wanted {
    const char *vrf_name;
    const void *prefix;
    u32 family; // as the caller gave it
    u32 flag;   // the family of the prefix
};

bool walk_to_match(kov_rdb_iter &iter, const wanted &what)
{
    while (const auto *rec = static_cast<const kov_rdb_aggr_sub_pfx_t *>(kov_rdb_iter_get_next(&iter))) {
        if (!is_of_vrf(iter.key, what.vrf_name)) {
            KOV_TRACE("(%s) Done Walking aggregate-subnet-prefixes", what.vrf_name);
            return false;
        }
        if (iter.key.family != what.family) {
            KOV_TRACE("(%s) Skipping prefix %s as the lookup is for %s", what.vrf_name,
                      kov::prefix_text(iter.key.family, rec->prefix), family_text(what.family));
        } else if (kov_pfx_subnet_match(what.flag, what.prefix, rec->prefix)) {
            KOV_TRACE("(%s) [%s] Aggregate-subnet-prefix lookup for %s matched for %s", what.vrf_name,
                      family_text(what.family), kov::prefix_text(what.flag, what.prefix),
                      kov::prefix_text(what.flag, rec->prefix));
            return true;
        }
    }
    return false;
}

// An address as the client handed it in; a null one is all zero.
struct address {
    u8 bytes[16] = {};

    explicit address(const void *from)
    {
        if (from)
            std::memcpy(bytes, from, sizeof bytes);
    }
    const char *text(s32 family) const
    {
        return family == glean_v4 ? ip_print_addr(kov::load<u32>(bytes)) : ipv6_print_addr(bytes);
    }
};

// Everything about one glean.
struct glean {
    const void *rt;
    u32 vrf_id;
    u32 iif_ifindex;
    u32 value;
    u32 svi_ifindex;
    s32 family;
    address dst;
    address src;

    bool is_v4() const { return family == glean_v4; }
};

void trace_received(const glean &seen, u32 mode)
{
    if (seen.is_v4())
        KOV_TRACE("[IPv4] Received Glean msg in Vrf id: 0x%x for Dest %s, Src %s(%s), fwd mode %s, iif %s",
                  seen.vrf_id, seen.dst.text(seen.family), seen.src.text(seen.family),
                  kov_ifindex_name_str(seen.svi_ifindex), kov_fwd_mode_str(mode),
                  kov_ifindex_name_str(seen.iif_ifindex));
    else
        KOV_TRACE("[IPv6] Received Glean msg in Vrf id: 0x%x for Dest %s, Src %s(%s), fwd mode %s, iif %s",
                  seen.vrf_id, seen.dst.text(seen.family), seen.src.text(seen.family),
                  kov_ifindex_name_str(seen.svi_ifindex), kov_fwd_mode_str(mode),
                  kov_ifindex_name_str(seen.iif_ifindex));
}

bool is_unconverted(const glean &seen)
{
    const int cond =
        seen.is_v4() ? urib_route_is_cond_flag_set(seen.rt) : u6rib_route_is_cond_flag_set(seen.rt);
    const int conv =
        seen.is_v4() ? urib_route_is_conv_flag_set(seen.rt) : u6rib_route_is_conv_flag_set(seen.rt);
    const bool notify = cond && !conv;
    KOV_TRACE("Route exists with cond_flag %d, conv_flag %d, notify %d", cond, conv, int{notify});
    return notify;
}

// Whether a host route to the destination would be conditional.
bool would_be_conditional(const glean &seen)
{
    const char *lent = vrfmgr_get_context_name(seen.vrf_id, 0);
    char vrf_name[longest_name + 2] = {}; // one character more than is allowed, so that it is still too long
    if (lent)
        osal_strcpy(vrf_name, lent, sizeof vrf_name);

    const u32 family = seen.is_v4() ? kov::family_v4 : kov::family_v6;
    const u32 size = kov::address_size(family);
    kov::prefix_bytes host = {};
    std::memcpy(host, seen.dst.bytes, size);
    host[size] = static_cast<u8>(8 * size);
    return kov_is_rt_conditional(lent ? vrf_name : nullptr, host, family);
}

bool is_in_fabric(const glean &seen)
{
    const bool notify = kov_check_conditional_route() && would_be_conditional(seen);
    KOV_TRACE("Route doest not exist, notify %d", int{notify}); // Deliberate: misspelt so.
    return notify;
}

void fill(kov_glean_msg &msg, const glean &seen)
{
    msg.family = static_cast<u8>(seen.family);
    msg.vrf_id = seen.vrf_id;
    msg.iif_ifindex = seen.iif_ifindex;
    msg.value = seen.value;
    msg.svi_ifindex = seen.svi_ifindex;
    std::memcpy(msg.dst, seen.dst.bytes, sizeof msg.dst);
    std::memcpy(msg.src, seen.src.bytes, sizeof msg.src);
}

// False without memory.
bool notify_server(const glean &seen)
{
    auto *msg = static_cast<kov_glean_msg *>(std::calloc(1, sizeof(kov_glean_msg)));
    if (!msg)
        return false;
    fill(*msg, seen);
    if (!kov::send_to_server(KOV_OPC_GLEAN, msg, sizeof *msg))
        KOV_TRACE("ipc glean notify ipc failed");
    std::free(msg);
    // Deliberate: also after a failed send.
    KOV_TRACE("Successfully notified KOV about this active conversation");
    return true;
}

} // namespace

u32 kov_is_rt_conditional(const char *vrf_name, const void *prefix, u32 family)
{
    if (!vrf_name || !prefix) {
        KOV_TRACE("Invalid arg");
        return 0;
    }
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", __func__);
        return 0;
    }
    if (strnlen(vrf_name, longest_name + 1) > longest_name) {
        KOV_TRACE("vrf name too long in %s", __func__);
        return 0;
    }
    kov_rdb_key key;
    kov_rdb_aggr_key_init(&key, vrf_name, nullptr, family);
    kov_rdb_iter iter;
    if (!kov_rdb_iter_init(&iter, &key)) {
        KOV_TRACE("Could not init iterator for key: %u", key.type);
        return 0;
    }
    iter.force_rdb = kov::not_registered(KOV_MTYPE_AGGR_SUB_PFX, __func__);

    const u32 flag = family == kov::family_v4 ? kov::family_v4 : kov::family_v6;
    if (walk_to_match(iter, {vrf_name, prefix, family, flag}))
        return 1;
    KOV_TRACE("(%s) [%s] Aggregate-subnet-prefix lookup for %s (didnt match)", vrf_name, family_text(family),
              kov::prefix_text(flag, prefix));
    return 0;
}

u32 kov_process_glean_notification(const void *rt, u32 vrf_id, u32 iif_ifindex, u32 value, u32 svi_ifindex,
                                   s32 family, const void *dst, const void *src)
{
    // The addresses first: a query may refill the storage in which they stand.
    const glean seen = {rt, vrf_id, iif_ifindex, value, svi_ifindex, family, address(dst), address(src)};
    const u32 mode = kov_get_fwd_mode(svi_ifindex);
    trace_received(seen, mode);
    if (!kov_is_client_attached()) {
        KOV_TRACE("%s(): Not registered with KOV api", __func__);
        return 1;
    }
    const bool notify = rt ? is_unconverted(seen) : is_in_fabric(seen);
    if (notify && !notify_server(seen))
        return 1;
    if (mode != KOV_FWD_MODE_PROXY_GATEWAY)
        return 1;
    return rt ? 2 : 0;
}
