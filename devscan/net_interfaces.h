// Ethernet facts of PCI functions, from their network interfaces.
#pragma once

#include "devscan/adapter_facts.h"
#include "devscan/class_devices.h"
#include "devscan/interface_control.h"

namespace em_pni {

// The network interfaces of all PCI functions, by sysfs; on a host without it by the bus addresses
// that the drivers state, the links left empty.
ClassDevices listNetInterfaces(const CFileTree& files, CInterfaceControl& control);

// Adds to `facts` what `interfaces`, those of its function, know: all names; and MAC addresses and
// version texts of one Ethernet interface, the one with the lowest port number (dev_port), then
// interface index. Only what comes from interfaces that stay throughout is added.
void addInterfaceFacts(const CFileTree& files, CInterfaceControl& control,
                       const std::vector<ClassDevice>& interfaces, AdapterFacts& facts);

}  // namespace em_pni
