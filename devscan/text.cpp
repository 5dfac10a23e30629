#include "devscan/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

#include "platform/number.h"

namespace em_pni {

std::optional<std::uint64_t> parseHex(std::string_view digits, std::uint64_t max) noexcept {
    std::uint64_t value = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value, 16);
    if (error != std::errc{} || stop != end || digits.size() > 16 || value > max) {
        return std::nullopt;
    }
    return value;
}

std::string lowerHex(std::uint32_t value, int digits) {
    std::array<char, 16> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%0*x", digits, value));
    return text.data();
}

std::string upperHex(std::uint32_t value, int digits) {
    std::array<char, 16> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%0*X", digits, value));
    return text.data();
}

std::string_view takeUntil(std::string_view& rest, char separator) noexcept {
    const std::size_t end = std::min(rest.find(separator), rest.size());
    const std::string_view taken = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return taken;
}

std::string printableText(std::string_view raw) {
    const auto end =
        std::find_if(raw.begin(), raw.end(), [](char c) { return c < ' ' || c > '~'; });
    return std::string(
        trimBlanks(raw.substr(0, static_cast<std::size_t>(std::distance(raw.begin(), end)))));
}

}  // namespace em_pni
