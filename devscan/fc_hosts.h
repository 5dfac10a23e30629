// Fibre Channel facts of PCI functions, from fc_host and scsi_host of sysfs.
#pragma once

#include "devscan/adapter_facts.h"
#include "devscan/class_devices.h"

namespace em_pni {

// The Fibre Channel hosts of all PCI functions. Leaves out virtual ports and software hosts on
// network interfaces, because their names are not the names of the function.
ClassDevices listFcHosts(const CFileTree& files);

// Adds the facts of a host to `facts`. `hosts` are the hosts of its function. Takes the host with
// the lowest number that does not vanish during the reading.
void addFcHostFacts(const CFileTree& files, const std::vector<ClassDevice>& hosts,
                    AdapterFacts& facts);

}  // namespace em_pni
