// Finds the network and Fibre Channel adapters of a machine.
//
//     CMachine machine;                              // one for the life of the module
//     const auto adapters = ScanSystemAdapters(machine);
#pragma once

#include <optional>
#include <vector>

#include "devscan/machine.h"
#include "devscan/system_adapter.h"

namespace em_pni {

// All network, Fibre Channel and InfiniBand functions in order of PCI address. Also the storage
// functions of the same devices, because they decide the kind of a card. Facts that cannot be read
// stay unknown. Devices that vanish during the scan are left out. Returns an empty list when there
// are no adapters. Returns no value when the PCI functions of the machine cannot be read, or when
// their slots cannot be read because this process lacks descriptors or memory.
std::optional<std::vector<CSystemAdapter>> ScanSystemAdapters(CMachine& machine);

}  // namespace em_pni
