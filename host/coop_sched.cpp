// The library's walks let other callbacks run when their slice is used up. Outside the loop there are none.
#include "attach.h"

#include <kov/platform/coop_sched.h>

using kov_host::attachment;
using kov_host::guarded;

extern "C" {

int coop_should_sched_yield(void)
{
    return attachment() != nullptr && attachment()->loop.should_yield() ? 1 : 0;
}

void coop_sched_yield(void)
{
    guarded(0, [] {
        if (attachment() != nullptr)
            attachment()->loop.yield();
        return 0;
    });
}

void coop_sched_may_yield(void)
{
    if (coop_should_sched_yield() != 0)
        coop_sched_yield();
}

} // extern "C"
