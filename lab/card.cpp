#include "card.h"

#include <kov_host.h>

#include <charconv>
#include <cstdio>

namespace kov_lab
{

std::optional<std::int32_t> parse_card(std::string_view text, std::string &why)
{
    if (text == "none")
        return no_card;
    const bool hex = text.starts_with("0x");
    const std::string_view digits = hex ? text.substr(2) : text;
    std::uint16_t type = 0;
    const auto [stop, code] = std::from_chars(digits.begin(), digits.end(), type, hex ? 16 : 10);
    if (code == std::errc{} && stop == digits.end())
        return type;
    why = '"' + std::string(text) + "\" is no card type: 0 to 65535, like 0x2101, or none";
    return std::nullopt;
}

std::string card_text(std::int32_t type)
{
    char text[8];
    std::snprintf(text, sizeof text, "0x%04x", static_cast<unsigned>(type) & 0xFFFFu);
    return type == no_card ? "none" : text;
}

Reply set_card(const Call &call)
{
    std::string why;
    const auto type = parse_card(call.words[0], why);
    if (!type)
        return refusal(why);
    if (kov_host_card_set(*type) != 0)
        return refusal(kov_host_error());
    return said(true, "the card is " + card_text(*type));
}

} // namespace kov_lab
