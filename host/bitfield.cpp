// A set is one block: its size in bits, then its bytes. Texts are made run by run; the lines of an allocated
// text are written twice by the same code, first to learn their size.
#include <kov/platform/bitfield.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

struct bitfield {
    uint32_t bits;
};

namespace
{

constexpr std::size_t line_width = 60;

uint8_t *bytes_of(bitfield *set) { return reinterpret_cast<uint8_t *>(set + 1); }

const uint8_t *bytes_of(const bitfield *set) { return reinterpret_cast<const uint8_t *>(set + 1); }

bool bit_in(const uint8_t *bytes, uint32_t bit) { return (bytes[bit / 8] & (1u << (bit % 8))) != 0; }

void put_bit(uint8_t *bytes, uint32_t bit, bool on)
{
    const auto mask = static_cast<uint8_t>(1u << (bit % 8));
    bytes[bit / 8] = static_cast<uint8_t>(on ? bytes[bit / 8] | mask : bytes[bit / 8] & ~mask);
}

// The runs of set bits in rising order, each as text.
class Runs
{
public:
    explicit Runs(const bitfield *set) : set_(set) { find_from(0); }

    bool at_end() const { return text_size_ == 0; }
    const char *text() const { return text_; }
    std::size_t text_size() const { return text_size_; }
    void next() { find_from(uint64_t{last_} + 1); }

private:
    void find_from(uint64_t bit)
    {
        const uint64_t bits = set_ == nullptr ? 0 : set_->bits;
        text_size_ = 0;
        while (bit < bits && !bit_in(bytes_of(set_), static_cast<uint32_t>(bit)))
            ++bit;
        if (bit == bits || bits == 0)
            return;
        const auto first = static_cast<uint32_t>(bit);
        for (last_ = first; bitfield_test(set_, last_ + 1) != 0;)
            ++last_;
        const int size = first == last_ ? std::snprintf(text_, sizeof text_, "%u", first)
                                        : std::snprintf(text_, sizeof text_, "%u-%u", first, last_);
        text_size_ = static_cast<std::size_t>(size);
    }

    const bitfield *set_;
    uint32_t last_ = 0;
    char text_[24] = "";
    std::size_t text_size_ = 0;
};

// Writes lines, or, without a buffer, counts what they take.
class Lines
{
public:
    Lines(char *out, const char *prefix) : out_(out), prefix_(prefix == nullptr ? "" : prefix) { begin(); }

    void add(const char *text, std::size_t size)
    {
        if (in_line_ > 0 && in_line_ + 1 + size > line_width) {
            end();
            begin();
        }
        if (in_line_ > 0)
            put(",", 1);
        put(text, size);
    }

    std::size_t finish()
    {
        end();
        return size_;
    }

private:
    void begin()
    {
        put(prefix_, std::strlen(prefix_));
        in_line_ = 0;
    }

    void end() { put("\n", 1); }

    void put(const char *text, std::size_t size)
    {
        if (out_ != nullptr)
            std::memcpy(out_ + size_, text, size);
        size_ += size;
        in_line_ += size;
    }

    char *out_;
    const char *prefix_;
    std::size_t size_ = 0;
    std::size_t in_line_ = 0;
};

constexpr char no_bits[] = "none";

std::size_t write_lines(const bitfield *set, const char *prefix, char *out)
{
    Lines lines(out, prefix);
    Runs run(set);
    if (run.at_end())
        lines.add(no_bits, sizeof no_bits - 1);
    for (; !run.at_end(); run.next())
        lines.add(run.text(), run.text_size());
    return lines.finish();
}

// Appends to a text of `used` characters in `cap` bytes as many of the runs as fit with room for the mark
// that says there are more.
void append_runs(char *text, std::size_t cap, Runs run)
{
    constexpr char more[] = "...";
    std::size_t used = 0;
    while (!run.at_end()) {
        char item[32];
        const auto size = static_cast<std::size_t>(
            std::snprintf(item, sizeof item, "%s%s", used > 0 ? "," : "", run.text()));
        run.next();
        const std::size_t reserve = run.at_end() ? 0 : sizeof ",..." - 1;
        if (used + size + reserve >= cap) {
            std::snprintf(text + used, cap - used, ",%s", more);
            return;
        }
        std::memcpy(text + used, item, size + 1);
        used += size;
    }
}

} // namespace

extern "C" {

bitfield *bitfield_create(uint32_t bits)
{
    auto *const set =
        static_cast<bitfield *>(std::calloc(1, sizeof(bitfield) + std::size_t{bits / 8} + (bits % 8 != 0)));
    if (set != nullptr)
        set->bits = bits;
    return set;
}

void bitfield_destroy(bitfield *set) { std::free(set); }

int bitfield_copy_in(bitfield *set, uint32_t from_bit, const void *bytes, uint32_t nbits)
{
    if (set == nullptr || (bytes == nullptr && nbits > 0))
        return -1;
    if (from_bit > set->bits || nbits > set->bits - from_bit)
        return -1;
    const auto *const from = static_cast<const uint8_t *>(bytes);
    uint32_t done = 0;
    if (from_bit % 8 == 0 && nbits >= 8) {
        done = nbits / 8 * 8;
        std::memcpy(bytes_of(set) + from_bit / 8, from, done / 8);
    }
    for (; done < nbits; ++done)
        put_bit(bytes_of(set), from_bit + done, bit_in(from, done));
    return 0;
}

int bitfield_test(const bitfield *set, uint32_t bit)
{
    return set != nullptr && bit < set->bits && bit_in(bytes_of(set), bit) ? 1 : 0;
}

const char *bitfield_sprintf(const bitfield *set)
{
    static char text[1024];
    const Runs runs(set);
    std::memcpy(text, no_bits, sizeof no_bits);
    append_runs(text, sizeof text, runs);
    return text;
}

char *bitfield_sprintf_to_buffer(const bitfield *set, const char *prefix)
{
    const std::size_t size = write_lines(set, prefix, nullptr);
    auto *const text = static_cast<char *>(std::malloc(size + 1));
    if (text == nullptr)
        return nullptr;
    write_lines(set, prefix, text);
    text[size] = '\0';
    return text;
}

void mtrack_free(void *block) { std::free(block); }

} // extern "C"
