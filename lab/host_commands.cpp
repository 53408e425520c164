#include "host_commands.h"

#include "interfaces.h"
#include "values.h"

#include <kov/kov_events.h>
#include <kov_host.h>

#include <cstring>
#include <string_view>

namespace kov_lab
{
namespace
{

bool set_number(std::string_view value, std::uint32_t high, std::uint32_t &out, std::string &why)
{
    const auto number = parse_number(value, 0, high, why);
    out = number.value_or(0);
    return number.has_value();
}

bool set_iod(std::string_view value, std::int32_t &out, std::string &why)
{
    std::uint32_t number = 0;
    const bool fits = set_number(value, INT32_MAX, number, why);
    out = static_cast<std::int32_t>(number);
    return fits;
}

// One NAME=VALUE of a report.
bool set_detail(std::string_view word, kov_host_verified &out, std::string &why)
{
    const std::size_t equals = word.find('=');
    const std::string_view name = word.substr(0, equals);
    const std::string_view value = equals == word.npos ? "" : word.substr(equals + 1);
    if (name == "vlan")
        return set_number(value, 4094, out.vlan, why);
    if (name == "iod")
        return set_iod(value, out.iod, why);
    if (name == "port_iod")
        return set_iod(value, out.phy_iod, why);
    if (name == "port") {
        out.phy_ifindex = port_of_name(value, why);
        return out.phy_ifindex != 0;
    }
    why = '"' + std::string(word) + "\" is none of vlan=, iod=, port= and port_iod=";
    return false;
}

bool parse_report(std::span<const char *const> words, kov_host_verified &out, Network &host, std::string &why)
{
    if (words.size() < 2) {
        why = "usage: report ADDRESS INTERFACE [vlan=N] [iod=N] [port=NAME] [port_iod=N]";
        return false;
    }
    const auto address = parse_host(words[0], why);
    if (!address)
        return false;
    host = *address;
    if (host.family == 0)
        out.addr[0] = v4_address(host);
    else
        std::memcpy(out.addr, host.address.data(), sizeof out.addr);
    out.ifindex = kov_host_ifindex_parse(words[1]);
    if (out.ifindex == 0) {
        why = '"' + std::string(words[1]) + "\" is no interface, like vlan10, eth1/5 or po10";
        return false;
    }
    for (const char *word : words.subspan(2))
        if (!set_detail(word, out, why))
            return false;
    return true;
}

} // namespace

bool verify_host(std::span<const char *const> words, std::string &text)
{
    if (words.size() != 2) {
        text = "usage: verify VRF ADDRESS";
        return false;
    }
    const auto host = parse_host(words[1], text);
    if (!host)
        return false;
    const bool is_v4 = host->family == 0;
    const std::uint32_t v4 = v4_address(*host);
    const void *address = is_v4 ? static_cast<const void *>(&v4) : host->address.data();
    const std::int32_t result = kov_send_host_verify_notification(words[0], is_v4 ? 1 : 0, address);
    text = std::string("kov_send_host_verify_notification(") + words[0] + ", " + (is_v4 ? "IPv4" : "IPv6") +
           ", " + host_text(*host) + ") = " + std::to_string(result);
    if (result < 0)
        text += ", not registered, or the name is longer than 33 characters";
    if (result > 0)
        text += std::string(", ") + std::strerror(result);
    return result == 0;
}

bool report_host(std::span<const char *const> words, std::string &text)
{
    kov_host_verified found{};
    Network host;
    if (!parse_report(words, found, host, text))
        return false;
    const std::uint32_t nd = host.family;
    const std::uint32_t sent = kov_arp_nd_host_verification_resp(&found, nd);
    text = "kov_arp_nd_host_verification_resp(" + host_text(host) + " on " +
           name_of_interface(found.ifindex) + ", " + (nd != 0 ? "ND" : "ARP") + ") = " + std::to_string(sent);
    return sent != 0;
}

} // namespace kov_lab
