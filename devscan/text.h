// Pieces of the texts that kernel and tools print.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace em_pni {

// The number that the whole of `digits` says: 1 to 16 hexadecimal digits without prefix or blanks.
std::optional<std::uint64_t> parseHex(std::string_view digits, std::uint64_t max) noexcept;

template <typename Integer>
std::optional<Integer> parseHexAs(std::string_view digits) noexcept {
    const auto value = parseHex(digits, std::numeric_limits<Integer>::max());
    return value ? std::optional(static_cast<Integer>(*value)) : std::nullopt;
}

// At least `digits` hexadecimal digits.
std::string lowerHex(std::uint32_t value, int digits);
std::string upperHex(std::uint32_t value, int digits);

// Cuts the text before the next `separator`, and the separator, off the front of `rest`.
std::string_view takeUntil(std::string_view& rest, char separator) noexcept;

// The start of `raw` that is printable ASCII, blanks at both ends cut: drivers leave anything
// behind the end of their texts.
std::string printableText(std::string_view raw);

}  // namespace em_pni
