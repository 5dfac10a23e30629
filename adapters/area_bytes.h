// The bytes of one area of the record while it is written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace em_pni {

// Zero until set. Offsets are in bytes from the start of the area and stay inside it.
class CAreaBytes {
  public:
    explicit CAreaBytes(std::size_t size) : bytes_(size) {}

    void U8(std::size_t offset, std::uint8_t value) { bytes_.at(offset) = value; }
    // Little-endian.
    void U16(std::size_t offset, std::uint16_t value) {
        U8(offset, static_cast<std::uint8_t>(value));
        U8(offset + 1, static_cast<std::uint8_t>(value >> 8U));
    }
    void U32(std::size_t offset, std::uint32_t value) {
        U16(offset, static_cast<std::uint16_t>(value));
        U16(offset + 2, static_cast<std::uint16_t>(value >> 16U));
    }
    void Bytes(std::size_t offset, std::span<const std::uint8_t> bytes) {
        for (const std::uint8_t byte : bytes) {
            U8(offset++, byte);
        }
    }
    // False, and nothing written, for a text that does not fit the field with its NUL or has a NUL
    // of its own.
    bool Text(std::size_t offset, std::size_t fieldSize, std::string_view text) {
        if (text.size() >= fieldSize || text.find('\0') != std::string_view::npos) {
            return false;
        }
        for (const char character : text) {
            U8(offset++, static_cast<std::uint8_t>(character));
        }
        return true;
    }

    [[nodiscard]] std::vector<std::uint8_t> Take() && { return std::move(bytes_); }

  private:
    std::vector<std::uint8_t> bytes_;
};

}  // namespace em_pni
