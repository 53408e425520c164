// The profile keys and the results of a request, as tables.
#include "api/types.h"

#include <kov/kov_profile.h>

namespace
{

struct key_type {
    const char *text;
    u32 len;      // of the whole key, its type byte included
    u32 data_len; // of the reply data behind it
};

constexpr u32 usual_data_len = 4;

constexpr key_type key_types[] = {
    {"VLAN Key", 28, usual_data_len},
    {"DHCP Key", 160, usual_data_len},
    {"VDP Key", 100, 16},
    {"VNSEG Key", 284, usual_data_len},
    {"CLI Key", 0, usual_data_len}, // Deliberate: a CLI key has no body.
    {"BGP Key", 12, usual_data_len},
    {"UHost Key", sizeof(kov_uhost_key_t), sizeof(kov_profile_reply)},
};
static_assert(sizeof key_types / sizeof key_types[0] == KOV_PROFILE_KEY_END);

// Deliberate: a type that nobody knows has no length and no text, but the usual reply data.
constexpr key_type unknown_key_type = {nullptr, 0, usual_data_len};

const key_type &type_of(u32 type) { return type < KOV_PROFILE_KEY_END ? key_types[type] : unknown_key_type; }

struct result_text {
    u32 first, last;
    const char *text;
};

constexpr result_text result_texts[] = {
    {1, 1, "No Error"},
    {2, 2, "No Error: Refresh"},
    {3, 3, "No Error: Other"},
    {21, 21, "Error"},
    {22, 22, "Error: No profile found"},
    {23, 23, "Error: Invalid profile"},
    {24, 24, "Error: No VLAN"},
    {25, 25, "Error: No VNI"},
    {26, 26, "Error: ADMB error"},
    {27, 28, "Error: Other"},
    {29, 29, "Error: Invalid request"},
    {30, 30, "Error: No host found"},
    {31, 31, "Error: System not ready"},
    {32, 40, "Error: Other"},
    {41, 41, "Clear: Auto-config"},
    {42, 42, "Clear: Profile deleted"},
    {43, 43, "Clear: Profile changed"},
    {44, 44, "Clear: VLAN deleted"},
    {45, 45, "Clear: VLAN changed"},
    {46, 47, "Clear: VNI deleted"}, // Deliberate: 47 shares the text of 46.
    {48, 48, "Error: Other"},
};

} // namespace

u32 kov_profile_key_type_to_len(u32 type) { return type_of(type).len; }
u32 kov_profile_key_type_to_data_len(u32 type) { return type_of(type).data_len; }
const char *kov_profile_key_type_to_string(u32 type) { return type_of(type).text; }

const char *kov_profile_data_value_to_string(u32 code)
{
    for (const result_text &row : result_texts)
        if (code >= row.first && code <= row.last)
            return row.text;
    return "Error: Unknown";
}
