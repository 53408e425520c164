#include "server.h"

#include "log.h"
#include "profile_messages.h"
#include "values.h"

#include <kov_host.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <unistd.h>

namespace kov_lab
{
namespace
{

std::optional<Bytes> bytes_of_hex(std::string_view hex)
{
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        std::uint8_t byte = 0;
        if (std::from_chars(hex.data() + i, hex.data() + i + 2, byte, 16).ptr != hex.data() + i + 2)
            return std::nullopt;
        bytes.push_back(byte);
    }
    if (hex.size() % 2 != 0)
        return std::nullopt;
    return bytes;
}

bool is_registration(const ipc_message *msg)
{
    return ipc_opc_get(msg) == KOV_OPC_CLIENT && ipc_payload_size(msg) == sizeof(kov_registration_request) &&
           ipc_payload_get(msg) != nullptr;
}

std::span<const std::uint8_t> payload_of(const ipc_message *msg)
{
    const auto *payload = static_cast<const std::uint8_t *>(ipc_payload_get(msg));
    return payload == nullptr ? std::span<const std::uint8_t>{} : std::span{payload, ipc_payload_size(msg)};
}

} // namespace

// ---- Frames --------------------------------------------------------------------------------------------

void Server::receive(const ipc_message *msg)
{
    ++frames_received_;
    const auto payload = payload_of(msg);
    if (frames_are_logged())
        log_frame("from " + sap_text(kov_host_message_sap(msg)) + " (" + sender_of(msg) +
                  "): " + describe_frame(ipc_opc_get(msg), payload, published().vrf_ids()));
    const bool profile = is_profile_request(ipc_opc_get(msg), payload);
    if (!profile && !is_registration(msg))
        return take_notice(msg, payload);
    kov_registration_request request;
    std::memcpy(&request, payload.data(), sizeof request);
    if (request.major != KOV_MSG_MAJOR)
        refuse(msg, "version " + std::to_string(request.major) + " is not 53");
    else if (profile)
        take_profile_request(msg, payload);
    else if (request.mtype == KOV_MTYPE_REGISTER)
        take_registration(msg, request);
    else if (request.mtype == KOV_MTYPE_DEREGISTER)
        take_deregistration(msg, request);
    else
        refuse(msg, "a client does not send type " + std::to_string(request.mtype));
}

// A registered client's name, or its process.
std::string Server::sender_of(const ipc_message *msg) const
{
    const Client *client = clients_.find(kov_host_message_sap(msg));
    const std::int32_t pid = kov_host_message_pid(msg);
    return client != nullptr && client->pid == pid ? client->name : "pid " + std::to_string(pid);
}

void Server::refuse(const ipc_message *msg, const std::string &why)
{
    ++frames_refused_;
    log_problem("refused a frame from " + sap_text(kov_host_message_sap(msg)) + " (pid " +
                std::to_string(kov_host_message_pid(msg)) + ", uid " +
                std::to_string(kov_host_message_uid(msg)) + "): " + why);
}

// The message says who sent it, and so does the kernel.
bool Server::believable(const ipc_message *msg, const kov_registration_request &request)
{
    const std::uint32_t uid = kov_host_message_uid(msg);
    std::string lie;
    if (static_cast<std::int32_t>(request.pid) != kov_host_message_pid(msg))
        lie = "it claims to be process " + std::to_string(request.pid);
    else if (static_cast<std::uint32_t>(request.sap) != kov_host_message_sap(msg))
        lie = "it claims to listen at SAP " + std::to_string(request.sap);
    else if (uid != geteuid() && uid != 0)
        lie = "it belongs to another user";
    if (!lie.empty())
        refuse(msg, lie);
    return lie.empty();
}

bool Server::is_from(const Client &client, const ipc_message *msg)
{
    if (client.pid == kov_host_message_pid(msg))
        return true;
    refuse(msg, "the client at its SAP is process " + std::to_string(client.pid));
    return false;
}

void Server::take_registration(const ipc_message *msg, const kov_registration_request &request)
{
    if (!believable(msg, request))
        return;
    Client client;
    client.sap = kov_host_message_sap(msg);
    client.pid = kov_host_message_pid(msg);
    client.uuid = request.uuid;
    client.mask = request.mtype_mask;
    client.name = printable(request.client_name, sizeof request.client_name);
    const std::uint32_t sap = client.sap;
    clients_.add(std::move(client));
    clients_.send(sap, acknowledgement());
}

void Server::take_deregistration(const ipc_message *msg, const kov_registration_request &request)
{
    if (!believable(msg, request))
        return;
    const Client *client = clients_.find(kov_host_message_sap(msg));
    if (client == nullptr)
        log_frame(sap_text(kov_host_message_sap(msg)) + " was not registered");
    else if (is_from(*client, msg))
        clients_.remove(client->sap);
}

// ---- Sending ---------------------------------------------------------------------------------------------

std::string Server::announce(const std::vector<Notice> &notices)
{
    std::uint32_t types = 0;
    const std::size_t count = clients_.announce(notices, types);
    if (count == 0)
        return "; no client wants to know";
    return "; told " + std::to_string(count) + (count == 1 ? " client" : " clients") + " by type " +
           mask_text(types) + " (" + mask_words(types) + ")";
}

bool Server::inject(std::string_view target, std::string_view hex, std::uint32_t opcode, std::string &text)
{
    const Client *client = clients_.find(std::string(target));
    const auto sap = client != nullptr ? client->sap : parse_number(target, 1, 65535, text);
    if (!sap) {
        text = "\"" + std::string(target) + "\" is neither a client's name nor an access point";
        return false;
    }
    const auto bytes = bytes_of_hex(hex);
    if (!bytes) {
        text = "the bytes are not pairs of hexadecimal digits";
        return false;
    }
    if (!clients_.inject(*sap, opcode, *bytes)) {
        text = "SAP " + std::to_string(*sap) + ": " + std::strerror(errno);
        return false;
    }
    text = "sent " + std::to_string(bytes->size()) + " bytes to SAP " + std::to_string(*sap);
    return true;
}

} // namespace kov_lab
