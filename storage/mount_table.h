// Mounted file systems and swap areas, as this process sees them (libmount).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "devscan/file_tree.h"
#include "storage/storage_inventory.h"

namespace em_pni {

struct MountEntry {
    std::uint32_t major = 0;  // 0 = the file system has no device or several
    std::uint32_t minor = 0;
    std::string source;  // "/dev/sda1"
    Mount mount;
};

// All mounts, in the order in which they were made. Empty when they cannot be read.
std::vector<MountEntry> readMounts(const CFileTree& files);

std::vector<SwapArea> readSwaps(const CFileTree& files);

}  // namespace em_pni
