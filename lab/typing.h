// Lines that are typed for kovctl, finished or not: what they mean, and what their last word may become.
//
// Whoever runs a line owns its words, so kovctl asks that process ("complete", docs/command-line.md); what
// the process only knows by its kind, like "<svi>", the server is asked for. Nobody is waited for longer than
// a second.
#pragma once

#include "session.h"

#include <string>
#include <vector>

namespace kov_lab
{

// A line behind "kovctl", its options taken off.
struct Typed {
    Peer peer{"", server_name};
    bool of_client = false;
    bool help = false;              // "--help" was among the words
    std::vector<std::string> words; // without options
    std::string awaits;             // the option, "--client", whose value the next word is; else empty
};
Typed read_typed(const std::vector<std::string> &words);

using Candidates = std::vector<std::string>;

// What `partial` may become behind `words`, sorted. One that ends in "=", "/" or "," goes on.
Candidates completions(const Typed &typed, const std::string &partial);

// "kovctl complete WORD...", for a shell: the candidates of the last word, a line each. Quiet whatever fails.
int print_completions(std::vector<std::string> words);

// The words of a line, with quotes as everywhere.
std::vector<std::string> split_words(const std::string &line);

} // namespace kov_lab
