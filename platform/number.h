// Numbers as they stand in configuration files and environment variables.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace em_pni {

// `text` without the blanks and tabs at both ends.
std::string_view trimBlanks(std::string_view text) noexcept;

// The number that the whole of `text` says, blanks around it allowed; nothing when it is no number,
// negative, or above `max`.
std::optional<std::uint64_t> parseDecimal(std::string_view text, std::uint64_t max) noexcept;

// As parseDecimal, and hexadecimal after "0x", octal after a leading "0".
std::optional<std::uint64_t> parseNumber(
    std::string_view text, std::uint64_t max = std::numeric_limits<std::uint32_t>::max()) noexcept;

}  // namespace em_pni
