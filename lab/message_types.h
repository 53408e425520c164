// The types of messages by number, by word and by name, and lists of them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kov_lab
{

// "SVI forwarding mode" for 9; "unknown type" for what is none.
const char *mtype_name(std::uint32_t mtype);

// The word by which a person names a type, "svi" for 9; all of them, "register", "register-ack" and on.
std::string mtype_word(std::uint32_t mtype);
std::vector<std::string> mtype_words();
std::optional<std::uint32_t> parse_mtype(std::string_view text, std::string &why); // also the number

// Lists of types: "svi,topology", "4-20", "9,18", "all". Bit t of a mask stands for type t; a client
// registers for 1 to 20, and "all" are 4 to 20. A mask is told in numbers or, for a person, in words.
std::string mask_words(std::uint32_t mask);
std::string mask_text(std::uint32_t mask);
std::optional<std::uint32_t> parse_mask(std::string_view text, std::string &why);

} // namespace kov_lab
