// The block in which an extension module describes itself to its host.
//
// The host owns the block and states its size in the first four bytes; the module writes only the
// fields named here and leaves all other bytes as they are. Numbers are in the byte order of the
// machine, no field is aligned. Texts are padded with NUL bytes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace em_pni {

// Offsets and sizes in bytes.
struct ModuleDescription {
    static constexpr std::size_t size = 246;  // the smallest block that a module accepts

    static constexpr std::size_t blockSize = 0;        // 4 bytes, set by the host
    static constexpr std::size_t kindBits = 8;         // 1 byte, bits 0-1 are the module's
    static constexpr std::size_t moreKindBits = 21;    // 1 byte, bits 0-1 are the module's
    static constexpr std::size_t interfaceLevel = 42;  // 4 bytes
    static constexpr std::size_t name = 46;
    static constexpr std::size_t description = 146;
    static constexpr std::size_t textSize = 96;     // of name and of description
    static constexpr std::size_t reservedSize = 4;  // zero bytes behind each of the two texts
};

// A block of the smallest size, for hosts: pass Data() to GetModuleInfo, then read the fields.
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
