// The card: no Linux machine has one, so a process says which it wants to have.
#include "kov_host.h"
#include "support.h"

#include <kov/platform/card.h>

#include <cerrno>
#include <cstring>

namespace
{

constexpr std::size_t type_at = 2;

std::int32_t card_type = -1; // below 0: no card

} // namespace

extern "C" {

// Two families of imagined switches, thirteen models each.
const uint16_t card_types_supporting_both[26] = {
    0x2101, 0x2102, 0x2103, 0x2104, 0x2105, 0x2106, 0x2107, 0x2108, 0x2109, 0x210a, 0x210b, 0x210c, 0x210d,
    0x2201, 0x2202, 0x2203, 0x2204, 0x2205, 0x2206, 0x2207, 0x2208, 0x2209, 0x220a, 0x220b, 0x220c, 0x220d,
};

int get_card_module_info(void *info6)
{
    if (info6 == nullptr)
        return EINVAL;
    if (card_type < 0)
        return ENODEV;
    const auto code = static_cast<uint16_t>(card_type);
    std::memcpy(static_cast<uint8_t *>(info6) + type_at, &code, sizeof code);
    return 0;
}

int kov_host_card_set(int32_t type)
{
    if (type > UINT16_MAX)
        return kov_host::fail("%d is not a card type: 0 to 65535", type);
    card_type = type;
    return 0;
}

} // extern "C"
