// Brings the modules of a record in line with the cards of the machine.
#pragma once

#include "adapters/local_pni_adapter_handle.h"
#include "frudata/pni_fru_data.h"

namespace em_pni {

// What the host has reported since the last successful update.
struct HotplugFlags {
    bool deviceAdded = false;
    bool deviceRemoved = false;
};

// Adds a module for each PCI add-in adapter that is not in the record. Then removes the modules of
// PCI add-in adapters that are gone. Never adds or removes onboard or mezzanine modules, or modules
// of another technology than Ethernet and Fibre Channel. Keeps a module whose PCI device is still
// there, even when the device has no address to compare. The record must be valid. Returns true on
// success. Returns false and does not change the record when a change is refused, or when the host
// did not answer about its interfaces. Throws std::out_of_range "map::at" when an adapter has the
// address of a module of another technology. Exceptions of adapters pass through.
bool UpdateInventoryStructure(CPniFruData& record, const HotplugFlags& flags,
                              const AdapterSource& collectAdapters);

}  // namespace em_pni
