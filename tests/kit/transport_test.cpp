// The transport as the library uses it: what can be sent, what is refused and why, option words. And the
// switches of the debug wrapper.
#include "stage.h"

#include <kov/platform/dbgw.h>
#include <kov/platform/ipc.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <vector>

namespace
{

constexpr uint32_t node = 0xFE000000;
constexpr uint32_t opcode = 0x3D400;

class Transport : public testing::Test
{
protected:
    Transport() { kit::set_stage(); }
    ~Transport() override { kit::clear_stage(); }

    static int send(int32_t handle, const void *payload, uint32_t size)
    {
        errno = 0;
        return ipc_send(handle, node, kit::served_sap(), opcode, payload, size, 0, 0, 0);
    }
};

TEST_F(Transport, SendsAnyMessageUpTo65536Bytes)
{
    const std::vector<uint8_t> bytes(65536, 0x5A);
    for (const uint32_t size : {1u, 44u, 50u, 56u, 73u, 164u, 5374u, 65536u})
        EXPECT_EQ(send(kit::open_handle(), bytes.data(), size), 0) << size;
    EXPECT_EQ(send(kit::open_handle(), nullptr, 0), 0);
}

TEST_F(Transport, RefusesHandlesThatAreNotOpen)
{
    for (const int32_t handle : {0, -1, -2147483647 - 1, kit::open_handle() + 1000}) {
        EXPECT_NE(send(handle, "x", 1), 0) << handle;
        EXPECT_EQ(errno, EBADF) << handle;
        EXPECT_LT(ipc_sap_get(handle), 0) << handle;
        EXPECT_EQ(ipc_options_get(handle, opcode), 0u) << handle;
        errno = 0;
        EXPECT_NE(ipc_options_set(handle, opcode, 1), 0) << handle;
        EXPECT_EQ(errno, EBADF) << handle;
    }
}

TEST_F(Transport, RefusesALengthWithoutAPayload)
{
    EXPECT_NE(send(kit::open_handle(), nullptr, 1), 0);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(Transport, RefusesAMessageThatNobodyCouldCarry)
{
    const std::vector<uint8_t> bytes(std::size_t{16} << 20);
    EXPECT_NE(send(kit::open_handle(), bytes.data(), static_cast<uint32_t>(bytes.size())), 0);
    EXPECT_EQ(errno, EMSGSIZE);
}

TEST_F(Transport, AHandleKnowsItsAccessPoint)
{
    EXPECT_EQ(ipc_sap_get(kit::open_handle()), kit::sap_of_open_handle());
    EXPECT_GE(kit::open_handle(), 1);
}

TEST_F(Transport, KeepsAWordOfOptionsForEachOpcode)
{
    const int32_t handle = kit::open_handle();
    EXPECT_EQ(ipc_options_get(handle, opcode), 0u);
    EXPECT_EQ(ipc_options_set(handle, opcode, 0xFFFF0010), 0);
    EXPECT_EQ(ipc_options_get(handle, opcode), 0xFFFF0010u);
    EXPECT_EQ(ipc_options_get(handle, opcode + 1), 0u);
    EXPECT_EQ(ipc_options_set(handle, opcode, 0), 0);
    EXPECT_EQ(ipc_options_get(handle, opcode), 0u);
}

// ------------------------------------------------------------------------------------------------ debug

constexpr uint32_t library = 33;
constexpr uint32_t level = 1;

class Debug : public Transport
{
protected:
    ~Debug() override { dbgw_library_dbg_disable(library, level, kit::terminal()); }
};

TEST_F(Debug, NamesTheLibraryInElement67)
{
    ASSERT_NE(dbgw_lib_id_and_names[67], nullptr);
    EXPECT_STRNE(dbgw_lib_id_and_names[67], "");
    EXPECT_NE(dbgw_library_dbg_pid_and_tag, nullptr);
    EXPECT_NE(dbgw_dbg_modname, nullptr);
}

TEST_F(Debug, IsOnFromEnableToDisable)
{
    EXPECT_EQ(dbgw_library_chk_int(library, level), 0);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(dbgw_library_dbg_enable(library, level, kit::terminal()), 0);
        EXPECT_NE(dbgw_library_chk_int(library, level), 0);
        EXPECT_EQ(dbgw_library_chk_int(library, 2), 0);
        EXPECT_EQ(dbgw_library_chk_int(library - 1, level), 0);
    }
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(dbgw_library_dbg_disable(library, level, kit::terminal()), 0) << "also when it was off";
        EXPECT_EQ(dbgw_library_chk_int(library, level), 0);
    }
}

TEST_F(Debug, RefusesATerminalWithoutAName)
{
    for (const char *tty : {static_cast<const char *>(nullptr), ""}) {
        EXPECT_NE(dbgw_library_dbg_enable(library, level, tty), 0);
        EXPECT_NE(dbgw_library_dbg_disable(library, level, tty), 0);
        EXPECT_EQ(dbgw_library_chk_int(library, level), 0);
    }
}

TEST_F(Debug, ALevelThatNobodyHasIsOff)
{
    EXPECT_EQ(dbgw_library_chk_int(0xFFFFFFFF, level), 0);
    EXPECT_EQ(dbgw_library_chk_int(library, 0xFFFFFFFF), 0);
}

} // namespace
