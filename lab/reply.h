// What a command answers: one value, which a person reads as text and a program as JSON.
//
// A command builds a Reply and knows nothing of who asked; add_commands() (commands.h) prints it. Names of
// JSON members are those that a person types or reads, with "_" between their words.
#pragma once

#include "fields.h"
#include "json.h"

#include <nlohmann/json.hpp>

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kov_lab
{

// The status of a command.
constexpr int done = 0;
constexpr int refused = 1;
constexpr int misused = 2;

struct Reply {
    int status = done;
    std::string text;    // lines, each with its newline
    Json json = nullptr; // null: the text is all there is to say
};

// A sentence, and what it says for a program.
Reply said(bool good, const std::string &sentence, Json json = nullptr);
Reply refusal(const std::string &why);
Reply misuse(const std::string &usage);

// As a program reads it: the JSON value, or {"text": ...}, or {"error": ...}.
std::string json_text(const Reply &reply);

// On the terminal that asks, page by page, or as JSON when the line wanted that. The status.
int print(void *cli, const Reply &reply);

// A table: "list svis".
class Table
{
public:
    struct Column {
        const char *title;
        int width; // the last one's does not count
    };

    // `name` is that of the JSON array.
    Table(const char *name, std::vector<Column> columns);
    void add(const std::vector<std::string> &cells, Json object);
    Reply reply() const { return {done, text_, {{name_, rows_}}}; }

private:
    void line(const std::vector<std::string> &cells);

    const char *name_;
    std::vector<Column> columns_;
    std::string text_;
    Json rows_ = Json::array();
};

// "name: value" lines: "status". Truths read yes and no.
class Listing
{
public:
    void add(std::string_view label, Json value);
    // A line of its own wording, and the members that it stands for.
    void add(std::string_view label, const std::string &text, const Json &members);
    Reply reply() const { return {done, text_, members_}; }

private:
    std::string text_;
    Json members_ = Json::object();
};

// A record's fields: lines "name value", and members behind those of `key`.
Json object_of(Json key, std::span<const Field> fields, const void *record);
Reply record_reply(const Json &key, std::span<const Field> fields, const void *record);

} // namespace kov_lab
