// Finds the modules of a record whose adapter has been exchanged, and gives them the addresses of
// the adapter that is there now.
#pragma once

#include <cstdint>

#include "adapters/local_pni_adapter_handle.h"
#include "frudata/pni_fru_data.h"

namespace em_pni {

// Compares each module with the adapter in the same slot and at the same PCI location; `record` is
// replaced by the changed copy whenever an assignment succeeds. The adapters are collected once.
// Throws std::logic_error for an adapter that breaks its own rules.
void CheckPhysicalAddrs(CPniFruData& record, const AdapterSource& collectAdapters);

// Whether the port function of the record's module stands at the same bus, device and function as
// the adapter's port function of the same indices. Throws std::out_of_range for indices that the
// adapter does not have.
bool ComparePciLocation(const CPniFruData& record, const LocalPniAdapter& adapter,
                        std::uint8_t module, std::uint8_t port, std::uint8_t function);

}  // namespace em_pni
