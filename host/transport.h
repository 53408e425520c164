// The message transport: handles, connections, frames.
//
// A handle is an endpoint: a listening SOCK_SEQPACKET socket at ipc/sap-<n>, claimed by a lock file. To send,
// an endpoint connects to the peer's socket, once, and keeps the connection; connections carry frames one
// way, so an endpoint reads from those it accepted and writes to those it made. Only a greeting goes the
// other way: with it an endpoint says that it has accepted. One frame is one packet: the kernel keeps its
// boundaries and their order, and refuses a packet when the queue is full.
//
// Nothing here waits. The transport owns its endpoints, an endpoint its sockets and watches.
#pragma once

#include "loop.h"
#include "rundir.h"

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <unordered_map>
#include <vector>

struct ipc_message {
    std::uint32_t opcode;
    std::uint32_t size;
    const void *payload;
    std::uint32_t source_sap;
    std::int32_t pid;
    std::uint32_t uid;
    std::uint32_t gid;
    std::int32_t handle;
};

namespace kov_host
{

// What stands before each payload, little-endian.
struct FrameHeader {
    std::uint32_t opcode;
    std::uint32_t source_sap;
    std::uint32_t length; // of the payload
};
static_assert(sizeof(FrameHeader) == 12);

constexpr std::uint32_t this_node = 0xfe000000u;
constexpr std::uint32_t first_free_sap = 2000;
constexpr std::uint32_t last_free_sap = 65535;
constexpr std::size_t max_connections = 512; // accepted ones, of an endpoint

using ReceiveFn = std::function<void(const ipc_message &)>;
using PeerFn = std::function<void(bool present)>;

// What the endpoints of a process share: one receiver, one message at a time, one buffer.
struct Receiving {
    Receiving();
    ReceiveFn fn; // empty: messages stay in their queues
    std::shared_ptr<Task> task = std::make_shared<Task>();
    std::vector<std::uint8_t> buffer;
};

class Endpoint
{
public:
    // Claims `sap` (0: the first free one) and listens. Null with an error; `holder` is the pid of the
    // process that has the SAP, when that is the reason.
    static std::unique_ptr<Endpoint> open(const RunDir &dir, std::uint32_t sap, Loop &loop,
                                          Receiving &receiving, std::int32_t handle, pid_t &holder);
    ~Endpoint();
    Endpoint(const Endpoint &) = delete;
    Endpoint &operator=(const Endpoint &) = delete;

    // 0, or an errno.
    int send(std::uint32_t sap, std::uint32_t opcode, std::span<const std::uint8_t> payload);

    std::uint32_t sap() const { return sap_; }
    std::uint32_t option(std::uint32_t opcode) const;
    void set_option(std::uint32_t opcode, std::uint32_t value) { options_[opcode] = value; }
    // Who hears that the owner of a SAP went away, or is there again; an empty function: nobody.
    void watch_peer(std::uint32_t sap, PeerFn fn);
    // Starts or stops reading, after the receiver came or went.
    void update_reading();

private:
    struct Inbound {
        Fd fd;
        WatchId watch = 0;
        std::int32_t pid = 0;
        std::uint32_t uid = 0;
        std::uint32_t gid = 0;
    };
    struct Outbound {
        Fd fd;
        WatchId watch = 0;
        bool greeted = false;     // the peer has accepted
        std::uint32_t unread = 0; // messages that the peer may not have read yet: no more than these
    };
    // A peer whose coming and going somebody hears. Its connection is the one that messages take.
    struct WatchedPeer {
        PeerFn fn;
        bool present = false; // as told last
        bool lost = false;    // its connection broke since
        int timer = 0;        // runs while there is something to tell or to wait for
    };

    Endpoint(const RunDir &dir, Loop &loop, Receiving &receiving, std::int32_t handle)
        : dir_(dir), loop_(loop), receiving_(receiving), handle_(handle)
    {
    }
    Claim::Outcome claim(std::uint32_t sap, pid_t &holder);
    bool listen();
    void accept_all();
    bool accept_one();
    void read_from(const std::shared_ptr<Inbound> &peer);
    bool read_frame(const std::shared_ptr<Inbound> &peer);
    void take_frame(const Inbound &peer, std::size_t size);
    void drop_inbound(const std::shared_ptr<Inbound> &peer);
    // Null, with an errno in `code`, when nobody can be reached.
    Outbound *outbound_to(std::uint32_t sap, int &code);
    void take_greeting(std::uint32_t sap, std::uint32_t events);
    void drop_outbound(std::uint32_t sap, int code);
    void look_after(std::uint32_t sap, WatchedPeer &peer);
    void look_at_peer(std::uint32_t sap);
    void forget_peer(std::uint32_t sap);

    RunDir dir_;
    Loop &loop_;
    Receiving &receiving_;
    std::int32_t handle_;
    std::uint32_t sap_ = 0;
    Claim claim_;
    Fd listener_;
    WatchId listener_watch_ = 0;
    std::map<const Inbound *, std::shared_ptr<Inbound>> inbound_;
    std::unordered_map<std::uint32_t, Outbound> outbound_;
    std::map<std::uint32_t, WatchedPeer> watched_;
    std::unordered_map<std::uint32_t, std::uint32_t> options_;
};

class Transport
{
public:
    Transport(RunDir dir, Loop &loop) : dir_(std::move(dir)), loop_(loop) {}

    // A handle, or -1 with an error (and `holder`, see Endpoint::open).
    std::int32_t open(std::uint32_t sap, pid_t &holder);
    bool close(std::int32_t handle) { return endpoints_.erase(handle) != 0; }
    Endpoint *find(std::int32_t handle);
    void set_receiver(ReceiveFn fn);

private:
    RunDir dir_;
    Loop &loop_;
    Receiving receiving_;
    std::map<std::int32_t, std::unique_ptr<Endpoint>> endpoints_;
    std::int32_t last_handle_ = 0;
};

} // namespace kov_host
