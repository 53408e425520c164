#include "checked_json.h"

#include "values.h"

#include <algorithm>

namespace kov_lab
{
namespace
{

using nlohmann::json;

// What stands in a JSON file where a field of this kind is wanted, and how a message calls it.
struct Shape {
    Kind kind;
    json::value_t type;
    const char *name;
};

// clang-format off
constexpr Shape shapes[] = {
    {Kind::number, json::value_t::number_unsigned, "a whole number"},
    {Kind::yes_no, json::value_t::boolean,         "true or false"},
    {Kind::on_off, json::value_t::boolean,         "true or false"},
    {Kind::roles,  json::value_t::array,           "a list of roles"},
};
// clang-format on
constexpr Shape text_shape = {Kind::text, json::value_t::string, "a text in quotes"};

const Shape &shape_of(Kind kind)
{
    for (const Shape &shape : shapes)
        if (shape.kind == kind)
            return shape;
    return text_shape;
}

std::string shown(const std::string &pointer)
{
    std::string text;
    std::size_t at = 0;
    while (at < pointer.size()) {
        const std::size_t end = std::min(pointer.find('/', at + 1), pointer.size());
        const std::string step = pointer.substr(at + 1, end - at - 1);
        const bool index = !step.empty() && step.find_first_not_of("0123456789") == std::string::npos;
        text += index ? '[' + step + ']' : (text.empty() ? "" : ".") + step;
        at = end;
    }
    return text.empty() ? "scenario" : text;
}

// The place of an object's member.
std::string under(const std::string &pointer, const std::string &name) { return pointer + "/" + name; }

} // namespace

bool CheckedJson::read()
{
    std::string problem;
    if (read_json(path_, file_, problem))
        return true;
    mistakes_.push_back(problem);
    return false;
}

void CheckedJson::mistake(const std::string &pointer, const std::string &what)
{
    mistakes_.push_back(path_ + ":" + std::to_string(file_.line_of(pointer)) + ": " + shown(pointer) + ": " +
                        what);
}

bool CheckedJson::expect(const json &value, const std::string &pointer, json::value_t type, const char *name)
{
    if (value.type() == type)
        return true;
    mistake(pointer, "must be " + std::string(name) + ", not " + value.dump(-1, ' ', true).substr(0, 40));
    return false;
}

std::optional<std::string> CheckedJson::text(const json &value, const std::string &pointer)
{
    if (!expect(value, pointer, text_shape.type, text_shape.name))
        return std::nullopt;
    return value.get<std::string>();
}

std::optional<std::uint32_t> CheckedJson::number(const json &value, const std::string &pointer,
                                                 std::uint32_t low, std::uint32_t high)
{
    // A negative number is a number out of range, not something else.
    if (!value.is_number_integer() && !expect(value, pointer, shapes[0].type, shapes[0].name))
        return std::nullopt;
    std::string why;
    const auto parsed = parse_number(value.dump(), low, high, why);
    if (!parsed)
        mistake(pointer, why);
    return parsed;
}

const json *CheckedJson::member(const json &object, const std::string &pointer, const char *name,
                                const char *what)
{
    if (object.contains(name))
        return &object[name];
    mistake(pointer, "has no \"" + std::string(name) + "\", " + what);
    return nullptr;
}

void CheckedJson::expect_only(const json &object, const std::string &pointer,
                              std::initializer_list<const char *> names)
{
    std::string all;
    for (const char *name : names)
        all += (all.empty() ? "" : ", ") + std::string(name);
    for (const auto &[name, value] : object.items())
        if (std::find(names.begin(), names.end(), name) == names.end())
            mistake(under(pointer, name), "is not a field; the fields are " + all);
}

bool CheckedJson::is_first(const std::string &thing, const std::string &pointer)
{
    const auto [first, fresh] = first_lines_.emplace(thing, file_.line_of(pointer));
    if (!fresh)
        mistake(pointer, thing + " is there already, at line " + std::to_string(first->second));
    return fresh;
}

void CheckedJson::read_fields(std::span<const Field> fields, const json &object, const std::string &pointer,
                              std::string_view key, void *record)
{
    for (const auto &[name, value] : object.items())
        if (name != key)
            read_field(fields, name, value, under(pointer, name), record);
}

void CheckedJson::read_field(std::span<const Field> fields, const std::string &name, const json &value,
                             const std::string &pointer, void *record)
{
    const Field *field = find_field(fields, name);
    if (field == nullptr) {
        mistake(pointer, "is not a field; the fields are " + names_of(fields));
        return;
    }
    const Shape &shape = shape_of(field->kind);
    const bool negative = shape.type == json::value_t::number_unsigned && value.is_number_integer();
    if (!negative && !expect(value, pointer, shape.type, shape.name))
        return;
    std::string why;
    std::string text;
    if (field_text(value, pointer, text) && !set_field(*field, record, text, why))
        mistake(pointer, why);
}

// What set_field takes.
bool CheckedJson::field_text(const json &value, const std::string &pointer, std::string &text)
{
    if (value.is_boolean())
        text = value.get<bool>() ? "yes" : "no";
    else if (value.is_string())
        text = value.get<std::string>();
    else if (!value.is_array())
        text = value.dump();
    else if (value.empty())
        text = "none";
    else
        for (std::size_t i = 0; i < value.size(); ++i) {
            const auto role = this->text(value[i], pointer + "/" + std::to_string(i));
            if (!role)
                return false;
            text += (i == 0 ? "" : "+") + *role;
        }
    return true;
}

} // namespace kov_lab
