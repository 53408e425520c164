// A JSON file on its way into records: what must stand where, and a mistake with its line for all else.
//
// Every mistake is one line, "FILE:LINE: FIELD: what is wrong". A check that fails adds a mistake and gives
// nothing, so that a caller goes on with the rest of the file and finds every mistake at once. A place in the
// file is a JSON pointer, "/svis/3/fwd_mode", which a person sees as svis[3].fwd_mode.
#pragma once

#include "fields.h"
#include "json_lines.h"

#include <initializer_list>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kov_lab
{

class CheckedJson
{
public:
    CheckedJson(const std::string &path, std::vector<std::string> &mistakes)
        : path_(path), mistakes_(mistakes)
    {
    }

    // False when there is no JSON in the file.
    bool read();
    const nlohmann::json &values() const { return file_.values; }

    void mistake(const std::string &pointer, const std::string &what);
    bool expect(const nlohmann::json &value, const std::string &pointer, nlohmann::json::value_t type,
                const char *name);

    // Calls visit(element, pointer) for each element of the list; `what` is the list's name in a mistake.
    template <typename Visit>
    void each(const nlohmann::json &list, const std::string &pointer, const char *what, Visit visit)
    {
        if (!expect(list, pointer, nlohmann::json::value_t::array, what))
            return;
        for (std::size_t i = 0; i < list.size(); ++i)
            visit(list[i], pointer + "/" + std::to_string(i));
    }
    // The same for a list of objects.
    template <typename Visit>
    void each_object(const nlohmann::json &list, const std::string &pointer, const char *what, Visit visit)
    {
        each(list, pointer, what, [&](const nlohmann::json &object, const std::string &at) {
            if (expect(object, at, nlohmann::json::value_t::object, "an object"))
                visit(object, at);
        });
    }

    std::optional<std::string> text(const nlohmann::json &value, const std::string &pointer);
    std::optional<std::uint32_t> number(const nlohmann::json &value, const std::string &pointer,
                                        std::uint32_t low, std::uint32_t high);

    // The member that must be there; null, with a mistake that explains it as `what`, when it is not.
    const nlohmann::json *member(const nlohmann::json &object, const std::string &pointer, const char *name,
                                 const char *what);

    // A mistake for each other member of the object.
    void expect_only(const nlohmann::json &object, const std::string &pointer,
                     std::initializer_list<const char *> names);

    // False, with a mistake, for a thing that the file has named before.
    bool is_first(const std::string &thing, const std::string &pointer);

    // Everything in the object but its key goes into the record.
    void read_fields(std::span<const Field> fields, const nlohmann::json &object, const std::string &pointer,
                     std::string_view key, void *record);

private:
    void read_field(std::span<const Field> fields, const std::string &name, const nlohmann::json &value,
                    const std::string &pointer, void *record);
    bool field_text(const nlohmann::json &value, const std::string &pointer, std::string &text);

    const std::string &path_;
    std::vector<std::string> &mistakes_;
    JsonFile file_;
    std::map<std::string, int> first_lines_;
};

} // namespace kov_lab
