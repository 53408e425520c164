// The VRFs and routes of this process: two small tables that the process itself fills.
#include "kov_host.h"
#include "support.h"

#include <kov/platform/routes.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <charconv>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace kov_host
{
namespace
{

constexpr std::size_t longest_vrf_name = 32;

struct Address {
    int family; // AF_INET or AF_INET6
    std::array<std::uint8_t, 16> bytes;

    std::uint32_t bits() const { return family == AF_INET ? 32 : 128; }
};

struct Route {
    std::uint32_t vrf_id;
    Address address; // zero behind the length
    std::uint32_t length;
    std::uint32_t flags;
};

std::map<std::uint32_t, std::string> &vrf_names()
{
    static std::map<std::uint32_t, std::string> table;
    return table;
}

// Routes are pointed at from outside, so each keeps its place.
std::vector<std::unique_ptr<Route>> &routes()
{
    static std::vector<std::unique_ptr<Route>> table;
    return table;
}

std::optional<Address> parse_address(const std::string &text)
{
    Address address{text.find(':') == std::string::npos ? AF_INET : AF_INET6, {}};
    if (inet_pton(address.family, text.c_str(), address.bytes.data()) != 1)
        return std::nullopt;
    return address;
}

// The address with nothing behind its first `length` bits.
Address masked(Address address, std::uint32_t length)
{
    for (std::uint32_t bit = length; bit < address.bits(); ++bit)
        address.bytes[bit / 8] &= static_cast<std::uint8_t>(~(0x80u >> bit % 8));
    return address;
}

// A prefix as a route without flags.
std::optional<Route> parse_prefix(std::uint32_t vrf_id, std::string_view text)
{
    const std::size_t slash = text.find('/');
    if (slash == std::string_view::npos)
        return std::nullopt;
    const auto address = parse_address(std::string(text.substr(0, slash)));
    const std::string_view digits = text.substr(slash + 1);
    std::uint32_t length = 0;
    const auto [stop, code] = std::from_chars(digits.data(), digits.data() + digits.size(), length);
    if (!address || code != std::errc{} || stop != digits.data() + digits.size() || length > address->bits())
        return std::nullopt;
    return Route{vrf_id, masked(*address, length), length, 0};
}

bool holds(const Route &route, std::uint32_t vrf_id, const Address &address)
{
    return route.vrf_id == vrf_id && route.address.family == address.family &&
           masked(address, route.length).bytes == route.address.bytes;
}

auto find_same(const Route &wanted)
{
    return std::find_if(routes().begin(), routes().end(), [&](const auto &route) {
        return route->length == wanted.length && holds(*route, wanted.vrf_id, wanted.address);
    });
}

int set_vrf(std::uint32_t vrf_id, const char *name)
{
    if (name == nullptr) {
        vrf_names().erase(vrf_id);
        return 0;
    }
    const std::size_t length = std::strlen(name);
    if (length == 0 || length > longest_vrf_name)
        return fail("'%s' is no VRF name: 1 to 32 characters", name);
    vrf_names()[vrf_id] = name;
    return 0;
}

int set_route(std::uint32_t vrf_id, const char *prefix, std::uint32_t flags)
{
    auto wanted = prefix == nullptr ? std::nullopt : parse_prefix(vrf_id, prefix);
    if (!wanted)
        return fail("'%s' is no prefix", prefix == nullptr ? "" : prefix);
    if ((flags & ~std::uint32_t{KOV_HOST_ROUTE_CONDITIONAL | KOV_HOST_ROUTE_CONVERTED}) != 0)
        return fail("0x%x are no route flags", flags);
    wanted->flags = flags;
    if (const auto at = find_same(*wanted); at != routes().end())
        **at = *wanted;
    else
        routes().push_back(std::make_unique<Route>(*wanted));
    return 0;
}

int delete_route(std::uint32_t vrf_id, const char *prefix)
{
    const auto wanted = prefix == nullptr ? std::nullopt : parse_prefix(vrf_id, prefix);
    if (!wanted)
        return fail("'%s' is no prefix", prefix == nullptr ? "" : prefix);
    const auto at = find_same(*wanted);
    if (at == routes().end())
        return fail("no route %s in VRF %u", prefix, vrf_id);
    routes().erase(at);
    return 0;
}

const Route *find_route(std::uint32_t vrf_id, const char *text)
{
    const auto address = text == nullptr ? std::nullopt : parse_address(text);
    if (!address) {
        set_error("'%s' is no address", text == nullptr ? "" : text);
        return nullptr;
    }
    const Route *longest = nullptr;
    for (const auto &route : routes())
        if (holds(*route, vrf_id, *address) && (longest == nullptr || route->length > longest->length))
            longest = route.get();
    return longest;
}

// A flag of a route, which has to be of the family that is asked about.
int flag(const void *rt, int family, std::uint32_t which)
{
    const auto *route = static_cast<const Route *>(rt);
    return route != nullptr && route->address.family == family && (route->flags & which) != 0 ? 1 : 0;
}

} // namespace
} // namespace kov_host

using namespace kov_host;

extern "C" {

int urib_route_is_cond_flag_set(const void *rt) { return flag(rt, AF_INET, KOV_HOST_ROUTE_CONDITIONAL); }
int urib_route_is_conv_flag_set(const void *rt) { return flag(rt, AF_INET, KOV_HOST_ROUTE_CONVERTED); }
int u6rib_route_is_cond_flag_set(const void *rt) { return flag(rt, AF_INET6, KOV_HOST_ROUTE_CONDITIONAL); }
int u6rib_route_is_conv_flag_set(const void *rt) { return flag(rt, AF_INET6, KOV_HOST_ROUTE_CONVERTED); }

const char *vrfmgr_get_context_name(uint32_t vrf_id, uint32_t)
{
    const auto at = vrf_names().find(vrf_id);
    return at == vrf_names().end() ? nullptr : at->second.c_str();
}

int kov_host_vrf_set(uint32_t vrf_id, const char *name)
{
    return guarded(-1, [&] { return set_vrf(vrf_id, name); });
}

int kov_host_route_set(uint32_t vrf_id, const char *prefix, uint32_t flags)
{
    return guarded(-1, [&] { return set_route(vrf_id, prefix, flags); });
}

int kov_host_route_delete(uint32_t vrf_id, const char *prefix)
{
    return guarded(-1, [&] { return delete_route(vrf_id, prefix); });
}

const void *kov_host_route_find(uint32_t vrf_id, const char *address)
{
    return guarded<const void *>(nullptr, [&] { return find_route(vrf_id, address); });
}

} // extern "C"
