// What a client asks of the server about a host's profile, as commands: "profile add", "del" and "check". The
// host is any text of at most 45 characters, which becomes the key. Each host has one reference number in
// this process, by which its answers are known.
#pragma once

#include <span>
#include <string>

namespace kov_lab
{

// Each runs one call of the library. True when the message was sent; `text` is the call and its result, or
// what is wrong with the words. The answer goes to the client's callbacks.
bool add_profile(std::span<const char *const> words, std::string &text);
bool del_profile(std::span<const char *const> words, std::string &text);
bool check_profile(std::span<const char *const> words, std::string &text);

} // namespace kov_lab
