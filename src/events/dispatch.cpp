// The one entry for messages from the server.
//
// A message is checked, copied and converted, and then handled in a fixed order: the acknowledgement
// completes the registration and fills the cache; every valid message refreshes the cache; a message of a
// type that the client registered for goes to the profile layer or to the client's handler.
#include "api/bytes.h"
#include "api/gate.h"
#include "api/trace.h"
#include "events/cache_update.h"
#include "profile/uhost_dispatch.h"
#include "wire/convert.h"

#include <kov/platform/ipc.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace
{

// The dispatcher's own copy of a payload. Nothing else frees it.
class message_copy
{
public:
    message_copy(const void *payload, u32 size) : size_(size), bytes_(std::calloc(1, size))
    {
        if (bytes_)
            std::memcpy(bytes_, payload, size);
    }
    ~message_copy() { std::free(bytes_); }
    message_copy(const message_copy &) = delete;
    message_copy &operator=(const message_copy &) = delete;

    explicit operator bool() const { return bytes_ != nullptr; }
    kov_client_msg *operator->() const { return get(); }
    kov_client_msg *get() const { return static_cast<kov_client_msg *>(bytes_); }
    u32 size() const { return size_; }

private:
    u32 size_;
    void *bytes_;
};

bool is_client_message(const ipc_message *msg)
{
    const u32 opcode = ipc_opc_get(msg);
    if (opcode == KOV_OPC_CLIENT)
        return true;
    KOV_TRACE("Received unexpected opcode(%u) in kov_dispatch", opcode);
    return false;
}

bool is_ready()
{
    if (!kov::initialized()) {
        KOV_TRACE("Not initialized with KOV Api");
        return false;
    }
    if (!kov_api.registration_done && !kov_api.ack_pending) {
        KOV_TRACE("Client not registered in kov_dispatch");
        return false;
    }
    return true;
}

bool holds_a_header(u32 size)
{
    if (size >= kov::msg_header_size)
        return true;
    KOV_TRACE("Dispatch msg, invalid data size(%d, %d)", static_cast<int>(size),
              static_cast<int>(kov::msg_header_size));
    return false;
}

// Both fields are read before any conversion: they never travel in network order.
u16 field_at(const void *payload, std::size_t offset)
{
    return kov::load<u16>(static_cast<const u8 *>(payload) + offset);
}

bool is_known_version(const void *payload)
{
    const u32 major = field_at(payload, offsetof(kov_client_msg, major));
    const u32 mtype = field_at(payload, offsetof(kov_client_msg, mtype));
    if (major == KOV_MSG_MAJOR && mtype < KOV_MTYPE_END) {
        KOV_TRACE("Received IPC_OPC_KOV msg with type: %u", mtype);
        return true;
    }
    KOV_TRACE("Received unexpected major(%u/%u) in kov_dispatch", major, mtype);
    return false;
}

// Whether the message has the length that its count asks for, and its payload has that much. A profile
// message has no fixed record size.
// Deliberate: types 0 to 3 are header-only messages of length 161, whatever their count.
bool holds_its_records(const message_copy &msg)
{
    if (msg->mtype == KOV_MTYPE_PROFILE_MGMT)
        return true;
    const u64 length = kov::msg_header_size + u64{kov_get_clients_msg_data_sz(msg->mtype)} * msg->count;
    if (length == msg->length && length <= msg.size())
        return true;
    KOV_TRACE("Received invalid msg data(%d, %d)", static_cast<int>(length), static_cast<int>(msg->length));
    return false;
}

void complete_registration()
{
    kov_api.ack_pending = 0;
    kov_api.registration_done = 1;
    kov_api_enable_cache();
}

// Hands the message to whoever it is for. The handler may do anything to the library: afterwards nothing is
// read but whether to trace.
void deliver(const message_copy &msg)
{
    if (kov::profile_dispatch(msg.get(), msg.size()))
        KOV_TRACE("IPC message consumed by kov_profile_dispatch_uhost()");
    else if (kov_api.notify_callback)
        kov_api.notify_callback(msg.get());
}

} // namespace

u32 kov_dispatch(const ipc_message *msg)
{
    if (!msg || !is_client_message(msg) || !is_ready())
        return 0;
    const u32 size = ipc_payload_size(msg);
    if (!holds_a_header(size))
        return 0;
    const void *payload = ipc_payload_get(msg);
    if (!payload || !is_known_version(payload))
        return 0;

    const message_copy copy(payload, size);
    if (!copy)
        return 0;
    kov::swap_header(copy.get());
    if (!holds_its_records(copy))
        return 0;
    kov::swap_records(copy.get());

    const u32 mtype = copy->mtype;
    // Deliberate: the acknowledgement enables caching although its type may not be registered for.
    if (mtype == KOV_MTYPE_REGISTER_ACK)
        complete_registration();
    // Deliberate: an update is applied whoever it was meant for.
    // Deliberate: the handler already sees the refreshed cache.
    kov_update_cache_rdb_data(copy.get());
    if (!kov::in_mask(mtype)) {
        KOV_TRACE("Received unexpected mtype(0x%08x) in kov_dispatch(0x%08x)", mtype, kov_api.mtype_mask);
        return 0;
    }
    deliver(copy);
    return 1;
}
