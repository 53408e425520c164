#include "values.h"

#include "interfaces.h"

#include <kov/kov_enums.h>
#include <kov/platform/address.h>

#include <algorithm>
#include <arpa/inet.h>
#include <charconv>
#include <cstring>

namespace kov_lab
{
namespace
{

// clang-format off
constexpr Word fwd_mode_table[] = {
    {"standard",                  KOV_FWD_MODE_STANDARD},
    {"proxy-gateway",             KOV_FWD_MODE_PROXY_GATEWAY},
    {"anycast-gateway",           KOV_FWD_MODE_ANYCAST_GATEWAY},
    {"conditional-proxy-gateway", KOV_FWD_MODE_CONDITIONAL_PROXY_GATEWAY},
};
constexpr Word encap_table[] = {
    {"fabric", KOV_FWD_ENCAP_FABRIC},
    {"vxlan",  KOV_FWD_ENCAP_VXLAN},
};
constexpr Word suppress_mode_table[] = {
    {"disabled", KOV_SUPPRESS_ARP_DISABLED},
    {"l2",       KOV_SUPPRESS_ARP_L2},
    {"l2-l3",    KOV_SUPPRESS_ARP_L2_L3},
};
constexpr Word role_table[] = {
    {"leaf",     KOV_SWITCH_ROLE_LEAF},
    {"border",   KOV_SWITCH_ROLE_BORDER},
    {"spine",    KOV_SWITCH_ROLE_SPINE},
    {"dci-node", KOV_SWITCH_ROLE_DCI},
};
constexpr Word switch_table[] = {
    {"no",  0},
    {"yes", 1},
    {"off", 0},
    {"on",  1},
};
// clang-format on

std::string quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

std::optional<std::uint32_t> whole_number(std::string_view text)
{
    std::uint32_t value = 0;
    const char *end = text.data() + text.size();
    const auto [stop, code] = std::from_chars(text.data(), end, value);
    if (code != std::errc{} || stop != end)
        return std::nullopt;
    return value;
}

bool is_integer(std::string_view text)
{
    if (text.starts_with('-'))
        text.remove_prefix(1);
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// The twelve characters between the separators, or nothing when a separator is not where it belongs.
std::string mac_digits(std::string_view text)
{
    const bool dotted = text.size() == 14;
    const std::size_t group = dotted ? 5 : 3;
    std::string digits;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (i % group != group - 1)
            digits += text[i];
        else if (text[i] != (dotted ? '.' : ':'))
            return {};
    return digits;
}

// Splits "ADDRESS/LENGTH" and checks the address with inet_pton.
bool parse_prefix(int family, std::string_view text, std::uint32_t longest, void *address,
                  std::uint32_t &length, std::string &why)
{
    const char *form = family == AF_INET ? "10.1.2.1/24" : "2001:db8::1/64";
    const std::size_t slash = text.find('/');
    const std::string head{text.substr(0, slash)};
    if (slash == std::string_view::npos || inet_pton(family, head.c_str(), address) != 1) {
        why = quoted(text) + " is not an address with a prefix length, like " + form;
        return false;
    }
    const auto bits = whole_number(text.substr(slash + 1));
    if (!bits || *bits > longest) {
        why = quoted(text) + " has a prefix length that is not from 0 to " + std::to_string(longest);
        return false;
    }
    length = *bits;
    return true;
}

} // namespace

const std::span<const Word> fwd_mode_words = fwd_mode_table;
const std::span<const Word> encap_words = encap_table;
const std::span<const Word> suppress_mode_words = suppress_mode_table;
const std::span<const Word> role_words = role_table;

std::optional<std::uint32_t> parse_number(std::string_view text, std::uint32_t low, std::uint32_t high,
                                          std::string &why)
{
    if (!is_integer(text)) {
        why = quoted(text) + " is not a whole number";
        return std::nullopt;
    }
    const auto value = whole_number(text);
    if (value && *value >= low && *value <= high)
        return value;
    why = std::string(text) + " is out of range, it must be from " + std::to_string(low) + " to " +
          std::to_string(high);
    return std::nullopt;
}

std::optional<std::uint32_t> parse_word(std::span<const Word> words, std::string_view text, std::string &why)
{
    std::string all;
    for (const Word &word : words) {
        if (text == word.text)
            return word.value;
        all += (all.empty() ? "" : ", ") + std::string(word.text);
    }
    why = quoted(text) + " is none of " + all;
    return std::nullopt;
}

std::optional<std::uint32_t> parse_switch(std::string_view text, std::string &why)
{
    return parse_word(switch_table, text, why);
}

std::optional<std::uint32_t> parse_roles(std::string_view text, std::string &why)
{
    std::uint32_t roles = 0;
    if (text == "none")
        return roles;
    for (;;) {
        const std::size_t plus = text.find('+');
        const auto role = parse_word(role_table, text.substr(0, plus), why);
        if (!role)
            return std::nullopt;
        roles |= *role;
        if (plus == std::string_view::npos)
            return roles;
        text.remove_prefix(plus + 1);
    }
}

std::optional<std::uint32_t> parse_svi(std::string_view text, std::string &why)
{
    if (text == "none")
        return 0;
    const std::uint32_t index = svi_of_name(text, why);
    if (index == 0)
        return std::nullopt;
    return index;
}

std::optional<Mac> parse_mac(std::string_view text, std::string &why)
{
    const std::string digits = mac_digits(text);
    Mac mac{};
    bool good = digits.size() == 2 * mac.size();
    for (std::size_t i = 0; good && i < mac.size(); ++i) {
        const char *from = digits.data() + 2 * i;
        good = std::from_chars(from, from + 2, mac[i], 16).ptr == from + 2;
    }
    if (good)
        return mac;
    why = quoted(text) + " is not a MAC address, like 0011.2233.4455 or 00:11:22:33:44:55";
    return std::nullopt;
}

std::optional<kov_v4_prefix> parse_v4_prefix(std::string_view text, std::string &why)
{
    kov_v4_prefix prefix{};
    if (text == "none")
        return prefix;
    std::uint32_t address = 0;
    std::uint32_t length = 0;
    if (!parse_prefix(AF_INET, text, 32, &address, length, why))
        return std::nullopt;
    prefix.addr = ntohl(address);
    prefix.len = length;
    return prefix;
}

std::optional<kov_v6_prefix> parse_v6_prefix(std::string_view text, std::string &why)
{
    kov_v6_prefix prefix{};
    if (text == "none")
        return prefix;
    std::uint32_t length = 0;
    if (!parse_prefix(AF_INET6, text, 128, prefix.addr, length, why))
        return std::nullopt;
    prefix.len = static_cast<std::uint8_t>(length);
    return prefix;
}

std::optional<Network> parse_network(std::string_view text, std::string &why)
{
    const bool v6 = text.find(':') != text.npos;
    Network given;
    std::uint32_t length = 0;
    if (!parse_prefix(v6 ? AF_INET6 : AF_INET, text, v6 ? 128 : 32, given.address.data(), length, why))
        return std::nullopt;
    given.family = v6 ? 1 : 0;
    given.length = static_cast<std::uint8_t>(length);
    const Network network = without_host_bits(given);
    if (network == given)
        return network;
    why = quoted(text) + " has host bits set; the prefix is " + network_text(network);
    return std::nullopt;
}

std::optional<Network> parse_host(std::string_view text, std::string &why)
{
    const char *length = text.find(':') == text.npos ? "/32" : "/128";
    auto host = parse_network(std::string(text) + length, why);
    if (!host)
        why = quoted(text) + " is not an address";
    return host;
}

std::string word_of(std::span<const Word> words, std::uint32_t value)
{
    for (const Word &word : words)
        if (value == word.value)
            return word.text;
    return std::to_string(value);
}

std::string roles_text(std::uint32_t roles)
{
    std::string text;
    for (const Word &role : role_table)
        if ((roles & role.value) != 0)
            text += (text.empty() ? "" : "+") + std::string(role.text);
    return text.empty() ? "none" : text;
}

std::string mac_text(const std::uint8_t *six_bytes) { return im_print_mac_addr(six_bytes); }

std::string v4_text(std::uint32_t host_order) { return ip_print_addr(host_order); }

std::string v6_text(const std::uint8_t *sixteen_bytes) { return ipv6_print_addr(sixteen_bytes); }

std::string v4_prefix_text(const kov_v4_prefix &prefix)
{
    const std::uint32_t length = prefix.len;
    return prefix.addr == 0 && length == 0 ? "none" : v4_text(prefix.addr) + "/" + std::to_string(length);
}

std::string v6_prefix_text(const kov_v6_prefix &prefix)
{
    const kov_v6_prefix zero{};
    if (std::memcmp(&prefix, &zero, sizeof prefix) == 0)
        return "none";
    return v6_text(prefix.addr) + "/" + std::to_string(unsigned{prefix.len});
}

std::uint32_t v4_address(const Network &network)
{
    std::uint32_t address = 0;
    std::memcpy(&address, network.address.data(), sizeof address);
    return ntohl(address);
}

std::string host_text(const Network &host)
{
    return host.family == 0 ? v4_text(v4_address(host)) : v6_text(host.address.data());
}

std::string network_text(const Network &network)
{
    return host_text(network) + "/" + std::to_string(unsigned{network.length});
}

Network without_host_bits(const Network &given)
{
    Network network = given;
    for (unsigned bit = given.length; bit < 8 * given.address.size(); ++bit)
        network.address[bit / 8] &= static_cast<std::uint8_t>(~(0x80u >> bit % 8));
    return network;
}

std::optional<Network> subnet_of(const kov_v4_prefix &prefix)
{
    Network network;
    const std::uint32_t address = htonl(prefix.addr);
    std::memcpy(network.address.data(), &address, sizeof address);
    network.length = static_cast<std::uint8_t>(std::min<std::uint32_t>(prefix.len, 32));
    if (prefix.addr == 0)
        return std::nullopt;
    return without_host_bits(network);
}

std::optional<Network> subnet_of(const kov_v6_prefix &prefix)
{
    Network network;
    network.family = 1;
    std::copy_n(prefix.addr, network.address.size(), network.address.begin());
    network.length = std::min<std::uint8_t>(prefix.len, 128);
    if (network.address == Network{}.address)
        return std::nullopt;
    return without_host_bits(network);
}

kov_rdb_aggr_sub_pfx_t record_of(const Network &network)
{
    kov_rdb_aggr_sub_pfx_t record{};
    if (network.family == 0)
        std::reverse_copy(network.address.begin(), network.address.begin() + 4, record.prefix); // host order
    else
        std::copy(network.address.begin(), network.address.end(), record.prefix);
    record.prefix[network.family == 0 ? 4 : 16] = network.length;
    return record;
}

std::string bounded_text(const void *at, std::size_t width)
{
    const char *text = static_cast<const char *>(at);
    return {text, strnlen(text, width)};
}

} // namespace kov_lab
