#include "lab.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <ostream>
#include <utility>

namespace
{

Lab *current; // the running test: the client's handler has no context of its own

// What travels in network order, told by the lab itself so that it does not believe the library.
struct WireFormat {
    uint16_t mtype;
    std::size_t size;                                         // of a record
    std::vector<std::pair<std::size_t, std::size_t>> swapped; // offset and width
};

const WireFormat wire_formats[] = {
    {4, 4, {{0, 4}}},
    {5, 4, {{0, 4}}},
    {6, 4, {{0, 4}}},
    {8, 61, {{33, 4}}}, // of an IPv4 prefix only
    {9, 4, {{0, 4}}},
    {10, 4, {{0, 4}}},
    {11, 36, {{0, 4}, {4, 4}, {8, 2}, {10, 4}}},
    {13, 5, {{0, 4}}},
    {14, 4, {{0, 4}}},
    {15, 4, {{0, 4}}},
    {16, 4, {{0, 4}}},
    {17, 8, {{0, 4}, {4, 4}}},
    {18, 12, {{0, 4}, {4, 4}, {8, 4}}},
    {19, 24, {{0, 4}, {4, 4}, {8, 4}, {12, 4}, {16, 4}, {20, 4}}},
    {20, 4, {{0, 4}}},
};

constexpr std::size_t header_size = 161, count_at = 20, length_at = 24, family_at = 53;

void store_network(fake::Bytes &bytes, std::size_t at, uint32_t value)
{
    for (std::size_t i = 0; i < 4; ++i)
        bytes[at + i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

void swap_record(uint8_t *record, const WireFormat &format)
{
    uint32_t family = 0;
    if (format.mtype == KOV_MTYPE_AGGR_SUB_PFX)
        std::memcpy(&family, record + family_at, sizeof family);
    if (family != 0)
        return;
    for (const auto &[offset, width] : format.swapped)
        std::reverse(record + offset, record + offset + width);
}

// The library as a process loads it.
void forget_library()
{
    kov_api = {};
    kov_rdb_lib_handle = nullptr;
    std::fill(std::begin(kov_api_tlv_buf), std::end(kov_api_tlv_buf), uint8_t{0});
}

// A VRF context counts as 64 bytes in both ABIs; with 64-bit pointers its block is larger.
constexpr std::size_t vrf_context_size = sizeof(void *) == 8 ? 72 : 64;

} // namespace

std::ostream &operator<<(std::ostream &out, const Counters &c)
{
    return out << "{cached " << c.cached << ", updating " << c.updating << ", cache_hits " << c.cache_hits
               << ", update_hits " << c.update_hits << ", rdb_hits " << c.rdb_hits << ", allocs " << c.allocs
               << ", bytes " << c.bytes << ", data " << (c.data ? "set" : "null") << "}";
}

Lab::Lab()
{
    current = this;
    start();
}

Lab::~Lab()
{
    current = nullptr;
    start();
}

void Lab::TearDown() { finish(); }

void Lab::start()
{
    forget_library();
    platform.reset();
    received.clear();
}

// Opening once more frees what a cache still held that was filled without a registration.
void Lab::finish()
{
    platform.calls.mend();
    platform.db.refuse_open = false;
    platform.sched = {};
    platform.system = {};
    kov_api_wait_for_init = 0;
    on_message = nullptr;
    if (compare_blocks_)
        expect_counters_equal_live_blocks();
    kov_api_close();
    EXPECT_EQ(kov_api_init(), 1u);
    EXPECT_EQ(kov_api_close(), 1u);
    EXPECT_EQ(platform.leaks(), allowed_);
}

unsigned Lab::sweep(const std::function<void()> &story)
{
    constexpr unsigned endless = 100000;
    for (unsigned n = 1; n < endless && !HasFatalFailure(); ++n) {
        start();
        platform.calls.fail_any(n);
        story();
        const auto failed = platform.calls.last_failure();
        const testing::ScopedTrace where(__FILE__, __LINE__,
                                         failed ? "run " + std::to_string(n) + ": " + fake::name_of(*failed) +
                                                      " failed"
                                                : "run without a failure");
        finish();
        if (!failed) {
            start();
            return n - 1;
        }
    }
    ADD_FAILURE() << "the story does not come to an end without failures";
    return 0;
}

// --------------------------------------------------------------------------------------------- the server

template <class Record>
bool Lab::encode(const kov_rdb_key &key, const Record &record, uint32_t (*size_of)(const Record *),
                 uint32_t (*to_tlv)(const Record *, void *, uint32_t, uint32_t))
{
    const fake::Unlogged server(platform.calls); // these calls are not the client's
    fake::Bytes tlv(size_of(&record));
    const bool good = to_tlv(&record, tlv.data(), static_cast<uint32_t>(tlv.size()), 0) == 1;
    EXPECT_TRUE(good) << "the library does not encode a record of type " << key.type;
    if (good)
        publish_bytes(key, tlv);
    return good;
}

bool Lab::publish(const kov_rdb_geninfo_t &record)
{
    return encode(key_of(KOV_RDB_GENINFO), record, kov_ha_geninfo_get_tlv_sz, kov_ha_geninfo_to_tlv);
}

bool Lab::publish(const kov_rdb_sviinfo_t &record)
{
    return encode(key_of(KOV_RDB_SVIINFO, record.svi_ifindex), record, kov_ha_sviinfo_get_tlv_sz,
                  kov_ha_sviinfo_to_tlv);
}

bool Lab::publish(const kov_rdb_l2rib_topo_info_t &record)
{
    return encode(key_of(KOV_RDB_L2RIB_TOPO_INFO, record.bd), record, kov_ha_l2rib_topo_info_get_tlv_sz,
                  kov_ha_l2rib_topo_info_to_tlv);
}

bool Lab::publish(uint8_t slot, const kov_rdb_port_tracking_t &record)
{
    return encode(slot_key(KOV_RDB_PORT_TRACKING, slot), record, kov_ha_port_tracking_get_tlv_sz,
                  kov_ha_port_tracking_to_tlv);
}

bool Lab::publish(uint8_t slot, const kov_rdb_port_l2dci_t &record)
{
    return encode(slot_key(KOV_RDB_PORT_L2DCI, slot), record, kov_ha_port_l2dci_get_tlv_sz,
                  kov_ha_port_l2dci_to_tlv);
}

bool Lab::publish(const std::string &vrf, uint8_t family, const kov_rdb_aggr_sub_pfx_t &record)
{
    return encode(prefix_key(vrf, family, record), record, kov_ha_aggr_sub_pfx_get_tlv_sz,
                  kov_ha_aggr_sub_pfx_to_tlv);
}

void Lab::publish_bytes(const kov_rdb_key &key, const fake::Bytes &tlv) { platform.db.put(&key, tlv); }

bool Lab::withdraw(const kov_rdb_key &key) { return platform.db.erase(&key); }

kov_rdb_key Lab::key_of(uint32_t type, uint32_t number)
{
    kov_rdb_key key = {};
    key.type = type;
    key.of.number = number;
    return key;
}

kov_rdb_key Lab::slot_key(uint32_t type, uint8_t slot)
{
    kov_rdb_key key = {};
    key.type = type;
    key.of.slot = slot;
    return key;
}

kov_rdb_key Lab::prefix_key(const std::string &vrf, uint8_t family, const kov_rdb_aggr_sub_pfx_t &record)
{
    kov_rdb_key key = {};
    key.type = KOV_RDB_AGGR_SUB_PFX;
    vrf.copy(key.of.vrf_name, sizeof key.of.vrf_name - 1);
    key.family = family;
    std::memcpy(key.prefix, record.prefix, sizeof key.prefix);
    return key;
}

// ------------------------------------------------------------------------------------------------ messages

fake::Bytes Lab::header(uint16_t mtype, std::size_t count)
{
    fake::Bytes bytes(header_size);
    const uint16_t major = 53;
    std::memcpy(&bytes[0], &major, sizeof major);
    std::memcpy(&bytes[2], &mtype, sizeof mtype);
    store_network(bytes, count_at, static_cast<uint32_t>(count));
    return bytes;
}

void Lab::append(fake::Bytes &to, const void *record, std::size_t size)
{
    const auto *const bytes = static_cast<const uint8_t *>(record);
    to.insert(to.end(), bytes, bytes + size);
}

void Lab::to_network(fake::Bytes &message)
{
    store_network(message, length_at, static_cast<uint32_t>(message.size()));
    uint16_t mtype;
    std::memcpy(&mtype, &message[2], sizeof mtype);
    for (const WireFormat &format : wire_formats)
        if (format.mtype == mtype)
            for (std::size_t at = header_size; at + format.size <= message.size(); at += format.size)
                swap_record(&message[at], format);
}

uint32_t Lab::dispatch_bytes(const fake::Bytes &payload, uint32_t opcode)
{
    return kov_dispatch(fake::Message(opcode, payload).get());
}

// ---------------------------------------------------------------------------------------------- the client

void Lab::handler(const kov_client_msg *msg)
{
    if (!current)
        return;
    const auto *const bytes = reinterpret_cast<const uint8_t *>(msg);
    const Received got = {msg->mtype, msg->count, fake::Bytes(bytes, bytes + msg->length)};
    current->received.push_back(got);
    if (current->on_message)
        current->on_message(got);
}

uint32_t Lab::register_client(std::initializer_list<uint32_t> mtypes, const char *name)
{
    uint32_t list[KOV_MTYPE_LIST_LENGTH] = {};
    std::copy_n(mtypes.begin(), std::min(mtypes.size(), std::size(list)), list);
    return kov_register_client(fake::Transport::handle, name, list, handler);
}

// The answer of kov_dispatch says whether the client registered for type 2, which is no matter here.
void Lab::acknowledge()
{
    dispatch(KOV_MTYPE_REGISTER_ACK);
    EXPECT_EQ(kov_api.registration_done, 1u) << "the acknowledgement was not taken";
}

void Lab::register_and_acknowledge(std::initializer_list<uint32_t> mtypes)
{
    EXPECT_EQ(register_client(mtypes), 1u);
    acknowledge();
}

// -------------------------------------------------------------------------------------------- what comes

void Lab::debug_on() { EXPECT_EQ(kov_api_vty_dbg_on("unit"), 1u); }

void Lab::expect_traces(const std::vector<std::string> &texts) const { EXPECT_EQ(traces(), texts); }

fake::Bytes Lab::context_bytes()
{
    const auto *bytes = reinterpret_cast<const uint8_t *>(&kov_api);
    return {bytes, bytes + sizeof kov_api};
}

Counters Lab::counters(uint32_t type)
{
    const kov_cache_desc &desc = kov_api.cache[type];
    return {desc.cached,   desc.updating, desc.cache_hits, desc.update_hits,
            desc.rdb_hits, desc.allocs,   desc.bytes,      desc.data != nullptr};
}

void Lab::expect_counters(uint32_t type, const Counters &expected)
{
    EXPECT_EQ(counters(type), expected) << "type " << type;
}

void Lab::expect_all_counters(const std::map<uint32_t, Counters> &expected)
{
    for (uint32_t type = 1; type <= 6; ++type) {
        const auto at = expected.find(type);
        expect_counters(type, at == expected.end() ? Counters() : at->second);
    }
}

void Lab::expect_counters_equal_live_blocks() const
{
    std::size_t blocks = kov_api.vrf_count, bytes = kov_api.vrf_count * vrf_context_size;
    for (uint32_t type = 1; type <= 6; ++type) {
        blocks += kov_api.cache[type].allocs;
        bytes += kov_api.cache[type].bytes;
    }
    EXPECT_EQ(kov_api.vrf_bytes, 64 * kov_api.vrf_count);
    if (kov_api.profile_msg) {
        blocks += 1;
        bytes += platform.heap.size_of(kov_api.profile_msg);
    }
    const fake::Leaks held = platform.leaks(), counted = {blocks, bytes, held.pt_nodes, held.oak_nodes};
    EXPECT_EQ(held, counted) << "the library holds something that its counters do not know";
}
