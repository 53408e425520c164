// The frames that clients send to the server, read and told in one line each.
//
// Nobody has checked such a frame: nothing here reads past its payload, and what is told has no character
// that a terminal would obey. A frame that is none of the known ones in opcode and size is nothing.
#pragma once

#include "messages.h"
#include "scenario.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kov_lab
{

using Payload = std::span<const std::uint8_t>;

// "register \"arp\" (pid 812, SAP 2000) for types 4-20". A VRF that is a number in the frame has its name of
// `vrfs` behind it.
std::string describe_frame(std::uint32_t opcode, Payload payload, const VrfNames &vrfs = {});

// "opcode 0x3D404, 72 bytes", for a frame that is none of the known ones.
std::string opcode_and_size(std::uint32_t opcode, Payload payload);

// A frame that an operator has sent as bytes: a message to a client when it is a whole one.
std::string describe_injected(std::uint32_t opcode, const Bytes &bytes);

// A client asks for a host to be verified.
struct VerifyRequest {
    std::string host; // empty for IPv6: its address does not travel
    std::string vrf;
};
std::optional<VerifyRequest> verify_request_of(std::uint32_t opcode, Payload payload);

// A client's own probe has found a host.
struct ProbeResult {
    const char *protocol; // "ARP", "ND"
    std::string host;
    std::string place; // "vlan10, VLAN 10, port eth1/5"
};
std::optional<ProbeResult> probe_result_of(std::uint32_t opcode, Payload payload);

// An opcode of the server's, by the word for its frame ("client", "glean") or by number, 0x too.
std::optional<std::uint32_t> parse_opcode(const std::string &text, std::string &why);
std::vector<std::string> opcode_words();

bool is_glean(std::uint32_t opcode, Payload payload);

} // namespace kov_lab
