// The devices of one kernel class (network interfaces, Fibre Channel hosts) and the PCI functions
// that they belong to.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "devscan/file_tree.h"
#include "platform/pci_address.h"

namespace em_pni {

struct ClassDevice {
    std::string name;
    std::string link;  // where the class directory's entry leads
};

using ClassDevices = std::map<PciAddress, std::vector<ClassDevice>>;

// All devices in `directory` ("sys/class/net") that belong to a PCI function. Nothing when there is
// no such directory.
std::optional<ClassDevices> listClassDevices(const CFileTree& files, const std::string& directory);

// Whether the name still means the same device. Facts are asked for by name, and a name can go to
// another device while they are collected: they count only when this holds behind the last one.
bool isStill(const CFileTree& files, const std::string& directory, const ClassDevice& device);

}  // namespace em_pni
