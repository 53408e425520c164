// From an interface index to a slot and a port: every physical place and every channel number there is.
#include "platform/slot_port.h"

#include "lab.h"

#include <tuple>

using fake::Call;

namespace
{

constexpr uint32_t port_ifindex = 0x68000206, channel_ifindex = 0x58000014;
constexpr int not_known = 19; // what the fake says of an interface that it does not have

// Status, slot and port.
using Place = std::tuple<int, unsigned, unsigned>;

class SlotAndPort : public Lab
{
protected:
    SlotAndPort()
    {
        platform.interfaces.add_port(port_ifindex, 2, 6);
        platform.interfaces.add_channel(channel_ifindex, 20);
    }

    static Place place_of(uint32_t ifindex)
    {
        uint8_t slot = 0xA5, port = 0xA5;
        const int status = kov_ifindex_get_slot_port(ifindex, slot, port);
        return {status, slot, port};
    }
};

TEST_F(SlotAndPort, OfAPhysicalPortAreThePlatformsUpToSlot155AndPort254)
{
    for (const uint32_t type : {26u, 31u}) {
        auto &its = platform.interfaces.by_index[port_ifindex];
        its.type = type;
        for (unsigned slot = 0; slot <= 255; ++slot) {
            for (unsigned port = 0; port <= 255; ++port) {
                its.slot = static_cast<uint8_t>(slot);
                its.port = static_cast<uint8_t>(port);
                const int status = slot <= 155 && port <= 254 ? 0 : -1;
                ASSERT_EQ(place_of(port_ifindex), Place(status, slot, port)) << "type " << type;
            }
        }
    }
}

// Deliberate: the slot is kept in 8 bits. Channels from 25500 on fall on the slots of physical ports again.
TEST_F(SlotAndPort, OfAPortChannelFollowFromItsNumberAndTheSlotIsKeptIn8Bits)
{
    auto &its = platform.interfaces.by_index[channel_ifindex];
    unsigned failed = 0, on_physical_slots = 0;
    for (unsigned channel = 0; channel <= 65535; ++channel) {
        its.channel = static_cast<uint16_t>(channel);
        const unsigned slot = (156 + channel / 255) % 256, port = channel % 255;
        ASSERT_EQ(place_of(channel_ifindex), Place(slot == 255 ? -1 : 0, slot, port)) << channel;
        if (slot == 255) {
            ASSERT_TRUE(channel >= 25245 && channel <= 25499) << channel;
            ++failed;
        }
        if (slot <= 155) {
            ASSERT_TRUE(channel >= 25500 && channel <= 65279) << channel;
            ++on_physical_slots;
        }
    }
    EXPECT_EQ(failed, 255u);
    EXPECT_EQ(on_physical_slots, 65279u - 25500u + 1);
}

TEST_F(SlotAndPort, OfPortChannelsAtTheEdges)
{
    const struct {
        uint16_t channel;
        Place place;
    } cases[] = {
        {0, {0, 156, 0}},      {254, {0, 156, 254}},    {255, {0, 157, 0}}, {25244, {0, 254, 254}},
        {25245, {-1, 255, 0}}, {25499, {-1, 255, 254}}, {25500, {0, 0, 0}}, {65279, {0, 155, 254}},
        {65280, {0, 156, 0}},  {65535, {0, 157, 0}},
    };
    for (const auto &c : cases) {
        platform.interfaces.by_index[channel_ifindex].channel = c.channel;
        EXPECT_EQ(place_of(channel_ifindex), c.place) << c.channel;
    }
}

TEST_F(SlotAndPort, NothingElseHas)
{
    platform.interfaces.add_vlan(0x24000001, "vlan1");
    platform.interfaces.add_bdi(0xDC000001, "bdi1");
    for (const uint32_t ifindex : {0u, 0x24000001u, 0xDC000001u, 0x68000207u})
        EXPECT_EQ(place_of(ifindex), Place(-1, 0, 0)) << ifindex;
}

TEST_F(SlotAndPort, FailWithTheStatusOfTheQuestionThatFailed)
{
    const struct {
        const char *what;
        uint32_t ifindex;
        Call call;
        Place place;
    } cases[] = {
        {"the type", port_ifindex, Call::if_index_get_type, {-1, 0, 0}},
        {"the slot", port_ifindex, Call::if_index_get_slot, {not_known, 0, 0}},
        {"the port", port_ifindex, Call::if_index_get_port, {not_known, 2, 0}},
        {"the channel", channel_ifindex, Call::if_index_port_channel_get_fields, {not_known, 0, 0}},
    };
    for (const auto &c : cases) {
        platform.calls.fail(c.call);
        EXPECT_EQ(place_of(c.ifindex), c.place) << c.what;
        platform.calls.mend();
    }
}

TEST_F(SlotAndPort, ThePortIsNotAskedForWithoutASlot)
{
    platform.calls.fail(Call::if_index_get_slot);
    place_of(port_ifindex);
    EXPECT_EQ(platform.calls.count(Call::if_index_get_port), 0u);
}

TEST_F(SlotAndPort, ASlotAbove155FailsWhateverTheQuestionForThePortSaid)
{
    platform.interfaces.by_index[port_ifindex].slot = 156;
    platform.calls.fail(Call::if_index_get_port);
    EXPECT_EQ(place_of(port_ifindex), Place(-1, 156, 0));
}

} // namespace
