// What the switch can do: with a provider, from the card's type, and when the card cannot be read.
#include "lab.h"

#include "platform/capability.h"

#include <kov/platform/card.h>

#include <set>

namespace
{

using fake::Call;

class Capability : public Lab
{
protected:
    Capability() { kov_platform_cap = 0; }

    // What both tests answer, and the word that they leave.
    static void expect_capability(uint32_t word)
    {
        kov_platform_cap = ~word;
        EXPECT_EQ(kov_test_fwd_supported(), static_cast<int32_t>(word & 2));
        EXPECT_EQ(kov_platform_cap, word);
        kov_platform_cap = ~word;
        EXPECT_EQ(kov_test_autoconfig_supported(), static_cast<int32_t>(word & 1));
        EXPECT_EQ(kov_platform_cap, word);
    }

    // 0x0101 is in the fake's catalogue, 0x0001 is not.
    static constexpr uint16_t both = 0x0101, autoconfig_only = 0x0001;
};

// ----------------------------------------------------------------------------------------- with a provider

TEST_F(Capability, AProvidersWordIsTakenOverWhateverItIsAndWhateverTheCard)
{
    uint32_t word = 0;
    platform.card.provider = [&word](uint32_t *cap) { *cap = word; };
    for (const uint16_t card : {both, autoconfig_only}) {
        platform.card.type = card;
        for (const uint32_t said : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFCu, 0xFFFFFFFEu, UINT32_MAX}) {
            word = said;
            expect_capability(said);
        }
    }
    EXPECT_EQ(platform.calls.count(Call::get_card_module_info), 0u);
}

TEST_F(Capability, WithAProviderThatReports2ForwardingIsSupportedAndAutoConfigurationIsNot)
{
    platform.card.provider = [](uint32_t *cap) { *cap = 2; };
    EXPECT_EQ(kov_test_fwd_supported(), 2);
    EXPECT_EQ(kov_test_autoconfig_supported(), 0);
}

TEST_F(Capability, AProviderThatStoresNothingReportsNothing)
{
    kov_platform_cap = 3;
    uint32_t found = 99;
    platform.card.provider = [&found](const uint32_t *cap) { found = *cap; };
    expect_capability(0);
    EXPECT_EQ(found, 0u) << "the word that a provider is given is 0";
}

TEST_F(Capability, AProviderHasNoSayInTheCardsFamily)
{
    platform.card.provider = [](uint32_t *cap) { *cap = 3; };
    platform.card.type = autoconfig_only;
    EXPECT_EQ(kov_is_platform_p42(), 1u);
    EXPECT_EQ(kov_is_platform_autoconf_only(), 1u);
}

TEST_F(Capability, TheProviderIsLookedForAtEachCall)
{
    platform.card.type = autoconfig_only;
    EXPECT_EQ(kov_test_fwd_supported(), 0);
    platform.card.provider = [](uint32_t *cap) { *cap = 2; };
    EXPECT_EQ(kov_test_fwd_supported(), 2);
    platform.card.provider = nullptr;
    EXPECT_EQ(kov_test_fwd_supported(), 0);
}

// -------------------------------------------------------------------------------------- from the card's type

// Deliberate: an unknown card type is taken for one of the auto-configuration-only family.
TEST_F(Capability, AnUnknownCardTypeIsTakenForOneOfTheAutoConfigurationOnlyFamily)
{
    const std::set<uint32_t> listed(std::begin(card_types_supporting_both),
                                    std::end(card_types_supporting_both));
    ASSERT_EQ(listed.size(), 26u);
    uint32_t supporting_both = 0;
    for (uint32_t code = 0; code <= 0xFFFF; ++code) {
        platform.card.type = static_cast<uint16_t>(code);
        const uint32_t autoconf_only = listed.count(code) ? 0 : 1;
        ASSERT_EQ(kov_is_platform_p42(), autoconf_only) << code;
        ASSERT_EQ(kov_is_platform_autoconf_only(), autoconf_only) << code;
        kov_init_get_platform_cap();
        ASSERT_EQ(kov_platform_cap, autoconf_only ? 1u : 3u) << code;
        supporting_both += !autoconf_only;
    }
    EXPECT_EQ(supporting_both, 26u);
}

TEST_F(Capability, BothTestsFollowTheCard)
{
    platform.card.type = both;
    expect_capability(3);
    platform.card.type = autoconfig_only;
    expect_capability(1);
}

TEST_F(Capability, ACardThatCannotBeReadIsOneThatSupportsBoth)
{
    platform.card.type = autoconfig_only;
    platform.calls.fail_always(Call::get_card_module_info);
    EXPECT_EQ(kov_is_platform_p42(), 0u);
    EXPECT_EQ(kov_is_platform_autoconf_only(), 0u);
    expect_capability(3);
}

TEST_F(Capability, TheCardIsAskedWithAClearedBlock)
{
    for (const uint16_t card : {both, autoconfig_only}) {
        platform.card.type = card;
        platform.card.given.clear();
        kov_is_platform_p42();
        EXPECT_EQ(platform.card.given, fake::Bytes(6));
    }
}

TEST_F(Capability, NothingIsRememberedFromOneTestToTheNext)
{
    platform.card.type = both;
    EXPECT_EQ(kov_test_fwd_supported(), 2);
    platform.card.type = autoconfig_only;
    EXPECT_EQ(kov_test_fwd_supported(), 0);
    EXPECT_EQ(platform.calls.count(Call::get_card_module_info), 2u);
}

TEST_F(Capability, NoCallNeedsAnOpenLibraryOrTracesAnything)
{
    kov_api_wait_for_init = 1;
    debug_on();
    platform.card.type = both;
    kov_init_get_platform_cap();
    EXPECT_EQ(kov_platform_cap, 3u);
    EXPECT_EQ(kov_test_fwd_supported(), 2);
    EXPECT_EQ(kov_test_autoconfig_supported(), 1);
    EXPECT_EQ(kov_is_platform_p42(), 0u);
    expect_traces({});
    EXPECT_EQ(kov_api.initialized, 0u);
}

} // namespace
