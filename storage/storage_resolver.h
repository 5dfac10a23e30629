// Connects what the collectors have found. Reads nothing.
#pragma once

#include <string>
#include <vector>

#include "storage/block_devices.h"
#include "storage/mount_table.h"
#include "storage/storage_inventory.h"

namespace em_pni {

struct StorageFacts {
    FoundDevices found;
    std::vector<NvmeController> nvmeControllers;
    std::vector<StorageController> controllers;  // in order of address
    std::vector<MountEntry> mounts;
    std::vector<SwapArea> swaps;
};

// The addresses of all PCI functions that disks or NVMe controllers hang on, sorted, each once.
std::vector<std::string> controllerNames(const StorageFacts& facts);

// Names that lead nowhere are left out.
StorageInventory resolveStorage(StorageFacts facts);

// Whether a device can be opened without waking a disk, moving a medium, or waiting for a suspended
// volume. All disks under it must run and must not be optical or rotate. A virtio disk counts as
// one that does not rotate, because the kernel does not know.
bool isSafeToOpen(const StorageInventory& storage, std::size_t device);

// The first of the lowest devices that a device is made of. In a loop, one of the loop.
std::size_t lowestDevice(const StorageInventory& storage, std::size_t device);

}  // namespace em_pni
