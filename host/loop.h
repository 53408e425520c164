// The one loop of an attached process: descriptors, timers, and callbacks that yield to each other.
//
// Every callback runs as a Task. A running callback may yield (coop_sched_yield) or wait for an answer
// (run_until); the loop then runs other callbacks within it, but never one whose task is running already. A
// watch without a task may be entered again; its owner sees to that.
//
// Readiness is level-triggered. While a callback waits, the descriptors of running tasks are out of the epoll
// set, so that a wait does not spin on data that nobody may read now.
//
// The loop owns the watches and timers, not the descriptors. Watches are named by an id, because a closed
// descriptor's number comes back.
#pragma once

#include "support.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <sys/types.h>
#include <vector>

namespace kov_host
{

struct Task {
    bool running = false;
};

using WatchId = std::uint64_t; // 0 is none
using WatchFn = std::function<void(std::uint32_t epoll_events)>;
using TimerFn = std::function<void(int id)>;

class Loop
{
public:
    Loop();
    ~Loop() = default;
    Loop(const Loop &) = delete;
    Loop &operator=(const Loop &) = delete;

    bool usable() const { return static_cast<bool>(epoll_); }

    // `task` null: may be entered again while it runs. 0 when the kernel refuses (errno).
    WatchId watch(int fd, std::uint32_t epoll_events, std::shared_ptr<Task> task, WatchFn fn);
    void unwatch(WatchId id);
    void set_events(WatchId id, std::uint32_t epoll_events);
    // A watch that is off is not looked at, not even for a hang-up.
    void set_enabled(WatchId id, bool enabled);
    // Off for a tenth of a second: for a listener that has no descriptor for who is waiting.
    void rest(WatchId id);

    int timer_start(std::uint64_t first_ns, std::uint64_t every_ns, TimerFn fn);
    bool timer_stop(int id);

    // Each returns the number of callbacks run; run() the status given to stop().
    int run();
    int run_once(int timeout_ms);
    void stop(int status);
    bool stopping() const { return stopping_; }
    bool in_callback() const { return depth_ > 0; }

    // For the callback that is running: is its slice used up; let the others run once; let them run until
    // `done` (or until the loop is to stop).
    bool should_yield();
    void yield();
    void run_until(const std::function<bool()> &done);
    void set_slice(std::uint64_t ns) { slice_ns_ = ns; }

private:
    struct Watch {
        int fd;
        std::uint32_t events;
        std::shared_ptr<Task> task;
        WatchFn fn;
        bool enabled = true;    // wanted by its owner
        bool suspended = false; // out of the set while a callback of its task waits
        std::uint64_t last_pass = 0;
    };
    struct Timer {
        std::uint64_t every_ns;
        TimerFn fn;
    };
    using Deadline = std::pair<std::uint64_t, int>;

    int pass(int timeout_ms);
    int dispatch_timers();
    bool dispatch(WatchId id, std::uint32_t events, std::uint64_t pass_number);
    void fire(const Deadline &due);
    int wait_ms(int timeout_ms) const;
    void arm(WatchId id, const Watch &watch);
    void disarm(const Watch &watch);
    std::vector<WatchId> suspend_running();
    void resume(const std::vector<WatchId> &ids);

    class Running;
    class Suspension;

    Fd epoll_;
    pid_t owner_;
    std::map<WatchId, std::shared_ptr<Watch>> watches_;
    std::map<int, std::shared_ptr<Timer>> timers_;
    std::set<Deadline> deadlines_; // a timer that is running has none
    WatchId last_watch_ = 0;
    int last_timer_ = 0;
    std::uint64_t last_pass_ = 0;
    std::uint64_t slice_ns_ = 5'000'000;
    std::uint64_t slice_start_ = 0;
    int depth_ = 0;
    bool stopping_ = false;
    int stop_status_ = 0;
};

std::uint64_t monotonic_ns();

// errno of accept(2): there is somebody, but no room.
bool out_of_descriptors(int code);

} // namespace kov_host
