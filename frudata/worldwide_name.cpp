#include "frudata/worldwide_name.h"

#include <algorithm>

#include "frudata/address_text.h"
#include "platform/trace.h"

namespace em_pni {

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
