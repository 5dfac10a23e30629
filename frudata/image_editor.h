// Changes to a FRU image: the counterpart of CImageView for writing.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "frudata/image_view.h"

namespace em_pni {

// Borrows the bytes. A change that would reach outside them is not made and answers false.
class CImageEditor {
  public:
    explicit CImageEditor(std::vector<std::uint8_t>& image) noexcept : image_(image) {}

    [[nodiscard]] CImageView View() const noexcept { return {image_.data(), image_.size()}; }

    bool Put(std::size_t offset, std::span<const std::uint8_t> bytes) noexcept {
        if (!View().Has(offset, bytes.size())) {
            return false;
        }
        std::copy(bytes.begin(), bytes.end(), At(offset));
        return true;
    }
    bool PutU8(std::size_t offset, std::uint8_t value) noexcept {
        return Put(offset, std::span(&value, 1));
    }
    bool PutU16(std::size_t offset, std::uint16_t value) noexcept {
        const std::uint8_t bytes[] = {static_cast<std::uint8_t>(value),
                                      static_cast<std::uint8_t>(value >> 8)};
        return Put(offset, bytes);
    }
    bool Insert(std::size_t offset, std::span<const std::uint8_t> bytes) {
        if (offset > image_.size()) {
            return false;
        }
        image_.insert(At(offset), bytes.begin(), bytes.end());
        return true;
    }
    bool Erase(std::size_t offset, std::size_t length) {
        if (!View().Has(offset, length)) {
            return false;
        }
        image_.erase(At(offset), At(offset + length));
        return true;
    }

  private:
    [[nodiscard]] std::vector<std::uint8_t>::iterator At(std::size_t offset) noexcept {
        return image_.begin() + static_cast<std::ptrdiff_t>(offset);
    }

    std::vector<std::uint8_t>& image_;
};

}  // namespace em_pni
