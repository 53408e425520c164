// Bounded strings, endpoint ids, the system manager and the clock.
#include "stage.h"

#include <kov/platform/osal.h>
#include <kov/platform/svcmgr.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

constexpr char untouched = '#';

// A buffer of `cap` bytes with a guard behind it.
class Buffer
{
public:
    explicit Buffer(uint32_t cap, const std::string &begin = "") : bytes_(cap + 1u, untouched)
    {
        std::copy(begin.begin(), begin.end(), bytes_.begin());
    }
    char *at() { return bytes_.data(); }
    bool guarded() const { return bytes_.back() == untouched; }

private:
    std::vector<char> bytes_;
};

TEST(Strcpy, CutsToTheCapacityAndAlwaysEnds)
{
    const struct {
        const char *source;
        uint32_t cap;
        const char *result;
    } rows[] = {{"abc", 10, "abc"}, {"abc", 4, "abc"}, {"abc", 3, "ab"},  {"abc", 1, ""},
                {"", 10, ""},       {"", 1, ""},       {nullptr, 10, ""}, {nullptr, 1, ""}};
    for (const auto &row : rows) {
        Buffer buffer(row.cap);
        EXPECT_EQ(osal_strcpy(buffer.at(), row.source, row.cap), buffer.at());
        EXPECT_STREQ(buffer.at(), row.result);
        EXPECT_TRUE(buffer.guarded());
    }
}

TEST(Strcpy, ReadsNoMoreOfTheSourceThanFits)
{
    // a heap block without a NUL: a sanitizer sees the byte that is read too much
    const std::vector<char> source(5, 'x');
    Buffer buffer(6);
    EXPECT_STREQ(osal_strcpy(buffer.at(), source.data(), 6), "xxxxx");
}

TEST(Strcpy, OntoItselfChangesNothing)
{
    Buffer buffer(8, std::string("abc\0", 4));
    EXPECT_STREQ(osal_strcpy(buffer.at(), buffer.at(), 8), "abc");
    EXPECT_STREQ(osal_strcpy(buffer.at(), buffer.at(), 3), "ab");
}

TEST(Strcpy, WithoutRoomWritesNothing)
{
    Buffer buffer(4);
    EXPECT_EQ(osal_strcpy(buffer.at(), "abc", 0), buffer.at());
    EXPECT_EQ(*buffer.at(), untouched);
    EXPECT_EQ(osal_strcpy(nullptr, "abc", 4), nullptr);
}

TEST(Strcat, AppendsWhatFits)
{
    const struct {
        std::string begin;
        const char *more;
        uint32_t cap;
        const char *result;
    } rows[] = {
        {std::string("ab\0", 3), "cd", 10, "abcd"},
        {std::string("ab\0", 3), "cd", 5, "abcd"},
        {std::string("ab\0", 3), "cd", 4, "abc"},
        {std::string("ab\0", 3), "cd", 3, "ab"},
        {std::string("\0", 1), "cd", 10, "cd"},
        {std::string("ab\0", 3), "", 10, "ab"},
        {std::string("ab\0", 3), nullptr, 10, "ab"},
        {"abcd", "ef", 4, "abc"}, // no NUL: ended, nothing appended
    };
    for (const auto &row : rows) {
        Buffer buffer(row.cap, row.begin);
        EXPECT_EQ(osal_strcat(buffer.at(), row.more, row.cap), buffer.at());
        EXPECT_STREQ(buffer.at(), row.result);
        EXPECT_TRUE(buffer.guarded());
    }
}

TEST(Strcat, WithoutRoomWritesNothing)
{
    Buffer buffer(4);
    EXPECT_EQ(osal_strcat(buffer.at(), "abc", 0), buffer.at());
    EXPECT_EQ(*buffer.at(), untouched);
    EXPECT_EQ(osal_strcat(nullptr, "abc", 4), nullptr);
}

TEST(Snprintf, FormatsAndTellsWhatItWrote)
{
    Buffer buffer(8);
    EXPECT_EQ(osal_snprintf(buffer.at(), 8, "%s-%d", "a", 42), 4);
    EXPECT_STREQ(buffer.at(), "a-42");
    EXPECT_EQ(osal_snprintf(buffer.at(), 8, "%s", "1234567"), 7);
    EXPECT_STREQ(buffer.at(), "1234567");
    EXPECT_EQ(osal_snprintf(buffer.at(), 8, "%s", "12345678"), 7);
    EXPECT_STREQ(buffer.at(), "1234567");
    EXPECT_EQ(osal_snprintf(buffer.at(), 1, "%d", 5), 0);
    EXPECT_STREQ(buffer.at(), "");
    EXPECT_TRUE(buffer.guarded());
}

TEST(Snprintf, WithoutRoomWritesNothing)
{
    Buffer buffer(4);
    EXPECT_EQ(osal_snprintf(buffer.at(), 0, "%d", 5), 0);
    EXPECT_EQ(*buffer.at(), untouched);
    EXPECT_EQ(osal_snprintf(nullptr, 4, "%d", 5), 0);
}

TEST(Processes, HaveEndpointIdsThatDifferAndStay)
{
    EXPECT_NE(osal_get_epid(::getpid()), 0u);
    EXPECT_EQ(osal_get_epid(::getpid()), osal_get_epid(::getpid()));
    EXPECT_NE(osal_get_epid(::getpid()), osal_get_epid(::getppid()));
    EXPECT_EQ(osal_get_epid(0), 0u);
    EXPECT_EQ(osal_get_epid(-1), 0u);
}

class SystemManager : public testing::Test
{
protected:
    SystemManager() { kit::set_stage(); }
    ~SystemManager() override { kit::clear_stage(); }
};

TEST_F(SystemManager, CompletesTheUriOfADatabase)
{
    const char *base = svcmgr_running_cfg_uri_get();
    ASSERT_NE(base, nullptr);
    EXPECT_STREQ(svcmgr_running_cfg_uri_get(), base);
    const char *uri = svcmgr_uri_complete(base, 0, "kov_rdb_info");
    ASSERT_NE(uri, nullptr);
    EXPECT_LT(std::strlen(uri), 256u);
    const std::string first = uri;
    EXPECT_EQ(first.find(base), 0u);
    EXPECT_NE(first.find("kov_rdb_info"), std::string::npos);
    const char *second = svcmgr_uri_complete(base, 0, "another");
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, first);
    EXPECT_EQ(svcmgr_uri_complete(base, 0, "kov_rdb_info"), first);
}

TEST_F(SystemManager, CompletesNothingFromNothingOrTooMuch)
{
    const char *base = svcmgr_running_cfg_uri_get();
    EXPECT_EQ(svcmgr_uri_complete(nullptr, 0, "kov_rdb_info"), nullptr);
    EXPECT_EQ(svcmgr_uri_complete(base, 0, nullptr), nullptr);
    EXPECT_EQ(svcmgr_uri_complete(base, 0, std::string(256, 'n').c_str()), nullptr);
}

TEST_F(SystemManager, GivesTheProcessOneIdentity)
{
    EXPECT_NE(svcmgr_uuid_get(), 0u);
    EXPECT_EQ(svcmgr_uuid_get(), svcmgr_uuid_get());
}

TEST_F(SystemManager, TheClockNeverGoesBack)
{
    uint64_t last = 0;
    for (int i = 0; i < 1000; ++i) {
        uint64_t now = 0;
        orb_sys_mclock_get(&now);
        ASSERT_GE(now, last);
        last = now;
    }
    EXPECT_NE(last, 0u);
}

} // namespace
