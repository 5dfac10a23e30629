// Reads the tables of the firmware that place PCI devices in slots.
#pragma once

#include <optional>

#include "devscan/file_tree.h"
#include "devscan/slot_tables.h"

namespace em_pni {

// Reads SMBIOS from sysfs or else from physical memory, and the interrupt routing table from
// physical memory. A table that the machine does not have or does not show (no /dev/mem, a
// locked-down kernel) stays empty. Returns no value when this process lacks descriptors or memory:
// try again.
std::optional<SlotTables> readSlotTables(const CFileTree& files);

}  // namespace em_pni
