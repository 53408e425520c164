// The bytes between a command line and whoever attached to it: one packet is one frame, one letter and what
// follows it. Lower case goes to the process, upper case comes from it. docs/command-line.md tells the rest.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kov_host
{

constexpr std::uint8_t cli_version = 1;
constexpr std::size_t cli_max_frame = 32768; // the letter included
constexpr std::size_t cli_max_text = cli_max_frame - 1;

enum CliFrame : char {
    cli_hello = 'h',   // version byte, rows as two bytes, little-endian
    cli_command = 'c', // the line
    cli_answer = 'a',  // one byte: 0 stop, else go on

    cli_welcome = 'H', // version byte, then the terminal's name
    cli_output = 'O',  // text
    cli_trace = 'T',   // one line of trace, without a newline
    cli_more = 'M',    // nothing: a question, wants cli_answer
    cli_done = 'D'     // the command's status, 4 bytes, little-endian
};

inline std::string cli_frame(CliFrame letter, std::string_view body)
{
    std::string frame(1, letter);
    frame += body;
    return frame;
}

} // namespace kov_host
