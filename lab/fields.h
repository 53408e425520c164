// The fields of the published records as a person writes them: names, texts, ranges.
//
// One row a field. The scenario loader, `kovctl set` and every printout go through these tables, so that a
// value is read, checked and shown in one way everywhere. A field's row also says which message tells a
// client that it has changed.
//
// The tables are constants. A text that set_field() refuses leaves the record as it was; the reason is a
// sentence without the field's name, which the caller puts in front.
#pragma once

#include <kov/kov_records.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kov_lab
{

// How a field's bytes are written as text.
enum class Kind {
    number,    // 42
    yes_no,    // yes, no
    on_off,    // on, off
    fwd_mode,  // standard, proxy-gateway, anycast-gateway, conditional-proxy-gateway
    encap,     // fabric, vxlan
    suppress,  // disabled, l2, l2-l3
    roles,     // leaf, border, spine, dci-node; several joined by "+"; none
    mac,       // 0011.2233.4455 or 00:11:22:33:44:55
    v4_prefix, // 10.1.2.1/24, or none
    v6_prefix, // 2001:db8::1/64, or none
    text,      // as it stands
    svi        // vlan10, bdi100, or none
};

struct Field {
    const char *name;
    Kind kind;
    std::size_t offset; // in the record
    std::size_t width;
    std::uint32_t low; // of a number
    std::uint32_t high;
    std::uint32_t mtype; // what tells clients of a change; 0: any message that has the record read again
};

std::span<const Field> geninfo_fields();
std::span<const Field> svi_fields();      // without the key, svi_ifindex
std::span<const Field> topology_fields(); // without the key, bd
std::span<const Field> port_fields();     // of a PortBits
std::span<const Field> route_fields();    // of a RouteBits

// What the records of a port's slot say about it, gathered.
struct PortBits {
    std::uint32_t tracking = 0;
    std::uint32_t l2dci = 0;

    bool operator==(const PortBits &) const = default;
};

// What a client's routing table says about a route.
struct RouteBits {
    std::uint32_t conditional = 0;
    std::uint32_t converted = 0;
};

const Field *find_field(std::span<const Field> fields, std::string_view name);
std::string names_of(std::span<const Field> fields);

// Stores a text. False: `why` says what is wrong with it.
bool set_field(const Field &field, void *record, std::string_view text, std::string &why);

// The text of what the record holds; set_field() takes it back.
std::string field_text(const Field &field, const void *record);

bool same_field(const Field &field, const void *left, const void *right);

} // namespace kov_lab
