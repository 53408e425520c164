// What the kit's tests share: bytes, tables, and a random sequence that is the same in every run.
//
// Everything here is made of the boundary headers and the standard library. Blocks that are handed to a
// platform have exactly the size that the platform may touch, on the heap, so that a sanitizer sees the first
// byte too many.
#pragma once

#include <kov/platform/fcodec.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <random>
#include <vector>

namespace kit
{

using Bytes = std::vector<uint8_t>;

// 1, 2, 3, ... from `first` on: bytes that tell their place.
inline Bytes counting(std::size_t size, uint8_t first = 1)
{
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<uint8_t>(first + i);
    return bytes;
}

class Random
{
public:
    explicit Random(uint32_t seed) : engine_(seed) {}
    uint32_t below(uint32_t end) { return static_cast<uint32_t>(engine_() % end); }
    uint32_t word() { return static_cast<uint32_t>(engine_()); }
    bool one_in(uint32_t n) { return below(n) == 0; }

private:
    std::mt19937 engine_;
};

// A copy of some bytes at an odd address, in a block that ends with them.
class OddCopy
{
public:
    explicit OddCopy(const Bytes &bytes) : block_(new uint8_t[bytes.size() + 1])
    {
        if (!bytes.empty())
            std::memcpy(data(), bytes.data(), bytes.size());
    }
    uint8_t *data() { return block_.get() + 1; }

private:
    std::unique_ptr<uint8_t[]> block_;
};

// A schema table that a test writes row by row.
class Table
{
public:
    explicit Table(uint32_t record_size) : head_{record_size, "kit_record_t", {0, 0}} { end(); }

    Table &plain(uint32_t id, uint32_t offset, uint32_t width)
    {
        return row(id, offset, width, FCODEC_KIND_PLAIN);
    }
    Table &string(uint32_t id, uint32_t offset, uint32_t width)
    {
        return row(id, offset, width, FCODEC_KIND_STRING);
    }
    Table &nested(uint32_t id, uint32_t offset, uint32_t width)
    {
        return row(id, offset, width, FCODEC_KIND_NESTED);
    }
    Table &routed(uint32_t id, uint32_t offset, uint32_t width, fcodec_copy copy, fcodec_data_size data_size)
    {
        row(id, offset, width, FCODEC_KIND_STRING);
        rows_[count_ - 1].copy = copy;
        rows_[count_ - 1].data_size = data_size;
        return *this;
    }
    Table &row(uint32_t id, uint32_t offset, uint32_t width, uint32_t kind)
    {
        rows_.at(count_++) = {id, width, offset, kind, nullptr, nullptr, {0, 0}, 0, width, 0xFFFFFFFFu, 0};
        end();
        return *this;
    }

    const fcodec_table *get() const { return &head_; }
    const fcodec_row *row_at(std::size_t i) const { return &rows_.at(i); }
    uint32_t record_size() const { return head_.size; }

    // Whether some row covers the record's byte.
    bool covers(uint32_t offset) const
    {
        for (std::size_t i = 0; i < count_; ++i)
            if (offset >= rows_[i].offset && offset - rows_[i].offset < rows_[i].width)
                return true;
        return false;
    }

private:
    void end()
    {
        constexpr uint32_t ones = 0xFFFFFFFFu;
        rows_.at(count_) = {ones, ones, ones, 0, nullptr, nullptr, {0, 0}, ones, ones, ones, 0};
    }

    fcodec_table head_;
    std::array<fcodec_row, 17> rows_ = {};
    std::size_t count_ = 0;
};

} // namespace kit
