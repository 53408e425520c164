#include "settings.h"

#include "message_types.h"

#include <kov/kov_messages.h>

namespace kov_lab
{
namespace
{

// The word that forces a message type, among the settings of a change.
constexpr std::string_view as_word = "as";

struct Setting {
    std::string_view name;
    std::string_view value;
};

bool split(std::string_view text, Setting &out, std::string &why)
{
    const std::size_t equals = text.find('=');
    if (equals == 0 || equals == text.npos) {
        why = "\"" + std::string(text) + "\" is not FIELD=VALUE";
        return false;
    }
    out = {text.substr(0, equals), text.substr(equals + 1)};
    return true;
}

std::string types_text(bool (*allowed)(std::uint32_t))
{
    std::string text;
    for (std::uint32_t mtype = 1; mtype < KOV_MTYPE_END; ++mtype)
        if (allowed(mtype))
            text += (text.empty() ? "" : ", ") + mtype_word(mtype) + " (" + std::to_string(mtype) + ")";
    return text;
}

bool set_type(std::string_view text, bool (*allowed)(std::uint32_t), std::uint32_t &as, std::string &why)
{
    const auto mtype = parse_mtype(text, why);
    if (!mtype || !allowed(*mtype)) {
        why = "as: no message of type " + std::string(text) + " tells of such a change; those that do are " +
              types_text(allowed);
        return false;
    }
    as = *mtype;
    return true;
}

} // namespace

bool apply(std::span<const Field> fields, bool (*allowed)(std::uint32_t mtype), Settings settings,
           void *record, std::uint32_t &as, std::string &why)
{
    as = 0;
    for (const std::string_view text : settings) {
        Setting setting;
        if (!split(text, setting, why))
            return false;
        const std::string name{setting.name};
        if (name == as_word) {
            if (!set_type(setting.value, allowed, as, why))
                return false;
            continue;
        }
        const Field *field = find_field(fields, name);
        if (field == nullptr) {
            why = name + ": is not a field; the fields are " + names_of(fields);
            return false;
        }
        if (!set_field(*field, record, setting.value, why)) {
            why.insert(0, name + ": ");
            return false;
        }
    }
    return true;
}

bool names_field(Settings settings, std::string_view name)
{
    for (const std::string_view text : settings)
        if (text.substr(0, text.find('=')) == name)
            return true;
    return false;
}

std::string changes_text(std::span<const Field> fields, const void *before, const void *now)
{
    std::string text;
    for (const Field &field : fields)
        if (!same_field(field, before, now))
            text += (text.empty() ? "" : ", ") + std::string(field.name) + " " + field_text(field, before) +
                    " -> " + field_text(field, now);
    return text.empty() ? "nothing changed" : text;
}

} // namespace kov_lab
