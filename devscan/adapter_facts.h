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
    // Those that stand for the function itself. The first one gave the facts above.
    std::vector<std::string> interfaces;
};

// `text`, or an empty text for "0.00", which drivers report for an option ROM that is not there.
inline std::string versionText(std::string text) {
    if (text == "0.00") {
        text.clear();
    }
    return text;
}

}  // namespace em_pni
