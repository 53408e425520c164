// The server's clients: who registered, for what, and what waits to be sent to them.
//
// A client is known by the service access point at which it listens. Messages to a client leave in the order
// in which they were given. When its socket is full they wait here, in memory, and are tried again from a
// timer; none is lost in silence: a client that is gone, or so far behind that nothing more may wait, is
// struck off, and that is counted and logged.
#pragma once

#include "announce.h"

#include <cstdint>
#include <deque>
#include <map>
#include <string>

namespace kov_lab
{

struct Client {
    std::uint32_t sap = 0;
    std::int32_t pid = 0;
    std::uint32_t uuid = 0;
    std::uint32_t mask = 0;
    std::string name;
    std::deque<Bytes> waiting;
};

// "SAP 2000"
inline std::string sap_text(std::uint32_t sap) { return "SAP " + std::to_string(sap); }

// Whether the client registered for messages of this type.
inline bool wants(const Client &client, std::uint32_t mtype) { return (client.mask >> mtype & 1) != 0; }

struct ClientCounters {
    std::uint64_t sent = 0;    // messages that stand in a client's socket, injected ones too
    std::uint64_t delayed = 0; // messages that had to wait first
    std::uint64_t lost = 0;    // messages of clients that were struck off
};

class Clients
{
public:
    ~Clients();

    // Replaces what was known of the client's access point.
    void add(Client client);
    // False when there is none.
    bool remove(std::uint32_t sap);
    const Client *find(std::uint32_t sap) const;
    const Client *find(const std::string &name) const;

    void send(std::uint32_t sap, Bytes message);
    // The bytes as they are, to any access point, ahead of what waits for it. False: errno says why.
    bool inject(std::uint32_t sap, std::uint32_t opcode, const Bytes &bytes);
    // The number of clients that were told, and by which types.
    std::size_t announce(const std::vector<Notice> &notices, std::uint32_t &types);

    const std::map<std::uint32_t, Client> &all() const { return clients_; }
    const ClientCounters &counters() const { return counters_; }
    std::size_t waiting() const;

private:
    enum class Result { sent, full, failed };
    bool put(std::uint32_t sap, std::uint32_t opcode, const Bytes &bytes);
    Result try_send(const Client &client, const Bytes &message);
    void strike_off(std::uint32_t sap, const char *why);
    // False when the client was struck off.
    bool flush(Client &client);
    void flush_all();
    std::uint32_t tell(Client &client, const std::vector<Notice> &notices);

    std::map<std::uint32_t, Client> clients_;
    ClientCounters counters_;
    int timer_ = 0; // runs while something waits
};

} // namespace kov_lab
