// Routes and VRFs: the two flags of a route, and the name of a VRF.
#include "places.h"

#include <kov/platform/routes.h>

#include <gtest/gtest.h>

#include <string>

namespace
{

struct Family {
    bool v6;
    int (*is_conditional)(const void *rt);
    int (*is_converted)(const void *rt);
};

constexpr Family families[] = {
    {false, urib_route_is_cond_flag_set, urib_route_is_conv_flag_set},
    {true, u6rib_route_is_cond_flag_set, u6rib_route_is_conv_flag_set},
};

TEST(Routes, TellEachOfTheirFlagsByItself)
{
    for (const Family &family : families) {
        for (const bool conditional : {false, true}) {
            for (const bool converted : {false, true}) {
                const void *const rt = kit::route_with(family.v6, conditional, converted);
                EXPECT_EQ(family.is_conditional(rt) != 0, conditional);
                EXPECT_EQ(family.is_converted(rt) != 0, converted);
            }
        }
    }
}

TEST(Routes, ANullRouteHasNoFlag)
{
    for (const Family &family : families) {
        EXPECT_EQ(family.is_conditional(nullptr), 0);
        EXPECT_EQ(family.is_converted(nullptr), 0);
    }
}

TEST(Vrfs, HaveTheNamesTheyWereGivenAndOthersNone)
{
    const std::string longest(32, 'v');
    kit::set_vrf(7, "red");
    kit::set_vrf(0xFFFFFFFF, longest.c_str());
    EXPECT_STREQ(vrfmgr_get_context_name(7, 0), "red");
    EXPECT_STREQ(vrfmgr_get_context_name(0xFFFFFFFF, 0), longest.c_str());
    EXPECT_EQ(vrfmgr_get_context_name(8, 0), nullptr);
    kit::set_vrf(7, "blue");
    EXPECT_STREQ(vrfmgr_get_context_name(7, 0), "blue");
    kit::set_vrf(7, nullptr);
    kit::set_vrf(0xFFFFFFFF, nullptr);
    EXPECT_EQ(vrfmgr_get_context_name(7, 0), nullptr);
    EXPECT_EQ(vrfmgr_get_context_name(0xFFFFFFFF, 0), nullptr);
}

} // namespace
