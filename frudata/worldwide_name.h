// Worldwide names as numbers, as text of the record and as text for people.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "frudata/layout.h"
#include "platform/address.h"

namespace em_pni {

// Eight bytes, the most significant one first.
std::array<std::uint8_t, 8> worldwideNameBytes(WorldWideName name) noexcept;

// "20:00:00:10:9B:00:00:01"
std::string worldwideNameText(WorldWideName name);

// As the record holds it: 16 upper-case hexadecimal characters, no NUL.
std::array<std::uint8_t, layout::worldwideNameSize> HexToAscii(WorldWideName name);

// The inverse; nothing when the characters are not 16 hexadecimal ones.
std::optional<WorldWideName> ToHex(std::span<const std::uint8_t> characters);

}  // namespace em_pni
