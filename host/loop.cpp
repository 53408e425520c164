#include "loop.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <ctime>
#include <sys/epoll.h>
#include <unistd.h>

namespace kov_host
{
namespace
{

constexpr std::uint64_t ns_per_ms = 1'000'000;
constexpr std::uint64_t rest_ns = 100 * ns_per_ms;
constexpr int max_ready = 64;

// The events of one pass. Passes nest, so each has its own.
using Ready = std::array<epoll_event, max_ready>;

} // namespace

std::uint64_t monotonic_ns()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000u + static_cast<std::uint64_t>(now.tv_nsec);
}

bool out_of_descriptors(int code)
{
    return code == EMFILE || code == ENFILE || code == ENOMEM || code == ENOBUFS;
}

// One callback on the stack: its task is running, and its slice begins.
class Loop::Running
{
public:
    Running(Loop &loop, Task *task) : loop_(loop), task_(task), outer_slice_(loop.slice_start_)
    {
        if (task_ != nullptr)
            task_->running = true;
        ++loop_.depth_;
        loop_.slice_start_ = monotonic_ns();
    }
    ~Running()
    {
        if (task_ != nullptr)
            task_->running = false;
        --loop_.depth_;
        loop_.slice_start_ = outer_slice_;
    }
    Running(const Running &) = delete;
    Running &operator=(const Running &) = delete;

private:
    Loop &loop_;
    Task *task_;
    std::uint64_t outer_slice_;
};

Loop::Loop() : epoll_(epoll_create1(EPOLL_CLOEXEC)), owner_(::getpid()) {}

void Loop::arm(WatchId id, const Watch &watch)
{
    epoll_event event{};
    event.events = watch.events;
    event.data.u64 = id;
    epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, watch.fd, &event);
}

// A forked child shares the epoll set; what it takes out would be out for its parent too.
void Loop::disarm(const Watch &watch)
{
    if (::getpid() == owner_)
        epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, watch.fd, nullptr);
}

WatchId Loop::watch(int fd, std::uint32_t epoll_events, std::shared_ptr<Task> task, WatchFn fn)
{
    const WatchId id = last_watch_ + 1;
    epoll_event event{};
    event.events = epoll_events;
    event.data.u64 = id;
    if (epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, fd, &event) != 0)
        return 0;
    last_watch_ = id;
    watches_.emplace(id, std::make_shared<Watch>(Watch{fd, epoll_events, std::move(task), std::move(fn)}));
    return id;
}

void Loop::unwatch(WatchId id)
{
    const auto at = watches_.find(id);
    if (at == watches_.end())
        return;
    if (at->second->enabled && !at->second->suspended)
        disarm(*at->second);
    watches_.erase(at);
}

void Loop::set_events(WatchId id, std::uint32_t epoll_events)
{
    const auto at = watches_.find(id);
    if (at == watches_.end() || at->second->events == epoll_events)
        return;
    Watch &watch = *at->second;
    watch.events = epoll_events;
    if (!watch.enabled || watch.suspended)
        return;
    epoll_event event{};
    event.events = epoll_events;
    event.data.u64 = id;
    epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, watch.fd, &event);
}

void Loop::set_enabled(WatchId id, bool enabled)
{
    const auto at = watches_.find(id);
    if (at == watches_.end() || at->second->enabled == enabled)
        return;
    Watch &watch = *at->second;
    watch.enabled = enabled;
    if (watch.suspended)
        return;
    if (enabled)
        arm(id, watch);
    else
        disarm(watch);
}

void Loop::rest(WatchId id)
{
    set_enabled(id, false);
    timer_start(rest_ns, 0, [this, id](int) { set_enabled(id, true); });
}

int Loop::timer_start(std::uint64_t first_ns, std::uint64_t every_ns, TimerFn fn)
{
    last_timer_ = last_timer_ == INT_MAX ? 1 : last_timer_ + 1;
    const int id = last_timer_;
    timers_.emplace(id, std::make_shared<Timer>(Timer{every_ns, std::move(fn)}));
    deadlines_.emplace(monotonic_ns() + first_ns, id);
    return id;
}

bool Loop::timer_stop(int id)
{
    std::erase_if(deadlines_, [id](const Deadline &deadline) { return deadline.second == id; });
    return timers_.erase(id) != 0;
}

void Loop::stop(int status)
{
    stopping_ = true;
    stop_status_ = status;
}

int Loop::run()
{
    while (!stopping_)
        pass(-1);
    stopping_ = false;
    return stop_status_;
}

int Loop::run_once(int timeout_ms) { return pass(timeout_ms); }

// The wait ends at the next deadline, rounded up so that the deadline has passed when it does.
int Loop::wait_ms(int timeout_ms) const
{
    if (deadlines_.empty())
        return timeout_ms;
    const std::uint64_t now = monotonic_ns();
    const std::uint64_t next = deadlines_.begin()->first;
    const std::uint64_t left = next <= now ? 0 : (next - now + ns_per_ms - 1) / ns_per_ms;
    const int until_timer = static_cast<int>(std::min<std::uint64_t>(left, INT_MAX));
    return timeout_ms < 0 ? until_timer : std::min(timeout_ms, until_timer);
}

int Loop::pass(int timeout_ms)
{
    Ready ready{};
    const std::uint64_t pass_number = ++last_pass_;
    const int count = epoll_wait(epoll_.get(), ready.data(), max_ready, wait_ms(timeout_ms));
    int run = 0;
    for (int i = 0; i < count; ++i) {
        const epoll_event &event = ready[static_cast<std::size_t>(i)];
        run += dispatch(event.data.u64, event.events, pass_number) ? 1 : 0;
    }
    return run + dispatch_timers();
}

// A callback of this pass may have removed the watch, and one that yielded may have had a later pass serve
// it: what this pass saw is then history. Level-triggering reports again what is still true.
bool Loop::dispatch(WatchId id, std::uint32_t events, std::uint64_t pass_number)
{
    const auto at = watches_.find(id);
    if (at == watches_.end())
        return false;
    const std::shared_ptr<Watch> watch = at->second;
    Task *task = watch->task.get();
    const bool served = watch->last_pass > pass_number;
    if (served || !watch->enabled || (task != nullptr && task->running))
        return false;
    watch->last_pass = last_pass_;
    const Running running(*this, task);
    watch->fn(events);
    return true;
}

int Loop::dispatch_timers()
{
    const std::uint64_t now = monotonic_ns();
    std::vector<Deadline> due;
    for (const Deadline &deadline : deadlines_) {
        if (deadline.first > now)
            break;
        due.push_back(deadline);
    }
    int run = 0;
    for (const Deadline &deadline : due) {
        if (deadlines_.erase(deadline) == 0)
            continue; // stopped, or run by a pass within another callback
        fire(deadline);
        ++run;
    }
    return run;
}

void Loop::fire(const Deadline &due)
{
    const int id = due.second;
    const std::shared_ptr<Timer> timer = timers_.at(id);
    {
        const Running running(*this, nullptr);
        timer->fn(id);
    }
    const auto at = timers_.find(id);
    if (at == timers_.end() || at->second != timer)
        return;
    if (timer->every_ns == 0) {
        timers_.erase(at);
        return;
    }
    const std::uint64_t now = monotonic_ns();
    const std::uint64_t next = due.first + timer->every_ns;
    deadlines_.emplace(next > now ? next : now + timer->every_ns, id);
}

bool Loop::should_yield() { return in_callback() && monotonic_ns() - slice_start_ >= slice_ns_; }

void Loop::yield()
{
    if (!in_callback())
        return;
    ++counters().yields;
    pass(0);
    slice_start_ = monotonic_ns();
}

std::vector<WatchId> Loop::suspend_running()
{
    std::vector<WatchId> suspended;
    for (const auto &[id, watch] : watches_) {
        if (watch->suspended || watch->task == nullptr || !watch->task->running)
            continue;
        if (watch->enabled)
            disarm(*watch);
        watch->suspended = true;
        suspended.push_back(id);
    }
    return suspended;
}

void Loop::resume(const std::vector<WatchId> &ids)
{
    for (const WatchId id : ids) {
        const auto at = watches_.find(id);
        if (at == watches_.end())
            continue;
        at->second->suspended = false;
        if (at->second->enabled)
            arm(id, *at->second);
    }
}

// The descriptors of running tasks are out of the set for one wait, however the wait ends.
class Loop::Suspension
{
public:
    explicit Suspension(Loop &loop) : loop_(loop), ids_(loop.suspend_running()) {}
    ~Suspension() { loop_.resume(ids_); }
    Suspension(const Suspension &) = delete;
    Suspension &operator=(const Suspension &) = delete;

private:
    Loop &loop_;
    std::vector<WatchId> ids_;
};

void Loop::run_until(const std::function<bool()> &done)
{
    ++counters().yields;
    {
        const Suspension suspension(*this);
        while (!stopping_ && !done())
            pass(-1);
    }
    slice_start_ = monotonic_ns();
}

} // namespace kov_host
