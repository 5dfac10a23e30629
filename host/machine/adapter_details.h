// The facts about adapters that only people and inventory programs need.
#pragma once

#include <vector>

#include "host/machine/hardware_database.h"
#include "host/output/adapter_report.h"

namespace em_pni {

// Reads the details of each adapter from sysfs. Names come from `database`; those that it does not
// know come from the adapter, which may run lspci.
std::vector<AdapterReport> reportAdapters(const std::vector<CSystemAdapter>& adapters,
                                          const CFileTree& files, CIHardwareNames& database);

}  // namespace em_pni
