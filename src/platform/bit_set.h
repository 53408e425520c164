// A bit set of the platform, for as long as its owner lives.
#pragma once

#include "api/types.h"

#include <kov/platform/bitfield.h>

namespace kov
{

class bit_set
{
public:
    explicit bit_set(u32 bits) : bits_(bitfield_create(bits)) {}
    ~bit_set() { bitfield_destroy(bits_); }
    bit_set(const bit_set &) = delete;
    bit_set &operator=(const bit_set &) = delete;

    // Takes the first `count` bits over from `bytes`; false when they do not fit, or there is no memory for a
    // set.
    bool copy_in(const void *bytes, u32 count) { return bits_ && !bitfield_copy_in(bits_, 0, bytes, count); }

    bool test(u32 bit) const { return bitfield_test(bits_, bit) != 0; }

    // The bits as one text, in static storage.
    const char *text() const { return bitfield_sprintf(bits_); }

private:
    friend class bit_lines;
    bitfield *bits_;
};

// The bits of a set as lines behind a prefix, for as long as their owner lives.
class bit_lines
{
public:
    bit_lines(const bit_set &set, const char *prefix) : text_(bitfield_sprintf_to_buffer(set.bits_, prefix))
    {
    }
    ~bit_lines() { mtrack_free(text_); }
    bit_lines(const bit_lines &) = delete;
    bit_lines &operator=(const bit_lines &) = delete;

    // Null when there was no memory for them.
    const char *text() const { return text_; }

private:
    char *text_;
};

} // namespace kov
