// The routines of stored fields that have their own: parts of an auto-configuration host, sizes and copies of
// strings, and where a tail is.
#include "samples.h"

#include <kov/kov_codec.h>

#include <cstdlib>

namespace
{

using fake::Bytes;
using fake::Call;

constexpr uint32_t no_argument = 73, no_memory = 1;

using Copy = int (*)(const void *, uint32_t, void **, uint32_t *, uint32_t *);

// The three parts: routines, and where they stand in a block of record and tail.
struct Part {
    const char *name;
    Copy give;
    int (*take)(void *, const void *);
    uint32_t (*size)(const void *);
    std::size_t offset;
    uint32_t bytes;
    uint32_t of_null;
};

constexpr uint32_t tail = 11;

const Part parts[] = {
    {"parameters", kov_vault_auto_config_parameters_struct_to_tlv,
     kov_vault_auto_config_parameters_tlv_to_struct, kov_vault_auto_config_parameters_get_tlv_data_sz, 5924,
     tail, 0},
    {"cmd_data", kov_vault_auto_config_cmd_data_struct_to_tlv, kov_vault_auto_config_cmd_data_tlv_to_struct,
     kov_vault_auto_config_cmd_data_get_tlv_data_sz, 144, 68, 68},
    {"xvlan_data", kov_vault_auto_config_xvlan_data_struct_to_tlv,
     kov_vault_auto_config_xvlan_data_tlv_to_struct, kov_vault_auto_config_xvlan_data_get_tlv_data_sz, 232,
     140, 0},
};

class HostParts : public Lab
{
protected:
    using Host = kov_vault_auto_config_host_val_t;

    HostParts() : block(5924 + tail)
    {
        for (std::size_t i = 0; i < block.size(); ++i)
            block[i] = static_cast<uint8_t>(i * 7 + 1);
        host()->parameter_len = tail;
        kov_vault_auto_config_host_set_parameters(host(), &block[5924]);
    }
    Host *host() { return reinterpret_cast<Host *>(block.data()); }

    Bytes block;
    void *bytes = nullptr;
    uint32_t len = 0, owned = 0;
};

TEST_F(HostParts, AreGivenAsCopiesThatTheCallerOwns)
{
    for (const Part &part : parts) {
        SCOPED_TRACE(part.name);
        EXPECT_EQ(part.give(host(), 99, &bytes, &len, &owned), 0);
        EXPECT_EQ(bytes_at(bytes, len), bytes_at(&block[part.offset], part.bytes));
        EXPECT_EQ(owned, 1u);
        EXPECT_EQ(platform.heap.size_of(bytes), part.bytes);
        std::free(bytes);
    }
}

TEST_F(HostParts, AreNotGivenWhenAPointerIsNull)
{
    for (const Part &part : parts) {
        SCOPED_TRACE(part.name);
        EXPECT_EQ(part.give(nullptr, 0, &bytes, &len, &owned), no_argument);
        EXPECT_EQ(part.give(host(), 0, nullptr, &len, &owned), no_argument);
        EXPECT_EQ(part.give(host(), 0, &bytes, nullptr, &owned), no_argument);
        EXPECT_EQ(part.give(host(), 0, &bytes, &len, nullptr), no_argument);
    }
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(len + owned, 0u);
    EXPECT_EQ(platform.calls.count(Call::alloc), 0u);
}

TEST_F(HostParts, AreNotGivenWithoutMemory)
{
    platform.calls.fail_always(Call::alloc);
    for (const Part &part : parts) {
        SCOPED_TRACE(part.name);
        EXPECT_EQ(part.give(host(), 0, &bytes, &len, &owned), no_memory);
    }
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(len + owned, 0u);
}

TEST_F(HostParts, SayTheirSize)
{
    for (const Part &part : parts) {
        SCOPED_TRACE(part.name);
        EXPECT_EQ(part.size(host()), part.bytes);
        // Deliberate: a null record has command data of the same size as any other; the other parts have
        // none.
        EXPECT_EQ(part.size(nullptr), part.of_null);
    }
}

TEST_F(HostParts, AreTakenIntoTheirPlaceOnly)
{
    for (const Part &part : parts) {
        SCOPED_TRACE(part.name);
        const Bytes data(part.bytes, 0xD7);
        Bytes expected = block;
        std::copy(data.begin(), data.end(), expected.begin() + static_cast<std::ptrdiff_t>(part.offset));
        EXPECT_EQ(part.take(host(), data.data()), 0);
        EXPECT_EQ(block, expected);
        EXPECT_EQ(part.take(nullptr, data.data()), no_argument);
        EXPECT_EQ(part.take(host(), nullptr), no_argument);
        EXPECT_EQ(block, expected);
    }
}

TEST_F(HostParts, NoParametersAreNothingAllocated)
{
    host()->parameter_len = 0;
    for (const bool has_pointer : {true, false}) {
        if (!has_pointer)
            kov_vault_auto_config_host_set_parameters(host(), nullptr);
        bytes = block.data();
        len = owned = 77;
        EXPECT_EQ(kov_vault_auto_config_parameters_struct_to_tlv(host(), 0, &bytes, &len, &owned), 0);
        EXPECT_EQ(bytes, nullptr);
        EXPECT_EQ(len, 0u);
        EXPECT_EQ(owned, 0u);
    }
    EXPECT_EQ(platform.calls.count(Call::alloc), 0u);
}

TEST_F(HostParts, ParametersThatAreNowhereAreAnUnusableArgument)
{
    kov_vault_auto_config_host_set_parameters(host(), nullptr);
    EXPECT_EQ(kov_vault_auto_config_parameters_struct_to_tlv(host(), 0, &bytes, &len, &owned), no_argument);
    EXPECT_EQ(bytes, nullptr);
}

TEST_F(HostParts, ParametersAreTakenBehindTheRecordWhereverTheyWereBefore)
{
    for (const void *const before :
         {static_cast<const void *>(nullptr), static_cast<const void *>(&block[0])}) {
        kov_vault_auto_config_host_set_parameters(host(), before);
        const Bytes data(tail, 0x3C);
        EXPECT_EQ(kov_vault_auto_config_parameters_tlv_to_struct(host(), data.data()), 0);
        EXPECT_EQ(kov_vault_auto_config_host_parameters(host()), &block[5924]);
        EXPECT_EQ(bytes_at(&block[5924], tail), data);
    }
}

// -------------------------------------------------------------------------------------- where the tail is

TEST_F(HostParts, ATailIsFoundBehindBeforeAndNowhere)
{
    Bytes room(3 * sizeof(Host));
    auto *const middle = reinterpret_cast<Host *>(&room[sizeof(Host)]);
    for (const std::size_t at : {std::size_t{0}, sizeof(Host) - 1, sizeof(Host) + 1, 3 * sizeof(Host) - 1}) {
        EXPECT_EQ(kov_vault_auto_config_host_set_parameters(middle, &room[at]), 1u);
        EXPECT_EQ(kov_vault_auto_config_host_parameters(middle), &room[at]);
    }
    EXPECT_EQ(kov_vault_auto_config_host_set_parameters(middle, nullptr), 1u);
    EXPECT_EQ(kov_vault_auto_config_host_parameters(middle), nullptr);
    EXPECT_EQ(middle->parameters, 0u);
}

TEST_F(HostParts, ATailAtTheRecordItselfIsRefusedWithWidePointersBecauseItWouldReadAsNone)
{
    host()->parameters = 7;
    const bool wide = sizeof(void *) == 8;
    EXPECT_EQ(kov_vault_auto_config_host_set_parameters(host(), host()), wide ? 0u : 1u);
    EXPECT_EQ(host()->parameters == 7, wide);
}

TEST_F(HostParts, TheFieldHoldsThePointerOrWithWidePointersTheDistance)
{
    const uint32_t field = host()->parameters;
    if (sizeof(void *) == 4)
        EXPECT_EQ(field, static_cast<uint32_t>(reinterpret_cast<uintptr_t>(&block[5924])));
    else
        EXPECT_EQ(field, 5924u);
}

TEST_F(HostParts, ATailTooFarAwayForTheFieldIsRefusedAndTheFieldKeepsItsValue)
{
    const auto here = reinterpret_cast<uintptr_t>(host());
    const auto set = [this](uintptr_t tail_at) {
        return kov_vault_auto_config_host_set_parameters(host(), reinterpret_cast<const void *>(tail_at));
    };
    const uint32_t before = host()->parameters;
    const uintptr_t limit = uintptr_t{1} << 31;
    const bool fits_all = sizeof(void *) == 4;
    for (const uintptr_t far : {here + limit, here - limit - 1}) {
        EXPECT_EQ(set(far), fits_all ? 1u : 0u);
        EXPECT_EQ(host()->parameters, fits_all ? static_cast<uint32_t>(far) : before);
    }
    for (const uintptr_t near : {here + limit - 1, here - limit}) {
        EXPECT_EQ(set(near), 1u);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(kov_vault_auto_config_host_parameters(host())), near);
    }
}

// ------------------------------------------------------------------------------------------------ strings

struct String {
    const char *name;
    uint32_t (*size)(const void *);
    uint32_t bytes;
};

#define KOV_STRING(name, bytes)                                                                              \
    {                                                                                                        \
#name, name##_get_data_sz, bytes                                                                     \
    }
const String strings[] = {
    KOV_STRING(c_profile_name, 129),         KOV_STRING(c_instance_name, 129),
    KOV_STRING(c_param_tlv, 2048),           KOV_STRING(c_include_vrf_name, 34),
    KOV_STRING(c_include_profile_name, 129), KOV_STRING(c_include_instance_name, 129),
    KOV_STRING(c_include_param_tlv, 2048),   KOV_STRING(prof_opt_md_name, 129),
    KOV_STRING(prof_opt_host_id, 129),       KOV_STRING(prof_opt_vrf_name, 34),
    KOV_STRING(prof_opt_user_data, 32),      KOV_STRING(uhost_key_data, 45),
};

class Strings : public Lab
{
};

TEST_F(Strings, AreAlwaysAsLongAsTheirField)
{
    const uint8_t record[8] = {};
    for (const String &string : strings) {
        EXPECT_EQ(string.size(nullptr), string.bytes) << string.name;
        EXPECT_EQ(string.size(record), string.bytes) << string.name;
    }
}

TEST_F(Strings, AreLentAsTheyStandInTheRecord)
{
    kov_uhost_key_t key = {};
    const fcodec_row &row = kov_vault_uhost_key_tbl.rows[5];
    ASSERT_EQ(row.data_size, uhost_key_data_get_data_sz);
    void *bytes = nullptr;
    uint32_t len = 0, owned = 77;
    EXPECT_EQ(row.copy(&key, 0, &bytes, &len, &owned), 0);
    EXPECT_EQ(static_cast<uint8_t *>(bytes), reinterpret_cast<uint8_t *>(&key) + 11);
    EXPECT_EQ(len, 45u);
    EXPECT_EQ(owned, 0u);
    EXPECT_EQ(row.copy(nullptr, 0, &bytes, &len, &owned), 73);
    EXPECT_EQ(row.copy(&key, 0, nullptr, &len, &owned), 73);
    EXPECT_EQ(row.copy(&key, 0, &bytes, nullptr, &owned), 73);
    EXPECT_EQ(row.copy(&key, 0, &bytes, &len, nullptr), 73);
    EXPECT_EQ(platform.calls.count(Call::alloc), 0u);
}

} // namespace
