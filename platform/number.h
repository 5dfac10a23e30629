// Numbers in texts: configuration files, environment variables, sysfs, tools.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace em_pni {

// The decimal number in the whole of `text`. Blanks around it are allowed. Returns no value for any
// other text, a negative number, or a number above `max`.
std::optional<std::uint64_t> parseDecimal(std::string_view text, std::uint64_t max) noexcept;

// As parseDecimal. Also accepts hexadecimal after "0x" and octal after a leading "0".
std::optional<std::uint64_t> parseNumber(
    std::string_view text, std::uint64_t max = std::numeric_limits<std::uint32_t>::max()) noexcept;

// The number in the whole of `digits`: 1 to 16 hexadecimal digits, no prefix, no blanks.
std::optional<std::uint64_t> parseHex(std::string_view digits, std::uint64_t max) noexcept;

template <typename Integer>
std::optional<Integer> parseHexAs(std::string_view digits) noexcept {
    const auto value = parseHex(digits, std::numeric_limits<Integer>::max());
    return value ? std::optional(static_cast<Integer>(*value)) : std::nullopt;
}

// Hexadecimal text with at least `digits` digits.
std::string lowerHex(std::uint32_t value, int digits);
std::string upperHex(std::uint32_t value, int digits);

}  // namespace em_pni
