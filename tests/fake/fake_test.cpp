// The fake's own behaviour: the log of calls, faults on demand, counted memory, reset.
#include "fake/fake.h"

#include <kov/platform/interfaces.h>
#include <kov/platform/osal.h>
#include <kov/platform/svcmgr.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <stdexcept>

using fake::Call;

namespace
{

// By way of pointers: the compiler knows malloc too well to leave a test of it alone.
void *(*volatile allocate)(std::size_t) = std::malloc;
void *(*volatile allocate_zeroed)(std::size_t, std::size_t) = std::calloc;
void *(*volatile reallocate)(void *, std::size_t) = std::realloc;
void (*volatile release)(void *) = std::free;

class Fake : public testing::Test
{
protected:
    Fake() { p.reset(); }
    ~Fake() override { p.reset(); }

    fake::Platform &p = fake::platform();
};

// ------------------------------------------------------------------------------------------------ calls

TEST_F(Fake, LogsEveryCallByNameInOrder)
{
    svcmgr_uuid_get();
    osal_get_epid(1);
    svcmgr_uuid_get();
    EXPECT_EQ(p.calls.log(),
              (std::vector{Call::svcmgr_uuid_get, Call::osal_get_epid, Call::svcmgr_uuid_get}));
    EXPECT_EQ(p.calls.count(Call::svcmgr_uuid_get), 2u);
    EXPECT_STREQ(fake::name_of(Call::osal_get_epid), "osal_get_epid");
}

TEST_F(Fake, FailsTheNthCallAndAsManyAfterItAsAsked)
{
    p.calls.fail(Call::svcmgr_running_cfg_uri_get, 2, 2);
    std::vector<bool> known;
    for (int i = 0; i < 5; ++i)
        known.push_back(svcmgr_running_cfg_uri_get() != nullptr);
    EXPECT_EQ(known, (std::vector<bool>{true, false, false, true, true}));
    EXPECT_EQ(p.calls.failures(), 2u);
    EXPECT_EQ(p.calls.last_failure(), Call::svcmgr_running_cfg_uri_get);
}

TEST_F(Fake, KeepsFailingUntilItIsMended)
{
    p.calls.fail_always(Call::ipc_sap_get);
    for (int i = 0; i < 3; ++i)
        EXPECT_LT(ipc_sap_get(fake::Transport::handle), 0);
    p.calls.mend();
    EXPECT_EQ(ipc_sap_get(fake::Transport::handle), fake::Transport::sap);
}

TEST_F(Fake, FailsTheNthOfAllSweptCallsTogether)
{
    p.calls.fail_any(2);
    EXPECT_NE(svcmgr_running_cfg_uri_get(), nullptr);
    EXPECT_EQ(osal_get_epid(1), fake::System::epid(1)); // does not count: it cannot fail
    void *const block = allocate(1);
    EXPECT_EQ(block, nullptr);
    EXPECT_NE(svcmgr_running_cfg_uri_get(), nullptr);
    EXPECT_EQ(p.calls.swept(), 3u);
    EXPECT_EQ(p.calls.last_failure(), Call::alloc);
}

TEST_F(Fake, StopsALoopThatNeverEnds)
{
    EXPECT_DEATH(
        {
            for (;;)
                svcmgr_uuid_get();
        },
        "svcmgr_uuid_get: a loop that never ends");
}

TEST_F(Fake, NeitherLogsNorFailsWhatTheTestDoesItself)
{
    p.calls.fail(Call::svcmgr_running_cfg_uri_get);
    {
        const fake::Unlogged test(p.calls);
        EXPECT_NE(svcmgr_running_cfg_uri_get(), nullptr);
    }
    EXPECT_EQ(p.calls.count(Call::svcmgr_running_cfg_uri_get), 0u);
    EXPECT_EQ(svcmgr_running_cfg_uri_get(), nullptr);
}

TEST_F(Fake, RefusesToPlanAFailureOfACallThatCannotFail)
{
    EXPECT_THROW(p.calls.fail(Call::svcmgr_uuid_get), std::logic_error);
    EXPECT_THROW(p.calls.fail(Call::alloc, 0), std::logic_error);
    EXPECT_THROW(p.calls.fail_any(0), std::logic_error);
}

// ---------------------------------------------------------------------------------------------- memory

TEST_F(Fake, CountsLiveAllocationsAndTheirBytes)
{
    void *a = allocate(10);
    void *const b = allocate_zeroed(3, 4);
    EXPECT_EQ(p.heap.live_blocks(), 2u);
    EXPECT_EQ(p.heap.live_bytes(), 22u);
    EXPECT_EQ(p.heap.size_of(b), 12u);
    EXPECT_EQ(*static_cast<uint8_t *>(a), 0xA5);
    a = reallocate(a, 100);
    EXPECT_EQ(p.heap.live_bytes(), 112u);
    release(a);
    release(b);
    release(nullptr);
    EXPECT_EQ(p.heap.live_blocks(), 0u);
    EXPECT_EQ(p.calls.count(Call::alloc), 3u);
}

TEST_F(Fake, FailsAllocationsOfEveryKind)
{
    void *const kept = allocate(10);
    p.calls.fail_always(Call::alloc);
    errno = 0;
    void *const a = allocate(10), *const b = allocate_zeroed(1, 1), *const c = reallocate(kept, 100);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(a, nullptr);
    EXPECT_EQ(b, nullptr);
    EXPECT_EQ(c, nullptr);
    EXPECT_EQ(p.heap.size_of(kept), 10u);
    release(kept);
}

TEST_F(Fake, DoesNotCountObjectsOfTests)
{
    p.calls.fail_always(Call::alloc);
    const auto object = std::make_unique<std::string>(1000, 'x');
    EXPECT_EQ(object->size(), 1000u);
    EXPECT_EQ(p.heap.live_blocks(), 0u);
}

TEST_F(Fake, ReportsAtResetWhatWasStillHeld)
{
    void *const block = allocate(10);
    EXPECT_EQ(p.reset(), (fake::Leaks{.blocks = 1, .bytes = 10}));
    EXPECT_TRUE(p.leaks().none());
    release(block); // from before the reset: still a good block
}

TEST_F(Fake, ResetsEveryKindOfState)
{
    kov_api_wait_for_init = 1;
    p.calls.fail_always(Call::alloc);
    p.db.refuse_open = true;
    p.ipc.send_errno = 0;
    p.ipc.close(fake::Transport::handle);
    p.cli.words.insert("detail");
    p.debug.check_answer = 1;
    p.interfaces.add_vlan(1, "vlan1");
    p.reset();
    EXPECT_EQ(kov_api_wait_for_init, 0u);
    EXPECT_FALSE(p.db.refuse_open);
    EXPECT_EQ(p.ipc.send_errno, ECONNREFUSED);
    EXPECT_EQ(ipc_sap_get(fake::Transport::handle), fake::Transport::sap);
    EXPECT_TRUE(p.cli.words.empty());
    EXPECT_FALSE(p.debug.check_answer);
    EXPECT_TRUE(p.interfaces.by_index.empty());
    release(allocate(1));
    EXPECT_EQ(p.calls.failures(), 0u);
}

TEST_F(Fake, FindsTheCapabilityProviderOnlyWhenTheTestHasOne)
{
    EXPECT_EQ(dlsym(nullptr, "kov_pd_get_platform_cap"), nullptr);
    EXPECT_NE(dlsym(nullptr, "printf"), nullptr);
    p.card.provider = [](uint32_t *cap) { *cap = 2; };
    void *const found = dlsym(nullptr, "kov_pd_get_platform_cap");
    ASSERT_NE(found, nullptr);
    void (*provider)(uint32_t *);
    std::memcpy(&provider, &found, sizeof found);
    uint32_t cap = 0;
    provider(&cap);
    EXPECT_EQ(cap, 2u);
}

} // namespace
