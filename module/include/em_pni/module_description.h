// The block in which an extension module describes itself to its host.
//
// The block belongs to the host. The host writes its size into the first four bytes. The module
// writes the fields below and no other byte. Numbers have the byte order of the machine. Fields are
// not aligned. Texts are ASCII and padded with NUL bytes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace em_pni {

// Offsets and sizes in bytes.
struct ModuleDescription {
    static constexpr std::size_t size = 246;  // a smaller block is refused

    static constexpr std::size_t blockSize = 0;        // 4 bytes, set by the host
    static constexpr std::size_t kindBits = 8;         // 1 byte, the module writes bits 0-1
    static constexpr std::size_t moreKindBits = 21;    // 1 byte, the module writes bits 0-1
    static constexpr std::size_t interfaceLevel = 42;  // 4 bytes
    static constexpr std::size_t name = 46;
    static constexpr std::size_t description = 146;
    static constexpr std::size_t textSize = 96;     // of name and of description
    static constexpr std::size_t reservedSize = 4;  // zero bytes after each of the two texts
};

// A block for hosts. Pass Data() to GetModuleInfo, then read the fields. Without a successful
// GetModuleInfo the level is 0 and the texts are empty.
class CModuleDescription {
  public:
    CModuleDescription() noexcept {
        const std::uint32_t size = ModuleDescription::size;
        std::memcpy(bytes_.data() + ModuleDescription::blockSize, &size, sizeof size);
    }

    [[nodiscard]] void* Data() noexcept { return bytes_.data(); }
    [[nodiscard]] std::uint32_t InterfaceLevel() const noexcept {
        std::uint32_t level = 0;
        std::memcpy(&level, bytes_.data() + ModuleDescription::interfaceLevel, sizeof level);
        return level;
    }
    [[nodiscard]] std::string Name() const { return Text(ModuleDescription::name); }
    [[nodiscard]] std::string Description() const { return Text(ModuleDescription::description); }

  private:
    [[nodiscard]] std::string Text(std::size_t offset) const {
        const char* const text = reinterpret_cast<const char*>(bytes_.data() + offset);
        return {text, ::strnlen(text, ModuleDescription::textSize)};
    }

    std::array<unsigned char, ModuleDescription::size> bytes_{};
};

}  // namespace em_pni
