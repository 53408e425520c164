// The tables of VRFs and routes that a process fills for itself: what is accepted, what is found.
#include "host_test.h"

#include <kov/platform/routes.h>

namespace
{

class Routes : public testing::Test
{
protected:
    ~Routes() override
    {
        for (const std::string &prefix : prefixes)
            kov_host_route_delete(1, prefix.c_str());
        kov_host_vrf_set(1, nullptr);
    }
    void add(const std::string &prefix, uint32_t flags = 0)
    {
        EXPECT_EQ(kov_host_route_set(1, prefix.c_str(), flags), 0) << kov_host_error();
        prefixes.push_back(prefix);
    }
    static const void *find(const char *address) { return kov_host_route_find(1, address); }

    std::vector<std::string> prefixes;
};

TEST_F(Routes, AreFoundByTheLongestPrefixThatHoldsTheAddress)
{
    add("10.0.0.0/8");
    add("10.1.0.0/16", KOV_HOST_ROUTE_CONDITIONAL);
    add("10.1.2.3/32", KOV_HOST_ROUTE_CONVERTED);
    EXPECT_EQ(find("11.0.0.0"), nullptr);
    EXPECT_EQ(find("10.2.0.1"), find("10.255.255.255"));
    EXPECT_NE(find("10.2.0.1"), find("10.1.0.1"));
    EXPECT_EQ(urib_route_is_cond_flag_set(find("10.2.0.1")), 0);
    EXPECT_EQ(urib_route_is_cond_flag_set(find("10.1.0.1")), 1);
    EXPECT_EQ(urib_route_is_conv_flag_set(find("10.1.0.1")), 0);
    EXPECT_EQ(urib_route_is_conv_flag_set(find("10.1.2.3")), 1);
    EXPECT_EQ(urib_route_is_cond_flag_set(find("10.1.2.3")), 0);
}

TEST_F(Routes, OfTheTwoFamiliesAndOfTwoVrfsAreApart)
{
    add("0.0.0.0/0", KOV_HOST_ROUTE_CONDITIONAL);
    EXPECT_EQ(find("::1"), nullptr);
    EXPECT_EQ(kov_host_route_find(2, "10.0.0.1"), nullptr);
    add("::/0", KOV_HOST_ROUTE_CONDITIONAL);
    ASSERT_NE(find("::1"), nullptr);
    EXPECT_NE(find("::1"), find("10.0.0.1"));
    EXPECT_EQ(u6rib_route_is_cond_flag_set(find("::1")), 1);
    EXPECT_EQ(urib_route_is_cond_flag_set(find("::1")), 0) << "a route of the other family has no flag";
    EXPECT_EQ(u6rib_route_is_cond_flag_set(find("10.0.0.1")), 0);
}

TEST_F(Routes, AreKnownByTheirPrefixWhateverStandsBehindItsLength)
{
    add("2001:db8:ffff::1/33");
    const void *const rt = find("2001:db8:8000::");
    ASSERT_NE(rt, nullptr);
    EXPECT_EQ(find("2001:db8:7fff::"), nullptr);
    EXPECT_EQ(kov_host_route_set(1, "2001:db8:8000::/33", KOV_HOST_ROUTE_CONDITIONAL), 0);
    EXPECT_EQ(find("2001:db8:8000::"), rt) << "a changed route is the same route";
    EXPECT_EQ(u6rib_route_is_cond_flag_set(rt), 1);
    EXPECT_EQ(kov_host_route_delete(1, "2001:db8:9999::/33"), 0);
    EXPECT_EQ(find("2001:db8:8000::"), nullptr);
}

TEST_F(Routes, ThatAreFoundKeepTheirPlaceWhenOthersComeAndGo)
{
    add("10.0.0.0/8");
    const void *const rt = find("10.0.0.1");
    for (int i = 0; i < 100; ++i)
        add("20." + std::to_string(i) + ".0.0/16");
    EXPECT_EQ(kov_host_route_delete(1, "20.0.0.0/16"), 0);
    EXPECT_EQ(find("10.0.0.1"), rt);
}

TEST_F(Routes, RefuseWhatIsNoPrefixNoAddressAndNoFlag)
{
    for (const char *bad : {"", "10.0.0.0", "10.0.0.0/", "10.0.0.0/33", "10.0.0.0/-1", "10.0.0.0/8x",
                            "10.0.0/8", "::/129", "/8", "red", "10.0.0.0/99999999999"}) {
        EXPECT_EQ(kov_host_route_set(1, bad, 0), -1) << bad;
        EXPECT_EQ(kov_host_error(), "'" + std::string(bad) + "' is no prefix");
        EXPECT_EQ(kov_host_route_delete(1, bad), -1) << bad;
    }
    EXPECT_EQ(kov_host_route_set(1, nullptr, 0), -1);
    EXPECT_EQ(kov_host_route_delete(1, nullptr), -1);
    EXPECT_EQ(kov_host_route_set(1, "10.0.0.0/8", 4), -1);
    EXPECT_STREQ(kov_host_error(), "0x4 are no route flags");
    EXPECT_EQ(kov_host_route_delete(1, "10.0.0.0/8"), -1);
    EXPECT_STREQ(kov_host_error(), "no route 10.0.0.0/8 in VRF 1");
    EXPECT_EQ(find(nullptr), nullptr);
    EXPECT_EQ(find("10.0.0.0/8"), nullptr);
    EXPECT_STREQ(kov_host_error(), "'10.0.0.0/8' is no address");
}

TEST_F(Routes, AVrfHasANameOfOneTo32Characters)
{
    EXPECT_EQ(kov_host_vrf_set(1, ""), -1);
    EXPECT_EQ(kov_host_vrf_set(1, std::string(33, 'v').c_str()), -1);
    EXPECT_EQ(vrfmgr_get_context_name(1, 0), nullptr);
    EXPECT_EQ(kov_host_vrf_set(1, std::string(32, 'v').c_str()), 0);
    EXPECT_EQ(vrfmgr_get_context_name(1, 0), std::string(32, 'v'));
    EXPECT_EQ(kov_host_vrf_set(1, nullptr), 0);
    EXPECT_EQ(kov_host_vrf_set(1, nullptr), 0) << "a name that is not there is taken back, too";
}

} // namespace
