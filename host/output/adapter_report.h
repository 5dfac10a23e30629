// The adapters of this machine as a tree for people and as JSON for programs.
#pragma once

#include <string>
#include <vector>

#include "devscan/system_adapter.h"
#include "platform/address.h"

namespace em_pni {

struct AdapterReport {
    AdapterFacts facts;
    std::string className;  // empty = unknown
    bool infiniband = false;
    AdapterNames names;
};

// Looks up the names, which may run lspci.
std::vector<AdapterReport> reportAdapters(const std::vector<CSystemAdapter>& adapters);

// Lines of at most 100 columns; only a longer word exceeds them. Leaves out what is not known.
std::string adapterTree(const std::vector<AdapterReport>& adapters);

// An array of objects with the same members; null = not known.
std::string adapterJson(const std::vector<AdapterReport>& adapters);

// "20:00:00:10:9B:00:00:01"; empty for 0, which means that there is no name.
std::string knownNameText(WorldWideName name);

}  // namespace em_pni
