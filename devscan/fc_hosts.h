// Fibre Channel facts of PCI functions, from their SCSI hosts.
#pragma once

#include "devscan/adapter_facts.h"
#include "devscan/class_devices.h"

namespace em_pni {

// The Fibre Channel hosts of all PCI functions, without virtual ports and hosts in software on top
// of network interfaces: those have names of their own, which are not the function's.
ClassDevices listFcHosts(const CFileTree& files);

// Adds to `facts` what `hosts`, those of its function, know. The host with the lowest number that
// stays throughout counts.
void addFcHostFacts(const CFileTree& files, const std::vector<ClassDevice>& hosts,
                    AdapterFacts& facts);

}  // namespace em_pni
