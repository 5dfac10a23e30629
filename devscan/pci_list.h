// Lists the PCI functions of a machine.
#pragma once

#include <optional>
#include <vector>

#include "devscan/machine.h"
#include "devscan/pci_function.h"

namespace em_pni {

// Uses the first source that answers: sysfs, /proc/bus/pci, lspci, localcli. An empty list from a
// command counts as no answer. The result is in order of address and has each address once. Leaves
// out virtual functions as far as the source shows them. Returns no value when no source answers.
//
// To save reads, sysfs gives driver, header type and bridges only for network and Fibre Channel
// functions, and leaves out virtual functions only among these and storage functions.
std::optional<std::vector<PciFunction>> listPciFunctions(CMachine& machine);

// Adds driver, header type and bridges of a function, from sysfs. Facts that cannot be read stay
// unknown.
void addPciPlace(const CFileTree& files, PciFunction& function);

}  // namespace em_pni
