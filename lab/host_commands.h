// What a client tells the server about hosts, as commands: "verify" asks the server to verify one, "report"
// tells what a probe has shown.
#pragma once

#include <span>
#include <string>

namespace kov_lab
{

// Each runs one call of the library. True when the message was sent; `text` is the call and its result, or
// what is wrong with the words.
bool verify_host(std::span<const char *const> words, std::string &text);
bool report_host(std::span<const char *const> words, std::string &text);

} // namespace kov_lab
