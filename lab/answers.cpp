// What a client answers after a message, in the words that kov-agent prints.
#include "client_commands.h"

#include <kov/kov_api.h>
#include <kov/platform/address.h>

#include <cstring>
#include <exception>
#include <string>

namespace
{

std::string svi_answer(std::uint32_t ifindex)
{
    return std::string("  ") + kov_ifindex_name_str(ifindex) + " forwards as " +
           kov_fwd_mode_str(kov_get_fwd_mode(ifindex)) + "\n";
}

std::string port_answer(std::uint32_t ifindex)
{
    return std::string("  ") + kov_ifindex_name_str(ifindex) + ": tracking " +
           (kov_get_port_tracking(ifindex) != 0 ? "on" : "off") + ", L2DCI " +
           (kov_get_port_l2dci(ifindex) != 0 ? "on" : "off") + "\n";
}

std::string topology_answer(std::uint32_t bd)
{
    return "  bridge domain " + std::to_string(bd) + ": " +
           kov_suppress_arp_mode_to_str(kov_get_suppress_arp_mode(bd)) + "\n";
}

std::string general_answer()
{
    std::uint8_t router[KOV_MAC_SIZE];
    const std::uint32_t encap = kov_get_fwd_encap_type(router);
    std::string text = "  fabric " + std::to_string(kov_get_fabric_id()) + ", ";
    text += std::string(kov_switch_role_str(kov_get_switch_role())) + "switch, " + kov_fwd_encap_str(encap);
    text += std::string(", conversational learning ") + (kov_check_conditional_route() != 0 ? "on" : "off");
    text += ", aging " + std::to_string(kov_get_conv_aging_timeout(1)) + "/" +
            std::to_string(kov_get_conv_aging_timeout(2)) + " s\n";
    text += std::string("  anycast gateway MAC ") + im_print_mac_addr(kov_get_anycast_gateway_mac());
    return text + ", router MAC " + im_print_mac_addr(router) + "\n";
}

// Of each record, which begins with an interface index or a bridge domain.
std::string each(const kov_client_msg &msg, std::string (*answer)(std::uint32_t number))
{
    std::string text;
    const auto *record = reinterpret_cast<const std::uint8_t *>(&msg) + sizeof msg;
    for (std::uint32_t i = 0; i < msg.count; ++i, record += kov_get_clients_msg_data_sz(msg.mtype)) {
        std::uint32_t number = 0;
        std::memcpy(&number, record, sizeof number);
        text += answer(number);
    }
    return text;
}

std::string answers(const kov_client_msg &msg)
{
    switch (msg.mtype) {
    case KOV_MTYPE_SVI_FWD_MODE:
    case KOV_MTYPE_FABRIC_CTRL_SEG:
    case KOV_MTYPE_SVI_MIGRATION:
    case KOV_MTYPE_SVI_FWD_MODE_CHANGE:
        return each(msg, svi_answer);
    case KOV_MTYPE_PORT_TRACKING:
    case KOV_MTYPE_PORT_L2DCI:
        return each(msg, port_answer);
    case KOV_MTYPE_SUPPRESS_ARP_TOPO:
        return each(msg, topology_answer);
    case KOV_MTYPE_AGGR_SUB_PFX:
    case KOV_MTYPE_PROFILE_MGMT:
        return {};
    default: // all others tell that general information changed
        return general_answer();
    }
}

} // namespace

extern "C" const char *kov_lab_answers_text(const kov_client_msg *msg)
{
    static std::string text;
    try {
        text = answers(*msg);
        return text.c_str();
    } catch (const std::exception &) {
        return "  out of memory\n";
    }
}
