#include "frames.h"

#include "profile_messages.h"

#include <kov/kov_debug.h>

#include <cstdio>
#include <cstdlib>

namespace kov_lab
{
namespace
{

constexpr std::uint8_t glean_v4 = 1;
constexpr std::uint8_t verify_v4 = 1;

// The frame as the message that it is, when opcode and size say so.
template <typename Message>
std::optional<Message> frame_as(std::uint32_t wanted, std::uint32_t opcode, Payload payload)
{
    if (opcode != wanted || payload.size() != sizeof(Message))
        return std::nullopt;
    return record_at<Message>(payload.data());
}

std::string registration_text(const kov_registration_request &request)
{
    const std::string who = '"' + printable(request.client_name, sizeof request.client_name) + "\" (pid " +
                            std::to_string(request.pid) + ", SAP " + std::to_string(request.sap) + ")";
    if (request.mtype == KOV_MTYPE_DEREGISTER)
        return "deregister " + who;
    if (request.mtype == KOV_MTYPE_REGISTER)
        return "register " + who + " for types " + mask_text(request.mtype_mask);
    return "client message of type " + std::to_string(request.mtype);
}

std::string address_text(bool is_v4, const std::uint8_t *at)
{
    return is_v4 ? v4_text(record_at<std::uint32_t>(at)) : v6_text(at);
}

std::string vrf_text(std::uint32_t id, const VrfNames &vrfs)
{
    const auto named = vrfs.find(id);
    return std::to_string(id) + (named == vrfs.end() ? "" : " (" + named->second + ")");
}

std::string glean_text(const kov_glean_msg &msg, const VrfNames &vrfs)
{
    const bool v4 = msg.family == glean_v4;
    return "glean " + address_text(v4, msg.dst) + " in VRF " + vrf_text(msg.vrf_id, vrfs) + " on " +
           kov_ifindex_name_str(msg.svi_ifindex) + ", from " + address_text(v4, msg.src) + " at " +
           kov_ifindex_name_str(msg.iif_ifindex) + ", value " + std::to_string(msg.value);
}

std::string arp_place(const kov_arp_verified_msg &msg)
{
    std::string place = kov_ifindex_name_str(msg.ifindex);
    if (msg.vlan != 0)
        place += ", VLAN " + std::to_string(msg.vlan);
    if (msg.phy_ifindex != 0)
        place += std::string(", port ") + kov_ifindex_name_str(msg.phy_ifindex);
    return place;
}

struct OpcodeWord {
    const char *word;
    std::uint32_t opcode;
};

constexpr OpcodeWord opcode_rows[] = {
    {"client", KOV_OPC_CLIENT},           {"glean", KOV_OPC_GLEAN},
    {"verify", KOV_OPC_HOST_VERIFY},      {"arp-verified", KOV_OPC_ARP_VERIFIED},
    {"nd-verified", KOV_OPC_ND_VERIFIED},
};

} // namespace

std::string opcode_and_size(std::uint32_t opcode, Payload payload)
{
    char text[64];
    std::snprintf(text, sizeof text, "opcode 0x%X, %zu bytes", opcode, payload.size());
    return text;
}

std::string describe_injected(std::uint32_t opcode, const Bytes &bytes)
{
    return opcode == KOV_OPC_CLIENT && is_whole(bytes) ? describe_sent(bytes)
                                                       : opcode_and_size(opcode, bytes);
}

std::optional<VerifyRequest> verify_request_of(std::uint32_t opcode, Payload payload)
{
    const auto msg = frame_as<kov_host_verify_msg>(KOV_OPC_HOST_VERIFY, opcode, payload);
    if (!msg)
        return std::nullopt;
    const std::string host =
        msg->family == verify_v4 ? v4_text(__builtin_bswap32(record_at<std::uint32_t>(msg->addr))) : "";
    return VerifyRequest{host, printable(msg->vrf_name, sizeof msg->vrf_name)};
}

std::optional<ProbeResult> probe_result_of(std::uint32_t opcode, Payload payload)
{
    if (const auto arp = frame_as<kov_arp_verified_msg>(KOV_OPC_ARP_VERIFIED, opcode, payload))
        return ProbeResult{"ARP", v4_text(arp->addr), arp_place(*arp)};
    if (const auto nd = frame_as<kov_nd_verified_msg>(KOV_OPC_ND_VERIFIED, opcode, payload))
        return ProbeResult{"ND", v6_text(nd->addr), "iod " + std::to_string(nd->iod)};
    return std::nullopt;
}

std::optional<std::uint32_t> parse_opcode(const std::string &text, std::string &why)
{
    for (const OpcodeWord &row : opcode_rows)
        if (text == row.word)
            return row.opcode;
    char *end = nullptr;
    const unsigned long number = std::strtoul(text.c_str(), &end, 0);
    if (*end == '\0' && !text.empty() && number <= UINT32_MAX)
        return static_cast<std::uint32_t>(number);
    why = '"' + text + "\" is no opcode: a number, or one of";
    for (const OpcodeWord &row : opcode_rows)
        why += (&row == opcode_rows ? " " : ", ") + std::string(row.word);
    return std::nullopt;
}

std::vector<std::string> opcode_words()
{
    std::vector<std::string> words;
    for (const OpcodeWord &row : opcode_rows)
        words.emplace_back(row.word);
    return words;
}

bool is_glean(std::uint32_t opcode, Payload payload)
{
    return frame_as<kov_glean_msg>(KOV_OPC_GLEAN, opcode, payload).has_value();
}

std::string describe_frame(std::uint32_t opcode, Payload payload, const VrfNames &vrfs)
{
    if (const auto request = frame_as<kov_registration_request>(KOV_OPC_CLIENT, opcode, payload))
        return registration_text(*request);
    if (const auto msg = frame_as<kov_glean_msg>(KOV_OPC_GLEAN, opcode, payload))
        return glean_text(*msg, vrfs);
    if (const auto asked = verify_request_of(opcode, payload))
        return "verify host " + (asked->host.empty() ? "(IPv6)" : asked->host) + " in VRF " + asked->vrf;
    if (const auto found = probe_result_of(opcode, payload))
        return std::string(found->protocol) + " verified " + found->host + " on " + found->place;
    if (is_profile_request(opcode, payload))
        return describe_profile_request(payload);
    return "unknown frame, " + opcode_and_size(opcode, payload);
}

} // namespace kov_lab
