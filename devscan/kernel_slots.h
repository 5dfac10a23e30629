// The slots that the kernel knows: /sys/bus/pci/slots.
#pragma once

#include <optional>
#include <vector>

#include "devscan/file_tree.h"
#include "devscan/slot_tables.h"

namespace em_pni {

// Slots come and go with hot-plug drivers: read them in each scan. A slot whose name does not begin
// with a decimal number, or whose address is neither "dddd:bb:dd" nor "dddd:bb", is left out.
// Returns no value when this process lacks descriptors or memory.
std::optional<std::vector<KernelSlot>> readKernelSlots(const CFileTree& files);

}  // namespace em_pni
