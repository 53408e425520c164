// What a client asks the server about a host: the key that is sent, and what is refused before.
#include "samples.h"

#include <kov/kov_profile.h>

namespace
{

using fake::Bytes;
using fake::Call;

constexpr std::size_t key_at = 172, key_size = 5374;

// The 5374 bytes of a user-host key, group by group as it is laid out.
struct Key {
    uint8_t op;
    uint32_t uuid;
    uint32_t host_ref;
    Bytes data;
    const kov_profile_options_t *options = nullptr;

    Bytes bytes() const
    {
        Bytes all = {6, op};
        append(all, uuid);
        append(all, host_ref);
        all.push_back(static_cast<uint8_t>(data.size()));
        all.insert(all.end(), data.begin(), data.end());
        all.resize(11 + 45);
        if (options)
            append(all, *options);
        all.resize(key_size);
        return all;
    }

private:
    template <class T>
    static void append(Bytes &to, const T &value)
    {
        const Bytes bytes = bytes_of(value);
        to.insert(to.end(), bytes.begin(), bytes.end());
    }
};

class ProfileHosts : public Lab
{
protected:
    ProfileHosts()
    {
        EXPECT_EQ(register_client({12}), 1u);
        platform.ipc.sent.clear();
        kov_profile_options_init(&options);
        options.entity_id_type = 0;
        options.vni = 5000;
        debug_on();
    }

    uint32_t add(uint8_t entity, uint32_t vni, uint32_t vlan)
    {
        options.entity_id_type = entity;
        options.vni = vni;
        options.vlan = vlan;
        return kov_profile_add_host(7, 3, host, &options);
    }
    // The key of the only message that was sent since the last time.
    Bytes sent_key()
    {
        EXPECT_EQ(platform.ipc.sent.size(), 1u);
        if (platform.ipc.sent.size() != 1 || platform.ipc.sent[0].payload.size() != key_size + 176)
            return {};
        Bytes key = bytes_at(&platform.ipc.sent[0].payload[key_at], key_size);
        platform.ipc.sent.clear();
        return key;
    }
    void expect_refused(const std::vector<std::string> &texts)
    {
        EXPECT_TRUE(platform.ipc.sent.empty());
        EXPECT_EQ(kov_api.profile_key_count, 0);
        EXPECT_EQ(kov_api.profile_msg_len, 0u);
        expect_traces(texts);
        clear_traces();
    }

    const uint8_t host[46] = {'a', 'b', 'c', 4, 5, 6};
    const Bytes abc = {'a', 'b', 'c'};
    kov_profile_options_t options;
};

const char *const is_sent = "Client unit(sap 4107), has sent profile trigger to KOV";

TEST_F(ProfileHosts, AnAddIsSentWithOp3AndAllItsOptions)
{
    std::memset(&options, 0xAB, sizeof options);
    EXPECT_EQ(add(0, 4096, 0), 1u);
    EXPECT_EQ(sent_key(), (Key{3, fake::System::uuid, 7, abc, &options}.bytes()));
    expect_traces({is_sent});
}

TEST_F(ProfileHosts, ADeleteIsSentWithOp4AndNoOptions)
{
    EXPECT_EQ(kov_profile_del_host(0xFFFFFFFF, 3, host), 1u);
    EXPECT_EQ(sent_key(), (Key{4, fake::System::uuid, 0xFFFFFFFF, abc}.bytes()));
}

TEST_F(ProfileHosts, ACheckIsSentWithOp250AndNoOptions)
{
    EXPECT_EQ(kov_profile_check_host(0, 3, host), 1u);
    EXPECT_EQ(sent_key(), (Key{250, fake::System::uuid, 0, abc}.bytes()));
}

// Deliberate: 45 bytes are accepted although the text says "shorter".
TEST_F(ProfileHosts, AKeyOf45BytesIsAcceptedAlthoughTheTextSaysShorter)
{
    EXPECT_EQ(kov_profile_del_host(1, 45, host), 1u);
    EXPECT_EQ(sent_key(), (Key{4, fake::System::uuid, 1, bytes_at(host, 45)}.bytes()));
    clear_traces();
    for (const uint8_t length : {uint8_t{46}, uint8_t{255}}) {
        EXPECT_EQ(kov_profile_add_host(1, length, host, &options), 0u);
        EXPECT_EQ(kov_profile_del_host(1, length, host), 0u);
        EXPECT_EQ(kov_profile_check_host(1, length, host), 0u);
        expect_refused({"kov_profile_add_del_host(): key should be shorter than 45 bytes",
                        "kov_profile_add_del_host(): key should be shorter than 45 bytes",
                        "kov_profile_add_del_host(): key should be shorter than 45 bytes"});
    }
}

TEST_F(ProfileHosts, AKeyOfNoBytesIsSentAndNullBytesAreRefused)
{
    EXPECT_EQ(kov_profile_del_host(1, 0, nullptr), 1u);
    EXPECT_EQ(sent_key(), (Key{4, fake::System::uuid, 1, {}}.bytes()));
    clear_traces();
    EXPECT_EQ(kov_profile_del_host(1, 1, nullptr), 0u);
    expect_refused({});
    clear_traces();
    EXPECT_EQ(kov_profile_add_host(1, 1, nullptr, nullptr), 0u);
    expect_refused({"kov_profile_add_del_host(): invalid profile option"});
    clear_traces();
    EXPECT_EQ(kov_profile_add_host(1, 46, nullptr, nullptr), 0u);
    expect_refused({"kov_profile_add_del_host(): key should be shorter than 45 bytes"});
}

TEST_F(ProfileHosts, AnAddWithoutOptionsIsRefused)
{
    EXPECT_EQ(kov_profile_add_host(7, 3, host, nullptr), 0u);
    expect_refused({"kov_profile_add_del_host(): invalid profile option"});
}

TEST_F(ProfileHosts, AnAddIsCheckedByItsEntity)
{
    const char *const vni = "kov_profile_add_del_host(): invalid vni";
    const char *const vlan = "kov_profile_add_del_host(): invalid vlan";
    const char *const entity = "kov_profile_add_del_host(): unknown profile entity id type";
    const struct {
        uint8_t entity;
        uint32_t vni, vlan;
        const char *refused; // null: sent
        const char *warned = nullptr;
    } cases[] = {
        {0, 4095, 1, vni},
        {0, 0, 1, vni},
        {0, 4096, 0, nullptr},
        {0, 0xFFFFFFFF, 0, nullptr},
        {1, 5000, 0, vlan},
        {1, 5000, 4096, vlan},
        {1, 5000, 0xFFFFFFFF, vlan},
        {1, 0, 1, nullptr},
        {1, 0, 4095, nullptr},
        {16, 5000, 0, vlan},
        {16, 5000, 4096, vlan},
        {16, 0, 1, nullptr},
        {16, 0, 4095, nullptr},
        {32, 0, 0, nullptr},
        {33, 0, 0, nullptr},
        {49, 0, 0, nullptr},
        // Deliberate: a warning only, the request is still sent.
        {2, 0, 0, nullptr, entity},
        {15, 0, 0, nullptr, entity},
        {17, 0, 0, nullptr, entity},
        {48, 0, 0, nullptr, entity},
        {50, 0, 0, nullptr, entity},
        {255, 0, 0, nullptr, entity},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << unsigned{c.entity} << ' ' << c.vni << ' ' << c.vlan);
        EXPECT_EQ(add(c.entity, c.vni, c.vlan), c.refused ? 0u : 1u);
        if (c.refused) {
            expect_refused({c.refused});
            continue;
        }
        EXPECT_EQ(sent_key(), (Key{3, fake::System::uuid, 7, abc, &options}.bytes()));
        expect_traces(c.warned ? std::vector<std::string>{c.warned, is_sent}
                               : std::vector<std::string>{is_sent});
        clear_traces();
    }
}

TEST_F(ProfileHosts, ATestIdTakesThePlaceOfTheClientsOwnInTheKeyOnly)
{
    EXPECT_EQ(kov_set_profile_test_uuid(77), 1u);
    EXPECT_EQ(kov_profile_del_host(1, 3, host), 1u);
    uint32_t of_message = 0;
    std::memcpy(&of_message, &platform.ipc.sent.at(0).payload[20], sizeof of_message);
    EXPECT_EQ(of_message, fake::System::uuid);
    EXPECT_EQ(sent_key(), (Key{4, 77, 1, abc}.bytes()));
    EXPECT_EQ(add(0, 4096, 0), 1u);
    EXPECT_EQ(sent_key(), (Key{3, 77, 7, abc, &options}.bytes()));
    EXPECT_EQ(kov_profile_check_host(1, 3, host), 1u);
    EXPECT_EQ(sent_key(), (Key{250, 77, 1, abc}.bytes()));
    EXPECT_EQ(kov_set_profile_test_uuid(0), 1u);
    EXPECT_EQ(kov_profile_del_host(1, 3, host), 1u);
    EXPECT_EQ(sent_key(), (Key{4, fake::System::uuid, 1, abc}.bytes()));
}

TEST_F(ProfileHosts, AFailedSendOrAllocationIs0)
{
    platform.calls.fail(Call::ipc_send);
    EXPECT_EQ(kov_profile_del_host(1, 3, host), 0u);
    expect_traces({"ipc send failed for client unit, sap 4107"});
    platform.calls.fail(Call::alloc);
    EXPECT_EQ(kov_profile_del_host(1, 3, host), 0u);
    EXPECT_EQ(kov_api.profile_msg_len, 5550u);
}

TEST_F(ProfileHosts, OpeningForgetsWhatIsPendingAndClosingSendsIt)
{
    EXPECT_EQ(kov_profile_host_api_close(), 1u);
    platform.calls.fail(Call::alloc);
    kov_profile_del_host(1, 3, host);
    EXPECT_EQ(kov_profile_host_api_open(), 1u);
    expect_refused({});
    platform.calls.fail(Call::alloc);
    kov_profile_del_host(1, 3, host);
    EXPECT_EQ(kov_profile_host_api_close(), 0u); // a length, but no message
    expect_refused({"ipc send failed for client unit, sap 4107"});
}

class UnattachedProfileHosts : public Lab
{
};

TEST_F(UnattachedProfileHosts, ARequestOfAClientThatIsNotAttachedIsAFailedSendFromTheLibraryItOpened)
{
    debug_on();
    EXPECT_EQ(kov_profile_del_host(1, 0, nullptr), 0u);
    EXPECT_EQ(kov_api.initialized, 1u);
    EXPECT_TRUE(traced("ipc send failed for client , sap 0"));
    EXPECT_EQ(platform.ipc.refused.size(), 1u);
    EXPECT_EQ(kov_api.profile_msg_len, 0u);
    EXPECT_EQ(kov_profile_host_api_close(), 1u); // nothing is left behind
}

class ClosedProfileHosts : public Lab
{
protected:
    ClosedProfileHosts()
    {
        kov_api_wait_for_init = 1;
        debug_on();
        clear_traces();
    }
    void expect_closed()
    {
        expect_traces(
            {"API called even before KOV is enabled, ignore", "Client not initialized with KOV API"});
        clear_traces();
        EXPECT_TRUE(platform.ipc.sent.empty());
    }
};

TEST_F(ClosedProfileHosts, EveryCallIsRefusedWithoutAnInitialisedLibraryAndBeforeItsArgumentsAreLookedAt)
{
    EXPECT_EQ(kov_profile_add_host(1, 46, nullptr, nullptr), 0u);
    expect_closed();
    EXPECT_EQ(kov_profile_del_host(1, 46, nullptr), 0u);
    expect_closed();
    EXPECT_EQ(kov_profile_check_host(1, 46, nullptr), 0u);
    expect_closed();
    EXPECT_EQ(kov_profile_host_api_open(), 0u);
    expect_closed();
    EXPECT_EQ(kov_profile_host_api_close(), 0u);
    expect_closed();
}

TEST_F(ClosedProfileHosts, OnlyTheTestIdNeedsNoInitialisedLibrary)
{
    EXPECT_EQ(kov_set_profile_test_uuid(77), 1u);
    EXPECT_EQ(kov_api.profile_test_uuid, 77u);
    expect_traces({});
}

} // namespace
