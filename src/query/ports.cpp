// Questions about one port: is port tracking, or port L2DCI, on for it? One algorithm; what differs between
// the two stands in one struct each.
#include "api/gate.h"
#include "api/trace.h"
#include "cache/keys.h"
#include "cache/lookup.h"
#include "platform/bit_set.h"
#include "platform/interface_types.h"
#include "platform/slot_port.h"

#include <kov/platform/interfaces.h>

namespace
{

constexpr u32 bits_of_a_slot = 256;

struct tracking {
    using record = kov_rdb_port_tracking_t;
    static constexpr u32 type = KOV_RDB_PORT_TRACKING;
    static constexpr s32 mtype = KOV_MTYPE_PORT_TRACKING;
    static constexpr const char *name = "kov_get_port_tracking";

    static void trace_check(u32 ifindex)
    {
        KOV_TRACE("Checking for port tracking enabled on %s", kov_ifindex_name_str(ifindex));
    }
    static void trace_failed(u32 slot)
    {
        KOV_TRACE("RDB port tracking RDB read failed for slot_num %u", slot);
    }
    static void trace_bits(u32 port, const kov::bit_set &ports)
    {
        KOV_TRACE("Checking for port tracking enabled on %u in %s", port, ports.text());
    }
    static void trace_result(const char *negation, u32 ifindex)
    {
        KOV_TRACE("Port tracking is%s enabled on %s", negation, kov_ifindex_name_str(ifindex));
    }
};

struct l2dci {
    using record = kov_rdb_port_l2dci_t;
    static constexpr u32 type = KOV_RDB_PORT_L2DCI;
    static constexpr s32 mtype = KOV_MTYPE_PORT_L2DCI;
    static constexpr const char *name = "kov_get_port_l2dci";

    static void trace_check(u32 ifindex)
    {
        KOV_TRACE("Checking for port l2dci enabled on %s", kov_ifindex_name_str(ifindex));
    }
    static void trace_failed(u32 slot) { KOV_TRACE("RDB port l2dci RDB read failed for slot_num %u", slot); }
    static void trace_bits(u32 port, const kov::bit_set &ports)
    {
        KOV_TRACE("Checking for port l2dci enabled on %u in %s", port, ports.text());
    }
    static void trace_result(const char *negation, u32 ifindex)
    {
        KOV_TRACE("Port l2dci is%s enabled on %s", negation, kov_ifindex_name_str(ifindex));
    }
};

bool is_port(u32 ifindex)
{
    u32 type = 0;
    if (if_index_get_type(ifindex, &type) == 0 &&
        (kov::is_physical_port(type) || type == if_type_port_channel))
        return true;
    KOV_TRACE("%s is not a physical port/PCM", kov_ifindex_name_str(ifindex));
    return false;
}

// Slot and port as the records number them, from 1.
bool find_place(u32 ifindex, const char *caller, u8 &slot, u8 &port)
{
    const int status = kov_ifindex_get_slot_port(ifindex, slot, port);
    if (status != 0) {
        KOV_TRACE("%s(): Unable to retrieve %s ifindex slot/port (%u/%u), status %s", caller,
                  kov_ifindex_name_str(ifindex), u32{slot}, u32{port}, syserr2str(status));
        return false;
    }
    ++slot;
    ++port;
    return true;
}

// Looks the port's bit up in the slot's record; false, with the failure traced, when the bits cannot be read.
template <class Ports>
bool test_port(const typename Ports::record &rec, u8 slot, u8 port, bool &enabled)
{
    kov::bit_set ports(bits_of_a_slot);
    if (!ports.copy_in(rec.port_bits, rec.num_bits)) {
        Ports::trace_failed(slot);
        return false;
    }
    Ports::trace_bits(port, ports);
    enabled = ports.test(port);
    return true;
}

template <class Ports>
u32 is_enabled(u32 ifindex)
{
    if (!kov::initialized()) {
        KOV_TRACE("%s(): Not initialized with KOV Api", Ports::name);
        return 0;
    }
    if (ifindex == 0) {
        KOV_TRACE("%s(): Invalid if_index", Ports::name);
        return 0;
    }
    u8 slot = 0;
    u8 port = 0;
    if (!is_port(ifindex) || !find_place(ifindex, Ports::name, slot, port))
        return 0;
    Ports::trace_check(ifindex);

    const kov_rdb_key key = kov::number_key(Ports::type, slot);
    const u32 force_rdb = kov::not_registered(Ports::mtype, Ports::name);
    bool enabled = false;
    const auto *rec =
        static_cast<const typename Ports::record *>(kov_rdb_get_data_from_cache(&key, force_rdb));
    if (rec && !test_port<Ports>(*rec, slot, port, enabled))
        return 0;
    Ports::trace_result(enabled ? "" : " not", ifindex);
    return enabled;
}

} // namespace

u32 kov_get_port_tracking(u32 ifindex) { return is_enabled<tracking>(ifindex); }
u32 kov_get_port_l2dci(u32 ifindex) { return is_enabled<l2dci>(ifindex); }
