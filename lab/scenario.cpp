#include "scenario.h"

#include "fields.h"
#include "json_lines.h"

#include <algorithm>
#include <cstdio>

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

class Loader
{
public:
    Loader(const std::string &path, Scenario &out, std::vector<std::string> &mistakes)
        : path_(path), out_(out), mistakes_(mistakes)
    {
    }

    bool load()
    {
        std::string problem;
        if (!read_json(path_, file_, problem)) {
            mistakes_.push_back(problem);
            return false;
        }
        if (expect(file_.values, "", json::value_t::object, "an object"))
            load_members();
        return mistakes_.empty();
    }

private:
    // "/svis/3/fwd_mode" is shown as svis[3].fwd_mode.
    static std::string shown(const std::string &pointer)
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

    void mistake(const std::string &pointer, const std::string &what)
    {
        mistakes_.push_back(path_ + ":" + std::to_string(file_.line_of(pointer)) + ": " + shown(pointer) +
                            ": " + what);
    }

    bool expect(const json &value, const std::string &pointer, json::value_t type, const char *name)
    {
        if (value.type() == type)
            return true;
        mistake(pointer, "must be " + std::string(name) + ", not " + value.dump(-1, ' ', true).substr(0, 40));
        return false;
    }

    void load_members()
    {
        for (const auto &[key, value] : file_.values.items()) {
            const std::string pointer = "/" + key;
            if (key == "description")
                expect(value, pointer, json::value_t::string, "a text in quotes");
            else if (key == "vrfs")
                load_vrfs(value);
            else if (key != "general" && key != "svis")
                mistake(pointer, "is not known here; a scenario has description, vrfs, general and svis");
        }
        // After the VRFs, which they name, and in this order, because the general information names an SVI.
        if (file_.values.contains("svis"))
            load_svis(file_.values["svis"]);
        if (file_.values.contains("general"))
            load_general(file_.values["general"]);
    }

    void load_vrfs(const json &list)
    {
        if (!expect(list, "/vrfs", json::value_t::array, "a list of names"))
            return;
        for (std::size_t i = 0; i < list.size(); ++i) {
            const std::string pointer = "/vrfs/" + std::to_string(i);
            if (expect(list[i], pointer, json::value_t::string, "a text in quotes"))
                add_vrf(list[i].get<std::string>(), pointer);
        }
    }

    void add_vrf(const std::string &name, const std::string &pointer)
    {
        if (name.empty() || name.size() >= KOV_VRF_NAME_SIZE)
            mistake(pointer, "must have 1 to 32 characters");
        else if (knows_vrf(name))
            mistake(pointer, "\"" + name + "\" is there already");
        else
            out_.vrfs.push_back(name);
    }

    bool knows_vrf(const std::string &name) const
    {
        return name == "default" || std::count(out_.vrfs.begin(), out_.vrfs.end(), name) != 0;
    }

    void load_general(const json &object)
    {
        if (!expect(object, "/general", json::value_t::object, "an object"))
            return;
        kov_rdb_geninfo_t record = default_geninfo();
        for (const auto &[key, value] : object.items())
            load_field(geninfo_fields(), key, value, "/general/" + key, &record);
        const std::uint32_t control = record.fabric_ctrl_svi;
        if (control != 0 && !out_.svis.contains(control))
            mistake("/general/fabric_ctrl_svi", name_of_svi(control) + " is not among the svis");
        out_.general = record;
    }

    void load_svis(const json &list)
    {
        if (!expect(list, "/svis", json::value_t::array, "a list of SVIs"))
            return;
        for (std::size_t i = 0; i < list.size(); ++i) {
            const std::string pointer = "/svis/" + std::to_string(i);
            if (expect(list[i], pointer, json::value_t::object, "an object"))
                load_svi(list[i], pointer);
        }
    }

    void load_svi(const json &object, const std::string &pointer)
    {
        const std::uint32_t ifindex = key_of(object, pointer);
        kov_rdb_sviinfo_t record = default_svi(ifindex);
        for (const auto &[key, value] : object.items())
            if (key != "svi")
                load_field(svi_fields(), key, value, pointer + ("/" + key), &record);
        if (object.contains("vrf_name") && object["vrf_name"].is_string() &&
            !knows_vrf(object["vrf_name"].get<std::string>()))
            mistake(pointer + "/vrf_name", object["vrf_name"].dump() + " is not among the vrfs");
        if (ifindex != 0)
            out_.svis.emplace(ifindex, record);
    }

    std::uint32_t key_of(const json &object, const std::string &pointer)
    {
        if (!object.contains("svi")) {
            mistake(pointer, "has no \"svi\", the interface's name");
            return 0;
        }
        const json &name = object["svi"];
        if (!expect(name, pointer + "/svi", json::value_t::string, "a text in quotes"))
            return 0;
        std::string why;
        const std::uint32_t ifindex = svi_of_name(name.get<std::string>(), why);
        if (ifindex == 0)
            mistake(pointer + "/svi", why);
        const auto [first, fresh] = first_lines_.emplace(ifindex, file_.line_of(pointer + "/svi"));
        if (ifindex == 0 || fresh)
            return ifindex;
        mistake(pointer + "/svi",
                name.get<std::string>() + " is there already, at line " + std::to_string(first->second));
        return 0;
    }

    void load_field(std::span<const Field> fields, const std::string &key, const json &value,
                    const std::string &pointer, void *record)
    {
        const Field *field = find_field(fields, key);
        if (field == nullptr) {
            mistake(pointer, "is not a field; the fields are " + names_of(fields));
            return;
        }
        const Shape &shape = shape_of(field->kind);
        // A negative number is a number out of range, not something else.
        const bool negative = shape.type == json::value_t::number_unsigned && value.is_number_integer();
        if (!negative && !expect(value, pointer, shape.type, shape.name))
            return;
        std::string why;
        std::string text;
        if (!text_of(value, pointer, text))
            return;
        if (!set_field(*field, record, text, why))
            mistake(pointer, why);
    }

    // What set_field takes.
    bool text_of(const json &value, const std::string &pointer, std::string &text)
    {
        if (value.is_boolean())
            text = value.get<bool>() ? "yes" : "no";
        else if (value.is_string())
            text = value.get<std::string>();
        else if (value.is_array())
            return roles_of(value, pointer, text);
        else
            text = value.dump();
        return true;
    }

    bool roles_of(const json &list, const std::string &pointer, std::string &text)
    {
        for (std::size_t i = 0; i < list.size(); ++i) {
            if (!expect(list[i], pointer + "/" + std::to_string(i), json::value_t::string,
                        "a text in quotes"))
                return false;
            text += (i == 0 ? "" : "+") + list[i].get<std::string>();
        }
        if (list.empty())
            text = "none";
        return true;
    }

    static std::string names_of(std::span<const Field> fields)
    {
        std::string names;
        for (const Field &field : fields)
            names += (names.empty() ? "" : ", ") + std::string(field.name);
        return names;
    }

    const std::string &path_;
    Scenario &out_;
    std::vector<std::string> &mistakes_;
    JsonFile file_;
    std::map<std::uint32_t, int> first_lines_; // of each SVI
};

} // namespace

bool load_scenario(const std::string &path, Scenario &out, std::vector<std::string> &mistakes)
{
    out = {};
    mistakes.clear();
    return Loader(path, out, mistakes).load();
}

kov_rdb_geninfo_t default_geninfo()
{
    kov_rdb_geninfo_t record{};
    kov_rdb_geninfo_default_init(&record);
    return record;
}

kov_rdb_sviinfo_t default_svi(std::uint32_t ifindex)
{
    kov_rdb_sviinfo_t record{};
    kov_rdb_sviinfo_default_init(&record);
    record.svi_ifindex = ifindex;
    unsigned vlan = 0;
    if (std::sscanf(name_of_svi(ifindex).c_str(), "vlan%u", &vlan) == 1)
        record.vlan_id = vlan;
    return record;
}

} // namespace kov_lab
