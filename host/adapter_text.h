// Texts about adapters: numbers as text, and texts of any origin made fit for output.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/address.h"

namespace em_pni {

// Four hexadecimal digits.
std::string idText(std::uint16_t id);
// Likewise; empty for 0, which no vendor and no device has.
std::string knownIdText(std::uint16_t id);
// Empty for 0, which is no name.
std::string knownNameText(WorldWideName name);

// Lines of at most `width` characters, broken at blanks; a longer word has a line of its own. At
// least one line.
std::vector<std::string> wrapWords(std::string_view text, std::size_t width);

}  // namespace em_pni
