// What the kernel tells about a device that is made of others: device mapper, md, bcache, loop.
#pragma once

#include "devscan/file_tree.h"
#include "storage/storage_inventory.h"

namespace em_pni {

// Adds type and volume facts to a device of kind volume. `folder` is its folder in sysfs.
void addVolumeFacts(const CFileTree& files, const COpenFolder& folder, BlockDevice& device);

// Group and name in the device mapper name of an LVM volume, where "-" separates them and "--"
// stands for "-".
struct LvmName {
    std::string group;
    std::string volume;
};
LvmName parseLvmName(std::string_view name);

// The type of a device mapper device, from the start of its UUID: "lvm", "crypt", "mpath", "part";
// "dm" without a UUID.
std::string mapperType(std::string_view uuid);

}  // namespace em_pni
