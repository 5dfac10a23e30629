// The block devices of a machine: /sys/class/block and the udev database.
#pragma once

#include <string>
#include <vector>

#include "devscan/file_tree.h"
#include "storage/device_path.h"
#include "storage/storage_inventory.h"
#include "storage/udev_record.h"

namespace em_pni {

// A device, and what connects it to the others.
struct FoundDevice {
    BlockDevice device;
    std::vector<std::string> parents;  // kernel names
    std::string nvme;                  // the only controller of a namespace
};

// A namespace as one of its controllers shows it.
struct FoundPath {
    NvmePathName name;
    std::string state;
};

struct FoundDevices {
    std::vector<FoundDevice> devices;  // sdz goes before sdaa
    std::vector<FoundPath> paths;
};

// Opens no device. Leaves out memory disks, unused loop and network block devices, and devices that
// vanish during the scan. A missing attribute leaves its fact unknown.
FoundDevices findBlockDevices(const CFileTree& files);

// Adds what a udev record, or an answer of probeContent, tells about the content of a device and
// its place in a partition table.
void addContent(const CUdevRecord& record, BlockDevice& device);

}  // namespace em_pni
