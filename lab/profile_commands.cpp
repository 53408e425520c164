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

// Why the library has sent nothing, as far as the options tell.
std::string why_not_sent(const kov_profile_options_t &options)
{
    switch (options.entity_id_type) {
    case KOV_PROFILE_ENTITY_SEGMENT:
        return options.vni <= 4095 ? "a host on a segment needs a VNI above 4095" : "it cannot be sent";
    case KOV_PROFILE_ENTITY_VLAN:
    case KOV_PROFILE_ENTITY_VLAN_16:
        return options.vlan - 1 > 4094 ? "a host on a VLAN needs one from 1 to 4095" : "it cannot be sent";
    default:
        return "it cannot be sent";
    }
}

Reply called(const char *call, const std::string &host, std::uint32_t reference, std::uint32_t sent,
             const std::string &when_not)
{
    const std::string text = std::string(call) + "(" + host + ", reference " + std::to_string(reference) +
                             ") = " + std::to_string(sent) + (sent != 0 ? "" : when_not);
    return said(sent != 0, text,
                {{"call", call}, {"host", host}, {"reference", reference}, {"result", sent}});
}

using AskOfHost = std::uint32_t (*)(std::uint32_t host_ref, std::uint8_t key_len, const void *key);

Reply ask_of_host(const Call &call, const char *name, AskOfHost ask)
{
    std::string why;
    const std::string host = call.words[0];
    if (!is_key(host, why))
        return refusal(why);
    const std::uint32_t reference = reference_of(host);
    const std::uint32_t sent = ask(reference, static_cast<std::uint8_t>(host.size()), host.data());
    return called(name, host, reference, sent, "");
}

} // namespace

Reply add_profile(const Call &call)
{
    std::string why;
    const std::string host = call.words[0];
    kov_profile_options_t options;
    if (!is_key(host, why) || !parse_options(call.words.subspan(1), options, why))
        return refusal(why);
    const std::uint32_t reference = reference_of(host);
    const std::uint32_t sent =
        kov_profile_add_host(reference, static_cast<std::uint8_t>(host.size()), host.data(), &options);
    return called("kov_profile_add_host", host, reference, sent, ": " + why_not_sent(options));
}

Reply del_profile(const Call &call)
{
    return ask_of_host(call, "kov_profile_del_host", kov_profile_del_host);
}

Reply check_profile(const Call &call)
{
    return ask_of_host(call, "kov_profile_check_host", kov_profile_check_host);
}

void complete_options(const Call &call, Candidates &out)
{
    if (place_of(call) == 0)
        return;
    complete_settings(option_fields(), nullptr, partial_of(call), out);
    out.insert(out.end(), {"param=", "include_param="});
}

} // namespace kov_lab
