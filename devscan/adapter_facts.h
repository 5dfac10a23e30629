// The facts about one PCI function that is a network or Fibre Channel adapter.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "devscan/pci_function.h"
#include "devscan/slot_tables.h"
#include "platform/address.h"

namespace em_pni {

struct AdapterFacts {
    PciAddress address;
    PciIds ids;
    std::uint16_t classCode = 0;  // base class << 8 | sub-class
    std::uint8_t headerType = 0;  // bits 6..0 layout, bit 7 multi-function
    std::string driver;           // empty = none or unknown, also below
    MacAddress activeMac;         // empty = unknown
    MacAddress permanentMac;
    WorldWideName nodeName = 0;  // 0 = unknown
    WorldWideName portName = 0;
    std::string optionRom;  // version text of driver or firmware, printable ASCII
    std::string firmware;
    std::uint32_t slot = unknownSlot;  // 0 = onboard
    SlotSource slotSource = SlotSource::none;
    std::string slotDesignation;  // of the SMBIOS structure that decided
    std::vector<std::string> interfaces;
};

}  // namespace em_pni
