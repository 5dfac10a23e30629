// The devices of a kernel class, such as network interfaces or Fibre Channel hosts, by PCI
// function.
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
    std::string link;  // target of its symbolic link in the class directory
};

using ClassDevices = std::map<PciAddress, std::vector<ClassDevice>>;

// All devices in `directory` ("sys/class/net") that belong to a PCI function. Returns no value when
// the directory cannot be read.
std::optional<ClassDevices> listClassDevices(const CFileTree& files, const std::string& directory);

// Whether the name still belongs to the same device. Facts are read by name, and the name can move
// to another device during that. Facts are valid only when this returns true after the last read.
bool isStill(const CFileTree& files, const std::string& directory, const ClassDevice& device);

}  // namespace em_pni
