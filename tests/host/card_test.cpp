// The card of a Linux process: the one that it has chosen, or none.
#include <kov/platform/card.h>
#include <kov_host.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <set>

namespace
{

class Card : public testing::Test
{
protected:
    ~Card() override { kov_host_card_set(-1); }

    // The type code, or -1 when the card cannot be read.
    static int32_t type()
    {
        uint16_t info[3] = {0xAAAA, 0xAAAA, 0xAAAA};
        if (get_card_module_info(info) != 0)
            return -1;
        EXPECT_EQ(info[0], 0xAAAA) << "only the code is written";
        EXPECT_EQ(info[2], 0xAAAA) << "only the code is written";
        return info[1];
    }
};

TEST_F(Card, IsNotThereUntilTheProcessChoosesOne)
{
    uint16_t info[3] = {};
    EXPECT_EQ(get_card_module_info(info), ENODEV);
    EXPECT_EQ(kov_host_card_set(0x2101), 0);
    EXPECT_EQ(type(), 0x2101);
}

TEST_F(Card, CanBeAnyOf65536TypesAndCanBeTakenAway)
{
    for (const int32_t code : {0, 1, 0x7FFF, 0x8000, 0xFFFF}) {
        EXPECT_EQ(kov_host_card_set(code), 0);
        EXPECT_EQ(type(), code);
    }
    for (const int32_t none : {-1, -2, INT_MIN}) {
        EXPECT_EQ(kov_host_card_set(7), 0);
        EXPECT_EQ(kov_host_card_set(none), 0);
        EXPECT_EQ(type(), -1);
    }
}

TEST_F(Card, ATypeBeyond16BitsIsRefusedAndTheCardStays)
{
    EXPECT_EQ(kov_host_card_set(7), 0);
    for (const int32_t code : {0x10000, INT_MAX}) {
        EXPECT_EQ(kov_host_card_set(code), -1);
        EXPECT_EQ(kov_host_error(), std::to_string(code) + " is not a card type: 0 to 65535");
    }
    EXPECT_EQ(type(), 7);
}

TEST_F(Card, ABlockMustBeThere)
{
    kov_host_card_set(7);
    EXPECT_EQ(get_card_module_info(nullptr), EINVAL);
}

TEST_F(Card, TheCatalogueHas26DifferentCodes)
{
    const std::set<uint16_t> codes(std::begin(card_types_supporting_both),
                                   std::end(card_types_supporting_both));
    EXPECT_EQ(codes.size(), 26u);
}

} // namespace
