// Interface names, and the ring of buffers that they stand in.
#include "lab.h"

#include "api/print_buffer.h"

#include <algorithm>

namespace
{

class PrintBuffers : public Lab
{
protected:
    PrintBuffers() { platform.interfaces.add_vlan(10, "vlan10"); }
};

TEST_F(PrintBuffers, AnInterfaceIsNamedByTheInterfaceManager)
{
    EXPECT_STREQ(kov_ifindex_name_str(10), "vlan10");
}

TEST_F(PrintBuffers, AnInterfaceWithoutANamePrintsAsADash)
{
    platform.interfaces.add_vlan(11, "");
    for (const uint32_t ifindex : {0u, 11u, 12u, UINT32_MAX})
        EXPECT_STREQ(kov_ifindex_name_str(ifindex), "-") << ifindex;
}

TEST_F(PrintBuffers, AnInterfaceManagerThatFailsGivesADash)
{
    platform.calls.fail(fake::Call::im_get_ifindex_name);
    EXPECT_STREQ(kov_ifindex_name_str(10), "-");
    EXPECT_STREQ(kov_ifindex_name_str(10), "vlan10");
}

TEST_F(PrintBuffers, ANameOfTheBuffersLastUserIsGone)
{
    for (int i = 0; i < 8; ++i)
        EXPECT_STREQ(kov_ifindex_name_str(10), "vlan10");
    for (int i = 0; i < 8; ++i)
        EXPECT_STREQ(kov_ifindex_name_str(11), "-");
    for (const auto &buffer : kov_print_buffer)
        EXPECT_EQ(buffer[0], '\0');
}

TEST_F(PrintBuffers, TheNinthCallReturnsTheFirstCallsBuffer)
{
    const char *results[9];
    for (const char *&result : results)
        result = kov_ifindex_name_str(10);
    EXPECT_EQ(results[8], results[0]);
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_EQ(std::count(results, results + 8, results[i]), 1) << i;
}

TEST_F(PrintBuffers, AResultHoldsForSevenMoreCalls)
{
    for (uint32_t i = 20; i < 28; ++i)
        platform.interfaces.add_vlan(i, "vlan" + std::to_string(i));
    const char *results[8];
    for (uint32_t i = 0; i < 8; ++i)
        results[i] = kov_ifindex_name_str(20 + i);
    for (uint32_t i = 0; i < 8; ++i)
        EXPECT_EQ(results[i], "vlan" + std::to_string(20 + i));
}

TEST_F(PrintBuffers, TheCounterIsRaisedFirstAndNamesTheBufferModulo8)
{
    for (const uint32_t counter : {0u, 1u, 6u, 7u, 8u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
        kov_next_print_buffer = counter;
        EXPECT_EQ(kov_ifindex_name_str(10), kov_print_buffer[(counter + 1) % 8]) << counter;
        EXPECT_EQ(kov_next_print_buffer, counter + 1);
    }
}

TEST_F(PrintBuffers, ABufferIsHandedOutEmpty)
{
    for (auto &buffer : kov_print_buffer)
        buffer[0] = 'x';
    for (int i = 0; i < 8; ++i)
        EXPECT_STREQ(kov::next_print_buffer(), "");
}

TEST_F(PrintBuffers, ADashTakesABufferToo)
{
    kov_next_print_buffer = 3;
    kov_ifindex_name_str(11);
    EXPECT_EQ(kov_next_print_buffer, 4u);
}

TEST_F(PrintBuffers, ThereAreEightBuffersOf1001Characters)
{
    EXPECT_EQ(std::size(kov_print_buffer), 8u);
    EXPECT_EQ(sizeof kov_print_buffer[0], 1001u);
}

TEST_F(PrintBuffers, ANameHas253CharactersAtMost)
{
    const std::string longest(253, 'n');
    platform.interfaces.add_vlan(12, longest + "more");
    EXPECT_EQ(kov_ifindex_name_str(12), longest);
}

TEST_F(PrintBuffers, NamingAnInterfaceDoesNotOpenTheLibrary)
{
    kov_api_wait_for_init = 1;
    EXPECT_STREQ(kov_ifindex_name_str(10), "vlan10");
    EXPECT_EQ(kov_api.initialized, 0u);
}

} // namespace
