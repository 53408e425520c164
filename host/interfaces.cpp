// Interface indices, their parts and their names, both ways. One row a type says how its names look.
#include "ifindex.h"
#include "kov_host.h"
#include "support.h"

#include <kov/platform/interfaces.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <string_view>

namespace kov_host
{
namespace
{

struct NameRow {
    std::uint32_t type;
    const char *stem;
    bool slotted;      // slot/port, both from 1, instead of one number
    std::uint32_t low; // the numbers that have a name
    std::uint32_t high;
};

// clang-format off
constexpr NameRow name_rows[] = {
    {if_type_vlan,         "vlan", false, 1, 4094},
    {if_type_bdi,          "bdi",  false, 1, 0xffff},
    {if_type_port_channel, "po",   false, 0, 0xffff},
    {if_type_ethernet,     "eth",  true,  0, 0xffff},
    {if_type_satellite,    "sat",  true,  0, 0xffff},
};
// clang-format on

const NameRow *row_of(std::uint32_t index)
{
    for (const NameRow &row : name_rows)
        if (row.type == ifindex_type(index))
            return &row;
    return nullptr;
}

const NameRow *named_row_of(std::uint32_t index)
{
    const NameRow *row = row_of(index);
    const std::uint32_t number = ifindex_number(index);
    return row != nullptr && number >= row->low && number <= row->high ? row : nullptr;
}

// A whole decimal number between low and high, written the one way that it is printed.
std::optional<std::uint32_t> number_of(std::string_view text, std::uint32_t low, std::uint32_t high)
{
    std::uint32_t value = 0;
    const char *end = text.data() + text.size();
    const auto [stop, code] = std::from_chars(text.data(), end, value);
    const bool whole = code == std::errc{} && stop == end;
    const bool padded = text.size() > 1 && text.front() == '0';
    if (!whole || padded || value < low || value > high)
        return std::nullopt;
    return value;
}

std::optional<std::uint32_t> slot_and_port_of(std::string_view text)
{
    const std::size_t slash = text.find('/');
    if (slash == std::string_view::npos)
        return std::nullopt;
    const auto slot = number_of(text.substr(0, slash), 1, 256);
    const auto port = number_of(text.substr(slash + 1), 1, 256);
    if (!slot || !port)
        return std::nullopt;
    return (*slot - 1) << 8 | (*port - 1);
}

std::uint32_t parse(std::string_view name)
{
    for (const NameRow &row : name_rows) {
        const std::string_view stem = row.stem;
        if (!name.starts_with(stem))
            continue;
        const std::string_view rest = name.substr(stem.size());
        const auto number = row.slotted ? slot_and_port_of(rest) : number_of(rest, row.low, row.high);
        if (number)
            return ifindex(row.type, *number);
    }
    return 0;
}

// Whether an index is a physical port's: slot in the second byte from below, port in the lowest, nothing
// above.
bool is_port_index(std::uint32_t index) { return is_port(index) && ifindex_number(index) <= 0xffff; }

std::map<std::int32_t, std::uint32_t> &ifindex_by_iod()
{
    static std::map<std::int32_t, std::uint32_t> table;
    return table;
}

int set_iod(std::int32_t iod, std::uint32_t index)
{
    if (index == 0) {
        ifindex_by_iod().erase(iod);
        return 0;
    }
    if (row_of(index) == nullptr)
        return fail("0x%08x is not an interface index", index);
    ifindex_by_iod()[iod] = index;
    return 0;
}

} // namespace
} // namespace kov_host

using namespace kov_host;

extern "C" {

int if_index_get_type(uint32_t ifindex, uint32_t *type)
{
    if (type == nullptr)
        return EINVAL;
    if (row_of(ifindex) == nullptr)
        return ENODEV;
    *type = ifindex_type(ifindex);
    return 0;
}

int im_get_ifindex_name(uint32_t ifindex, char *buf, uint32_t cap)
{
    if (buf == nullptr || cap == 0)
        return EINVAL;
    buf[0] = '\0';
    const NameRow *row = named_row_of(ifindex);
    if (row == nullptr)
        return ENODEV;
    const uint32_t number = ifindex_number(ifindex);
    if (row->slotted)
        std::snprintf(buf, cap, "%s%u/%u", row->stem, (number >> 8) + 1, (number & 0xff) + 1);
    else
        std::snprintf(buf, cap, "%s%u", row->stem, number);
    return 0;
}

int if_index_get_slot(uint32_t ifindex, uint8_t *slot)
{
    if (slot == nullptr)
        return EINVAL;
    if (!is_port_index(ifindex))
        return ENODEV;
    *slot = static_cast<uint8_t>(ifindex_number(ifindex) >> 8);
    return 0;
}

int if_index_get_port(uint32_t ifindex, uint8_t *port)
{
    if (port == nullptr)
        return EINVAL;
    if (!is_port_index(ifindex))
        return ENODEV;
    *port = static_cast<uint8_t>(ifindex_number(ifindex) & 0xff);
    return 0;
}

int if_index_port_channel_get_fields(uint32_t ifindex, uint16_t *channel)
{
    if (channel == nullptr)
        return EINVAL;
    if (ifindex_type(ifindex) != if_type_port_channel || ifindex_number(ifindex) > 0xffff)
        return ENODEV;
    *channel = static_cast<uint16_t>(ifindex_number(ifindex));
    return 0;
}

int lcache_im_get_ifindex_frm_iod(int32_t iod, uint32_t *ifindex)
{
    if (ifindex == nullptr)
        return EINVAL;
    const auto at = ifindex_by_iod().find(iod);
    if (at == ifindex_by_iod().end())
        return ENODEV;
    *ifindex = at->second;
    return 0;
}

const char *syserr2str(int status)
{
    if (const char *known = strerrordesc_np(status))
        return known;
    char *out = print_buffer();
    std::snprintf(out, print_buffer_size, "status %d", status);
    return out;
}

uint32_t kov_host_ifindex_parse(const char *name) { return name == nullptr ? 0 : parse(name); }

int kov_host_iod_set(int32_t iod, uint32_t ifindex)
{
    return guarded(-1, [&] { return set_iod(iod, ifindex); });
}

} // extern "C"
