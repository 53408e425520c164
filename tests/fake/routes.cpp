// Routes, VRF names, status texts and the card.
#include "internal.h"

#include <kov/platform/card.h>
#include <kov/platform/routes.h>

#include <cerrno>
#include <cstring>

using namespace fake;

namespace
{

Route route(Call call, const void *rt)
{
    enter(call);
    return rt ? *static_cast<const Route *>(rt) : Route();
}

// The optional provider, as dlsym hands it out: it has no context, so it finds the test's function here.
void platform_cap(uint32_t *cap) { platform().card.provider(cap); }

// Without the C library: a sanitizer's start-up looks symbols up before it has one.
bool same_text(const char *a, const char *b)
{
    for (; *a == *b; ++a, ++b)
        if (*a == '\0')
            return true;
    return false;
}

} // namespace

extern "C" {

void *__real_dlsym(void *handle, const char *name);

const uint16_t card_types_supporting_both[26] = {
    0x0101, 0x0102, 0x0103, 0x0104, 0x0105, 0x0106, 0x0107, 0x0108, 0x0109, 0x010A, 0x010B, 0x010C, 0x010D,
    0x010E, 0x010F, 0x0110, 0x0111, 0x0112, 0x0113, 0x0114, 0x0115, 0x0116, 0x0117, 0x0118, 0x0119, 0xFF1A,
};

int urib_route_is_cond_flag_set(const void *rt)
{
    return route(Call::urib_route_is_cond_flag_set, rt).conditional;
}

int urib_route_is_conv_flag_set(const void *rt)
{
    return route(Call::urib_route_is_conv_flag_set, rt).converted;
}

int u6rib_route_is_cond_flag_set(const void *rt)
{
    return route(Call::u6rib_route_is_cond_flag_set, rt).conditional;
}

int u6rib_route_is_conv_flag_set(const void *rt)
{
    return route(Call::u6rib_route_is_conv_flag_set, rt).converted;
}

const char *vrfmgr_get_context_name(uint32_t vrf_id, uint32_t)
{
    const auto &names = platform().routes.vrf_names;
    const auto at = names.find(vrf_id);
    return enter(Call::vrfmgr_get_context_name) || at == names.end() ? nullptr : at->second.c_str();
}

const char *syserr2str(int status)
{
    enter(Call::syserr2str);
    return rotate("error " + std::to_string(status));
}

int get_card_module_info(void *info6)
{
    Card &card = platform().card;
    auto *const block = static_cast<uint8_t *>(info6);
    card.given.assign(block, block + 6);
    if (enter(Call::get_card_module_info) || !card.type)
        return EIO;
    std::memcpy(block + 2, &*card.type, sizeof *card.type);
    return 0;
}

__attribute__((no_sanitize("address", "undefined"))) void *__wrap_dlsym(void *handle, const char *name)
{
    if (!same_text(name, "kov_pd_get_platform_cap"))
        return __real_dlsym(handle, name);
    return platform().card.provider ? reinterpret_cast<void *>(&platform_cap) : nullptr;
}

} // extern "C"
