// The NVMe controllers of a machine: /sys/class/nvme.
#pragma once

#include <vector>

#include "devscan/file_tree.h"
#include "storage/storage_inventory.h"

namespace em_pni {

// All controllers, also those without a namespace. Leaves out those that vanish during the scan.
std::vector<NvmeController> readNvmeControllers(const CFileTree& files);

}  // namespace em_pni
