// Profile options: a fresh record, and the two parameter lists in it.
#include "api/bytes.h"

#include <kov/kov_profile.h>

#include <cstring>

namespace
{

// In front of an entry's text: a tag, which nobody writes, and the length.
constexpr u32 entry_head_size = 2;
constexpr u32 length_at = 1;

// Where the next entry goes, in bytes from the list's first; past its end when the count is not true.
u32 end_of_list(const u8 *list, u8 count)
{
    u32 at = 0;
    for (u32 i = 0; i < count && at + length_at < KOV_PROFILE_PARAM_SIZE; ++i)
        at += list[at + length_at] + entry_head_size;
    return at;
}

// Appends an entry; false, and nothing changes, when there is no room for it.
// Deliberate: room is needed for the whole text, but a text of 256 characters or more is stored modulo 256.
bool append(u8 *list, u8 count, const char *text)
{
    const u32 at = end_of_list(list, count);
    if (at > KOV_PROFILE_PARAM_SIZE)
        return false;
    const std::size_t length = std::strlen(text);
    if (length + entry_head_size > KOV_PROFILE_PARAM_SIZE - at)
        return false;
    const u8 stored = static_cast<u8>(length);
    list[at + length_at] = stored;
    std::memcpy(list + at + entry_head_size, text, stored);
    return true;
}

} // namespace

u32 kov_profile_options_init(kov_profile_options_t *options)
{
    if (!options)
        return 0;
    std::memset(options, 0, sizeof *options);
    return 1;
}

u32 kov_profile_options_clear_param(kov_profile_options_t *options)
{
    if (options)
        options->config_profile.param_count = 0;
    return 1;
}

u32 kov_profile_options_clear_include_param(kov_profile_options_t *options)
{
    if (options)
        options->config_profile.include_param_count = 0;
    return 1;
}

u32 kov_profile_options_add_param(kov_profile_options_t *options, const char *text)
{
    if (!options || !text)
        return 0;
    kov_config_profile_data_t &profile = options->config_profile;
    if (!append(profile.c_param_tlv, profile.param_count, text))
        return 0;
    ++profile.param_count;
    return 1;
}

u32 kov_profile_options_add_include_param(kov_profile_options_t *options, const char *text)
{
    if (!options || !text)
        return 0;
    kov_config_profile_data_t &profile = options->config_profile;
    if (!append(profile.c_include_param_tlv, profile.include_param_count, text))
        return 0;
    ++profile.include_param_count;
    return 1;
}
