// The card: its type code stands where the header says, and a platform without one says so.
#include "places.h"

#include <kov/platform/card.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace
{

// The code that a reader of the block sees.
uint16_t type_in(const uint8_t *info)
{
    uint16_t type;
    std::memcpy(&type, info + 2, sizeof type);
    return type;
}

TEST(Card, ItsTypeCodeStandsAtOffset2OfABlockOf6Bytes)
{
    for (uint32_t code = 0; code <= 0xFFFF; ++code) {
        kit::set_card(static_cast<uint16_t>(code));
        const std::unique_ptr<uint8_t[]> info(
            new uint8_t[6]()); // on the heap, where a sanitizer sees its end
        ASSERT_EQ(get_card_module_info(info.get()), 0) << code;
        ASSERT_EQ(type_in(info.get()), code);
    }
    kit::remove_card();
}

TEST(Card, ThatIsNotThereCannotBeRead)
{
    kit::set_card(7);
    kit::remove_card();
    uint8_t info[6] = {};
    EXPECT_NE(get_card_module_info(info), 0);
    kit::set_card(8);
    EXPECT_EQ(get_card_module_info(info), 0);
    EXPECT_EQ(type_in(info), 8);
    kit::remove_card();
}

} // namespace
