// The messages about hosts' profiles, both ways: made, read and told.
//
// A request that a client sends is believed only after host_key_of() has looked at it.
#pragma once

#include "messages.h"

#include <kov/kov_profile.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kov_lab
{

// The result code by which the server has a client check a host.
constexpr std::uint32_t code_check = 3;

// The key of a host that the client named with this text.
kov_uhost_key_t host_key(std::string_view host, kov_profile_op op);
// Its bytes, of which a key has 45 whatever length a peer says; and the same as a terminal may show them.
std::string_view host_of(const std::uint8_t *key_data, std::uint32_t key_len);
std::string host_of(const kov_uhost_key_t &key);
std::string host_name(const kov_uhost_key_t &key);

// "add", "delete", "check"; "operation 9".
std::string operation_text(std::uint32_t op);

// A result code by its number or by its text in one word: "no-error" for 1.
std::optional<std::uint32_t> parse_profile_code(std::string_view text, std::string &why);
std::vector<std::string> profile_code_words();

// True when the frame is a request about profiles, whatever its key is worth.
bool is_profile_request(std::uint32_t opcode, std::span<const std::uint8_t> payload);
// The host's key in such a request. Nothing: `why` says what is wrong with it.
std::optional<kov_uhost_key_t> host_key_of(std::span<const std::uint8_t> payload, std::string &why);
// "profile add of 10.1.2.3 (reference 1): vni=5000 profile=web"
std::string describe_profile_request(std::span<const std::uint8_t> payload);

// What the server sends: one key and its reply.
Bytes profile_message(const kov_uhost_key_t &key, const kov_profile_reply &reply);
// "add of 10.1.2.3 (reference 1): No Error"; "" for a message that is too short for it.
std::string describe_profile_answer(std::span<const std::uint8_t> message);

} // namespace kov_lab
