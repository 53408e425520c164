// The log of calls across the platform boundary, and the switch that makes one of them fail.
//
// Every function of the fake enters the log by its name before it does anything, and asks there whether
// it is to fail this time. A failing call does nothing and answers with the failure that its header
// documents. Allocations of the code under test are calls like the others: Call::alloc, Call::release.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace fake
{

// Each call and whether it can fail: `swept` ones also take part in fail_any(), `single` ones fail only when
// named (a read that finds nothing is an answer rather than a failure), `never` ones cannot.
// clang-format off
#define KOV_FAKE_CALLS(X) \
    X(alloc, swept) X(release, never) \
    X(ipc_send, swept) X(ipc_sap_get, single) X(ipc_options_get, never) X(ipc_options_set, single) \
    X(ipc_opc_get, never) X(ipc_payload_size, never) X(ipc_payload_get, never) \
    X(osal_rdb_open, swept) X(osal_rdb_close, single) X(osal_rdb_read, single) \
    X(osal_rdb_get_first, single) X(osal_rdb_get_next, single) \
    X(osal_strcpy, never) X(osal_strcat, never) X(osal_snprintf, never) X(osal_get_epid, never) \
    X(svcmgr_running_cfg_uri_get, swept) X(svcmgr_uri_complete, swept) X(svcmgr_uuid_get, never) \
    X(orb_sys_mclock_get, never) \
    X(dbgw_library_chk_int, never) X(dbgw_library_dbg_enable, single) X(dbgw_library_dbg_disable, single) \
    X(tracef_func, never) \
    X(cli_get_string, single) X(cli_is_set, never) X(cli_cmd_printf, never) X(cli_more_output, single) \
    X(coop_sched_may_yield, never) X(coop_should_sched_yield, never) X(coop_sched_yield, never) \
    X(pt_add, swept) X(pt_delete, swept) X(pt_lookup, single) X(pt_get_first_node, never) \
    X(pt_get_next_node, never) \
    X(oak_init_new, never) X(oak_insert, swept) X(oak_lookup, single) X(oak_delete, single) \
    X(oak_get_first, never) X(oak_get_next, never) X(oak_pre_sched_yield, never) \
    X(bitfield_create, swept) X(bitfield_copy_in, swept) X(bitfield_sprintf_to_buffer, swept) \
    X(fcodec_table_convert_struct_to_tlv, swept) X(fcodec_table_convert_tlv_to_struct, swept) \
    X(fcodec_table_get_struct_size_from_tlv, swept) X(fcodec_table_size, swept) \
    X(fcodec_field_itr_init, single) X(fcodec_get_field, single) X(fcodec_error_print, never) \
    X(if_index_get_type, single) X(if_index_get_slot, single) X(if_index_get_port, single) \
    X(if_index_port_channel_get_fields, single) X(im_get_ifindex_name, single) \
    X(lcache_im_get_ifindex_frm_iod, single) \
    X(im_print_mac_addr, never) X(ip_print_addr, never) X(ipv6_print_addr, never) \
    X(ip_print_prefix, never) X(ipv6_print_prefix, never) X(ip_bits2mask, never) \
    X(urib_route_is_cond_flag_set, never) X(urib_route_is_conv_flag_set, never) \
    X(u6rib_route_is_cond_flag_set, never) X(u6rib_route_is_conv_flag_set, never) \
    X(vrfmgr_get_context_name, single) X(syserr2str, never) X(get_card_module_info, single)
// clang-format on

enum class Call : uint8_t {
#define KOV_FAKE_NAME(name, can_fail) name,
    KOV_FAKE_CALLS(KOV_FAKE_NAME)
#undef KOV_FAKE_NAME
        count_
};

const char *name_of(Call call);

class Calls
{
public:
    // The n-th call from now (from 1) and the times - 1 calls of the same name after it fail. One plan a
    // name: a new one replaces the old. Throws std::logic_error for a call that cannot fail.
    void fail(Call call, unsigned nth = 1, unsigned times = 1);
    void fail_always(Call call);
    // The n-th from now of all swept calls together fails, once. Independent of the plans by name.
    void fail_any(unsigned nth);
    void mend(); // nothing fails any more

    unsigned count(Call call) const { return counts_[index(call)]; }
    unsigned swept() const { return swept_; }       // swept calls so far: how far a sweep has to go
    unsigned failures() const { return failures_; } // calls that were made to fail
    std::optional<Call> last_failure() const { return last_failure_; }
    const std::vector<Call> &log() const { return log_; }
    void clear(); // counts and log; plans stay

    // Until the matching resume() nothing is logged and nothing fails; see Unlogged.
    void pause() { ++paused_; }
    void resume() { --paused_; }

    // For the fake's own functions: logs the call. True: fail now.
    bool enter(Call call);

private:
    static std::size_t index(Call call) { return static_cast<std::size_t>(call); }

    struct Plan {
        unsigned skip = 0, fail = 0;
    };
    static bool due(Plan &plan);

    static constexpr std::size_t n = static_cast<std::size_t>(Call::count_);
    std::array<unsigned, n> counts_{};
    std::array<Plan, n> plans_{};
    Plan any_;
    unsigned swept_ = 0, failures_ = 0, paused_ = 0;
    std::optional<Call> last_failure_;
    std::vector<Call> log_;
};

// As long as it lives, calls across the boundary are not the code under test's: neither logged nor failed.
class Unlogged
{
public:
    explicit Unlogged(Calls &calls) : calls_(calls) { calls_.pause(); }
    ~Unlogged() { calls_.resume(); }
    Unlogged(const Unlogged &) = delete;
    Unlogged &operator=(const Unlogged &) = delete;

private:
    Calls &calls_;
};

} // namespace fake
