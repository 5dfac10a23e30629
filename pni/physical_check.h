// Finds modules of a record whose adapter was replaced, and stores the addresses of the new
// adapter.
#pragma once

#include <cstdint>

#include "adapters/local_pni_adapter_handle.h"
#include "frudata/pni_fru_data.h"

namespace em_pni {

// Compares the addresses of each module with those of the adapter in the same slot and at the same
// PCI location. Changes `record` after each successful assignment. Calls `collectAdapters` once;
// its exceptions pass through.
void CheckPhysicalAddrs(CPniFruData& record, const AdapterSource& collectAdapters);

// Whether a port function of the record and the port function of the adapter with the same indices
// have the same PCI bus, device and function. Throws std::out_of_range for indices that the adapter
// does not have, std::logic_error for an invalid adapter.
bool ComparePciLocation(const CPniFruData& record, const LocalPniAdapter& adapter,
                        std::uint8_t module, std::uint8_t port, std::uint8_t function);

}  // namespace em_pni
