// Ethernet facts of PCI functions, from their network interfaces.
#pragma once

#include "devscan/adapter_facts.h"
#include "devscan/class_devices.h"
#include "devscan/interface_control.h"

namespace em_pni {

// The network interfaces of all PCI functions, from sysfs. Without sysfs, from the bus addresses
// that the drivers return. The links are then empty.
ClassDevices listNetInterfaces(const CFileTree& files, CInterfaceControl& control);

// Adds facts of the interfaces of one function to `facts`: the names, and the MAC addresses, driver
// and version texts of one interface, whose name stands first. Takes an Ethernet interface first,
// then the lowest port number (dev_port), then one with a permanent address, then the lowest
// interface index. Ignores interfaces that vanish during the reading and those that stand for
// another function: representors of virtual and scalable functions and of functions of another
// host, and the interfaces of scalable functions.
void addInterfaceFacts(const CFileTree& files, CInterfaceControl& control,
                       const std::vector<ClassDevice>& interfaces, AdapterFacts& facts);

}  // namespace em_pni
