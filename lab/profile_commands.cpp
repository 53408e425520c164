#include "profile_commands.h"

#include "profile_options.h"

#include <map>
#include <string_view>

namespace kov_lab
{
namespace
{

std::uint32_t reference_of(const std::string &host)
{
    static std::map<std::string, std::uint32_t> references;
    return references.emplace(host, static_cast<std::uint32_t>(references.size() + 1)).first->second;
}

bool is_key(std::string_view host, std::string &why)
{
    why = '"' + std::string(host) + "\" is not 1 to 45 characters";
    return !host.empty() && host.size() <= KOV_UHOST_KEY_DATA_SIZE;
}

bool tell_call(const char *call, std::string_view host, std::uint32_t reference, std::uint32_t sent,
               std::string &text)
{
    text = std::string(call) + "(" + std::string(host) + ", reference " + std::to_string(reference) +
           ") = " + std::to_string(sent);
    return sent != 0;
}

using AskOfHost = std::uint32_t (*)(std::uint32_t host_ref, std::uint8_t key_len, const void *key);

bool ask_of_host(std::span<const char *const> words, const char *usage, const char *call, AskOfHost ask,
                 std::string &text)
{
    if (words.size() != 1) {
        text = usage;
        return false;
    }
    const std::string host = words[0];
    if (!is_key(host, text))
        return false;
    const std::uint32_t reference = reference_of(host);
    const std::uint32_t sent = ask(reference, static_cast<std::uint8_t>(host.size()), host.data());
    return tell_call(call, host, reference, sent, text);
}

} // namespace

bool add_profile(std::span<const char *const> words, std::string &text)
{
    if (words.empty()) {
        text = "usage: profile add HOST [OPTION=VALUE...], of " + option_names();
        return false;
    }
    const std::string host = words[0];
    kov_profile_options_t options;
    if (!is_key(host, text) || !parse_options(words.subspan(1), options, text))
        return false;
    const std::uint32_t reference = reference_of(host);
    const std::uint32_t sent =
        kov_profile_add_host(reference, static_cast<std::uint8_t>(host.size()), host.data(), &options);
    if (tell_call("kov_profile_add_host", host, reference, sent, text))
        return true;
    text += ", not sent, or neither a VNI above 4095 nor a VLAN of 1 to 4095";
    return false;
}

bool del_profile(std::span<const char *const> words, std::string &text)
{
    return ask_of_host(words, "usage: profile del HOST", "kov_profile_del_host", kov_profile_del_host, text);
}

bool check_profile(std::span<const char *const> words, std::string &text)
{
    return ask_of_host(words, "usage: profile check HOST", "kov_profile_check_host", kov_profile_check_host,
                       text);
}

} // namespace kov_lab
