#include "platform/number.h"

#include <charconv>

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

}  // namespace

std::string_view trimBlanks(std::string_view text) noexcept {
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

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

}  // namespace em_pni
