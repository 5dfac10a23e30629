// Where a PCI function sits, and how sysfs and the tools write that: "0000:03:00.1".
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

    [[nodiscard]] bool IsKnown() const noexcept {
        return bus != 0xFF || device != 0xFF || function != 0xFF;
    }
    // Whether both are functions of one device.
    [[nodiscard]] bool SameDevice(const PciAddress& other) const noexcept {
        return segment == other.segment && bus == other.bus && device == other.device;
    }
    friend auto operator<=>(const PciAddress&, const PciAddress&) = default;  // NOLINT
};

// From the byte of hardware tables that holds device (bits 7..3) and function (bits 2..0).
PciAddress pciAddress(std::uint16_t segment, std::uint8_t bus, std::uint8_t devfn) noexcept;

// Four hexadecimal numbers "segment:bus:device.function" of any width. Nothing for any other text
// and for segments above 0xFFFF, which host bridges inside of devices have and nothing here can
// represent.
std::optional<PciAddress> parsePciAddress(std::string_view text) noexcept;

std::string pciAddressText(const PciAddress& address);

// The function that a sysfs device path leads to or through: its last component that is a PCI
// address. Nothing also when that one has a segment above 0xFFFF.
std::optional<PciAddress> pciAddressOfPath(std::string_view path) noexcept;

// The bridges above the function that the path ends in, the nearest one first.
std::vector<PciAddress> pciBridgesOfPath(std::string_view path);

}  // namespace em_pni
