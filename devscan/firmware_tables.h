// Collects the firmware's tables of this machine.
#pragma once

#include <optional>

#include "devscan/file_tree.h"
#include "devscan/slot_tables.h"

namespace em_pni {

// SMBIOS from sysfs, or else from physical memory; the routing table from physical memory. What
// a machine does not have or does not show (no SMBIOS, no /dev/mem, a locked-down kernel) is left
// empty. Nothing when it was this process that could not read: to be tried again.
std::optional<SlotTables> readSlotTables(const CFileTree& files);

}  // namespace em_pni
