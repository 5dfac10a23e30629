// Bytes of a firmware table or a configuration space, read without ever leaving them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace em_pni {

// Does not own the bytes. Integers are little-endian; what does not lie wholly inside reads as 0.
class CByteView {
  public:
    explicit CByteView(std::span<const std::uint8_t> bytes) noexcept : bytes_(bytes) {}
    explicit CByteView(std::string_view bytes) noexcept
        : bytes_(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()) {}

    [[nodiscard]] std::size_t Size() const noexcept { return bytes_.size(); }
    [[nodiscard]] bool Has(std::size_t offset, std::size_t count) const noexcept {
        return offset <= bytes_.size() && count <= bytes_.size() - offset;
    }
    // Empty when it does not lie wholly inside.
    [[nodiscard]] CByteView Part(std::size_t offset, std::size_t count) const noexcept {
        return Has(offset, count) ? CByteView(bytes_.subspan(offset, count))
                                  : CByteView(std::span<const std::uint8_t>());
    }

    [[nodiscard]] std::uint8_t U8(std::size_t offset) const noexcept {
        return static_cast<std::uint8_t>(Integer(offset, 1));
    }
    [[nodiscard]] std::uint16_t U16(std::size_t offset) const noexcept {
        return static_cast<std::uint16_t>(Integer(offset, 2));
    }
    [[nodiscard]] std::uint32_t U32(std::size_t offset) const noexcept {
        return static_cast<std::uint32_t>(Integer(offset, 4));
    }
    [[nodiscard]] std::uint64_t U64(std::size_t offset) const noexcept {
        return Integer(offset, 8);
    }

    [[nodiscard]] bool HasText(std::size_t offset, std::string_view text) const noexcept {
        if (!Has(offset, text.size())) {
            return false;
        }
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (bytes_[offset + i] != static_cast<std::uint8_t>(text[i])) {
                return false;
            }
        }
        return true;
    }
    // Whether all bytes add up to 0 modulo 256, the checksum of firmware tables.
    [[nodiscard]] bool SumsToZero() const noexcept {
        unsigned sum = 0;
        for (const std::uint8_t byte : bytes_) {
            sum += byte;
        }
        return (sum & 0xFFU) == 0;
    }

  private:
    [[nodiscard]] std::uint64_t Integer(std::size_t offset, std::size_t width) const noexcept {
        std::uint64_t value = 0;
        if (Has(offset, width)) {
            for (std::size_t i = width; i-- > 0;) {
                value = value << 8U | bytes_[offset + i];
            }
        }
        return value;
    }

    std::span<const std::uint8_t> bytes_;
};

}  // namespace em_pni
