// A FRU image as bytes with an end: the only place where an offset becomes a pointer.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>

namespace em_pni {

// Borrows the bytes. Reading outside is a fault of the caller and reads as 0; ask Has first.
class CImageView {
  public:
    constexpr CImageView() noexcept = default;
    constexpr CImageView(const std::uint8_t* data, std::size_t size) noexcept
        : bytes_(data, data != nullptr ? size : 0) {}

    [[nodiscard]] constexpr std::size_t Size() const noexcept { return bytes_.size(); }
    [[nodiscard]] constexpr const std::uint8_t* Data() const noexcept { return bytes_.data(); }

    [[nodiscard]] constexpr bool Has(std::size_t offset, std::size_t length) const noexcept {
        return length <= bytes_.size() && offset <= bytes_.size() - length;
    }
    [[nodiscard]] constexpr std::uint8_t U8(std::size_t offset) const noexcept {
        return Has(offset, 1) ? bytes_[offset] : std::uint8_t{0};
    }
    [[nodiscard]] constexpr std::uint16_t U16(std::size_t offset) const noexcept {
        return static_cast<std::uint16_t>(U8(offset) | U8(offset + 1) << 8);
    }
    [[nodiscard]] constexpr std::uint32_t U32(std::size_t offset) const noexcept {
        return U16(offset) | static_cast<std::uint32_t>(U16(offset + 2)) << 16;
    }
    // What of [offset, offset + length) lies inside; may be shorter than asked, or empty.
    [[nodiscard]] constexpr std::span<const std::uint8_t> Inside(
        std::size_t offset, std::size_t length) const noexcept {
        if (offset >= bytes_.size()) {
            return {};
        }
        return bytes_.subspan(offset, std::min(length, bytes_.size() - offset));
    }
    // All of [offset, offset + length), or nothing: one question for several fields.
    [[nodiscard]] constexpr std::span<const std::uint8_t> Whole(std::size_t offset,
                                                                std::size_t length) const noexcept {
        return Has(offset, length) ? bytes_.subspan(offset, length)
                                   : std::span<const std::uint8_t>();
    }
    // The sum of the bytes modulo 256. In lanes side by side, for which a compiler has registers.
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

  private:
    std::span<const std::uint8_t> bytes_;
};

}  // namespace em_pni
