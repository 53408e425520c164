// What the server does about the places of hosts: it has clients verify them, for a client that wants to know
// or for the operator, and keeps what their probes show.
//
// A client is asked by a profile message that tells it to check the host. It probes the host, and reports
// when the host answers; a host that is gone is one of which nobody reports anything.
#include "server.h"

#include "frames.h"
#include "log.h"
#include "profile_messages.h"

#include <kov_host.h>

namespace kov_lab
{
namespace
{

constexpr const char *the_operator = "the operator";

} // namespace

// By the key under which the client knows the host, when it has a profile of it.
void Server::have_checked(const Client &client, const std::string &host)
{
    const kov_uhost_key_t *kept = profiles_->find({client.name, host});
    tell_host(client, kept != nullptr ? *kept : host_key(host, KOV_PROFILE_OP_CHECK), KOV_PROFILE_OP_CHECK,
              code_check);
}

// Whoever asks does not know: all others are asked.
void Server::take_verify_request(const ipc_message *msg, const VerifyRequest &request)
{
    const Client *client = clients_.find(kov_host_message_sap(msg));
    if (client == nullptr || client->pid != kov_host_message_pid(msg))
        return refuse(msg, "it wants a host to be verified and is not registered");
    if (request.host.empty())
        return log_frame("nobody is asked: the address of an IPv6 host does not travel");
    std::vector<std::uint32_t> saps; // a client that cannot be reached is struck off
    std::string names;
    for (const auto &[sap, other] : clients_.all())
        if (sap != client->sap && wants(other, KOV_MTYPE_PROFILE_MGMT)) {
            saps.push_back(sap);
            names += (names.empty() ? "" : ",") + other.name;
        }
    verifications_.ask({request.host, request.vrf, client->name, names, false, {}, {}});
    for (const std::uint32_t sap : saps)
        have_checked(*clients_.find(sap), request.host);
}

void Server::take_notice(const ipc_message *msg, std::span<const std::uint8_t> payload)
{
    const std::uint32_t opcode = ipc_opc_get(msg);
    if (const auto request = verify_request_of(opcode, payload))
        take_verify_request(msg, *request);
    else if (const auto found = probe_result_of(opcode, payload))
        verifications_.found(found->host, found->place, sender_of(msg));
    else if (is_glean(opcode, payload))
        ++gleans_;
    else
        refuse(msg, "it is none of the known frames: " + opcode_and_size(opcode, payload));
}

bool Server::verify_host(std::string_view client, std::string_view host, std::string &text)
{
    const Client *known = clients_.find(std::string(client));
    const auto address = parse_host(host, text);
    if (!address)
        return false;
    if (known == nullptr || !wants(*known, KOV_MTYPE_PROFILE_MGMT)) {
        text = "no client \"" + std::string(client) + "\" is registered for type 12";
        return false;
    }
    verifications_.ask({host_text(*address), {}, the_operator, known->name, false, {}, {}});
    text = "asked " + known->name + " to verify " + host_text(*address);
    have_checked(*known, host_text(*address));
    return true;
}

} // namespace kov_lab
