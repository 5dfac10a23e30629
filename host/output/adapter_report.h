// The adapters of this machine as a tree for people and as JSON for programs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "devscan/system_adapter.h"
#include "host/output/terminal.h"
#include "platform/address.h"

namespace em_pni {

// Facts that the module does not need. Empty = not known.
struct AdapterDetails {
    std::string physicalPort;  // the driver's name for the port of the first interface
    std::string master;        // bond, team or bridge above the first interface
    std::string partNumber;    // both from the vital product data of the device
    std::string serialNumber;
    std::string linkSpeed;        // of the PCI Express link, "8.0 GT/s PCIe"
    std::uint32_t linkWidth = 0;  // lanes of that link; 0 = not known
};

struct AdapterReport {
    AdapterFacts facts;
    std::string className;  // empty = unknown
    bool infiniband = false;
    AdapterNames names;
    AdapterDetails details;
};

// Leaves out what is not known.
std::string adapterTree(const std::vector<AdapterReport>& adapters, const Terminal& terminal = {});

// An array of objects with the same members, which also have the details; null = not known.
std::string adapterJson(const std::vector<AdapterReport>& adapters);

// "20:00:00:10:9B:00:00:01"; empty for 0, which means that there is no name.
std::string knownNameText(WorldWideName name);

}  // namespace em_pni
