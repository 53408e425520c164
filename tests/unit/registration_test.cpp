// Registering with the server and withdrawing: what is refused, what changes, what a failed send leaves.
#include "lab.h"

#include <cerrno>
#include <cstring>
#include <functional>
#include <memory>
#include <ostream>

namespace
{

using fake::Call;

constexpr int32_t handle = fake::Transport::handle;
constexpr int32_t its_sap = fake::Transport::sap;
constexpr uint32_t client_opcode = 250880;

// What registration changes in the context.
struct State {
    int32_t ipc_handle, sap;
    std::string name;
    uint32_t done, pending, mask;
    kov_notify_callback callback;
    bool operator==(const State &) const = default;
};

std::ostream &operator<<(std::ostream &out, const State &s)
{
    return out << "{handle " << s.ipc_handle << ", sap " << s.sap << ", name " << s.name << ", done "
               << s.done << ", pending " << s.pending << ", mask " << s.mask << ", callback "
               << (s.callback != nullptr) << "}";
}

State state()
{
    return {kov_api.ipc_handle,  kov_api.sap,        kov_api.client_name,    kov_api.registration_done,
            kov_api.ack_pending, kov_api.mtype_mask, kov_api.notify_callback};
}

class Registration : public Lab
{
protected:
    Registration() { kov_api_init(); }

    uint32_t register_as(const char *name, const uint32_t *types = only_9)
    {
        return kov_register_client(handle, name, types, handler);
    }
    uint32_t option_word() const { return platform.ipc.options(handle, client_opcode); }

    static constexpr uint32_t only_9[21] = {9};
};

// --------------------------------------------------------------------------------------------- refusals

TEST_F(Registration, BadArgumentsAreRefusedWithoutATrace)
{
    const std::string too_long(129, 'n');
    const uint32_t nothing[21] = {};
    debug_on();
    EXPECT_EQ(kov_register_client(handle, nullptr, only_9, handler), 0u);
    EXPECT_EQ(kov_register_client(handle, too_long.c_str(), only_9, handler), 0u);
    EXPECT_EQ(kov_register_client(handle, "c", nullptr, handler), 0u);
    EXPECT_EQ(kov_register_client(handle, "c", nothing, handler), 0u);
    for (const int32_t bad : {99, 0, -1})
        EXPECT_EQ(kov_register_client(bad, "c", only_9, handler), 0u);
    expect_traces({});
    EXPECT_TRUE(platform.ipc.sent.empty());
    EXPECT_TRUE(platform.ipc.refused.empty());
    EXPECT_EQ(option_word(), 0u);
    EXPECT_EQ(state(), (State{-1, -1, "", 0, 0, 0, nullptr}));
}

// Deliberate: a call that fails on its arguments has changed the access point.
TEST_F(Registration, ACallThatFailsOnItsArgumentsHasChangedTheAccessPoint)
{
    EXPECT_EQ(kov_register_client(handle, nullptr, nullptr, nullptr), 0u);
    EXPECT_EQ(kov_api.sap, its_sap);
    platform.ipc.open(8, -5);
    EXPECT_EQ(kov_register_client(8, "c", only_9, handler), 0u);
    EXPECT_EQ(kov_api.sap, -5);
    EXPECT_EQ(kov_api.ipc_handle, -1);
}

TEST_F(Registration, AnAccessPoint0IsGood)
{
    platform.ipc.open(handle, 0);
    EXPECT_EQ(register_as("c"), 1u);
    EXPECT_EQ(kov_api.sap, 0);
}

TEST_F(Registration, AnOverlongNameWithoutAnEndIsNotReadPastWhatMakesItTooLong)
{
    const std::unique_ptr<char[]> name(new char[129]); // a block that ends with the name, and no NUL
    std::memset(name.get(), 'n', 129);
    EXPECT_EQ(register_as(name.get()), 0u);
    EXPECT_TRUE(platform.ipc.sent.empty());
}

// Deliberate: the trailing blank is part of the text.
TEST_F(Registration, TheTrailingBlankIsPartOfTheTextOfALibraryThatIsNotOpen)
{
    kov_api_close();
    kov_api_wait_for_init = 1;
    debug_on();
    EXPECT_EQ(register_as("arp"), 0u);
    expect_traces({"API called even before KOV is enabled, ignore", "arp - not initialized with KOV Api "});
    clear_traces();
    EXPECT_EQ(register_as(nullptr), 0u);
    expect_traces(
        {"API called even before KOV is enabled, ignore", "(null) - not initialized with KOV Api "});
    clear_traces();
    EXPECT_EQ(kov_deregister_client(), 0u);
    expect_traces({"API called even before KOV is enabled, ignore"});
    EXPECT_EQ(platform.calls.count(Call::ipc_sap_get), 0u);
}

// --------------------------------------------------------------------------------------------- success

TEST_F(Registration, ARegisterRequestThatWasSentIsPending)
{
    debug_on();
    EXPECT_EQ(register_client({4, 9}, "arp"), 1u);
    EXPECT_EQ(state(), (State{handle, its_sap, "arp", 0, 1, 1u << 4 | 1u << 9, handler}));
    EXPECT_EQ(kov_is_client_registration_done(), 0u);
    EXPECT_EQ(kov_is_client_attached(), 1u);
    expect_traces({"KOV Register request sent - uuid 0x4b4f5601, client name arp, sap 4107, "
                   "flags: 0x00000210"});
}

TEST_F(Registration, RegisteringAgainBeforeTheAcknowledgementSendsAgain)
{
    EXPECT_EQ(register_client({9}, "first"), 1u);
    platform.ipc.open(8, 300);
    const uint32_t types[21] = {4};
    EXPECT_EQ(kov_register_client(8, "second", types, nullptr), 1u);
    EXPECT_EQ(platform.ipc.sent.size(), 2u);
    EXPECT_EQ(state(), (State{8, 300, "second", 0, 1, 1u << 4, nullptr}));
}

TEST_F(Registration, RegisteringAgainAfterTheAcknowledgementDoesNothing)
{
    register_and_acknowledge({9});
    const State before = state();
    platform.calls.clear();
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_register_client(8, nullptr, nullptr, nullptr), 1u);
    EXPECT_EQ(state(), before);
    EXPECT_EQ(platform.calls.count(Call::ipc_sap_get), 0u);
    EXPECT_EQ(platform.ipc.sent.size(), 1u);
    expect_traces({});
}

TEST_F(Registration, TheAcknowledgementEndsTheWait)
{
    register_client({9});
    acknowledge();
    EXPECT_EQ(kov_api.registration_done, 1u);
    EXPECT_EQ(kov_api.ack_pending, 0u);
    EXPECT_EQ(kov_is_client_registration_done(), 1u);
    EXPECT_EQ(kov_api.cache_enabled, 1u);
}

TEST_F(Registration, ANullHandlerIsAccepted)
{
    EXPECT_EQ(kov_register_client(handle, "c", only_9, nullptr), 1u);
    EXPECT_EQ(kov_api.notify_callback, nullptr);
}

TEST_F(Registration, AClientMayRegisterUnderTheNameThatTheLibraryKeeps)
{
    register_as("arp");
    EXPECT_EQ(register_as(kov_api.client_name), 1u);
    EXPECT_STREQ(kov_api.client_name, "arp");
}

// ------------------------------------------------------------------------------------------- failed sends

// Deliberate: after a failed send handle and mask stay, and the client counts as attached.
TEST_F(Registration, AfterAFailedSendHandleAndMaskStayAndTheClientCountsAsAttached)
{
    platform.calls.fail(Call::ipc_send);
    debug_on();
    EXPECT_EQ(register_as("arp"), 0u);
    expect_traces({"ipc_send() failed, err: Connection refused"});
    EXPECT_EQ(state(), (State{handle, its_sap, "", 0, 0, 1u << 9, nullptr}));
    EXPECT_EQ(option_word(), 0u);
    EXPECT_EQ(kov_is_client_attached(), 1u);
    EXPECT_EQ(kov_is_mtype_not_registered(9, nullptr), 0u);
    EXPECT_EQ(kov_deregister_client(), 1u) << "nothing to withdraw";
    EXPECT_TRUE(platform.ipc.sent.empty());
    EXPECT_EQ(register_as("arp"), 1u);
}

TEST_F(Registration, ASecondRegistrationThatFailsKeepsTheFirstOnesPendingStateAndHandler)
{
    register_client({9}, "first");
    platform.calls.fail(Call::ipc_send);
    const uint32_t types[21] = {4};
    EXPECT_EQ(kov_register_client(handle, "second", types, nullptr), 0u);
    EXPECT_EQ(state(), (State{handle, its_sap, "first", 0, 1, 1u << 4, handler}));
}

TEST_F(Registration, AFailedSendIsTracedWithTheTextOfItsErrno)
{
    debug_on();
    for (const int error : {0, EAGAIN, EBADF, EMSGSIZE}) {
        clear_traces();
        platform.calls.fail(Call::ipc_send);
        platform.ipc.send_errno = error;
        EXPECT_EQ(register_as("c"), 0u);
        expect_traces({std::string("ipc_send() failed, err: ") + std::strerror(error)});
    }
}

TEST_F(Registration, ADeregistrationThatCannotBeSentChangesNothing)
{
    kov_rdb_geninfo_t record = {};
    kov_rdb_geninfo_default_init(&record);
    publish(record);
    register_and_acknowledge({4});
    const State before = state();
    const Counters cached = counters(KOV_RDB_GENINFO);
    platform.calls.fail(Call::ipc_send);
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_deregister_client(), 0u);
    expect_traces({"ipc_send() failed, err: Connection refused"});
    EXPECT_EQ(state(), before);
    EXPECT_EQ(option_word(), 0x10u);
    EXPECT_EQ(kov_api.cache_enabled, 1u);
    expect_counters(KOV_RDB_GENINFO, cached);
    EXPECT_EQ(kov_deregister_client(), 1u);
}

// --------------------------------------------------------------------------------------------- withdrawing

TEST_F(Registration, DeregisteringEmptiesTheCacheAndDetachesTheClient)
{
    kov_rdb_geninfo_t record = {};
    kov_rdb_geninfo_default_init(&record);
    publish(record);
    register_and_acknowledge({4});
    debug_on();
    clear_traces();
    EXPECT_EQ(kov_deregister_client(), 1u);
    EXPECT_EQ(state(), (State{-1, its_sap, "unit", 0, 0, 0, handler}));
    EXPECT_EQ(kov_api.cache_enabled, 0u);
    EXPECT_EQ(kov_is_client_attached(), 0u);
    expect_all_counters({{KOV_RDB_GENINFO, {.rdb_hits = 1}}});
    ASSERT_GE(traces().size(), 2u);
    EXPECT_EQ(traces()[0], "KOV De-Register request sent - uuid 0x4b4f5601, client name unit, sap 4107, "
                           "flags: 0x00000010");
    EXPECT_EQ(traces()[1], "Disabling caching of unit interested KOV data");
    EXPECT_EQ(traces().back(), "Removed caching of unit interested KOV data");
}

TEST_F(Registration, APendingRegistrationCanBeWithdrawn)
{
    register_client({9});
    EXPECT_EQ(kov_deregister_client(), 1u);
    EXPECT_EQ(platform.ipc.sent.size(), 2u);
    EXPECT_EQ(kov_api.ack_pending, 0u);
    EXPECT_EQ(dispatch(KOV_MTYPE_REGISTER_ACK), 0u) << "an acknowledgement that comes too late";
    EXPECT_EQ(kov_is_client_registration_done(), 0u);
}

TEST_F(Registration, WithNothingToWithdrawNothingIsSent)
{
    debug_on();
    EXPECT_EQ(kov_deregister_client(), 1u);
    EXPECT_TRUE(platform.ipc.sent.empty());
    expect_traces({});
    EXPECT_EQ(state(), (State{-1, 0, "", 0, 0, 0, nullptr}));
    register_client({9});
    kov_deregister_client();
    EXPECT_EQ(kov_deregister_client(), 1u);
    EXPECT_EQ(platform.ipc.sent.size(), 2u);
}

// Emptying the SVI cache yields after each entry.
TEST_F(Registration, ARegistrationThatAnotherTaskMakesWhileTheCacheIsEmptiedIsKept)
{
    kov_rdb_sviinfo_t svi = {};
    svi.svi_ifindex = 10;
    svi.fwd_mode = KOV_FWD_MODE_ANYCAST_GATEWAY;
    publish(svi);
    register_and_acknowledge({9});
    platform.sched.at_yield[1] = [&] { EXPECT_EQ(register_client({4, 9}, "anew"), 1u); };
    EXPECT_EQ(kov_deregister_client(), 1u);
    EXPECT_EQ(platform.sched.yields, 1u);
    EXPECT_EQ(state(), (State{handle, its_sap, "anew", 0, 1, 1u << 4 | 1u << 9, handler}));
    EXPECT_EQ(option_word(), 0x10u);

    acknowledge();
    EXPECT_EQ(kov_api.cache_enabled, 1u);
    EXPECT_EQ(counters(KOV_RDB_SVIINFO).allocs, 1u);
    EXPECT_EQ(kov_deregister_client(), 1u);
    EXPECT_EQ(kov_is_client_attached(), 0u);
}

TEST_F(Registration, WhileTheCacheIsEmptiedOtherTasksMayDeregisterCloseAndAsk)
{
    kov_rdb_sviinfo_t svi = {};
    svi.fwd_mode = KOV_FWD_MODE_ANYCAST_GATEWAY;
    for (const uint32_t ifindex : {10u, 20u, 30u}) {
        svi.svi_ifindex = ifindex;
        publish(svi);
    }
    const std::function<void()> tasks[] = {
        [] { EXPECT_EQ(kov_deregister_client(), 1u); },
        [] { EXPECT_EQ(kov_api_close(), 1u); },
        [this] { EXPECT_EQ(dispatch(9, kov_word_update{10}), 0u); },
        [] { EXPECT_EQ(kov_api_disable_cache(), 1u); },
        [] { EXPECT_EQ(kov_get_fabric_id(), 0u); },
    };
    for (const auto &task : tasks) {
        register_and_acknowledge({9});
        EXPECT_EQ(counters(KOV_RDB_SVIINFO).allocs, 3u);
        platform.sched.yields = 0;
        platform.sched.at_yield = {{2, task}};
        EXPECT_EQ(kov_deregister_client(), 1u);
        EXPECT_GE(platform.sched.yields, 2u);
        EXPECT_EQ(kov_is_client_attached(), 0u);
        EXPECT_EQ(kov_api.mtype_mask, 0u);
        EXPECT_EQ(platform.leaks().blocks, 0u);
    }
}

TEST_F(Registration, AClientCanRegisterAgain)
{
    register_and_acknowledge({9});
    kov_deregister_client();
    EXPECT_EQ(register_client({4}, "again"), 1u);
    EXPECT_EQ(state(), (State{handle, its_sap, "again", 0, 1, 1u << 4, handler}));
}

// ----------------------------------------------------------------------------------------- is it done?

TEST_F(Registration, WhetherItIsDoneIsUnknownToALibraryThatIsNotOpen)
{
    register_and_acknowledge({9});
    kov_api_close();
    kov_api_wait_for_init = 1;
    EXPECT_EQ(kov_api.registration_done, 1u);
    debug_on();
    EXPECT_EQ(kov_is_client_registration_done(), 0u);
    expect_traces({"API called even before KOV is enabled, ignore",
                   "kov_is_client_registration_done(): Not initialized with KOV Api"});
}

} // namespace
