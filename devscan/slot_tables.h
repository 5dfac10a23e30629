// The places of PCI devices as the firmware states them, and the slot number of a function.
#pragma once

#include <cstdint>
#include <vector>

#include "devscan/pci_function.h"

namespace em_pni {

// One address of an SMBIOS slot (type 9). Its function number has no meaning.
struct SmbiosSlot {
    PciAddress address;
    std::uint16_t id = 0;
};

// An entry of the PCI interrupt routing table. The segment is always 0.
struct RoutedDevice {
    std::uint8_t bus = 0;
    std::uint8_t device = 0;
    std::uint8_t slot = 0;  // 0 = onboard
};

struct SlotTables {
    std::vector<SmbiosSlot> slots;
    std::vector<PciAddress> onboard;  // enabled onboard devices (SMBIOS type 41)
    std::vector<RoutedDevice> routing;
};

// The slot number. Looks for the function itself, then for the bridges above it, nearest first. For
// each address asks onboard devices, then SMBIOS slots, then the routing table. Returns 0 for an
// onboard function and for an unknown function on the root bus, and unknownSlot otherwise.
std::uint32_t resolveSlot(const PciFunction& function, const SlotTables& tables) noexcept;

}  // namespace em_pni
