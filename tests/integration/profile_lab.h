// What tests of hosts' profiles share: the fixture, and keys as a client sends them.
#pragma once

#include "profile_messages.h"
#include "profile_options.h"
#include "real_lab.h"

namespace integration
{

class HostProfileOf : public RealLab
{
protected:
    std::string scenario_with_reply(const std::string &reply) const
    {
        return write("reply.json", "{\"profiles\": {\"reply\": " + reply + "}}");
    }
};

inline const std::string list_head = "Client                   Host                     Reference Profile\n";

// The key with which a client adds a host, with options as kovctl takes them.
inline kov_uhost_key_t key_with(const std::string &host, const std::vector<const char *> &words)
{
    kov_uhost_key_t key = kov_lab::host_key(host, KOV_PROFILE_OP_ADD);
    kov_profile_options_t options;
    std::string why;
    EXPECT_TRUE(kov_lab::parse_options(words, options, why)) << why;
    key.options = options;
    return key;
}

inline std::string hex(const kov_lab::Bytes &bytes, std::size_t from, std::size_t size)
{
    std::string text;
    char digits[3];
    for (const std::uint8_t byte : std::span(bytes).subspan(from, size)) {
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

} // namespace integration
