#include "fabric.h"
#include "bare.h"

#include <kov_host.h>
#include <rdb_store.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>

// The process brings the flag that says whether the service is enabled.
uint32_t kov_api_wait_for_init = 0;

namespace kov_bench
{
namespace
{

constexpr std::uint32_t bdi = 55u << 26; // kov_host.h says how an index is made
constexpr std::uint32_t ethernet = 26u << 26;
constexpr std::uint32_t channel = 22u << 26;
constexpr std::uint32_t physical_slots = 156;
constexpr std::uint32_t ports_a_slot = 255;

bool is_channel(std::uint32_t port) { return port >> 26 == channel >> 26; }

// One port of a record slot, both counted from 1: the channels' slots follow the physical ones.
std::uint32_t port_at(std::uint32_t slot, std::uint32_t port)
{
    if (slot <= physical_slots)
        return ethernet | (slot - 1) << 8 | (port - 1);
    return channel | ((slot - 1 - physical_slots) * ports_a_slot + port - 1);
}

std::uint32_t port_number(std::uint32_t port)
{
    return is_channel(port) ? (port & 0xffff) % ports_a_slot + 1 : (port & 0xff) + 1;
}

const std::function<void(const ipc_message *)> *taker; // who takes the next message of the server

void on_message(const ipc_message *msg, void *)
{
    if (kov_host_message_handle(msg) == kov_host_ipc_handle() && taker != nullptr)
        (*taker)(msg);
}

template <class Record>
Bytes encoded(const Record &record, std::uint32_t (*size_of)(const Record *),
              std::uint32_t (*to_tlv)(const Record *, void *, std::uint32_t, std::uint32_t))
{
    Bytes tlv(size_of(&record));
    if (tlv.empty() || to_tlv(&record, tlv.data(), static_cast<std::uint32_t>(tlv.size()), 0) != 1)
        give_up("cannot encode a record");
    return tlv;
}

void put(kov_host::RdbStore &store, const kov_rdb_key &key, const Bytes &tlv)
{
    const auto *bytes = reinterpret_cast<const std::uint8_t *>(&key);
    if (!store.put(kov_host::RdbKey(bytes, sizeof key), tlv))
        give_up(store.error());
}

void put_svi(kov_host::RdbStore &store, std::uint32_t ifindex)
{
    kov_rdb_key key = {};
    key.type = KOV_RDB_SVIINFO;
    key.of.number = ifindex;
    kov_rdb_sviinfo_t svi = {};
    svi.svi_ifindex = ifindex;
    svi.vlan_id = ifindex & 0xfff;
    svi.is_up = 1;
    svi.fwd_mode = Fabric::mode_of(ifindex);
    put(store, key, encoded(svi, kov_ha_sviinfo_get_tlv_sz, kov_ha_sviinfo_to_tlv));
}

// Every port with an odd number is tracked.
void put_slot(kov_host::RdbStore &store, std::uint32_t slot)
{
    kov_rdb_key key = {};
    key.type = KOV_RDB_PORT_TRACKING;
    key.of.slot = static_cast<std::uint8_t>(slot);
    kov_rdb_port_tracking_t ports = {};
    ports.num_bits = 256;
    std::memset(ports.port_bits, 0xAA, sizeof ports.port_bits);
    put(store, key, encoded(ports, kov_ha_port_tracking_get_tlv_sz, kov_ha_port_tracking_to_tlv));
}

// The prefixes of a VRF are 10.0.0.0/16, 10.1.0.0/16 and so on: a record's 20 bytes.
void set_prefix(std::uint8_t *prefix, std::uint32_t address, std::uint8_t length)
{
    std::memcpy(prefix, &address, sizeof address);
    prefix[4] = length;
}

Destination destination(std::uint32_t vrf, std::uint32_t place)
{
    Destination host = {vrf, place, "", {}};
    std::snprintf(host.vrf_name, sizeof host.vrf_name, "vrf%u", vrf);
    set_prefix(host.prefix, 0x0A000101 | (place - 1) << 16, 32);
    return host;
}

void put_prefix_of(kov_host::RdbStore &store, const Destination &host)
{
    kov_rdb_aggr_sub_pfx_t record = {};
    set_prefix(record.prefix, 0x0A000000 | (host.place - 1) << 16, 16);
    kov_rdb_key key = {};
    key.type = KOV_RDB_AGGR_SUB_PFX;
    std::memcpy(key.of.vrf_name, host.vrf_name, sizeof key.of.vrf_name);
    std::memcpy(key.prefix, record.prefix, sizeof key.prefix);
    put(store, key, encoded(record, kov_ha_aggr_sub_pfx_get_tlv_sz, kov_ha_aggr_sub_pfx_to_tlv));
}

void put_network(Bytes &bytes, std::size_t at, std::size_t value)
{
    const std::uint32_t swapped = __builtin_bswap32(static_cast<std::uint32_t>(value));
    std::memcpy(&bytes[at], &swapped, sizeof swapped);
}

} // namespace

Fabric::Fabric(std::uint32_t records)
{
    for (std::uint32_t i = 0; i < records; ++i) {
        svis_.push_back(bdi | (i + 1));
        destinations_.push_back(destination(i / prefixes_a_vrf, i % prefixes_a_vrf + 1));
    }
    for (std::uint32_t slot = 1; slot <= slots; ++slot)
        for (std::uint32_t port = 1; port <= 16; ++port)
            ports_.push_back(port_at(slot, port));
    std::mt19937 random(42); // every run asks in the same order
    std::shuffle(svis_.begin(), svis_.end(), random);
    std::shuffle(ports_.begin(), ports_.end(), random);
    std::shuffle(destinations_.begin(), destinations_.end(), random);

    dir_ = (std::filesystem::temp_directory_path() / "kov-bench-XXXXXX").string();
    if (::mkdtemp(dir_.data()) == nullptr)
        give_up("no directory for the database");
    database_ = dir_ + "/kov_rdb_info";
    publish();
    if (kov_host_attach(dir_.c_str(), "bench") != 0 || (server_ = kov_host_ipc_open(KOV_SERVER_SAP)) < 0)
        give_up(kov_host_error());
    kov_host_on_message(on_message, nullptr);
    kov_host_time_slice(0xFFFFFFFF); // nobody else waits to run
    if (kov_api_init() != 1)
        give_up("cannot open the database");
}

Fabric::~Fabric()
{
    kov_deregister_client();
    kov_api_close();
    kov_host_detach();
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
}

void Fabric::publish()
{
    std::string why;
    const auto store = kov_host::RdbStore::open(database_, why);
    if (store == nullptr)
        give_up(why);
    if (!store->begin())
        give_up(store->error());
    for (const std::uint32_t svi : svis_)
        put_svi(*store, svi);
    for (std::uint32_t slot = 1; slot <= slots; ++slot)
        put_slot(*store, slot);
    for (const Destination &host : destinations_)
        put_prefix_of(*store, host);
    if (!store->commit())
        give_up(store->error());
}

void Fabric::register_for(const std::vector<std::uint32_t> &mtypes)
{
    if (registered_ == mtypes)
        return;
    kov_deregister_client();
    std::uint32_t list[KOV_MTYPE_LIST_LENGTH] = {};
    std::copy(mtypes.begin(), mtypes.end(), list);
    if (kov_register_client(kov_host_ipc_handle(), "bench", list, nullptr) != 1)
        give_up("cannot register");
    with_message(message(KOV_MTYPE_REGISTER_ACK, {}), [](const ipc_message *msg) { kov_dispatch(msg); });
    if (!kov_is_client_registration_done())
        give_up("the registration is not acknowledged");
    registered_ = mtypes;
}

void Fabric::with_message(const Bytes &payload, const std::function<void(const ipc_message *)> &take)
{
    bool taken = false;
    const std::function<void(const ipc_message *)> once = [&](const ipc_message *msg) {
        take(msg);
        taken = true;
    };
    taker = &once;
    const auto sap = static_cast<std::uint32_t>(ipc_sap_get(kov_host_ipc_handle()));
    if (ipc_send(server_, KOV_SERVER_NODE, sap, KOV_OPC_CLIENT, payload.data(),
                 static_cast<std::uint32_t>(payload.size()), 0, 0, 0) != 0)
        give_up("the server cannot send");
    while (!taken)
        if (kov_host_run_once(-1) < 0)
            give_up(kov_host_error());
    taker = nullptr;
}

std::uint32_t Fabric::mode_of(std::uint32_t svi) { return svi % 2 + 1; }
std::uint32_t Fabric::tracking_of(std::uint32_t port) { return port_number(port) % 2; }

std::uint32_t Fabric::slot_of(std::uint32_t port)
{
    return is_channel(port) ? physical_slots + 1 + (port & 0xffff) / ports_a_slot : (port >> 8 & 0xff) + 1;
}

Bytes message(std::uint16_t mtype, const Bytes &record)
{
    kov_client_msg header = {};
    header.major = KOV_MSG_MAJOR;
    header.mtype = mtype;
    Bytes bytes(sizeof header + record.size());
    std::memcpy(bytes.data(), &header, sizeof header);
    std::copy(record.begin(), record.end(), bytes.begin() + sizeof header);
    put_network(bytes, offsetof(kov_client_msg, count), record.empty() ? 0 : 1);
    put_network(bytes, offsetof(kov_client_msg, length), bytes.size());
    return bytes;
}

} // namespace kov_bench
