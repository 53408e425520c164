#include "host_commands.h"

#include "client_commands.h"
#include "interfaces.h"
#include "profile_messages.h"
#include "values.h"

#include <kov_host.h>

#include <cstring>
#include <exception>
#include <map>
#include <string_view>

namespace kov_lab
{
namespace
{

bool set_number(std::string_view value, std::uint32_t high, std::uint32_t &out, std::string &why)
{
    const auto number = parse_number(value, 0, high, why);
    out = number.value_or(0);
    return number.has_value();
}

bool set_iod(std::string_view value, std::int32_t &out, std::string &why)
{
    std::uint32_t number = 0;
    const bool fits = set_number(value, INT32_MAX, number, why);
    out = static_cast<std::int32_t>(number);
    return fits;
}

// One NAME=VALUE of a report.
bool set_detail(std::string_view word, kov_host_verified &out, std::string &why)
{
    const std::size_t equals = word.find('=');
    const std::string_view name = word.substr(0, equals);
    const std::string_view value = equals == word.npos ? "" : word.substr(equals + 1);
    if (name == "vlan")
        return set_number(value, 4094, out.vlan, why);
    if (name == "iod")
        return set_iod(value, out.iod, why);
    if (name == "port_iod")
        return set_iod(value, out.phy_iod, why);
    if (name == "port") {
        out.phy_ifindex = port_of_name(value, why);
        return out.phy_ifindex != 0;
    }
    why = '"' + std::string(word) + "\" is none of vlan=, iod=, port= and port_iod=";
    return false;
}

// Where a host is, as a probe of it shows.
struct Sighting {
    Network host;
    kov_host_verified found{};

    std::uint32_t is_nd() const { return host.family; }
};

bool parse_sighting(Words words, Sighting &out, std::string &why)
{
    const auto address = parse_host(words[0], why);
    if (!address)
        return false;
    out.host = *address;
    if (out.host.family == 0)
        out.found.addr[0] = v4_address(out.host);
    else
        std::memcpy(out.found.addr, out.host.address.data(), sizeof out.found.addr);
    out.found.ifindex = interface_of_name(words[1], why);
    if (out.found.ifindex == 0)
        return false;
    for (const char *word : words.subspan(2))
        if (!set_detail(word, out.found, why))
            return false;
    return true;
}

// The hosts that answer a probe, by address.
using Sightings = std::map<Network, Sighting>;

Sightings &sightings()
{
    static Sightings table;
    return table;
}

} // namespace

Reply verify_host(const Call &call)
{
    std::string text;
    const std::string vrf = call.words[0];
    const auto host = parse_host(call.words[1], text);
    if (!host)
        return refusal(text);
    const bool is_v4 = host->family == 0;
    const std::uint32_t v4 = v4_address(*host);
    const void *address = is_v4 ? static_cast<const void *>(&v4) : host->address.data();
    const std::int32_t result = kov_send_host_verify_notification(vrf.c_str(), is_v4 ? 1 : 0, address);
    text = "kov_send_host_verify_notification(" + vrf + ", " + (is_v4 ? "IPv4" : "IPv6") + ", " +
           host_text(*host) + ") = " + std::to_string(result);
    if (result < 0)
        text += ", not registered, or the name is longer than 33 characters";
    if (result > 0)
        text += std::string(", ") + std::strerror(result);
    return said(result == 0, text,
                {{"call", "kov_send_host_verify_notification"},
                 {"vrf", vrf},
                 {"address", host_text(*host)},
                 {"result", result}});
}

Reply report_host(const Call &call)
{
    Sighting seen;
    std::string why;
    if (!parse_sighting(call.words, seen, why))
        return refusal(why);
    const std::uint32_t sent = kov_arp_nd_host_verification_resp(&seen.found, seen.is_nd());
    const std::string interface = name_of_interface(seen.found.ifindex);
    return said(sent != 0,
                "kov_arp_nd_host_verification_resp(" + host_text(seen.host) + " on " + interface + ", " +
                    (seen.is_nd() != 0 ? "ND" : "ARP") + ") = " + std::to_string(sent),
                {{"call", "kov_arp_nd_host_verification_resp"},
                 {"address", host_text(seen.host)},
                 {"interface", interface},
                 {"result", sent}});
}

Reply set_host(const Call &call)
{
    Sighting seen;
    std::string why;
    if (!parse_sighting(call.words, seen, why))
        return refusal(why);
    sightings()[seen.host] = seen;
    return said(true, host_text(seen.host) + " answers a probe on " + name_of_interface(seen.found.ifindex));
}

Reply del_host(const Call &call)
{
    std::string why;
    const auto host = parse_host(call.words[0], why);
    if (!host)
        return refusal(why);
    const bool known = sightings().erase(*host) != 0;
    return said(known, host_text(*host) + (known ? " answers no more" : " did not answer before"));
}

Reply list_hosts(const Call &)
{
    Table table("hosts", {{"Host", 39}, {"Interface", 10}, {"VLAN", 5}, {"Port", 0}});
    for (const auto &[host, seen] : sightings()) {
        const std::string interface = name_of_interface(seen.found.ifindex);
        const std::string port = name_of_interface(seen.found.phy_ifindex);
        table.add({host_text(host), interface, std::to_string(seen.found.vlan), port},
                  {{"host", host_text(host)},
                   {"interface", interface},
                   {"vlan", std::uint32_t{seen.found.vlan}},
                   {"port", port}});
    }
    return table.reply();
}

void complete_report(const Call &call, Candidates &out)
{
    if (place_of(call) == 1)
        out = {svi_kind, port_kind};
    else if (place_of(call) > 1)
        out = {"vlan=", "iod=", "port=", "port_iod=", std::string("port=") + port_kind};
}

void complete_host(const Call &call, Candidates &out)
{
    if (place_of(call) == 0)
        for (const auto &[host, seen] : sightings())
            out.push_back(host_text(host));
}

} // namespace kov_lab

using namespace kov_lab;

extern "C" int kov_lab_probe(uint32_t key_len, const uint8_t *key_data, kov_host_verified *found,
                             uint32_t *nd)
{
    try {
        std::string why;
        const auto host = parse_host(host_of(key_data, key_len), why);
        const auto seen = host ? sightings().find(*host) : sightings().end();
        if (seen == sightings().end())
            return 0;
        *found = seen->second.found;
        *nd = seen->second.is_nd();
        return 1;
    } catch (const std::exception &) {
        return 0;
    }
}
