// The fake platform: what does the library ask of its platform, and what if the platform says no?
//
// It implements the platform boundary with arrays, keeps a log of every call, and fails on demand. Tests
// reach all of its state through fake::platform(), one object with one member a service:
//
//     fake::platform().db.put(&key, tlv);
//     fake::platform().calls.fail(fake::Call::pt_add, 2);       // the second from now
//     EXPECT_EQ(fake::platform().ipc.sent.back().opcode, 0x3D400u);
//
// reset() puts everything back to the state of a fresh process and reports what the library still held; the
// flag kov_api_wait_for_init, which a host process defines, is 0 then.
// The fake owns all that it hands out. What the boundary lends for a short time only (database records,
// printed texts) is overwritten when the loan ends, and stands at odd addresses, so that a caller who keeps
// it too long or assumes alignment shows.
#pragma once

#include "calls.h"

#include <kov/kov_api.h>
#include <kov/kov_base.h>
#include <kov/platform/ipc.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace fake
{

using Bytes = std::vector<uint8_t>;

// Bytes at an odd address, in a block that ends with them: a read past the end is a read past the block.
class OddBlock
{
public:
    explicit OddBlock(std::span<const uint8_t> bytes);
    const uint8_t *data() const { return block_.get() + 1; }
    void scribble(); // 0xDD over all of it

private:
    std::size_t size_;
    std::unique_ptr<uint8_t[]> block_;
};

// ---------------------------------------------------------------------------------------------- memory

// Allocations of the code under test, by way of the linker's --wrap. Counted from Platform::reset() on.
// Fresh blocks hold 0xA5 and freed ones 0xDD. C++ objects of tests are not counted.
class Heap
{
public:
    std::size_t live_blocks() const;
    std::size_t live_bytes() const;
    std::size_t size_of(const void *block) const; // 0: not a counted block
};

// -------------------------------------------------------------------------------------------- database

using Key = std::array<uint8_t, 61>;

struct KeyOrder { // the order that rdb.h demands
    bool operator()(const Key &a, const Key &b) const;
};

class Database
{
public:
    void put(const void *key61, std::span<const uint8_t> tlv); // adds or replaces
    bool erase(const void *key61);                             // whether it was there
    void clear() { records_.clear(); }
    std::size_t size() const { return records_.size(); }

    bool is_open() const { return !open_.empty(); }
    void close_all() { open_.clear(); } // as if the database had gone away
    bool refuse_open = false;

    unsigned reads() const; // osal_rdb_read
    unsigned steps() const; // osal_rdb_get_first and osal_rdb_get_next

    // For the fake's own calls.
    using Records = std::map<Key, Bytes, KeyOrder>;
    const Records &records() const { return records_; }
    bool opened(const char *uri) const { return open_.count(uri) != 0; }
    bool open(const char *uri);
    bool close(const char *uri);
    void end_loans(); // the records handed out so far no longer hold
    const void *lend(std::span<const uint8_t> bytes);

private:
    Records records_;
    std::set<std::string, std::less<>> open_;
    std::vector<OddBlock> lent_, ended_;
};

// ------------------------------------------------------------------------------------------- transport

struct Send {
    int32_t handle;
    uint32_t node, sap, opcode;
    Bytes payload;
    uint32_t a, b, c;
};

class Transport
{
public:
    static constexpr int32_t handle = 7; // open after a reset, with
    static constexpr int32_t sap = 4107; // this SAP

    std::vector<Send> sent; // in order; failed sends are in `refused`
    std::vector<Send> refused;
    int send_errno = 111; // what a failed send leaves in errno (ECONNREFUSED); may be 0

    void open(int32_t h, int32_t its_sap) { saps[h] = its_sap; } // a negative SAP: ipc_sap_get gives it back
    void close(int32_t h) { saps.erase(h); }
    uint32_t options(int32_t h, uint32_t opcode) const;

    std::map<int32_t, int32_t> saps;
    std::map<std::pair<int32_t, uint32_t>, uint32_t> option_words;
};

// A received message for the library to read. The size may lie, the payload may be missing.
class Message
{
public:
    Message(uint32_t opcode, std::span<const uint8_t> payload);
    ~Message();
    Message(Message &&) noexcept;
    Message(const Message &) = delete;
    Message &operator=(const Message &) = delete;
    Message &operator=(Message &&) = delete;

    Message &with_size(uint32_t size);
    Message &without_payload();
    const ipc_message *get() const { return message_.get(); }
    ipc_message *get() { return message_.get(); }

private:
    std::unique_ptr<ipc_message> message_;
};

// ------------------------------------------------------------------------------------ debug, command line

struct Trace {
    int level;
    std::string module, prefix, text;
    int zero;
};

class Debug
{
public:
    std::vector<Trace> traces;
    std::optional<int> check_answer; // what dbgw_library_chk_int says; unset: whether a terminal is on
    unsigned checks() const;         // how often it was asked

    bool is_on(uint32_t lib, uint32_t level, const std::string &tty) const;
    std::vector<std::string> texts() const;
    bool traced(const std::string &text) const;

    std::map<std::pair<uint32_t, uint32_t>, std::set<std::string>> terminals; // by library and level
};

// One running command; pass context() to the library.
class Cli
{
public:
    // "_CLI_TTY_NAME_FIELD" is here after a reset: "console0". Unset: the field is there and yields null.
    std::map<std::string, std::optional<std::string>> fields;
    std::set<std::string> words;
    std::string output;
    std::vector<std::string> prints; // the same, print by print
    uint32_t print_result = 1;
    std::optional<unsigned> stop_at;       // the n-th question for more (from 1) says stop
    std::function<void(unsigned)> on_more; // runs at each question, with its number from 1
    unsigned questions = 0;

    void *context() { return this; }
};

// ------------------------------------------------------------------------------------- scheduler, system

// Counts yields; a test's function can run at one of them, as another task of the process would.
class Scheduler
{
public:
    bool time_is_up = false;                            // what coop_should_sched_yield says
    unsigned yields = 0;                                // coop_sched_may_yield and coop_sched_yield together
    std::map<unsigned, std::function<void()>> at_yield; // by number of the yield, from 1
    std::function<void()> at_every_yield;               // at those that at_yield does not name

    void yield();
};

struct System {
    static constexpr uint32_t uuid = 0x4B4F5601;
    std::optional<std::string> running_uri = "fake://running"; // unset: unknown
    uint64_t clock = 1000;                                     // the next value; one more at each call
    static uint32_t epid(int32_t pid) { return pid < 1 ? 0u : 0x45000000u ^ static_cast<uint32_t>(pid); }
    static std::string uri(const std::string &name); // the URI of a database under the running one
};

// ----------------------------------------------------------------------------- interfaces, routes, card

struct Interface {
    uint32_t type = 0;
    uint8_t slot = 0, port = 0;
    uint16_t channel = 0;
    std::string name; // empty: no name
};

class Interfaces
{
public:
    static constexpr uint32_t vlan_type = 9, channel_type = 22, port_type = 26, other_port_type = 31,
                              bdi_type = 55;

    std::map<uint32_t, Interface> by_index; // an index that is not here is unknown to every call
    std::map<int32_t, uint32_t> index_by_iod;

    void add_vlan(uint32_t ifindex, const std::string &name);
    void add_bdi(uint32_t ifindex, const std::string &name);
    void add_port(uint32_t ifindex, uint8_t slot, uint8_t port, const std::string &name = "");
    void add_channel(uint32_t ifindex, uint16_t channel, const std::string &name = "");
};

// What the library's opaque route pointers point at in tests.
struct Route {
    bool conditional = false, converted = false;
};

struct Routes {
    std::map<uint32_t, std::string> vrf_names; // 1 "default" is here after a reset
};

struct Card {
    std::optional<uint16_t> type = 0;         // the card type code; unset: the card cannot be read
    std::function<void(uint32_t *)> provider; // set: what dlsym finds as "kov_pd_get_platform_cap"
    Bytes given;                              // the block of the last reading, as it was before
};

// --------------------------------------------------------------------------------- containers and codec

class Containers
{
public:
    std::size_t pt_nodes() const;  // elements in all prefix trees
    std::size_t oak_nodes() const; // nodes in all ordered trees
};

// The codec is the host's own; these are its failures and its reports.
struct Codec {
    int code = 74;                        // what a conversion or a size that is told to fail returns
    std::vector<std::string> errors;      // what fcodec_error_print was given, formatted
    std::array<uint32_t, 3> options = {}; // of the last conversion to a stream
    uint32_t flag = 0;                    // of the last conversion to a structure
    uint32_t flags = 0;                   // of the last walk
    uint32_t readable = ~0u;              // bytes that the last question for a structure's size allowed
};

// ------------------------------------------------------------------------------------------ the whole

struct Leaks {
    std::size_t blocks = 0, bytes = 0, pt_nodes = 0, oak_nodes = 0;
    bool none() const { return blocks == 0 && pt_nodes == 0 && oak_nodes == 0; }
    bool operator==(const Leaks &) const = default;
};
std::ostream &operator<<(std::ostream &out, const Leaks &leaks);

struct Platform {
    Calls calls;
    Heap heap;
    Database db;
    Transport ipc;
    Debug debug;
    Cli cli;
    Scheduler sched;
    System system;
    Interfaces interfaces;
    Routes routes;
    Card card;
    Containers containers;
    Codec codec;

    Leaks leaks() const; // what the code under test holds now
    Leaks reset();       // back to a fresh process; tells what was still held, and forgets it
};

Platform &platform();

} // namespace fake
