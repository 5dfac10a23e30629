// Texts about adapters: numbers as text, and texts of any origin made fit for output.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace em_pni {

// Four hexadecimal digits.
std::string idText(std::uint16_t id);
// Likewise; empty for 0, which no vendor and no device has.
std::string knownIdText(std::uint16_t id);

// `text` with U+FFFD for each byte that is not part of a UTF-8 character.
std::string validUtf8(std::string_view text);

// Lines of at most `width` characters, broken at blanks; a longer word has a line of its own. At
// least one line.
std::vector<std::string> wrapWords(std::string_view text, std::size_t width);

}  // namespace em_pni
