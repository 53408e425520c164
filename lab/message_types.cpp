#include "message_types.h"

#include "values.h"

#include <kov/kov_messages.h>

namespace kov_lab
{
namespace
{

struct TypeRow {
    std::uint32_t mtype;
    const char *word; // as a person types it
    const char *name;
};

// clang-format off
constexpr TypeRow type_rows[] = {
    {KOV_MTYPE_REGISTER,            "register",           "register request"},
    {KOV_MTYPE_REGISTER_ACK,        "register-ack",       "registration acknowledgement"},
    {KOV_MTYPE_DEREGISTER,          "deregister",         "deregister request"},
    {KOV_MTYPE_FABRIC_ID,           "fabric-id",          "fabric id"},
    {KOV_MTYPE_CONV_LEARNING,       "conv-learning",      "conversational learning"},
    {KOV_MTYPE_SWITCH_ROLE,         "switch-role",        "switch role"},
    {KOV_MTYPE_ANYCAST_GW_MAC,      "anycast-gw-mac",     "anycast gateway MAC"},
    {KOV_MTYPE_AGGR_SUB_PFX,        "prefix",             "aggregate subnet prefix"},
    {KOV_MTYPE_SVI_FWD_MODE,        "svi",                "SVI forwarding mode"},
    {KOV_MTYPE_PORT_TRACKING,       "port-tracking",      "port tracking"},
    {KOV_MTYPE_FABRIC_CTRL_SEG,     "fabric-ctrl-seg",    "fabric control segment"},
    {KOV_MTYPE_PROFILE_MGMT,        "profile",            "profile message"},
    {KOV_MTYPE_CONV_AGING_TIMEOUT,  "conv-aging",         "conversational aging timeout"},
    {KOV_MTYPE_FERRO_MIGRATION,     "migration",          "fabric migration"},
    {KOV_MTYPE_SVI_MIGRATION,       "svi-migration",      "SVI migration"},
    {KOV_MTYPE_FWD_ENCAP,           "fwd-encap",          "forwarding encapsulation"},
    {KOV_MTYPE_SWITCH_ROLE_CHANGE,  "switch-role-change", "switch role change"},
    {KOV_MTYPE_SVI_FWD_MODE_CHANGE, "svi-change",         "SVI forwarding mode change"},
    {KOV_MTYPE_SUPPRESS_ARP_TOPO,   "topology",           "suppress-ARP topology"},
    {KOV_MTYPE_PORT_L2DCI,          "port-l2dci",         "port L2DCI"},
};
// clang-format on

// What a client may register for to hear of everything that changes.
constexpr const char *all_word = "all";
constexpr std::uint32_t all_types = 0x1ffff0; // 4 to 20

const TypeRow *row_of(std::uint32_t mtype)
{
    for (const TypeRow &row : type_rows)
        if (row.mtype == mtype)
            return &row;
    return nullptr;
}

// The bits of "svi", "9", "4-20" or "all".
std::optional<std::uint32_t> parse_types(std::string_view text, std::string &why)
{
    if (text == all_word)
        return all_types;
    const std::size_t dash = text.find('-');
    const bool range = dash != text.npos && text.find_first_not_of("0123456789-") == text.npos;
    const auto first = parse_mtype(range ? text.substr(0, dash) : text, why);
    const auto last = range ? parse_mtype(text.substr(dash + 1), why) : first;
    if (!first || !last)
        return std::nullopt;
    std::uint32_t mask = 0;
    for (std::uint32_t mtype = *first; mtype <= *last; ++mtype)
        mask |= 1u << mtype;
    return mask;
}

} // namespace

const char *mtype_name(std::uint32_t mtype)
{
    const TypeRow *row = row_of(mtype);
    return row != nullptr ? row->name : "unknown type";
}

std::string mtype_word(std::uint32_t mtype)
{
    const TypeRow *row = row_of(mtype);
    return row != nullptr ? row->word : std::to_string(mtype);
}

std::vector<std::string> mtype_words()
{
    std::vector<std::string> words;
    for (const TypeRow &row : type_rows)
        words.emplace_back(row.word);
    return words;
}

std::optional<std::uint32_t> parse_mtype(std::string_view text, std::string &why)
{
    for (const TypeRow &row : type_rows)
        if (text == row.word)
            return row.mtype;
    std::string no_number;
    const auto number = parse_number(text, 1, KOV_MTYPE_END - 1, no_number);
    if (number)
        return number;
    why = '"' + std::string(text) + "\" is no message type: 1 to 20";
    for (const TypeRow &row : type_rows)
        why += std::string(", ") + row.word;
    return std::nullopt;
}

std::string mask_words(std::uint32_t mask)
{
    if (mask == all_types)
        return all_word;
    std::string text;
    for (const TypeRow &row : type_rows)
        if ((mask >> row.mtype & 1) != 0)
            text += (text.empty() ? "" : ",") + std::string(row.word);
    return text.empty() ? "none" : text;
}

std::string mask_text(std::uint32_t mask)
{
    std::string text;
    for (unsigned first = 0; first < 32; ++first) {
        if ((mask >> first & 1) == 0)
            continue;
        unsigned last = first;
        while (last < 31 && (mask >> (last + 1) & 1) != 0)
            ++last;
        text += (text.empty() ? "" : ",") + std::to_string(first);
        if (last > first)
            text += "-" + std::to_string(last);
        first = last;
    }
    return text.empty() ? "none" : text;
}

std::optional<std::uint32_t> parse_mask(std::string_view text, std::string &why)
{
    std::uint32_t mask = 0;
    for (;;) {
        const std::size_t comma = text.find(',');
        const auto part = parse_types(text.substr(0, comma), why);
        if (!part)
            return std::nullopt;
        mask |= *part;
        if (comma == text.npos)
            return mask;
        text.remove_prefix(comma + 1);
    }
}

} // namespace kov_lab
