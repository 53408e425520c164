// The fixture of the unit tests: a fresh library over the fake platform, and verbs.
//
//     publish(svi);                                 // the server writes a record
//     register_client({9, 18}); acknowledge();      // the client registers, the server answers
//     EXPECT_EQ(dispatch(9, kov_word_update{svi.svi_ifindex}), 1u); // the server says what changed
//     expect_counters(KOV_RDB_SVIINFO, {.cached = 1, .rdb_hits = 2, .allocs = 1, .bytes = 16, .data = true});
//
// Each test starts with the library as a process loads it and with the fake reset. Tear-down mends all
// faults, compares the counters with the live blocks, closes the library and demands that nothing is left. A
// test that leaks on purpose says so with expect_leak().
#pragma once

#include "api/context.h"
#include "fake/fake.h"

#include <kov/kov_api.h>

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

// A message that reached the client's handler, in host order.
struct Received {
    uint16_t mtype;
    uint32_t count;
    fake::Bytes bytes; // the whole message, as far as its length says
};

// The eight words of a cache descriptor; of the last only whether it is set.
struct Counters {
    uint32_t cached = 0, updating = 0, cache_hits = 0, update_hits = 0, rdb_hits = 0, allocs = 0, bytes = 0;
    bool data = false;
    bool operator==(const Counters &) const = default;
};
std::ostream &operator<<(std::ostream &out, const Counters &counters);

class Lab : public testing::Test
{
protected:
    Lab();
    ~Lab() override;
    void TearDown() override;

    // ------------------------------------------------------------------------------- what the server does

    // Writes a record under its key; false (and a failed test) when the library cannot encode it.
    bool publish(const kov_rdb_geninfo_t &record);
    bool publish(const kov_rdb_sviinfo_t &record);
    bool publish(const kov_rdb_l2rib_topo_info_t &record);
    bool publish(uint8_t slot, const kov_rdb_port_tracking_t &record);
    bool publish(uint8_t slot, const kov_rdb_port_l2dci_t &record);
    bool publish(const std::string &vrf, uint8_t family, const kov_rdb_aggr_sub_pfx_t &record);
    // Bytes of any kind under any key: a damaged record.
    void publish_bytes(const kov_rdb_key &key, const fake::Bytes &tlv);
    // Takes a record out of the database; whether it was there.
    bool withdraw(const kov_rdb_key &key);

    // Keys, zero wherever the type does not use them.
    static kov_rdb_key key_of(uint32_t type, uint32_t number = 0); // types 1, 2, 6
    static kov_rdb_key slot_key(uint32_t type, uint8_t slot);      // types 3, 5
    static kov_rdb_key prefix_key(const std::string &vrf, uint8_t family,
                                  const kov_rdb_aggr_sub_pfx_t &record);

    // Sends one message of `mtype` whose records are given in host order; gives what kov_dispatch answers.
    template <class... Records>
    uint32_t dispatch(uint16_t mtype, const Records &...records)
    {
        return dispatch_bytes(message(mtype, records...));
    }
    uint32_t dispatch_bytes(const fake::Bytes &payload, uint32_t opcode = KOV_OPC_CLIENT);

    // The same message as bytes in network order, for tests that damage it first.
    template <class... Records>
    static fake::Bytes message(uint16_t mtype, const Records &...records)
    {
        static_assert((std::is_trivially_copyable_v<Records> && ...));
        fake::Bytes bytes = header(mtype, sizeof...(records));
        (append(bytes, &records, sizeof records), ...);
        to_network(bytes);
        return bytes;
    }

    // ------------------------------------------------------------------------------- what the client does

    uint32_t register_client(std::initializer_list<uint32_t> mtypes, const char *name = "unit");
    void acknowledge(); // the server's answer: caching is on from here
    void register_and_acknowledge(std::initializer_list<uint32_t> mtypes);

    std::vector<Received> received;                   // what the client's handler got, in order
    std::function<void(const Received &)> on_message; // runs inside the handler
    static void handler(const kov_client_msg *msg);   // give it to kov_register_client

    // ----------------------------------------------------------------------------- what must come of it

    void debug_on(); // traces are recorded from here
    std::vector<std::string> traces() const { return platform.debug.texts(); }
    bool traced(const std::string &text) const { return platform.debug.traced(text); }
    void clear_traces() { platform.debug.traces.clear(); }
    void expect_traces(const std::vector<std::string> &texts) const; // exactly these since the last clear

    static Counters counters(uint32_t type);
    // The library's whole context, padding included: equal before and after what must change nothing.
    static fake::Bytes context_bytes();
    static void expect_counters(uint32_t type, const Counters &expected);
    // Types that are not named must have all words 0.
    static void expect_all_counters(const std::map<uint32_t, Counters> &expected);
    // The counters of all types and VRFs equal what the library has allocated.
    void expect_counters_equal_live_blocks() const;
    // Tells the story again and again, each time to a fresh library, with the n-th of all calls that can fail
    // failing in the n-th run, until a run gets by without a failure. After each run the same is demanded as
    // at the end of a test. The story must come to its end whatever fails: no ASSERT_. Returns the number of
    // failures that were met, and leaves a fresh library.
    unsigned sweep(const std::function<void()> &story);

    // This test ends with so many blocks that the library has lost on purpose.
    void expect_leak(const fake::Leaks &leaks) { allowed_ = leaks; }

    // Tear-down leaves out that comparison: this test has made the counters stale.
    void expect_stale_counters() { compare_blocks_ = false; }

    fake::Platform &platform = fake::platform();

private:
    void start();
    void finish();
    template <class Record>
    bool encode(const kov_rdb_key &key, const Record &record, uint32_t (*size_of)(const Record *),
                uint32_t (*to_tlv)(const Record *, void *, uint32_t, uint32_t));
    static fake::Bytes header(uint16_t mtype, std::size_t count);
    static void append(fake::Bytes &to, const void *record, std::size_t size);
    static void to_network(fake::Bytes &message);

    fake::Leaks allowed_;
    bool compare_blocks_ = true;
};
