// The capability of a real process: what its dynamic linker finds, and what its card says. Two programs are
// made of this source; one of them has a provider.
#include <kov/kov_capability.h>
#include <kov/platform/card.h>
#include <kov_host.h>

#include <gtest/gtest.h>

namespace
{

class ProcessCapability : public testing::Test
{
protected:
    ~ProcessCapability() override { kov_host_card_set(-1); }
};

} // namespace

#ifdef KOV_WITH_PROVIDER

extern "C" KOV_EXPORT void kov_pd_get_platform_cap(uint32_t *cap);

void kov_pd_get_platform_cap(uint32_t *cap)
{
    EXPECT_EQ(*cap, 0u);
    *cap = 2;
}

TEST_F(ProcessCapability, IsWhatTheProcessesOwnProviderSaysWhateverTheCard)
{
    for (const int32_t card : {-1, 0, int32_t{card_types_supporting_both[0]}}) {
        kov_host_card_set(card);
        EXPECT_EQ(kov_test_fwd_supported(), 2);
        EXPECT_EQ(kov_test_autoconfig_supported(), 0);
    }
}

#else

TEST_F(ProcessCapability, FollowsTheCardWithoutAProvider)
{
    EXPECT_EQ(kov_test_fwd_supported(), 2) << "no card: both";
    EXPECT_EQ(kov_test_autoconfig_supported(), 1);
    kov_host_card_set(0);
    EXPECT_EQ(kov_test_fwd_supported(), 0) << "an unknown card: auto-configuration only";
    EXPECT_EQ(kov_test_autoconfig_supported(), 1);
    for (const uint16_t card : card_types_supporting_both) {
        kov_host_card_set(card);
        EXPECT_EQ(kov_is_platform_p42(), 0u);
        EXPECT_EQ(kov_test_fwd_supported(), 2);
        EXPECT_EQ(kov_test_autoconfig_supported(), 1);
    }
}

#endif
