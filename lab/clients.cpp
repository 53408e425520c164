#include "clients.h"

#include "frames.h"
#include "log.h"

#include <kov/platform/ipc.h>
#include <kov_host.h>

#include <cerrno>
#include <cstring>

namespace kov_lab
{
namespace
{

constexpr std::uint32_t retry_ms = 10;
constexpr std::size_t most_waiting = 65536; // messages of one client

std::string subject(const Client &client)
{
    return "client \"" + client.name + "\" (" + sap_text(client.sap) + ")";
}

} // namespace

Clients::~Clients()
{
    if (timer_ > 0)
        kov_host_timer_stop(timer_);
}

void Clients::add(Client client)
{
    Client &known = clients_[client.sap];
    // A client may ask twice. What waits for it stays: its cache is filled once, and then lives on messages.
    if (known.pid == client.pid)
        client.waiting = std::move(known.waiting);
    known = std::move(client);
}

bool Clients::remove(std::uint32_t sap) { return clients_.erase(sap) != 0; }

const Client *Clients::find(std::uint32_t sap) const
{
    const auto found = clients_.find(sap);
    return found == clients_.end() ? nullptr : &found->second;
}

const Client *Clients::find(const std::string &name) const
{
    for (const auto &[sap, client] : clients_)
        if (client.name == name)
            return &client;
    return nullptr;
}

// Into the access point's socket. False: errno says why.
bool Clients::put(std::uint32_t sap, std::uint32_t opcode, const Bytes &bytes)
{
    const bool sent = ipc_send(kov_host_ipc_handle(), KOV_SERVER_NODE, sap, opcode, bytes.data(),
                               static_cast<std::uint32_t>(bytes.size()), 0, 0, 0) == 0;
    counters_.sent += sent ? 1 : 0;
    return sent;
}

Clients::Result Clients::try_send(const Client &client, const Bytes &message)
{
    if (!put(client.sap, KOV_OPC_CLIENT, message))
        return errno == EAGAIN ? Result::full : Result::failed;
    if (frames_are_logged())
        log_frame("to " + sap_text(client.sap) + " (" + client.name + "): " + describe_sent(message));
    return Result::sent;
}

bool Clients::inject(std::uint32_t sap, std::uint32_t opcode, const Bytes &bytes)
{
    if (!put(sap, opcode, bytes))
        return false;
    const Client *client = find(sap);
    if (frames_are_logged())
        log_frame("to " + sap_text(sap) + " (" + (client != nullptr ? client->name : "no client") +
                  "): injected " + describe_injected(opcode, bytes));
    return true;
}

void Clients::strike_off(std::uint32_t sap, const char *why)
{
    const Client &client = clients_.at(sap);
    counters_.lost += client.waiting.size();
    log_problem(subject(client) + " is struck off: " + why + "; " + std::to_string(client.waiting.size()) +
                " messages lost");
    clients_.erase(sap);
}

bool Clients::flush(Client &client)
{
    while (!client.waiting.empty()) {
        const Result result = try_send(client, client.waiting.front());
        if (result == Result::full)
            return true;
        if (result == Result::failed) {
            strike_off(client.sap, std::strerror(errno));
            return false;
        }
        client.waiting.pop_front();
    }
    return true;
}

void Clients::flush_all()
{
    for (auto next = clients_.begin(); next != clients_.end();) {
        Client &client = next->second;
        ++next; // the client may go
        flush(client);
    }
    if (waiting() == 0) {
        kov_host_timer_stop(timer_);
        timer_ = 0;
    }
}

void Clients::send(std::uint32_t sap, Bytes message)
{
    const auto found = clients_.find(sap);
    if (found == clients_.end())
        return;
    Client &client = found->second;
    const bool behind = !client.waiting.empty();
    client.waiting.push_back(std::move(message));
    if (client.waiting.size() > most_waiting)
        return strike_off(sap, "it does not read its messages");
    if (!flush(client) || client.waiting.empty())
        return;
    if (!behind)
        log_problem(subject(client) + " is slow: messages wait");
    ++counters_.delayed;
    if (timer_ == 0)
        timer_ = kov_host_timer_start(
            retry_ms, retry_ms, [](int, void *self) { static_cast<Clients *>(self)->flush_all(); }, this);
}

std::uint32_t Clients::tell(Client &client, const std::vector<Notice> &notices)
{
    const std::uint32_t sap = client.sap;
    const std::uint32_t mask = client.mask;
    std::uint32_t told = 0;
    for (const Notice &notice : notices) {
        std::uint32_t wanted = 0;
        std::uint32_t choices = 0;
        for (const std::uint32_t mtype : notice.types) {
            choices |= 1u << mtype;
            if (wanted == 0 && (mask >> mtype & 1) != 0)
                wanted = mtype;
        }
        if (wanted == 0 || (notice.unless_told && (told & choices) != 0))
            continue;
        send(sap, notice.message(wanted));
        told |= 1u << wanted;
    }
    return told;
}

std::size_t Clients::announce(const std::vector<Notice> &notices, std::uint32_t &types)
{
    std::size_t count = 0;
    types = 0;
    for (auto next = clients_.begin(); next != clients_.end();) {
        Client &client = next->second;
        ++next; // the client may go
        const std::uint32_t told = tell(client, notices);
        types |= told;
        count += told != 0 ? 1 : 0;
    }
    return count;
}

std::size_t Clients::waiting() const
{
    std::size_t count = 0;
    for (const auto &[sap, client] : clients_)
        count += client.waiting.size();
    return count;
}

} // namespace kov_lab
