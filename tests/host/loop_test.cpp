// The loop: timers, descriptors, signals, and callbacks that yield to each other.
#include "host/host_test.h"

#include <kov/platform/coop_sched.h>
#include <kov/platform/svcmgr.h>

#include <fcntl.h>
#include <memory>
#include <vector>

namespace
{

using Calls = std::vector<int>;

class Loop : public host_test::Host
{
protected:
    void SetUp() override { attach(); }

    // A callback as a closure. It lives as long as the test.
    template <typename Function>
    int timer(std::uint32_t first_ms, std::uint32_t every_ms, Function function)
    {
        closures.push_back(std::make_unique<std::function<void(int)>>(std::move(function)));
        return kov_host_timer_start(
            first_ms, every_ms,
            [](int id, void *arg) { (*static_cast<std::function<void(int)> *>(arg))(id); },
            closures.back().get());
    }

    template <typename Function>
    int watch(int fd, std::uint32_t events, Function function)
    {
        watches.push_back(std::make_unique<std::function<void(int, std::uint32_t)>>(std::move(function)));
        return kov_host_fd_watch(
            fd, events,
            [](int ready, std::uint32_t how, void *arg) {
                (*static_cast<std::function<void(int, std::uint32_t)> *>(arg))(ready, how);
            },
            watches.back().get());
    }

    struct Pipe {
        Pipe() { EXPECT_EQ(::pipe2(ends, O_NONBLOCK | O_CLOEXEC), 0); }
        ~Pipe()
        {
            close_writer();
            ::close(ends[0]);
        }
        int reader() const { return ends[0]; }
        int writer() const { return ends[1]; }
        void write() const { EXPECT_EQ(::write(ends[1], "x", 1), 1); }
        void read() const
        {
            char byte = 0;
            EXPECT_EQ(::read(ends[0], &byte, 1), 1);
        }
        void close_writer()
        {
            if (ends[1] >= 0)
                ::close(std::exchange(ends[1], -1));
        }
        int ends[2] = {-1, -1};
    };

    std::vector<std::unique_ptr<std::function<void(int)>>> closures;
    std::vector<std::unique_ptr<std::function<void(int, std::uint32_t)>>> watches;
    Calls calls;
};

TEST_F(Loop, RunReturnsTheStatusGivenToStop)
{
    timer(0, 0, [](int) { kov_host_stop(17); });
    EXPECT_EQ(kov_host_run(), 17);
    timer(0, 0, [](int) { kov_host_stop(0); });
    EXPECT_EQ(kov_host_run(), 0);
}

TEST_F(Loop, ATimerWithoutAPeriodRunsOnce)
{
    EXPECT_GE(timer(0, 0, [&](int) { calls.push_back(1); }), 1);
    run_ready();
    run_ready();
    EXPECT_EQ(calls, Calls{1});
}

TEST_F(Loop, TimersRunInTheOrderOfTheirTimes)
{
    timer(3, 0, [&](int) { calls.push_back(3); });
    timer(1, 0, [&](int) { calls.push_back(1); });
    timer(0, 0, [&](int) { calls.push_back(0); });
    timer(2, 0, [&](int) { calls.push_back(2); });
    run_until([&] { return calls.size() == 4; });
    EXPECT_EQ(calls, (Calls{0, 1, 2, 3}));
}

TEST_F(Loop, ATimerNeverRunsEarly)
{
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    orb_sys_mclock_get(&start);
    timer(20, 0, [&](int) { orb_sys_mclock_get(&end); });
    run_until([&] { return end != 0; });
    EXPECT_GE(end - start, 20'000'000u);
}

TEST_F(Loop, APeriodicTimerRunsUntilItStopsItself)
{
    timer(0, 1, [&](int id) {
        calls.push_back(id);
        EXPECT_EQ(calls.size() == 5 ? kov_host_timer_stop(id) : 0, 0);
    });
    run_until([&] { return calls.size() == 5; });
    timer(5, 0, [&](int) { calls.push_back(-1); });
    run_until([&] { return calls.back() == -1; });
    EXPECT_EQ(calls.size(), 6u);
}

TEST_F(Loop, AStoppedTimerDoesNotRun)
{
    const int id = timer(0, 0, [&](int) { calls.push_back(1); });
    EXPECT_EQ(kov_host_timer_stop(id), 0);
    EXPECT_EQ(kov_host_timer_stop(id), -1);
    EXPECT_EQ(kov_host_timer_stop(12345), -1);
    run_ready();
    EXPECT_TRUE(calls.empty());
}

TEST_F(Loop, ATimerMayStopAnotherThatIsDueInTheSameTurn)
{
    int second = 0;
    timer(0, 0, [&](int) { kov_host_timer_stop(second); });
    second = timer(0, 0, [&](int) { calls.push_back(2); });
    run_ready();
    EXPECT_TRUE(calls.empty());
}

TEST_F(Loop, ADescriptorIsReportedAsLongAsItIsReady)
{
    const Pipe pipe;
    watch(pipe.reader(), KOV_HOST_READ, [&](int fd, std::uint32_t events) {
        EXPECT_EQ(fd, pipe.reader());
        EXPECT_EQ(events, static_cast<std::uint32_t>(KOV_HOST_READ));
        calls.push_back(1);
        if (calls.size() == 3)
            pipe.read();
    });
    run_ready();
    EXPECT_TRUE(calls.empty());
    pipe.write();
    run_ready();
    EXPECT_EQ(calls.size(), 3u);
}

TEST_F(Loop, AWritableDescriptorAndAHangUpAreReported)
{
    Pipe pipe;
    std::uint32_t writable = 0;
    watch(pipe.writer(), KOV_HOST_WRITE, [&](int fd, std::uint32_t events) {
        writable = events;
        EXPECT_EQ(kov_host_fd_unwatch(fd), 0);
    });
    run_ready();
    EXPECT_EQ(writable, static_cast<std::uint32_t>(KOV_HOST_WRITE));
    std::uint32_t gone = 0;
    watch(pipe.reader(), 0, [&](int fd, std::uint32_t events) {
        gone = events;
        kov_host_fd_unwatch(fd);
    });
    pipe.close_writer();
    run_ready();
    EXPECT_EQ(gone, static_cast<std::uint32_t>(KOV_HOST_HANGUP));
}

TEST_F(Loop, AWatchIsRefusedTwiceForNoCallbackAndForABadDescriptor)
{
    const Pipe pipe;
    EXPECT_EQ(watch(pipe.reader(), KOV_HOST_READ, [](int, std::uint32_t) {}), 0);
    EXPECT_EQ(watch(pipe.reader(), KOV_HOST_READ, [](int, std::uint32_t) {}), -1);
    EXPECT_EQ(kov_host_fd_watch(pipe.writer(), KOV_HOST_WRITE, nullptr, nullptr), -1);
    EXPECT_EQ(watch(-1, KOV_HOST_READ, [](int, std::uint32_t) {}), -1);
    EXPECT_EQ(kov_host_fd_unwatch(pipe.reader()), 0);
    EXPECT_EQ(kov_host_fd_unwatch(pipe.reader()), -1);
}

TEST_F(Loop, RunOnceSaysHowManyCallbacksRan)
{
    EXPECT_EQ(kov_host_run_once(0), 0);
    timer(0, 0, [](int) {});
    timer(0, 0, [](int) {});
    EXPECT_EQ(kov_host_run_once(0), 2);
}

TEST_F(Loop, TheLoopIsNotEnteredFromACallback)
{
    timer(0, 0, [&](int) {
        calls.push_back(kov_host_run());
        calls.push_back(kov_host_run_once(0));
        kov_host_detach();
        calls.push_back(kov_host_attached());
    });
    run_ready();
    EXPECT_EQ(calls, (Calls{-1, -1, 1}));
}

TEST_F(Loop, SignalsStopTheLoopAndDetachingGivesThemBack)
{
    for (const int signal : {SIGTERM, SIGINT}) {
        ASSERT_EQ(kov_host_stop_on_signals(), 0) << kov_host_error();
        ASSERT_EQ(kov_host_stop_on_signals(), 0) << "twice is fine";
        timer(0, 0, [signal](int) { EXPECT_EQ(::raise(signal), 0); });
        EXPECT_EQ(kov_host_run(), 0);
    }
    kov_host_detach();
    sigset_t blocked;
    ASSERT_EQ(::sigprocmask(SIG_SETMASK, nullptr, &blocked), 0);
    EXPECT_EQ(sigismember(&blocked, SIGTERM), 0);
    EXPECT_EQ(sigismember(&blocked, SIGINT), 0);
}

// ------------------------------------------------------------------------------------------- yielding

TEST_F(Loop, ACallbackThatYieldsLetsTheOthersRun)
{
    const Pipe pipe;
    pipe.write();
    timer(0, 0, [&](int) {
        calls.push_back(1);
        coop_sched_yield();
        calls.push_back(3);
    });
    watch(pipe.reader(), KOV_HOST_READ, [&](int, std::uint32_t) {
        pipe.read();
        calls.push_back(2);
    });
    timer(0, 0, [&](int) { calls.push_back(2); });
    const std::uint64_t before = counters().yields;
    run_ready();
    // the descriptor comes before the timers of a turn; the second timer within the first
    EXPECT_EQ(calls, (Calls{2, 1, 2, 3}));
    EXPECT_EQ(counters().yields, before + 1);
}

TEST_F(Loop, ACallbackThatYieldsIsNotEnteredAgain)
{
    const Pipe pipe;
    pipe.write();
    int depth = 0;
    watch(pipe.reader(), KOV_HOST_READ, [&](int fd, std::uint32_t) {
        EXPECT_EQ(++depth, 1);
        coop_sched_yield();
        coop_sched_yield();
        --depth;
        pipe.read();
        kov_host_fd_unwatch(fd);
        calls.push_back(1);
    });
    run_ready();
    EXPECT_EQ(calls, Calls{1});
}

TEST_F(Loop, APeriodicTimerThatYieldsIsNotEnteredAgain)
{
    int depth = 0;
    timer(0, 1, [&](int id) {
        EXPECT_EQ(++depth, 1);
        std::uint64_t start = 0;
        std::uint64_t now = 0;
        orb_sys_mclock_get(&start);
        while (now - start < 3'000'000) // past its own next time
            orb_sys_mclock_get(&now);
        coop_sched_yield();
        --depth;
        calls.push_back(1);
        if (calls.size() == 2)
            kov_host_timer_stop(id);
    });
    run_until([&] { return calls.size() == 2; });
}

// What a turn saw before a callback yielded is stale afterwards.
TEST_F(Loop, ADescriptorServedDuringAYieldIsNotReportedAgainForTheSameReadiness)
{
    const Pipe first;
    const Pipe second;
    first.write();
    second.write();
    const auto serve = [&](const Pipe &pipe, const Pipe &other) {
        calls.push_back(pipe.reader());
        pipe.read(); // fails the test when there is nothing
        if (calls.size() == 1)
            coop_sched_yield();
        (void)other;
    };
    watch(first.reader(), KOV_HOST_READ, [&](int, std::uint32_t) { serve(first, second); });
    watch(second.reader(), KOV_HOST_READ, [&](int, std::uint32_t) { serve(second, first); });
    run_ready();
    EXPECT_EQ(calls.size(), 2u);
}

TEST_F(Loop, AWatchRemovedDuringAYieldIsNotServed)
{
    const Pipe first;
    const Pipe second;
    first.write();
    second.write();
    const auto only_one = [&](int fd, const Pipe &other) {
        calls.push_back(fd);
        kov_host_fd_unwatch(fd);
        kov_host_fd_unwatch(other.reader());
    };
    watch(first.reader(), KOV_HOST_READ, [&](int fd, std::uint32_t) { only_one(fd, second); });
    watch(second.reader(), KOV_HOST_READ, [&](int fd, std::uint32_t) { only_one(fd, first); });
    run_ready();
    EXPECT_EQ(calls.size(), 1u);
}

TEST_F(Loop, AYieldIsDueWhenTheSliceIsUsedUp)
{
    kov_host_time_slice(0);
    timer(0, 0, [&](int) {
        EXPECT_NE(coop_should_sched_yield(), 0);
        coop_sched_may_yield();
        calls.push_back(1);
    });
    const std::uint64_t before = counters().yields;
    run_ready();
    EXPECT_EQ(counters().yields, before + 1);
    kov_host_time_slice(3'600'000'000u);
    timer(0, 0, [&](int) {
        EXPECT_EQ(coop_should_sched_yield(), 0);
        coop_sched_may_yield();
        calls.push_back(2);
    });
    run_ready();
    EXPECT_EQ(counters().yields, before + 1);
    EXPECT_EQ(calls, (Calls{1, 2}));
}

TEST_F(Loop, OutsideTheLoopNothingYields)
{
    kov_host_time_slice(0);
    timer(0, 0, [&](int) { calls.push_back(1); });
    EXPECT_EQ(coop_should_sched_yield(), 0);
    coop_sched_may_yield();
    coop_sched_yield();
    EXPECT_TRUE(calls.empty());
    kov_host_detach();
    EXPECT_EQ(coop_should_sched_yield(), 0);
    coop_sched_yield();
}

TEST_F(Loop, StoppingWithinAYieldEndsTheLoopAfterTheOuterCallback)
{
    timer(0, 0, [&](int) {
        coop_sched_yield();
        calls.push_back(1);
    });
    timer(0, 0, [&](int) { kov_host_stop(5); });
    EXPECT_EQ(kov_host_run(), 5);
    EXPECT_EQ(calls, Calls{1});
}

} // namespace
