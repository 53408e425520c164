// The transport's calls: the platform's ipc_* and the process's own.
#include "attach.h"

#include <kov/platform/ipc.h>

#include <cerrno>
#include <utility>

using namespace kov_host;

namespace
{

Endpoint *find(std::int32_t handle)
{
    return attachment() == nullptr ? nullptr : attachment()->transport.find(handle);
}

int send(std::int32_t handle, std::uint32_t node, std::uint32_t sap, std::uint32_t opcode,
         const void *payload, std::uint32_t len)
{
    Endpoint *endpoint = find(handle);
    if (endpoint == nullptr)
        return EBADF;
    if (node != this_node)
        return EHOSTUNREACH;
    if (payload == nullptr && len != 0)
        return EINVAL;
    if (len > KOV_HOST_MAX_MESSAGE)
        return EMSGSIZE;
    return endpoint->send(sap, opcode, {static_cast<const std::uint8_t *>(payload), len});
}

void count(int code)
{
    kov_host_counters &counted = counters();
    if (code == 0) {
        ++counted.ipc_sends;
        return;
    }
    ++counted.ipc_send_failures;
    counted.ipc_queue_full += code == EAGAIN ? 1 : 0;
    counted.ipc_peer_absent += code == ECONNREFUSED ? 1 : 0;
}

} // namespace

extern "C" {

int ipc_send(int32_t handle, uint32_t node, uint32_t sap, uint32_t opcode, const void *payload, uint32_t len,
             uint32_t /*a*/, uint32_t /*b*/, uint32_t /*c*/)
{
    const int code = guarded<int>(ENOMEM, [&] { return send(handle, node, sap, opcode, payload, len); });
    count(code);
    if (code == 0)
        return 0;
    errno = code;
    return -1;
}

int32_t ipc_sap_get(int32_t handle)
{
    const Endpoint *endpoint = find(handle);
    return endpoint == nullptr ? -1 : static_cast<int32_t>(endpoint->sap());
}

uint32_t ipc_options_get(int32_t handle, uint32_t opcode)
{
    const Endpoint *endpoint = find(handle);
    return endpoint == nullptr ? 0 : endpoint->option(opcode);
}

int ipc_options_set(int32_t handle, uint32_t opcode, uint32_t options)
{
    const int code = guarded<int>(ENOMEM, [&] {
        Endpoint *endpoint = find(handle);
        if (endpoint == nullptr)
            return EBADF;
        endpoint->set_option(opcode, options);
        return 0;
    });
    if (code == 0)
        return 0;
    errno = code;
    return -1;
}

uint32_t ipc_opc_get(const ipc_message *msg) { return msg->opcode; }

uint32_t ipc_payload_size(const ipc_message *msg) { return msg->size; }

const void *ipc_payload_get(const ipc_message *msg) { return msg->payload; }

int32_t kov_host_ipc_handle(void) { return attachment() == nullptr ? 0 : attachment()->handle; }

int32_t kov_host_ipc_open(uint32_t sap)
{
    return guarded<int32_t>(-1, [&] {
        pid_t holder = 0;
        return attachment() == nullptr ? fail("not attached") : attachment()->transport.open(sap, holder);
    });
}

int kov_host_ipc_close(int32_t handle)
{
    return guarded(-1, [&] {
        if (attachment() == nullptr)
            return fail("not attached");
        if (handle == attachment()->handle)
            return fail("handle %d is the process's own", handle);
        return attachment()->transport.close(handle) ? 0 : fail("handle %d is not open", handle);
    });
}

void kov_host_on_message(kov_host_message_fn cb, void *arg)
{
    guarded(0, [&] {
        if (attachment() == nullptr)
            return fail("not attached");
        ReceiveFn receive;
        if (cb != nullptr)
            receive = [cb, arg](const ipc_message &message) { cb(&message, arg); };
        attachment()->transport.set_receiver(std::move(receive));
        return 0;
    });
}

int kov_host_peer_watch(uint32_t sap, kov_host_peer_fn cb, void *arg)
{
    return guarded(-1, [&] {
        if (attachment() == nullptr)
            return fail("not attached");
        PeerFn tell;
        if (cb != nullptr)
            tell = [cb, sap, arg](bool present) { cb(sap, present ? 1 : 0, arg); };
        find(attachment()->handle)->watch_peer(sap, std::move(tell));
        return 0;
    });
}

uint32_t kov_host_message_sap(const ipc_message *msg) { return msg->source_sap; }

int32_t kov_host_message_pid(const ipc_message *msg) { return msg->pid; }

uint32_t kov_host_message_uid(const ipc_message *msg) { return msg->uid; }

uint32_t kov_host_message_gid(const ipc_message *msg) { return msg->gid; }

int32_t kov_host_message_handle(const ipc_message *msg) { return msg->handle; }

} // extern "C"
