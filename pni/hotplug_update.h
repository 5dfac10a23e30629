// Brings the modules of a record in line with the cards that are plugged in.
#pragma once

#include "adapters/local_pni_adapter_handle.h"
#include "frudata/pni_fru_data.h"

namespace em_pni {

// What the host has reported since the last update.
struct HotplugFlags {
    bool deviceAdded = false;
    bool deviceRemoved = false;
};

// Adds a module for each PCI add-in adapter that the record does not know, then removes the modules
// of PCI add-in adapters that have gone. Onboard and mezzanine modules, and modules of technologies
// other than Ethernet and Fibre Channel, are neither added nor removed. A module whose device is
// still in its place stays, also when the device does not tell its addresses. True when `record` is
// as it should be now; false, and the record as it was, when a change is refused. The record must
// be valid. Throws std::out_of_range "map::at" when an adapter's address belongs to a module that
// is not tracked, and what adapters throw.
bool UpdateInventoryStructure(CPniFruData& record, const HotplugFlags& flags,
                              const AdapterSource& collectAdapters);

}  // namespace em_pni
