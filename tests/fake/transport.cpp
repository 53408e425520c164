// The transport: sends are recorded, received messages are built by tests.
#include "internal.h"

#include <cerrno>

struct ipc_message {
    uint32_t opcode;
    uint32_t size;
    std::unique_ptr<fake::OddBlock> payload;
};

namespace fake
{

uint32_t Transport::options(int32_t h, uint32_t opcode) const
{
    const auto at = option_words.find({h, opcode});
    return at == option_words.end() ? 0 : at->second;
}

Message::Message(uint32_t opcode, std::span<const uint8_t> payload)
    : message_(
          new ipc_message{opcode, static_cast<uint32_t>(payload.size()), std::make_unique<OddBlock>(payload)})
{
}

Message::~Message() = default;
Message::Message(Message &&) noexcept = default;

Message &Message::with_size(uint32_t size)
{
    message_->size = size;
    return *this;
}

Message &Message::without_payload()
{
    message_->payload.reset();
    return *this;
}

} // namespace fake

using namespace fake;

namespace
{

constexpr uint32_t longest = 65536;

int error_of(int32_t handle, const void *payload, uint32_t len)
{
    if (handle <= 0 || !platform().ipc.saps.count(handle))
        return EBADF;
    if (!payload && len != 0)
        return EINVAL;
    return len > longest ? EMSGSIZE : 0;
}

} // namespace

int ipc_send(int32_t handle, uint32_t node, uint32_t sap, uint32_t opcode, const void *payload, uint32_t len,
             uint32_t a, uint32_t b, uint32_t c)
{
    Transport &ipc = platform().ipc;
    const bool fails = enter(Call::ipc_send);
    const int error = error_of(handle, payload, len);
    const auto *const bytes = static_cast<const uint8_t *>(payload);
    auto &log = fails || error ? ipc.refused : ipc.sent;
    log.push_back({handle, node, sap, opcode, bytes ? Bytes(bytes, bytes + len) : Bytes(), a, b, c});
    if (!fails && !error)
        return 0;
    errno = fails ? ipc.send_errno : error;
    return -1;
}

int32_t ipc_sap_get(int32_t handle)
{
    const auto &saps = platform().ipc.saps;
    const auto at = saps.find(handle);
    return enter(Call::ipc_sap_get) || at == saps.end() ? -1 : at->second;
}

uint32_t ipc_options_get(int32_t handle, uint32_t opcode)
{
    enter(Call::ipc_options_get);
    return platform().ipc.options(handle, opcode);
}

int ipc_options_set(int32_t handle, uint32_t opcode, uint32_t options)
{
    Transport &ipc = platform().ipc;
    if (enter(Call::ipc_options_set) || !ipc.saps.count(handle)) {
        errno = EBADF;
        return -1;
    }
    ipc.option_words[{handle, opcode}] = options;
    return 0;
}

uint32_t ipc_opc_get(const ipc_message *msg)
{
    enter(Call::ipc_opc_get);
    return msg->opcode;
}

uint32_t ipc_payload_size(const ipc_message *msg)
{
    enter(Call::ipc_payload_size);
    return msg->size;
}

const void *ipc_payload_get(const ipc_message *msg)
{
    enter(Call::ipc_payload_get);
    return msg->payload ? msg->payload->data() : nullptr;
}
