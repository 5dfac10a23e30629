// The storage of this machine as a tree for people and as JSON for programs; see docs/storage.md.
#pragma once

#include <string>
#include <vector>

#include "devscan/adapter_names.h"
#include "host/output/terminal.h"
#include "storage/storage_inventory.h"

namespace em_pni {

struct StorageReport {
    StorageInventory storage;
    std::vector<AdapterNames> names;  // of storage.controllers, in the same order
};

// Controllers, their disks, partitions, volumes, mounts. A line for each. A device below several
// others has its own lines only below the first.
std::string storageTree(const StorageReport& report, const Terminal& terminal = {});

std::string storageJson(const StorageReport& report);

}  // namespace em_pni
