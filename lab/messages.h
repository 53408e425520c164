// The messages between server and clients: made for sending, and told in one line each.
//
// Building fills records in host order and lets the library's exported converter turn the whole message into
// network order, once. Describing takes what kov_dispatch hands to a handler: host order, checked against its
// length.
#pragma once

#include "message_types.h"
#include "values.h"

#include <kov/kov_messages.h>
#include <kov/kov_records.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kov_lab
{

using Bytes = std::vector<std::uint8_t>;

// A header and its records, both as they stand in memory, ready to be sent.
Bytes make_message(std::uint32_t mtype, std::span<const std::uint8_t> records = {});
Bytes acknowledgement();

// What the types 4, 5, 6, 7, 13, 14, 16 and 17 carry when general information changed.
Bytes geninfo_message(std::uint32_t mtype, const kov_rdb_geninfo_t &before, const kov_rdb_geninfo_t &now);
// What the types 9, 11, 15 and 18 carry when an SVI changed: one record.
Bytes svi_message(std::uint32_t mtype, const kov_rdb_sviinfo_t &now);

// Type 19, one record: the fields in the order of the topology's own.
Bytes topology_message(const kov_rdb_l2rib_topo_info_t &now);
// Types 10 and 20: the port, whose slot's record has changed.
Bytes port_message(std::uint32_t mtype, std::uint32_t port);
// Type 8, one record.
Bytes prefix_message(const std::string &vrf, const Network &network);

// "type 9, SVI forwarding mode: vlan10"
std::string describe_message(const kov_client_msg &msg);
// The same for a message as it is sent, in network order; it is a whole one.
std::string describe_sent(Bytes message);

// Whether the length that a header tells, in network order, is that of its records, and not above `size`. A
// profile message has a length of its own.
bool has_its_length(const kov_client_msg &header, std::size_t size);
// Whether these are the bytes of a message, header and records, in network order.
bool is_whole(std::span<const std::uint8_t> message);

// A record as it stands in a message, at any alignment.
template <typename Record>
Record record_at(const std::uint8_t *at)
{
    Record record;
    std::memcpy(&record, at, sizeof record);
    return record;
}

// A record behind those that are there.
template <typename Record>
void append(Bytes &records, const Record &record)
{
    const auto *from = reinterpret_cast<const std::uint8_t *>(&record);
    records.insert(records.end(), from, from + sizeof record);
}

// Text from a peer: up to the first NUL, with every byte that is no printable character as "?".
std::string printable(const void *at, std::size_t width);

} // namespace kov_lab
