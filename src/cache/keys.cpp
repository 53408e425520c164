#include "cache/keys.h"

#include "api/bytes.h"

#include <kov/kov_messages.h>
#include <kov/platform/osal.h>

namespace
{

constexpr u8 rdb_type_of_mtype[KOV_MTYPE_END] = {
    KOV_RDB_NO_TYPE,         // 0
    KOV_RDB_NO_TYPE,         // register
    KOV_RDB_NO_TYPE,         // acknowledgement
    KOV_RDB_NO_TYPE,         // deregister
    KOV_RDB_GENINFO,         // 4 fabric id
    KOV_RDB_GENINFO,         // 5 conversational learning
    KOV_RDB_GENINFO,         // 6 switch role
    KOV_RDB_GENINFO,         // 7 anycast gateway MAC
    KOV_RDB_AGGR_SUB_PFX,    // 8 aggregate subnet prefixes
    KOV_RDB_SVIINFO,         // 9 SVI forwarding mode
    KOV_RDB_PORT_TRACKING,   // 10 port tracking
    KOV_RDB_SVIINFO,         // 11 fabric control segment
    KOV_RDB_NO_TYPE,         // 12 profile management
    KOV_RDB_GENINFO,         // 13 conversational aging timeout
    KOV_RDB_GENINFO,         // 14 fabric migration
    KOV_RDB_SVIINFO,         // 15 SVI migration
    KOV_RDB_GENINFO,         // 16 forwarding encapsulation and router MAC
    KOV_RDB_GENINFO,         // 17 switch role
    KOV_RDB_SVIINFO,         // 18 SVI forwarding mode
    KOV_RDB_L2RIB_TOPO_INFO, // 19 suppress-ARP topology
    KOV_RDB_PORT_L2DCI,      // 20 port L2DCI
};

} // namespace

u32 kov_mtype_to_rdb_type(u32 mtype)
{
    return mtype < KOV_MTYPE_END ? rdb_type_of_mtype[mtype] : static_cast<u32>(KOV_RDB_NO_TYPE);
}

const void *kov_prefix_tree_key(u32 af, const void *addr)
{
    static u8 v4_key[4];
    static u8 v6_key[16];
    if (!addr)
        return nullptr;
    switch (af) {
    case 0:
        kov::store(v4_key, kov::to_network(kov::load<u32>(addr)));
        return v4_key;
    case 1:
        std::memcpy(v6_key, addr, sizeof v6_key);
        return v6_key;
    default:
        return nullptr;
    }
}

void kov_rdb_aggr_key_init(kov_rdb_key *key, const char *vrf, const void *prefix, u32 af)
{
    *key = {};
    key->type = KOV_RDB_AGGR_SUB_PFX;
    if (vrf)
        osal_strcpy(key->of.vrf_name, vrf, sizeof key->of.vrf_name);
    key->family = static_cast<u8>(af);
    if (prefix)
        std::memcpy(key->prefix, prefix, sizeof key->prefix);
}

kov_rdb_key kov::number_key(u32 type, u32 number)
{
    kov_rdb_key key = {};
    key.type = type;
    key.of.number = number;
    return key;
}
