// The machine's adapters for people and for programs.
#pragma once

#include <string>
#include <vector>

#include "devscan/system_adapter.h"

namespace em_pni {

struct AdapterReport {
    AdapterFacts facts;
    std::string className;  // empty for unknown ones
    bool infiniband = false;
    AdapterNames names;
};

// Looks names up, which may run lspci.
std::vector<AdapterReport> reportAdapters(const std::vector<CSystemAdapter>& adapters);

// A tree of at most 100 columns, words of names longer than that aside. What is not known is left
// out.
std::string adapterTree(const std::vector<AdapterReport>& adapters);

// An array of objects that all have the same members; what is not known is null.
std::string adapterJson(const std::vector<AdapterReport>& adapters);

}  // namespace em_pni
