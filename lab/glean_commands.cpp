#include "glean_commands.h"

#include "database.h"
#include "interfaces.h"
#include "route_commands.h"
#include "values.h"

#include <kov/kov_events.h>
#include <kov_host.h>

#include <cstring>
#include <limits>
#include <string_view>

namespace kov_lab
{
namespace
{

struct Glean {
    std::string vrf;
    std::uint32_t vrf_id = 0;
    Network destination;
    Network source;
    std::uint32_t svi = 0;
    std::uint32_t iif = 0;
    std::uint32_t value = 0;

    bool is_v4() const { return destination.family == 0; }
};

bool parse_hosts(const char *destination, const char *source, Glean &out, std::string &why)
{
    const auto to = parse_host(destination, why);
    const auto from = to ? parse_host(source, why) : std::nullopt;
    if (!from)
        return false;
    out.destination = *to;
    out.source = *from;
    if (to->family != from->family)
        why = "destination and source are of two families";
    return to->family == from->family;
}

bool parse_option(std::string_view word, Glean &out, std::string &why)
{
    if (word.starts_with("value=")) {
        const auto number = parse_number(word.substr(6), 0, std::numeric_limits<std::uint32_t>::max(), why);
        out.value = number.value_or(0);
        return number.has_value();
    }
    if (!word.starts_with("iif=")) {
        why = '"' + std::string(word) + "\" is none of iif= and value=";
        return false;
    }
    out.iif = interface_of_name(word.substr(4), why);
    return out.iif != 0;
}

bool parse_glean(Words words, Glean &out, std::string &why)
{
    out.vrf = words[0];
    const auto vrf_id = vrf_id_of(out.vrf, why);
    if (!vrf_id || !parse_hosts(words[1], words[2], out, why))
        return false;
    out.vrf_id = *vrf_id;
    out.svi = svi_of_name(words[3], why);
    out.iif = out.svi; // unless told otherwise
    if (out.svi == 0)
        return false;
    for (const char *word : words.subspan(4))
        if (!parse_option(word, out, why))
            return false;
    return true;
}

// An address as the library takes it: 16 bytes, of which IPv4 uses the first four as a number.
std::array<std::uint8_t, 16> glean_address(const Network &host)
{
    if (host.family != 0)
        return host.address;
    std::array<std::uint8_t, 16> bytes{};
    const std::uint32_t v4 = v4_address(host);
    std::memcpy(bytes.data(), &v4, sizeof v4);
    return bytes;
}

// The result of the call for the route, or for none.
std::uint32_t process(const Glean &glean, const void *route)
{
    const auto to = glean_address(glean.destination);
    const auto from = glean_address(glean.source);
    return kov_process_glean_notification(route, glean.vrf_id, glean.iif, glean.value, glean.svi,
                                          glean.is_v4() ? 1 : 0, to.data(), from.data());
}

std::string call_text(const Glean &glean, const void *route)
{
    return std::string("kov_process_glean_notification(") + (route != nullptr ? "a route" : "no route") +
           ", VRF " + glean.vrf + ", " + host_text(glean.destination) + " from " + host_text(glean.source) +
           " on " + name_of_interface(glean.svi) + ")";
}

kov_host_counters counters_now()
{
    kov_host_counters counters;
    kov_host_counters_get(&counters);
    return counters;
}

Json json_of(const Glean &glean, const void *route)
{
    return {{"call", "kov_process_glean_notification"},
            {"route", route != nullptr},
            {"vrf", glean.vrf},
            {"destination", host_text(glean.destination)},
            {"source", host_text(glean.source)},
            {"svi", name_of_interface(glean.svi)},
            {"iif", name_of_interface(glean.iif)}};
}

} // namespace

Reply tell_glean(const Call &call)
{
    Glean glean;
    std::string why;
    if (!parse_glean(call.words, glean, why))
        return refusal(why);
    const void *route = kov_host_route_find(glean.vrf_id, host_text(glean.destination).c_str());
    const std::uint64_t reads = database_reads();
    const kov_host_counters before = counters_now();
    const std::uint32_t result = process(glean, route);
    const kov_host_counters after = counters_now();
    const bool failed = after.ipc_send_failures != before.ipc_send_failures;
    const bool told = after.ipc_sends != before.ipc_sends;
    Json json = json_of(glean, route);
    json.update(Json{{"result", result}, {"told_server", told}});
    json.update(source_json(reads));
    const char *effect = failed ? ", the message could not be sent, "
                         : told ? ", told the server, "
                                : ", nothing to tell, ";
    return said(!failed,
                call_text(glean, route) + " = " + std::to_string(result) + effect + source_since(reads),
                json);
}

void complete_glean(const Call &call, Candidates &out)
{
    complete_known_vrf(call, out);
    if (place_of(call) == 3)
        out.emplace_back(svi_kind);
    else if (place_of(call) > 3)
        out = {"iif=", "value=", std::string("iif=") + svi_kind, std::string("iif=") + port_kind};
}

} // namespace kov_lab
