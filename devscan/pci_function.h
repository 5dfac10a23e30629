// What a list of the machine's PCI functions says about one of them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/pci_address.h"

namespace em_pni {

constexpr std::uint32_t unknownSlot = 0xFFFFFFFF;

// Class codes are base class << 8 | sub-class.
constexpr std::uint8_t pciBaseStorage = 0x01;
constexpr std::uint8_t pciBaseNetwork = 0x02;
constexpr std::uint16_t pciClassBridge = 0x0604;
constexpr std::uint16_t pciClassSemiTransparentBridge = 0x0609;
constexpr std::uint16_t pciClassFibreChannel = 0x0C04;
constexpr std::uint16_t pciClassInfiniband = 0x0C06;

constexpr std::uint8_t pciBaseClass(std::uint16_t classCode) noexcept {
    return static_cast<std::uint8_t>(classCode >> 8U);
}

// Of a header type as below: only layout 0 of the configuration space has ids of the subsystem.
constexpr bool hasSubsystemIds(std::uint8_t headerType) noexcept {
    return (headerType & 0x7FU) == 0;
}

// 0 where a list does not say.
struct PciIds {
    std::uint16_t vendor = 0;
    std::uint16_t device = 0;
    std::uint16_t subVendor = 0;
    std::uint16_t subDevice = 0;
};

// A bridge above a function.
struct PciBridge {
    PciAddress address;
    std::uint32_t acpiNumber = unknownSlot;  // _SUN of its firmware node
};

constexpr bool isBridge(std::uint16_t classCode) noexcept {
    return classCode == pciClassBridge || classCode == pciClassSemiTransparentBridge;
}

struct PciFunction {
    PciAddress address;
    PciIds ids;
    std::uint16_t classCode = 0;
    // As in the configuration space: bits 6..0 layout, bit 7 multi-function. 0 where it cannot be
    // read: only bridges, which no user of this list is after, have another layout.
    std::uint8_t headerType = 0;
    std::string driver;                   // empty = none or not known
    std::uint32_t slot = unknownSlot;     // where the list itself states one
    std::vector<std::string> interfaces;  // likewise
    std::vector<PciBridge> bridges;       // above the function, nearest first
    bool onRootBus = false;               // no bridge above, and that is known
    // What sysfs tells about the place of an adapter.
    bool ariEnabled = false;                 // function numbers continue in the device number
    bool hasOnboardIndex = false;            // acpi_index or index: firmware's onboard mark
    std::uint32_t acpiNumber = unknownSlot;  // _SUN of its firmware node
};

}  // namespace em_pni
