// The list of all PCI functions of a machine, from whichever source it has.
#pragma once

#include <optional>
#include <vector>

#include "devscan/machine.h"
#include "devscan/pci_function.h"

namespace em_pni {

// Asks sysfs, else /proc/bus/pci, else lspci, else localcli, and takes the first that answers; an
// empty list is an answer of the first two only, as a command that lists nothing has not
// understood. In order of address, each address once, virtual functions left out where the source
// shows them. Nothing when no source can be read.
//
// Where it would cost further reads, only network and Fibre Channel functions have a driver, a
// header type and bridges, and only they and storage functions are asked whether they are virtual.
std::optional<std::vector<PciFunction>> listPciFunctions(CMachine& machine);

// Base class network, or serial bus with Fibre Channel or InfiniBand.
bool isNetworkOrFc(const PciFunction& function) noexcept;

}  // namespace em_pni
