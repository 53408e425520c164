// The hosts that somebody wanted to be verified, or that a client has found: who asked, who was asked, where
// the host is. In memory only, the latest so many: an answer is worth what it says now.
#pragma once

#include <cstdint>
#include <deque>
#include <string>

namespace kov_lab
{

struct Verification {
    std::string host; // as text
    std::string vrf;  // empty when nobody has said it
    std::string wanted_by;
    std::string asked; // the clients, "arp,nd"
    std::string place; // empty until a client has found it
    std::string found_by;
};

class Verifications
{
public:
    // Begins anew with the host: what was found before is no answer.
    void ask(Verification verification);
    // A client has found the host, asked or not.
    void found(const std::string &host, const std::string &place, const std::string &client);

    const std::deque<Verification> &all() const { return all_; } // in the order in which they came up
    std::uint64_t asked() const { return asked_; }
    std::uint64_t found() const { return found_; }

private:
    Verification &row_of(const std::string &host);

    std::deque<Verification> all_;
    std::uint64_t asked_ = 0;
    std::uint64_t found_ = 0;
};

} // namespace kov_lab
