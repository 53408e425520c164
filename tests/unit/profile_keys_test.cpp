// Profile keys: types and results as tables, and the reader of a message's key.
#include "samples.h"

#include <kov/kov_profile.h>

namespace
{

using fake::Bytes;

class ProfileKeys : public Lab
{
};

TEST_F(ProfileKeys, HaveALengthAReplyAndATextEach)
{
    const struct {
        uint32_t type, len, data_len;
        const char *text;
    } rows[] = {
        {0, 28, 4, "VLAN Key"}, {1, 160, 4, "DHCP Key"}, {2, 100, 16, "VDP Key"},    {3, 284, 4, "VNSEG Key"},
        {4, 0, 4, "CLI Key"},   {5, 12, 4, "BGP Key"},   {6, 5374, 20, "UHost Key"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(kov_profile_key_type_to_len(row.type), row.len) << row.type;
        EXPECT_EQ(kov_profile_key_type_to_data_len(row.type), row.data_len) << row.type;
        EXPECT_STREQ(kov_profile_key_type_to_string(row.type), row.text) << row.type;
    }
}

// Deliberate: a type that nobody knows has no length and no text, but the usual reply data.
TEST_F(ProfileKeys, ThatNobodyKnowsHaveNoLengthAndNoTextButTheUsualReplyData)
{
    for (const uint32_t type : {7u, 8u, 255u, 256u, 0xFFFFFFFFu}) {
        EXPECT_EQ(kov_profile_key_type_to_len(type), 0u) << type;
        EXPECT_EQ(kov_profile_key_type_to_data_len(type), 4u) << type;
        EXPECT_EQ(kov_profile_key_type_to_string(type), nullptr) << type;
    }
}

// Deliberate: 47 shares the text of 46.
TEST_F(ProfileKeys, EveryResultCodeHasItsText)
{
    const struct {
        uint32_t first, last;
        const char *text;
    } rows[] = {
        {0, 0, "Error: Unknown"},
        {1, 1, "No Error"},
        {2, 2, "No Error: Refresh"},
        {3, 3, "No Error: Other"},
        {4, 20, "Error: Unknown"},
        {21, 21, "Error"},
        {22, 22, "Error: No profile found"},
        {23, 23, "Error: Invalid profile"},
        {24, 24, "Error: No VLAN"},
        {25, 25, "Error: No VNI"},
        {26, 26, "Error: ADMB error"},
        {27, 28, "Error: Other"},
        {29, 29, "Error: Invalid request"},
        {30, 30, "Error: No host found"},
        {31, 31, "Error: System not ready"},
        {32, 40, "Error: Other"},
        {41, 41, "Clear: Auto-config"},
        {42, 42, "Clear: Profile deleted"},
        {43, 43, "Clear: Profile changed"},
        {44, 44, "Clear: VLAN deleted"},
        {45, 45, "Clear: VLAN changed"},
        {46, 47, "Clear: VNI deleted"},
        {48, 48, "Error: Other"},
        {49, 300, "Error: Unknown"},
        {0xFFFFFFFF, 0xFFFFFFFF, "Error: Unknown"},
    };
    for (const auto &row : rows)
        for (uint64_t code = row.first; code <= row.last; ++code)
            EXPECT_STREQ(kov_profile_data_value_to_string(static_cast<uint32_t>(code)), row.text) << code;
}

class ProfileKeyReader : public Lab
{
protected:
    explicit ProfileKeyReader() : message(5555) { message[161] = 6; }
    const kov_client_msg *msg() const { return reinterpret_cast<const kov_client_msg *>(message.data()); }

    Bytes message;
    const uint8_t *key = nullptr;
};

TEST_F(ProfileKeyReader, YieldsTheKeyBehindTheHeaderAndTheReplyBehindTheKey)
{
    EXPECT_EQ(kov_profile_get_key_init(), 1u);
    EXPECT_EQ(kov_profile_get_key_data(msg(), &key), &message[5535]);
    EXPECT_EQ(key, &message[161]);
    EXPECT_EQ(kov_profile_get_key_close(), 1u);
}

TEST_F(ProfileKeyReader, FindsTheReplyByTheKeysType)
{
    for (const auto &[type, at] : std::vector<std::pair<uint8_t, std::size_t>>{
             {0, 189}, {1, 321}, {2, 261}, {3, 445}, {4, 161}, {5, 173}, {7, 161}}) {
        message[161] = type;
        kov_profile_get_key_init();
        EXPECT_EQ(kov_profile_get_key_data(msg(), &key), &message[at]) << unsigned{type};
    }
}

// Deliberate: a message yields one key, whatever its count says.
TEST_F(ProfileKeyReader, YieldsOneKeyPerInitWhateverTheCountSays)
{
    message[20] = 3;
    kov_profile_get_key_init();
    EXPECT_NE(kov_profile_get_key_data(msg(), &key), nullptr);
    key = nullptr;
    EXPECT_EQ(kov_profile_get_key_data(msg(), &key), nullptr);
    EXPECT_EQ(key, nullptr);
    EXPECT_EQ(kov_profile_get_key_close(), 1u);
    EXPECT_EQ(kov_profile_get_key_data(msg(), &key), nullptr); // closing does nothing
    kov_profile_get_key_init();
    EXPECT_NE(kov_profile_get_key_data(msg(), &key), nullptr);
}

TEST_F(ProfileKeyReader, YieldsNothingForNull)
{
    kov_profile_get_key_init();
    EXPECT_EQ(kov_profile_get_key_data(nullptr, &key), nullptr);
    EXPECT_EQ(kov_profile_get_key_data(msg(), nullptr), nullptr);
    EXPECT_NE(kov_profile_get_key_data(msg(), &key), nullptr);
}

// A library that were asked to open would ask the platform for its database.
TEST_F(ProfileKeyReader, AndTheTablesAskForNoOpenLibraryAndThePlatformForNothing)
{
    EXPECT_EQ(kov_profile_key_type_to_len(6), 5374u);
    EXPECT_EQ(kov_profile_key_type_to_data_len(6), 20u);
    EXPECT_STREQ(kov_profile_key_type_to_string(6), "UHost Key");
    EXPECT_STREQ(kov_profile_data_value_to_string(1), "No Error");
    EXPECT_EQ(kov_profile_get_key_init(), 1u);
    EXPECT_EQ(kov_profile_get_key_data(msg(), &key), &message[5535]);
    EXPECT_EQ(kov_profile_get_key_close(), 1u);
    EXPECT_EQ(kov_api.initialized, 0u);
    EXPECT_TRUE(platform.calls.log().empty());
}

} // namespace
