// The server's profile messages, from the dispatcher to the client's callbacks.
#include "samples.h"

#include <kov/kov_profile.h>

namespace
{

using fake::Bytes;

constexpr std::size_t key_at = 161, options_at = key_at + 56, reply_at = 5535, end_at = 5555;

// What a callback was given, copied during the call.
struct Called {
    std::string which;
    uint32_t code, op, host_ref, key_len;
    Bytes key_data, reply, options;
    bool operator==(const Called &) const = default;
};

std::ostream &operator<<(std::ostream &out, const Called &c)
{
    return out << c.which << " code " << c.code << " op " << c.op << " ref " << c.host_ref << " key_len "
               << c.key_len;
}

class ProfileDispatch;
ProfileDispatch *current;

class ProfileDispatch : public Lab
{
protected:
    ProfileDispatch() : message(end_at)
    {
        current = this;
        put<uint16_t>(0, 53);
        put<uint16_t>(2, 12);
        message[20 + 3] = 1; // the count, in network order
        message[key_at] = 6;
        message[key_at + 1] = 3;
        put<uint32_t>(key_at + 2, 0x11111111);
        put<uint32_t>(key_at + 6, 0x22334455);
        message[key_at + 10] = 4;
        for (std::size_t i = 0; i < 45; ++i)
            message[key_at + 11 + i] = static_cast<uint8_t>(0x40 + i);
        for (std::size_t i = options_at; i < reply_at; ++i)
            message[i] = static_cast<uint8_t>(i * 3);
        put<uint32_t>(reply_at + 4, 5000);
        put<uint16_t>(reply_at + 8, 10);
        put<uint32_t>(reply_at + 12, 50);
        put<uint32_t>(reply_at + 16, 0x99999999);
        register_and_acknowledge({12});
        debug_on();
    }
    ~ProfileDispatch() override { current = nullptr; }

    template <class T>
    void put(std::size_t at, T value)
    {
        std::memcpy(&message[at], &value, sizeof value);
    }
    void set_code(uint32_t code) { put(reply_at, code); }
    uint32_t dispatch_code(uint32_t code)
    {
        set_code(code);
        clear_traces();
        calls.clear();
        received.clear();
        return dispatch_bytes(message);
    }
    void register_callbacks(bool resp = true, bool check = true, bool clear = true)
    {
        const kov_profile_callbacks callbacks = {resp ? on_response : nullptr, check ? on_check : nullptr,
                                                 clear ? on_clear : nullptr};
        EXPECT_EQ(kov_profile_register_callback(&callbacks), 1u);
    }
    Called expected(const std::string &which, uint32_t code, uint32_t op) const
    {
        return {which,
                code,
                op,
                0x22334455,
                4,
                bytes_at(&message[key_at + 11], 45),
                bytes_at(&message[reply_at], 20),
                bytes_at(&message[options_at], 5318)};
    }
    // The message as the library's own calls see it: in host order.
    const kov_client_msg *in_host_order()
    {
        std::swap(message[20], message[23]);
        return reinterpret_cast<const kov_client_msg *>(message.data());
    }

    template <char Which>
    static uint32_t on_call(uint32_t code, uint32_t op, uint32_t host_ref, uint32_t key_len,
                            const uint8_t *key_data, const kov_profile_reply *reply,
                            const kov_profile_options_t *options)
    {
        if (!current)
            return 0;
        current->calls.push_back({std::string(1, Which), code, op, host_ref, key_len, bytes_at(key_data, 45),
                                  bytes_at(reply, 20), bytes_at(options, 5318)});
        if (current->in_callback)
            current->in_callback();
        return current->callback_result;
    }
    static constexpr kov_profile_callback on_response = on_call<'r'>, on_check = on_call<'c'>,
                                          on_clear = on_call<'x'>;

    Bytes message;
    std::vector<Called> calls;
    std::function<void()> in_callback;
    uint32_t callback_result = 1;
};

TEST_F(ProfileDispatch, AReplyGoesToTheResponseCallbackWithItsCodeAndTheKeysOp)
{
    register_callbacks();
    for (const uint32_t code : {22u, 1u, 2u, 0u, 4u, 40u, 48u, 49u, 0xFFFFFFFFu}) {
        EXPECT_EQ(dispatch_code(code), 1u);
        EXPECT_EQ(calls, std::vector{expected("r", code, 3)});
        EXPECT_TRUE(received.empty());
    }
}

// Deliberate: a check is presented as a check, whatever the key says.
TEST_F(ProfileDispatch, Code3GoesToTheCheckCallbackAsACheckWhateverTheKeySays)
{
    register_callbacks();
    EXPECT_EQ(dispatch_code(3), 1u);
    EXPECT_EQ(calls, std::vector{expected("c", 3, 250)});
}

// Deliberate: a clear is presented as a delete, whatever the key says.
TEST_F(ProfileDispatch, Codes41To47GoToTheClearCallbackAsADeleteWhateverTheKeySays)
{
    register_callbacks();
    for (uint32_t code = 41; code <= 47; ++code) {
        EXPECT_EQ(dispatch_code(code), 1u);
        EXPECT_EQ(calls, std::vector{expected("x", code, 4)});
    }
}

TEST_F(ProfileDispatch, WithoutItsCallbackAMessageGoesToTheHandler)
{
    const struct {
        bool resp, check, clear;
        uint32_t code;
    } cases[] = {{false, true, true, 22}, {true, false, true, 3}, {true, true, false, 46}};
    for (const auto &c : cases) {
        register_callbacks(c.resp, c.check, c.clear);
        EXPECT_EQ(dispatch_code(c.code), 1u);
        EXPECT_TRUE(calls.empty());
        ASSERT_EQ(received.size(), 1u);
        EXPECT_EQ(received[0].mtype, 12);
        EXPECT_FALSE(traced("IPC message consumed by kov_profile_dispatch_uhost()"));
        // The profile layer itself says that nothing was delivered.
        EXPECT_EQ(kov_profile_dispatch_uhost(in_host_order()), 0);
        in_host_order(); // back to network order
    }
}

TEST_F(ProfileDispatch, TheResultOfACallbackIsIgnored)
{
    register_callbacks();
    callback_result = 0;
    EXPECT_EQ(dispatch_code(22), 1u);
    EXPECT_EQ(calls.size(), 1u);
    EXPECT_TRUE(received.empty());
}

TEST_F(ProfileDispatch, EveryStepIsTraced)
{
    register_callbacks();
    message[23] = 9;
    dispatch_code(46);
    expect_traces(
        {"Received IPC_OPC_KOV msg with type: 12", "Received KOV_MTYPE_PROFILE_MGMT with 9 entries\n",
         "[Entry #1] key type (6: UHost Key) with len (5374) and return value (46: Clear: VNI deleted)",
         "Handle KOV UHOST message, Msg type 3, Seg ID 5000, Vlan 50, BD 10\n",
         "Execute kov clear callback\n", "IPC message consumed by kov_profile_dispatch_uhost()"});
    dispatch_code(3);
    EXPECT_TRUE(traced("Execute kov check callback\n"));
    dispatch_code(22);
    EXPECT_TRUE(traced("Execute resp callback\n"));
}

// Deliberate: one entry, also when the count says more.
TEST_F(ProfileDispatch, OneEntryIsDeliveredAlsoWhenTheCountSaysMore)
{
    register_callbacks();
    message[23] = 9;
    EXPECT_EQ(dispatch_code(1), 1u);
    EXPECT_EQ(calls.size(), 1u);
    message[23] = 0;
    EXPECT_EQ(dispatch_code(1), 1u);
    EXPECT_EQ(calls.size(), 1u);
}

TEST_F(ProfileDispatch, OneEntryIsDeliveredWhateverACallbackDoesToTheReader)
{
    register_callbacks();
    in_callback = [] { kov_profile_get_key_init(); };
    EXPECT_EQ(dispatch_code(1), 1u);
    EXPECT_EQ(calls.size(), 1u);
}

TEST_F(ProfileDispatch, AnotherKeyIsNamedAndGoesToTheHandler)
{
    register_callbacks();
    for (const auto &[type, text] :
         std::vector<std::pair<uint8_t, std::string>>{{2, "Not KOV_PROFILE_UHOST_KEY: (2) VDP Key"},
                                                      {0, "Not KOV_PROFILE_UHOST_KEY: (0) VLAN Key"},
                                                      {7, "Not KOV_PROFILE_UHOST_KEY: (7) (null)"},
                                                      {255, "Not KOV_PROFILE_UHOST_KEY: (255) (null)"}}) {
        message[key_at] = type;
        EXPECT_EQ(dispatch_code(1), 1u);
        EXPECT_TRUE(calls.empty());
        EXPECT_EQ(received.size(), 1u);
        expect_traces({"Received IPC_OPC_KOV msg with type: 12", text});
    }
}

TEST_F(ProfileDispatch, AMessageThatIsTooShortForItsKeyAndReplyGoesToTheHandlerUnread)
{
    register_callbacks();
    for (const std::size_t size : {std::size_t{161}, std::size_t{162}, reply_at, end_at - 1}) {
        SCOPED_TRACE(size);
        message.resize(size);
        clear_traces();
        received.clear();
        EXPECT_EQ(dispatch_bytes(message), 1u);
        EXPECT_TRUE(calls.empty());
        EXPECT_EQ(received.size(), 1u);
        expect_traces({"Received IPC_OPC_KOV msg with type: 12"});
        message.resize(end_at);
        message[key_at] = 6;
    }
}

TEST_F(ProfileDispatch, AShortMessageWithAnotherKeyIsOnlyReadAsFarAsItsKeysType)
{
    register_callbacks();
    message.resize(162);
    message[key_at] = 4;
    EXPECT_EQ(dispatch_bytes(message), 1u);
    EXPECT_TRUE(traced("Not KOV_PROFILE_UHOST_KEY: (4) CLI Key"));
    EXPECT_EQ(received.size(), 1u);
}

TEST_F(ProfileDispatch, WithoutRegistrationForType12NothingIsOffered)
{
    kov_deregister_client();
    register_and_acknowledge({9});
    register_callbacks();
    EXPECT_EQ(dispatch_code(1), 0u);
    EXPECT_TRUE(calls.empty());
}

TEST_F(ProfileDispatch, MessagesOfOtherTypesAreOfferedAndRefused)
{
    kov_deregister_client();
    register_and_acknowledge({9, 12});
    clear_traces();
    received.clear();
    EXPECT_EQ(dispatch(9, kov_word_update{5}), 1u);
    EXPECT_TRUE(traced("Not KOV_MTYPE_PROFILE_MGMT message"));
    EXPECT_EQ(received.size(), 1u);
}

TEST_F(ProfileDispatch, ACallbackMayDeregisterAndCloseAndReplaceTheCallbacks)
{
    register_callbacks();
    in_callback = [this] {
        register_callbacks(false, false, false);
        EXPECT_EQ(kov_deregister_client(), 1u);
        EXPECT_EQ(kov_api_close(), 1u);
    };
    EXPECT_EQ(dispatch_code(1), 1u);
    EXPECT_EQ(calls.size(), 1u);
    EXPECT_EQ(kov_api.profile_resp_cb, nullptr);
}

// ------------------------------------------------------------------------------------------- registration

TEST_F(ProfileDispatch, RegisteringTakesAllThreeCallbacksAndSaysSo)
{
    register_callbacks();
    expect_traces({"kov_profile_register_callback(): Register profile callback"});
    EXPECT_EQ(kov_api.profile_resp_cb, on_response);
    EXPECT_EQ(kov_api.profile_check_cb, on_check);
    EXPECT_EQ(kov_api.profile_clear_cb, on_clear);
    EXPECT_EQ(kov_api.profile_cb_registered, 1u);
    register_callbacks(false, true, false); // replaces all three
    EXPECT_EQ(kov_api.profile_resp_cb, nullptr);
    EXPECT_EQ(kov_api.profile_check_cb, on_check);
    EXPECT_EQ(kov_api.profile_clear_cb, nullptr);
}

TEST_F(ProfileDispatch, RegisteringNullKeepsEarlierCallbacksAndSaysNothing)
{
    register_callbacks();
    clear_traces();
    EXPECT_EQ(kov_profile_register_callback(nullptr), 1u);
    EXPECT_EQ(kov_api.profile_resp_cb, on_response);
    expect_traces({});
}

TEST(ProfileCallbacks, AreRegisteredWithoutAnInitialisedLibrary)
{
    kov_api = {};
    const kov_profile_callbacks callbacks = {};
    EXPECT_EQ(kov_profile_register_callback(&callbacks), 1u);
    EXPECT_EQ(kov_api.profile_cb_registered, 1u);
    EXPECT_EQ(kov_api.initialized, 0u);
    kov_api = {};
}

class ClosedProfileDispatch : public Lab
{
};

TEST_F(ClosedProfileDispatch, AsksForNoOpenLibraryAndThePlatformForNothing)
{
    Bytes message(end_at);
    message[2] = 12;
    message[key_at] = 6;
    static uint32_t told;
    told = 0;
    const auto on_response = [](uint32_t code, uint32_t, uint32_t, uint32_t, const uint8_t *,
                                const kov_profile_reply *, const kov_profile_options_t *) {
        told = code;
        return 1u;
    };
    const kov_profile_callbacks callbacks = {on_response, nullptr, nullptr};
    message[reply_at] = 22;
    EXPECT_EQ(kov_profile_register_callback(&callbacks), 1u);
    const auto *const msg = reinterpret_cast<const kov_client_msg *>(message.data());
    EXPECT_EQ(kov_profile_validate_uhost(msg), 1);
    EXPECT_EQ(kov_profile_dispatch_uhost(msg), 1);
    EXPECT_EQ(told, 22u);
    EXPECT_EQ(kov_api.initialized, 0u);
    EXPECT_TRUE(platform.calls.log().empty());
}

// --------------------------------------------------------------------------------- the calls one by one

TEST_F(ProfileDispatch, NullMessagesAreEmpty)
{
    EXPECT_EQ(kov_profile_validate_uhost(nullptr), 0);
    EXPECT_EQ(kov_profile_dispatch_uhost(nullptr), 0);
    expect_traces({"kov ipc msg is empty", "kov ipc msg is empty"});
}

TEST_F(ProfileDispatch, ValidationTakesUserHostKeysInProfileMessagesOnly)
{
    const kov_client_msg *const msg = in_host_order();
    EXPECT_EQ(kov_profile_validate_uhost(msg), 1);
    expect_traces({});
    message[2] = 11;
    EXPECT_EQ(kov_profile_validate_uhost(msg), 0);
    expect_traces({"Not KOV_MTYPE_PROFILE_MGMT message"});
}

TEST_F(ProfileDispatch, HandlingOneKeyGoesByTheReplysOwnCode)
{
    register_callbacks();
    clear_traces();
    const auto *const key = reinterpret_cast<const kov_uhost_key_t *>(&message[key_at]);
    const auto *const reply = reinterpret_cast<const kov_profile_reply *>(&message[reply_at]);
    set_code(45);
    EXPECT_EQ(kov_profile_handle_uhost_key(3, key, reply), 1u);
    EXPECT_EQ(calls, std::vector{expected("x", 45, 4)});
    clear_traces();
    EXPECT_EQ(kov_profile_handle_uhost_key(3, nullptr, reply), 0u);
    EXPECT_EQ(kov_profile_handle_uhost_key(3, key, nullptr), 0u);
    expect_traces({"invalid KOV response", "invalid KOV response"});
    EXPECT_EQ(calls.size(), 1u);
}

TEST_F(ProfileDispatch, HandlingOneKeyWithoutACallbackIs0)
{
    const auto *const key = reinterpret_cast<const kov_uhost_key_t *>(&message[key_at]);
    const auto *const reply = reinterpret_cast<const kov_profile_reply *>(&message[reply_at]);
    for (const uint32_t code : {1u, 3u, 41u, 47u}) {
        set_code(code);
        clear_traces();
        EXPECT_EQ(kov_profile_handle_uhost_key(code, key, reply), 0u);
        expect_traces({"Handle KOV UHOST message, Msg type 3, Seg ID 5000, Vlan 50, BD 10\n"});
    }
}

} // namespace
