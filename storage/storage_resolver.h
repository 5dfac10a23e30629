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
    std::vector<MountEntry> mounts;
    std::vector<SwapArea> swaps;
};

// Names that lead nowhere are left out. The controllers are not known yet.
StorageInventory resolveStorage(StorageFacts facts);

// The addresses of all PCI functions that disks or NVMe controllers hang on, sorted, each once.
std::vector<std::string> controllerNames(const StorageInventory& storage);

// Stores the controllers, which are in order of address, and connects disks and NVMe controllers
// with them.
void addControllers(StorageInventory& storage, std::vector<StorageController> controllers);

// Whether a device can be opened without waking a disk, moving a medium, or waiting for a suspended
// volume. All disks under it must run and must not be optical or rotate. A virtio disk counts as
// one that does not rotate, because the kernel does not know.
bool isSafeToOpen(const StorageInventory& storage, std::size_t device);

// The first of the lowest devices that a device is made of. In a loop, one of the loop.
std::size_t lowestDevice(const StorageInventory& storage, std::size_t device);

}  // namespace em_pni
