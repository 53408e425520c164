// What the switch can do: told by a function that the process may have, else guessed from the card's type.
#include "platform/capability.h"

#include "api/bytes.h"

#include <kov/kov_capability.h>
#include <kov/platform/card.h>

#include <algorithm>
#include <dlfcn.h>
#include <iterator>

u32 kov_platform_cap;

namespace
{

constexpr u32 both = KOV_PLATFORM_CAP_AUTOCONFIG | KOV_PLATFORM_CAP_FWD;

using provider_fn = void (*)(u32 *cap);

provider_fn provider()
{
    return reinterpret_cast<provider_fn>(dlsym(RTLD_DEFAULT, "kov_pd_get_platform_cap"));
}

bool supports_both(u16 card_type)
{
    return std::find(std::begin(card_types_supporting_both), std::end(card_types_supporting_both),
                     card_type) != std::end(card_types_supporting_both);
}

} // namespace

u32 kov_is_platform_p42(void)
{
    alignas(u16) u8 info[6] = {};
    if (get_card_module_info(info) != 0)
        return 0;
    // Deliberate: an unknown card type is taken for one of the auto-configuration-only family.
    return !supports_both(kov::load<u16>(info + 2));
}

u32 kov_is_platform_autoconf_only(void) { return kov_is_platform_p42(); }

void kov_init_get_platform_cap(void)
{
    if (const provider_fn ask = provider()) {
        u32 cap = 0;
        ask(&cap);
        kov_platform_cap = cap;
    } else {
        kov_platform_cap = kov_is_platform_p42() ? u32{KOV_PLATFORM_CAP_AUTOCONFIG} : both;
    }
}

s32 kov_test_fwd_supported(void)
{
    kov_init_get_platform_cap();
    return static_cast<s32>(kov_platform_cap & KOV_PLATFORM_CAP_FWD);
}

s32 kov_test_autoconfig_supported(void)
{
    kov_init_get_platform_cap();
    return static_cast<s32>(kov_platform_cap & KOV_PLATFORM_CAP_AUTOCONFIG);
}
