#include "devscan/hardware_address.h"

#include <limits>

#include "devscan/text.h"

namespace em_pni {

bool isZero(const MacAddress& address) noexcept {
    return address == MacAddress{};
}

std::optional<MacAddress> parseMacAddress(std::string_view text) noexcept {
    constexpr std::size_t length = 17;
    if (text.size() != length) {
        return std::nullopt;
    }
    MacAddress address{};
    for (std::uint8_t& byte : address) {
        const std::string_view digits = takeUntil(text, ':');
        const auto value = parseHexAs<std::uint8_t>(digits);
        if (digits.size() != 2 || !value) {
            return std::nullopt;
        }
        byte = *value;
    }
    return isZero(address) ? std::nullopt : std::optional(address);
}

std::optional<WorldWideName> parseWorldWideName(std::string_view text) noexcept {
    if (!text.starts_with("0x")) {
        return std::nullopt;
    }
    const auto value = parseHexAs<std::uint64_t>(text.substr(2));
    if (!value || *value == 0 || *value == std::numeric_limits<std::uint64_t>::max()) {
        return std::nullopt;
    }
    WorldWideName name{};
    for (std::size_t i = 0; i < name.size(); ++i) {
        name[i] = static_cast<std::uint8_t>(*value >> (56U - 8U * i));
    }
    return name;
}

}  // namespace em_pni
