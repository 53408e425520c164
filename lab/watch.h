// kovctl watch: a client that registers and prints what the server sends it, and, from the server's terminal,
// what all other clients and the server tell each other.
#pragma once

#include <cstdint>
#include <string>

namespace kov_lab
{

// What is watched unless other types are named. Who registers for type 12 is asked to verify hosts, which
// nobody who watches can do.
constexpr const char *watched_types = "4-11,13-20";

// Until a signal, the server's end, or until `count` messages were printed (0: no limit). `types` is a list
// like "svi,topology" or "4-20". As JSON it is a line for each message. The result is kovctl's exit code.
int watch(const std::string &dir, const std::string &types, std::uint32_t count, bool json);

} // namespace kov_lab
