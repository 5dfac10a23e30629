// One PCI function as the list of PCI functions describes it, and its class codes.
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
constexpr std::uint16_t pciClassInfinibandNetwork = 0x0207;
constexpr std::uint16_t pciClassBridge = 0x0604;
constexpr std::uint16_t pciClassSemiTransparentBridge = 0x0609;
constexpr std::uint16_t pciClassFibreChannel = 0x0C04;
constexpr std::uint16_t pciClassInfiniband = 0x0C06;

constexpr std::uint8_t pciBaseClass(std::uint16_t classCode) noexcept {
    return static_cast<std::uint8_t>(classCode >> 8U);
}

// Whether a configuration space with this header type has subsystem ids. Only layout 0 has them.
constexpr bool hasSubsystemIds(std::uint8_t headerType) noexcept {
    return (headerType & 0x7FU) == 0;
}

// 0 = unknown.
struct PciIds {
    std::uint16_t vendor = 0;
    std::uint16_t device = 0;
    std::uint16_t subVendor = 0;
    std::uint16_t subDevice = 0;
};

constexpr bool isBridge(std::uint16_t classCode) noexcept {
    return classCode == pciClassBridge || classCode == pciClassSemiTransparentBridge;
}

struct PciFunction {
    PciAddress address;
    PciIds ids;
    std::uint16_t classCode = 0;
    // As in the configuration space: bits 6..0 layout, bit 7 multi-function. 0 when it cannot be
    // read, which is right for all functions except bridges.
    std::uint8_t headerType = 0;
    std::string driver;                   // empty = none or unknown
    std::uint32_t slot = unknownSlot;     // as the list states it
    std::vector<std::string> interfaces;  // as the list states them
    std::vector<PciAddress> bridges;      // above the function, nearest first
    bool onRootBus = false;               // true when it is known that no bridge is above
};

inline bool isStorage(const PciFunction& function) noexcept {
    return pciBaseClass(function.classCode) == pciBaseStorage;
}

// Base class network, or serial bus with Fibre Channel or InfiniBand.
inline bool isNetworkOrFc(const PciFunction& function) noexcept {
    return pciBaseClass(function.classCode) == pciBaseNetwork ||
           function.classCode == pciClassFibreChannel || function.classCode == pciClassInfiniband;
}

}  // namespace em_pni
