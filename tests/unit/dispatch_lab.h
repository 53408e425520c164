// The fixture of the dispatcher's tests: messages that say whatever a test wants, and what a refusal must
// leave.
#pragma once

#include "lab.h"

#include <algorithm>
#include <cstring>

class DispatchLab : public Lab
{
protected:
    static constexpr std::size_t header_size = 161;
    static constexpr uint32_t two_31 = 0x80000000, most = 0xFFFFFFFF;

    static std::string received_type(unsigned mtype)
    {
        return "Received IPC_OPC_KOV msg with type: " + std::to_string(mtype);
    }

    static std::string invalid_size(std::size_t size)
    {
        return "Dispatch msg, invalid data size(" + std::to_string(size) + ", 161)";
    }

    static std::string invalid_data(uint64_t computed, uint32_t received)
    {
        return "Received invalid msg data(" + std::to_string(static_cast<int32_t>(computed)) + ", " +
               std::to_string(static_cast<int32_t>(received)) + ")";
    }

    static void put_network(fake::Bytes &bytes, std::size_t at, uint32_t value)
    {
        for (std::size_t i = 0; i < 4; ++i)
            bytes[at + i] = static_cast<uint8_t>(value >> (24 - 8 * i));
    }

    // A message that says whatever the test wants, of `size` bytes; what is record has the value `fill`.
    static fake::Bytes raw(uint16_t mtype, uint32_t count, uint32_t length, std::size_t size,
                           uint16_t major = 53, uint8_t fill = 0)
    {
        fake::Bytes bytes(std::max(size, header_size), fill);
        std::fill_n(bytes.begin(), header_size, uint8_t{0});
        std::memcpy(&bytes[0], &major, sizeof major);
        std::memcpy(&bytes[2], &mtype, sizeof mtype);
        put_network(bytes, 20, count);
        put_network(bytes, 24, length);
        bytes.resize(size);
        return bytes;
    }

    // Refused, with these traces, and without a trace of it in the context or the heap.
    void expect_refused(const ipc_message *msg, const std::vector<std::string> &expected)
    {
        debug_on();
        clear_traces();
        const fake::Bytes before = context_bytes();
        const std::size_t blocks = platform.heap.live_blocks(), handled = received.size();
        EXPECT_EQ(kov_dispatch(msg), 0u);
        expect_traces(expected);
        EXPECT_EQ(context_bytes(), before);
        EXPECT_EQ(platform.heap.live_blocks(), blocks);
        EXPECT_EQ(received.size(), handled);
    }
    void expect_refused(const fake::Bytes &payload, const std::vector<std::string> &expected)
    {
        expect_refused(fake::Message(KOV_OPC_CLIENT, payload).get(), expected);
    }

    void expect_accepted(const fake::Bytes &payload)
    {
        const std::size_t handled = received.size();
        EXPECT_EQ(dispatch_bytes(payload), 1u);
        EXPECT_EQ(received.size(), handled + 1);
    }

    void register_for_everything()
    {
        register_and_acknowledge({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20});
    }
};
