// Finds the network and Fibre Channel adapters of a machine.
//
//     CMachine machine;                              // once, for the life of the module
//     const auto adapters = ScanSystemAdapters(machine);
#pragma once

#include <optional>
#include <vector>

#include "devscan/machine.h"
#include "devscan/system_adapter.h"

namespace em_pni {

// All network, Fibre Channel and InfiniBand functions in order of PCI address, and the storage
// functions that share a device with one of them, since those decide what kind of card it is. A
// machine without any gives an empty list; nothing means that the machine's PCI functions cannot be
// read at all. What cannot be found out about a function is left unknown in it; what vanishes
// during the scan is left out.
std::optional<std::vector<CSystemAdapter>> ScanSystemAdapters(CMachine& machine);

}  // namespace em_pni
