// The address of a PCI function: its packed form, and its text in sysfs and tools.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace em_pni {

struct PciAddress {
    std::uint16_t segment = 0;     // also called domain
    std::uint8_t bus = 0xFF;       // 0xFF in these three = unknown
    std::uint8_t device = 0xFF;    // 0..31
    std::uint8_t function = 0xFF;  // 0..7

    // The packed form of the record and of hardware tables: segment in bits 16-31, bus in 8-15,
    // device in 3-7, function in 0-2.
    [[nodiscard]] static constexpr PciAddress FromPacked(std::uint32_t packed) noexcept {
        return {static_cast<std::uint16_t>(packed >> 16U), static_cast<std::uint8_t>(packed >> 8U),
                static_cast<std::uint8_t>(packed >> 3U & 0x1FU),
                static_cast<std::uint8_t>(packed & 0x07U)};
    }
    [[nodiscard]] constexpr std::uint32_t Packed() const noexcept {
        return std::uint32_t{segment} << 16U | std::uint32_t{bus} << 8U | (device & 0x1FU) << 3U |
               (function & 0x07U);
    }

    [[nodiscard]] bool IsKnown() const noexcept {
        return bus != 0xFF || device != 0xFF || function != 0xFF;
    }
    // Whether both are functions of one device.
    [[nodiscard]] bool SameDevice(const PciAddress& other) const noexcept {
        return segment == other.segment && bus == other.bus && device == other.device;
    }
    friend auto operator<=>(const PciAddress&, const PciAddress&) = default;  // NOLINT
};

// Four hexadecimal numbers "segment:bus:device.function" of any width. Returns no value for any
// other text and for a segment above 0xFFFF. Host bridges inside of devices have such segments.
std::optional<PciAddress> parsePciAddress(std::string_view text) noexcept;

// "0000:03:00.1"
std::string pciAddressText(const PciAddress& address);

// The PCI function that a sysfs device path leads to or through: the last component that is a PCI
// address. Returns no value when there is none or its segment is above 0xFFFF.
std::optional<PciAddress> pciAddressOfPath(std::string_view path) noexcept;

// The bridges above the PCI function of a sysfs device path, nearest first.
std::vector<PciAddress> pciBridgesOfPath(std::string_view path);

}  // namespace em_pni
