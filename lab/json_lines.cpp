#include "json_lines.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>
#include <vector>

namespace kov_lab
{
namespace
{

using nlohmann::json;

// Where the parser stands: it reads one character past a number, so the line that counts is that of the last
// character that is not blank.
struct Position {
    int line = 1;
    int token_line = 1;
};

// Hands the text to the parser and keeps count.
class CountingIterator
{
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char *;
    using reference = const char &;

    CountingIterator(const char *at, Position *position) : at_(at), position_(position) {}
    reference operator*() const { return *at_; }
    CountingIterator &operator++()
    {
        if (std::strchr(" \t\r\n", *at_) == nullptr)
            position_->token_line = position_->line;
        position_->line += *at_ == '\n' ? 1 : 0;
        ++at_;
        return *this;
    }
    CountingIterator operator++(int)
    {
        CountingIterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const CountingIterator &other) const { return at_ == other.at_; }
    bool operator!=(const CountingIterator &other) const { return at_ != other.at_; }

private:
    const char *at_;
    Position *position_;
};

// Follows the parser through the text. A level is an object or an array that is open.
class LineIndex : public json::json_sax_t
{
public:
    LineIndex(const Position &position, std::map<std::string, int> &lines)
        : position_(position), lines_(lines)
    {
    }

    const std::string &repeated_key() const { return repeated_key_; }
    int repeated_line() const { return repeated_line_; }

    bool null() override { return value(); }
    bool boolean(bool) override { return value(); }
    bool number_integer(number_integer_t) override { return value(); }
    bool number_unsigned(number_unsigned_t) override { return value(); }
    bool number_float(number_float_t, const string_t &) override { return value(); }
    bool string(string_t &) override { return value(); }
    bool binary(binary_t &) override { return value(); }
    bool start_object(std::size_t) override { return open(false); }
    bool start_array(std::size_t) override { return open(true); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }
    bool parse_error(std::size_t, const std::string &, const json::exception &) override { return false; }

    bool key(string_t &name) override
    {
        levels_.back().step = name;
        if (lines_.emplace(pointer(), position_.token_line).second || !repeated_key_.empty())
            return true;
        repeated_key_ = name;
        repeated_line_ = position_.token_line;
        return true;
    }

private:
    struct Level {
        bool array;
        std::size_t index; // of the next element
        std::string step;  // the key or the index of the value that is being read
    };

    std::string pointer() const
    {
        json::json_pointer path;
        for (const Level &level : levels_)
            path.push_back(level.step);
        return path.to_string();
    }

    bool value()
    {
        if (!levels_.empty() && levels_.back().array)
            levels_.back().step = std::to_string(levels_.back().index++);
        lines_.emplace(pointer(), position_.token_line); // a member keeps the line of its key
        return true;
    }

    bool open(bool array)
    {
        value();
        levels_.push_back({array, 0, {}});
        return true;
    }

    bool close()
    {
        levels_.pop_back();
        return true;
    }

    const Position &position_;
    std::map<std::string, int> &lines_;
    std::vector<Level> levels_;
    std::string repeated_key_;
    int repeated_line_ = 0;
};

bool read_text(const std::string &path, std::string &text, std::string &problem)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    char block[4096];
    for (std::size_t size = 1; file && size > 0;) {
        size = std::fread(block, 1, sizeof block, file.get());
        text.append(block, size);
    }
    if (!file || std::ferror(file.get()) != 0)
        problem = path + ": cannot be read: " + std::strerror(errno);
    else if (text.empty())
        problem = path + ": is empty";
    return problem.empty();
}

// The parser's sentence without its own positions and numbering.
std::string cause_of(const json::parse_error &error)
{
    const std::string whole = error.what();
    const std::size_t from = whole.find(": ");
    return from == std::string::npos ? whole : whole.substr(from + 2);
}

std::string place_of(const std::string &text, std::size_t byte)
{
    const std::size_t end = std::min(byte, text.size());
    int line = 1;
    int column = 0;
    for (std::size_t i = 0; i < end; ++i) {
        ++column;
        if (text[i] == '\n' && i + 1 < end) {
            ++line;
            column = 0;
        }
    }
    return std::to_string(line) + ":" + std::to_string(column);
}

} // namespace

int JsonFile::line_of(const std::string &pointer) const
{
    const auto found = lines.find(pointer);
    return found == lines.end() ? 1 : found->second;
}

bool read_json(const std::string &path, JsonFile &out, std::string &problem)
{
    std::string text;
    problem.clear();
    if (!read_text(path, text, problem))
        return false;
    try {
        out.values = json::parse(text);
    } catch (const json::parse_error &error) {
        problem = path + ":" + place_of(text, error.byte) + ": is not JSON: " + cause_of(error);
        return false;
    }
    Position position;
    LineIndex index(position, out.lines);
    const CountingIterator begin(text.data(), &position);
    const CountingIterator end(text.data() + text.size(), &position);
    json::sax_parse(begin, end, &index);
    if (index.repeated_key().empty())
        return true;
    problem = path + ":" + std::to_string(index.repeated_line()) + ": " + index.repeated_key() +
              ": stands twice in the same object";
    return false;
}

} // namespace kov_lab
