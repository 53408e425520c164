// Sending to the server: one node, one access point, the client's own handle.
//
// A send never waits and brings no answer; whatever the server has to say comes through kov_dispatch.
#pragma once

#include "api/types.h"

#include <kov/platform/osal.h>
#include <kov/platform/svcmgr.h>

#include <unistd.h>

namespace kov
{

// Sends one message. False: it was not sent, and errno says why.
bool send_to_server(u32 opcode, const void *payload, u32 size);

// Tells errno, and so comes right after a send that failed.
void trace_send_failure();

// Puts into a message who sends it, and when.
template <class Message>
void stamp(Message &message)
{
    message.pid = static_cast<u32>(getpid());
    message.epid = osal_get_epid(static_cast<s32>(message.pid));
    u64 mclock = 0;
    orb_sys_mclock_get(&mclock);
    message.mclock = mclock;
}

} // namespace kov
