// Facts about PCI functions as texts and JSON members, for adapters and storage controllers.
#pragma once

#include <cstdint>
#include <string>

#include "devscan/adapter_names.h"
#include "host/output/json_members.h"

namespace em_pni {

// "onboard", "slot 4", "slot unknown".
std::string slotText(std::uint32_t slot);

// The members from "VendorId" to "SubDeviceId".
void writePciIds(CJsonMembers& members, const PciIds& ids, const AdapterNames& names);

}  // namespace em_pni
