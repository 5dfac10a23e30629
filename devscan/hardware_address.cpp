#include "devscan/hardware_address.h"

#include <array>
#include <limits>

#include "platform/number.h"
#include "platform/text.h"

namespace em_pni {

std::optional<MacAddress> parseMacAddress(std::string_view text) noexcept {
    constexpr std::size_t length = 17;
    if (text.size() != length) {
        return std::nullopt;
    }
    std::array<std::uint8_t, MacAddress::shortSize> bytes{};
    for (std::uint8_t& byte : bytes) {
        const std::string_view digits = takeUntil(text, ':');
        const auto value = parseHexAs<std::uint8_t>(digits);
        if (digits.size() != 2 || !value) {
            return std::nullopt;
        }
        byte = *value;
    }
    const MacAddress address(bytes);
    return address.IsUsable() ? std::optional(address) : std::nullopt;
}

std::optional<WorldWideName> parseWorldWideName(std::string_view text) noexcept {
    if (!text.starts_with("0x")) {
        return std::nullopt;
    }
    const auto name = parseHexAs<WorldWideName>(text.substr(2));
    return name && *name != 0 && *name != std::numeric_limits<WorldWideName>::max() ? name
                                                                                    : std::nullopt;
}

}  // namespace em_pni
