// The lab's KOV server: takes what clients send, and changes what is published.
//
// Received frames are believed only as far as the kernel confirms them: a request that names another process
// than the one that sent it is logged and refused. Changes go to the database, then to the clients that want
// to know. The operator's commands (server_commands.h) are thin wrappers over the calls here.
#pragma once

#include "clients.h"
#include "publisher.h"

#include <kov/platform/ipc.h>

#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace kov_lab
{

class Server
{
public:
    explicit Server(std::unique_ptr<Publisher> publisher) : publisher_(std::move(publisher)) {}

    void receive(const ipc_message *msg);

    // A change that an operator asks for: "FIELD=VALUE" each, all of them or none. "as=TYPE" among them
    // forces the type of the message. True: `text` says what changed and who was told; false: what is wrong.
    bool set_geninfo(std::span<const std::string_view> settings, std::string &text);
    bool set_svi(std::string_view name, std::span<const std::string_view> settings, std::string &text);
    bool del_geninfo(std::string &text);
    bool del_svi(std::string_view name, std::string &text);

    // Sends the bytes as they are, to a client's name or to any access point. False: `text` says why.
    bool inject(std::string_view target, std::string_view hex, std::uint32_t opcode, std::string &text);

    const Publisher &published() const { return *publisher_; }
    const Clients &clients() const { return clients_; }
    std::uint64_t frames_received() const { return frames_received_; }
    std::uint64_t frames_refused() const { return frames_refused_; }

private:
    void take_registration(const ipc_message *msg, const kov_registration_request &request);
    void take_deregistration(const ipc_message *msg, const kov_registration_request &request);
    void refuse(const ipc_message *msg, const std::string &why);
    bool believable(const ipc_message *msg, const kov_registration_request &request);
    std::string announce(const std::vector<Notice> &notices);

    std::unique_ptr<Publisher> publisher_;
    Clients clients_;
    std::uint64_t frames_received_ = 0;
    std::uint64_t frames_refused_ = 0;
};

} // namespace kov_lab
