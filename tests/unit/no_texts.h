// With tracing off nothing is made a text.
#pragma once

#include "fake/fake.h"

#include <gtest/gtest.h>

// No address, prefix or interface name was asked for since the calls were cleared.
inline void expect_no_texts()
{
    using fake::Call;
    for (const Call call : {Call::im_get_ifindex_name, Call::im_print_mac_addr, Call::ip_print_addr,
                            Call::ipv6_print_addr, Call::ip_print_prefix, Call::ipv6_print_prefix})
        EXPECT_EQ(fake::platform().calls.count(call), 0u) << fake::name_of(call);
}
