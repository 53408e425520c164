// Single values as text, both ways: numbers, switches, names, addresses.
//
// A parse that fails gives nothing and a sentence in `why` that shows the offending text and what would be
// right. Formatting gives a text that the matching parse takes back; a value without a name is written as
// its number, which the parse then refuses.
#pragma once

#include <kov/kov_records.h>

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kov_lab
{

struct Word {
    const char *text;
    std::uint32_t value;
};

extern const std::span<const Word> fwd_mode_words;
extern const std::span<const Word> encap_words;
extern const std::span<const Word> suppress_mode_words;
extern const std::span<const Word> role_words;

using Mac = std::array<std::uint8_t, KOV_MAC_SIZE>;

// An address prefix of either family, without host bits.
struct Network {
    std::uint8_t family = 0;                // 0 IPv4, 1 IPv6, as in the records' key
    std::array<std::uint8_t, 16> address{}; // network order; IPv4's in the first 4 bytes
    std::uint8_t length = 0;                // in bits

    auto operator<=>(const Network &) const = default;
};

std::optional<std::uint32_t> parse_number(std::string_view text, std::uint32_t low, std::uint32_t high,
                                          std::string &why);
std::optional<std::uint32_t> parse_switch(std::string_view text, std::string &why); // yes, no, on, off
std::optional<std::uint32_t> parse_word(std::span<const Word> words, std::string_view text, std::string &why);
std::optional<std::uint32_t> parse_roles(std::string_view text, std::string &why);
std::optional<std::uint32_t> parse_svi(std::string_view text, std::string &why); // also "none": 0
std::optional<Mac> parse_mac(std::string_view text, std::string &why);
std::optional<kov_v4_prefix> parse_v4_prefix(std::string_view text, std::string &why);
std::optional<kov_v6_prefix> parse_v6_prefix(std::string_view text, std::string &why);
std::optional<Network> parse_network(std::string_view text, std::string &why);
std::optional<Network> parse_host(std::string_view text, std::string &why); // an address: all bits

std::string word_of(std::span<const Word> words, std::uint32_t value);
std::string roles_text(std::uint32_t roles);
std::string mac_text(const std::uint8_t *six_bytes);
std::string v4_text(std::uint32_t host_order);
std::string v6_text(const std::uint8_t *sixteen_bytes);
std::string v4_prefix_text(const kov_v4_prefix &prefix);
std::string v6_prefix_text(const kov_v6_prefix &prefix);
std::string network_text(const Network &network);
std::string host_text(const Network &host);       // without the length
std::uint32_t v4_address(const Network &network); // in host order

Network without_host_bits(const Network &given);
// The subnet of an SVI's address; nothing for an SVI without one.
std::optional<Network> subnet_of(const kov_v4_prefix &prefix);
std::optional<Network> subnet_of(const kov_v6_prefix &prefix);

// The record of an aggregate prefix.
kov_rdb_aggr_sub_pfx_t record_of(const Network &network);

// Characters up to the first NUL or the end of the array.
std::string bounded_text(const void *at, std::size_t width);

} // namespace kov_lab
