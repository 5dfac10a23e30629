// One port function of a record: its fields and its addresses.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "frudata/layout.h"
#include "platform/address.h"
#include "platform/bytes.h"

namespace em_pni {

// Borrows the image. A reader returns no value for a field that does not lie wholly inside the
// function and the image.
class CPniPortFunction {
  public:
    CPniPortFunction() noexcept = default;
    // `offset`: image offset of the function.
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
    // Bytes of the whole function as its header states them. The image may end before.
    [[nodiscard]] std::size_t Size() const noexcept { return size_; }
    [[nodiscard]] FunctionTechnology Technology() const noexcept;

    // `field` is an offset in layout::PNI_PORT_FUNCTION.
    [[nodiscard]] std::optional<std::uint8_t> U8(std::size_t field) const noexcept;
    [[nodiscard]] std::optional<std::uint16_t> U16(std::size_t field) const noexcept;
    [[nodiscard]] std::optional<std::uint32_t> U32(std::size_t field) const noexcept;
    [[nodiscard]] std::optional<std::span<const std::uint8_t>> Bytes(
        std::size_t field, std::size_t length) const noexcept;
    // Whether the address block begins behind the common fields. Another block is read, but never
    // written: a change would overwrite these fields.
    [[nodiscard]] bool HasSeparateAddresses() const noexcept;
    // `length` bytes at `offset` of the address block.
    [[nodiscard]] std::optional<std::span<const std::uint8_t>> AddressBytes(
        std::size_t offset, std::size_t length) const noexcept;

  private:
    [[nodiscard]] bool HasTextTechnology() const noexcept;
    // Offset of the field in this function: it depends on the format version.
    [[nodiscard]] std::size_t Place(std::size_t field) const noexcept;
    [[nodiscard]] FunctionTechnology TextTechnology() const noexcept;

    CByteView bytes_;  // of the function, as far as they are inside the image
    std::size_t offset_ = 0;
    std::size_t size_ = 0;
    std::uint8_t flags_ = 0;
    std::uint8_t position_ = 0;  // in the port, from 0
    std::uint8_t formatVersion_ = 0;
};

// Whether a function has the technology and the length of a Fibre Channel function with worldwide
// names.
bool hasWorldwideNames(const CPniPortFunction& function) noexcept;

// The manufacture address of a function: a MAC of an Ethernet function, the names of a Fibre
// Channel function. Returns no value when the function has another technology or is too short. A
// name that is not 16 hexadecimal characters reads as 0.
std::optional<PhysicalAddress> manufactureAddress(const CPniPortFunction& function,
                                                  PhysicalAddress::Kind kind);

// The active MAC of an Ethernet function. Returns no value when the function has another technology
// or is too short.
std::optional<MacAddress> activeMac(const CPniPortFunction& function);

// The two lists of IP addresses of an Ethernet function. Offsets count from the address block.
struct IpLists {
    std::uint8_t counters;
    std::size_t ipv4;  // number of addresses
    std::size_t ipv6;

    [[nodiscard]] static constexpr std::size_t Ipv4Begin() noexcept {
        return layout::NIC_ADDRESSES::ipAddresses;
    }
    [[nodiscard]] std::size_t Ipv6Begin() const noexcept {
        return Ipv4Begin() + ipv4 * layout::ipv4Size;
    }
    [[nodiscard]] std::size_t Bytes() const noexcept {
        return ipv4 * layout::ipv4Size + ipv6 * layout::ipv6Size;
    }
};

// Returns no value when the counters or the addresses of both lists do not lie wholly inside the
// function and the image.
std::optional<IpLists> ipListsOf(const CPniPortFunction& function) noexcept;

}  // namespace em_pni
