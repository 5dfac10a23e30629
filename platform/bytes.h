// Bounded reading and writing of bytes. Integers are little-endian.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>
#include <string_view>
#include <vector>

namespace em_pni {

// Borrows the bytes. No function reads outside them: an integer that does not lie wholly inside
// reads as 0. Ask Has first where 0 is a valid value.
class CByteView {
  public:
    constexpr CByteView() noexcept = default;
    constexpr CByteView(const std::uint8_t* data, std::size_t size) noexcept
        : bytes_(data, data != nullptr ? size : 0) {}
    explicit constexpr CByteView(std::span<const std::uint8_t> bytes) noexcept : bytes_(bytes) {}
    explicit CByteView(std::string_view bytes) noexcept
        : CByteView(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()) {}

    [[nodiscard]] constexpr std::size_t Size() const noexcept { return bytes_.size(); }
    [[nodiscard]] constexpr const std::uint8_t* Data() const noexcept { return bytes_.data(); }

    [[nodiscard]] constexpr bool Has(std::size_t offset, std::size_t length) const noexcept {
        return length <= bytes_.size() && offset <= bytes_.size() - length;
    }
    [[nodiscard]] constexpr std::uint8_t U8(std::size_t offset) const noexcept {
        return Has(offset, 1) ? bytes_[offset] : std::uint8_t{0};
    }
    [[nodiscard]] constexpr std::uint16_t U16(std::size_t offset) const noexcept {
        return static_cast<std::uint16_t>(Integer(offset, 2));
    }
    [[nodiscard]] constexpr std::uint32_t U32(std::size_t offset) const noexcept {
        return static_cast<std::uint32_t>(Integer(offset, 4));
    }
    [[nodiscard]] constexpr std::uint64_t U64(std::size_t offset) const noexcept {
        return Integer(offset, 8);
    }

    // The part of [offset, offset + length) that lies inside. It may be shorter or empty.
    [[nodiscard]] constexpr std::span<const std::uint8_t> Inside(
        std::size_t offset, std::size_t length) const noexcept {
        if (offset >= bytes_.size()) {
            return {};
        }
        return bytes_.subspan(offset, std::min(length, bytes_.size() - offset));
    }
    // All of [offset, offset + length), or an empty span when a byte of it lies outside.
    [[nodiscard]] constexpr std::span<const std::uint8_t> Whole(std::size_t offset,
                                                                std::size_t length) const noexcept {
        return Has(offset, length) ? bytes_.subspan(offset, length)
                                   : std::span<const std::uint8_t>();
    }
    // As Whole, as a view.
    [[nodiscard]] constexpr CByteView Part(std::size_t offset, std::size_t length) const noexcept {
        return CByteView(Whole(offset, length));
    }

    [[nodiscard]] constexpr bool HasText(std::size_t offset, std::string_view text) const noexcept {
        const auto bytes = Whole(offset, text.size());
        return bytes.size() == text.size() &&
               std::equal(bytes.begin(), bytes.end(), text.begin(), [](std::uint8_t byte, char c) {
                   return byte == static_cast<std::uint8_t>(c);
               });
    }

    // The sum modulo 256 of the bytes of [offset, offset + length) that lie inside. The lanes let
    // the compiler use vector registers.
    [[nodiscard]] constexpr std::uint8_t Sum(std::size_t offset,
                                             std::size_t length) const noexcept {
        std::array<std::uint8_t, 64> lanes{};
        auto bytes = Inside(offset, length);
        for (; bytes.size() >= lanes.size(); bytes = bytes.subspan(lanes.size())) {
            for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
                lanes[lane] = static_cast<std::uint8_t>(lanes[lane] + bytes[lane]);
            }
        }
        const auto sum = std::accumulate(lanes.begin(), lanes.end(), std::uint8_t{0});
        return std::accumulate(bytes.begin(), bytes.end(), sum);
    }
    // Whether the 8-bit zero-sum checksum over all bytes holds.
    [[nodiscard]] constexpr bool SumsToZero() const noexcept { return Sum(0, Size()) == 0; }

  private:
    [[nodiscard]] constexpr std::uint64_t Integer(std::size_t offset,
                                                  std::size_t width) const noexcept {
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

// Borrows the bytes. A change that would reach outside them is not made and returns false.
class CByteEditor {
  public:
    explicit CByteEditor(std::vector<std::uint8_t>& bytes) noexcept : bytes_(bytes) {}

    [[nodiscard]] CByteView View() const noexcept { return CByteView(bytes_); }

    bool Put(std::size_t offset, std::span<const std::uint8_t> bytes) noexcept {
        if (!View().Has(offset, bytes.size())) {
            return false;
        }
        std::copy(bytes.begin(), bytes.end(), At(offset));
        return true;
    }
    bool PutU8(std::size_t offset, std::uint8_t value) noexcept {
        return PutInteger(offset, value);
    }
    bool PutU16(std::size_t offset, std::uint16_t value) noexcept {
        return PutInteger(offset, value);
    }
    bool PutU32(std::size_t offset, std::uint32_t value) noexcept {
        return PutInteger(offset, value);
    }
    // Writes the characters without a NUL. False also when the text does not leave room for a NUL
    // in its field, or contains one.
    bool PutText(std::size_t offset, std::size_t fieldSize, std::string_view text) noexcept {
        return text.size() < fieldSize && text.find('\0') == std::string_view::npos &&
               Put(offset, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    }
    bool Insert(std::size_t offset, std::span<const std::uint8_t> bytes) {
        if (offset > bytes_.size()) {
            return false;
        }
        bytes_.insert(At(offset), bytes.begin(), bytes.end());
        return true;
    }
    bool Erase(std::size_t offset, std::size_t length) {
        if (!View().Has(offset, length)) {
            return false;
        }
        bytes_.erase(At(offset), At(offset + length));
        return true;
    }

  private:
    template <class Integer>
    bool PutInteger(std::size_t offset, Integer value) noexcept {
        std::array<std::uint8_t, sizeof(Integer)> bytes{};
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<std::uint8_t>(value >> (8U * i));
        }
        return Put(offset, bytes);
    }
    [[nodiscard]] std::vector<std::uint8_t>::iterator At(std::size_t offset) noexcept {
        return bytes_.begin() + static_cast<std::ptrdiff_t>(offset);
    }

    std::vector<std::uint8_t>& bytes_;
};

}  // namespace em_pni
