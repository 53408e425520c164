#include "api/send.h"

#include "api/trace.h"

#include <kov/platform/ipc.h>

#include <cerrno>
#include <cstring>

bool kov::send_to_server(u32 opcode, const void *payload, u32 size)
{
    return ipc_send(kov_api.ipc_handle, KOV_SERVER_NODE, KOV_SERVER_SAP, opcode, payload, size, 0, 0, 0) == 0;
}

void kov::trace_send_failure()
{
    const int error = errno;
    KOV_TRACE("ipc_send() failed, err: %s", strerror(error));
}
