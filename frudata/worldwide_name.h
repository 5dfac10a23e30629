// Worldwide names as numbers, as text of the record and as text for people.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "frudata/layout.h"

namespace em_pni {

// Eight bytes, the most significant one first.
std::array<std::uint8_t, 8> worldwideNameBytes(std::uint64_t name) noexcept;

// "20:00:00:10:9B:00:00:01"
std::string worldwideNameText(std::uint64_t name);

// As the record holds it: 16 upper-case hexadecimal characters, no NUL.
std::array<std::uint8_t, layout::worldwideNameSize> HexToAscii(std::uint64_t name);

// The inverse; nothing when the characters are not 16 hexadecimal ones.
std::optional<std::uint64_t> ToHex(std::span<const std::uint8_t> characters);

}  // namespace em_pni
