// What the server does about hosts' profiles: it answers requests with the result that it is told to give,
// keeps the hosts whose profile it has applied, and has clients check or clear them.
#include "server.h"

#include "log.h"
#include "profile_messages.h"

#include <kov_host.h>

#include <cstring>

namespace kov_lab
{
namespace
{

constexpr std::uint32_t last_good_code = 3;
constexpr std::uint32_t code_not_ready = 31;
constexpr std::uint32_t code_check = 3;
constexpr std::uint32_t code_profile_deleted = 42;

bool is_good(std::uint32_t code) { return code >= 1 && code <= last_good_code; }

bool is_operation(std::uint8_t op)
{
    return op == KOV_PROFILE_OP_ADD || op == KOV_PROFILE_OP_DELETE || op == KOV_PROFILE_OP_CHECK;
}

std::uint16_t bridge_domain_of(std::uint32_t vni, const Topologies &topologies)
{
    for (const auto &[bd, topology] : topologies)
        if (vni != 0 && topology.vni == vni)
            return static_cast<std::uint16_t>(bd);
    return 0;
}

} // namespace

// Who asks to delete or to check says nothing of the segment: the kept profile does.
kov_profile_reply Server::reply_about(const std::string &client, const kov_uhost_key_t &key,
                                      std::uint32_t code) const
{
    const kov_uhost_key_t *kept = profiles_->find({client, host_of(key)});
    const kov_uhost_key_t &source = key.op == KOV_PROFILE_OP_ADD || kept == nullptr ? key : *kept;
    kov_profile_reply reply{};
    reply.code = code;
    reply.vni = source.options.vni;
    reply.vlan = source.options.vlan;
    reply.bd = bridge_domain_of(reply.vni, published().topologies);
    return reply;
}

bool Server::carry_out(const std::string &client, const kov_uhost_key_t &key, std::string &why)
{
    if (key.op == KOV_PROFILE_OP_ADD)
        return profiles_->keep(client, key, why);
    return key.op != KOV_PROFILE_OP_DELETE || profiles_->forget({client, host_of(key)}, why);
}

void Server::answer_request(const Client &client, const kov_uhost_key_t &key)
{
    kov_profile_reply reply = reply_about(client.name, key, profile_code_);
    std::string why;
    if (is_good(profile_code_) && !carry_out(client.name, key, why)) {
        log_problem("the profiles' file refuses %s: %s", host_name(key).c_str(), why.c_str());
        reply.code = code_not_ready;
    }
    if ((client.mask >> KOV_MTYPE_PROFILE_MGMT & 1) != 0)
        clients_.send(client.sap, profile_message(key, reply));
    else
        log_frame("SAP %u does not want the answer: type 12 is none of its own", client.sap);
}

void Server::take_profile_request(const ipc_message *msg, std::span<const std::uint8_t> payload)
{
    kov_profile_request request;
    std::memcpy(&request, payload.data(), sizeof request);
    if (!believable(msg, request.client))
        return;
    const Client *client = clients_.find(kov_host_message_sap(msg));
    std::string why;
    const auto key = host_key_of(payload, why);
    if (client == nullptr)
        refuse(msg, "it asks about a host and is not registered");
    else if (!key)
        refuse(msg, why);
    else if (!is_operation(key->op))
        refuse(msg, operation_text(key->op) + " is none of profiles");
    else
        answer_request(*client, *key);
}

// A message that no client has asked for.
bool Server::tell_host(std::string_view client, std::string_view host, kov_profile_op op, std::uint32_t code,
                       std::string &text)
{
    const Client *known = clients_.find(std::string(client));
    const kov_uhost_key_t *kept = profiles_->find({std::string(client), std::string(host)});
    if (known == nullptr || (known->mask >> KOV_MTYPE_PROFILE_MGMT & 1) == 0) {
        text = "no client \"" + std::string(client) + "\" is registered for type 12";
        return false;
    }
    if (kept == nullptr) {
        text = std::string(client) + " has no profile for " + std::string(host);
        return false;
    }
    kov_uhost_key_t key = *kept;
    key.op = static_cast<std::uint8_t>(op);
    clients_.send(known->sap, profile_message(key, reply_about(known->name, key, code)));
    text = "asked " + std::string(client) + ": " + operation_text(op) + " of " + std::string(host) + ", " +
           kov_profile_data_value_to_string(code);
    return true;
}

bool Server::check_host(std::string_view client, std::string_view host, std::string &text)
{
    return tell_host(client, host, KOV_PROFILE_OP_CHECK, code_check, text);
}

bool Server::clear_host(std::string_view client, std::string_view host, std::string &text)
{
    return tell_host(client, host, KOV_PROFILE_OP_DELETE, code_profile_deleted, text) &&
           profiles_->forget({std::string(client), std::string(host)}, text);
}

bool Server::set_profile_code(std::string_view code, std::string &text)
{
    const auto number = parse_number(code, 1, last_profile_code, text);
    if (!number)
        return false;
    profile_code_ = *number;
    text = "requests are answered with " + std::to_string(*number) + ", " +
           kov_profile_data_value_to_string(*number);
    return true;
}

} // namespace kov_lab
