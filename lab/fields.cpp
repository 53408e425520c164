#include "fields.h"

#include "interfaces.h"
#include "values.h"

#include <kov/kov_messages.h>

#include <cstddef>
#include <cstring>
#include <limits>

namespace kov_lab
{
namespace
{

constexpr std::uint32_t any = std::numeric_limits<std::uint32_t>::max();

#define GENERAL(NAME) #NAME, offsetof(kov_rdb_geninfo_t, NAME), sizeof(kov_rdb_geninfo_t::NAME)
#define SVI(NAME) #NAME, offsetof(kov_rdb_sviinfo_t, NAME), sizeof(kov_rdb_sviinfo_t::NAME)
#define TOPOLOGY(NAME) offsetof(kov_rdb_l2rib_topo_info_t, NAME), sizeof(kov_rdb_l2rib_topo_info_t::NAME)
#define PORT(NAME) #NAME, offsetof(PortBits, NAME), sizeof(PortBits::NAME)
#define ROUTE(NAME) #NAME, offsetof(RouteBits, NAME), sizeof(RouteBits::NAME)

constexpr Field row(const char *name, std::size_t offset, std::size_t width, Kind kind, std::uint32_t mtype,
                    std::uint32_t low = 0, std::uint32_t high = any)
{
    return {name, kind, offset, width, low, high, mtype};
}

// clang-format off
constexpr Field general_rows[] = {
    row(GENERAL(fabric_id),                Kind::number,  KOV_MTYPE_FABRIC_ID),
    row(GENERAL(conv_learning),            Kind::yes_no,  KOV_MTYPE_CONV_LEARNING),
    row(GENERAL(anycast_gw_mac),           Kind::mac,     KOV_MTYPE_ANYCAST_GW_MAC),
    row(GENERAL(switch_role),              Kind::roles,   KOV_MTYPE_SWITCH_ROLE),
    row(GENERAL(fabric_ctrl_svi),          Kind::svi,     KOV_MTYPE_FABRIC_CTRL_SEG),
    row(GENERAL(urib_conv_aging_timeout),  Kind::number,  KOV_MTYPE_CONV_AGING_TIMEOUT),
    row(GENERAL(u6rib_conv_aging_timeout), Kind::number,  KOV_MTYPE_CONV_AGING_TIMEOUT),
    row(GENERAL(ferro_migration),          Kind::yes_no,  KOV_MTYPE_FERRO_MIGRATION),
    row(GENERAL(fwd_encap),                Kind::encap,   KOV_MTYPE_FWD_ENCAP),
    row(GENERAL(router_mac),               Kind::mac,     KOV_MTYPE_FWD_ENCAP),
    row(GENERAL(mobdom),                   Kind::text,    0),
    row(GENERAL(geninfo_word11),           Kind::number,  0),
    row(GENERAL(geninfo_flag12),           Kind::number,  0, 0, 255),
    row(GENERAL(geninfo_word13),           Kind::number,  0),
};

constexpr Field svi_rows[] = {
    row(SVI(vlan_id),            Kind::number,    KOV_MTYPE_SVI_FWD_MODE, 0, 4094),
    row(SVI(is_up),              Kind::yes_no,    KOV_MTYPE_SVI_FWD_MODE),
    row(SVI(v4_prefix),          Kind::v4_prefix, KOV_MTYPE_SVI_FWD_MODE),
    row(SVI(v6_prefix),          Kind::v6_prefix, KOV_MTYPE_SVI_FWD_MODE),
    row(SVI(vrf_name),           Kind::text,      KOV_MTYPE_SVI_FWD_MODE),
    row(SVI(fwd_mode),           Kind::fwd_mode,  KOV_MTYPE_SVI_FWD_MODE),
    row(SVI(is_fabric_ctrl_seg), Kind::yes_no,    KOV_MTYPE_FABRIC_CTRL_SEG),
    row(SVI(migration_enabled),  Kind::yes_no,    KOV_MTYPE_SVI_MIGRATION),
    row(SVI(gw_mac),             Kind::mac,       KOV_MTYPE_FABRIC_CTRL_SEG),
    row(SVI(suppress_arp),       Kind::yes_no,    KOV_MTYPE_SVI_FWD_MODE),
    row(SVI(svi_word10),         Kind::number,    KOV_MTYPE_SVI_FWD_MODE),
    row(SVI(vaddr_bound),        Kind::yes_no,    KOV_MTYPE_FABRIC_CTRL_SEG),
};

constexpr std::uint32_t highest_vni = 0xffffff;

constexpr Field topology_rows[] = {
    row("vni",                  TOPOLOGY(vni),                  Kind::number,   KOV_MTYPE_SUPPRESS_ARP_TOPO, 0, highest_vni),
    row("suppress_arp_enabled", TOPOLOGY(suppress_arp_enabled), Kind::yes_no,   KOV_MTYPE_SUPPRESS_ARP_TOPO),
    row("suppress_arp_mode",    TOPOLOGY(suppress_arp_mode),    Kind::suppress, KOV_MTYPE_SUPPRESS_ARP_TOPO),
    row("svi",                  TOPOLOGY(suppress_arp_l3_svi),  Kind::svi,      KOV_MTYPE_SUPPRESS_ARP_TOPO),
};

constexpr Field port_rows[] = {
    row(PORT(tracking), Kind::on_off, KOV_MTYPE_PORT_TRACKING),
    row(PORT(l2dci),    Kind::on_off, KOV_MTYPE_PORT_L2DCI),
};

constexpr Field route_rows[] = { // no record has them, so no message tells
    row(ROUTE(conditional), Kind::yes_no, 0),
    row(ROUTE(converted),   Kind::yes_no, 0),
};
// clang-format on

#undef GENERAL
#undef SVI
#undef TOPOLOGY
#undef PORT
#undef ROUTE

std::uint32_t load_number(const Field &field, const std::uint8_t *at)
{
    std::uint32_t value = 0;
    std::memcpy(&value, at, field.width); // little-endian: a shorter number fills the low bytes
    return value;
}

bool store_number(const Field &field, std::uint8_t *at, std::optional<std::uint32_t> value)
{
    if (value)
        std::memcpy(at, &*value, field.width);
    return value.has_value();
}

template <typename Bytes>
bool store_bytes(std::uint8_t *at, const std::optional<Bytes> &value)
{
    if (value)
        std::memcpy(at, &*value, sizeof(Bytes));
    return value.has_value();
}

bool store_text(const Field &field, std::uint8_t *at, std::string_view text, std::string &why)
{
    if (text.size() >= field.width) {
        why = "is longer than " + std::to_string(field.width - 1) + " characters";
        return false;
    }
    if (text.find('\0') != std::string_view::npos) {
        why = "holds a NUL character";
        return false;
    }
    std::memset(at, 0, field.width);
    std::memcpy(at, text.data(), text.size());
    return true;
}

template <typename Bytes>
Bytes load_bytes(const std::uint8_t *at)
{
    Bytes value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

} // namespace

std::span<const Field> geninfo_fields() { return general_rows; }

std::span<const Field> svi_fields() { return svi_rows; }

std::span<const Field> topology_fields() { return topology_rows; }

std::span<const Field> port_fields() { return port_rows; }

std::span<const Field> route_fields() { return route_rows; }

const Field *find_field(std::span<const Field> fields, std::string_view name)
{
    for (const Field &field : fields)
        if (name == field.name)
            return &field;
    return nullptr;
}

std::string names_of(std::span<const Field> fields)
{
    std::string names;
    for (const Field &field : fields)
        names += (names.empty() ? "" : ", ") + std::string(field.name);
    return names;
}

bool set_field(const Field &field, void *record, std::string_view text, std::string &why)
{
    std::uint8_t *at = static_cast<std::uint8_t *>(record) + field.offset;
    switch (field.kind) {
    case Kind::number:
        return store_number(field, at, parse_number(text, field.low, field.high, why));
    case Kind::yes_no:
    case Kind::on_off:
        return store_number(field, at, parse_switch(text, why));
    case Kind::fwd_mode:
        return store_number(field, at, parse_word(fwd_mode_words, text, why));
    case Kind::encap:
        return store_number(field, at, parse_word(encap_words, text, why));
    case Kind::suppress:
        return store_number(field, at, parse_word(suppress_mode_words, text, why));
    case Kind::roles:
        return store_number(field, at, parse_roles(text, why));
    case Kind::svi:
        return store_number(field, at, parse_svi(text, why));
    case Kind::mac:
        return store_bytes(at, parse_mac(text, why));
    case Kind::v4_prefix:
        return store_bytes(at, parse_v4_prefix(text, why));
    case Kind::v6_prefix:
        return store_bytes(at, parse_v6_prefix(text, why));
    case Kind::text:
        return store_text(field, at, text, why);
    }
    return false;
}

std::string field_text(const Field &field, const void *record)
{
    const std::uint8_t *at = static_cast<const std::uint8_t *>(record) + field.offset;
    switch (field.kind) {
    case Kind::number:
        return std::to_string(load_number(field, at));
    case Kind::yes_no:
        return load_number(field, at) != 0 ? "yes" : "no";
    case Kind::on_off:
        return load_number(field, at) != 0 ? "on" : "off";
    case Kind::fwd_mode:
        return word_of(fwd_mode_words, load_number(field, at));
    case Kind::encap:
        return word_of(encap_words, load_number(field, at));
    case Kind::suppress:
        return word_of(suppress_mode_words, load_number(field, at));
    case Kind::roles:
        return roles_text(load_number(field, at));
    case Kind::svi:
        return name_of_interface(load_number(field, at));
    case Kind::mac:
        return mac_text(at);
    case Kind::v4_prefix:
        return v4_prefix_text(load_bytes<kov_v4_prefix>(at));
    case Kind::v6_prefix:
        return v6_prefix_text(load_bytes<kov_v6_prefix>(at));
    case Kind::text:
        return bounded_text(at, field.width);
    }
    return {};
}

bool same_field(const Field &field, const void *left, const void *right)
{
    return std::memcmp(static_cast<const char *>(left) + field.offset,
                       static_cast<const char *>(right) + field.offset, field.width) == 0;
}

} // namespace kov_lab
