// The fields of one port function.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "frudata/layout.h"
#include "platform/bytes.h"

namespace em_pni {

// Technology of a port function, in the record and in answers.
enum class FunctionTechnology : std::uint8_t {
    nic = 0,
    fc = 1,
    fcoe = 2,
    iscsi = 3,
    ib = 4,
    sas = 5,
    roce = 6,
    unknown = 255,
};

// Borrows the image. A field is there only when its bytes lie wholly inside the function and the
// image; both ends are kept by the view, so no reader can pass them.
class CPniPortFunction {
  public:
    CPniPortFunction() noexcept = default;
    // `offset`: of the function in the image, which holds at least what a walk reads of it.
    CPniPortFunction(CByteView image, std::size_t offset, std::uint8_t position,
                     std::uint8_t formatVersion) noexcept
        : offset_(offset), position_(position), formatVersion_(formatVersion) {
        using Area = layout::PNI_PORT_FUNCTION;
        if (const auto header = image.Whole(offset, Area::walked); !header.empty()) {
            flags_ = header[Area::flags];
            size_ = Area::lengthUnit * header[Area::functionLength];
        }
        const auto inside = image.Inside(offset, size_);
        bytes_ = CByteView(inside.data(), inside.size());
    }

    [[nodiscard]] std::size_t Offset() const noexcept { return offset_; }
    [[nodiscard]] std::uint8_t Position() const noexcept { return position_; }
    [[nodiscard]] std::uint8_t FunctionId() const noexcept {
        return flags_ & layout::functionIdMask;
    }
    [[nodiscard]] bool Enabled() const noexcept { return (flags_ & layout::enableBit) != 0; }
    [[nodiscard]] bool EndOfList() const noexcept { return (flags_ & layout::endOfListBit) != 0; }
    // The whole function in bytes, as it states it; the image may end before.
    [[nodiscard]] std::size_t Size() const noexcept { return size_; }
    [[nodiscard]] FunctionTechnology Technology() const noexcept;

    // Fields of layout::PNI_PORT_FUNCTION.
    [[nodiscard]] std::optional<std::uint8_t> U8(std::size_t field) const noexcept;
    [[nodiscard]] std::optional<std::uint16_t> U16(std::size_t field) const noexcept;
    [[nodiscard]] std::optional<std::uint32_t> U32(std::size_t field) const noexcept;
    // All `length` bytes of a field, or none.
    [[nodiscard]] std::optional<std::span<const std::uint8_t>> Bytes(
        std::size_t field, std::size_t length) const noexcept;
    // Whether the address block begins behind the common fields: writing to one that does not would
    // change those.
    [[nodiscard]] bool HasSeparateAddresses() const noexcept;
    // All `length` bytes at `offset` of the address block, or none.
    [[nodiscard]] std::optional<std::span<const std::uint8_t>> AddressBytes(
        std::size_t offset, std::size_t length) const noexcept;

  private:
    [[nodiscard]] std::size_t Place(std::size_t field) const noexcept;
    [[nodiscard]] FunctionTechnology TextTechnology() const noexcept;

    CByteView bytes_;  // of the function, as far as they are inside the image
    std::size_t offset_ = 0;
    std::size_t size_ = 0;
    std::uint8_t flags_ = 0;
    std::uint8_t position_ = 0;  // in the port, from 0
    std::uint8_t formatVersion_ = 0;
};

}  // namespace em_pni
