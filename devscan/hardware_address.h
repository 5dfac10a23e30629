// MAC addresses and world wide names, and the texts in which sysfs shows them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace em_pni {

// First byte on the wire first.
using MacAddress = std::array<std::uint8_t, 6>;
using WorldWideName = std::array<std::uint8_t, 8>;

// "52:54:00:12:34:56". Nothing for any other text, and for all zeros, which is no address.
std::optional<MacAddress> parseMacAddress(std::string_view text) noexcept;

// "0x" and up to 16 hexadecimal digits, not padded. Nothing for any other text, for all ones, which
// is the kernel's "not set", and for 0.
std::optional<WorldWideName> parseWorldWideName(std::string_view text) noexcept;

bool isZero(const MacAddress& address) noexcept;

}  // namespace em_pni
