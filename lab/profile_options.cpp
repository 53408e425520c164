#include "profile_options.h"

#include "messages.h"
#include "reply.h"

#include <cstddef>
#include <limits>

namespace kov_lab
{
namespace
{

constexpr std::uint32_t any = std::numeric_limits<std::uint32_t>::max();

constexpr Field number(const char *name, std::size_t offset, std::size_t width, std::uint32_t high = any)
{
    return {name, Kind::number, offset, width, 0, high, 0};
}

constexpr Field text(const char *name, std::size_t offset, std::size_t width)
{
    return {name, Kind::text, offset, width, 0, 0, 0};
}

#define OPTION(NAME) offsetof(kov_profile_options_t, NAME), sizeof(kov_profile_options_t::NAME)
#define CONFIG(NAME)                                                                                         \
    offsetof(kov_profile_options_t, config_profile) + offsetof(kov_config_profile_data_t, NAME),             \
        sizeof(kov_config_profile_data_t::NAME)

// clang-format off
constexpr Field rows[] = {
    number("entity",         OPTION(entity_id_type), 255),
    number("vni",            OPTION(vni)),
    number("vlan",           OPTION(vlan)),
    {"mac", Kind::mac,       OPTION(mac), 0, 0, 0},
    text("domain",           OPTION(prof_opt_md_name)),
    text("host_id",          OPTION(prof_opt_host_id)),
    text("vrf",              OPTION(prof_opt_vrf_name)),
    text("profile",          CONFIG(c_profile_name)),
    text("instance",         CONFIG(c_instance_name)),
    text("include_vrf",      CONFIG(c_include_vrf_name)),
    text("include_profile",  CONFIG(c_include_profile_name)),
    text("include_instance", CONFIG(c_include_instance_name)),
    text("user_data",        OPTION(prof_opt_user_data)),
};
// clang-format on

#undef OPTION
#undef CONFIG

using AddParameter = std::uint32_t (*)(kov_profile_options_t *options, const char *text);

// A list of parameters: its name, the call that appends to it, and where it is.
struct List {
    const char *name;
    AddParameter add;
    std::size_t count_at; // in the options; the entries follow
};

constexpr std::size_t config_at = offsetof(kov_profile_options_t, config_profile);
constexpr List lists[] = {
    {"param", kov_profile_options_add_param, config_at + offsetof(kov_config_profile_data_t, param_count)},
    {"include_param", kov_profile_options_add_include_param,
     config_at + offsetof(kov_config_profile_data_t, include_param_count)},
};

constexpr std::size_t longest_parameter = 255;

bool add_parameter(const List &list, kov_profile_options_t &out, const char *value, std::string &why)
{
    if (std::string_view(value).size() > longest_parameter) {
        why = std::string(list.name) + ": is longer than 255 characters";
        return false;
    }
    why = std::string(list.name) + ": there is no room for more";
    return list.add(&out, value) != 0;
}

bool set_option(const char *word, kov_profile_options_t &out, std::string &why)
{
    const std::string_view whole = word;
    const std::size_t equals = whole.find('=');
    const std::string_view name = whole.substr(0, equals);
    if (equals == 0 || equals == whole.npos) {
        why = '"' + std::string(whole) + "\" is not OPTION=VALUE";
        return false;
    }
    for (const List &list : lists)
        if (name == list.name)
            return add_parameter(list, out, word + equals + 1, why);
    const Field *field = find_field(rows, name);
    if (field == nullptr) {
        why = std::string(name) + ": is not an option; the options are " + option_names();
        return false;
    }
    if (set_field(*field, &out, whole.substr(equals + 1), why))
        return true;
    why.insert(0, std::string(name) + ": ");
    return false;
}

bool names_entity(std::span<const char *const> words)
{
    for (const std::string_view word : words)
        if (word.starts_with("entity="))
            return true;
    return false;
}

// One more word; in quotes when it has a blank, as a shell wants it.
void add_word(std::string_view name, const std::string &value, std::string &text)
{
    const char *const quote = value.find(' ') == value.npos ? "" : "\"";
    text += (text.empty() ? "" : " ") + std::string(quote) + std::string(name) + '=' + value + quote;
}

// The entries of a list, as far as they lie inside it.
std::vector<std::string> parameters(const List &list, const kov_profile_options_t &options)
{
    std::vector<std::string> texts;
    const auto *count = reinterpret_cast<const std::uint8_t *>(&options) + list.count_at;
    auto entries = std::span(count + 1, KOV_PROFILE_PARAM_SIZE);
    for (unsigned i = 0; i < *count; ++i) {
        if (entries.size() < 2 || entries.size() - 2 < entries[1])
            break;
        texts.push_back(printable(entries.data() + 2, entries[1]));
        entries = entries.subspan(2 + std::size_t{entries[1]});
    }
    return texts;
}

} // namespace

bool parse_options(std::span<const char *const> words, kov_profile_options_t &out, std::string &why)
{
    kov_profile_options_init(&out);
    for (const char *word : words)
        if (!set_option(word, out, why))
            return false;
    if (!names_entity(words) && out.vni == 0 && out.vlan != 0)
        out.entity_id_type = KOV_PROFILE_ENTITY_VLAN;
    return true;
}

std::span<const Field> option_fields() { return rows; }

Json options_json(const kov_profile_options_t &options)
{
    static constexpr kov_profile_options_t nothing{};
    const Json all = object_of(Json::object(), rows, &options);
    Json said = Json::object();
    for (const Field &field : rows)
        if (!same_field(field, &options, &nothing))
            said[field.name] = all[field.name];
    for (const List &list : lists)
        if (const auto texts = parameters(list, options); !texts.empty())
            said[list.name] = texts;
    return said;
}

std::string options_text(const kov_profile_options_t &options)
{
    static constexpr kov_profile_options_t nothing{};
    std::string text;
    for (const Field &field : rows) {
        const std::string value = field_text(field, &options);
        if (!same_field(field, &options, &nothing))
            add_word(field.name, printable(value.data(), value.size()), text);
    }
    for (const List &list : lists)
        for (const std::string &parameter : parameters(list, options))
            add_word(list.name, parameter, text);
    return text;
}

std::string option_names()
{
    std::string names = names_of(rows);
    for (const List &list : lists)
        names += ", " + std::string(list.name);
    return names;
}

} // namespace kov_lab
