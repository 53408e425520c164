// The hosts that somebody wanted to be verified, or that a client has found: who asked, who was asked, where
// the host is. In memory only, the latest so many.
//
// A host is one of its VRF: a wish names both. A probe's result names no VRF, so it is about the host in all
// of them. What was found stays when the host is wanted again: until a client finds it anew, it is where the
// host was last.
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
    std::string asked;     // the clients, "arp,nd"
    bool answered = false; // a client has found it since it was wanted
    std::string place;     // where it was found last; empty: never
    std::string found_by;
};

class Verifications
{
public:
    // Somebody wants to know: `answered` and what follows are not looked at.
    void ask(Verification wish);
    // A client has found the host, asked or not.
    void found(const std::string &host, const std::string &place, const std::string &client);

    const std::deque<Verification> &all() const { return all_; } // the latest wanted or found last
    std::uint64_t asked() const { return asked_; }
    std::uint64_t found() const { return found_; }

private:
    void add(Verification row);

    std::deque<Verification> all_;
    std::uint64_t asked_ = 0;
    std::uint64_t found_ = 0;
};

} // namespace kov_lab
