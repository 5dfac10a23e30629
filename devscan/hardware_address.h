// Parsers of MAC addresses and worldwide names as sysfs shows them.
#pragma once

#include <optional>
#include <string_view>

#include "platform/address.h"

namespace em_pni {

// "52:54:00:12:34:56". Returns no value for any other text and for all zeros, which is no address.
std::optional<MacAddress> parseMacAddress(std::string_view text) noexcept;

// "0x" and 1 to 16 hexadecimal digits. Returns no value for any other text, for all ones, which the
// kernel shows for a name that is not set, and for 0.
std::optional<WorldWideName> parseWorldWideName(std::string_view text) noexcept;

}  // namespace em_pni
