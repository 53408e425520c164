// The fake's smaller services: transport, debug, command line, scheduler, system, interfaces.
#include "fake/fake.h"

#include <kov/platform/address.h>
#include <kov/platform/cli.h>
#include <kov/platform/coop_sched.h>
#include <kov/platform/dbgw.h>
#include <kov/platform/interfaces.h>
#include <kov/platform/osal.h>
#include <kov/platform/svcmgr.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

using fake::Bytes;
using fake::Call;

namespace
{

class FakeServices : public testing::Test
{
protected:
    FakeServices() { p.reset(); }
    ~FakeServices() override { p.reset(); }

    fake::Platform &p = fake::platform();
};

// -------------------------------------------------------------------------------------------- transport

TEST_F(FakeServices, RecordsWhatIsSent)
{
    const Bytes payload{1, 2, 3};
    EXPECT_EQ(ipc_send(fake::Transport::handle, 0xFE000000, 1248, 0x3D400, payload.data(), 3, 4, 5, 6), 0);
    ASSERT_EQ(p.ipc.sent.size(), 1u);
    const fake::Send &sent = p.ipc.sent[0];
    EXPECT_EQ(sent.handle, fake::Transport::handle);
    EXPECT_EQ(sent.node, 0xFE000000);
    EXPECT_EQ(sent.sap, 1248u);
    EXPECT_EQ(sent.opcode, 0x3D400u);
    EXPECT_EQ(sent.payload, payload);
    EXPECT_EQ(std::vector({sent.a, sent.b, sent.c}), (std::vector<uint32_t>{4, 5, 6}));
}

TEST_F(FakeServices, FailsSendsWithTheErrnoThatTheTestChose)
{
    for (const int error : {EAGAIN, 0}) {
        p.calls.fail(Call::ipc_send);
        p.ipc.send_errno = error;
        errno = EDOM;
        EXPECT_NE(ipc_send(fake::Transport::handle, 1, 2, 3, "x", 1, 0, 0, 0), 0);
        EXPECT_EQ(errno, error);
    }
    EXPECT_TRUE(p.ipc.sent.empty());
    EXPECT_EQ(p.ipc.refused.size(), 2u);
}

TEST_F(FakeServices, RefusesHandlesThatAreNotOpen)
{
    for (const int32_t handle : {0, -1, 8}) {
        EXPECT_NE(ipc_send(handle, 1, 2, 3, "x", 1, 0, 0, 0), 0);
        EXPECT_EQ(errno, EBADF);
        EXPECT_LT(ipc_sap_get(handle), 0);
        EXPECT_NE(ipc_options_set(handle, 1, 1), 0);
    }
    p.ipc.open(8, 99);
    EXPECT_EQ(ipc_sap_get(8), 99);
    p.ipc.close(8);
    EXPECT_LT(ipc_sap_get(8), 0);
}

TEST_F(FakeServices, KeepsOptionsForEachHandleAndOpcode)
{
    p.ipc.open(8, 99);
    EXPECT_EQ(ipc_options_set(8, 5, 0x10), 0);
    EXPECT_EQ(ipc_options_get(8, 5), 0x10u);
    EXPECT_EQ(ipc_options_get(8, 6), 0u);
    EXPECT_EQ(ipc_options_get(fake::Transport::handle, 5), 0u);
    EXPECT_EQ(p.ipc.options(8, 5), 0x10u);
}

TEST_F(FakeServices, BuildsMessagesThatMayLie)
{
    fake::Message message(0x3D400, Bytes{7, 8});
    EXPECT_EQ(ipc_opc_get(message.get()), 0x3D400u);
    EXPECT_EQ(ipc_payload_size(message.get()), 2u);
    EXPECT_EQ(std::memcmp(ipc_payload_get(message.get()), "\7\10", 2), 0);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(ipc_payload_get(message.get())) % 2, 1u);
    message.with_size(5000).without_payload();
    EXPECT_EQ(ipc_payload_size(message.get()), 5000u);
    EXPECT_EQ(ipc_payload_get(message.get()), nullptr);
}

// ----------------------------------------------------------------------------------- debug, command line

TEST_F(FakeServices, RecordsTracesFormattedAndMayChangeErrno)
{
    errno = EDOM;
    tracef_func(1, "module", "prefix", 0, "%s(): %d", "here", 5);
    EXPECT_NE(errno, EDOM);
    ASSERT_EQ(p.debug.traces.size(), 1u);
    const fake::Trace &trace = p.debug.traces[0];
    EXPECT_EQ(trace.text, "here(): 5");
    EXPECT_EQ(trace.module, "module");
    EXPECT_EQ(trace.prefix, "prefix");
    EXPECT_EQ(trace.level, 1);
    EXPECT_EQ(trace.zero, 0);
    EXPECT_TRUE(p.debug.traced("here(): 5"));
    EXPECT_FALSE(p.debug.traced("here(): 6"));
    EXPECT_EQ(p.debug.texts(), std::vector<std::string>{"here(): 5"});
}

TEST_F(FakeServices, SwitchesDebuggingByTerminalAndCountsTheQuestions)
{
    EXPECT_EQ(dbgw_library_chk_int(33, 1), 0);
    EXPECT_EQ(dbgw_library_dbg_enable(33, 1, "a"), 0);
    EXPECT_EQ(dbgw_library_dbg_enable(33, 1, "b"), 0);
    EXPECT_NE(dbgw_library_chk_int(33, 1), 0);
    EXPECT_EQ(dbgw_library_chk_int(33, 2), 0);
    EXPECT_EQ(dbgw_library_dbg_disable(33, 1, "a"), 0);
    EXPECT_FALSE(p.debug.is_on(33, 1, "a"));
    EXPECT_TRUE(p.debug.is_on(33, 1, "b"));
    p.debug.check_answer = 0;
    EXPECT_EQ(dbgw_library_chk_int(33, 1), 0);
    EXPECT_EQ(p.debug.checks(), 4u);
    EXPECT_NE(dbgw_library_dbg_enable(33, 1, nullptr), 0);
    EXPECT_NE(dbgw_library_dbg_enable(33, 1, ""), 0);
    EXPECT_NE(dbgw_library_dbg_enable(99, 1, "a"), 0);
}

TEST_F(FakeServices, NamesTheLibraryInElement67)
{
    EXPECT_STREQ(dbgw_lib_id_and_names[67], "kov");
    EXPECT_STRNE(dbgw_lib_id_and_names[33], "kov");
}

TEST_F(FakeServices, RunsACommandWithFieldsWordsAndAPager)
{
    const char *text = nullptr;
    EXPECT_EQ(cli_get_string(p.cli.context(), "_CLI_TTY_NAME_FIELD", &text), 0);
    EXPECT_STREQ(text, "console0");
    EXPECT_NE(cli_get_string(p.cli.context(), "other", &text), 0);
    EXPECT_EQ(cli_is_set(p.cli.context(), "detail"), 0);
    p.cli.words.insert("detail");
    EXPECT_NE(cli_is_set(p.cli.context(), "detail"), 0);

    EXPECT_EQ(cli_cmd_printf(p.cli.context(), "%d;", 1), 1u);
    p.cli.print_result = 9;
    EXPECT_EQ(cli_cmd_printf(p.cli.context(), "%d;", 2), 9u);
    EXPECT_EQ(p.cli.output, "1;2;");
    EXPECT_EQ(p.cli.prints.size(), 2u);

    std::vector<unsigned> asked;
    p.cli.on_more = [&](unsigned n) { asked.push_back(n); };
    p.cli.stop_at = 2;
    EXPECT_NE(cli_more_output(p.cli.context()), 0);
    EXPECT_EQ(cli_more_output(p.cli.context()), 0);
    EXPECT_NE(cli_more_output(p.cli.context()), 0);
    EXPECT_EQ(asked, (std::vector{1u, 2u, 3u}));
}

// ---------------------------------------------------------------------------------- scheduler and system

TEST_F(FakeServices, RunsATestsFunctionAtTheNthYield)
{
    std::vector<unsigned> ran;
    p.sched.at_yield[2] = [&] { ran.push_back(p.sched.yields); };
    coop_sched_may_yield();
    coop_sched_yield();
    coop_sched_may_yield();
    EXPECT_EQ(ran, std::vector{2u});
    EXPECT_EQ(p.sched.yields, 3u);
    EXPECT_EQ(coop_should_sched_yield(), 0);
    p.sched.time_is_up = true;
    EXPECT_NE(coop_should_sched_yield(), 0);
}

TEST_F(FakeServices, StepsTheClockAndKnowsItsIdentity)
{
    uint64_t a, b;
    orb_sys_mclock_get(&a);
    orb_sys_mclock_get(&b);
    EXPECT_EQ(b, a + 1);
    EXPECT_EQ(svcmgr_uuid_get(), fake::System::uuid);
    EXPECT_EQ(osal_get_epid(77), fake::System::epid(77));
    EXPECT_NE(osal_get_epid(77), osal_get_epid(78));
    EXPECT_EQ(osal_get_epid(0), 0u);
}

TEST_F(FakeServices, CompletesUris)
{
    const char *const base = svcmgr_running_cfg_uri_get();
    EXPECT_STREQ(svcmgr_uri_complete(base, 0, "x"), fake::System::uri("x").c_str());
    EXPECT_EQ(svcmgr_uri_complete(nullptr, 0, "x"), nullptr);
    EXPECT_EQ(svcmgr_uri_complete(std::string(300, 'u').c_str(), 0, "x"), nullptr);
    p.system.running_uri.reset();
    EXPECT_EQ(svcmgr_running_cfg_uri_get(), nullptr);
}

TEST_F(FakeServices, CopiesAndAppendsWithinBounds)
{
    char buffer[6] = "#####";
    EXPECT_EQ(osal_strcpy(buffer, "abcdefgh", 4), buffer);
    EXPECT_EQ(std::memcmp(buffer, "abc\0#", 6), 0);
    EXPECT_STREQ(osal_strcat(buffer, "defgh", 6), "abcde");
    EXPECT_STREQ(osal_strcpy(buffer, nullptr, 6), "");
    const char unended[3] = {'x', 'y', 'z'};
    EXPECT_STREQ(osal_strcpy(buffer, unended, 4), "xyz");
    EXPECT_EQ(osal_snprintf(buffer, 4, "%d", 12345), 3);
    EXPECT_STREQ(buffer, "123");
    std::memset(buffer, 'q', 4);
    EXPECT_STREQ(osal_strcat(buffer, "r", 4), "qqq");
}

// -------------------------------------------------------------------------- interfaces, addresses, memory

TEST_F(FakeServices, KnowsTheInterfacesThatTheTestAdded)
{
    p.interfaces.add_vlan(10, "vlan10");
    uint32_t type = 1;
    char name[8] = "#######";
    EXPECT_EQ(if_index_get_type(10, &type), 0);
    EXPECT_EQ(type, 9u);
    EXPECT_EQ(im_get_ifindex_name(10, name, 5), 0);
    EXPECT_STREQ(name, "vlan");
    EXPECT_NE(if_index_get_type(11, &type), 0);
    EXPECT_EQ(type, 9u);
    EXPECT_NE(im_get_ifindex_name(11, name, 8), 0);
    EXPECT_STREQ(name, "");
}

TEST_F(FakeServices, TellsSlotAndPortOfPortsAndTheNumberOfChannels)
{
    p.interfaces.add_port(1, 3, 7);
    p.interfaces.add_channel(2, 500);
    p.interfaces.index_by_iod[44] = 2;
    uint8_t slot = 0, port = 0;
    uint16_t channel = 0;
    uint32_t ifindex = 0;
    EXPECT_EQ(if_index_get_slot(1, &slot), 0);
    EXPECT_EQ(if_index_get_port(1, &port), 0);
    EXPECT_EQ(if_index_port_channel_get_fields(2, &channel), 0);
    EXPECT_EQ(lcache_im_get_ifindex_frm_iod(44, &ifindex), 0);
    EXPECT_EQ(slot, 3);
    EXPECT_EQ(port, 7);
    EXPECT_EQ(channel, 500);
    EXPECT_EQ(ifindex, 2u);
    EXPECT_NE(if_index_get_slot(2, &slot), 0);
    EXPECT_NE(if_index_get_port(2, &port), 0);
    EXPECT_NE(if_index_port_channel_get_fields(1, &channel), 0);
    EXPECT_NE(lcache_im_get_ifindex_frm_iod(45, &ifindex), 0);
    p.calls.fail(Call::if_index_get_port);
    EXPECT_NE(if_index_get_port(1, &port), 0);
}

TEST_F(FakeServices, PrintsPrefixesByTheirOneLengthByte)
{
    const uint8_t v4[] = {0, 0, 1, 10, 16, 0xFF, 0xFF, 0xFF};
    const uint8_t v6[17] = {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 32};
    EXPECT_STREQ(ip_print_prefix(v4), "10.1.0.0/16");
    EXPECT_STREQ(ipv6_print_prefix(v6, 1), "2001:db8::/32");
    EXPECT_STREQ(ipv6_print_prefix(v6, 0), "2001:db8::");
    EXPECT_EQ(ip_bits2mask(0), 0u);
    EXPECT_EQ(ip_bits2mask(1), 0x80000000u);
    EXPECT_EQ(ip_bits2mask(24), 0xFFFFFF00u);
    EXPECT_EQ(ip_bits2mask(32), 0xFFFFFFFFu);
    EXPECT_EQ(ip_bits2mask(33), 0xFFFFFFFFu);
}

TEST_F(FakeServices, PrintsAddressesIntoEightRotatingBuffers)
{
    const uint8_t mac[] = {0x00, 0x11, 0x22, 0x33, 0x44, 0xFF};
    EXPECT_STREQ(im_print_mac_addr(mac), "0011.2233.44ff");
    EXPECT_STREQ(im_print_mac_addr(nullptr), "0000.0000.0000");
    EXPECT_STREQ(ipv6_print_addr(nullptr), "::");
    const char *const first = ip_print_addr(0x0A010203);
    for (uint32_t i = 0; i < 7; ++i)
        ip_print_addr(i);
    EXPECT_STREQ(first, "10.1.2.3");
    EXPECT_EQ(ip_print_addr(1), first);
}

} // namespace
