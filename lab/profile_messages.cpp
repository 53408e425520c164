#include "profile_messages.h"

#include "client_commands.h"
#include "profile_options.h"
#include "scenario.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <exception>

namespace kov_lab
{
namespace
{

constexpr std::size_t key_at_in_request = sizeof(kov_profile_request);
constexpr std::size_t trailer_size = 4; // zero bytes behind a request's key
constexpr std::size_t key_at_in_message = sizeof(kov_client_msg);
constexpr std::size_t reply_at = key_at_in_message + sizeof(kov_uhost_key_t);

std::string subject(const kov_uhost_key_t &key)
{
    return operation_text(key.op) + " of " + host_name(key) + " (reference " + std::to_string(key.host_ref) +
           ")";
}

// What a callback is told, in a line.
std::string callback_text(std::uint32_t code, std::uint32_t op, std::uint32_t host_ref, std::string_view host,
                          const kov_profile_reply &reply)
{
    std::string text = operation_text(op) + " of " + printable(host.data(), host.size()) + " (reference " +
                       std::to_string(host_ref) + "): " + kov_profile_data_value_to_string(code);
    if (reply.vni != 0)
        text += ", VNI " + std::to_string(reply.vni);
    if (reply.vlan != 0)
        text += ", VLAN " + std::to_string(reply.vlan);
    if (reply.bd != 0)
        text += ", bridge domain " + std::to_string(reply.bd);
    return text;
}

// "error-no-vlan" for "Error: No VLAN".
std::string code_word(std::uint32_t code)
{
    std::string word;
    for (const char c : std::string_view(kov_profile_data_value_to_string(code)))
        if (std::isalnum(static_cast<unsigned char>(c)) != 0)
            word += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        else if (!word.ends_with('-'))
            word += '-';
    return word;
}

// The codes that the library has a text of their own for.
bool is_named(std::uint32_t code)
{
    return std::string_view(kov_profile_data_value_to_string(code)) != "Error: Unknown";
}

} // namespace

std::optional<std::uint32_t> parse_profile_code(std::string_view text, std::string &why)
{
    for (std::uint32_t code = 1; code <= last_profile_code; ++code)
        if (is_named(code) && text == code_word(code))
            return code;
    if (const bool number = !text.empty() && text.find_first_not_of("-0123456789") == text.npos; number)
        return parse_number(text, 1, last_profile_code, why);
    why = '"' + std::string(text) + "\" is no code: 1 to " + std::to_string(last_profile_code);
    for (const std::string &word : profile_code_words())
        why += ", " + word;
    return std::nullopt;
}

std::vector<std::string> profile_code_words()
{
    std::vector<std::string> words;
    for (std::uint32_t code = 1; code <= last_profile_code; ++code)
        if (const std::string word = code_word(code);
            is_named(code) && std::find(words.begin(), words.end(), word) == words.end())
            words.push_back(word);
    return words;
}

kov_uhost_key_t host_key(std::string_view host, kov_profile_op op)
{
    kov_uhost_key_t key{};
    key.key_type = KOV_PROFILE_UHOST_KEY;
    key.op = static_cast<std::uint8_t>(op);
    key.key_len = static_cast<std::uint8_t>(
        host.copy(reinterpret_cast<char *>(key.uhost_key_data), sizeof key.uhost_key_data));
    return key;
}

std::string_view host_of(const std::uint8_t *key_data, std::uint32_t key_len)
{
    const std::size_t size = std::min(std::size_t{key_len}, std::size_t{KOV_UHOST_KEY_DATA_SIZE});
    return {reinterpret_cast<const char *>(key_data), size};
}

std::string host_of(const kov_uhost_key_t &key)
{
    return std::string(host_of(key.uhost_key_data, key.key_len));
}

std::string host_name(const kov_uhost_key_t &key)
{
    const std::string host = host_of(key);
    return printable(host.data(), host.size());
}

std::string operation_text(std::uint32_t op)
{
    switch (op) {
    case KOV_PROFILE_OP_ADD:
        return "add";
    case KOV_PROFILE_OP_DELETE:
        return "delete";
    case KOV_PROFILE_OP_CHECK:
        return "check";
    default:
        return "operation " + std::to_string(op);
    }
}

bool is_profile_request(std::uint32_t opcode, std::span<const std::uint8_t> payload)
{
    return opcode == KOV_OPC_CLIENT && payload.size() >= sizeof(kov_profile_request) &&
           record_at<kov_registration_request>(payload.data()).mtype == KOV_MTYPE_PROFILE_MGMT;
}

std::optional<kov_uhost_key_t> host_key_of(std::span<const std::uint8_t> payload, std::string &why)
{
    const auto request = record_at<kov_profile_request>(payload.data());
    why = "its profile request has no host's key";
    if (request.key_count != 1 || request.key_len != sizeof(kov_uhost_key_t) ||
        payload.size() < key_at_in_request + sizeof(kov_uhost_key_t) + trailer_size)
        return std::nullopt;
    const auto key = record_at<kov_uhost_key_t>(payload.data() + key_at_in_request);
    if (key.key_type != KOV_PROFILE_UHOST_KEY)
        return std::nullopt;
    why = "its host's key is longer than 45 bytes";
    if (key.key_len > sizeof key.uhost_key_data)
        return std::nullopt;
    return key;
}

std::string describe_profile_request(std::span<const std::uint8_t> payload)
{
    std::string why;
    const auto key = host_key_of(payload, why);
    if (!key)
        return "profile request, key of " +
               std::to_string(record_at<kov_profile_request>(payload.data()).key_len) + " bytes";
    const std::string options = options_text(key->options);
    return "profile " + subject(*key) + (options.empty() ? "" : ": ") + options;
}

Bytes profile_message(const kov_uhost_key_t &key, const kov_profile_reply &reply)
{
    Bytes record;
    append(record, key);
    append(record, reply);
    return make_message(KOV_MTYPE_PROFILE_MGMT, record);
}

std::string describe_profile_answer(std::span<const std::uint8_t> message)
{
    if (message.size() < reply_at + sizeof(kov_profile_reply))
        return {};
    const auto reply = record_at<kov_profile_reply>(message.data() + reply_at);
    return subject(record_at<kov_uhost_key_t>(message.data() + key_at_in_message)) + ": " +
           kov_profile_data_value_to_string(reply.code);
}

} // namespace kov_lab

extern "C" const char *kov_lab_profile_text(uint32_t code, uint32_t op, uint32_t host_ref, uint32_t key_len,
                                            const uint8_t *key_data, const kov_profile_reply *reply)
{
    static std::string text;
    try {
        text = kov_lab::callback_text(code, op, host_ref, kov_lab::host_of(key_data, key_len), *reply);
        return text.c_str();
    } catch (const std::exception &) {
        return "out of memory";
    }
}
