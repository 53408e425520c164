#include "reply.h"

#include <kov/platform/cli.h>
#include <kov_host.h>

#include <algorithm>

namespace kov_lab
{
namespace
{

std::string padded(const std::string &text, int width)
{
    const std::size_t wide = std::max(text.size(), static_cast<std::size_t>(width));
    return std::string(text).append(wide - text.size(), ' ');
}

std::string member_name(std::string_view label)
{
    std::string name{label};
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == ' ' || c == '-'; }, '_');
    return name;
}

std::string plain(const Json &value)
{
    if (value.is_boolean())
        return value.get<bool>() ? "yes" : "no";
    return value.is_string() ? value.get<std::string>() : value.dump();
}

// Asks at the end of a screen, unless it is the end of all.
void print_lines(void *cli, std::string_view text)
{
    while (!text.empty()) {
        const std::size_t size = std::min(text.find('\n') + 1, text.size());
        const std::string_view line = text.substr(0, size);
        cli_cmd_printf(cli, "%.*s", static_cast<int>(line.size()), line.data());
        text.remove_prefix(size);
        if (!text.empty() && cli_more_output(cli) == 0)
            return;
    }
}

Json value_of(const Reply &reply)
{
    if (!reply.json.is_null())
        return reply.json;
    std::string text = reply.text;
    if (text.ends_with('\n'))
        text.pop_back();
    return {{reply.status == done ? "text" : "error", text}};
}

} // namespace

Reply said(bool good, const std::string &sentence, Json json)
{
    return {good ? done : refused, sentence + "\n", std::move(json)};
}

Reply refusal(const std::string &why) { return said(false, why); }

Reply misuse(const std::string &usage) { return {misused, "usage: " + usage + "\n"}; }

std::string json_text(const Reply &reply)
{
    return value_of(reply).dump(2, ' ', true, Json::error_handler_t::replace) + "\n";
}

int print(void *cli, const Reply &reply)
{
    if (kov_host_cli_json(cli) == 0)
        print_lines(cli, reply.text);
    else
        cli_cmd_printf(cli, "%s", json_text(reply).c_str());
    return reply.status;
}

Table::Table(const char *name, std::vector<Column> columns) : name_(name), columns_(std::move(columns))
{
    std::vector<std::string> titles;
    for (const Column &column : columns_)
        titles.emplace_back(column.title);
    line(titles);
}

void Table::line(const std::vector<std::string> &cells)
{
    for (std::size_t i = 0; i + 1 < cells.size(); ++i)
        text_ += padded(cells[i], columns_[i].width) + " ";
    text_ += cells.back() + "\n";
}

void Table::add(const std::vector<std::string> &cells, Json object)
{
    line(cells);
    rows_.push_back(std::move(object));
}

void Listing::add(std::string_view label, Json value)
{
    text_ += std::string(label) + ": " + plain(value) + "\n";
    members_[member_name(label)] = std::move(value);
}

void Listing::add(std::string_view label, const std::string &text, const Json &members)
{
    text_ += std::string(label) + ": " + text + "\n";
    members_.update(members);
}

Json object_of(Json key, std::span<const Field> fields, const void *record)
{
    for (const Field &field : fields) {
        const std::string text = field_text(field, record);
        if (field.kind == Kind::number)
            key[field.name] = std::stoul(text);
        else if (field.kind == Kind::yes_no || field.kind == Kind::on_off)
            key[field.name] = text == "yes" || text == "on";
        else
            key[field.name] = text;
    }
    return key;
}

Reply record_reply(const Json &key, std::span<const Field> fields, const void *record)
{
    std::string text;
    for (const Field &field : fields)
        text += padded(field.name, 26) + " " + field_text(field, record) + "\n";
    return {done, text, object_of(key, fields, record)};
}

} // namespace kov_lab
