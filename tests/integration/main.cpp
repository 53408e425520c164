// A process that links the library brings the flag that says whether the service is enabled.
#include <gtest/gtest.h>

#include <cstdint>

extern "C" std::uint32_t kov_api_wait_for_init;
std::uint32_t kov_api_wait_for_init = 0;

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
