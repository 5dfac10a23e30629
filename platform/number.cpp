#include "platform/number.h"

#include <charconv>

#include "platform/text.h"

namespace em_pni {
namespace {

std::optional<std::uint64_t> parseDigits(std::string_view digits, int base,
                                         std::uint64_t max) noexcept {
    std::uint64_t value = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value, base);
    if (error != std::errc{} || stop != end || value > max) {
        return std::nullopt;
    }
    return value;
}

std::string hexText(std::uint32_t value, int digits, const char* alphabet) {
    std::string text;
    for (int i = 0; i < digits || value != 0; ++i, value >>= 4U) {
        text.insert(text.begin(), alphabet[value & 0xFU]);
    }
    return text;
}

}  // namespace

std::optional<std::uint64_t> parseDecimal(std::string_view text, std::uint64_t max) noexcept {
    return parseDigits(trimBlanks(text), 10, max);
}

std::optional<std::uint64_t> parseNumber(std::string_view text, std::uint64_t max) noexcept {
    const std::string_view digits = trimBlanks(text);
    if (digits.starts_with("0x") || digits.starts_with("0X")) {
        return parseDigits(digits.substr(2), 16, max);
    }
    if (digits.size() > 1 && digits.front() == '0') {
        return parseDigits(digits, 8, max);
    }
    return parseDigits(digits, 10, max);
}

std::optional<std::uint64_t> parseHex(std::string_view digits, std::uint64_t max) noexcept {
    constexpr std::size_t maxDigits = 16;
    return digits.size() <= maxDigits ? parseDigits(digits, 16, max) : std::nullopt;
}

std::string lowerHex(std::uint32_t value, int digits) {
    return hexText(value, digits, "0123456789abcdef");
}

std::string upperHex(std::uint32_t value, int digits) {
    return hexText(value, digits, "0123456789ABCDEF");
}

}  // namespace em_pni
