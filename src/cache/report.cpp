// The report of the library's state and of its caches, for a process's command line.
//
// A print may run other tasks while a pager waits, a gate may open the library, and a yield lets anybody in.
// So nothing of a cache is held across any of them: each block is printed from a copy, and a walk goes on
// from the key it stood at.
#include "api/gate.h"
#include "api/print_buffer.h"
#include "api/text.h"
#include "api/trace.h"
#include "cache/desc.h"
#include "cache/prefix.h"
#include "cache/sviinfo.h"
#include "cache/vrf.h"
#include "platform/bit_set.h"
#include "platform/number_tree.h"

#include <kov/kov_cache.h>
#include <kov/platform/address.h>
#include <kov/platform/cli.h>
#include <kov/platform/coop_sched.h>
#include <kov/platform/osal.h>

namespace
{

constexpr const char *rule = "===================================================\n";
constexpr u32 bits_of_a_slot = 256;

const char *yes_no(u32 flag) { return flag ? "Yes" : "No"; }
const char *true_false(u32 flag) { return flag ? "True" : "False"; }
unsigned long counted(u32 count) { return count; }

// Whether the client registered for the message type that tells of a field.
bool is_told(s32 mtype) { return !kov::not_registered(mtype, nullptr); }
bool is_told(s32 first, s32 second) { return !kov::not_registered(first, second, nullptr); }

#define KOV_PRINT(...) (last_ = cli_cmd_printf(cli_, __VA_ARGS__))

class report
{
public:
    explicit report(void *cli) : cli_(cli) {}

    // The result of the last print, or 0 when the user stopped.
    u32 run()
    {
        header();
        if (cli_is_set(cli_, "detail"))
            detail();
        else
            summary();
        return last_;
    }

private:
    void text(const char *label, const char *value) { KOV_PRINT("%-30s : %s\n", label, value); }
    void number(const char *label, u32 value) { KOV_PRINT("%-30s : %u\n", label, value); }
    void end_block() { KOV_PRINT("\n"); }

    // The pager's question, after each record; false stops the report.
    bool is_wanted()
    {
        if (cli_more_output(cli_))
            return true;
        last_ = 0;
        return false;
    }
    bool go_on()
    {
        if (!is_wanted())
            return false;
        coop_sched_may_yield();
        return true;
    }

    void header();
    void summary();
    void summary_row(u32 type);
    void detail();
    void counters_of(u32 type);

    // What a type has cached. False: the report ends here.
    bool contents_of(u32 type);
    bool general_info();
    bool svis();
    bool fabric_ctrl_copy();
    bool svi_entries();
    template <class Record>
    bool slots(u32 type);
    template <class Record>
    bool ports_of_slot(const Record &entry, u32 slot);
    bool prefixes();
    bool prefixes_of_vrf(kov::vrf_walk &walk);
    bool topologies();

    void svi_place(u32 ifindex, u32 vlan_id)
    {
        text("Svi Intf", kov_ifindex_name_str(ifindex));
        KOV_PRINT("%-30s : 0x%08x(%d)\n", "If_index", ifindex, static_cast<int>(vlan_id));
    }
    void forward_mode(u32 mode)
    {
        if (is_told(KOV_MTYPE_SVI_FWD_MODE, KOV_MTYPE_SVI_FWD_MODE_CHANGE))
            text("Forward Mode", kov_fwd_mode_str(mode));
    }

    void *cli_;
    u32 last_ = 0;
};

// ------------------------------------------------------------------------------- the state, and the counters

void report::header()
{
    const kov::bounded_text<KOV_CLIENT_NAME_SIZE - 1> name(kov_api.client_name);
    KOV_PRINT("\nKOV Cache information/Stats\n");
    text("Is Initialized", yes_no(kov_api.initialized));
    text("Api Debug", kov_api.debug_enabled ? "On" : "Off");
    KOV_PRINT("%-30s : %s(%d)\n", "Client name(uuid)", name.text, static_cast<int>(kov_api.uuid));
    KOV_PRINT("%-30s : %d%s\n", "Client sap", kov_api.sap, kov_api.registration_done ? "(registered)" : "");
    KOV_PRINT("%-30s : 0x%08x%s\n", "Client Flags", kov_api.mtype_mask,
              kov_api.ack_pending ? "(Server Ack Pending)" : "");
    text("Cache On", yes_no(kov_api.cache_enabled));
    KOV_PRINT("%-30s : %lu/%lu\n", "Vrf allocs/Bytes", counted(kov_api.vrf_count),
              counted(kov_api.vrf_bytes));
}

void report::summary()
{
    KOV_PRINT("%-1s %-5s %-15s %-15s %-10s %s\n", "", "Type", "Cached/Update", "#Allocs/Bytes", "Data",
              "#Cache/RDB/Update Hits");
    for (u32 type = KOV_RDB_GENINFO; type <= KOV_RDB_L2RIB_TOPO_INFO; ++type)
        summary_row(type);
    KOV_PRINT("%s", rule);
}

void report::summary_row(u32 type)
{
    const kov_cache_desc &desc = kov_api.cache[type];
    KOV_PRINT("%-1s %-5d", "", static_cast<int>(type));

    char *buffer = kov::next_print_buffer();
    osal_snprintf(buffer, kov_print_buffer_size, "%s/%s", yes_no(desc.cached), yes_no(desc.updating));
    KOV_PRINT(" %-15s", buffer);

    buffer = kov::next_print_buffer();
    osal_snprintf(buffer, kov_print_buffer_size, "%lu/%lu", counted(desc.allocs), counted(desc.bytes));
    KOV_PRINT(" %-15s %-10p", buffer, desc.data);

    buffer = kov::next_print_buffer();
    osal_snprintf(buffer, kov_print_buffer_size, "%lu/%lu/%lu", counted(desc.cache_hits),
                  counted(desc.rdb_hits), counted(desc.update_hits));
    KOV_PRINT(" %-10s\n", buffer);
}

void report::detail()
{
    for (u32 type = KOV_RDB_GENINFO; type <= KOV_RDB_L2RIB_TOPO_INFO; ++type) {
        counters_of(type);
        if (!contents_of(type))
            return;
    }
    KOV_PRINT("%s", rule);
}

void report::counters_of(u32 type)
{
    const kov_cache_desc &desc = kov_api.cache[type];
    KOV_PRINT("%s", rule);
    KOV_PRINT("%-30s : %d\n", "RDB Type", static_cast<int>(type));
    KOV_PRINT("%-30s : %s/%s\n", "Cached/Updated", yes_no(desc.cached), yes_no(desc.updating));
    KOV_PRINT("%-30s : %lu/%lu/%lu\n", "#Cache Hits/#RDB Hits/#Updates", counted(desc.cache_hits),
              counted(desc.rdb_hits), counted(desc.update_hits));
    KOV_PRINT("%-30s : %lu/%lu\n", "#Allocs/Bytes Alloc", counted(desc.allocs), counted(desc.bytes));
    KOV_PRINT("\nKOV Cached Data Infomation\n");
}

// ---------------------------------------------------------------------------------------- the cached records

bool report::contents_of(u32 type)
{
    switch (type) {
    case KOV_RDB_GENINFO:
        return general_info();
    case KOV_RDB_SVIINFO:
        return svis();
    case KOV_RDB_PORT_TRACKING:
        return slots<kov_rdb_port_tracking_t>(type);
    case KOV_RDB_AGGR_SUB_PFX:
        return prefixes();
    case KOV_RDB_PORT_L2DCI:
        return slots<kov_rdb_port_l2dci_t>(type);
    default:
        return topologies();
    }
}

bool report::general_info()
{
    const auto *cached = static_cast<const kov_rdb_geninfo_t *>(kov_api.cache[KOV_RDB_GENINFO].data);
    if (!cached)
        return true;
    const kov_rdb_geninfo_t rec = *cached;
    if (is_told(KOV_MTYPE_FABRIC_ID))
        number("Fabric Id", rec.fabric_id);
    if (is_told(KOV_MTYPE_CONV_LEARNING))
        text("Conversational Learning", true_false(rec.conv_learning));
    if (is_told(KOV_MTYPE_ANYCAST_GW_MAC))
        text("Anycast Gateway Mac", im_print_mac_addr(rec.anycast_gw_mac));
    if (is_told(KOV_MTYPE_SWITCH_ROLE, KOV_MTYPE_SWITCH_ROLE_CHANGE))
        text("Switch Role", kov_switch_role_str(rec.switch_role));
    if (is_told(KOV_MTYPE_FABRIC_CTRL_SEG))
        text("Fabric Control Segment", kov_ifindex_name_str(rec.fabric_ctrl_svi));
    if (is_told(KOV_MTYPE_CONV_AGING_TIMEOUT)) {
        number("Urib Conv Aging Timeout", rec.urib_conv_aging_timeout);
        number("U6rib Conv Aging Timeout", rec.u6rib_conv_aging_timeout);
    }
    if (is_told(KOV_MTYPE_FERRO_MIGRATION))
        text("Migration", true_false(rec.ferro_migration));
    if (is_told(KOV_MTYPE_FWD_ENCAP)) {
        text("Forward Encap", kov_fwd_encap_str(rec.fwd_encap));
        text("Router MAC", im_print_mac_addr(rec.router_mac));
    }
    return go_on();
}

bool report::svis() { return fabric_ctrl_copy() && svi_entries(); }

bool report::fabric_ctrl_copy()
{
    if (!kov_api.fabric_ctrl_svi)
        return true;
    const kov_rdb_sviinfo_t rec = *kov_api.fabric_ctrl_svi;
    const kov::bounded_text<KOV_VRF_NAME_SIZE> vrf_name(rec.vrf_name);
    svi_place(rec.svi_ifindex, rec.vlan_id);
    text("State", rec.is_up ? "Up" : "Down");
    text("V4 prefix", ip_print_prefix(&rec.v4_prefix));
    text("V6 prefix", ipv6_print_prefix(&rec.v6_prefix, 1));
    text("Vrf name", vrf_name.text);
    forward_mode(rec.fwd_mode);
    text("Fabric control seg", true_false(rec.is_fabric_ctrl_seg));
    end_block();
    return go_on();
}

bool report::svi_entries()
{
    kov::number_tree<kov_svi_cache_entry> tree(kov_api.cache[KOV_RDB_SVIINFO].data);
    u32 svi_ifindex = 0;
    for (const auto *at = tree.first(svi_ifindex); at; at = tree.next(svi_ifindex)) {
        const kov_svi_cache_entry entry = *at;
        svi_place(svi_ifindex, entry.vlan_id);
        forward_mode(entry.fwd_mode);
        if (is_told(KOV_MTYPE_SVI_MIGRATION))
            text("Migration enabled", true_false(entry.migration_enabled));
        if (is_told(KOV_MTYPE_SUPPRESS_ARP_TOPO))
            text("Suppress ARP", true_false(entry.suppress_arp));
        end_block();
        if (!go_on())
            return false;
    }
    return true;
}

void trace_bits_failed(u32 type, u32 slot)
{
    if (type == KOV_RDB_PORT_TRACKING)
        KOV_TRACE("RDB port tracking cache read failed for slot_num %u", slot);
    else
        KOV_TRACE("RDB port l2dci cache read failed for slot_num %u", slot);
}

template <class Record>
bool report::slots(u32 type)
{
    kov::number_tree<Record> tree(kov_api.cache[type].data);
    u32 slot = 0;
    for (const Record *at = tree.first(slot); at; at = tree.next(slot)) {
        if (!ports_of_slot(Record(*at), slot)) {
            // Deliberate: bits that cannot be read end the report, with the last print's result.
            trace_bits_failed(type, slot);
            return false;
        }
        if (!go_on())
            return false;
    }
    return true;
}

template <class Record>
bool report::ports_of_slot(const Record &entry, u32 slot)
{
    char prefix[49];
    number("Slot num", slot);
    number("Num bf allocated", entry.num_bits);
    kov::bit_set ports(bits_of_a_slot);
    if (!ports.copy_in(entry.port_bits, entry.num_bits))
        return false;
    osal_snprintf(prefix, sizeof prefix, "%-30s   ", "");
    const kov::bit_lines lines(ports, prefix);
    if (lines.text())
        KOV_PRINT("%s", lines.text());
    end_block();
    return true;
}

bool report::prefixes()
{
    kov::vrf_walk walk;
    bool more = walk.first();
    while (more) {
        if (!prefixes_of_vrf(walk))
            return false; // The walk gives its reference back.
        more = walk.next();
        end_block();
    }
    return true;
}

bool report::prefixes_of_vrf(kov::vrf_walk &walk)
{
    bool first_line = true;
    for (u32 family = kov::family_v4; family < kov::families; ++family) {
        kov::prefix_bytes at = {};
        bool first = true;
        while (kov_vrf_ctx *vrf = walk.here()) {
            const kov::prefix_entry *cached = kov::step_prefix(*vrf, family, first, at);
            if (!cached)
                break;
            const kov::prefix_entry entry = *cached;
            const kov::bounded_text<KOV_VRF_NAME_SIZE - 1> name(vrf->name);
            const u32 refcount = vrf->refcount;
            first = false;
            if (first_line) {
                text("Vrf name", name.text);
                KOV_PRINT("%-30s : %lu\n", "Refcount", counted(refcount));
            }
            KOV_PRINT("%-30s %s %s\n", first_line ? "Aggregate-subnet-prefix" : "", first_line ? ":" : " ",
                      kov::prefix_text(family, entry.prefix));
            first_line = false;
            if (!is_wanted())
                return false;
            walk.may_yield();
        }
    }
    return true;
}

bool report::topologies()
{
    kov::number_tree<kov_rdb_l2rib_topo_info_t> tree(kov_api.cache[KOV_RDB_L2RIB_TOPO_INFO].data);
    u32 topo_id = 0;
    for (const auto *at = tree.first(topo_id); at; at = tree.next(topo_id)) {
        const kov_rdb_l2rib_topo_info_t entry = *at;
        number("BD", entry.bd);
        number("VNI", entry.vni);
        text("Suppress ARP enabled", true_false(entry.suppress_arp_enabled));
        text("Suppress ARP Mode", kov_suppress_arp_mode_to_str(entry.suppress_arp_mode));
        text("Suppress ARP L3 SVI", kov_ifindex_name_str(entry.suppress_arp_l3_svi));
        end_block();
        if (!go_on())
            return false;
    }
    return true;
}

#undef KOV_PRINT

} // namespace

u32 kov_api_print_cache_stats(void *cli) { return cli ? report(cli).run() : 0; }
