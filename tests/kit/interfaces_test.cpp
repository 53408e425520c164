// Interfaces: what an index says about its interface, for every slot, port and channel that there can be.
#include "places.h"

#include <kov/platform/interfaces.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

constexpr uint32_t no_interface = 0;
constexpr uint8_t untouched = 0xA5;

TEST(Interfaces, HaveTheTypesThatTheLibraryKnows)
{
    const struct {
        const char *what;
        uint32_t ifindex, type;
    } cases[] = {
        {"a VLAN interface", kit::vlan_index(10), 9},
        {"a bridge domain's", kit::bdi_index(100), 55},
        {"a port-channel", kit::channel_index(20), 22},
        {"a physical port", kit::port_index(2, 6), 26},
    };
    for (const auto &c : cases) {
        uint32_t type = 0;
        EXPECT_EQ(if_index_get_type(c.ifindex, &type), 0) << c.what;
        EXPECT_EQ(type, c.type) << c.what;
    }
}

TEST(Interfaces, NothingHasTheIndexZero)
{
    uint32_t type = untouched;
    uint8_t slot = untouched, port = untouched;
    uint16_t channel = untouched;
    EXPECT_NE(if_index_get_type(no_interface, &type), 0);
    EXPECT_NE(if_index_get_slot(no_interface, &slot), 0);
    EXPECT_NE(if_index_get_port(no_interface, &port), 0);
    EXPECT_NE(if_index_port_channel_get_fields(no_interface, &channel), 0);
    EXPECT_EQ(type, untouched);
    EXPECT_EQ(slot, untouched);
    EXPECT_EQ(port, untouched);
    EXPECT_EQ(channel, untouched);
    char name[8] = "before";
    EXPECT_NE(im_get_ifindex_name(no_interface, name, sizeof name), 0);
    EXPECT_STREQ(name, "");
}

TEST(Interfaces, EveryPhysicalPortTellsItsSlotAndItsPort)
{
    for (unsigned slot = 0; slot <= 255; ++slot) {
        for (unsigned port = 0; port <= 255; ++port) {
            const uint32_t ifindex = kit::port_index(static_cast<uint8_t>(slot), static_cast<uint8_t>(port));
            uint8_t its_slot = untouched, its_port = untouched;
            ASSERT_EQ(if_index_get_slot(ifindex, &its_slot), 0) << slot << "/" << port;
            ASSERT_EQ(if_index_get_port(ifindex, &its_port), 0) << slot << "/" << port;
            ASSERT_EQ(its_slot, slot) << slot << "/" << port;
            ASSERT_EQ(its_port, port) << slot << "/" << port;
        }
    }
}

TEST(Interfaces, EveryPortChannelTellsItsNumber)
{
    for (unsigned number = 0; number <= 65535; ++number) {
        uint16_t channel = untouched;
        const uint32_t ifindex = kit::channel_index(static_cast<uint16_t>(number));
        ASSERT_EQ(if_index_port_channel_get_fields(ifindex, &channel), 0) << number;
        ASSERT_EQ(channel, number);
    }
}

TEST(Interfaces, AreFoundByTheLocalNumberThatTheyHave)
{
    constexpr int32_t iod = 71;
    uint32_t ifindex = untouched;
    EXPECT_NE(lcache_im_get_ifindex_frm_iod(iod, &ifindex), 0);
    EXPECT_EQ(ifindex, untouched);

    kit::set_iod(iod, kit::vlan_index(10));
    EXPECT_EQ(lcache_im_get_ifindex_frm_iod(iod, &ifindex), 0);
    EXPECT_EQ(ifindex, kit::vlan_index(10));

    kit::set_iod(iod, kit::vlan_index(11));
    EXPECT_EQ(lcache_im_get_ifindex_frm_iod(iod, &ifindex), 0);
    EXPECT_EQ(ifindex, kit::vlan_index(11));

    kit::set_iod(iod, no_interface);
    EXPECT_NE(lcache_im_get_ifindex_frm_iod(iod, &ifindex), 0);
    EXPECT_EQ(ifindex, kit::vlan_index(11));
}

TEST(Statuses, HaveATextWhateverTheirNumber)
{
    uint8_t slot;
    for (const int status : {if_index_get_slot(no_interface, &slot), 0, 1, -1, 99999, INT32_MIN, INT32_MAX}) {
        const char *const text = syserr2str(status);
        ASSERT_NE(text, nullptr) << status;
        EXPECT_STRNE(text, "") << status;
    }
}

TEST(Statuses, EightTextsHoldAtOnce)
{
    std::vector<const char *> texts;
    std::vector<std::string> copies;
    for (int status = -1; status > -9; --status) {
        texts.push_back(syserr2str(status));
        copies.emplace_back(texts.back());
    }
    for (std::size_t i = 0; i < texts.size(); ++i)
        EXPECT_EQ(texts[i], copies[i]);
}

} // namespace
