// Where the firmware says that PCI devices sit, and the slot number that follows for one of them.
#pragma once

#include <cstdint>
#include <vector>

#include "devscan/pci_function.h"

namespace em_pni {

// An SMBIOS slot (type 9) at one of its addresses. The function number says nothing.
struct SmbiosSlot {
    PciAddress address;
    std::uint16_t id = 0;
};

// An entry of the PCI interrupt routing table; segment 0.
struct RoutedDevice {
    std::uint8_t bus = 0;
    std::uint8_t device = 0;
    std::uint8_t slot = 0;  // 0 = onboard
};

struct SlotTables {
    std::vector<SmbiosSlot> slots;
    std::vector<PciAddress> onboard;  // SMBIOS type 41, the enabled ones
    std::vector<RoutedDevice> routing;
};

// 0 = onboard, unknownSlot = no table knows the function or a bridge above it.
std::uint32_t resolveSlot(const PciFunction& function, const SlotTables& tables) noexcept;

}  // namespace em_pni
