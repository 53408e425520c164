// What the dispatcher does with a good message: in which order, with which copy, and what a handler may do
// meanwhile.
#include "samples.h"

namespace
{

using fake::Bytes;
using fake::Call;

const char *const sees_no_profile = "Not KOV_MTYPE_PROFILE_MGMT message";

class DispatchOrder : public Lab
{
protected:
    DispatchOrder()
    {
        for (const uint32_t ifindex : {10u, 20u, 30u})
            platform.interfaces.add_vlan(ifindex, "vlan" + std::to_string(ifindex));
    }

    static kov_rdb_sviinfo_t svi(uint32_t ifindex, uint32_t mode = KOV_FWD_MODE_ANYCAST_GATEWAY)
    {
        return svi_in_mode(ifindex, mode);
    }

    // The dispatcher's own traces; the profile layer's remark that a message is not one of its own is left
    // to the profile layer's tests.
    void expect_own_traces(const std::vector<std::string> &expected) const
    {
        std::vector<std::string> own = traces();
        std::erase(own, sees_no_profile);
        EXPECT_EQ(own, expected);
    }

    uint32_t update_svi(uint32_t ifindex) { return dispatch(9, kov_word_update{ifindex}); }
};

// ------------------------------------------------------------------------------------------ acknowledgement

// Deliberate: the acknowledgement enables caching although its type may not be registered for.
TEST_F(DispatchOrder, TheAcknowledgementEnablesCachingAlthoughItsTypeMayNotBeRegisteredFor)
{
    publish(svi(10));
    register_client({9});
    debug_on();
    EXPECT_EQ(dispatch_bytes(message(KOV_MTYPE_REGISTER_ACK)), 0u);
    EXPECT_EQ(kov_api.registration_done, 1u);
    EXPECT_EQ(kov_api.ack_pending, 0u);
    expect_all_counters(
        {{KOV_RDB_SVIINFO, {.cached = 1, .rdb_hits = 2, .allocs = 1, .bytes = 16, .data = true}}});
    EXPECT_TRUE(received.empty());
    ASSERT_GE(traces().size(), 4u);
    EXPECT_EQ(traces().front(), "Received IPC_OPC_KOV msg with type: 2");
    EXPECT_EQ(traces()[1], "Enabling caching of unit interested KOV data (0x00000200)");
    EXPECT_EQ(*(traces().end() - 2), "Cached, unit interested KOV data (0x00000200)");
    EXPECT_EQ(traces().back(), "Received unexpected mtype(0x00000002) in kov_dispatch(0x00000200)");
}

TEST_F(DispatchOrder, AClientThatRegisteredForTheAcknowledgementReceivesItWithItsCacheFilled)
{
    publish(svi(10));
    register_client({2, 9});
    uint32_t cached = 0, done = 0;
    on_message = [&](const Received &) {
        cached = counters(KOV_RDB_SVIINFO).cached;
        done = kov_is_client_registration_done();
    };
    EXPECT_EQ(dispatch(KOV_MTYPE_REGISTER_ACK), 1u);
    ASSERT_EQ(received.size(), 1u);
    EXPECT_EQ(received[0].mtype, 2);
    EXPECT_EQ(received[0].bytes.size(), 161u);
    EXPECT_EQ(cached, 1u);
    EXPECT_EQ(done, 1u);
}

TEST_F(DispatchOrder, ASecondAcknowledgementChangesNothing)
{
    register_and_acknowledge({9});
    debug_on();
    EXPECT_EQ(dispatch(KOV_MTYPE_REGISTER_ACK), 0u);
    EXPECT_EQ(kov_api.registration_done, 1u);
    expect_traces({"Received IPC_OPC_KOV msg with type: 2", "KOV caching is already enabled, nothing to do",
                   "Received unexpected mtype(0x00000002) in kov_dispatch(0x00000200)"});
}

TEST_F(DispatchOrder, AMessageThatComesBeforeTheAcknowledgementIsDeliveredUncached)
{
    publish(svi(10));
    register_client({9});
    debug_on();
    EXPECT_EQ(update_svi(10), 1u);
    EXPECT_EQ(received.size(), 1u);
    expect_own_traces({"Received IPC_OPC_KOV msg with type: 9", "Updating cache not enabled for rdb_type 2"});
    EXPECT_EQ(kov_api.ack_pending, 1u);
    EXPECT_EQ(kov_api.registration_done, 0u);
}

// ------------------------------------------------------------------------------------ update, then deliver

// Deliberate: an update is applied whoever it was meant for.
TEST_F(DispatchOrder, AnUpdateIsAppliedWhoeverItWasMeantFor)
{
    register_and_acknowledge({9});
    publish(svi(10));
    debug_on();
    EXPECT_EQ(dispatch(15, kov_word_update{10}), 0u);
    EXPECT_TRUE(received.empty());
    EXPECT_EQ(traces().front(), "Received IPC_OPC_KOV msg with type: 15");
    EXPECT_EQ(traces().back(), "Received unexpected mtype(0x0000000f) in kov_dispatch(0x00000200)");
    EXPECT_EQ(counters(KOV_RDB_SVIINFO).allocs, 1u);
    EXPECT_EQ(kov_get_fwd_mode(10), 2u);
}

// Deliberate: the handler already sees the refreshed cache.
TEST_F(DispatchOrder, TheHandlerAlreadySeesTheRefreshedCache)
{
    publish(svi(10, KOV_FWD_MODE_PROXY_GATEWAY));
    register_and_acknowledge({9});
    publish(svi(10, KOV_FWD_MODE_ANYCAST_GATEWAY));
    EXPECT_EQ(kov_get_fwd_mode(10), 1u);
    uint32_t seen = 99;
    on_message = [&](const Received &) { seen = kov_get_fwd_mode(10); };
    EXPECT_EQ(update_svi(10), 1u);
    EXPECT_EQ(seen, 2u);
}

// Deliberate: every SVI message is read with stride 4, so what the second record names is not refreshed.
TEST_F(DispatchOrder, TheSecondRecordOfALongSviMessageIsReadFourBytesBehindTheFirst)
{
    for (const uint16_t mtype : {uint16_t{11}, uint16_t{18}}) {
        kov_clear_cache_rdb_sviinfo(1, nullptr);
        platform.db.clear();
        register_and_acknowledge({9, 11, 18});
        for (const uint32_t ifindex : {10u, 20u, 30u})
            publish(svi(ifindex));
        if (mtype == 11)
            EXPECT_EQ(dispatch(11, kov_fabric_ctrl_seg_update{10, 20, 0, 0, {}, {}},
                               kov_fabric_ctrl_seg_update{30, 1, 0, 0, {}, {}}),
                      1u);
        else
            EXPECT_EQ(dispatch(18, kov_svi_fwd_mode_update{10, 20, 0}, kov_svi_fwd_mode_update{30, 1, 0}),
                      1u);
        EXPECT_EQ(kov_get_fwd_mode(10), 2u) << mtype;
        EXPECT_EQ(kov_get_fwd_mode(20), 2u) << mtype;
        EXPECT_EQ(kov_get_fwd_mode(30), 0u) << mtype;
        EXPECT_EQ(counters(KOV_RDB_SVIINFO).allocs, 2u);
        EXPECT_EQ(kov_deregister_client(), 1u);
    }
}

TEST_F(DispatchOrder, AClientWithoutAHandlerHasStillTakenTheMessage)
{
    publish(svi(10));
    const uint32_t types[KOV_MTYPE_LIST_LENGTH] = {9};
    EXPECT_EQ(kov_register_client(fake::Transport::handle, "c", types, nullptr), 1u);
    acknowledge();
    EXPECT_EQ(update_svi(10), 1u);
    EXPECT_TRUE(received.empty());
}

struct Conversion {
    uint16_t mtype;
    Bytes wire, host; // one record
};

TEST_F(DispatchOrder, TheHandlerReadsHostOrderWhateverTheType)
{
    Bytes prefix_wire(61), prefix_host;
    prefix_wire[33] = 10, prefix_wire[36] = 1, prefix_wire[37] = 24;
    prefix_host = prefix_wire;
    std::swap(prefix_host[33], prefix_host[36]);
    Bytes segment_wire = {0, 0, 0, 1, 0, 0, 0, 2, 0, 3, 10, 0, 0, 4},
          segment_host = {1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 4, 0, 0, 10};
    segment_wire.resize(36, 0xEE);
    segment_host.resize(36, 0xEE);
    const Bytes mac = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    const Conversion cases[] = {
        {1, {}, {}},
        {2, {}, {}},
        {3, {}, {}},
        {4, {1, 2, 3, 4}, {4, 3, 2, 1}},
        {5, {1, 2, 3, 4}, {4, 3, 2, 1}},
        {6, {1, 2, 3, 4}, {4, 3, 2, 1}},
        {7, mac, mac},
        {8, prefix_wire, prefix_host},
        {9, {1, 2, 3, 4}, {4, 3, 2, 1}},
        {10, {1, 2, 3, 4}, {4, 3, 2, 1}},
        {11, segment_wire, segment_host},
        {12, {}, {}},
        {13, {1, 2, 3, 4, 5}, {4, 3, 2, 1, 5}},
        {14, {1, 2, 3, 4}, {4, 3, 2, 1}},
        {15, {1, 2, 3, 4}, {4, 3, 2, 1}},
        {16, {1, 2, 3, 4}, {4, 3, 2, 1}},
        {17, {1, 2, 3, 4, 5, 6, 7, 8}, {4, 3, 2, 1, 8, 7, 6, 5}},
        {18, mac, {4, 3, 2, 1, 8, 7, 6, 5, 12, 11, 10, 9}},
        {19,
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24},
         {4, 3, 2, 1, 8, 7, 6, 5, 12, 11, 10, 9, 16, 15, 14, 13, 20, 19, 18, 17, 24, 23, 22, 21}},
        {20, {1, 2, 3, 4}, {4, 3, 2, 1}},
    };
    register_client({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20});
    for (const Conversion &c : cases) {
        Bytes wire = message(c.mtype);
        const auto total = static_cast<uint8_t>(161 + c.wire.size());
        wire[23] = c.wire.empty() ? 0 : 1;
        wire[27] = total;
        wire.insert(wire.end(), c.wire.begin(), c.wire.end());
        received.clear();
        EXPECT_EQ(dispatch_bytes(wire), 1u) << c.mtype;
        ASSERT_EQ(received.size(), 1u);
        EXPECT_EQ(received[0].mtype, c.mtype);
        EXPECT_EQ(received[0].count, c.wire.empty() ? 0u : 1u);
        EXPECT_EQ(Bytes(received[0].bytes.begin() + 161, received[0].bytes.end()), c.host) << c.mtype;
    }
}

// ------------------------------------------------------------------------------------------------ the copy

TEST_F(DispatchOrder, TheTransportsMessageIsNeverModified)
{
    register_and_acknowledge({9});
    const Bytes wire = message(9, kov_word_update{0x01020304}, kov_word_update{0x05060708});
    const fake::Message kept(KOV_OPC_CLIENT, wire);
    EXPECT_EQ(kov_dispatch(kept.get()), 1u);
    const void *const payload = ipc_payload_get(kept.get());
    EXPECT_EQ(std::memcmp(payload, wire.data(), wire.size()), 0);
    EXPECT_EQ(kov_dispatch(kept.get()), 1u) << "so it can be dispatched again";
    EXPECT_EQ(received[0].bytes, received[1].bytes);
}

TEST_F(DispatchOrder, AMessageCostsOneAllocationWhichIsFreed)
{
    register_and_acknowledge({9});
    for (const uint32_t ifindex : {0u, 10u}) {
        platform.calls.clear();
        EXPECT_EQ(update_svi(ifindex), 1u);
        EXPECT_EQ(platform.calls.count(Call::alloc), 1u);
        EXPECT_EQ(platform.leaks(), fake::Leaks());
    }
    platform.calls.clear();
    Bytes damaged = message(9, kov_word_update{10});
    damaged[27] = 164;
    EXPECT_EQ(dispatch_bytes(damaged), 0u);
    EXPECT_EQ(platform.calls.count(Call::alloc), 1u);
    EXPECT_EQ(platform.leaks(), fake::Leaks());
}

TEST_F(DispatchOrder, TheCopyHoldsUntilTheHandlerReturns)
{
    static Bytes seen;
    static std::size_t block;
    const uint32_t types[KOV_MTYPE_LIST_LENGTH] = {9};
    EXPECT_EQ(kov_register_client(fake::Transport::handle, "c", types,
                                  [](const kov_client_msg *msg) {
                                      block = fake::platform().heap.size_of(msg);
                                      kov_deregister_client();
                                      kov_api_close();
                                      const auto *const bytes = reinterpret_cast<const uint8_t *>(msg);
                                      seen = Bytes(bytes + 161, bytes + msg->length);
                                  }),
              1u);
    EXPECT_EQ(dispatch(9, kov_word_update{0x01020304}), 1u);
    EXPECT_EQ(block, 165u);
    EXPECT_EQ(seen, (Bytes{4, 3, 2, 1}));
    EXPECT_EQ(platform.leaks(), fake::Leaks());
}

// ------------------------------------------------------------------------------------ what a handler may do

TEST_F(DispatchOrder, AHandlerMayDeregister)
{
    publish(svi(10));
    register_and_acknowledge({9});
    on_message = [&](const Received &) { EXPECT_EQ(kov_deregister_client(), 1u); };
    EXPECT_EQ(update_svi(10), 1u);
    EXPECT_EQ(kov_is_client_attached(), 0u);
    EXPECT_EQ(platform.leaks(), fake::Leaks());
    EXPECT_EQ(update_svi(10), 0u);
    EXPECT_EQ(received.size(), 1u);
}

TEST_F(DispatchOrder, AHandlerMayCloseAndOpenTheLibrary)
{
    publish(svi(10));
    register_and_acknowledge({9});
    on_message = [&](const Received &) {
        EXPECT_EQ(kov_api_close(), 1u);
        EXPECT_EQ(kov_api_init(), 1u);
    };
    EXPECT_EQ(update_svi(10), 1u);
    EXPECT_EQ(kov_is_client_attached(), 0u);
    EXPECT_EQ(platform.leaks(), fake::Leaks());
}

TEST_F(DispatchOrder, AHandlerMayCloseWithoutOpeningAgain)
{
    publish(svi(10));
    register_and_acknowledge({9});
    on_message = [&](const Received &) { kov_api_close(); };
    debug_on();
    EXPECT_EQ(update_svi(10), 1u);
    EXPECT_EQ(kov_api.initialized, 0u);
    EXPECT_EQ(traces().back(), "KOV Api successfully de-initialized");
}

TEST_F(DispatchOrder, AHandlerMayRegisterForOtherMessages)
{
    register_and_acknowledge({9});
    on_message = [&](const Received &got) {
        if (got.mtype != 9)
            return;
        EXPECT_EQ(kov_deregister_client(), 1u);
        EXPECT_EQ(register_client({4}), 1u);
    };
    EXPECT_EQ(update_svi(10), 1u);
    EXPECT_EQ(kov_api.mtype_mask, 1u << 4);
    EXPECT_EQ(kov_api.ack_pending, 1u);
    acknowledge();
    EXPECT_EQ(dispatch(4, kov_word_update{1}), 1u);
    EXPECT_EQ(update_svi(10), 0u);
}

TEST_F(DispatchOrder, AHandlerMayDispatchAndItsOwnMessageStays)
{
    for (uint32_t i = 1; i <= 4; ++i)
        publish(svi(i));
    register_and_acknowledge({9});
    std::vector<uint8_t> order;
    on_message = [&](const Received &got) {
        order.push_back(got.bytes[161]);
        if (received.size() < 4) {
            const auto next = static_cast<uint32_t>(received.size() + 1);
            EXPECT_EQ(dispatch(9, kov_word_update{next}), 1u);
        }
        order.push_back(got.bytes[161]);
    };
    EXPECT_EQ(update_svi(1), 1u);
    EXPECT_EQ(order, (std::vector<uint8_t>{1, 2, 3, 4, 4, 3, 2, 1}));
    EXPECT_EQ(counters(KOV_RDB_SVIINFO).allocs, 4u);
}

TEST_F(DispatchOrder, AHandlerMayQueryAndItsMessageStays)
{
    static Bytes seen;
    kov_rdb_geninfo_t general = default_general_info();
    general.fabric_id = 77;
    publish(general);
    publish(svi(10));
    const uint32_t types[KOV_MTYPE_LIST_LENGTH] = {9};
    EXPECT_EQ(kov_register_client(fake::Transport::handle, "c", types,
                                  [](const kov_client_msg *msg) {
                                      EXPECT_EQ(kov_get_fabric_id(), 77u);
                                      EXPECT_NE(kov_get_anycast_gateway_mac(), nullptr);
                                      const auto *const bytes = reinterpret_cast<const uint8_t *>(msg);
                                      seen = Bytes(bytes + 161, bytes + msg->length);
                                  }),
              1u);
    EXPECT_EQ(dispatch(9, kov_word_update{10}), 1u);
    EXPECT_EQ(seen, (Bytes{10, 0, 0, 0}));
}

TEST_F(DispatchOrder, AHandlerThatIsReplacedInsideFinishesAndTheNewOneGetsTheNextMessage)
{
    static int second;
    second = 0;
    register_client({9});
    on_message = [&](const Received &) {
        const uint32_t types[KOV_MTYPE_LIST_LENGTH] = {9};
        EXPECT_EQ(kov_register_client(fake::Transport::handle, "c", types,
                                      [](const kov_client_msg *) { ++second; }),
                  1u);
    };
    EXPECT_EQ(update_svi(1), 1u);
    EXPECT_EQ(second, 0);
    EXPECT_EQ(update_svi(1), 1u);
    EXPECT_EQ(second, 1);
    EXPECT_EQ(received.size(), 1u);
}

} // namespace
