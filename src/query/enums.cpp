#include <kov/kov_enums.h>

#include "api/print_buffer.h"

#include <kov/platform/osal.h>

#include <cstddef>

namespace
{

template <std::size_t N>
const char *text_or(const char *const (&texts)[N], u32 value, const char *other)
{
    return value < N ? texts[value] : other;
}

constexpr const char *fwd_mode_texts[] = {
    "Standard", "Proxy Gateway", "Anycast Gateway", "Conditional Proxy Gateway", "Invalid Fwd mode",
};

constexpr const char *suppress_arp_texts[] = {
    "ARP Suppression Disabled",
    "L2 ARP Suppression",
    "L2/L3 ARP Suppression",
};

constexpr const char *encap_texts[] = {"Fabric", "Vxlan"};

} // namespace

u32 kov_get_default_switch_role(void) { return KOV_SWITCH_ROLE_LEAF; }
u32 kov_get_default_forwarding_mode(void) { return KOV_FWD_MODE_STANDARD; }
u32 kov_get_default_forwarding_encap(void) { return KOV_FWD_ENCAP_FABRIC; }

u32 kov_is_switch_role_leaf(u32 role) { return (role & KOV_SWITCH_ROLE_LEAF) != 0; }
u32 kov_is_switch_role_border(u32 role) { return (role & KOV_SWITCH_ROLE_BORDER) != 0; }
u32 kov_is_switch_role_spine(u32 role) { return (role & KOV_SWITCH_ROLE_SPINE) != 0; }
u32 kov_is_switch_role_dci(u32 role) { return (role & KOV_SWITCH_ROLE_DCI) != 0; }

u32 kov_is_enhanced_fwd_mode(u32 mode) { return mode == KOV_FWD_MODE_PROXY_GATEWAY; }
u32 kov_is_anycast_fwd_mode(u32 mode) { return mode == KOV_FWD_MODE_ANYCAST_GATEWAY; }
u32 kov_is_ferro_fwd_mode(u32 mode)
{
    return kov_is_enhanced_fwd_mode(mode) || kov_is_anycast_fwd_mode(mode);
}

// Deliberate: an unknown mode prints as "Standard", not as invalid.
const char *kov_fwd_mode_str(u32 mode) { return text_or(fwd_mode_texts, mode, "Standard"); }

const char *kov_suppress_arp_mode_to_str(u32 mode)
{
    return text_or(suppress_arp_texts, mode, "ARP Suppression INVALID");
}

const char *kov_fwd_encap_str(u32 encap) { return text_or(encap_texts, encap, "Invalid encapsulation"); }

const char *kov_switch_role_str(u32 role)
{
    struct role_word {
        u32 bit;
        const char *word;
    };
    // Deliberate: border, spine, leaf, dci-node, not the order of the bits; each word keeps its trailing
    // blank.
    static constexpr role_word words[] = {
        {KOV_SWITCH_ROLE_BORDER, "border "},
        {KOV_SWITCH_ROLE_SPINE, "spine "},
        {KOV_SWITCH_ROLE_LEAF, "leaf "},
        {KOV_SWITCH_ROLE_DCI, "dci-node "},
    };
    char *text = kov::next_print_buffer();
    for (const role_word &each : words)
        if (role & each.bit)
            osal_strcat(text, each.word, kov_print_buffer_size);
    return text;
}
