// The whole fake: one object, and how it goes back to the beginning.
#include "internal.h"

#include <algorithm>
#include <cstring>
#include <ostream>

uint32_t kov_api_wait_for_init;

namespace fake
{

namespace
{

constexpr uint8_t ended = 0xDD;

} // namespace

OddBlock::OddBlock(std::span<const uint8_t> bytes)
    : size_(bytes.size()), block_(std::make_unique<uint8_t[]>(bytes.size() + 1))
{
    std::copy(bytes.begin(), bytes.end(), block_.get() + 1);
}

void OddBlock::scribble() { std::fill_n(block_.get(), size_ + 1, ended); }

const char *rotate(const std::string &text)
{
    static std::array<std::array<char, 64>, 8> ring;
    static std::size_t last;
    auto &buffer = ring[++last % ring.size()];
    buffer.fill('#');
    const std::size_t length = std::min(text.size(), buffer.size() - 1);
    std::memcpy(buffer.data(), text.data(), length);
    buffer[length] = '\0';
    return buffer.data();
}

std::ostream &operator<<(std::ostream &out, const Leaks &leaks)
{
    return out << leaks.blocks << " blocks (" << leaks.bytes << " bytes), " << leaks.pt_nodes
               << " prefix tree nodes, " << leaks.oak_nodes << " ordered tree nodes";
}

Leaks Platform::leaks() const
{
    return {heap.live_blocks(), heap.live_bytes(), containers.pt_nodes(), containers.oak_nodes()};
}

Leaks Platform::reset()
{
    const Leaks held = leaks();
    forget_containers();
    *this = Platform();
    ipc.open(Transport::handle, Transport::sap);
    cli.fields["_CLI_TTY_NAME_FIELD"] = "console0";
    routes.vrf_names[1] = "default";
    kov_api_wait_for_init = 0;
    count_allocations();
    return held;
}

Platform &platform()
{
    static Platform the;
    return the;
}

} // namespace fake
