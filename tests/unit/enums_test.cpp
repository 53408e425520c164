// What the small numbers mean: predicates, defaults and display strings.
#include "lab.h"

namespace
{

class Enumerations : public Lab
{
};

TEST_F(Enumerations, FreshRecordsTakeLeafStandardAndFabric)
{
    EXPECT_EQ(kov_get_default_switch_role(), 1u);
    EXPECT_EQ(kov_get_default_forwarding_mode(), 0u);
    EXPECT_EQ(kov_get_default_forwarding_encap(), 0u);
}

TEST_F(Enumerations, EachRolePredicateLooksAtItsOwnBit)
{
    for (uint32_t role = 0; role < 64; ++role) {
        EXPECT_EQ(kov_is_switch_role_leaf(role), role & 1) << role;
        EXPECT_EQ(kov_is_switch_role_border(role), role >> 1 & 1) << role;
        EXPECT_EQ(kov_is_switch_role_spine(role), role >> 2 & 1) << role;
        EXPECT_EQ(kov_is_switch_role_dci(role), role >> 3 & 1) << role;
    }
    EXPECT_EQ(kov_is_switch_role_leaf(UINT32_MAX), 1u);
    EXPECT_EQ(kov_is_switch_role_dci(~8u), 0u);
}

struct ModeCase {
    uint32_t mode, enhanced, anycast, ferro;
    const char *text;
};

constexpr ModeCase modes[] = {
    {0, 0, 0, 0, "Standard"},         {1, 1, 0, 1, "Proxy Gateway"},
    {2, 0, 1, 1, "Anycast Gateway"},  {3, 0, 0, 0, "Conditional Proxy Gateway"},
    {4, 0, 0, 0, "Invalid Fwd mode"}, {5, 0, 0, 0, "Standard"},
    {7, 0, 0, 0, "Standard"},         {UINT32_MAX, 0, 0, 0, "Standard"},
};

TEST_F(Enumerations, OnlyModes1And2AreFerroModes)
{
    for (const ModeCase &c : modes) {
        EXPECT_EQ(kov_is_enhanced_fwd_mode(c.mode), c.enhanced) << c.mode;
        EXPECT_EQ(kov_is_anycast_fwd_mode(c.mode), c.anycast) << c.mode;
        EXPECT_EQ(kov_is_ferro_fwd_mode(c.mode), c.ferro) << c.mode;
    }
}

// Deliberate: an unknown mode prints as "Standard", not as invalid.
TEST_F(Enumerations, AnUnknownModePrintsAsStandardNotAsInvalid)
{
    for (const ModeCase &c : modes)
        EXPECT_STREQ(kov_fwd_mode_str(c.mode), c.text) << c.mode;
}

TEST_F(Enumerations, SuppressionModesAndEncapsulationsHaveATextForTheUnknown)
{
    EXPECT_STREQ(kov_suppress_arp_mode_to_str(0), "ARP Suppression Disabled");
    EXPECT_STREQ(kov_suppress_arp_mode_to_str(1), "L2 ARP Suppression");
    EXPECT_STREQ(kov_suppress_arp_mode_to_str(2), "L2/L3 ARP Suppression");
    EXPECT_STREQ(kov_suppress_arp_mode_to_str(3), "ARP Suppression INVALID");
    EXPECT_STREQ(kov_suppress_arp_mode_to_str(UINT32_MAX), "ARP Suppression INVALID");
    EXPECT_STREQ(kov_fwd_encap_str(0), "Fabric");
    EXPECT_STREQ(kov_fwd_encap_str(1), "Vxlan");
    EXPECT_STREQ(kov_fwd_encap_str(2), "Invalid encapsulation");
    EXPECT_STREQ(kov_fwd_encap_str(UINT32_MAX), "Invalid encapsulation");
}

struct RoleCase {
    uint32_t role;
    const char *text;
};

constexpr RoleCase roles[] = {
    {0, ""},
    {1, "leaf "},
    {2, "border "},
    {3, "border leaf "},
    {4, "spine "},
    {8, "dci-node "},
    {15, "border spine leaf dci-node "},
    {16, ""},
    {UINT32_MAX, "border spine leaf dci-node "},
};

// Deliberate: the order is border, spine, leaf, dci-node, not that of the bits.
TEST_F(Enumerations, RolesPrintInTheOrderBorderSpineLeafDciNodeNotThatOfTheBits)
{
    for (const RoleCase &c : roles)
        EXPECT_STREQ(kov_switch_role_str(c.role), c.text) << c.role;
}

TEST_F(Enumerations, ARoleTextHoldsForSevenMoreCallsAndTheNinthTakesItsBuffer)
{
    const char *const first = kov_switch_role_str(KOV_SWITCH_ROLE_SPINE);
    for (int i = 0; i < 7; ++i)
        EXPECT_NE(kov_switch_role_str(KOV_SWITCH_ROLE_LEAF), first);
    EXPECT_STREQ(first, "spine ");
    EXPECT_EQ(kov_switch_role_str(KOV_SWITCH_ROLE_DCI), first);
    EXPECT_STREQ(first, "dci-node ");
}

TEST_F(Enumerations, RoleTextsAndInterfaceNamesShareOneRing)
{
    const char *const first = kov_switch_role_str(KOV_SWITCH_ROLE_SPINE);
    for (int i = 0; i < 7; ++i)
        EXPECT_STREQ(kov_ifindex_name_str(1), "-");
    EXPECT_EQ(kov_switch_role_str(KOV_SWITCH_ROLE_LEAF), first);
}

TEST_F(Enumerations, NothingHereOpensTheLibrary)
{
    kov_switch_role_str(15);
    kov_fwd_mode_str(2);
    EXPECT_EQ(kov_api.initialized, 0u);
    EXPECT_FALSE(platform.db.is_open());
}

} // namespace
