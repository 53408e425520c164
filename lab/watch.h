// kovctl watch: a client that registers and prints what the server sends.
#pragma once

#include <cstdint>
#include <string>

namespace kov_lab
{

// Until a signal, or until `count` messages came (0: no limit). `types` is a list like "4-20". The result is
// kovctl's exit code.
int watch(const std::string &dir, const std::string &types, std::uint32_t count);

} // namespace kov_lab
