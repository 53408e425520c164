// Schema tables as what they are to a stranger: words, and pointers at their natural alignment.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

class Words
{
public:
    explicit Words(const void *at) : first_(static_cast<const uint8_t *>(at)) {}
    uint32_t word() { return take<uint32_t>(); }
    const char *pointer() { return take<const char *>(); }
    std::size_t read() const { return at_; }

private:
    template <class T>
    T take()
    {
        at_ = (at_ + sizeof(T) - 1) / sizeof(T) * sizeof(T);
        T value;
        std::memcpy(&value, first_ + at_, sizeof value);
        at_ += sizeof value;
        return value;
    }
    const uint8_t *first_;
    std::size_t at_ = 0;
};

// A row's twelve words, the two that are pointers as 0 or 1.
inline std::vector<uint32_t> next_row(Words &words)
{
    std::vector<uint32_t> row;
    for (int i = 0; i < 4; ++i)
        row.push_back(words.word());
    for (int i = 0; i < 2; ++i)
        row.push_back(words.pointer() ? 1 : 0);
    for (int i = 0; i < 6; ++i)
        row.push_back(words.word());
    return row;
}

constexpr bool wide = sizeof(void *) == 8;
constexpr std::size_t header_size = wide ? 24 : 16, row_size = wide ? 56 : 48;
constexpr uint32_t ones = 0xFFFFFFFF;
