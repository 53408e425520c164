// What a client sends to register and to withdraw, byte by byte; the type list; the transport's options.
#include "lab.h"

#include <cstring>
#include <memory>
#include <unistd.h>

namespace
{

using fake::Bytes;
using fake::Call;

constexpr int32_t handle = fake::Transport::handle;
constexpr int32_t its_sap = fake::Transport::sap;
constexpr uint32_t client_opcode = 250880;

void append(Bytes &to, const void *from, std::size_t size)
{
    const auto *const bytes = static_cast<const uint8_t *>(from);
    to.insert(to.end(), bytes, bytes + size);
}

template <class T>
void append(Bytes &to, T value)
{
    append(to, &value, sizeof value);
}

struct Request {
    uint16_t mtype;
    uint64_t clock;
    std::string name;
    int32_t sap;
    uint32_t mask;
};

// The 164 bytes of a request, group by group as it is laid out. No byte is left open.
Bytes bytes_of(const Request &request)
{
    const auto pid = static_cast<uint32_t>(getpid());
    Bytes bytes;
    append(bytes, uint16_t{53});
    append(bytes, request.mtype);
    append(bytes, pid);
    append(bytes, fake::System::epid(static_cast<int32_t>(pid)));
    append(bytes, request.clock);
    append(bytes, fake::System::uuid);
    append(bytes, request.name.data(), request.name.size());
    bytes.resize(24 + 129);     // the name's NUL and what is left of its field
    bytes.resize(24 + 129 + 3); // padding
    append(bytes, request.sap);
    append(bytes, request.mask);
    EXPECT_EQ(bytes.size(), 164u);
    return bytes;
}

class RegistrationRequest : public Lab
{
protected:
    RegistrationRequest() { kov_api_init(); }

    uint32_t register_as(const char *name, const uint32_t *types = only_9)
    {
        return kov_register_client(handle, name, types, handler);
    }
    uint32_t option_word() const { return platform.ipc.options(handle, client_opcode); }
    void set_option_word(uint32_t word) { platform.ipc.option_words[{handle, client_opcode}] = word; }

    static constexpr uint32_t only_9[21] = {9};
};

// ------------------------------------------------------------------------------------------- the request

TEST_F(RegistrationRequest, TheRegisterRequestIs164BytesAllOfThemDefined)
{
    platform.system.clock = 0x1122334455667788;
    EXPECT_EQ(register_client({1, 9, 20}, "arp"), 1u);
    ASSERT_EQ(platform.ipc.sent.size(), 1u);
    EXPECT_EQ(platform.ipc.sent[0].payload,
              bytes_of({1, 0x1122334455667788, "arp", its_sap, 1u << 1 | 1u << 9 | 1u << 20}));
}

TEST_F(RegistrationRequest, TheDeregisterRequestIs164BytesAllOfThemDefined)
{
    register_client({9}, "arp");
    platform.system.clock = 0x8877665544332211;
    EXPECT_EQ(kov_deregister_client(), 1u);
    ASSERT_EQ(platform.ipc.sent.size(), 2u);
    EXPECT_EQ(platform.ipc.sent[1].payload, bytes_of({3, 0x8877665544332211, "arp", its_sap, 1u << 9}));
}

TEST_F(RegistrationRequest, BothRequestsGoToTheServerOverTheClientsHandle)
{
    platform.ipc.open(11, 500);
    EXPECT_EQ(kov_register_client(11, "arp", only_9, handler), 1u);
    EXPECT_EQ(kov_deregister_client(), 1u);
    ASSERT_EQ(platform.ipc.sent.size(), 2u);
    for (const fake::Send &sent : platform.ipc.sent) {
        EXPECT_EQ(sent.handle, 11);
        EXPECT_EQ(sent.node, 0xFE000000u);
        EXPECT_EQ(sent.sap, 1248u);
        EXPECT_EQ(sent.opcode, 0x3D400u);
        EXPECT_EQ(sent.payload.size(), 164u);
        EXPECT_EQ(std::vector({sent.a, sent.b, sent.c}), (std::vector{0u, 0u, 0u}));
    }
}

TEST_F(RegistrationRequest, ALongestNameFillsItsFieldButForTheNul)
{
    const std::string name(128, 'n');
    EXPECT_EQ(register_as(name.c_str()), 1u);
    EXPECT_EQ(platform.ipc.sent.at(0).payload, bytes_of({1, 1000, name, its_sap, 1u << 9}));
    EXPECT_EQ(kov_api.client_name, name);
    EXPECT_EQ(kov_deregister_client(), 1u);
    EXPECT_EQ(platform.ipc.sent.at(1).payload, bytes_of({3, 1001, name, its_sap, 1u << 9}));
}

TEST_F(RegistrationRequest, AnEmptyNameIsAName)
{
    EXPECT_EQ(register_as(""), 1u);
    EXPECT_EQ(platform.ipc.sent.at(0).payload, bytes_of({1, 1000, "", its_sap, 1u << 9}));
}

TEST_F(RegistrationRequest, DeregisteringAsksForTheAccessPointAgainAndDoesNotKeepIt)
{
    register_client({9}, "arp");
    platform.ipc.open(handle, 600);
    debug_on();
    EXPECT_EQ(kov_deregister_client(), 1u);
    EXPECT_EQ(platform.ipc.sent.at(1).payload, bytes_of({3, 1001, "arp", 600, 1u << 9}));
    EXPECT_EQ(kov_api.sap, its_sap);
    EXPECT_TRUE(traced("KOV De-Register request sent - uuid 0x4b4f5601, client name arp, sap 600, "
                       "flags: 0x00000200"));
}

// ------------------------------------------------------------------------------------------ the type list

struct ListCase {
    std::vector<uint32_t> entries; // the rest of the 21 is 0
    uint32_t mask;                 // 0: refused
};

TEST_F(RegistrationRequest, EntriesFrom1To20SetTheirBitAndOthersAreSkipped)
{
    std::vector<uint32_t> all(21);
    for (uint32_t i = 0; i < 21; ++i)
        all[i] = i;
    const ListCase cases[] = {
        {{}, 0},
        {{21}, 0},
        {{21, 22, 32, 33, 64, 0x80000000, 0x80000004, 0x10004, UINT32_MAX}, 0},
        {{1}, 1u << 1},
        {{20}, 1u << 20},
        {{21, 20}, 1u << 20},
        {{9, 9, 9}, 1u << 9},
        {{0, 0, 4, 0, 5}, 1u << 4 | 1u << 5},
        {{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7}, 1u << 7}, // the 21st counts
        {all, 0x1FFFFE},
    };
    for (const ListCase &c : cases) {
        uint32_t list[21] = {};
        std::copy(c.entries.begin(), c.entries.end(), list);
        platform.ipc.sent.clear();
        EXPECT_EQ(register_as("c", list), c.mask ? 1u : 0u);
        EXPECT_EQ(platform.ipc.sent.size(), c.mask ? 1u : 0u);
        EXPECT_EQ(kov_api.mtype_mask, c.mask);
        kov_deregister_client();
    }
}

TEST_F(RegistrationRequest, TheListIsReadToIts21stEntryAndNoFurther)
{
    const std::unique_ptr<uint32_t[]> list(new uint32_t[21]()); // a block that ends with the list
    list[20] = 20;
    EXPECT_EQ(register_as("c", list.get()), 1u);
    EXPECT_EQ(kov_api.mtype_mask, 1u << 20);
}

// ---------------------------------------------------------------------------------------- transport options

struct OptionCase {
    uint32_t found, registered, withdrawn;
};

constexpr OptionCase options[] = {
    {0, 0x10, 0},
    {0x10, 0x10, 0},
    {0xFFFF, 0xFFFF, 0xFFEF},
    {0xFFFFFFFF, 0xFFFF, 0xFFEF}, // only the low 16 bits are kept
    {0xABCD0000, 0x10, 0},
    {0x1020, 0x1030, 0x1020},
};

TEST_F(RegistrationRequest, TheOptionBitIsSetWhileRegisteredAndOtherLowBitsAreKept)
{
    for (const OptionCase &c : options) {
        set_option_word(c.found);
        register_as("c");
        EXPECT_EQ(option_word(), c.registered) << c.found;
        kov_deregister_client();
        EXPECT_EQ(option_word(), c.withdrawn) << c.found;
    }
}

TEST_F(RegistrationRequest, AFailedRegistrationTakesTheOptionBitAwayAgain)
{
    for (const OptionCase &c : options) {
        set_option_word(c.found);
        platform.calls.fail(Call::ipc_send);
        EXPECT_EQ(register_as("c"), 0u);
        EXPECT_EQ(option_word(), c.withdrawn) << c.found;
    }
}

TEST_F(RegistrationRequest, TakingTheBitAwayStartsFromTheOptionsOfThatMoment)
{
    register_as("c");
    set_option_word(0x9990 | 0x4);
    kov_deregister_client();
    EXPECT_EQ(option_word(), 0x9984u);
}

TEST_F(RegistrationRequest, OptionsThatCannotBeSetDoNotStopTheRequest)
{
    platform.calls.fail_always(Call::ipc_options_set);
    EXPECT_EQ(register_as("c"), 1u);
    EXPECT_EQ(kov_deregister_client(), 1u);
    EXPECT_EQ(platform.ipc.sent.size(), 2u);
}

TEST_F(RegistrationRequest, TheOptionsOfOtherOpcodesAndHandlesStay)
{
    platform.ipc.open(8, 300);
    platform.ipc.option_words[{handle, 1}] = 0xFFFF0000;
    platform.ipc.option_words[{8, client_opcode}] = 0xFFFF0000;
    register_as("c");
    kov_deregister_client();
    EXPECT_EQ(platform.ipc.options(handle, 1), 0xFFFF0000u);
    EXPECT_EQ(platform.ipc.options(8, client_opcode), 0xFFFF0000u);
}

} // namespace
