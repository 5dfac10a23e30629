#include "frudata/address_text.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <string_view>

#include "platform/trace.h"

namespace em_pni {
namespace {

constexpr std::string_view digits = "0123456789ABCDEF";

std::optional<std::uint8_t> nibble(std::uint8_t character) noexcept {
    if (character >= '0' && character <= '9') {
        return static_cast<std::uint8_t>(character - '0');
    }
    if (character >= 'A' && character <= 'F') {
        return static_cast<std::uint8_t>(character - 'A' + 10);
    }
    if (character >= 'a' && character <= 'f') {
        return static_cast<std::uint8_t>(character - 'a' + 10);
    }
    return std::nullopt;
}

}  // namespace

std::string hexPairs(std::span<const std::uint8_t> bytes, const char* separator) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        if (!text.empty()) {
            text += separator;
        }
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

std::string macText(std::span<const std::uint8_t> mac, const char* separator) {
    return MacAddress(mac).IsEmpty() ? std::string() : hexPairs(mac, separator);
}

std::optional<std::vector<std::uint8_t>> bytesOfHex(std::span<const std::uint8_t> characters) {
    if (characters.size() % 2 != 0) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> bytes;
    bytes.reserve(characters.size() / 2);
    for (std::size_t i = 0; i < characters.size(); i += 2) {
        const auto high = nibble(characters[i]);
        const auto low = nibble(characters[i + 1]);
        if (!high || !low) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<std::uint8_t>(*high << 4 | *low));
    }
    return bytes;
}

std::string ipv4Text(std::span<const std::uint8_t> address) {
    std::array<char, INET_ADDRSTRLEN> text{};
    if (address.size() != layout::ipv4Size ||
        ::inet_ntop(AF_INET, address.data(), text.data(), text.size()) == nullptr) {
        return {};
    }
    return text.data();
}

std::string ipv6Text(std::span<const std::uint8_t> address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (address.size() != layout::ipv6Size ||
        ::inet_ntop(AF_INET6, address.data(), text.data(), text.size()) == nullptr) {
        return {};
    }
    const std::string_view form = text.data();
    return form == "::" ? "0:0:0:0:0:0:0:0" : form == "::1" ? "0:0:0:0:0:0:0:1" : std::string(form);
}

std::array<std::uint8_t, 8> worldwideNameBytes(WorldWideName name) noexcept {
    std::array<std::uint8_t, 8> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(name >> (56 - 8 * i));
    }
    return bytes;
}

std::string worldwideNameText(WorldWideName name) {
    return hexPairs(worldwideNameBytes(name), ":");
}

std::string physicalAddressText(const PhysicalAddress& address) {
    return address.kind == PhysicalAddress::Kind::mac ? macText(address.mac)
                                                      : worldwideNameText(address.wwpn);
}

std::array<std::uint8_t, layout::worldwideNameSize> HexToAscii(WorldWideName name) {
    PNI_TRACE(2, "\nEM_PNI HexToAscii() : Start");
    const std::string text = hexPairs(worldwideNameBytes(name), "");
    std::array<std::uint8_t, layout::worldwideNameSize> characters{};
    std::copy_n(text.begin(), characters.size(), characters.begin());
    PNI_TRACE(2, "\nEM_PNI HexToAscii() : End");
    return characters;
}

std::optional<WorldWideName> ToHex(std::span<const std::uint8_t> characters) {
    PNI_TRACE(5, "\nCPniFruData::ToHex input WWPN address - '%s'",
              std::string(characters.begin(), characters.end()).c_str());
    const auto bytes = bytesOfHex(characters);
    if (!bytes || bytes->size() != 8) {
        return std::nullopt;
    }
    WorldWideName name = 0;
    for (const std::uint8_t byte : *bytes) {
        name = name << 8 | byte;
    }
    PNI_TRACE(5, "\nCPniFruData::ToHex output WWPN address - '%s'",
              worldwideNameText(name).c_str());
    return name;
}

}  // namespace em_pni
