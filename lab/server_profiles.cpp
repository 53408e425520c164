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
constexpr std::uint32_t code_no_host = 30;
constexpr std::uint32_t code_not_ready = 31;
constexpr std::uint32_t first_clear_code = 41;
constexpr std::uint32_t last_clear_code = 47;

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

// ---- What clients ask ------------------------------------------------------------------------------------

// Good news is only for a host that there is.
std::uint32_t Server::code_for(const std::string &client, const kov_uhost_key_t &key) const
{
    const bool is_there = key.op == KOV_PROFILE_OP_ADD || profiles_->find({client, host_of(key)}) != nullptr;
    return is_good(profile_code_) && !is_there ? code_no_host : profile_code_;
}

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
    kov_profile_reply reply = reply_about(client.name, key, code_for(client.name, key));
    std::string why;
    if (is_good(reply.code) && !carry_out(client.name, key, why)) {
        log_problem("the profiles' file refuses " + host_name(key) + ": " + why);
        reply.code = code_not_ready;
    }
    if (wants(client, KOV_MTYPE_PROFILE_MGMT))
        clients_.send(client.sap, profile_message(key, reply));
    else
        log_frame(sap_text(client.sap) + " does not want the answer: type 12 is none of its own");
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
    else if (is_from(*client, msg))
        answer_request(*client, *key);
}

bool Server::set_profile_code(std::string_view code, std::string &text)
{
    const auto number = parse_profile_code(code, text);
    if (!number)
        return false;
    profile_code_ = *number;
    text = "requests are answered with " + profile_code_text();
    return true;
}

std::string Server::profile_code_text() const
{
    return std::to_string(profile_code_) + ", " + kov_profile_data_value_to_string(profile_code_);
}

// ---- What no client has asked for ------------------------------------------------------------------------

std::optional<Server::KnownHost> Server::known_host(std::string_view client, std::string_view host,
                                                    std::string &why) const
{
    const Client *known = clients_.find(std::string(client));
    const kov_uhost_key_t *kept = profiles_->find({std::string(client), std::string(host)});
    if (known == nullptr || !wants(*known, KOV_MTYPE_PROFILE_MGMT))
        why = "no client \"" + std::string(client) + "\" is registered for type 12";
    else if (kept == nullptr)
        why = std::string(client) + " has no profile for " + std::string(host);
    else
        return KnownHost{known, *kept};
    return std::nullopt;
}

void Server::tell_host(const Client &client, kov_uhost_key_t key, kov_profile_op op, std::uint32_t code)
{
    key.op = static_cast<std::uint8_t>(op);
    clients_.send(client.sap, profile_message(key, reply_about(client.name, key, code)));
}

bool Server::check_host(std::string_view client, std::string_view host, std::string &text)
{
    const auto known = known_host(client, host, text);
    if (!known)
        return false;
    text = "asked " + std::string(client) + ": check of " + host_name(known->key) + ", " +
           kov_profile_data_value_to_string(code_check);
    tell_host(*known->client, known->key, KOV_PROFILE_OP_CHECK, code_check);
    return true;
}

bool Server::clear_host(std::string_view client, std::string_view host, std::string_view code,
                        std::string &text)
{
    const auto named = parse_profile_code(code, text);
    const auto number =
        named ? parse_number(std::to_string(*named), first_clear_code, last_clear_code, text) : named;
    if (!number)
        return false;
    const auto known = known_host(client, host, text);
    if (!known || !forget_and_clear({std::string(client), std::string(host)}, *number, text))
        return false;
    text = "asked " + std::string(client) + ": delete of " + host_name(known->key) + ", " +
           kov_profile_data_value_to_string(*number);
    return true;
}

// The file first, then the client: nobody clears what the server still keeps.
bool Server::forget_and_clear(const HostId &host, std::uint32_t code, std::string &why)
{
    const kov_uhost_key_t key = *profiles_->find(host);
    if (!profiles_->forget(host, why)) {
        why.insert(0, "the profiles' file refuses " + host_name(key) + ": ");
        return false;
    }
    const Client *client = clients_.find(host.client);
    if (client != nullptr && wants(*client, KOV_MTYPE_PROFILE_MGMT))
        tell_host(*client, key, KOV_PROFILE_OP_DELETE, code);
    return true;
}

std::string Server::clear_hosts(std::uint32_t code,
                                const std::function<bool(const kov_profile_options_t &options)> &stands_on_it)
{
    std::vector<HostId> hosts;
    for (const auto &[host, profile] : profiles())
        if (stands_on_it(profile.key.options))
            hosts.push_back(host);
    std::string text;
    std::size_t cleared = 0;
    for (const HostId &host : hosts)
        if (std::string why; forget_and_clear(host, code, why))
            ++cleared;
        else
            text += "; " + why;
    if (cleared != 0)
        text.insert(0, "; cleared " + std::to_string(cleared) + (cleared == 1 ? " host" : " hosts"));
    return text;
}

std::string Server::clear_hosts_of_vlan(std::uint32_t vlan, std::uint32_t code)
{
    for (const auto &[ifindex, svi] : published().svis)
        if (svi.vlan_id == vlan)
            return {};
    return clear_hosts(
        code, [vlan](const kov_profile_options_t &options) { return vlan != 0 && options.vlan == vlan; });
}

std::string Server::clear_hosts_of_vni(std::uint32_t vni, std::uint32_t code)
{
    for (const auto &[bd, topology] : published().topologies)
        if (topology.vni == vni)
            return {};
    return clear_hosts(
        code, [vni](const kov_profile_options_t &options) { return vni != 0 && options.vni == vni; });
}

} // namespace kov_lab
