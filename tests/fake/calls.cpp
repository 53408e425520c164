#include "calls.h"

#include <cstdio>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <string>

namespace fake
{
namespace
{

enum class CanFail : uint8_t { never, single, swept };

struct CallInfo {
    const char *name;
    CanFail can_fail;
};

constexpr CallInfo calls[] = {
#define KOV_FAKE_ROW(name, can_fail) {#name, CanFail::can_fail},
    KOV_FAKE_CALLS(KOV_FAKE_ROW)
#undef KOV_FAKE_ROW
};

// Better a message than all of the machine's memory.
constexpr std::size_t endless = 4'000'000;

constexpr const CallInfo &info(Call call) { return calls[static_cast<std::size_t>(call)]; }

} // namespace

const char *name_of(Call call) { return info(call).name; }

void Calls::fail(Call call, unsigned nth, unsigned times)
{
    if (info(call).can_fail == CanFail::never || nth == 0)
        throw std::logic_error(std::string("the fake cannot make this call fail: ") + name_of(call));
    plans_[index(call)] = {nth - 1, times};
}

void Calls::fail_always(Call call) { fail(call, 1, std::numeric_limits<unsigned>::max()); }

void Calls::fail_any(unsigned nth)
{
    if (nth == 0)
        throw std::logic_error("calls are numbered from 1");
    any_ = {nth - 1, 1};
}

void Calls::mend()
{
    plans_ = {};
    any_ = {};
}

void Calls::clear()
{
    counts_ = {};
    swept_ = failures_ = 0;
    last_failure_.reset();
    log_.clear();
}

bool Calls::due(Plan &plan)
{
    if (plan.fail == 0)
        return false;
    if (plan.skip != 0) {
        --plan.skip;
        return false;
    }
    if (plan.fail != std::numeric_limits<unsigned>::max())
        --plan.fail;
    return true;
}

bool Calls::enter(Call call)
{
    if (paused_ != 0)
        return false;
    if (log_.size() == endless) {
        std::fprintf(stderr, "the fake: %zu calls in one test, the last one %s: a loop that never ends?\n",
                     endless, name_of(call));
        std::abort();
    }
    ++counts_[index(call)];
    log_.push_back(call);
    bool fails = due(plans_[index(call)]);
    if (info(call).can_fail == CanFail::swept) {
        ++swept_;
        fails = due(any_) || fails;
    }
    if (fails) {
        ++failures_;
        last_failure_ = call;
    }
    return fails;
}

} // namespace fake
